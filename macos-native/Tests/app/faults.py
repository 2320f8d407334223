"""Having calls of the system fail, through the library that is named in LD_PRELOAD."""

from __future__ import annotations

import ctypes
import errno
import os
import signal
from collections.abc import Callable, Iterator
from typing import NamedTuple

_library = ctypes.CDLL(None)  # what this process has loaded


KILL = 4096
"""An outcome beyond every errno: the process is killed."""


class Kind(NamedTuple):
    """A way in which calls fail: the kind of the calls, what becomes of one, and whether whoever makes it must manage."""

    calls: str
    outcome: int
    is_survived: bool = False


FILE_FAULTS = {
    "a file cannot be opened": Kind("open", errno.EMFILE),
    "the disk is full": Kind("write", errno.ENOSPC),
    "the disk is broken": Kind("write", errno.EIO),
    "a signal interrupts a write": Kind("write", errno.EINTR, is_survived=True),
    "a write takes half": Kind("write", 0, is_survived=True),
    "a write takes half, and then the disk is full": Kind("write", -errno.ENOSPC),
    "what was written does not reach the disk": Kind("sync", errno.EIO),
    "a file cannot be renamed": Kind("rename", errno.EIO),
    "a file cannot be given a second name": Kind("link", errno.EIO, is_survived=True),
}
"""The ways in which writing a file fails."""

KILLS = {
    "killed while it writes": Kind("write", KILL),
    "killed before what it wrote is on the disk": Kind("sync", KILL),
    "killed before the file takes another's place": Kind("rename", KILL),
}
"""The moments in which a writer is killed, each of which leaves what it has begun."""


class Fault:
    """The n-th call of a kind, which fails while the object is entered; `struck` says whether it came to that."""

    def __init__(self, kind: Kind, number: int) -> None:
        self._kind = kind
        self._number = number
        self.struck = False

    def __str__(self) -> str:
        return f"{self._kind.calls} number {self._number}"

    def __enter__(self) -> Fault:
        _library.nelo_faults_arm(self._kind.calls.encode(), self._number, self._kind.outcome)
        return self

    def __exit__(self, *exception: object) -> None:
        self.struck = _library.nelo_faults_disarm(self._kind.calls.encode()) >= self._number

    def kills_copy_during(self, action: Callable[[], object]) -> int:
        """Have a copy of this process do something under the fault. Answers how it ended, as `subprocess` does."""
        child = os.fork()
        if child == 0:
            try:
                with self:
                    action()
                os._exit(0)
            finally:
                os._exit(1)
        _, status = os.waitpid(child, 0)
        end = os.waitstatus_to_exitcode(status)
        self.struck = end == -signal.SIGKILL
        return end

    def may_have_failed(self) -> bool:
        """Whether what was done may have come to nothing: the call came, and its fault need not be survived."""
        return self.struck and not self._kind.is_survived


def every_fault(kind: Kind) -> Iterator[Fault]:
    """The faults of the first call, of the second, and so on; the last is one that was not reached."""
    number = 0
    struck = True
    while struck:
        number += 1
        fault = Fault(kind, number)
        yield fault
        struck = fault.struck
