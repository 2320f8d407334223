"""What a user does with Nelo on a desktop: a function for each row of the table. It raises where Nelo does not behave so."""
from __future__ import annotations

import io
import subprocess
import time
from pathlib import Path

from desktops import ITEM_COLOUR, Desktop
from PIL import Image, ImageChops

from nelo import Area, Nelo, Node, click, launchers, press, take_picture, type_text, until, xdotool

LEFT, RIGHT = 1, 3
WINDOWS = {"Open Nelo": ("Nelo", (980, 740)), "Open Nelo Console": ("Nelo Console", (1000, 720)),
           "Settings...": ("Nelo Settings", (640, 620))}
ENTRIES = {"Open Nelo": 0.13, "Open Nelo Console": 0.36, "Settings...": 0.59, "Quit Nelo": 0.85}  # their place in the menu
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

    def __init__(self, desktop: Desktop) -> None:
        self._file = desktop.home / "typed"
        self._file.unlink(missing_ok=True)
        self._process = desktop.run(*desktop.other_window(self._file))
        until(self._file.exists, "the other program's window")
        until(self.has_keyboard, "the keyboard in the other program's window")

    def has_keyboard(self) -> bool:
        """Types a line and looks where it has gone."""
        before = self._file.stat().st_size
        type_text("x")
        press("Return")
        try:
            until(lambda: self._file.stat().st_size > before, "a typed line", 1.0)
        except AssertionError:
            return False
        return True

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
        self._menu: Area | None = None

    def picture(self, name: str) -> None:
        take_picture(self.pictures / f"{name}.png")

    def screen(self) -> Image.Image:
        taken = subprocess.run(["import", "-window", "root", "png:-"], capture_output=True, check=True).stdout
        return Image.open(io.BytesIO(taken)).convert("RGB")

    def item(self) -> Area | None:
        """Where the panel shows the item's picture."""
        alike = ImageChops.difference(self.screen(), Image.new("RGB", (self.desktop.width, self.desktop.height), ITEM_COLOUR))
        found = alike.convert("L").point(lambda difference: 255 if difference < 12 else 0).getbbox()
        return Area(found[0], found[1], found[2] - found[0], found[3] - found[1]) if found else None

    def choose(self, entry: str, button: int = LEFT) -> None:
        """Clicks the item and then an entry of the menu."""
        item = until(self.item, "the item in the panel")
        middle = (item.x + item.width // 2, item.y + item.height // 2)
        if not self._menu:
            self._menu = self._find_menu(item, middle)
        else:
            click(*middle, button)
            time.sleep(1.0)  # nobody tells when a panel's menu has unfolded
        click(self._menu.x + self._menu.width / 2, self._menu.y + self._menu.height * ENTRIES[entry])

    def _find_menu(self, item: Area, middle: tuple[int, int]) -> Area:
        """Opens the menu where no window is open yet: it is what changes on the screen, and always at the same place."""
        xdotool("mousemove", *middle)
        time.sleep(1.5)  # a tool tip may appear
        before = self.screen()
        click(*middle)
        is_high = item.y < self.desktop.height / 2
        top, bottom = (item.y + item.height + 4, self.desktop.height) if is_high else (0, item.y - 4)
        areas: list[tuple[int, int, int, int] | None] = [None]

        def has_unfolded() -> bool:
            time.sleep(0.3)
            areas.append(ImageChops.difference(before, self.screen()).crop((0, top, self.desktop.width, bottom)).getbbox())
            return areas[-1] is not None and areas[-1] == areas[-2]

        until(has_unfolded, "the menu", 15.0)
        left, upper, right, lower = areas[-1] or (0, 0, 0, 0)
        return Area(left, upper + top, right - left, lower - upper)

    def window(self, entry: str) -> Node:
        return self.nelo.window(WINDOWS[entry][0])

    def size(self, window: Node) -> tuple[int, int]:
        return window.area.width, window.area.height


def shows_the_item(session: Session) -> None:
    until(session.item, "the item in the panel")
    session.picture("item")


def opens_the_menu_at_a_left_click(session: Session) -> None:
    session.choose("Open Nelo")
    session.window("Open Nelo")


def opens_the_menu_at_a_right_click(session: Session) -> None:
    session.choose("Open Nelo Console", RIGHT)
    session.window("Open Nelo Console")


def opens_three_windows(session: Session) -> None:
    for entry, (name, _size) in WINDOWS.items():
        session.choose(entry)
        session.window(entry)
        session.picture(name.replace(" ", "-"))


def comes_forward_by_its_menu(session: Session) -> None:
    with OtherWindow(session.desktop):
        session.choose("Open Nelo")
        session.window("Open Nelo")


def comes_forward_at_a_second_start(session: Session) -> None:
    with OtherWindow(session.desktop):
        token = session.desktop.activation_token()
        again = session.desktop.run(*session.nelo.command, **token)
        assert again.wait(20) == 0
        session.window("Open Nelo")


def has_a_launcher_while_the_panel_is_gone(session: Session) -> None:
    with OtherWindow(session.desktop) as other:
        session.desktop.end_panel()
        until(lambda: launchers(session.nelo), "the launcher", 5.0)
        session.picture("launcher")
        kept = other.has_keyboard()
        session.desktop.start_panel()
        until(lambda: not launchers(session.nelo), "the launcher gone")
        until(session.item, "the item again")
        assert kept or session.desktop.is_wayland, "the launcher has taken the keyboard"
    session.choose("Settings...")
    session.window("Settings...")


def keeps_its_sizes(session: Session) -> None:
    """What the screen has room for is as large as it is meant to be, and nothing is larger than the screen."""
    room = (session.desktop.width / session.desktop.scale, session.desktop.height / session.desktop.scale)
    for entry, (name, (width, height)) in WINDOWS.items():
        session.choose(entry)
        size = session.size(session.window(entry))
        session.picture(f"{name.replace(' ', '-')}-{session.desktop.width}x{session.desktop.height}")
        assert size[0] <= room[0] and size[1] <= room[1], f"{name} is {size}"
        if not session.desktop.is_tiling and height + 2 * TITLE_BAR <= room[1]:
            assert size == (width, height), f"{name} is {size}"


def quits_and_leaves_nothing(session: Session) -> None:
    session.choose("Quit Nelo")
    assert session.nelo.process.wait(20) == 0
    until(lambda: not session.nelo.processes(), "no process left")
    until(lambda: not session.item(), "the item gone")


def has_a_launcher_without_a_panel(session: Session) -> None:
    start = time.monotonic()
    until(lambda: launchers(session.nelo), "the launcher")
    assert time.monotonic() - start < 2.5 + session.desktop.slowness, "it came late"


ORDINARY = (shows_the_item, opens_the_menu_at_a_left_click, opens_the_menu_at_a_right_click, opens_three_windows,
            comes_forward_by_its_menu, comes_forward_at_a_second_start, has_a_launcher_while_the_panel_is_gone,
            quits_and_leaves_nothing)
SCREENS = {"1366x768": (1366, 768, 1.0), "1280x720": (1280, 720, 1.0), "1080p at 150 %": (1920, 1080, 1.5)}
