"""Orca without a voice: what it would speak about the program."""
from __future__ import annotations

import contextlib
import os
import signal
import subprocess
import tempfile
from pathlib import Path
from types import TracebackType
from typing import Callable

from nelo import GRACE_SECONDS
from screen import type_text, until

PROGRAM = Path(__file__).with_name("orca_aloud.py")


class Orca:
    """The running screen reader with a home folder of its own; leaving the context ends it."""

    def __enter__(self) -> "Orca":
        self._home = tempfile.TemporaryDirectory(prefix="orca-home-")
        home = Path(self._home.name)
        self._log = home / "spoken"
        self._read = 0  # how much of the log has been returned
        environment = {"HOME": str(home), "XDG_RUNTIME_DIR": str(home), "SPEECHD_CMD": "false", "GSETTINGS_BACKEND": "memory",
                       "LC_ALL": "C.UTF-8", **{name: os.environ[name] for name in ("PATH", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}}
        with self._log.open("wb") as log, (home / "errors").open("wb") as errors:
            self._process = subprocess.Popen(["/usr/bin/python3", PROGRAM], env=environment, stdout=log, stderr=errors,
                                             start_new_session=True)
        try:
            until(lambda: "Screen reader on." in self._unread(), "Orca speaking")
            self._read = len(self._unread())
        except AssertionError:
            self._end()
            raise
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self._end()

    def _end(self) -> None:
        self._process.terminate()
        try:
            self._process.wait(GRACE_SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()
        self._home.cleanup()

    def _unread(self) -> str:
        return self._log.read_text()[self._read:]

    def hear(self, wanted: list[str], plain: Callable[[str], str] = str) -> list[str]:
        """Waits until these lines are spoken, in any order, and no other, for as long as one may wait. Returns what has been
        spoken since the last call, each line as `plain` makes it."""
        def lines(spoken: str) -> list[str]:
            return list(filter(None, map(plain, spoken.splitlines())))

        with contextlib.suppress(AssertionError):
            until(lambda: sorted(lines(self._unread())) == sorted(wanted), "the lines")
        spoken = self._unread()
        self._read += len(spoken)
        return lines(spoken)

    def hear_typing(self, text: str) -> None:
        """Types a text. Each letter is spoken before the next one is typed: while Orca is busy, keys come out of order."""
        for letter in text:
            type_text(letter)
            until(self._unread, f"{letter!r} spoken")
            self._read += len(self._unread())
