"""What a user sees on the screen, read through AT-SPI, and does there with the keyboard and the mouse."""
from __future__ import annotations

import contextlib
import os
import re
import subprocess
import time
from collections import deque
from pathlib import Path
from typing import Any, Callable, Iterator, NamedTuple, TypeVar

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

TIMEOUT_SECONDS = 20.0
MAX_TABS = 100
LEFT_BUTTON, MIDDLE_BUTTON = 1, 2

Result = TypeVar("Result")


def until(condition: Callable[[], Result | None], what: str, timeout: float = TIMEOUT_SECONDS) -> Result:
    """Waits until `condition` gives something true, and returns it."""
    deadline = time.monotonic() + timeout
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {timeout:g} s for: {what}")
        time.sleep(0.02)


def settled(look: Callable[[], Result | None], what: str) -> Result:
    """Waits until `look` gives the same true thing three times in a row, and returns it."""
    seen: deque[Result | None] = deque(maxlen=3)

    def stays() -> Result | None:
        seen.append(look())
        return seen[0] if len(seen) == 3 and seen[0] == seen[1] == seen[2] else None

    return until(stays, what)


def xdotool(*words: object, display: str | None = None) -> str:
    """Drives the display, which is the test's own unless told; returns what it prints."""
    environment = {**os.environ, "DISPLAY": display} if display else None
    done = subprocess.run(["xdotool", *map(str, words)], capture_output=True, text=True, check=False, env=environment)
    return done.stdout


def click(x: float, y: float, button: int = LEFT_BUTTON) -> None:
    xdotool("mousemove", round(x), round(y), "click", button)


def press(*keys: str) -> None:
    xdotool("key", "--clearmodifiers", *keys)


def type_text(text: str) -> None:
    xdotool("type", "--clearmodifiers", "--", text)


def type_line(text: str) -> None:
    type_text(text)
    press("Return")


def take_picture(file: Path, *what: str) -> None:
    """Writes what the whole screen shows, or what import(1) is told to take, as a PNG."""
    file.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(["import", *(what or ("-window", "root")), str(file)], check=True)


def take_picture_of_window(file: Path) -> None:
    """Writes the window in front, with its frame, as a PNG."""
    take_picture(file, "-frame", "-window", xdotool("getactivewindow").strip())


class Area(NamedTuple):
    x: int
    y: int
    width: int
    height: int


def name_told(event: Any) -> str:
    """A name that changed comes with the event, as does what was added; otherwise it is the sender's."""
    told = event.any_data
    return told if isinstance(told, str) else str((told if isinstance(told, Atspi.Accessible) else event.source).get_name())


def role_that_got_keyboard(event: Any) -> str | None:
    return str(event.source.get_role_name()) if event.detail1 else None


class Events:
    """What the program tells assistive technology by one kind of event, from its making until it is closed."""

    def __init__(self, kind: str, read: Callable[[Any], str | None] = name_told) -> None:
        """`read` is called with each event. What it returns is kept, unless it is None."""
        self._kind = kind
        self._read = read
        self._heard: list[str] = []
        self._listener = Atspi.EventListener.new(self._hear)
        self._listener.register(kind)

    def _hear(self, event: Any) -> None:
        text = self._read(event)
        if text is not None:
            self._heard.append(text)

    def heard(self) -> list[str]:
        while GLib.MainContext.default().iteration(False):
            pass
        return self._heard

    def wait_for(self, name: str) -> None:
        until(lambda: name in self.heard(), f"{self._kind} that tells {name!r}; heard: {self._heard}")

    def close(self) -> None:
        self._listener.deregister(self._kind)


class Node:
    """One accessible object of the program."""

    def __init__(self, accessible: Any, scale: float) -> None:
        self._accessible = accessible
        self._scale = scale

    @property
    def name(self) -> str:
        return str(self._accessible.get_name() or "")

    @property
    def role(self) -> str:
        return str(self._accessible.get_role_name())

    @property
    def description(self) -> str:
        return str(self._accessible.get_description() or "")

    @property
    def is_showing(self) -> bool:
        return self._has(Atspi.StateType.SHOWING) and self._has(Atspi.StateType.VISIBLE)

    @property
    def is_focused(self) -> bool:
        return self._has(Atspi.StateType.FOCUSED)

    @property
    def is_selected(self) -> bool:
        self._accessible.clear_cache()  # no event tells that it has changed
        return self._has(Atspi.StateType.SELECTED)

    @property
    def is_active(self) -> bool:
        return self._has(Atspi.StateType.ACTIVE)

    def _has(self, state: Any) -> bool:
        return bool(self._accessible.get_state_set().contains(state))

    @property
    def area(self) -> Area:
        """Where it is on the screen, in unscaled pixels."""
        extents = Atspi.Component.get_extents(self._accessible, Atspi.CoordType.SCREEN)
        return Area(extents.x, extents.y, extents.width, extents.height)

    @property
    def text(self) -> str:
        return str(Atspi.Text.get_text(self._accessible, 0, Atspi.Text.get_character_count(self._accessible)))

    @property
    def selected_text(self) -> str:
        selection = Atspi.Text.get_selection(self._accessible, 0)
        return self.text[selection.start_offset:selection.end_offset]

    @property
    def text_size(self) -> int:
        """The size of its first character, in points."""
        attributes, _start, _end = Atspi.Text.get_attribute_run(self._accessible, 0, True)
        return int(attributes["size"])

    def area_of_character(self, offset: int) -> Area:
        extents = Atspi.Text.get_character_extents(self._accessible, offset, Atspi.CoordType.SCREEN)
        return Area(extents.x, extents.y, extents.width, extents.height)

    def children(self) -> Iterator["Node"]:
        for index in range(self._accessible.get_child_count()):
            child = self._accessible.get_child_at_index(index)
            if child is not None:
                yield Node(child, self._scale)

    def descendants(self) -> Iterator["Node"]:
        for child in self.children():
            yield child
            yield from child.descendants()

    def reach(self, by: str = "Tab") -> None:
        """Brings the keyboard here by that key, from wherever it is in this window."""
        if self.is_focused:
            return
        with contextlib.closing(Events("object:state-changed:focused", role_that_got_keyboard)) as moves:
            for _ in range(MAX_TABS):
                before = list(moves.heard())
                press(by)
                timeout = 0.1 if before[-1:] == ["label"] else 1.0  # in a text it goes on to a link, and no event tells
                with contextlib.suppress(AssertionError):
                    until(lambda: len(moves.heard()) > len(before), "the keyboard somewhere else", timeout)
                if self.is_focused:
                    return
        raise AssertionError(f"{by} does not reach {self.role} {self.name!r}")

    def click(self, button: int = LEFT_BUTTON) -> None:
        """Clicks its middle with the mouse."""
        area = self.area
        at = ((area.x + area.width / 2) * self._scale, (area.y + area.height / 2) * self._scale)  # its area is in unscaled pixels
        click(*at, button)

    def invoke(self) -> None:
        """Presses this button as assistive technology does: without the keyboard, the mouse or a place on the screen."""
        Atspi.Action.do_action(self._accessible, 0)

    def press(self, by: str = "Tab") -> None:
        """Presses this button by the keyboard, which gets here by that key."""
        self.reach(by)
        press("space")

    def select_row(self, cell: str) -> None:
        """Selects the row of this table that has such a cell, by the keyboard."""
        found = self.find("table cell", cell)
        rows = sorted({node.area.y for node in self.descendants() if node.role == "table cell"})
        self.reach()
        press("ctrl+Home", *["Down"] * rows.index(found.area.y), "space")  # which selects where nothing has moved
        until(lambda: self.find("table cell", cell).is_selected, f"the row of {cell!r}")  # a refresh makes new ones

    def open_tab(self, title: str) -> None:
        """Turns to a page of the window's tabs, which are called as the page in front."""
        self.find("page tab", title).click()
        self.find("page tab list", title)

    def maximise(self) -> None:
        """Double-clicks the title bar that the window manager has put over this window."""
        area = self.area
        for _ in range(2):
            click((area.x + area.width / 2) * self._scale, area.y * self._scale - 8)

    def find(self, role: str, name: str | re.Pattern[str]) -> "Node":
        """Waits for a showing descendant of this role whose name is `name`, or matches it."""
        wanted = name if isinstance(name, re.Pattern) else re.compile(re.escape(name) + r"\Z")

        def search() -> Node | None:
            try:
                return next((node for node in self.descendants()
                             if node.role == role and wanted.match(node.name) and node.is_showing), None)
            except GLib.Error:  # it changed under our eyes
                return None

        return until(search, f"{role} {wanted.pattern!r}")


def choose_in_popup(popup: Node, item: str) -> None:
    """Picks an item of a combo box by its keyboard: the list that opens is in no accessible tree."""
    titles = [node.name for node in popup.descendants() if node.role == "list item"]
    popup.press()
    press("Home", *["Down"] * titles.index(item), "Return")
    until(lambda: popup.text == item, f"{item} chosen")


def select_all(field: Node) -> None:
    """Selects the text of this field, which has the keyboard.

    Waits for it: a key that an input method passes on may come later than the next one, which it takes.
    """
    press("ctrl+a")
    until(lambda: field.selected_text == field.text, "the whole text selected")


def replace_text(field: Node, text: str) -> None:
    """Types `text` in place of what the field holds, which may be scrolled out of sight yet."""
    field.reach()
    select_all(field)
    type_text(text)
