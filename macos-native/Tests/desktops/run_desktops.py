"""Runs the behaviours on each of the desktops named as arguments, or on all, and prints the table desktop by behaviour.

A cell that docs/desktops.md has as a "yes" and that is none any more is a failure. NELO_PROGRAM names the program. Pictures are
written to build/desktops.
"""
from __future__ import annotations

import contextlib
import multiprocessing
import sys
import traceback
from pathlib import Path
from typing import Callable

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "e2e"))
from behaviours import ORDINARY, SCREENS, Session, composes_chinese, has_a_launcher_without_a_panel, keeps_its_sizes  # noqa: E402
from desktops import DESKTOPS, Desktop  # noqa: E402

TABLE = Path(__file__).resolve().parents[3] / "docs/desktops.md"
ORDINARY_SCREEN = (1280, 900, 1.0)  # width, height, scale
PICTURES = TABLE.parents[1] / "build/desktops"


Behaviours = dict[str, Callable[[Session], None]]


def try_on(desktop: Desktop, behaviours: Behaviours, has_panel: bool) -> dict[str, str]:
    """The cells of one start of the desktop and of Nelo."""
    cells = dict.fromkeys(behaviours, "no: the desktop did not start")
    with contextlib.suppress(AssertionError), desktop:
        if has_panel:
            desktop.start_panel()
        else:
            desktop.start_input_method()
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
    """Every cell of a desktop. What failed is tried once more on a desktop that was started anew."""
    starts: list[tuple[tuple[int, int, float], Behaviours, bool]] = [
        (ORDINARY_SCREEN, {behaviour.__name__: behaviour for behaviour in ORDINARY}, True),
        (ORDINARY_SCREEN, {has_a_launcher_without_a_panel.__name__: has_a_launcher_without_a_panel,
                           "composes Chinese": composes_chinese}, False)]
    starts += [(screen, {f"fits {name}": keeps_its_sizes}, True) for name, screen in SCREENS.items()]
    cells: dict[str, str] = {}
    with multiprocessing.get_context("fork").Pool(1, maxtasksperchild=1) as pool:  # a process has one accessibility bus
        for screen, behaviours, has_panel in starts:
            first = pool.apply(try_on, (make(*screen), behaviours, has_panel))
            again = first if set(first.values()) == {"yes"} else pool.apply(try_on, (make(*screen), behaviours, has_panel))
            cells |= {name: first[name] if first[name] == "yes" else cell for name, cell in again.items()}
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
    sys.exit(main())
