"""A status area of the test's own that embeds the windows of programs, as X11 desktops have it."""
from __future__ import annotations

import subprocess


class Tray:
    """Is there from its making until it is ended."""

    def __init__(self) -> None:
        self._process = subprocess.Popen(
            ["trayer", "--edge", "top", "--align", "right", "--height", "24", "--widthtype", "request"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def end(self) -> None:
        self._process.kill()
        self._process.wait()
