"""A cloud model's provider on this machine."""
from __future__ import annotations

import json
import threading
import time
from typing import Any

from loopback import LoopbackHandler, LoopbackServer


class Provider(LoopbackServer):
    """Answers chat completions: as `answers` says, otherwise what the question asks for by its last word."""

    def __init__(self, answers: dict[str, str] | None = None) -> None:
        self.answers = answers or {}
        self.requests: list[dict[str, Any]] = []
        self.keys: list[str] = []
        self.may_fail = threading.Event()
        provider = self

        class Handler(LoopbackHandler):
            def do_POST(self) -> None:
                asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                provider.requests.append(asked)
                provider.keys.append(self.headers["Authorization"])
                question = asked["messages"][-1]["content"]
                if question.endswith("wait"):
                    time.sleep(60)
                if question.endswith("fail later"):
                    provider.may_fail.wait(60)
                if question.endswith(("fail", "fail later")):
                    self.answer(401, b'{"error": {"message": "Incorrect API key provided"}}')
                    return
                content = provider.answers.get(question, f"你问的是 {question}")
                reply = {"choices": [{"message": {"role": "assistant", "content": content}}]}
                self.answer(200, json.dumps(reply).encode())

        super().__init__(Handler)
        self.url = f"{self.address}/v1/chat/completions"
