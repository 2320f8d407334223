"""What a status line comes to say, and what Nelo replies, is told to those who hear the program, in every window and tab."""
from __future__ import annotations

import re
import unittest

from announcements import Announcements
from agent_files import write_kimi_agent
from nelo import Nelo, open_chat
from screen import Node, press, type_text


class StatusLineTest(unittest.TestCase):
    def setUp(self) -> None:
        self.announced = Announcements("object:state-changed:showing")
        self.addCleanup(self.announced.close)
        self.nelo = Nelo().__enter__()
        self.addCleanup(self.nelo.__exit__, None, None, None)

    def open_console(self, tab: str) -> Node:
        self.nelo.choose("Open Nelo Console")
        console = self.nelo.window("Nelo Console")
        console.open_tab(tab)
        return console

    def test_chat(self) -> None:
        conversation = open_chat(self.nelo).find("list", "Conversation")
        type_text("hi")
        press("Return")
        self.announced.wait_for("local greeting")
        reply = list(conversation.children())[-1]
        self.announced.wait_for(reply.name)

    def test_agents(self) -> None:
        console = self.open_console("Agents")
        write_kimi_agent(self.nelo.home, "scout")
        console.find("push button", "Refresh").press()
        self.announced.wait_for("Total: 1 (kimi:1)")

    def test_runtime(self) -> None:
        self.open_console("Runtime")
        self.announced.wait_for("Runtime status refreshed.")

    def test_skills(self) -> None:
        self.open_console("Skills")
        self.announced.wait_for("Loaded 0 skills for openclaw.")

    def test_settings(self) -> None:
        self.nelo.choose("Settings...")
        window = self.nelo.window("Nelo Settings")
        self.announced.wait_for("Settings loaded.")
        window.find("push button", "Save").press(by="shift+Tab")
        self.announced.wait_for(window.find("label", re.compile("Settings saved: ")).name)
