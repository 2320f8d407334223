"""What the program tells assistive technology unasked."""
from __future__ import annotations

from typing import Any

from screen import until

from gi.repository import Atspi, GLib  # once screen.py has said which version


class Announcements:
    """The names that go with one kind of accessibility event, from its making until it is closed."""

    def __init__(self, kind: str) -> None:
        self._kind = kind
        self._heard: list[str] = []
        self._listener = Atspi.EventListener.new(self._hear)
        self._listener.register(kind)

    def _hear(self, event: Any) -> None:
        """A name that changed comes with the event, as does what was added; otherwise it is the sender's."""
        told = event.any_data
        if isinstance(told, str):
            self._heard.append(told)
        else:
            self._heard.append((told if isinstance(told, Atspi.Accessible) else event.source).get_name())

    def _has(self, name: str) -> bool:
        while GLib.MainContext.default().iteration(False):
            pass
        return name in self._heard

    def wait_for(self, name: str) -> None:
        until(lambda: self._has(name), f"{self._kind} that tells {name!r}; heard: {self._heard}")

    def close(self) -> None:
        self._listener.deregister(self._kind)
