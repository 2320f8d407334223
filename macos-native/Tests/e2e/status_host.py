"""Status areas of the test's own. One draws the items that programs describe to it over D-Bus, the other embeds windows.

See "StatusNotifierItem" at freedesktop.org for the watcher and the item, and its menu's interface com.canonical.dbusmenu.
"""
from __future__ import annotations

import os
import select
import signal
import subprocess
import sys
from typing import Any

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACES = f"""
<node>
  <interface name="{WATCHER}">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierHostRegistered"/>
    <signal name="StatusNotifierHostUnregistered"/>
  </interface>
</node>"""
ITEM_PATH = "/StatusNotifierItem"
ITEM_INTERFACE = "org.kde.StatusNotifierItem"
PROPERTIES_INTERFACE = "org.freedesktop.DBus.Properties"
MENU_INTERFACE = "com.canonical.dbusmenu"
TIMEOUT_SECONDS = 20


def session_bus() -> Gio.DBusConnection:
    return Gio.bus_get_sync(Gio.BusType.SESSION, None)


class Item:
    """What a program has registered, asked as a panel asks it."""

    def __init__(self, service: str) -> None:
        self._service = service

    def _call(self, path: str, interface: str, method: str, arguments: GLib.Variant) -> Any:
        return session_bus().call_sync(self._service, path, interface, method, arguments, None,
                                       Gio.DBusCallFlags.NONE, TIMEOUT_SECONDS * 1000, None).unpack()

    def property(self, name: str, path: str = ITEM_PATH, interface: str = ITEM_INTERFACE) -> Any:
        return self._call(path, PROPERTIES_INTERFACE, "Get", GLib.Variant("(ss)", (interface, name)))[0]

    def properties(self, path: str = ITEM_PATH, interface: str = ITEM_INTERFACE) -> dict[str, Any]:
        """All of them, in one call. Each has the same value when it is asked for alone."""
        found: dict[str, Any] = self._call(path, PROPERTIES_INTERFACE, "GetAll", GLib.Variant("(s)", (interface,)))[0]
        assert found == {name: self.property(name, path, interface) for name in found}
        return found

    def _menu_items(self) -> list[tuple[int, dict[str, Any]]]:
        """Asks in both ways in which panels ask, and returns what both say. Before, the menu says that it has not changed."""
        assert self._call(self.property("Menu"), MENU_INTERFACE, "AboutToShow", GLib.Variant("(i)", (0,))) == (False,)
        _revision, (_id, of_menu, children) = self._call(
            self.property("Menu"), MENU_INTERFACE, "GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        items = [(number, properties) for number, properties, _children in children]
        group, = self._call(self.property("Menu"), MENU_INTERFACE, "GetGroupProperties", GLib.Variant("(aias)", ([], [])))
        assert group == [(0, of_menu), *items]
        return items

    def menu(self) -> list[str]:
        """The titles of the menu's items, without separators."""
        return [properties["label"] for _number, properties in self._menu_items() if properties.get("type") != "separator"]

    def shortcuts(self) -> dict[str, Any]:
        """The keys of the menu's items that have some."""
        return {properties["label"]: properties["shortcut"] for _number, properties in self._menu_items() if "shortcut" in properties}

    def activate(self) -> None:
        """Does what many panels do at a click of the left button. They open the menu when this fails."""
        self._call(ITEM_PATH, ITEM_INTERFACE, "Activate", GLib.Variant("(ii)", (0, 0)))

    def choose(self, title: str) -> None:
        self._call(ITEM_PATH, ITEM_INTERFACE, "ProvideXdgActivationToken", GLib.Variant("(s)", ("token",)))
        number = next(number for number, properties in self._menu_items() if properties.get("label") == title)
        self._call(self.property("Menu"), MENU_INTERFACE, "Event",
                   GLib.Variant("(isvu)", (number, "clicked", GLib.Variant("s", ""), 0)))


class StatusHost:
    """A watcher in a process of its own. With `draws` it is a host as well, otherwise it waits for `begin_to_draw`.

    With `is_kde` it is KDE's daemon, which always says that there is a host. There each host has a name of its own."""

    def __init__(self, draws: bool = True, is_kde: bool = False) -> None:
        self._process = subprocess.Popen([sys.executable, __file__, "draws" if draws else "watches", "kde" if is_kde else "other"],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        try:
            assert self._line() == "ready"
        except AssertionError:
            self.end()  # it would take the items of later tests
            raise

    def _line(self) -> str:
        assert self._process.stdout
        readable, _, _ = select.select([self._process.stdout], [], [], TIMEOUT_SECONDS)
        assert readable, "the watcher has said nothing"
        return self._process.stdout.readline().strip()

    def next_item(self) -> Item:
        """Waits for a program to register its item."""
        return Item(self._line())

    def begin_to_draw(self) -> None:
        self._tell("draws")

    def end_drawing(self) -> None:
        """The host goes and the watcher stays."""
        self._tell("watches")

    def _tell(self, word: str) -> None:
        assert self._process.stdin
        print(word, file=self._process.stdin, flush=True)

    def freeze(self) -> None:
        """It keeps its name and answers nothing."""
        self._process.send_signal(signal.SIGSTOP)

    def end(self) -> None:
        self._process.kill()
        self._process.communicate()


class Tray:
    """Embeds the windows of programs, as X11 desktops have it, from its making until it is ended."""

    def __init__(self) -> None:
        self._process = subprocess.Popen(
            ["trayer", "--edge", "top", "--align", "right", "--height", "24", "--widthtype", "request"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def end(self) -> None:
        self._process.kill()
        self._process.wait()


def serve(draws: bool, is_kde: bool) -> None:
    """The watcher's process: says which items register, and is told on its standard input whether it draws."""
    bus = session_bus()
    items: list[str] = []

    def call(_bus: Any, sender: str, _path: str, _interface: str, method: str, arguments: GLib.Variant,
             invocation: Gio.DBusMethodInvocation) -> None:
        invocation.return_value(None)
        if method == "RegisterStatusNotifierItem":
            items.append(sender)
            print(sender, flush=True)

    def get(_bus: Any, _sender: str, _path: str, _interface: str, name: str) -> GLib.Variant:
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", items), "ProtocolVersion": GLib.Variant("i", 0),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", draws or is_kde)}[name]

    host_name = 0

    def name_host() -> None:
        nonlocal host_name
        if draws:
            host_name = Gio.bus_own_name_on_connection(bus, f"org.kde.StatusNotifierHost-{os.getpid()}", Gio.BusNameOwnerFlags.NONE, None, None)
        elif host_name:
            Gio.bus_unown_name(host_name)

    def obey(_channel: GLib.IOChannel, _condition: GLib.IOCondition) -> bool:
        nonlocal draws
        words = os.read(0, 100).decode().split()
        if not words:
            return False
        draws = words[-1] == "draws"
        if is_kde:  # which tells nobody
            name_host()
            return True
        bus.emit_signal(None, "/StatusNotifierWatcher", WATCHER,
                        "StatusNotifierHostRegistered" if draws else "StatusNotifierHostUnregistered", None)
        return True

    if is_kde:
        Gio.bus_own_name_on_connection(bus, "org.kde.kded5", Gio.BusNameOwnerFlags.NONE, None, None)
        name_host()
    bus.register_object("/StatusNotifierWatcher", Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces[0], call, get, None)
    GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.IO_IN, obey)
    Gio.bus_own_name_on_connection(bus, WATCHER, Gio.BusNameOwnerFlags.NONE, lambda *_: print("ready", flush=True), None)
    GLib.MainLoop().run()


if __name__ == "__main__":
    serve(sys.argv[1] == "draws", sys.argv[2] == "kde")
