"""Having calls of the system fail, through the library that is named in LD_PRELOAD."""

from __future__ import annotations

import ctypes
import errno
from collections.abc import Iterator

_library = ctypes.CDLL(None)  # what this process has loaded

FILE_FAULTS = {
    "a file cannot be opened": ("open", errno.EMFILE),
    "the disk is full": ("write", errno.ENOSPC),
    "the disk is broken": ("write", errno.EIO),
    "a signal interrupts a write": ("write", errno.EINTR),
    "a write takes half": ("write", 0),
    "a write takes half, and then the disk is full": ("write", -errno.ENOSPC),
    "what was written does not reach the disk": ("sync", errno.EIO),
    "a file cannot be renamed": ("rename", errno.EIO),
    "a file cannot be given a name": ("link", errno.EIO),
}
"""The ways in which writing a file fails: the kind of the call, and what becomes of it."""


class Fault:
    """The n-th call of a kind, which fails while the object is entered; `struck` says whether it came to that."""

    def __init__(self, kind: str, number: int, outcome: int) -> None:
        self._kind = kind
        self._number = number
        self._outcome = outcome
        self.struck = False

    def __str__(self) -> str:
        return f"{self._kind} number {self._number}"

    def __enter__(self) -> Fault:
        _library.nelo_faults_arm(self._kind.encode(), self._number, self._outcome)
        return self

    def __exit__(self, *exception: object) -> None:
        self.struck = _library.nelo_faults_disarm() >= self._number


def every_fault(kind: str, outcome: int) -> Iterator[Fault]:
    """The faults of the first call, of the second, and so on; the last is one that was not reached."""
    number = 0
    struck = True
    while struck:
        number += 1
        fault = Fault(kind, number, outcome)
        yield fault
        struck = fault.struck
