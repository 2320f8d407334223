"""Assistive technology: what it is told unasked, and what a pop-up does while it listens."""
from __future__ import annotations

import json
import re
import shutil
import tempfile
import unittest
from pathlib import Path

from agent_files import write_kimi_agent
from nelo import Nelo, open_chat
from screen import Events, choose_in_popup, type_line

SCRIPTED_BACKEND = Path(__file__).resolve().parents[1] / "support/scripted/app.py"


class AccessTest(unittest.TestCase):
    def test_what_a_status_line_says_and_nelo_replies_is_announced(self) -> None:
        announced = Events("object:state-changed:showing")
        self.addCleanup(announced.close)
        with Nelo() as nelo:
            conversation = open_chat(nelo).find("list", "Conversation")
            type_line("hi")
            announced.wait_for("local greeting")
            announced.wait_for(list(conversation.children())[-1].name)
            console = nelo.open("Open Nelo Console")
            write_kimi_agent(nelo.home, "scout")
            console.find("push button", "Refresh").press()
            announced.wait_for("Total: 1 (kimi:1)")
            console.open_tab("Runtime")
            announced.wait_for("Runtime status refreshed.")
            console.open_tab("Skills")
            announced.wait_for("Loaded 0 skills for openclaw.")
            settings = nelo.open("Settings...")
            announced.wait_for("Settings loaded.")
            settings.find("push button", "Save").press(by="shift+Tab")
            announced.wait_for(settings.find("label", re.compile("Settings saved: ")).name)

    def test_return_chooses_once_while_assistive_technology_listens(self) -> None:
        self.addCleanup(Events("object:property-change:accessible-name").close)  # without it Qt hands no key on a second time
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
