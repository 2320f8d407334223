"""Orca without a voice: what it would speak about the program."""
from __future__ import annotations

import os
import signal
import subprocess
import tempfile
from pathlib import Path
from types import TracebackType

from nelo import GRACE_SECONDS
from screen import until

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
            self.wait_for("Screen reader on.")
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

    def wait_for(self, *texts: str) -> str:
        """Waits until each of the texts is spoken, and returns all that has been spoken since the last call."""
        until(lambda: all(text in self._unread() for text in texts), f"{texts} spoken, not {self._unread()!r}")
        spoken = self._unread()
        self._read += len(spoken)
        return spoken
