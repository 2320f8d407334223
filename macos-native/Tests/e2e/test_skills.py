"""The Skills tab on the local backend: what is installed and configured there is found on disk, and after a restart."""
from __future__ import annotations

import json
import re
import tempfile
import unittest
from pathlib import Path

from agent_files import install_stub_openclaw
from nelo import Nelo, install_package
from screen import Node, replace_text
from skill_packages import WEATHER, package, served_catalogue

CONFIGURATION = """\
{
  "agents": {"entries": {"pilot": {"name": "领航员", "workspace": "~/.openclaw/workspace"}}},
  "gateway": {"port": 18789, "rate": 1.0},
  "skills": {"watch": false}
}
"""


def open_skills(nelo: Nelo) -> Node:
    console = nelo.open("Open Nelo Console")
    console.open_tab("Skills")
    return console


class SkillsTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-home-")
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        self.workspace = self.home / ".openclaw/workspace"
        self.workspace.mkdir(parents=True)
        install_stub_openclaw(self.home)
        self.configuration = self.home / ".openclaw/openclaw.json"
        self.configuration.write_text(CONFIGURATION)

    def test_a_package_from_a_file_is_installed_and_configured(self) -> None:
        file = self.home / "weather.zip"
        file.write_bytes(package(WEATHER))
        with Nelo(home=self.home) as nelo:
            tab = open_skills(nelo)
            tab.find("label", "Loaded 0 skills for openclaw.")
            install_package(nelo, tab, file)
            result = nelo.accessible.find("dialog", "Skill Installed")
            result.find("push button", "OK").press()
            tab.find("label", f"Installed skill to {self.workspace / 'skills/weather'}.")
            self.configure(tab)
            self.assertEqual(nelo.quit(), 0)
        self.assert_configured()
        self.assert_shown_after_a_restart()

    def test_a_skill_of_the_catalogue_is_installed(self) -> None:
        with served_catalogue({"weather": package(WEATHER)}) as address:
            settings = self.home / ".nelo/settings.json"
            settings.parent.mkdir()
            settings.write_text(json.dumps({"cloud_skills": {"catalog_url": address}}))
            with Nelo(home=self.home) as nelo:
                tab = open_skills(nelo)
                tab.find("push button", "Install Cloud Skill").press()
                chooser = nelo.accessible.find("dialog", "Install Cloud Skill")
                self.assertEqual(chooser.find("combo box", "Skill").text, "Weather v1.2 - 来自云端, from the cloud")
                chooser.find("push button", "Install").press()
                chooser = nelo.accessible.find("dialog", "Select OpenClaw Agent")
                self.assertEqual(chooser.find("combo box", "Agent").text, f"pilot (online) - {self.workspace}")
                chooser.find("push button", "Select").press()
                result = nelo.accessible.find("dialog", "Cloud Skill Installed")
                result.find("push button", "OK").press()
                tab.find("label", f"Installed cloud skill Weather to {self.workspace / 'skills/weather'}.")
        self.assertEqual((self.workspace / "skills/weather/SKILL.md").read_text(), WEATHER)

    def configure(self, tab: Node) -> None:
        """Gives the installed skill its variables, of which it had none."""
        self.assertEqual((self.workspace / "skills/weather/SKILL.md").read_text(), WEATHER)
        tab.find("push button", "Refresh").press()
        tab.find("table", "Skills").select_row("[pilot] weather")
        tab.find("label", "Loaded config for weather.")
        replace_text(tab.find("text", "Weather key (WEATHER_KEY)"), "w-1")
        replace_text(tab.find("text", "CITY"), "Beijing")
        tab.find("push button", "Save Config").press()
        tab.find("label", "Saved config for weather.")

    def assert_configured(self) -> None:
        wanted = json.loads(CONFIGURATION)
        wanted["skills"]["entries"] = {"weather": {
            "enabled": True, "apiKey": "w-1", "env": {"WEATHER_KEY": "w-1", "CITY": "Beijing"}}}
        text = self.configuration.read_text()
        self.assertEqual(json.loads(text), wanted)
        self.assertTrue(text.startswith(CONFIGURATION[:CONFIGURATION.index('"skills"')]), text)
        self.assertEqual(self.configuration.stat().st_mode & 0o007, 0)  # it holds a credential
        backup, = self.configuration.parent.glob("openclaw.json.bak.*")
        self.assertEqual(backup.read_text(), CONFIGURATION)

    def assert_shown_after_a_restart(self) -> None:
        with Nelo(home=self.home) as nelo:
            tab = open_skills(nelo)
            tab.find("table", "Skills").select_row("[pilot] weather")
            tab.find("label", "Loaded config for weather.")
            tab.find("text", re.compile("Tells the weather of a city, 天气预报."))
            self.assertEqual(tab.find("text", "Weather key (WEATHER_KEY)").text, "w-1")
            self.assertEqual(tab.find("text", "CITY").text, "Beijing")
            environment = json.loads(tab.find("text", "ENV").text)
            self.assertEqual(environment, {"WEATHER_KEY": "w-1", "CITY": "Beijing"})
            self.assertEqual(nelo.quit(), 0)
