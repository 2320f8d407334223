"""A portal of the test's own that asks the user for files.

See "org.freedesktop.portal.FileChooser" at freedesktop.org.
"""
from __future__ import annotations

import subprocess
from pathlib import Path
from typing import Any, NamedTuple

import dbus
from dbusmock import MOCK_IFACE, DBusTestCase

from screen import until

SERVICE, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
FILE_CHOOSER, REQUEST = "org.freedesktop.portal.FileChooser", "org.freedesktop.portal.Request"
REQUEST_PATH = f"{PATH}/request/1"


class Question(NamedTuple):
    """What a program wants a file for."""

    parent: str
    title: str
    options: dict[str, Any]


class FilePortal:
    """Is there from its making until it is ended."""

    def __init__(self) -> None:
        self._process = DBusTestCase.spawn_server(SERVICE, PATH, FILE_CHOOSER, stdout=subprocess.DEVNULL)
        bus = dbus.SessionBus()
        self._chooser = dbus.Interface(bus.get_object(SERVICE, PATH), MOCK_IFACE)
        self._chooser.AddProperty(FILE_CHOOSER, "version", dbus.UInt32(4))
        self._chooser.AddMethod(FILE_CHOOSER, "OpenFile", "ssa{sv}", "o", f"ret = dbus.ObjectPath('{REQUEST_PATH}')")
        self._chooser.AddObject(REQUEST_PATH, REQUEST, {}, [])
        self._request = dbus.Interface(bus.get_object(SERVICE, REQUEST_PATH), MOCK_IFACE)

    def question(self) -> Question:
        """Waits until a program asks for a file."""
        until(lambda: len(self._chooser.GetMethodCalls("OpenFile")) > 0, "a question for a file")
        return Question(*self._chooser.GetMethodCalls("OpenFile")[0][1])

    def choose(self, file: Path) -> None:
        """Answers as the user who chooses a file. A program that does not listen yet hears nothing."""
        self._request.EmitSignal(REQUEST, "Response", "ua{sv}", [0, {"uris": [file.as_uri()]}])

    def end(self) -> None:
        self._process.kill()
        self._process.wait()
