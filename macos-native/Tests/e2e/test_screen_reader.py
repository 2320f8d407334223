"""What Orca speaks while a user goes through the windows by keyboard. All of it is written to spoken.txt, beside the pictures."""
from __future__ import annotations

import os
import unittest
from pathlib import Path

from agent_files import write_kimi_agent
from nelo import Nelo
from screen import press, type_text
from screen_reader import Orca

PICTURES = Path(os.environ.get("NELO_PICTURES", "."))
# What is spoken at each Tab, from where the window opens until the keyboard comes round.
CHAT = ("+ push button", "gpt-4o-mini combo box", "Send push button", "nelo.example label")
CONSOLE = ("Refresh push button", "Add Agent push button", "Config Editor push button", "Run Configure push button",
           "Adopt / Rename push button", "Delete push button", "table with 1 row")
SKILLS = ("Agent combo box", "Config Mode combo box", "Refresh push button", "Load Config push button", "Install Skill push button",
          "Install Cloud Skill push button", "Select a skill read only text", "table with 0 rows", "Enabled combo box",
          "ENV read only text", "Save Config push button")
SETTINGS = ("Core URL (optional) text", "Mode combo box", "Local Model combo box", "Provider combo box", "Cloud Model text",
            "Cloud API Key password text", "Catalog URL text", "Auto-download Tovani on chat (local mode) check box checked",
            "Tovani Path text", "Save push button", "Reload push button", "Refresh Catalog push button",
            "Auto-discover local Nelo Core (127.0.0.1:8878) check box checked")


class ScreenReaderTest(unittest.TestCase):
    def setUp(self) -> None:
        orca = Orca()
        self.orca = orca.__enter__()
        self.addCleanup(orca.__exit__, None, None, None)
        self.nelo = Nelo()
        write_kimi_agent(self.nelo.home, "scout")
        self.nelo.__enter__()
        self.addCleanup(self.nelo.__exit__, None, None, None)
        self.text = PICTURES / "spoken.txt"
        self.text.parent.mkdir(parents=True, exist_ok=True)
        self.text.write_text("")

    def hears(self, *texts: str) -> None:
        """Waits until all of these have been spoken since the last call."""
        spoken = self.orca.wait_for(*texts)
        with self.text.open("a") as file:
            file.write(spoken)

    def opens(self, item: str, *texts: str) -> None:
        with self.text.open("a") as file:
            file.write(f"\n== {item}\n")
        self.nelo.choose(item)
        self.hears(*texts)

    def hears_by_tab(self, *controls: str) -> None:
        for control in controls:
            press("Tab")
            self.hears(control)

    def test_windows_controls_alerts_rows_and_status_lines_are_spoken(self) -> None:
        self.opens("Open Nelo", "Nelo frame", "Send a message text")
        type_text("hi")
        press("Return")
        self.hears("notification local greeting")
        type_text("sky")
        press("Return")
        self.hears("API Key Required dialog", "Configure an API Key for openai before sending.", "OK push button")
        press("Escape")
        self.hears("Nelo frame", "Send a message text")
        self.hears_by_tab(*CHAT)

        self.opens("Open Nelo Console", "Nelo Console frame", "Agents page tab list")
        self.hears_by_tab(*CONSOLE)
        press("ctrl+Home", "space")
        self.hears("scout", "discovered")  # the last that it speaks: while Orca is busy, keys may come out of order
        press("shift+Tab")
        self.hears("Delete push button")
        press("space")
        self.hears("Cannot Delete dialog")
        press("Escape")
        self.hears("Delete push button")
        press("ctrl+Tab")  # to the Runtime tab
        self.hears("Refresh push button")
        press("ctrl+Tab", "ctrl+Tab")  # past a tab without a control
        self.hears("Ecosystem combo box")
        self.hears_by_tab(*SKILLS)

        self.opens("Settings...", "Nelo Settings frame", "Auto-discover local Nelo Core (127.0.0.1:8878) check box checked")
        self.hears_by_tab(*SETTINGS)


if __name__ == "__main__":
    unittest.main()
