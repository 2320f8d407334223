"""Reads the benchmarks' lines of JSON, prints one table of them and writes it as JSON: `table.py FILE <lines`.

A line is what one row measured with one amount of work: {"row", "work", "unit", "ours", "bare"}, the two last as lists of
figures, pair by pair; "bare" is empty where nothing is compared. Other lines are what services of a desktop say.

Lines of the same row and work are one. The figure of a row is the median of the pairs' ratios, or without a bare side the median itself. The slope says how the time
grows with the work from the least to the most of it: 1 is in proportion, 0 not at all. Ends with status 1 when a bar is not
met, when a row that has one was not measured, or when a ratio comes from few pairs.
"""
from __future__ import annotations

import json
import math
import sys
from dataclasses import asdict, dataclass
from pathlib import Path
from statistics import median
from typing import Any, Iterable, Optional

FEWEST_PAIRS = 9  # of which a ratio is the median

# The most that a row may take with an amount of work, as a multiple of the bare side.
RATIO_BARS = {
    ("exec to status icon", 0): 1.10,
    ("idle memory, PSS", 0): 1.12,
    ("idle memory, private dirty", 0): 1.12,
    ("call, reply of bytes", 300): 1.10,
    ("call, reply of bytes", 1_000_000): 1.25,
    ("call, reply of bytes", 10_000_000): 1.25,
    ("first console opening", 10): 1.3,
    ("first console opening", 100): 1.3,
    ("first console opening", 1_000): 1.3,
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
    ("agents refresh", 100): 1.2,
    ("agents refresh", 10_000): 1.2,
    ("open configuration of bytes", 5_000_000): 1.2,
    ("skills refresh", 2_000): 1.2,
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
    slope: Optional[float] = None
    bare_slope: Optional[float] = None
    ratio_bar: Optional[float] = None
    own_bar: Optional[float] = None

    @property
    def is_kept(self) -> bool:
        return (self.ratio_bar is None or self.ratio is not None and self.ratio <= self.ratio_bar and self.pairs >= FEWEST_PAIRS) \
            and (self.own_bar is None or self.ours <= self.own_bar)


def joined(lines: Iterable[str]) -> list[dict[str, Any]]:
    """What the lines say, those of the same row and work together."""
    together: dict[tuple[str, int], dict[str, Any]] = {}
    for line in map(json.loads, lines):
        found = together.setdefault((line["row"], line["work"]), {**line, "ours": [], "bare": []})
        found["ours"] += line["ours"]
        found["bare"] += line["bare"]
    return list(together.values())


def figure_of(line: dict[str, Any]) -> Figure:
    ours, bare = line["ours"], line["bare"]
    if bare and len(bare) != len(ours):
        raise ValueError("a figure without its pair")
    ratios = [a / b for a, b in zip(ours, bare)]
    key = (line["row"], line["work"])
    return Figure(*key, line["unit"], len(ours), median(ours), median(bare) if bare else None,
                  median(ratios) if ratios else None, min(ratios, default=None), max(ratios, default=None),
                  ratio_bar=RATIO_BARS.get(key), own_bar=OWN_BARS.get(key))


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


def cells(figure: Figure) -> tuple[str, ...]:
    spread = "" if figure.ratio is None else f"{figure.ratio:.2f} ({figure.least_ratio:.2f} to {figure.most_ratio:.2f})"
    own_bar = "" if figure.own_bar is None else f"{figure.own_bar:g} {figure.unit}"
    bar = number(figure.ratio_bar, "g") + own_bar.rstrip() + ("" if figure.is_kept else "  MISSED")
    return (figure.row, f"{figure.work:,}" if figure.work else "", f"{figure.ours:.4g} {figure.unit}", number(figure.bare, ".4g"),
            spread, str(figure.pairs), number(figure.slope, ".2f"), number(figure.bare_slope, ".2f"), bar)


def table(figures: Iterable[Figure]) -> str:
    titles = ("row", "work", "ours", "bare", "ratio (of pairs)", "pairs", "slope", "bare", "bar")
    rows = [titles, *map(cells, figures)]
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows)


def main(output: Path, lines: Iterable[str]) -> int:
    figures = [figure_of(line) for line in joined(line for line in lines if line.startswith("{"))]
    add_slopes(figures)
    print(table(figures))
    output.write_text(json.dumps([asdict(figure) for figure in figures], indent=1) + "\n", encoding="utf-8")
    missed = [figure for figure in figures if not figure.is_kept]
    unmeasured = sorted((RATIO_BARS | OWN_BARS).keys() - {(figure.row, figure.work) for figure in figures})
    for row, work in unmeasured:
        print(f"Not measured: {row} {work or ''}".rstrip())
    return 1 if missed or unmeasured else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), sys.stdin))
