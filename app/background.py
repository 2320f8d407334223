"""Answers of programs that are too slow to wait for: one thread asks, and the lists use what it knows."""

from __future__ import annotations

import threading
import time
from collections.abc import Callable, Hashable
from typing import Generic, Protocol, TypeVar

Value = TypeVar("Value")

MAX_AGE_SECONDS = 60.0
"""An answer that is older is not used any more."""

REFRESH_SECONDS = 45.0
"""An answer that is older is asked for again."""


class Answer(Generic[Value]):
    """The answer of a program to one question. It is used as long as the files that it depends on stay the same."""

    def __init__(self, ask: Callable[[], Value | None]) -> None:
        """`ask` runs in the thread. It returns None when the program does not answer, and never raises."""
        self._ask = ask
        self._changed = threading.Condition()
        self._value: Value | None = None
        self._basis: Hashable = None
        self._asked = float("-inf")
        self._count = 0

    def current(self, basis: Hashable) -> Value | None:
        """The last answer, or None when it is too old or was given on another basis. Does not wait.

        `basis` identifies the versions of all files that the answer depends on. Without a fresh answer, the thread asks
        the program.
        """
        with self._changed:
            age = time.monotonic() - self._asked
            is_known = self._basis == basis and age <= MAX_AGE_SECONDS
            value = self._value if is_known else None
        if not is_known or age > REFRESH_SECONDS:
            _worker.do(self, basis)
        return value

    def renewed(self, basis: Hashable, seconds: float) -> Value | None:
        """Ask again and wait for the answer. None when it does not come in time. `current` returns a later one."""
        with self._changed:
            count = self._count
            _worker.do_next(self, basis)
            is_new = self._changed.wait_for(lambda: self._count > count, seconds)
            return self._value if is_new else None

    def ask(self, basis: Hashable) -> None:
        """Ask the program and keep its answer, also a failure, so that the program is not asked again at once."""
        value = self._ask()
        with self._changed:
            self._value, self._basis, self._asked = value, basis, time.monotonic()
            self._count += 1
            self._changed.notify_all()


class _Question(Protocol):
    def ask(self, basis: Hashable) -> None:
        ...


class _Worker:
    """The thread. It ends when there are no more questions."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._waiting: list[tuple[_Question, Hashable]] = []
        self._thread: threading.Thread | None = None

    def do(self, answer: _Question, basis: Hashable) -> None:
        """Put a question at the end of the queue, unless it is in the queue already."""
        with self._lock:
            if all(it[0] is not answer for it in self._waiting):
                self._waiting.append((answer, basis))
            self._start()

    def do_next(self, answer: _Question, basis: Hashable) -> None:
        """Put a question at the beginning of the queue. The thread may be asking another one now."""
        with self._lock:
            running, rest = self._waiting[:1], self._waiting[1:]
            if not any(it[0] is answer for it in running):
                self._waiting = [*running, (answer, basis), *(it for it in rest if it[0] is not answer)]
            self._start()

    def is_idle(self) -> bool:
        with self._lock:
            return self._thread is None

    def _start(self) -> None:
        if self._thread is None or not self._thread.is_alive():
            self._thread = threading.Thread(target=self._work, name="background", daemon=True)
            self._thread.start()

    def _work(self) -> None:
        while True:
            with self._lock:
                if not self._waiting:
                    self._thread = None
                    return
                answer, basis = self._waiting[0]
            try:
                answer.ask(basis)
            finally:
                with self._lock:
                    self._waiting.pop(0)


_worker = _Worker()


def is_idle() -> bool:
    """Whether nothing is being asked."""
    return _worker.is_idle()
