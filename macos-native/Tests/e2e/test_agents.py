"""The Agents tab on the local backend: what is done there is done on disk."""
from __future__ import annotations

import re
import unittest
from pathlib import Path

from agent_files import write_kimi_agent
from nelo import Nelo
from screen import Node, choose_in_popup, replace_text, until



class AgentsTest(unittest.TestCase):
    def test_agents_are_created_renamed_configured_adopted_and_deleted(self) -> None:
        with Nelo() as nelo:
            discovered = write_kimi_agent(nelo.home, "scout")
            console = nelo.open("Open Nelo Console")
            table = console.find("table", "Agents")
            table.find("table cell", "scout")

            created = self.create_a_codex_agent(nelo, console)
            self.rename(nelo, console, table, "Builder", "Rename Agent", "Mason")
            self.edit_the_configuration(nelo, console, table)
            self.rename(nelo, console, table, "scout", "Adopt Agent", "Ranger")

            table.select_row("Mason")
            console.find("push button", "Delete").press()
            nelo.accessible.find("dialog", "Delete Agent").find("push button", "Delete").press()
            console.find("label", re.compile("Synced local discovery"))
            until(lambda: not created.exists(), "the agent's file gone")
            self.assertEqual([file.name for file in created.parent.iterdir()], [])
            self.assertTrue(discovered.is_file())
            console.find("label", "Total: 1 (kimi:1)")
            self.assertEqual(nelo.quit(), 0)

    def create_a_codex_agent(self, nelo: Nelo, console: Node) -> Path:
        """Returns the file that was written."""
        console.find("push button", "Add Agent").press()
        dialog = nelo.accessible.find("dialog", "Add Agent")
        choose_in_popup(dialog.find("combo box", "Ecosystem"), "codex")
        replace_text(dialog.find("text", "Name"), "Builder")
        dialog.find("push button", "Create").press()
        console.find("label", "Total: 2 (codex:1, kimi:1)")
        file, = (nelo.home / ".codex/agents").iterdir()
        self.assertRegex(file.name, r"\Acodex-\d{8}-\d{6}\.toml\Z")
        self.assertIn('name = "Builder"', file.read_text())
        return file

    def rename(self, nelo: Nelo, console: Node, table: Node, old: str, title: str, new: str) -> None:
        table.select_row(old)
        console.find("push button", "Adopt / Rename").press()
        dialog = nelo.accessible.find("dialog", title)
        replace_text(dialog.find("text", "Name"), new)
        dialog.find("push button", "Save").press()
        table.find("table cell", new)

    def edit_the_configuration(self, nelo: Nelo, console: Node, table: Node) -> None:
        table.select_row("Mason")
        console.find("push button", "Config Editor").press()
        file = nelo.home / ".codex/config.json"
        editor = nelo.window(f"Config Editor - {file}")
        replace_text(editor.find("text", "Configuration"), '{"model": 1}')
        editor.find("push button", "Save").press(by="shift+Tab")  # Tab is a character there
        console.find("label", f"Saved config: {file}")
        self.assertEqual(file.read_text(), '{"model": 1}')
        backup, = file.parent.glob("config.json.bak.*")
        self.assertEqual(backup.read_text(), "{}\n")
        nelo.choose("Open Nelo Console")  # back in front
        nelo.window("Nelo Console")
