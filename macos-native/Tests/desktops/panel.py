"""The status item and its menu as a panel shows them: seen on the screen, and heard where the panel asks the program for them."""
from __future__ import annotations

import contextlib
from pathlib import Path
from typing import Callable, Iterator, NamedTuple

from PIL import Image, ImageChops, ImageGrab

from screen import Area, click, settled, until, xdotool

LEFT, RIGHT = 1, 3
ITEM_COLOR = "#ff00ff"  # of the picture that the user has for the status item; nothing else on the screen has it
MENU_ITEMS = {"Open Nelo": 0.13, "Open Nelo Console": 0.36, "Settings...": 0.59, "Quit Nelo": 0.85}  # their place in the menu
MENU_PATH = "/StatusNotifierItem/Menu"
OPENS, CHOOSES = "member=AboutToShow\n", '"clicked"\n'  # what dbus-monitor writes when a panel opens the menu, and at a choice
SMALLEST_MENU = 80  # pixels
POINTER = 32  # pixels around the pointer, which some desktops paint into the picture
EDGE = 12  # pixels of a menu that may let through what is below: corners and a shadow


def screen() -> Image.Image:
    return ImageGrab.grab(xdisplay="")  # of $DISPLAY


def darkened_since(before: Image.Image) -> int:
    """How many pixels of the screen are much darker than before."""
    return sum(ImageChops.subtract(before, screen()).convert("L").histogram()[64:])


class Menu(NamedTuple):
    """Where the panel shows the menu, and what it looks like."""

    area: Area
    picture: Image.Image

    @staticmethod
    def seen_at(area: Area) -> "Menu":
        return Menu(area, screen().crop((area.x + EDGE, area.y + EDGE, area.x + area.width - EDGE, area.y + area.height - EDGE)))

    def is_open(self) -> bool:
        difference = ImageChops.difference(self.picture, Menu.seen_at(self.area).picture).convert("L")
        return sum(difference.histogram()[32:]) < 0.01 * self.picture.width * self.picture.height


class Panel:
    """What the user sees and does there. `calls` is the file into which dbus-monitor writes what is asked of the menu. At a click
    with one of `drawn_at` the panel draws the menu; at others the program opens its own, and `own_menu` tells where."""

    def __init__(self, calls: Path, drawn_at: tuple[int, ...], own_menu: Callable[[], Area | None]) -> None:
        self._calls, self._drawn_at, self._own_menu = calls, drawn_at, own_menu
        self._menu: Menu | None = None

    def item(self) -> Area | None:
        """Where the panel shows the item's picture."""
        picture = screen()
        alike = ImageChops.difference(picture, Image.new("RGB", picture.size, ITEM_COLOR))
        found = alike.convert("L").point(lambda difference: 255 if difference < 12 else 0).getbbox()
        return Area(found[0], found[1], found[2] - found[0], found[3] - found[1]) if found else None

    def choose(self, menu_item: str, button: int = LEFT) -> None:
        """Clicks the status item and then an item of its menu."""
        item = settled(self.item, "the item in the panel")
        if button not in self._drawn_at:
            self._click(item, button)
            self._click_menu_item(menu_item, settled(self._own_menu, "the program's own menu"))
            return
        if not self._menu:
            self._menu = self._find_menu(item, button)
        else:
            self._open(item, button)
            until(self._menu.is_open, "the menu")
        with self._asking(CHOOSES, f"{menu_item} chosen in the menu"):
            self._click_menu_item(menu_item, self._menu.area)

    @staticmethod
    def _click(item: Area, button: int) -> None:
        click(item.x + item.width // 2, item.y + item.height // 2, button)

    @staticmethod
    def _click_menu_item(menu_item: str, menu: Area) -> None:
        click(menu.x + menu.width / 2, menu.y + menu.height * MENU_ITEMS[menu_item])

    def _open(self, item: Area, button: int) -> None:
        with self._asking(OPENS, "the panel to open the menu"):
            self._click(item, button)

    @contextlib.contextmanager
    def _asking(self, call: str, what: str) -> Iterator[None]:
        """Waits until the panel has made this call after what is done in the context."""
        before = self._calls.read_text().count(call)
        yield
        until(lambda: self._calls.read_text().count(call) > before, what)

    def _find_menu(self, item: Area, button: int) -> Menu:
        """Opens the menu where no window is open yet: it is what changes on the screen, and always at the same place."""
        width, height = screen().size
        xdotool("mousemove", width // 2, height // 2)  # where it calls forth no tool tip
        top, bottom = (item.y + item.height + 4, height) if item.y < height / 2 else (0, item.y - 4)

        def beyond_the_panel() -> Image.Image:
            picture = screen()
            picture.paste("black", (width // 2 - POINTER, height // 2 - POINTER, width // 2 + POINTER, height // 2 + POINTER))
            return picture.crop((0, top, width, bottom))

        before = settled(beyond_the_panel, "a screen that does not change")
        self._open(item, button)

        def change() -> Area | None:
            left, upper, right, lower = ImageChops.difference(before, beyond_the_panel()).getbbox() or (0, 0, 0, 0)
            found = Area(left, top + upper, right - left, lower - upper)
            return found if min(found.width, found.height) > SMALLEST_MENU else None

        area = settled(change, "the menu")
        return settled(lambda: Menu.seen_at(area), "a menu that does not change")
