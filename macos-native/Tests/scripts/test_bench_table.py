"""What the benchmarks print becomes a table that tells whether the bars are kept."""
from __future__ import annotations

import contextlib
import io
import json
import os
import tempfile
import unittest
from pathlib import Path
from typing import Any
from unittest import mock

import table


def line(row: str, work: int, ours: list[float], bare: list[float]) -> str:
    return json.dumps({"row": row, "work": work, "unit": "ms", "ours": ours, "bare": bare})


class BenchTableTest(unittest.TestCase):
    def setUp(self) -> None:
        """With the bars "compared" at 10 of at most 1.5, and "timed" of at most 2 ms."""
        folder = tempfile.TemporaryDirectory(prefix="nelo-table-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        bars = mock.patch.multiple(table, RATIO_BARS={("compared", 10): 1.5}, OWN_BARS={("timed", 0): 2})
        bars.start()
        self.addCleanup(bars.stop)

    def run_table(self, *lines: str, again: tuple[str, ...] = ()) -> tuple[int, str, list[dict[str, Any]]]:
        output = self.folder / "bench.json"
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            status = table.main(output, lines, again)
        return status, printed.getvalue(), json.loads(output.read_text(encoding="utf-8"))["rows"]

    def test_a_ratio_is_the_median_of_the_pairs(self) -> None:
        _, _, (figure,) = self.run_table(line("compared", 10, [1, 8, 3], [1, 2, 2]))
        self.assertEqual((figure["ratio"], figure["least_ratio"], figure["most_ratio"]), (1.5, 1, 4))

    def test_lines_of_the_same_row_and_work_are_one(self) -> None:
        _, _, figures = self.run_table(line("a", 1, [1], [1]), line("a", 2, [9], [1]), line("a", 1, [3], [1]))
        self.assertEqual([(figure["work"], figure["pairs"], figure["ratio"]) for figure in figures], [(1, 2, 2), (2, 1, 9)])

    def test_a_side_without_its_other_is_a_mistake(self) -> None:
        with self.assertRaises(ValueError):
            self.run_table(line("a", 1, [1, 2], [1]))

    def test_a_bar_is_kept_or_missed(self) -> None:
        met, above = line("compared", 10, [3] * 9, [2] * 9), line("compared", 10, [3.1] * 9, [2] * 9)
        timed = line("timed", 0, [2], [])
        for behaviour, lines, again, missed in (
            ("bars that are just kept, and what services of a desktop say", ("A daemon is running", met, timed), (), 0),
            ("a ratio of too few pairs", (line("compared", 10, [1] * 8, [1] * 8), timed), (), 1),
            ("a ratio above its bar", (above, timed), (), 1),
            ("a time above its bar, however slow the bare side is", (met, line("timed", 0, [2.1], [100])), (), 1),
            ("a miss that repeats", (above, timed), (above,), 1),
            ("a row that was met is not judged again", (met, timed), (above,), 0),
        ):
            with self.subTest(behaviour):
                status, printed, figures = self.run_table(*lines, again=again)
                self.assertEqual((status, printed.lower().count("missed")), (missed, missed))
                self.assertEqual([figure["row"] for figure in figures], ["compared", "timed"])

    def test_a_row_with_a_bar_that_was_not_measured_fails(self) -> None:
        for more in ("", line("timed", 0, [], [])):
            with self.subTest(more):
                status, printed, _ = self.run_table(line("compared", 10, [3] * 9, [2] * 9), more)
                self.assertEqual(status, 1)
                self.assertIn("Not measured: timed", printed)

    def test_the_slope_is_the_exponent_of_the_growth(self) -> None:
        _, _, figures = self.run_table(line("grown", 1, [1], [4]), line("grown", 100, [100], [40]))
        self.assertIsNone(figures[0]["slope"])
        self.assertAlmostEqual(figures[1]["slope"], 1)
        self.assertAlmostEqual(figures[1]["bare_slope"], 0.5)

    def test_a_miss_that_does_not_repeat_passes_and_is_told_with_its_spread(self) -> None:
        first = (line("compared", 10, [2, 3, 4, 5] * 3, [2] * 12), line("timed", 0, [2], []))
        status, printed, _ = self.run_table(*first, again=(line("compared", 10, [3] * 9, [2] * 9),))
        self.assertEqual((status, printed.count("missed once"), printed.count("MISSED")), (0, 1, 0))
        self.assertIn("compared 10, bar 1.5: 1.75, half of 12 between 1.38 and 2.12; once more: 1.5, half of 9", printed)

    def test_the_benchmarks_of_missed_rows_are_named(self) -> None:
        for name, time in (("Kept", 2), ("Missed", 2.1)):
            (self.folder / name).write_text("A daemon is running\n" + line("timed", 0, [time], []) + "\n", encoding="utf-8")
        self.assertEqual(table.benchmarks_that_missed(self.folder), ["Missed"])

    def test_the_processor_and_its_cores_are_told(self) -> None:
        _, printed, _ = self.run_table()
        self.assertRegex(printed, rf"\A.+, {len(os.sched_getaffinity(0))} cores?\n")
