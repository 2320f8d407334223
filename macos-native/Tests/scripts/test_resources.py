"""What is told about the things that a process holds, compared with a process that is known to hold them."""
from __future__ import annotations

import subprocess
import sys
import unittest
from collections import Counter

from resources import Resources, bytes_read, growth, leftovers, resources

HOARDER = """
import os, subprocess, sys, threading
def pause():
    print("ready", flush=True)
    sys.stdin.readline()
pause()
files = [open("/dev/null") for _ in range(3)]
pipe = os.pipe()
memory = bytearray(os.urandom(4096) * 2048)
for _ in range(2):
    threading.Thread(target=threading.Event().wait, daemon=True).start()
ended = subprocess.Popen(["true"])
os.waitid(os.P_PID, ended.pid, os.WEXITED | os.WNOWAIT)
pause()
pause()
"""


class ResourcesTest(unittest.TestCase):
    def setUp(self) -> None:
        self.process = subprocess.Popen([sys.executable, "-c", HOARDER], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, bufsize=1)
        self.addCleanup(self.process.communicate)
        self.addCleanup(self.process.kill)
        self._read_line()
        self.before = resources(self.process.pid)

    def go_on(self) -> None:
        """Lets it do what comes next."""
        assert self.process.stdin
        self.process.stdin.write("\n")
        self._read_line()

    def _read_line(self) -> None:
        assert self.process.stdout
        self.process.stdout.readline()

    def test_everything_that_was_taken_is_told(self) -> None:
        self.go_on()
        after = resources(self.process.pid)
        self.assertEqual(leftovers(self.before, after), [
            "3 more descriptors of /dev/null", "2 more descriptors of pipe", "2 more threads", "1 more child processes"])
        self.assertEqual(leftovers(after, self.before), [])
        self.assertGreater(after.private_dirty - self.before.private_dirty, 8 << 20)
        self.assertGreater(after.proportional - self.before.proportional, 8 << 20)

    def test_a_process_that_is_asked_has_read_something(self) -> None:
        before = bytes_read(self.process.pid)
        self.go_on()
        self.assertGreater(bytes_read(self.process.pid), before)


class LeftoversTest(unittest.TestCase):
    def test_another_of_the_same_kind_in_place_of_the_first_is_no_leftover(self) -> None:
        before = Resources(1, 1, Counter(pipe=3), 4, [100])
        self.assertEqual(leftovers(before, before._replace(private_dirty=9, children=[200])), [])


class GrowthTest(unittest.TestCase):
    def test_the_first_third_is_compared_with_the_last(self) -> None:
        self.assertEqual(growth([100, 100, 100, 500, 500, 500, 103, 103, 103]), 0.03)

    def test_one_figure_out_of_line_does_not_count(self) -> None:
        self.assertEqual(growth([100, 900, 100, 0, 0, 0, 100, 1, 100]), 0)
