"""The chat with a provider that others have written: what it answers, how it fails, and how long it takes.

The provider is the npm package of the folder mock-provider, and answers.json there says what it does. NELO_MOCK_PROVIDER names
the folder it is installed in.
"""
from __future__ import annotations

import os
import re
import subprocess
import unittest
from pathlib import Path

from nelo import Nelo, open_chat, store_api_key
from screen import Node, press, type_line, until
from test_chat import WELCOME, bubbles

ANSWERS = Path(__file__).parent / "mock-provider/answers.json"
PACKAGE = "node_modules/@copilotkit/aimock/dist/cli.cjs"  # runs on Node 18 too; the package's other modules do not
KEY = "sk-third-party"
FAILURES = {
    "please break down":
        'HTTP 500: {"error":{"message":"Chaos: request dropped","type":"server_error","code":"chaos_drop"}}',
    "please be quiet":
        'HTTP 429: {"error":{"message":"Chaos: rate limit exceeded","type":"rate_limit_error","code":"chaos_ratelimit"}}',
    "please mumble": "response missing choices",
    "please hang up": "127.0.0.1: the connection closed before an answer; the message may have arrived",
}


class MockProvider:
    """Serves requests that have `key`, from its making until it is closed."""

    def __init__(self, key: str) -> None:
        self._process = subprocess.Popen(
            ["node", Path(os.environ["NELO_MOCK_PROVIDER"], PACKAGE), "--port", "0", "--fixtures", ANSWERS],
            env={**os.environ, "AIMOCK_API_KEYS": key}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.url = f"{self._address()}/v1/chat/completions"

    def _address(self) -> str:
        said = []
        for line in self._process.stdout or ():
            said.append(line)
            if found := re.search(r"listening on (http://\S+)", line):
                return found[1]
        raise AssertionError("the mock provider did not start: " + "".join(said))

    def close(self) -> None:
        self._process.kill()
        self._process.communicate()


class ThirdPartyTest(unittest.TestCase):
    def setUp(self) -> None:
        self.provider = MockProvider(KEY)
        self.addCleanup(self.provider.close)
        self.nelo = Nelo(environment={"NELO_OPENAI_BASE_URL": self.provider.url}).__enter__()
        self.addCleanup(self.nelo.__exit__, None, None, None)

    def failure(self, chat: Node) -> str:
        """What the alert says that comes now, which is closed."""
        alert = self.nelo.accessible.find("dialog", "Request Failed")
        text = next(node.text for node in alert.descendants() if node.role == "text")
        chat.find("label", "request failed")
        press("Escape")
        self.nelo.window("Nelo")
        return text

    def test_it_answers(self) -> None:
        chat = open_chat(self.nelo)
        store_api_key(self.nelo, chat, "OPENAI", KEY)
        type_line("why is the sky blue")
        answer = '因为瑞利散射。\n\n"Blue" light is scattered more. 🌈'
        until(lambda: bubbles(chat) == [f"Nelo: {WELCOME}", "Me: why is the sky blue", f"Nelo: {answer}"], "the answer")
        chat.find("label", "request succeeded")

    def test_every_failure_is_told_and_the_next_question_answered(self) -> None:
        chat = open_chat(self.nelo)
        store_api_key(self.nelo, chat, "OPENAI", KEY)
        for question, told in FAILURES.items():
            with self.subTest(question):
                type_line(question)
                self.assertEqual(self.failure(chat), told)
                self.assertEqual(bubbles(chat)[-1], f"Me: {question}")
        type_line("why is the sky blue")
        chat.find("label", "request succeeded")
        self.assertEqual(len(bubbles(chat)), 1 + len(FAILURES) + 2)

    def test_a_key_that_it_does_not_know_is_told(self) -> None:
        chat = open_chat(self.nelo)
        store_api_key(self.nelo, chat, "OPENAI", "sk-wrong")
        type_line("why is the sky blue")
        self.assertEqual(self.failure(chat), 'HTTP 401: {"error":{"message":"Invalid API key","type":"authentication_error",'
                                             '"code":"invalid_api_key"}}')

    def test_whoever_waits_for_a_slow_answer_can_ask_on(self) -> None:
        chat = open_chat(self.nelo)
        store_api_key(self.nelo, chat, "OPENAI", KEY)
        type_line("take your time")
        type_line("why is the sky blue")
        until(lambda: len(bubbles(chat)) == 5, "both answers")
        told = bubbles(chat)
        self.assertEqual(told[1:3], ["Me: take your time", "Me: why is the sky blue"])
        self.assertRegex(told[3], "瑞利散射")
        self.assertEqual(told[4], "Nelo: at last")
