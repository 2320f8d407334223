"""The status item and its menu as a panel shows them: seen on the screen, and heard where the panel asks the program for them."""
from __future__ import annotations

import io
import subprocess
from pathlib import Path
from typing import NamedTuple

from PIL import Image, ImageChops

from screen import Area, click, settled, until, xdotool

LEFT, RIGHT = 1, 3
ITEM_COLOR = "#ff00ff"  # of the picture that the user has for the status item; nothing else on the screen has it
ENTRIES = {"Open Nelo": 0.13, "Open Nelo Console": 0.36, "Settings...": 0.59, "Quit Nelo": 0.85}  # their place in the menu
MENU_PATH = "/StatusNotifierItem/Menu"
OPENS, CHOOSES = "member=AboutToShow\n", '"clicked"\n'  # what dbus-monitor writes when a panel opens the menu, and at a choice
SMALLEST_MENU = 80  # pixels
POINTER = 32  # pixels around the pointer, which some desktops paint into the picture
EDGE = 12  # pixels of a menu that may let through what is below: corners and a shadow


def screen() -> Image.Image:
    taken = subprocess.run(["import", "-window", "root", "png:-"], capture_output=True, check=True).stdout
    return Image.open(io.BytesIO(taken)).convert("RGB")


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
    """What the user sees and does there. `calls` is the file into which dbus-monitor writes what is asked of the menu."""

    def __init__(self, calls: Path) -> None:
        self._calls = calls
        self._menu: Menu | None = None

    def item(self) -> Area | None:
        """Where the panel shows the item's picture."""
        picture = screen()
        alike = ImageChops.difference(picture, Image.new("RGB", picture.size, ITEM_COLOR))
        found = alike.convert("L").point(lambda difference: 255 if difference < 12 else 0).getbbox()
        return Area(found[0], found[1], found[2] - found[0], found[3] - found[1]) if found else None

    def choose(self, entry: str, button: int = LEFT) -> None:
        """Clicks the item and then an entry of the menu."""
        item = settled(self.item, "the item in the panel")
        if not self._menu:
            self._menu = self._find_menu(item, button)
        else:
            self._open(item, button)
            until(self._menu.is_open, "the menu")
        area, chosen = self._menu.area, self._heard(CHOOSES)
        click(area.x + area.width / 2, area.y + area.height * ENTRIES[entry])
        until(lambda: self._heard(CHOOSES) > chosen, f"{entry} chosen in the menu")

    def _heard(self, call: str) -> int:
        return self._calls.read_text().count(call)

    def _open(self, item: Area, button: int) -> None:
        opened = self._heard(OPENS)
        click(item.x + item.width // 2, item.y + item.height // 2, button)
        until(lambda: self._heard(OPENS) > opened, "the panel to open the menu")

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

        return Menu.seen_at(settled(change, "the menu"))
