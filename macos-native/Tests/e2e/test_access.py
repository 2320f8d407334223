"""What a pop-up does while assistive technology listens, which Qt hands each key on to a second time."""
from __future__ import annotations

import json
import shutil
import tempfile
import unittest
from pathlib import Path

from announcements import Announcements
from nelo import Nelo
from screen import choose_in_popup

SCRIPTED_BACKEND = Path(__file__).resolve().parents[1] / "support/scripted/app.py"


class AccessTest(unittest.TestCase):
    def test_return_chooses_once_while_assistive_technology_listens(self) -> None:
        self.addCleanup(Announcements("object:property-change:accessible-name").close)  # without it Qt hands no key on a second time
        with tempfile.TemporaryDirectory() as parent:
            folder = Path(parent) / "nelohub"
            folder.mkdir()
            shutil.copy(SCRIPTED_BACKEND, folder)
            (folder / "script.json").write_text('{"list_skills": [{"answer": []}]}')
            with Nelo(folder=folder) as nelo:
                console = nelo.open("Open Nelo Console")
                console.open_tab("Skills")
                choose_in_popup(console.find("combo box", "Ecosystem"), "codex")
                console.find("label", "Loaded 0 skills for codex.")
                choose_in_popup(console.find("combo box", "Ecosystem"), "kimi")
                console.find("label", "Loaded 0 skills for kimi.")
                self.assertEqual(nelo.quit(), 0)
            calls = [json.loads(line) for line in (folder / "calls.jsonl").read_text().splitlines()]
            listed = [call["args"] for call in calls if call["function"] == "list_skills"]
            self.assertEqual(listed, [["openclaw"], ["codex"], ["kimi"]])
