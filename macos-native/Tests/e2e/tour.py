"""Opens every window of the program and writes its picture to the folder named by the first argument."""
from __future__ import annotations

import os
import sys
from pathlib import Path

from nelo import Nelo, press, take_picture, until


def tour(folder: Path, scale: int) -> None:
    def picture(name: str) -> None:
        take_picture(folder / f"{name}{'' if scale == 1 else f'@{scale}x'}.png")

    with Nelo(scale=scale) as nelo:
        nelo.open_menu()
        picture("menu")
        press("Escape")

        nelo.choose("Open Nelo Console")
        console = nelo.window("Nelo Console")
        for tab in ("Agents", "Runtime", "Tovani", "Skills", "Settings"):
            page = console.find("page tab", tab)
            page.click()
            until(lambda: page.is_selected, f"{tab} selected")
            picture(f"console-{tab.lower()}")

        nelo.choose("Open Nelo")
        nelo.window("Nelo")
        picture("chat")

        nelo.choose("Settings...")
        nelo.window("Nelo Settings")
        picture("settings")
        nelo.quit()


if __name__ == "__main__":
    tour(Path(sys.argv[1]), int(os.environ.get("NELO_SCALE", "1")))
