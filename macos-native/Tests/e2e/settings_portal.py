"""A settings portal of the test's own, which tells the windows that the user prefers.

See "org.freedesktop.portal.Settings" at freedesktop.org.
"""
from __future__ import annotations

import subprocess

import dbus
from dbusmock import MOCK_IFACE, DBusTestCase

NO_PREFERENCE, DARK, LIGHT = 0, 1, 2
SERVICE, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"


class SettingsPortal:
    """Is there from its making until it is ended."""

    def __init__(self, scheme: int) -> None:
        self._process = DBusTestCase.spawn_server(SERVICE, PATH, SETTINGS, stdout=subprocess.DEVNULL)
        self._settings = dbus.Interface(dbus.SessionBus().get_object(SERVICE, PATH), MOCK_IFACE)
        self._answer(scheme)

    def _answer(self, scheme: int) -> None:
        self._settings.AddMethod(SETTINGS, "Read", "ss", "v", f"ret = dbus.UInt32({scheme}, variant_level=2)")

    def prefer(self, scheme: int) -> None:
        self._answer(scheme)
        changed = ["org.freedesktop.appearance", "color-scheme", dbus.UInt32(scheme)]
        self._settings.EmitSignal(SETTINGS, "SettingChanged", "ssv", changed)

    def end(self) -> None:
        self._process.kill()
        self._process.wait()
