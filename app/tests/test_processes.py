"""Other programs: how they end, and that no process of them is left."""

from __future__ import annotations

import os
import signal
import subprocess
import sys
import time

import app
from app import processes
from app.processes import Outcome, run
from app.tests.support import HomeTestCase, is_gone, wait_for

PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(app.__file__)))


class RunTest(HomeTestCase):
    def run_script(self, script: str, seconds: float = 10) -> Outcome:
        return run([self.make_program("bin/program", script)], seconds)

    def pids(self) -> list[int]:
        self.assertTrue(wait_for(lambda: os.path.exists(self.path("pids"))))
        return [int(pid) for pid in self.read("pids").split()]

    def hanging(self, then: str = "wait") -> str:
        """A script that starts another one, writes the ids of both, and goes on."""
        pids = self.path("pids")
        return f"sleep 60 & echo $! $$ > {pids}.new; mv {pids}.new {pids}; {then}"

    def assert_gone(self) -> None:
        for pid in self.pids():
            self.assertTrue(wait_for(lambda: is_gone(pid)), f"process {pid} is still there")

    def test_what_a_program_writes_and_its_status_are_the_outcome(self) -> None:
        self.assertEqual(self.run_script("echo out; echo err >&2; exit 3"), Outcome(3, b"out\n", b"err\n"))
        self.assertEqual(self.run_script('read -r line; echo "[$line]"'), Outcome(0, b"[]\n"))
        self.assertEqual(self.run_script("kill -9 $$"), Outcome(None, problem="was ended by signal 9"))
        self.assertEqual(run([self.path("nowhere")], 10).status, 127)
        self.assertIn("cannot be started", run(["a\0b"], 10).problem)
        outcome = run([self.make_program("bin/program", "echo $MORE")], 10, {"MORE": "more"})
        self.assertEqual(outcome.output, b"more\n")

    def test_a_program_that_writes_without_end_is_killed(self) -> None:
        outcome = self.run_script("exec yes")
        self.assertEqual((outcome.status, outcome.problem), (None, "wrote more than it should"))
        self.replace(processes, "OUTPUT_LIMIT", 5)
        self.assertEqual(self.run_script("printf 12; printf 345 >&2").status, 0)
        self.assertEqual(self.run_script("printf 12; printf 3456 >&2").status, None)

    def test_a_program_that_does_not_end_is_killed_with_all_it_started(self) -> None:
        for then in ("wait", "exec >&- 2>&-; wait", "trap '' TERM INT HUP; wait"):
            with self.subTest(then):
                outcome = self.run_script(self.hanging(then), 0.5)
                self.assertEqual((outcome.status, outcome.problem), (None, "did not answer within 0.5 seconds"))
                self.assert_gone()
                os.remove(self.path("pids"))

    def test_what_a_program_leaves_behind_is_killed_and_its_answer_counts(self) -> None:
        started = time.monotonic()
        self.assertEqual(self.run_script(self.hanging("echo done"), 30), Outcome(0, b"done\n"))
        self.assertLess(time.monotonic() - started, 10)
        self.assert_gone()

    def test_it_ends_when_we_are_killed(self) -> None:
        program = self.make_program("bin/program", self.hanging())
        for number in (signal.SIGKILL, signal.SIGTERM):
            script = f"from app.processes import run; run([{program!r}], 60)"
            ours = subprocess.Popen([sys.executable, "-c", script], cwd=PROJECT)
            try:
                self.pids()
            finally:
                ours.send_signal(number)
                ours.wait()
            self.assert_gone()
            os.remove(self.path("pids"))

    def test_no_child_and_no_descriptor_is_left_after_many_questions(self) -> None:
        before = len(os.listdir("/dev/fd"))
        for script in ["exit 1"] * 10 + ["sleep 60"] * 3 + ["exec yes"]:
            self.run_script(script, 0.1 if "sleep" in script else 10)
        self.assertEqual(len(os.listdir("/dev/fd")), before)
        self.assertRaises(ChildProcessError, os.waitpid, -1, os.WNOHANG)
