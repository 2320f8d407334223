"""Reads the benchmarks' lines of JSON, prints one table of them and writes it as JSON.

`table.py FILE FIRST AGAIN` reads a folder with the output of each benchmark, and one with the output of those that ran once
more because a row of theirs had missed its bar. `table.py FIRST` names these.

A line is what one row measured with one amount of work: {"row", "work", "unit", "ours", "bare"}, the two last as lists of
figures, pair by pair; "bare" is empty where nothing is compared. Other lines are what services of a desktop say.

Lines of the same row and work are one. The figure of a row is the median of the pairs' ratios, or without a bare side the
median itself. The slope says how the time grows with the work from the least to the most of it: 1 is in proportion, 0 not at
all. Ends with status 1 when a row is above its bar both times, when a row that has one was not measured, or when a ratio comes
from few pairs.
"""
from __future__ import annotations

import json
import math
import os
import re
import sys
from dataclasses import asdict, dataclass
from pathlib import Path
from statistics import median, quantiles
from typing import Any, Iterable, Optional

FEWEST_PAIRS = 9  # of which a ratio is the median

# The most that a row may take with an amount of work, as a multiple of the bare side.
RATIO_BARS = {
    ("exec to status icon", 0): 1.10,
    ("idle memory, PSS", 0): 1.12,
    ("idle memory, private dirty", 0): 1.12,
    ("call, reply of bytes", 300): 1.06,
    ("call, reply of bytes", 1_000_000): 1.25,
    ("call, reply of bytes", 10_000_000): 1.25,
    ("first console opening", 10): 1.2,
    ("first console opening", 100): 1.2,
    ("first console opening", 1_000): 1.2,
    ("settings window", 0): 1.3,
    ("transcript, show", 500): 0.2,
    ("transcript, show", 5_000): 0.2,
    ("transcript, append", 500): 1.0,
    ("transcript, append", 5_000): 1.0,
    ("transcript, width", 500): 0.1,
    ("transcript, width", 5_000): 0.1,
    ("transcript, page up", 500): 1.0,
    ("transcript, page up", 5_000): 1.0,
    ("transcript, heap to text", 2_000): 3,
    ("agents refresh", 100): 0.9,
    ("agents refresh", 10_000): 0.9,
    ("open configuration of bytes", 5_000_000): 1.2,
    ("skills refresh", 20): 1.3,
    ("skills refresh", 200): 1.3,
    ("skills refresh", 2_000): 1.2,
    ("skill with variables", 2): 1.3,
    ("skill with variables", 20): 1.3,
    ("chat transfer of bytes", 20_000): 1.5,
    ("chat transfer of bytes, TLS", 20_000): 1.5,
    ("memory, openings of each window", 200): 1.02,
    ("memory, calls", 10_000): 1.02,
    ("memory, sends", 1_000): 1.02,
}
# The same in the row's own unit.
OWN_BARS = {
    ("wake-ups in 30 s, nothing opened", 0): 0,
    ("wake-ups in 30 s, windows closed", 0): 0,
    ("wake-ups in 30 s, nothing opened, sway", 0): 0,
    ("wake-ups in 30 s, windows closed, sway", 0): 0,
    ("agents, a page further", 10_000): 16.7,  # a frame at 60 Hz
    ("skill with variables", 200): 33.3,  # two frames
    ("chat exchange of bytes", 20_000): 2.0,
    ("chat, first message of bytes", 1_000): 3.2,
    ("chat, next message of bytes", 1_000): 1.15,
    ("chat, next message of bytes", 20_000): 1.15,
    ("chat, next message of bytes", 100_000): 1.9,
    ("history write, longest stall", 200): 16.7,
    ("backend, list of agents", 20): 50,
    ("backend, list of skills", 200): 50,
}


@dataclass
class Figure:
    row: str
    work: int
    unit: str
    pairs: int
    ours: float
    bare: Optional[float]
    ratio: Optional[float]
    least_ratio: Optional[float]
    most_ratio: Optional[float]
    quartiles: tuple[float, float]
    slope: Optional[float] = None
    bare_slope: Optional[float] = None
    ratio_bar: Optional[float] = None
    own_bar: Optional[float] = None
    again: Optional[Figure] = None

    @property
    def is_met(self) -> bool:
        return (self.ratio_bar is None or self.ratio is not None and self.ratio <= self.ratio_bar and self.pairs >= FEWEST_PAIRS) \
            and (self.own_bar is None or self.ours <= self.own_bar)

    @property
    def is_missed_again(self) -> bool:
        return not self.is_met and not (self.again and self.again.is_met)


def joined(lines: Iterable[str]) -> list[dict[str, Any]]:
    """What the lines say, those of the same row and work together."""
    together: dict[tuple[str, int], dict[str, Any]] = {}
    for line in map(json.loads, lines):
        found = together.setdefault((line["row"], line["work"]), {**line, "ours": [], "bare": []})
        found["ours"] += line["ours"]
        found["bare"] += line["bare"]
    return list(together.values())


def middle_half(values: list[float]) -> tuple[float, float]:
    """Between what the middle half of the values lies."""
    if len(values) < 2:
        return values[0], values[0]
    lower, _, upper = quantiles(values, method="inclusive")
    return lower, upper


def figure_of(line: dict[str, Any]) -> Figure:
    ours, bare = line["ours"], line["bare"]
    if bare and len(bare) != len(ours):
        raise ValueError("a figure without its pair")
    ratios = [a / b for a, b in zip(ours, bare)]
    key = (line["row"], line["work"])
    return Figure(*key, line["unit"], len(ours), median(ours), median(bare) if bare else None,
                  median(ratios) if ratios else None, min(ratios, default=None), max(ratios, default=None),
                  middle_half(ratios or ours), ratio_bar=RATIO_BARS.get(key), own_bar=OWN_BARS.get(key))


def slope(least_work: int, least: Optional[float], most_work: int, most: Optional[float]) -> Optional[float]:
    if not least or not most:
        return None
    return math.log(most / least) / math.log(most_work / least_work)


def add_slopes(figures: list[Figure]) -> None:
    """To the last figure of each row that was measured with several amounts of work."""
    for row in {figure.row for figure in figures}:
        of_row = sorted((figure for figure in figures if figure.row == row), key=lambda figure: figure.work)
        least, most = of_row[0], of_row[-1]
        if least.work and least.work < most.work:
            most.slope = slope(least.work, least.ours, most.work, most.ours)
            most.bare_slope = slope(least.work, least.bare, most.work, most.bare)


def number(value: Optional[float], digits: str = ".3g") -> str:
    return "" if value is None else f"{value:{digits}}"


def verdict(figure: Figure) -> str:
    if figure.is_met:
        return ""
    return "  MISSED" if figure.is_missed_again else "  missed once"


def cells(figure: Figure) -> tuple[str, ...]:
    spread = "" if figure.ratio is None else f"{figure.ratio:.2f} ({figure.least_ratio:.2f} to {figure.most_ratio:.2f})"
    own_bar = "" if figure.own_bar is None else f"{figure.own_bar:g} {figure.unit}"
    bar = number(figure.ratio_bar, "g") + own_bar.rstrip() + verdict(figure)
    return (figure.row, f"{figure.work:,}" if figure.work else "", f"{figure.ours:.4g} {figure.unit}", number(figure.bare, ".4g"),
            spread, str(figure.pairs), number(figure.slope, ".2f"), number(figure.bare_slope, ".2f"), bar)


def table(figures: Iterable[Figure]) -> str:
    titles = ("row", "work", "ours", "bare", "ratio (of pairs)", "pairs", "slope", "bare", "bar")
    rows = [titles, *map(cells, figures)]
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows)


def spread(figure: Figure) -> str:
    """A row's figure, and how far its pairs lie apart."""
    unit = f" {figure.unit}" if figure.ratio_bar is None else ""
    value = figure.ours if figure.ratio_bar is None or figure.ratio is None else figure.ratio
    lower, upper = figure.quartiles
    return f"{value:.3g}{unit}, half of {figure.pairs} between {lower:.3g} and {upper:.3g}"


def note_on_miss(figure: Figure) -> str:
    bar = figure.own_bar if figure.ratio_bar is None else figure.ratio_bar
    again = f"; once more: {spread(figure.again)}" if figure.again else ""
    return f"{figure.row} {figure.work or ''}".rstrip() + f", bar {bar:g}: {spread(figure)}{again}"


def processor() -> str:
    """The processor's name and how many cores there are to use."""
    names = re.findall(r"^model name\s*: (.*)$", Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.M)
    cores = len(os.sched_getaffinity(0))
    return f"{names[0] if names else 'Unknown processor'}, {cores} core{'' if cores == 1 else 's'}"


def figures_in(lines: Iterable[str]) -> list[Figure]:
    """A row without a reading has no figure: it is not measured."""
    return [figure_of(line) for line in joined(line for line in lines if line.startswith("{")) if line["ours"]]


def main(output: Path, lines: Iterable[str], lines_of_second_run: Iterable[str]) -> int:
    figures = figures_in(lines)
    second_run = {(figure.row, figure.work): figure for figure in figures_in(lines_of_second_run)}
    add_slopes(figures)
    missed = [figure for figure in figures if not figure.is_met]
    for figure in missed:
        figure.again = second_run.get((figure.row, figure.work))
    print(processor())
    print(table(figures))
    for figure in missed:
        print(note_on_miss(figure))
    report = {"processor": processor(), "rows": [asdict(figure) for figure in figures]}
    output.write_text(json.dumps(report, indent=1) + "\n", encoding="utf-8")
    unmeasured = sorted((RATIO_BARS | OWN_BARS).keys() - {(figure.row, figure.work) for figure in figures})
    for row, work in unmeasured:
        print(f"Not measured: {row} {work or ''}".rstrip())
    return 1 if unmeasured or any(figure.is_missed_again for figure in missed) else 0


def lines_in(file: Path) -> list[str]:
    return file.read_text(encoding="utf-8").splitlines()


def lines_below(folder: Path) -> list[str]:
    """In the order in which the files were written."""
    files = sorted(folder.iterdir(), key=lambda file: file.stat().st_mtime_ns)
    return [line for file in files for line in lines_in(file)]


def benchmarks_that_missed(folder: Path) -> list[str]:
    """The names of the files in `folder` of which a row misses its bar."""
    return [file.name for file in sorted(folder.iterdir())
            if not all(figure.is_met for figure in figures_in(lines_in(file)))]


if __name__ == "__main__":
    if len(sys.argv) == 2:
        print("\n".join(benchmarks_that_missed(Path(sys.argv[1]))))
    else:
        sys.exit(main(Path(sys.argv[1]), lines_below(Path(sys.argv[2])), lines_below(Path(sys.argv[3]))))
