"""The chat window, opened through the tray, with a provider on this machine."""
from __future__ import annotations

import contextlib
import json
import os
import stat
import unittest
from pathlib import Path

from announcements import Announcements
from nelo import (MIDDLE_BUTTON, Nelo, Node, open_chat, press, start_again, store_api_key, take_picture, type_text, until,
                  xdotool)
from provider import Provider

PICTURES = Path(os.environ.get("NELO_PICTURES", "."))
WELCOME = "您好，nelo为您服务，我为您提供最简单的AI入口服务。"
KEY = "sk-test-key"


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

    def test_a_question_is_answered_and_found_again_after_a_restart(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            self.assertFalse(has_network_library(nelo))
            chat = open_chat(nelo)
            self.assertEqual(bubbles(chat), [f"Nelo: {WELCOME}"])
            self.assertFalse(has_network_library(nelo))
            take_picture(PICTURES / "chat-welcome.png")

            type_text("what is this")
            press("Return")
            nelo.accessible.find("dialog", "API Key Required")
            take_picture(PICTURES / "chat-key-required.png")
            press("Escape")
            nelo.window("Nelo")
            store_api_key(nelo, chat, "OPENAI", KEY)
            press("Return")  # the question is still there
            conversation = [f"Nelo: {WELCOME}", "Me: what is this", "Nelo: 你问的是 what is this"]
            until(lambda: bubbles(chat) == conversation, "the answer")
            chat.find("label", "request succeeded")
            self.assertTrue(has_network_library(nelo))

            type_text("please fail")
            press("Return")
            nelo.accessible.find("dialog", "Request Failed")
            take_picture(PICTURES / "chat-request-failed.png")
            press("Return")
            nelo.window("Nelo")
            conversation.append("Me: please fail")
            self.assertEqual(bubbles(chat), conversation)
            history = nelo.home / ".nelo" / "menubar_chat_history.json"
            until(lambda: len(json.loads(history.read_bytes())) == 4, "the history on the disk")
            self.assertEqual(nelo.quit(), 0)

            self.check_files(nelo.home)
            with Nelo(home=nelo.home, environment=self.environment) as again:
                self.assertEqual(bubbles(open_chat(again)), conversation)
                take_picture(PICTURES / "chat-conversation.png")

    def check_files(self, home: Path) -> None:
        history = home / ".nelo" / "menubar_chat_history.json"
        log = home / ".nelo" / "menubar_chat.log"
        for file in (history, log):
            self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600)
        records = json.loads(history.read_bytes())
        self.assertEqual([record["role"] for record in records], ["assistant", "user", "assistant", "user"])
        self.assertRegex(records[0]["createdAt"], r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\Z")
        lines = log.read_text().splitlines()
        for line in lines:
            self.assertRegex(line, r"\A\[\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\] .")
        entries = [line.split("] ", 1)[1] for line in lines]
        self.assertEqual(entries, [
            "send triggered",
            "send aborted: missing api key for provider=openai model=gpt-4o-mini",
            "send triggered",
            "request started: provider=openai model=gpt-4o-mini messageChars=12",
            f"callChatAPI: provider=openai model=gpt-4o-mini url={self.provider.url}",
            "callChatAPI success: status=200 responseChars=17",
            "request succeeded: responseChars=17",
            "send triggered",
            "request started: provider=openai model=gpt-4o-mini messageChars=11",
            f"callChatAPI: provider=openai model=gpt-4o-mini url={self.provider.url}",
            'callChatAPI HTTP error: status=401 body={"error": {"message": "Incorrect API key provided"}}',
            'request failed: HTTP 401: {"error": {"message": "Incorrect API key provided"}}',
        ])
        self.assertEqual(self.provider.keys, [f"Bearer {KEY}"] * 2)

    def test_a_reply_is_announced_to_assistive_technology(self) -> None:
        with contextlib.closing(Announcements("object:children-changed:add")) as added, \
                Nelo(environment=self.environment) as nelo:
            open_chat(nelo)
            type_text("hi")
            press("Return")
            for text in ("hi", WELCOME):
                added.wait_for(text)

    def test_the_bubble_that_gets_the_keyboard_is_announced(self) -> None:
        with contextlib.closing(Announcements("object:state-changed:focused")) as focused, \
                Nelo(environment=self.environment) as nelo:
            chat = open_chat(nelo)
            type_text("hi")
            press("Return")
            until(lambda: len(bubbles(chat)) == 3, "the reply")
            press("shift+Tab")
            focused.wait_for(WELCOME)
            press("Up")
            focused.wait_for("hi")

    def test_the_middle_button_pastes_what_is_selected(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            chat = open_chat(nelo)
            type_text("hi")
            press("Return")
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
            type_text("please fail later")
            press("Return")
            until(lambda: self.provider.requests, "the request")
            window = xdotool("getactivewindow").strip()
            xdotool("windowminimize", window)
            until(lambda: not is_mapped(window), "the chat in the task bar")
            self.provider.may_fail.set()
            nelo.accessible.find("dialog", "Request Failed")
            start_again(nelo).wait()
            until(lambda: is_mapped(window), "the chat on the screen")
            press("Return")  # closes the alert, which has the keyboard
            nelo.window("Nelo")
            type_text("next")
            field = chat.find("text", "Send a message")
            until(lambda: field.text == "next", "the text in the field")

    def test_quitting_with_a_request_under_way_is_clean(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            store_api_key(nelo, open_chat(nelo), "OPENAI", KEY)
            type_text("please wait")
            press("Return")
            until(lambda: self.provider.requests, "the request")
            self.assertEqual(nelo.quit(), 0)
            self.assertEqual(nelo.processes(), [])

    def test_quitting_with_an_alert_open_is_clean(self) -> None:
        with Nelo(environment=self.environment) as nelo:
            open_chat(nelo)
            type_text("no key yet")
            press("Return")
            nelo.accessible.find("dialog", "API Key Required")
            nelo.process.terminate()
            self.assertEqual(nelo.process.wait(20), 0)


if __name__ == "__main__":
    unittest.main()
