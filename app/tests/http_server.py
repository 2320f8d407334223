"""A real HTTP server on loopback that answers as each test scripts it."""

from __future__ import annotations

import json
import socket
import ssl
import struct
import threading
from collections.abc import Callable, Mapping
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

Answer = Callable[["Exchange"], None]


class Exchange(BaseHTTPRequestHandler):
    """One request, and the ways to answer it."""

    server: HttpServer
    sent: bytes = b""

    def do_GET(self) -> None:
        self._answer()

    def do_POST(self) -> None:
        self.sent = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self._answer()

    def reply(self, body: bytes, status: int = 200, headers: Mapping[str, str] | None = None) -> None:
        """Send a whole answer at once."""
        self.send_response(status)
        for name, value in {"Content-Length": str(len(body)), **(headers or {})}.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def begin(self, headers: Mapping[str, str] | None = None) -> None:
        """Send the headers of an answer that ends with its connection."""
        self.send_response(200)
        for name, value in (headers or {}).items():
            self.send_header(name, value)
        self.end_headers()

    def say(self, message: object) -> None:
        """Send one JSON object on a line."""
        self.wfile.write(json.dumps(message).encode() + b"\n")

    def reset(self) -> None:
        """Reset the connection, as a machine does that was restarted."""
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.connection.close()

    def wait_for_the_end(self) -> None:
        """Send nothing until the test is over or the client is gone."""
        self.connection.settimeout(0.02)
        while not self.server.closing.is_set():
            try:
                if not self.connection.recv(1):
                    break
            except socket.timeout:
                continue
            except OSError:
                break
        self.server.ended.set()

    def log_message(self, format: str, *arguments: object) -> None:
        """Print nothing."""

    def _answer(self) -> None:
        self.server.requests.append((self.command, self.path, self.sent.decode()))
        answer = self.server.answers.get(self.path)
        try:
            if answer is None:
                self.reply(b"", 404)
            else:
                answer(self)
        except OSError:
            pass  # the client went away, as some tests want
        finally:
            self.close_connection = True


class HttpServer(ThreadingHTTPServer):
    """Calls a function for each path in `answers`. Every other path is not found. Use it as a context manager."""

    daemon_threads = True

    def __init__(self, certificate: str = "") -> None:
        """`certificate` is the path of a file with a certificate and its key. With it the server speaks TLS."""
        super().__init__(("127.0.0.1", 0), Exchange)
        self._scheme = "https" if certificate else "http"
        if certificate:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(certificate)
            self.socket = context.wrap_socket(self.socket, server_side=True)
        self.answers: dict[str, Answer] = {}
        self.requests: list[tuple[str, str, str]] = []
        self.closing = threading.Event()
        self.ended = threading.Event()
        self._thread = threading.Thread(target=self.serve_forever, args=(0.01,), daemon=True)
        self._thread.start()

    @property
    def address(self) -> str:
        return f"{self._scheme}://127.0.0.1:{self.server_address[1]}"

    def serve(self, path: str, body: bytes, status: int = 200, headers: Mapping[str, str] | None = None) -> str:
        """Answer `path` with fixed bytes. Returns its full address."""
        self.answers[path] = lambda exchange: exchange.reply(body, status, headers)
        return self.address + path

    def handle_error(self, request: object, client_address: object) -> None:
        """Print nothing."""

    def __exit__(self, *arguments: object) -> None:
        self.stop()

    def stop(self) -> None:
        self.closing.set()
        self.shutdown()
        self._thread.join()
        self.server_close()
