"""How often the program wakes up in 30 s when nothing was opened yet, and when its windows are closed again.

Prints lines of JSON for table.py. Runs on a virtual desktop with the module that drives the end-to-end tests.
"""
from __future__ import annotations

import json
import time

from nelo import Nelo, open_and_close_windows, wake_ups

SETTLED_SECONDS = 35  # a thread of a pool ends when it had nothing to do for 30
IDLE_SECONDS = 30


def measure(row: str, nelo: Nelo) -> None:
    time.sleep(SETTLED_SECONDS)
    before = wake_ups(nelo)
    time.sleep(IDLE_SECONDS)
    woken = sum(count - before.get(thread, 0) for thread, count in wake_ups(nelo).items())
    print(json.dumps({"row": row, "work": 0, "unit": "", "ours": [woken], "bare": []}), flush=True)


def main() -> None:
    with Nelo() as nelo:
        measure("wake-ups in 30 s, nothing opened", nelo)
        open_and_close_windows(nelo)
        measure("wake-ups in 30 s, windows closed", nelo)


if __name__ == "__main__":
    main()
