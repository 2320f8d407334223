"""A desktop that tells through its portal whether its user prefers dark windows."""
from __future__ import annotations

import subprocess
import tempfile
import unittest
from pathlib import Path

from nelo import Nelo
from screen import take_picture_of_window, until
from settings_portal import DARK, LIGHT, NO_PREFERENCE, SettingsPortal


class ColorSchemeTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-picture-")
        self.addCleanup(folder.cleanup)
        self.picture = Path(folder.name) / "window.png"

    def is_dark(self) -> bool:
        """Whether most of the window in front is dark."""
        take_picture_of_window(self.picture)
        return float(subprocess.check_output(["convert", str(self.picture), "-format", "%[fx:mean]", "info:"])) < 0.5

    def test_its_change_is_followed_both_ways_except_by_the_chat_and_the_console(self) -> None:
        portal = SettingsPortal(DARK)
        self.addCleanup(portal.end)
        with Nelo() as nelo:
            nelo.open("Settings...")
            until(self.is_dark, "a dark window")
            for item in ("Open Nelo", "Open Nelo Console"):
                nelo.open(item)
                until(lambda: not self.is_dark(), "the window's own light colors")
            nelo.open("Settings...")
            portal.prefer(NO_PREFERENCE)
            until(lambda: not self.is_dark(), "the desktop's own window")
            portal.prefer(DARK)
            until(self.is_dark, "a dark window again")
            portal.prefer(LIGHT)
            until(lambda: not self.is_dark(), "a light window")
