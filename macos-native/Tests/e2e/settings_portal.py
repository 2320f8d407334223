"""A settings portal of the test's own, which tells the windows that the user prefers.

See "org.freedesktop.portal.Settings" at freedesktop.org.
"""
from __future__ import annotations

import os
import subprocess
import sys
from typing import Any

from gi.repository import Gio, GLib

NO_PREFERENCE, DARK, LIGHT = 0, 1, 2
SERVICE, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
INTERFACES = f"""
<node>
  <interface name="{SETTINGS}">
    <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
    <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
  </interface>
</node>"""


class SettingsPortal:
    """Is there from its making until it is ended."""

    def __init__(self, scheme: int) -> None:
        self._process = subprocess.Popen([sys.executable, __file__, str(scheme)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        assert self._process.stdout
        assert self._process.stdout.readline() == "ready\n"

    def prefer(self, scheme: int) -> None:
        assert self._process.stdin
        print(scheme, file=self._process.stdin, flush=True)

    def end(self) -> None:
        self._process.kill()
        self._process.communicate()


def serve(scheme: int) -> None:
    """The portal's process: it is told on its standard input what the user prefers from then on."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)

    def read(_bus: Any, _sender: str, _path: str, _interface: str, _method: str, _arguments: GLib.Variant,
             invocation: Gio.DBusMethodInvocation) -> None:
        invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", GLib.Variant("u", scheme)),)))

    def obey(_channel: GLib.IOChannel, _condition: GLib.IOCondition) -> bool:
        nonlocal scheme
        words = os.read(0, 100).decode().split()
        if not words:
            return False
        scheme = int(words[-1])
        bus.emit_signal(None, PATH, SETTINGS, "SettingChanged",
                        GLib.Variant("(ssv)", ("org.freedesktop.appearance", "color-scheme", GLib.Variant("u", scheme))))
        return True

    bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces[0], read, None, None)
    GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.IO_IN, obey)
    Gio.bus_own_name_on_connection(bus, SERVICE, Gio.BusNameOwnerFlags.NONE, lambda *_: print("ready", flush=True), None)
    GLib.MainLoop().run()


if __name__ == "__main__":
    serve(int(sys.argv[1]))
