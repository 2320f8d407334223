"""Finding other programs on this machine, and asking them short questions."""

from __future__ import annotations

import os
from collections.abc import Sequence

USER_FOLDERS = (
    ".local/bin",
    "bin",
    ".openclaw/bin",
    ".npm-global/bin",
    ".bun/bin",
    ".volta/bin",
    ".local/share/pnpm",
    "Library/pnpm",
    ".cargo/bin",
)
"""Below the home folder: where installers and package managers of one user put programs."""

SYSTEM_FOLDERS = ("/usr/local/bin", "/opt/homebrew/bin")

_ANSWER_LIMIT = 64 * 1024


def search_folders() -> list[str]:
    """The folders in which programs are looked for, first match first, each once.

    PATH alone is not enough: a program started from the desktop does not get the PATH that a shell builds. A relative
    entry of PATH is left out, since it would run whatever lies in the folder we happen to be in.
    """
    home = os.path.expanduser("~")
    on_path = [folder for folder in os.environ.get("PATH", "").split(os.pathsep) if os.path.isabs(folder)]
    usual = [os.path.join(home, folder) for folder in USER_FOLDERS]
    return list(dict.fromkeys([*on_path, *usual, *SYSTEM_FOLDERS]))


def find_program(name: str) -> str | None:
    """The absolute path of the executable file `name`, or None."""
    for folder in search_folders():
        path = os.path.join(folder, name)
        if os.path.isfile(path) and os.access(path, os.X_OK):
            return path
    return None


def environment() -> dict[str, str]:
    """The environment for a found program: its PATH has every search folder.

    A script of a per-user package manager finds its interpreter beside it that way.
    """
    return {**os.environ, "PATH": os.pathsep.join(search_folders())}


def output_of(command: Sequence[str], seconds: float) -> bytes | None:
    """What `command` writes to its standard output, or None when it fails or does not end in time.

    The child sees none of our own streams: standard output is the line protocol, and standard input its requests. It
    leads a process group of its own, which is killed whole when the time is over, so that nothing it started stays.
    More than 64 KiB is not an answer.
    """
    import subprocess
    import time

    deadline = time.monotonic() + seconds
    try:
        child = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            env=environment(),
            start_new_session=True,
        )
    except OSError:
        return None
    assert child.stdout is not None
    with child.stdout as stream:
        output, ended = _read_until(stream.fileno(), deadline)
    if not ended:
        _kill_group(child.pid)
    try:
        child.wait(max(0.0, deadline - time.monotonic()))
    except subprocess.TimeoutExpired:
        _kill_group(child.pid)
        child.wait()
    return output if child.returncode == 0 and len(output) <= _ANSWER_LIMIT else None


def _read_until(descriptor: int, deadline: float) -> tuple[bytes, bool]:
    """Read to the end of input, and say whether it was reached before the deadline and within the limit."""
    import selectors
    import time

    output = bytearray()
    with selectors.DefaultSelector() as selector:
        selector.register(descriptor, selectors.EVENT_READ)
        while len(output) <= _ANSWER_LIMIT and selector.select(max(0.0, deadline - time.monotonic())):
            chunk = os.read(descriptor, 4096)
            if not chunk:
                return bytes(output), True
            output += chunk
    return bytes(output), False


def _kill_group(leader: int) -> None:
    """Kill the group of a child that was not reaped yet: until then its id cannot belong to a stranger."""
    import contextlib
    import signal

    # macOS refuses with EPERM where every member is dead already.
    with contextlib.suppress(ProcessLookupError, PermissionError):
        os.killpg(leader, signal.SIGKILL)
