"""A cloud model's provider on this machine."""
from __future__ import annotations

import json
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from typing import Any


class Provider:
    """Answers chat completions: as `answers` says, otherwise what the question asks for by its last word."""

    def __init__(self, answers: dict[str, str] | None = None) -> None:
        self.answers = answers or {}
        self.requests: list[dict[str, Any]] = []
        self.keys: list[str] = []
        provider = self

        class Handler(BaseHTTPRequestHandler):
            def do_POST(self) -> None:
                asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                provider.requests.append(asked)
                provider.keys.append(self.headers["Authorization"])
                question = asked["messages"][-1]["content"]
                if question.endswith("wait"):
                    time.sleep(60)
                if question.endswith("fail"):
                    self.answer(401, b'{"error": {"message": "Incorrect API key provided"}}')
                    return
                content = provider.answers.get(question, f"你问的是 {question}")
                reply = {"choices": [{"message": {"role": "assistant", "content": content}}]}
                self.answer(200, json.dumps(reply).encode())

            def answer(self, status: int, body: bytes) -> None:
                self.send_response(status)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_: object) -> None:
                pass

        self._server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self.url = f"http://127.0.0.1:{self._server.server_port}/v1/chat/completions"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self) -> None:
        self._server.shutdown()
        self._server.server_close()
