"""A desktop whose portal shows the file panel."""
from __future__ import annotations

import tempfile
import unittest
from pathlib import Path

from agent_files import install_stub_openclaw
from file_portal import FilePortal
from nelo import Nelo
from screen import until, xdotool
from skill_packages import WEATHER, package


class FilePortalTest(unittest.TestCase):
    def test_the_panel_belongs_to_its_window_and_its_file_is_installed(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-home-")
        self.addCleanup(folder.cleanup)
        home = Path(folder.name)
        workspace = home / ".openclaw/workspace"
        workspace.mkdir(parents=True)
        install_stub_openclaw(home)
        file = home / "天气 1.2.zip"
        file.write_bytes(package(WEATHER))
        portal = FilePortal()
        self.addCleanup(portal.end)
        with Nelo(home=home, environment={"QT_QPA_PLATFORMTHEME": "xdgdesktopportal"}) as nelo:
            console = nelo.open("Open Nelo Console")
            console.open_tab("Skills")
            window = int(xdotool("getactivewindow"))
            console.find("push button", "Install Skill").press()
            question = portal.question()
            self.assertEqual(question.parent, f"x11:{window:x}")
            self.assertEqual((question.options["accept_label"], question.options["modal"]), ("Install", True))

            def is_installed() -> bool:
                portal.choose(file)
                return (workspace / "skills/weather/SKILL.md").is_file()

            until(is_installed, "the skill installed")
            nelo.accessible.find("dialog", "Skill Installed")
