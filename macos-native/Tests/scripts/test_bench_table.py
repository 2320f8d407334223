"""What the benchmarks print becomes a table that tells whether the bars are kept."""
from __future__ import annotations

import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any
from unittest import mock

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "Benchmarks"))
import table  # noqa: E402


def line(row: str, work: int, ours: list[float], bare: list[float]) -> str:
    return json.dumps({"row": row, "work": work, "unit": "ms", "ours": ours, "bare": bare})


class BenchTableTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-table-")
        self.addCleanup(folder.cleanup)
        self.output = Path(folder.name) / "bench.json"

    def run_table(self, *lines: str) -> tuple[int, str, list[dict[str, Any]]]:
        """With the bars "compared" at 10 of at most 1.5, and "timed" of at most 2 ms."""
        bars = mock.patch.multiple(table, RATIO_BARS={("compared", 10): 1.5}, OWN_BARS={("timed", 0): 2})
        with bars, contextlib.redirect_stdout(io.StringIO()) as printed:
            status = table.main(self.output, lines)
        return status, printed.getvalue(), json.loads(self.output.read_text(encoding="utf-8"))

    def test_a_ratio_is_the_median_of_the_pairs(self) -> None:
        _, _, (figure,) = self.run_table(line("compared", 10, [1, 8, 3], [1, 2, 2]))
        self.assertEqual((figure["ratio"], figure["least_ratio"], figure["most_ratio"]), (1.5, 1, 4))

    def test_lines_of_the_same_row_and_work_are_one(self) -> None:
        _, _, figures = self.run_table(line("a", 1, [1], [1]), line("a", 2, [9], [1]), line("a", 1, [3], [1]))
        self.assertEqual([(figure["work"], figure["pairs"], figure["ratio"]) for figure in figures], [(1, 2, 2), (2, 1, 9)])

    def test_a_side_without_its_other_is_a_mistake(self) -> None:
        with self.assertRaises(ValueError):
            self.run_table(line("a", 1, [1, 2], [1]))

    def test_a_ratio_of_too_few_pairs_fails(self) -> None:
        status, printed, _ = self.run_table(line("compared", 10, [1] * 8, [1] * 8), line("timed", 0, [2], []))
        self.assertEqual((status, printed.count("MISSED")), (1, 1))

    def test_bars_that_are_just_kept_pass(self) -> None:
        status, printed, _ = self.run_table(line("compared", 10, [3] * 9, [2] * 9), line("timed", 0, [2], []))
        self.assertEqual(status, 0)
        self.assertNotIn("MISSED", printed)

    def test_a_ratio_above_its_bar_fails(self) -> None:
        status, printed, _ = self.run_table(line("compared", 10, [3.1] * 9, [2] * 9), line("timed", 0, [2], []))
        self.assertEqual((status, printed.count("MISSED")), (1, 1))

    def test_a_time_above_its_bar_fails_however_slow_the_bare_side_is(self) -> None:
        status, printed, _ = self.run_table(line("compared", 10, [3] * 9, [2] * 9), line("timed", 0, [2.1], [100]))
        self.assertEqual((status, printed.count("MISSED")), (1, 1))

    def test_a_row_with_a_bar_that_was_not_measured_fails(self) -> None:
        status, printed, _ = self.run_table(line("compared", 10, [3] * 9, [2] * 9))
        self.assertEqual(status, 1)
        self.assertIn("Not measured: timed", printed)

    def test_the_slope_is_the_exponent_of_the_growth(self) -> None:
        _, _, figures = self.run_table(line("grown", 1, [1], [4]), line("grown", 100, [100], [40]))
        self.assertIsNone(figures[0]["slope"])
        self.assertAlmostEqual(figures[1]["slope"], 1)
        self.assertAlmostEqual(figures[1]["bare_slope"], 0.5)

    def test_what_services_of_a_desktop_say_is_passed_over(self) -> None:
        _, _, figures = self.run_table("A daemon is running", line("timed", 0, [1], []))
        self.assertEqual([figure["row"] for figure in figures], ["timed"])


if __name__ == "__main__":
    unittest.main()
