"""Every window by ear and by keyboard: each control has a name, and the keyboard reaches each in reading order."""
from __future__ import annotations

import json
import shutil
import tempfile
import unittest
from pathlib import Path
from typing import Iterator

from announcements import Announcements
from nelo import Nelo, Node, choose_in_popup, open_chat, press, until

CONTROLS = {"push button", "check box", "combo box", "text", "password text", "table", "list", "page tab"}
LINE = 20  # pixels: what is as high is in one line
TABS = ("Agents", "Runtime", "Tovani", "Skills", "Settings")
SCRIPTED_BACKEND = Path(__file__).resolve().parents[1] / "support/scripted/app.py"


def shown(window: Node) -> Iterator[Node]:
    return (node for node in window.descendants() if node.is_showing)


class AccessTest(unittest.TestCase):
    def assert_named(self, window: Node) -> None:
        nodes = [node for node in shown(window) if node.role in CONTROLS]
        self.assertTrue(nodes)
        self.assertEqual([node.role for node in nodes if not node.name.strip()], [])

    def assert_tab_reaches_all_in_reading_order(self, window: Node) -> None:
        visited = self.controls_by_tab(window)
        reached = {node.name for node in visited}
        self.assertEqual({node.name for node in shown(window) if node.role == "push button"} - reached, set())
        first = min(range(len(visited)), key=lambda index: (visited[index].area.y, visited[index].area.x))
        order = [node.area for node in visited[first:] + visited[:first]]
        for before, after in zip(order, order[1:]):
            self.assertTrue(after.y > before.y - LINE or after.x >= before.x + before.width, (before, after))

    def controls_by_tab(self, window: Node) -> list[Node]:
        """What has the keyboard, one Tab after the other, until it comes round."""
        visited: list[Node] = []
        while True:
            press("Tab")
            focused = until(lambda: next((node for node in shown(window) if node.is_focused), None), "the keyboard")
            if any(node.area == focused.area for node in visited):
                return visited
            visited.append(focused)

    def test_every_control_of_every_window_has_a_name_and_gets_the_keyboard(self) -> None:
        with Nelo() as nelo:
            chat = open_chat(nelo)
            self.assert_named(chat)
            self.assert_tab_reaches_all_in_reading_order(chat)

            nelo.choose("Settings...")
            settings = nelo.window("Nelo Settings")
            settings.find("label", "Settings loaded.")
            self.assert_named(settings)
            self.assert_tab_reaches_all_in_reading_order(settings)

            nelo.choose("Open Nelo Console")
            console = nelo.window("Nelo Console")
            for tab in TABS:
                console.open_tab(tab)
                console.find("page tab list", tab)
                with self.subTest(tab):
                    self.assert_named(console)
                    self.assert_tab_reaches_all_in_reading_order(console)

    def test_windows_close_by_their_key_and_dialogs_by_escape(self) -> None:
        with Nelo() as nelo:
            nelo.choose("Open Nelo Console")
            console = nelo.window("Nelo Console")
            console.find("push button", "Add Agent").press()
            nelo.accessible.find("dialog", "Add Agent")
            press("Escape")
            nelo.window("Nelo Console")
            press("ctrl+w")
            until(lambda: not console.is_showing, "the console closed")
            chat = open_chat(nelo)
            press("ctrl+w")
            until(lambda: not chat.is_showing, "the chat closed")

    def test_return_chooses_once_while_assistive_technology_listens(self) -> None:
        self.addCleanup(Announcements("object:property-change:accessible-name").close)  # without it Qt hands no key on a second time
        with tempfile.TemporaryDirectory() as parent:
            folder = Path(parent) / "nelohub"
            folder.mkdir()
            shutil.copy(SCRIPTED_BACKEND, folder)
            (folder / "script.json").write_text('{"list_skills": [{"answer": []}]}')
            with Nelo(folder=folder) as nelo:
                nelo.choose("Open Nelo Console")
                console = nelo.window("Nelo Console")
                console.open_tab("Skills")
                choose_in_popup(console.find("combo box", "openclaw"), "codex")
                console.find("label", "Loaded 0 skills for codex.")
                choose_in_popup(console.find("combo box", "codex"), "kimi")
                console.find("label", "Loaded 0 skills for kimi.")
                self.assertEqual(nelo.quit(), 0)
            calls = [json.loads(line) for line in (folder / "calls.jsonl").read_text().splitlines()]
            listed = [call["args"] for call in calls if call["function"] == "list_skills"]
            self.assertEqual(listed, [["openclaw"], ["codex"], ["kimi"]])


if __name__ == "__main__":
    unittest.main()
