"""Installing packages with random faults: all of the skill is installed or nothing, and nothing else is written."""

from __future__ import annotations

import hashlib
import os
import random
import resource
import stat
import sys
import time
import unicodedata
import unittest
from typing import Any

import app
from app.errors import BackendError
from app.tests.hostile_packages import hostile_package
from app.tests.support import HomeTestCase
from app.tests.test_skill_packages import make_package

WORKSPACE = ".openclaw/workspace"
ORDINARY_COUNT = 800
LARGEST_RATIO = 100
LONGEST_MESSAGE = 1000
LONGEST_SECONDS = 10
MOST_MEMORY = 1 << 30
_WRITING = os.O_WRONLY | os.O_RDWR | os.O_CREAT
MANUAL = b"---\nname: %b\n---\none\n"

State = dict[str, tuple[int, str]]


class Watch:
    """Collects every path that is opened for writing, made or renamed while it is on."""

    _MADE = {"os.mkdir": 0, "os.rename": 1, "os.link": 1, "os.symlink": 1}
    """The number of the argument that has the new path, by event."""

    def __init__(self) -> None:
        self.is_on = False
        self.paths: set[str] = set()
        sys.addaudithook(self._note)  # a hook cannot be removed, so it has a switch

    def _note(self, event: str, arguments: tuple[Any, ...]) -> None:
        if not self.is_on:
            return
        if event in self._MADE:
            self.paths.add(os.fspath(arguments[self._MADE[event]]))
        elif event == "open" and isinstance(arguments[0], str) and arguments[2] & _WRITING:  # a number is open already
            self.paths.add(arguments[0])


WATCH = Watch()


class HostilePackagesTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        os.makedirs(self.path(WORKSPACE))
        for name in ("weather", "other"):
            self.install(make_package({"SKILL.md": MANUAL % name.encode(), "data": b"mine"}))
        self.before = self.state()

    def install(self, package: bytes) -> dict[str, object]:
        path = self.make_file("package.zip", package)
        WATCH.is_on = True
        try:
            return app.install_openclaw_skill_zip("main", path)
        finally:
            WATCH.is_on = False

    def state(self) -> State:
        """The mode and content of everything in the home folder by path, without the package and the lock."""
        found: State = {}
        for folder, folders, files in os.walk(self.home):
            for name in [*folders, *files]:
                path = os.path.join(folder, name)
                mode = os.lstat(path).st_mode
                if name not in ("package.zip", "backend.lock"):
                    found[os.path.relpath(path, self.home)] = (mode, digest(path) if stat.S_ISREG(mode) else "")
        return found

    def check(self, package: bytes) -> bool:
        """Install a package, and check that nothing else has changed. Returns whether it was installed."""
        WATCH.paths.clear()
        start = time.monotonic()
        try:
            result = self.install(package)
        except BackendError as error:
            self.assertRegex(str(error), r"\A[A-Z\"].*[.?]\Z", "not a sentence on one line")
            self.assertLess(len(str(error)), LONGEST_MESSAGE)
            self.assertEqual(self.state(), self.before)
            return False
        finally:
            self.assertLess(time.monotonic() - start, LONGEST_SECONDS)
            self.assertEqual([path for path in WATCH.paths if not self.may_appear(path)], [])
        self.assertTrue(WATCH.paths, "nobody watches")
        self.check_installed(str(result["name"]), str(result["targetDir"]))
        self.check_size(str(result["targetDir"]), len(package))
        return True

    def may_appear(self, path: str) -> bool:
        skills = self.path(WORKSPACE, "skills")
        own = (self.path(".nelo"), self.path(".nelo", "backend.lock"), skills)
        return path in own or (path.startswith(f"{skills}/") and ".." not in path.split("/"))

    def check_installed(self, name: str, target: str) -> None:
        self.assertEqual(target, self.path(WORKSPACE, "skills", name))
        self.assertEqual(os.path.basename(target), name)
        after = self.state()
        top = os.path.relpath(target, self.home)
        inside = {path: what for path, what in after.items() if path == top or path.startswith(f"{top}/")}
        outside = {path: what for path, what in after.items() if path not in inside}
        kept = {path: what for path, what in self.before.items() if path != top and not path.startswith(f"{top}/")}
        self.assertEqual(outside, kept)
        self.assertIn(f"{top}/SKILL.md", inside)
        self.assertEqual(len({unicodedata.normalize("NFD", path).casefold() for path in inside}), len(inside), inside)
        for path, (mode, _) in inside.items():
            self.assertTrue(stat.S_ISREG(mode) or stat.S_ISDIR(mode), path)
            self.assertEqual(mode & 0o7077, 0, path)
        self.before = after

    def check_size(self, target: str, packed_size: int) -> None:
        sizes = [os.path.getsize(os.path.join(folder, name)) for folder, _, names in os.walk(target) for name in names]
        self.assertLessEqual(sum(sizes), packed_size * LARGEST_RATIO)

    def test_no_package_does_harm(self) -> None:
        """NELO_FUZZ_SECONDS in the environment sets the time; the packages are then others each time."""
        seconds = float(os.environ.get("NELO_FUZZ_SECONDS", "0"))
        seed = random.getrandbits(48) if seconds else 0
        last = seed + ORDINARY_COUNT
        deadline = time.monotonic() + seconds
        outcomes = {True: 0, False: 0}
        while seed < last or time.monotonic() < deadline:
            try:
                outcomes[self.check(hostile_package(seed))] += 1
            except Exception as error:
                raise AssertionError(f"harm was done by hostile_package({seed})") from error
            seed += 1
        self.assertGreater(min(outcomes.values()), ORDINARY_COUNT / 20, "too few were installed, or refused")
        memory = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * (1 if sys.platform == "darwin" else 1024)
        self.assertLess(memory, MOST_MEMORY)


def digest(path: str) -> str:
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


if __name__ == "__main__":
    unittest.main()
