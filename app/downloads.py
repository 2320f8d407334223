"""Downloads of models, each in a thread of its own that reads the server's progress."""

from __future__ import annotations

import contextlib
import itertools
import json
import threading
import time

from . import arguments, files, ollama
from .documents import parse_object
from .errors import BackendError, reason

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing it is slow
    from http.client import HTTPConnection, HTTPResponse

SILENCE_SECONDS = 300.0
"""How long the server may say nothing; checking a large file takes minutes on a slow disk."""

_LINE_LIMIT = 64 * 1024
_SHOWN_LENGTH = 500


class Downloads:
    """The downloads of this process, in the order in which they were started."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._numbers = itertools.count(1)
        self._downloads: dict[str, Download] = {}

    def rows(self) -> list[dict[str, object]]:
        """One row for each download; see `Download.row`."""
        with self._lock:
            downloads = list(self._downloads.values())
        return [download.row() for download in downloads]

    def start(self, model: str) -> dict[str, object]:
        """Start a download, unless one of the same model is running. Returns the row of the download that runs.

        Raises `BackendError` when there is no server.
        """
        with self._lock:
            for download in self._downloads.values():
                if download.model == model and download.is_running():
                    return download.row()
            address = ollama.current_address()
            connection = ollama.connect(address)
            download = Download(f"download-{next(self._numbers)}", model, connection, f"{address}/api/pull")
            self._downloads[download.id] = download
        download.start()
        return download.row()

    def cancel(self, download_id: str) -> dict[str, object]:
        """Cancel a download and return its row. Raises `BackendError` when there is none, or when it has ended."""
        with self._lock:
            download = self._downloads.get(download_id)
        if download is None:
            raise BackendError(f"There is no download {arguments.quoted(download_id)}. Refresh the list.")
        download.cancel()
        return download.row()


class Download:
    """One download. Its status goes from "running" to "completed", "failed" or "cancelled" and then stays."""

    def __init__(self, download_id: str, model: str, connection: HTTPConnection, address: str) -> None:
        self.id = download_id
        self.model = model
        self._lock = threading.Lock()
        self._status = "running"
        self._last_line = "Starting."
        self._updated = time.time()
        self._address = address
        self._connection = connection
        self._socket = connection.sock

    def start(self) -> None:
        threading.Thread(target=self._run, name=self.id, daemon=True).start()

    def is_running(self) -> bool:
        with self._lock:
            return self._status == "running"

    def row(self) -> dict[str, object]:
        """Its "id", "model", "status", "updatedAt" and "lastLine", the last thing that the server said."""
        with self._lock:
            return {
                "id": self.id,
                "model": self.model,
                "status": self._status,
                "updatedAt": files.iso_time(self._updated),
                "lastLine": self._last_line,
            }

    def cancel(self) -> None:
        """End the transfer: the server stops when its client is gone. Does nothing when it is cancelled already.

        Raises `BackendError` when the download had ended by itself.
        """
        self._say("Cancelled.", "cancelled")
        with self._lock:
            if self._status != "cancelled":
                raise BackendError(f"The download {self.id} has already {self._status}.")
        import socket

        with contextlib.suppress(OSError):
            self._socket.shutdown(socket.SHUT_RDWR)  # wakes the thread from its read

    def _run(self) -> None:
        import http.client
        import socket

        try:
            self._socket.settimeout(SILENCE_SECONDS)
            with self._request() as response:
                self._follow(response)
        except socket.timeout:
            self._say("The model server stopped answering.", "failed")
        except (OSError, http.client.HTTPException) as error:
            why = reason(error) if isinstance(error, OSError) and error.strerror else "the server went away"
            self._say(f"The download broke off: {why}.", "failed")
        finally:
            self._connection.close()
            self._say("The download broke off.", "failed")  # for all other failures: the download runs no more

    def _request(self) -> HTTPResponse:
        from urllib.parse import urlsplit

        body = json.dumps({"model": self.model, "stream": True})
        headers = {"Content-Type": "application/json"}
        self._connection.request("POST", urlsplit(self._address).path, body, headers)
        return self._connection.getresponse()

    def _follow(self, response: HTTPResponse) -> None:
        """Read one JSON object a line until the server says how it ended."""
        while self.is_running():
            line = response.readline(_LINE_LIMIT)
            if line:
                self._say(*progress(line))
            elif response.status != 200:
                self._say(f"The model server answered with HTTP {response.status}.", "failed")
            else:
                self._say("The download broke off: the server went away.", "failed")

    def _say(self, line: str, status: str = "running") -> None:
        """Keep the last thing that happened. Does nothing for an empty line, or after the end of the download."""
        with self._lock:
            if not line or self._status != "running":
                return
            self._status = status
            self._last_line = arguments.shortened(line, _SHOWN_LENGTH)
            self._updated = time.time()


def progress(line: bytes) -> tuple[str, str]:
    """The text of a line of the server's answer, and the status that follows from it. The text is empty when the line
    says nothing."""
    message = parse_object(line) or {}
    error, status = message.get("error"), message.get("status")
    if isinstance(error, str) and error:
        return error, "failed"
    if not isinstance(status, str):
        return "", "running"
    if status == "success":
        return status, "completed"
    total, done = message.get("total"), message.get("completed", 0)
    if not isinstance(total, int) or not isinstance(done, int) or not 0 <= done <= total or total == 0:
        return status, "running"
    return f"{status}: {done * 100 // total}% of {ollama.readable_size(total)}", "running"
