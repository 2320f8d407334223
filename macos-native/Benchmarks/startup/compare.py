"""Start-up and idle memory of the program against a bare Qt tray program with the same menu.

Runs of the two alternate on one core of a virtual desktop. From exec to the status icon embedded in the tray, and the
proportional set size and private dirty memory after it has settled. Prints lines of JSON for table.py.
"""
from __future__ import annotations

import json
import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Protocol

import Xlib.display  # python3-xlib
import Xlib.X

ROUNDS = 11
SETTLED_SECONDS = 5
ROWS = (("exec to status icon", "ms"), ("idle memory, PSS", "kB"), ("idle memory, private dirty", "kB"))


class StatusArea(Protocol):
    """Where the desktop shows status icons."""

    environment: dict[str, str]  # of programs on that desktop

    def holds_icon(self) -> bool: ...


class Tray:
    """Tells when an icon is embedded: the tray's panel is then as high as the tray and wide enough for one."""

    def __init__(self) -> None:
        self.environment = dict(os.environ)
        self._display = Xlib.display.Display()

    def holds_icon(self) -> bool:
        root = self._display.screen().root
        for window in root.query_tree().children:
            try:
                geometry = window.get_geometry()
                if geometry.y == 0 and geometry.height == 24 and geometry.width >= 24 \
                        and window.get_attributes().map_state == Xlib.X.IsViewable:
                    return True
            except Xlib.error.XError:
                continue
        return False


def memory(process_id: int) -> tuple[int, int]:
    """PSS and private dirty memory in kB."""
    text = Path(f"/proc/{process_id}/smaps_rollup").read_text()
    values = dict(re.findall(r"^(\w+): +(\d+)", text, re.M))
    return int(values["Pss"]), int(values["Private_Dirty"])


def run(program: str, tray: StatusArea) -> tuple[float, int, int]:
    """Milliseconds until the icon is there, then PSS and private dirty memory in kB."""
    with tempfile.TemporaryDirectory() as home:
        start = time.perf_counter()
        process = subprocess.Popen(["taskset", "--cpu-list", "0", program], cwd="/",
                                   env={**tray.environment, "HOME": home, "XDG_RUNTIME_DIR": home})
        while not tray.holds_icon():
            if process.poll() is not None:
                raise RuntimeError("the program ended")
            time.sleep(0.0002)
        milliseconds = (time.perf_counter() - start) * 1000
        time.sleep(SETTLED_SECONDS)
        figures = memory(process.pid)
        process.kill()
        process.wait()
        while tray.holds_icon():
            time.sleep(0.005)
    return milliseconds, *figures


def compare(ours: str, bare: str, tray: StatusArea, desktop: str = "") -> None:
    """Prints the rows, whose names end with that of the desktop."""
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})  # not in the way of what it watches, where there are several
    run(ours, tray), run(bare, tray)  # both sides warm
    pairs = []
    for round_number in range(ROUNDS):
        if round_number % 2:
            b, a = run(bare, tray), run(ours, tray)
        else:
            a, b = run(ours, tray), run(bare, tray)
        pairs.append((a, b))
    for index, (row, unit) in enumerate(ROWS):
        print(json.dumps({"row": row + desktop, "work": 0, "unit": unit, "ours": [a[index] for a, _ in pairs],
                          "bare": [b[index] for _, b in pairs]}))


if __name__ == "__main__":
    compare(sys.argv[1], sys.argv[2], Tray())
