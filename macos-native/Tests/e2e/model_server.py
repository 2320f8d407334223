"""A local model server on this machine, with one model and a download that never ends, and a window that shows it."""
from __future__ import annotations

import json
import threading

from loopback import LoopbackHandler, LoopbackServer
from nelo import Nelo

INSTALLED = {"name": "qwen3:8b", "size": 5_225_388_164, "modified_at": "2026-11-20T08:30:00Z"}
PROGRESS = {"status": "pulling 58574f2e94b9", "total": 18_556_685_856, "completed": 4_211_043_200}


class ModelServer(LoopbackServer):
    def __init__(self) -> None:
        self.is_downloading = False
        self._is_closed = threading.Event()
        server = self

        class Handler(LoopbackHandler):
            def do_GET(self) -> None:
                self.answer(200, json.dumps({"models": [INSTALLED]}).encode())

            def do_POST(self) -> None:
                self.send_response(200)
                self.end_headers()
                self.wfile.write(json.dumps(PROGRESS).encode() + b"\n")
                server.is_downloading = True
                server._is_closed.wait()

        super().__init__(Handler)

    def close(self) -> None:
        self._is_closed.set()
        super().close()


class ModelsWindow(Nelo):
    """The Models tab, which the program has no place for yet, in a window of its own."""

    program = "NELO_MODELS_WINDOW"

    def _await_start(self) -> None:
        self.window("Models")
