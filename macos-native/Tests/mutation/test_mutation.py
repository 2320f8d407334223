"""What scripts/mutate changes in a source, and what it chooses."""
from __future__ import annotations

import ast
import os
import signal
import tempfile
import time
import unittest
from pathlib import Path

from choice import choose
from mutations import cpp_mutations, python_mutations
from survivors import Survivor, read_survivors
from trials import End, Result, failure, run

TIMEOUT_SECONDS = 60


CPP = {
    "a comparison is turned and moved by one": ("x = a < b;", ["x = a <= b;", "x = a >= b;"]),
    "a comparison of two equals is turned": ("x = a == b;", ["x = a != b;"]),
    "logic and arithmetic take their opposite": ("x = a && b + c;", ["x = a || b + c;", "x = a && b - c;"]),
    "a constant is off by one": ("x = f(12, 0.5, true);",
                                 ["x = f(13, 0.5, true);", "x = f(12, 1.5, true);", "x = f(12, 0.5, false);"]),
    "a number in a name is no constant": ("x = utf8(v2.y1);", []),
    "a condition is negated": ("if (f(a))\n", ["if (!(f(a)))\n"]),
    "a condition before a question mark is negated": ("x = f(a, b(c) ? d : e);", ["x = f(a, !(b(c)) ? d : e);"]),
    "a negation goes": ("y = !x;", ["y = x;"]),
    "a condition that names a value stays": ("if (const auto found = f())\n", []),
    "a call goes with all its lines": ("{\n    f(a,\n      [] { g(); });\n}", ["{\n    ;\n}"]),
    "an assignment goes": ("{\n    m_x->y = z;\n}", ["{\n    ;\n}"]),
    "a declaration stays": ("{\n    const Thing x = y;\n    Thing z(x);\n}", []),
    "what is returned becomes nothing": ("{\n    return value(x);\n}", ["{\n    return {};\n}"]),
    "nothing that is returned stays": ("{\n    return {};\n}", []),
    "a guard lets everything through": ("if (const auto x = f())\n    return;\n", ["if (const auto x = f())\n    ;\n"]),
    "comments, texts and the preprocessor's lines stay":
        ('#if X == 1\n// a < 1\n/* a\n < 1 */ x = "a < 1 \\" && b";', []),
    "what only macOS compiles stays": ("#ifdef Q_OS_MACOS\nx = a + b;\n#else\nx = c - d;\n#endif\n",
                                       ["#ifdef Q_OS_MACOS\nx = a + b;\n#else\nx = c + d;\n#endif\n"]),
    "what only Linux does not compile stays": ("#ifdef __linux__\nx = a + b;\n#else\nx = c - d;\n#endif\n",
                                               ["#ifdef __linux__\nx = a - b;\n#else\nx = c - d;\n#endif\n"]),
    "an apostrophe between digits opens no character":
        ("x = 1'000 + a < 'b';", ["x = 1'000 - a < 'b';", "x = 1'000 + a <= 'b';", "x = 1'000 + a >= 'b';"]),
}


PYTHON = {
    "operators, constants and conditions change": ("if a < 1 or not b:\n    x = 1 + c\n", [
        "if not (a < 1 or not b):\n    x = 1 + c\n",
        "if a <= 1 or not b:\n    x = 1 + c\n",
        "if a < 2 or not b:\n    x = 1 + c\n",
        "if a < 1 and not b:\n    x = 1 + c\n",
        "if a < 1 or b:\n    x = 1 + c\n",
        "if a < 1 or not b:\n    x = 2 + c\n",
        "if a < 1 or not b:\n    x = 1 - c\n"]),
    "calls and errors go, and results become nothing": ("def f():\n    g()\n    raise E\n    return h\n", [
        "def f():\n    pass\n    raise E\n    return h\n",
        "def f():\n    g()\n    pass\n    return h\n",
        "def f():\n    g()\n    raise E\n    return None\n"]),
    "annotations and texts stay": ('"""1 < 2"""\ndef f(x: A | B) -> C[1]:\n    y: D[2]\n', []),
    "a line with letters of several bytes is cut where its characters are": ('x = "你好" + y\n', ['x = "你好" - y\n']),
}


class MutationsTest(unittest.TestCase):
    def test_each_kind_of_line_is_changed_in_its_way(self) -> None:
        for mutations, cases in ((cpp_mutations, CPP), (python_mutations, PYTHON)):
            for behaviour, (text, wanted) in cases.items():
                with self.subTest(behaviour):
                    self.assertEqual([mutation.applied_to(text) for mutation in mutations(text)], wanted)

    def test_what_comes_out_is_python(self) -> None:
        text = (Path(__file__).resolve().parents[3] / "app" / "files.py").read_text()
        for mutation in python_mutations(text):
            ast.parse(mutation.applied_to(text))


class ChoiceTest(unittest.TestCase):
    texts = {"a.cpp": "x = a < b;\n" * 6, "b.cpp": "x = a == b;\n" * 2}
    mutations = {name: cpp_mutations(text) for name, text in texts.items()}

    def test_each_stretch_has_as_many_lines(self) -> None:
        chosen = choose(self.mutations, self.texts, 4, "seed")
        lines = [{(place.source, place.mutation.line(self.texts[place.source])) for place in stretch} for stretch in chosen]
        self.assertEqual(lines, [{("a.cpp", 1), ("a.cpp", 2)}, {("a.cpp", 3), ("a.cpp", 4)}, {("a.cpp", 5), ("a.cpp", 6)},
                                 {("b.cpp", 1), ("b.cpp", 2)}])

    def test_the_same_seed_chooses_the_same(self) -> None:
        self.assertEqual(choose(self.mutations, self.texts, 2, "seed"), choose(self.mutations, self.texts, 2, "seed"))
        self.assertNotEqual(choose(self.mutations, self.texts, 2, "seed"), choose(self.mutations, self.texts, 2, "other"))

    def test_no_kind_waits_for_all_of_another(self) -> None:
        texts = {"a.cpp": "x = a < b;\n" * 9 + "x = a && b;\n"}
        stretch, = choose({"a.cpp": cpp_mutations(texts["a.cpp"])}, texts, 1, "seed")
        self.assertEqual({place.mutation.kind for place in stretch[:2]}, {"comparison", "logic"})


class SurvivorsTest(unittest.TestCase):
    def read(self, text: str) -> dict[Survivor, str]:
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(text)
            file.flush()
            return read_survivors(Path(file.name))

    def test_a_paragraph_is_a_survivor_with_its_reason(self) -> None:
        self.assertEqual(self.read("For readers.\n\na.cpp\n- f(1,\n-   2);\n+ ;\nBecause\nof that.\n"),
                         {Survivor("a.cpp", ("f(1,", "2);"), (";",)): "Because of that."})

    def test_a_survivor_without_a_reason_is_refused(self) -> None:
        with self.assertRaises(ValueError):
            self.read("a.cpp\n- x\n+ y\n")

    def test_it_matches_what_a_mutation_does_to_its_lines(self) -> None:
        text = "{\n    f(1,\n      2);\n    g();\n}\n"
        gone = next(mutation for mutation in cpp_mutations(text) if mutation.kind == "line gone")
        self.assertEqual(gone.lines_before_and_after(text), (["f(1,", "2);"], [";"]))

    def test_every_survivor_quotes_its_source(self) -> None:
        repository = Path(__file__).resolve().parents[3]
        for survivor in read_survivors(Path(__file__).with_name("survivors.txt")):
            with self.subTest(survivor.source, before=survivor.before):
                lines = [line.strip() for line in (repository / survivor.source).read_text().splitlines()]
                count = len(survivor.before)
                self.assertIn(survivor.before, {tuple(lines[at:at + count]) for at in range(len(lines))})


class Script:
    """A test that ends as it is told, and keeps the timeouts that it was given."""

    def __init__(self, *results: Result) -> None:
        self._results = list(results)
        self.timeouts: list[float] = []

    def __call__(self, timeout_seconds: float) -> Result:
        self.timeouts.append(timeout_seconds)
        return self._results.pop(0)


class FailureTest(unittest.TestCase):
    PASSED, FAILED, LATE = Result(End.PASSED), Result(End.FAILED, "TestThing::works"), Result(End.LATE)

    def test_what_fails_twice_and_passes_without_the_mutation_is_a_failure(self) -> None:
        cases: list[tuple[list[Result], list[Result], Result | None]] = [
            ([self.PASSED], [], None),
            ([self.FAILED, self.FAILED], [self.PASSED], self.FAILED),
            ([self.FAILED, self.PASSED], [self.PASSED], None),
            ([self.LATE, self.PASSED], [self.PASSED], None),
            ([self.FAILED], [self.FAILED], None),
            ([self.LATE], [self.FAILED], None),
        ]
        for mutated, untouched, found in cases:
            with self.subTest(mutated=mutated, untouched=untouched):
                self.assertEqual(failure(Script(*mutated), Script(*untouched), 40), found)

    def test_what_does_not_end_is_a_failure(self) -> None:
        mutated, untouched = Script(self.LATE, self.LATE), Script(self.PASSED)
        self.assertEqual(failure(mutated, untouched, 40), self.LATE)
        self.assertEqual((mutated.timeouts, untouched.timeouts), ([40, 40], [10]))

    def test_what_is_slow_without_the_mutation_is_given_more_time(self) -> None:
        mutated, untouched = Script(self.LATE, self.PASSED), Script(self.LATE)
        self.assertIsNone(failure(mutated, untouched, 40))
        self.assertEqual((mutated.timeouts, untouched.timeouts), ([40, 80], [10]))


class RunTest(unittest.TestCase):
    def run_script(self, script: str, timeout: float = TIMEOUT_SECONDS) -> Result:
        return run(["sh", "-c", script], Path("/"), os.environ, timeout)

    def test_the_exit_status_tells(self) -> None:
        self.assertEqual(self.run_script("exit 0"), Result(End.PASSED))
        self.assertEqual(self.run_script("exit 1"), Result(End.FAILED))

    def test_the_first_failure_ends_it(self) -> None:
        start = time.monotonic()
        self.assertEqual(self.run_script("echo 'FAIL!  : TestThing::works(an edge) Compared'; sleep 600"),
                         Result(End.FAILED, "TestThing::works(an"))
        self.assertLess(time.monotonic() - start, TIMEOUT_SECONDS)

    def test_that_something_took_long_is_no_failure(self) -> None:
        self.assertEqual(self.run_script("echo \"FAIL!  : TestThing::isQuick() 'timer.elapsed() < 10'\"; exit 1"), Result(End.PASSED))

    def test_what_does_not_end_is_late(self) -> None:
        self.assertEqual(self.run_script("sleep 600", 0.5), Result(End.LATE))

    def test_what_it_leaves_behind_ends_with_it(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            fifo = Path(folder) / "alive"
            os.mkfifo(fifo)
            reader = os.open(fifo, os.O_RDONLY | os.O_NONBLOCK)
            self.addCleanup(os.close, reader)
            self.assertEqual(self.run_script(f"sleep 600 >{fifo} & exit 0"), Result(End.PASSED))
            os.set_blocking(reader, True)
            self.assertEqual(os.read(reader, 1), b"")  # nobody has it open for writing

    def test_it_reaches_no_process_of_others(self) -> None:
        self.assertEqual(self.run_script(f"kill -0 {os.getpid()}"), Result(End.FAILED))

    def test_it_is_in_no_group_with_others(self) -> None:
        handler = signal.signal(signal.SIGTERM, lambda *_: self.fail("reached"))
        self.addCleanup(signal.signal, signal.SIGTERM, handler)
        self.assertEqual(self.run_script("kill 0; sleep 600"), Result(End.FAILED))
