"""What a user does with Nelo on a desktop: a function for each row of the table. It raises where Nelo does not behave so."""
from __future__ import annotations

import contextlib
import time
from pathlib import Path

from PIL import Image, ImageChops

from desktops import Desktop
from panel import MENU_PATH, RIGHT, Panel, darkened_since, screen

from nelo import Nelo, launchers
from screen import Node, press, replace_text, settled, take_picture, type_line, type_text, until

WINDOWS = {"Open Nelo": ("Nelo", (980, 740)), "Open Nelo Console": ("Nelo Console", (1000, 720)),
           "Settings...": ("Nelo Settings", (640, 620))}
TITLE_BAR = 60  # pixels that a frame may need


class Guest(Nelo):
    """The program as a desktop starts it: with the desktop's environment and home."""

    def __init__(self, desktop: Desktop) -> None:
        super().__init__(home=desktop.home)
        mark = self._mark.split("=")[0]
        own = {name: self.environment[name] for name in ("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", mark)}
        scale = {} if desktop.is_wayland else {"QT_SCALE_FACTOR": str(desktop.scale)}
        self.environment = {**desktop.environment, **own, **scale}

    def _await_start(self) -> None:
        pass  # whether the item is there is a row of the table


class OtherWindow:
    """The window of another program, in front and with the keyboard."""

    def __init__(self, session: "Session") -> None:
        desktop = session.desktop
        self._nelo = session.nelo
        self._file = desktop.home / "typed"
        self._file.unlink(missing_ok=True)
        self._process = desktop.run(*desktop.other_window(self._file))
        until(self._file.exists, "the other program's window")
        until(self.has_keyboard, "the keyboard in the other program's window")

    def has_keyboard(self) -> bool:
        """Types a line and looks where it has gone; nothing while a window of Nelo is in front, which would take it."""
        if any(window.is_active for window in self._nelo.accessible.children()):
            return False
        before = self._file.stat().st_size
        type_text("x")
        press("Return")
        with contextlib.suppress(AssertionError):
            until(lambda: self._file.stat().st_size > before, "a typed line", 2.0)
        return self._file.stat().st_size > before

    def __enter__(self) -> "OtherWindow":
        return self

    def __exit__(self, *_failure: object) -> None:
        self._process.kill()
        self._process.wait()


class Session:
    """Nelo on a desktop that was just started."""

    def __init__(self, desktop: Desktop, pictures: Path) -> None:
        self.desktop = desktop
        self.pictures = pictures
        self.nelo = Guest(desktop)
        self.panel = Panel(desktop.calls_of(MENU_PATH), desktop.draws_menu_at, self.nelo.menu_area)

    def picture(self, name: str) -> None:
        take_picture(self.pictures / f"{name}.png")

    def window(self, menu_item: str) -> Node:
        return self.nelo.window(WINDOWS[menu_item][0])

    def size(self, window: Node) -> tuple[int, int]:
        return window.area.width, window.area.height


def shows_the_item(session: Session) -> None:
    until(session.panel.item, "the item in the panel")
    session.picture("item")


def opens_the_menu_at_a_left_click(session: Session) -> None:
    session.panel.choose("Open Nelo")
    session.window("Open Nelo")


def opens_the_menu_at_a_right_click(session: Session) -> None:
    session.panel.choose("Open Nelo Console", RIGHT)
    session.window("Open Nelo Console")


def opens_three_windows(session: Session) -> None:
    for menu_item, (name, _size) in WINDOWS.items():
        session.panel.choose(menu_item)
        session.window(menu_item)
        session.picture(name.replace(" ", "-"))


def comes_forward_by_its_menu(session: Session) -> None:
    with OtherWindow(session):
        session.panel.choose("Open Nelo")
        session.window("Open Nelo")


def comes_forward_at_a_second_start(session: Session) -> None:
    with OtherWindow(session):
        token = session.desktop.activation_token()
        again = session.desktop.run(*session.nelo.command, **token)
        assert again.wait(20) == 0
        session.window("Open Nelo")


def has_a_launcher_while_the_panel_is_gone(session: Session) -> None:
    with OtherWindow(session) as other:
        session.desktop.end_panel()
        until(lambda: launchers(session.nelo), "the launcher", 15.0)  # in a young session it waits for up to 10 s
        session.picture("launcher")
        kept = other.has_keyboard()
        session.desktop.start_panel()
        until(lambda: not launchers(session.nelo), "the launcher gone")
        until(session.panel.item, "the item again")
        assert kept or session.desktop.is_wayland, "the launcher has taken the keyboard"
    session.panel.choose("Settings...")
    session.window("Settings...")


def follows_a_desktop_that_turns_dark(session: Session) -> None:
    """The settings window does, and back. The chat beside or below it keeps its own light colors."""
    for menu_item in ("Open Nelo", "Settings..."):
        session.panel.choose(menu_item)
        width, height = session.size(session.window(menu_item))
    area = width * height
    light = settled(screen, "a screen that does not change")
    session.desktop.prefer_dark(True)
    until(lambda: darkened_since(light) > 0.5 * area, "a dark settings window")
    session.picture("dark")
    assert darkened_since(light) < 1.5 * area, "more than the settings window has turned dark"
    session.desktop.prefer_dark(False)
    until(lambda: darkened_since(light) < 0.1 * area, "a light settings window")


def keeps_its_sizes(session: Session) -> None:
    """What the screen has room for is as large as it is meant to be, and nothing is larger than the screen."""
    room = (session.desktop.width / session.desktop.scale, session.desktop.height / session.desktop.scale)
    for menu_item, (name, (width, height)) in WINDOWS.items():
        session.panel.choose(menu_item)
        size = session.size(session.window(menu_item))
        session.picture(f"{name.replace(' ', '-')}-{session.desktop.width}x{session.desktop.height}")
        assert size[0] <= room[0] and size[1] <= room[1], f"{name} is {size}"
        if not session.desktop.is_tiling and height + 2 * TITLE_BAR <= room[1]:
            assert size == (width, height), f"{name} is {size}"


def quits_and_leaves_nothing(session: Session) -> None:
    session.panel.choose("Quit Nelo")
    assert session.nelo.process.wait(20) == 0
    until(lambda: not session.nelo.processes(), "no process left")
    until(lambda: not session.panel.item(), "the item gone")


def has_a_launcher_without_a_panel(session: Session) -> None:
    """It is not shown while the session starts, and then soon."""
    due = max(time.monotonic() + 1.0, session.desktop.session_start + 10.0)
    until(lambda: launchers(session.nelo), "the launcher")
    late = time.monotonic() - due
    assert -0.5 < late < 1.5 + session.desktop.slowness, f"it came {late:.1f} s late"


def composes_chinese(session: Session) -> None:
    """Return commits the letters as they were typed, the space bar a candidate, and Send what is shown in the text."""
    until(lambda: launchers(session.nelo), "the launcher")[0].find("push button", "Open Nelo").invoke()
    chat = session.window("Open Nelo")
    field = chat.find("text", "Send a message")
    until(lambda: field.is_focused, "the keyboard in the input field")
    until(session.desktop.composes_pinyin, "the input method")
    before = settled(screen, "a screen that does not change")
    type_line("nihao")
    until(lambda: field.text == "nihao", "the letters, not sent")
    replace_text(field, "nihao ")
    until(lambda: field.text == "你好", "the candidate")
    replace_text(field, "a")
    until(lambda: not field.text, "a composition in place of the text")
    if session.desktop.shows_candidates:
        until(lambda: are_beside(field, before), "candidates beside the text")
    session.picture("composing")
    chat.find("push button", "Send").invoke()
    session.nelo.accessible.find("dialog", "API Key Required")  # nothing is asked for where there is nothing to send
    until(lambda: field.text == session.desktop.composed, "what was composed")


def are_beside(field: Node, before: Image.Image) -> bool:
    """Whether the screen has changed in this field and closely below or above it."""
    left, top, right, bottom = ImageChops.difference(before, screen()).getbbox() or (0, 0, 0, 0)
    return right - left <= field.area.width and field.area.height < bottom - top < 3 * field.area.height


ORDINARY = (shows_the_item, opens_the_menu_at_a_right_click, opens_the_menu_at_a_left_click, opens_three_windows,
            comes_forward_by_its_menu, comes_forward_at_a_second_start, has_a_launcher_while_the_panel_is_gone,
            follows_a_desktop_that_turns_dark, quits_and_leaves_nothing)
SCREENS = {"1366x768": (1366, 768, 1.0), "1280x720": (1280, 720, 1.0), "1080p at 150 %": (1920, 1080, 1.5)}
