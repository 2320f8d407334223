"""Starts under conditions that nobody planned: each gives a program that can be used."""
from __future__ import annotations

import tempfile
import unittest
from pathlib import Path

from nelo import BASE_FOLDERS, REPOSITORY, Nelo, open_chat, store_api_key
from screen import type_line

REPORT_STATUS = "Runtime status refreshed."


class OddStartTest(unittest.TestCase):
    def assert_usable(self, nelo: Nelo) -> None:
        chat = open_chat(nelo)
        type_line("hi")
        chat.find("label", "local greeting")
        console = nelo.open("Open Nelo Console")
        console.open_tab("Runtime")
        console.find("label", REPORT_STATUS)
        self.assertEqual(nelo.quit(), 0)
        self.assertEqual(nelo.processes(), [])

    def test_a_home_that_cannot_be_written(self) -> None:
        with Nelo(environment={"HOME": "/proc"}) as nelo:
            self.assert_usable(nelo)

    def test_a_home_whose_name_has_blanks_and_chinese_letters(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as folder:
            home = Path(folder) / "我 的 家"
            home.mkdir()
            with Nelo(home=home) as nelo:
                self.assert_usable(nelo)
            self.assertTrue((home / ".nelo/menubar_chat.log").exists())

    def test_session_folders_that_are_relative(self) -> None:
        folders = dict.fromkeys(["XDG_RUNTIME_DIR", *BASE_FOLDERS], "relative")  # Qt makes the first one
        with tempfile.TemporaryDirectory() as temporary, Nelo(environment={**folders, "TMPDIR": temporary}) as nelo:
            chat = open_chat(nelo)
            store_api_key(nelo, chat, "OPENAI", "sk-relative")
            self.assertIn("sk-relative", (nelo.home / ".config/Nelo/NeloMenuBar.conf").read_text())
            self.assert_usable(nelo)
        self.assertFalse((REPOSITORY / "relative").exists())

    def test_no_session_folders(self) -> None:
        with tempfile.TemporaryDirectory() as temporary:
            nelo = Nelo(environment={"TMPDIR": temporary})
            del nelo.environment["XDG_RUNTIME_DIR"]
            with nelo:
                self.assert_usable(nelo)

    def test_the_root_folder_a_short_path_and_no_locale(self) -> None:
        nelo = Nelo(folder=Path("/"), environment={"PATH": "/usr/bin:/bin"})
        for variable in [name for name in nelo.environment if name == "LANG" or name.startswith("LC_")]:
            del nelo.environment[variable]
        with nelo:
            self.assert_usable(nelo)
