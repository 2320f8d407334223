"""Chinese typed into the chat through an input method."""
from __future__ import annotations

import os
import unittest
from pathlib import Path

from input_method import candidates, compose, nelo_with_pinyin
from nelo import open_chat
from screen import press, select_all, take_picture, until
from test_chat import bubbles

PICTURES = Path(os.environ.get("NELO_PICTURES", "."))
GREETING = "Me: 你好"  # which the chat answers by itself
CARET_GAP = 8  # pixels that may lie between the caret and the candidates


class ComposingTest(unittest.TestCase):
    def setUp(self) -> None:
        context = nelo_with_pinyin()
        self.nelo = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        self.chat = open_chat(self.nelo)
        self.field = self.chat.find("text", "Send a message")

    def wait_for_text(self, text: str) -> None:
        until(lambda: self.field.text == text and not candidates(self.nelo), f"{text!r} in the field, and no candidates")

    def wait_for_sent_greeting(self) -> None:
        until(lambda: len(bubbles(self.chat)) == 3, "the answer to the greeting")
        self.assertEqual(bubbles(self.chat)[1], GREETING)
        self.wait_for_text("")

    def test_return_ends_the_composition_and_the_next_return_sends(self) -> None:
        compose(self.nelo, "ni", "hao")
        self.assertEqual(self.field.text, "")
        press("Return")
        self.wait_for_text("nihao")  # the letters as they were typed, as this input method has it
        select_all(self.field)
        compose(self.nelo, "ni", "hao")
        press("space")
        self.wait_for_text("你好")
        self.assertEqual(len(bubbles(self.chat)), 1)
        press("Return")
        self.wait_for_sent_greeting()

    def test_a_click_on_send_commits_what_is_composed(self) -> None:
        compose(self.nelo, "ni", "hao")
        self.chat.find("push button", "Send").click()
        self.wait_for_sent_greeting()

    def test_a_dialog_that_takes_the_keyboard_commits_what_is_composed(self) -> None:
        compose(self.nelo, "ni", "hao")
        self.chat.find("push button", "+").click()
        self.nelo.accessible.find("dialog", "Configure API Key")
        press("Escape")
        self.wait_for_text("你好")

    def test_the_candidates_lie_beside_the_caret(self) -> None:
        compose(self.nelo, "shi", "jie")
        press("space")
        self.wait_for_text("世界")
        window = compose(self.nelo, "ni", "hao")
        take_picture(PICTURES / "chat-composing.png")
        text, line = self.field.area_of_character(1), self.field.area
        composed = text.width * 2  # two characters that are as wide
        end = text.x + text.width + composed
        until(lambda: abs(window.area.x - end) <= CARET_GAP, f"candidates at {end}, not at {window.area}")
        self.assertTrue(line.y + line.height / 2 <= window.area.y <= line.y + line.height + CARET_GAP, (line, window.area))


if __name__ == "__main__":
    unittest.main()
