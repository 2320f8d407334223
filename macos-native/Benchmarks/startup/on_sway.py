"""The rows of compare.py and idle.py on sway, a Wayland desktop whose panel shows status items that are told of on D-Bus.

To be run by scripts/desktop-user, with the bare program as its argument.
"""
from __future__ import annotations

import os
import sys
from pathlib import Path
from typing import Any

TESTS = Path(__file__).resolve().parents[2] / "Tests"
sys.path += [str(TESTS / "e2e"), str(TESTS / "desktops")]
from behaviours import Guest  # noqa: E402
from compare import compare  # noqa: E402
from desktops import Desktop, Sway  # noqa: E402
from gi.repository import Gio, GLib  # noqa: E402
from idle import measure  # noqa: E402
from nelo import WINDOWS  # noqa: E402
from panel import MENU_PATH, Panel  # noqa: E402
from screen import press, until  # noqa: E402

SUFFIX = ", sway"


class StatusItems:
    """The status items of which the panel tells on D-Bus that it has them."""

    def __init__(self, desktop: Desktop) -> None:
        # The programs get a runtime folder of their own.
        self.environment = {**desktop.environment, "WAYLAND_DISPLAY": str(desktop.runtime / desktop.environment["WAYLAND_DISPLAY"])}
        self._items: set[str] = set()
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
        for signal, change in (("Registered", self._items.add), ("Unregistered", self._items.discard)):
            self._bus.signal_subscribe(None, "org.kde.StatusNotifierWatcher", f"StatusNotifierItem{signal}", None, None,
                                       Gio.DBusSignalFlags.NONE, self._follow, change)

    @staticmethod
    def _follow(_bus: Any, _sender: str, _path: str, _interface: str, _signal: str, arguments: GLib.Variant, change: Any) -> None:
        change(arguments.unpack()[0])

    def holds_icon(self) -> bool:
        while GLib.MainContext.default().iteration(False):
            pass
        return bool(self._items)


def measure_wake_ups(desktop: Desktop) -> None:
    nelo = Guest(desktop)
    panel = Panel(desktop.calls_of(MENU_PATH), desktop.draws_menu_at, nelo.menu_area)
    with nelo:
        until(panel.item, "the item in the panel")
        measure(f"wake-ups in 30 s, nothing opened{SUFFIX}", nelo)
        for menu_item, title in WINDOWS.items():
            panel.choose(menu_item)
            nelo.window(title)
            press("alt+F4")
            until(lambda: not any(window.is_showing for window in nelo.accessible.children()), f"{title} closed")
        measure(f"wake-ups in 30 s, windows closed{SUFFIX}", nelo)


def main(bare: Path) -> None:
    with Sway() as desktop:
        desktop.start_panel()
        compare(os.environ[Guest.program], str(bare), StatusItems(desktop), SUFFIX)
        measure_wake_ups(desktop)


if __name__ == "__main__":
    main(Path(sys.argv[1]).resolve())
