"""The chat window, opened through the tray, with a provider on this machine."""
from __future__ import annotations

import contextlib
import json
import time
import unittest
from pathlib import Path

from nelo import Nelo, open_chat, start_again, store_api_key
from provider import Provider
from screen import MIDDLE_BUTTON, Events, Node, press, type_line, type_text, until, xdotool

WELCOME = "您好，nelo为您服务，我为您提供最简单的AI入口服务。"
KEY = "sk-test-key"
MAX_SECONDS = 60.0


def bubbles(chat: Node) -> list[str]:
    return [f"{bubble.description}: {bubble.name}" for bubble in chat.find("list", "Conversation").children()]


def has_network_library(nelo: Nelo) -> bool:
    maps = Path(f"/proc/{nelo.process.pid}/maps").read_text()
    return "Qt6Network" in maps or "libcurl" in maps


def is_mapped(window: str) -> bool:
    return window in xdotool("search", "--onlyvisible", "--name", "^Nelo$").split()


class ChatTest(unittest.TestCase):
    def setUp(self) -> None:
        self.provider = Provider()
        self.addCleanup(self.provider.close)
        self.environment = {"NELO_OPENAI_BASE_URL": self.provider.url}

    def test_a_newcomers_question_is_answered_within_a_minute_and_found_again_after_a_restart(self) -> None:
        start = time.monotonic()
        with Nelo(environment=self.environment) as nelo:
            self.assertFalse(has_network_library(nelo))
            chat = open_chat(nelo)
            self.assertEqual(bubbles(chat), [f"Nelo: {WELCOME}"])
            self.assertFalse(has_network_library(nelo))

            type_line("what is this")
            nelo.accessible.find("dialog", "API Key Required")
            press("Escape")
            nelo.window("Nelo")
            store_api_key(nelo, chat, "OPENAI", KEY)
            press("Return")  # the question is still there
            conversation = [f"Nelo: {WELCOME}", "Me: what is this", "Nelo: 你问的是 what is this"]
            until(lambda: bubbles(chat) == conversation, "the answer")
            chat.find("label", "request succeeded")
            self.assertLess(time.monotonic() - start, MAX_SECONDS)
            self.assertTrue(has_network_library(nelo))

            type_line("please fail")
            nelo.accessible.find("dialog", "Request Failed")
            press("Return")
            nelo.window("Nelo")
            conversation.append("Me: please fail")
            self.assertEqual(bubbles(chat), conversation)
            history = nelo.home / ".nelo" / "menubar_chat_history.json"
            until(lambda: len(json.loads(history.read_bytes())) == 4, "the history on the disk")
            self.assertEqual(nelo.quit(), 0)

            self.assertEqual(self.provider.keys, [f"Bearer {KEY}"] * 2)
            with Nelo(home=nelo.home, environment=self.environment) as again:
                self.assertEqual(bubbles(open_chat(again)), conversation)

    def test_a_reply_is_announced_to_assistive_technology(self) -> None:
        with contextlib.closing(Events("object:children-changed:add")) as added, \
                Nelo(environment=self.environment) as nelo:
            open_chat(nelo)
            type_line("hi")
            for text in ("hi", WELCOME):
                added.wait_for(text)

    def test_the_bubble_that_gets_the_keyboard_is_announced(self) -> None:
        with contextlib.closing(Events("object:state-changed:focused")) as focused, \
                Nelo(environment=self.environment) as nelo:
            chat = open_chat(nelo)
            type_line("hi")
            until(lambda: len(bubbles(chat)) == 3, "the reply")
            press("shift+Tab")
            focused.wait_for(WELCOME)
            press("Up")
            focused.wait_for("hi")

    def test_the_middle_button_pastes_what_is_selected(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            chat = open_chat(nelo)
            type_line("hi")
            until(lambda: len(bubbles(chat)) == 3, "the reply")
            question = next(bubble for bubble in chat.find("list", "Conversation").children() if bubble.name == "hi")
            question.click()
            question.click()  # a word
            field = chat.find("text", "Send a message")
            field.click(MIDDLE_BUTTON)
            until(lambda: field.text == "hi", "the word in the field")

    def test_a_minimised_chat_comes_back_while_it_tells_a_failure(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            chat = open_chat(nelo)
            store_api_key(nelo, chat, "OPENAI", KEY)
            type_line("please fail later")
            until(lambda: self.provider.requests, "the request")
            window = xdotool("getactivewindow").strip()
            xdotool("windowminimize", window)
            until(lambda: not is_mapped(window), "the chat in the task bar")
            self.provider.may_fail.set()
            alert = nelo.accessible.find("dialog", "Request Failed")
            start_again(nelo).wait()
            until(lambda: is_mapped(window) and alert.is_active, "the chat on the screen, and the alert with the keyboard")
            press("Return")  # closes the alert
            nelo.window("Nelo")
            type_text("next")
            field = chat.find("text", "Send a message")
            until(lambda: field.text == "next", "the text in the field")
