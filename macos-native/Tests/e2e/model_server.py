"""A local model server on this machine, with one model and a download that never ends."""
from __future__ import annotations

import json
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

INSTALLED = {"name": "qwen3:8b", "size": 5_225_388_164, "modified_at": "2026-11-20T08:30:00Z"}
PROGRESS = {"status": "pulling 58574f2e94b9", "total": 18_556_685_856, "completed": 4_211_043_200}


class ModelServer:
    def __init__(self) -> None:
        self.is_downloading = False
        self._is_closed = threading.Event()
        server = self

        class Handler(BaseHTTPRequestHandler):
            def do_GET(self) -> None:
                self.start(json.dumps({"models": [INSTALLED]}).encode())

            def do_POST(self) -> None:
                self.start(json.dumps(PROGRESS).encode() + b"\n", ends=False)
                server.is_downloading = True
                server._is_closed.wait()

            def start(self, body: bytes, ends: bool = True) -> None:
                self.send_response(200)
                if ends:
                    self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_: object) -> None:
                pass

        self._server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self._server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self) -> None:
        self._is_closed.set()
        self._server.shutdown()
        self._server.server_close()
