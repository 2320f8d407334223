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

import Xlib.display  # python3-xlib
import Xlib.X

ROUNDS = 11
SETTLED_SECONDS = 5
ROWS = (("exec to status icon", "ms"), ("idle memory, PSS", "kB"), ("idle memory, private dirty", "kB"))


class Tray:
    """Tells when an icon is embedded: the tray's panel is then as high as the tray and wide enough for one."""

    def __init__(self) -> None:
        self._display = Xlib.display.Display()

    def await_icon(self, process: subprocess.Popen[bytes]) -> None:
        while not self._holds_icon():
            if process.poll() is not None:
                raise RuntimeError("the program ended")
            time.sleep(0.0002)

    def await_none(self) -> None:
        while self._holds_icon():
            time.sleep(0.005)

    def _holds_icon(self) -> bool:
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


def run(program: str, tray: Tray) -> tuple[float, int, int]:
    """Milliseconds until the icon is there, then PSS and private dirty memory in kB."""
    with tempfile.TemporaryDirectory() as home:
        start = time.perf_counter()
        process = subprocess.Popen(["taskset", "--cpu-list", "0", program], cwd="/", env={**os.environ, "HOME": home, "XDG_RUNTIME_DIR": home})
        tray.await_icon(process)
        milliseconds = (time.perf_counter() - start) * 1000
        time.sleep(SETTLED_SECONDS)
        figures = memory(process.pid)
        process.kill()
        process.wait()
        tray.await_none()
    return milliseconds, *figures


def main(ours: str, bare: str) -> None:
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})  # not in the way of what it watches, where there are several
    tray = Tray()
    run(ours, tray), run(bare, tray)  # both sides warm
    pairs = []
    for round_number in range(ROUNDS):
        if round_number % 2:
            b, a = run(bare, tray), run(ours, tray)
        else:
            a, b = run(ours, tray), run(bare, tray)
        pairs.append((a, b))
    for index, (row, unit) in enumerate(ROWS):
        print(json.dumps({"row": row, "work": 0, "unit": unit, "ours": [a[index] for a, _ in pairs],
                          "bare": [b[index] for _, b in pairs]}))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
