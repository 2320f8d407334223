"""Running another program to its end, with a time limit and a limit for its output. No process of it is left."""

from __future__ import annotations

import os
import re
import selectors
import subprocess
import time
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import IO

from . import programs
from .errors import reason

OUTPUT_LIMIT = 4_000_000
"""How many bytes a program may write before it is killed."""

_COLOR = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]")
_CHUNK = 64 * 1024
_POLL_SECONDS = 0.05

_GUARDED = 'pipe=$1; shift; (read -r _ <"/dev/fd/$pipe"; kill -KILL 0) >/dev/null 2>&1 & exec "$@"'
"""A shell that becomes the program, and leaves a child in the program's process group to wait for the end of a pipe.

We hold the other end and never write. So the whole group is killed when we close it, and also when we are killed: the
system closes it then. It works on every Unix; only a process that left the group lives on.
"""


@dataclass(frozen=True)
class Outcome:
    """How a program ended, and what it wrote."""

    status: int | None
    """Its exit status; None when it was not started, or was killed."""
    output: bytes = b""
    errors: bytes = b""
    problem: str = ""
    """Why there is no exit status, as the end of a sentence such as "openclaw ..."."""

    def first_line(self) -> str:
        """The first line of text that it wrote, in errors first if it failed; nothing when there is none."""
        for written in (self.output, self.errors) if self.status == 0 else (self.errors, self.output):
            for line in written.decode(errors="replace").splitlines():
                text = "".join(filter(str.isprintable, " ".join(_COLOR.sub("", line).split())))
                if text:
                    return text[:200]
        return ""


def run(command: Sequence[str], seconds: float, variables: Mapping[str, str] | None = None) -> Outcome:
    """Run a program and return how it ended. Its path must be absolute. `variables` are added to its environment.

    Never raises for what the program does. The program has none of our own streams, which carry requests and replies.
    Its whole process group is killed when the time is over, when it writes too much, when it has ended, and when we
    end.
    """
    deadline = time.monotonic() + seconds
    try:
        watched, held = os.pipe()
    except OSError as error:
        return Outcome(None, problem=f"cannot be started: {reason(error)}")
    try:
        child = subprocess.Popen(
            ["/bin/sh", "-c", _GUARDED, "sh", str(watched), *command],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env={**programs.environment(command[0]), **(variables or {})},
            pass_fds=[watched],
            start_new_session=True,
        )
    except (OSError, ValueError) as error:
        os.close(held)
        return Outcome(None, problem=f"cannot be started: {reason(error) if isinstance(error, OSError) else error}")
    finally:
        os.close(watched)
    with child:
        try:
            output, errors = bytearray(), bytearray()
            problem = _read(child, {child.stdout: output, child.stderr: errors}, deadline)
            if not problem and not _ends(child, deadline):
                problem = "does not end"
            if problem:
                child.kill()
        finally:
            os.close(held)
    if problem == "does not end":
        problem = f"did not answer within {seconds:g} seconds"
    elif not problem and child.returncode < 0:
        problem = f"was ended by signal {-child.returncode}"
    return Outcome(None if problem else child.returncode, bytes(output), bytes(errors), problem)


def _read(child: subprocess.Popen[bytes], written: Mapping[IO[bytes] | None, bytearray], deadline: float) -> str:
    """Read until the program closes its streams or ends. Returns what is wrong when it does neither."""
    with selectors.DefaultSelector() as selector:
        for stream in written:
            assert stream is not None
            selector.register(stream, selectors.EVENT_READ, written[stream])
        while selector.get_map():
            ready = selector.select(_POLL_SECONDS)
            for key, _ in ready:
                chunk = os.read(key.fd, _CHUNK)
                key.data.extend(chunk)
                if not chunk:
                    selector.unregister(key.fileobj)
            if sum(map(len, written.values())) > OUTPUT_LIMIT:
                return "wrote more than it should"
            if time.monotonic() > deadline:
                return "does not end"
            if not ready and child.poll() is not None:
                return ""  # another process keeps the streams open
    return ""


def _ends(child: subprocess.Popen[bytes], deadline: float) -> bool:
    try:
        child.wait(max(0.0, deadline - time.monotonic()))
        return True
    except subprocess.TimeoutExpired:
        return False
