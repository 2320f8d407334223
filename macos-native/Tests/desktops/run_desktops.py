"""Runs the behaviours on each of the desktops named as arguments, or on all, and prints the table desktop by behaviour.

A cell that docs/desktops.md has as a "yes" and that is none any more is a failure. NELO_PROGRAM names the program, NELO_PICTURES
the folder for pictures.
"""
from __future__ import annotations

import multiprocessing
import os
import signal
import sys
import traceback
from pathlib import Path
from typing import Callable

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "e2e"))
from behaviours import ORDINARY, SCREENS, Session, has_a_launcher_without_a_panel, keeps_its_sizes  # noqa: E402
from desktops import DESKTOPS, Desktop  # noqa: E402

TABLE = Path(__file__).resolve().parents[3] / "docs/desktops.md"
PICTURES = Path(os.environ.get("NELO_PICTURES", "pictures"))


def try_on(desktop: Desktop, behaviours: dict[str, Callable[[Session], None]], has_panel: bool = True) -> dict[str, str]:
    """The cells of one start of the desktop and of Nelo."""
    cells: dict[str, str] = {}
    with desktop:
        os.environ.update(DISPLAY=desktop.screen, DBUS_SESSION_BUS_ADDRESS=desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        if has_panel:
            desktop.start_panel()
        session = Session(desktop, PICTURES / type(desktop).__name__)
        with session.nelo:
            for name, behaviour in behaviours.items():
                try:
                    behaviour(session)
                    cells[name] = "yes"
                except Exception as error:
                    if not isinstance(error, AssertionError):
                        traceback.print_exc()
                    cells[name] = f"no: {error}"
                    session.picture(f"no-{name}")
                print(f"{desktop.name}: {name}: {cells[name]}", file=sys.stderr, flush=True)
    return cells


def column(make: type[Desktop]) -> dict[str, str]:
    """Every cell of a desktop. Each start has a process of its own: a process has one accessibility bus."""
    cells: dict[str, str] = {}
    with multiprocessing.get_context("fork").Pool(1, maxtasksperchild=1) as pool:
        cells |= pool.apply(try_on, (make(), {behaviour.__name__: behaviour for behaviour in ORDINARY}))
        cells |= pool.apply(try_on, (make(), {has_a_launcher_without_a_panel.__name__: has_a_launcher_without_a_panel}, False))
        for name, screen in SCREENS.items():
            cells |= pool.apply(try_on, (make(*screen), {f"fits {name}": keeps_its_sizes}))
    return cells


def recorded() -> dict[tuple[str, str], str]:
    """The cells of docs/desktops.md, by row and desktop."""
    lines = [[cell.strip() for cell in line.strip("|").split("|")] for line in TABLE.read_text().splitlines() if line.startswith("|")]
    return {(row[0], desktop): cell for row in lines[2:] for desktop, cell in zip(lines[0][1:], row[1:])}


def main() -> int:
    columns = {DESKTOPS[name].name: column(DESKTOPS[name]) for name in sys.argv[1:] or DESKTOPS}
    rows = list(dict.fromkeys(row for cells in columns.values() for row in cells))
    print("| Behaviour | " + " | ".join(columns) + " |")
    print("|---|" + "---|" * len(columns))
    for row in rows:
        print(f"| {row.replace('_', ' ')} | " + " | ".join(cells[row].partition(":")[0] for cells in columns.values()) + " |")
    before = recorded()
    lost = [f"{desktop}: {row}: {cell}" for desktop, cells in columns.items() for row, cell in cells.items()
            if before.get((row.replace("_", " "), desktop)) == "yes" and cell != "yes"]
    print(*lost, sep="\n", file=sys.stderr)
    return 1 if lost else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that what was started ends, here and in the processes below
    sys.exit(main())
