"""The program that nobody has asked for anything yet, or any more: it reads nothing, runs nothing and sleeps."""
from __future__ import annotations

import re
import tempfile
import time
import unittest
from pathlib import Path

from nelo import Nelo, open_and_close_windows, wake_ups
from screen import until

IDLE_SECONDS = 6.0  # longer than any timer of ours
LIBRARIES = (".config/QtProject", ".config/qt", ".config/font", ".font", ".local/share", ".cache", ".icons", ".runtime", ".X")
OPENED = re.compile(r'(?:open|openat|openat2|stat|access|readlink)\w*\([^"]*"([^"]+)"')


class TracedNelo(Nelo):
    """The program with a record of the files that it asks for."""

    @property
    def command(self) -> list[str]:
        return ["strace", "-f", "-qq", "-e", "trace=%file", "-o", str(self.home / "trace"), *super().command]

    def files_of_the_home(self) -> set[str]:
        """What it asked for below its home folder, except what the libraries look up by themselves."""
        asked = set(OPENED.findall((self.home / "trace").read_text(errors="replace")))
        below = {path.removeprefix(f"{self.home}/") for path in asked if path.startswith(f"{self.home}/")}
        return {path for path in below if not path.startswith(LIBRARIES)}


class IdleTest(unittest.TestCase):
    def assert_sleeps(self, nelo: Nelo) -> None:
        def slept() -> bool:
            before = wake_ups(nelo)
            time.sleep(IDLE_SECONDS)  # what is measured, not what is waited for
            return wake_ups(nelo) == before

        until(slept, f"{IDLE_SECONDS:g} s without a wake-up", timeout=40)

    def test_nothing_wakes_it_after_its_start(self) -> None:
        with Nelo() as nelo:
            self.assert_sleeps(nelo)
            self.assertEqual(nelo.helpers(), [])

    def test_nothing_wakes_it_once_its_windows_are_closed(self) -> None:
        with Nelo() as nelo:
            open_and_close_windows(nelo)
            self.assert_sleeps(nelo)

    def test_it_loads_no_readers_of_pictures(self) -> None:
        with Nelo() as nelo:
            self.assertNotIn("/imageformats/", Path(f"/proc/{nelo.process.pid}/maps").read_text())

    def test_it_looks_for_the_image_and_nothing_else(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as folder, TracedNelo(home=Path(folder)) as nelo:
            self.assertEqual(nelo.files_of_the_home(), {"Desktop/nelo.png"})
