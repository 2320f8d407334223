"""Opens every window of the program and writes its picture to the folder named by the first argument."""
from __future__ import annotations

import os
import sys
from pathlib import Path

from nelo import Nelo, press, take_picture


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
            console.find("page tab", tab).click()
            console.find("page tab list", tab)  # it is called as the page in front
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
