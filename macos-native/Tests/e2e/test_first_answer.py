"""A newcomer's way, as the README tells it: from the start in an empty home folder to a first answer, by keyboard."""
from __future__ import annotations

import contextlib
import time
import unittest

from nelo import Nelo, choose_in_popup, open_chat, press, store_api_key, type_text, until
from provider import Provider

LONGEST_SECONDS = 60.0


class FirstAnswerTest(unittest.TestCase):
    def test_a_newcomer_has_an_answer_within_a_minute(self) -> None:
        start = time.monotonic()
        with contextlib.closing(Provider({"why is the sky blue": "因为瑞利散射。"})) as provider, \
                Nelo(environment={"NELO_DEEPSEEK_BASE_URL": provider.url}) as nelo:
            self.assertFalse((nelo.home / ".nelo").exists())
            chat = open_chat(nelo)
            choose_in_popup(chat.find("combo box", "gpt-4o-mini"), "deepseek-chat")
            store_api_key(nelo, chat, "DEEPSEEK", "sk-first")
            type_text("why is the sky blue")
            press("Return")
            conversation = chat.find("list", "Conversation")
            until(lambda: [bubble.name for bubble in conversation.children()][-1] == "因为瑞利散射。", "the answer")
            self.assertEqual(provider.keys, ["Bearer sk-first"])
            self.assertEqual(nelo.quit(), 0)
        self.assertLess(time.monotonic() - start, LONGEST_SECONDS)


if __name__ == "__main__":
    unittest.main()
