"""Tries one mutation: makes the programs that have it, in a folder of its own, and runs their tests until one notices."""
from __future__ import annotations

import contextlib
import enum
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
from collections.abc import Callable, Iterator, Mapping
from functools import partial
from pathlib import Path
from typing import NamedTuple

from build_graph import BuildGraph, Test
from choice import Place

PLUGIN = "lib/nelo/nelo_chat_client.so"
PROGRAM = "bin/NeloMenuBar"
PYTHON_TIMEOUT_SECONDS = 120
MAX_FAR_TESTS = 8  # what everything uses is in a hundred of them


class CannotBeBuilt(Exception):
    """The mutation does not compile, or does not link."""


class End(enum.Enum):
    """How a test ended."""

    PASSED = enum.auto()
    FAILED = enum.auto()
    LATE = enum.auto()


# A failure of a Qt Test program; that something took long tells nothing on a busy machine.
FAILURE = re.compile(rb"(FAIL!|QFATAL) (?!.*elapsed).*?: (?P<function>[^ ]+)")


class Result(NamedTuple):
    """How a test ended, and which function of it failed, where that is known."""

    end: End
    function: str = ""


def run(command: list[str], folder: Path, environment: dict[str, str] | os._Environ[str], timeout_seconds: float) -> Result:
    """Runs a test, in a group of its own: kill(0) asks nobody what it may see. A Qt Test program is ended with its first failure;
    it would go on for long."""
    with folder_for_all("nelo-home-") as home:
        process = subprocess.Popen([*among_themselves(), *command], cwd=folder, env={**environment, "HOME": home, "TMPDIR": home},
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        is_late = threading.Event()

        def kill() -> None:
            is_late.set()
            process.kill()

        clock = threading.Timer(timeout_seconds, kill)
        clock.start()
        try:
            return _result(process, is_late)
        finally:
            clock.cancel()
            process.kill()
            process.communicate()


def _result(process: subprocess.Popen[bytes], is_late: threading.Event) -> Result:
    assert process.stdout
    slow = 0
    for line in process.stdout:
        failure = FAILURE.match(line)
        if failure:
            return Result(End.FAILED, failure["function"].decode())
        slow += line.startswith(b"FAIL!")
    if process.wait() == slow:  # Qt Test's exit status is the number of failures
        return Result(End.PASSED)
    return Result(End.LATE if is_late.is_set() else End.FAILED)


def failure(with_mutation: Callable[[float], Result], without: Callable[[float], Result], timeout_seconds: float) -> Result | None:
    """How a test fails with the mutation and not without it; None if it passes. It has to fail twice, as a busy machine may fail a
    test once. To be late is to fail as well, but a longer timeout is wanted where the test without the mutation takes as much as a
    quarter of it. Both are given the timeout."""
    while True:
        result = with_mutation(timeout_seconds)
        if result.end is End.PASSED:
            return None
        usual = without(timeout_seconds / 4)
        if usual.end is not End.LATE:
            break
        timeout_seconds *= 2
    is_noticed = usual.end is End.PASSED and with_mutation(timeout_seconds).end is not End.PASSED
    return result if is_noticed else None


@contextlib.contextmanager
def folder_for_all(prefix: str) -> Iterator[str]:
    """A temporary folder that others may look into: some tests do what they do as another user."""
    with tempfile.TemporaryDirectory(prefix=prefix) as folder:
        os.chmod(folder, 0o755)
        yield folder


def among_themselves() -> list[str]:
    """Runs a command where it sees no process but its own: a mutated kill() must not reach others, and nothing that it has
    started stays. The shell in between collects what loses its parent, as the first process of a system does."""
    user = [] if os.geteuid() == 0 else ["--map-root-user"]
    return ["unshare", *user, "--pid", "--fork", "--mount-proc", "--kill-child", "sh", "-c", '"$@"; exit $?', "sh"]


class Trials:
    """What all trials have in common; they may run on several threads."""

    def __init__(self, repository: Path, graph: BuildGraph) -> None:
        self._repository = repository
        self._graph = graph

    def noticed_by(self, place: Place, text: str) -> str | None:
        """The name of the first test that fails with the mutation; None if all of them pass."""
        with folder_for_all("nelo-mutation-") as folder:
            if place.source.endswith(".py"):
                return self._noticed_by_python_tests(place, text, Path(folder))
            return CppTrial(self._graph, self._repository / place.source, Path(folder)).noticed_by(place.mutation.applied_to(text))

    def _noticed_by_python_tests(self, place: Place, text: str, folder: Path) -> str | None:
        for entry in self._repository.iterdir():
            if entry.name != "app":
                (folder / entry.name).symlink_to(entry)
        shutil.copytree(self._repository / "app", folder / "app", ignore=shutil.ignore_patterns("__pycache__"))
        (folder / place.source).write_text(place.mutation.applied_to(text))
        for modules in self._python_tests(Path(place.source).stem):
            command = [sys.executable, "-B", "-m", "unittest", "-f", *modules]
            mutated, untouched = (partial(run, command, each, os.environ) for each in (folder, self._repository))
            if failure(mutated, untouched, PYTHON_TIMEOUT_SECONDS):
                return modules[0] if len(modules) == 1 else "app.tests"
        return None

    def _python_tests(self, module: str) -> Iterator[list[str]]:
        """The test modules that are about `module`, by their names or their texts, then all others at once."""
        files = sorted((self._repository / "app" / "tests").glob("test_*.py"))
        about = [file for file in files if module in file.stem or f"import {module}" in file.read_text()]
        for file in about:
            yield [f"app.tests.{file.stem}"]
        yield [f"app.tests.{file.stem}" for file in files if file not in about]


def execute(command: str, folder: Path) -> None:
    """Runs one of the build's commands."""
    environment = {**os.environ, "CCACHE_DISABLE": "1"}
    done = subprocess.run(command, shell=True, cwd=folder, env=environment, capture_output=True, check=False)
    if done.returncode != 0:
        raise CannotBeBuilt(done.stderr.decode(errors="replace"))


class Programs:
    """The build's programs with `objects` in place of their own, each made in a folder when it is first asked for."""

    def __init__(self, graph: BuildGraph, folder: Path, objects: Mapping[str, Path]) -> None:
        self._graph = graph
        self._folder = folder
        self._objects = objects

    def is_concerned(self, program: str) -> bool:
        """Whether one of the objects is in it."""
        return any(self._graph.holds(program, output) for output in self._objects)

    def path(self, program: str) -> Path:
        """The program, beside which is what it loads."""
        target = self._folder / program
        if target.exists():
            return target
        target.parent.mkdir(parents=True, exist_ok=True)
        if program != PLUGIN:
            self.path(PLUGIN)
        if self.is_concerned(program):
            execute(self._graph.link_command(program, self._objects, target), self._graph.build)
        else:
            target.symlink_to(self._graph.build / program)
        return target


class CppTrial:
    """One mutated C++ source and what is built with it."""

    def __init__(self, graph: BuildGraph, source: Path, folder: Path) -> None:
        self._graph = graph
        self._source = source
        self._folder = folder
        self._objects = {output: folder / f"{number}.o" for number, output in enumerate(graph.objects(source))}
        self._mutated = Programs(graph, folder / "mutated", self._objects)
        self._untouched = Programs(graph, folder / "untouched", {output: Path(output) for output in self._objects})

    def noticed_by(self, text: str) -> str | None:
        replacement = self._folder / self._source.name
        replacement.write_text(text)
        for output, target in self._objects.items():
            execute(self._graph.compile_command(output, self._source, replacement, target), self._graph.build)
        return next(filter(None, map(self._failing_part, self._tests())), None)

    def _tests(self) -> list[Test]:
        """Those that can notice: the source's own, those of its folder, some others, and at last those of the whole program. What
        it does on its desktop they alone see."""
        area = self._area()

        def is_near(test: Test) -> bool:
            return area in self._folders(test) or test.name.removeprefix("e2e_") in self._source.parts

        programs = [test for test in self._graph.tests if test.program and self._mutated.is_concerned(test.program)]
        scripts = [test for test in self._graph.tests if test.name.startswith("e2e_")]
        near = [test for test in programs + scripts if is_near(test)]
        near.sort(key=lambda test: (test.name != f"Test{self._source.stem}", not test.program, test.usual_seconds))
        far = sorted((test for test in programs if not is_near(test)), key=lambda test: test.usual_seconds)[:MAX_FAR_TESTS]
        return near + far + (scripts if area in ("shell", "platform") else [])

    def _area(self) -> str:
        """The innermost folder of the source that has tests."""
        folders = {part for test in self._graph.tests if test.program for part in self._folders(test)}
        return next((part for part in reversed(self._source.parent.parts) if part in folders), "shell")

    def _folders(self, test: Test) -> tuple[str, ...]:
        return Path(test.folder).relative_to(self._graph.build).parts

    def _failing_part(self, test: Test) -> str | None:
        """The function of the test that notices, or the test's name where no function is known."""
        found = failure(partial(self._run, test, self._mutated), partial(self._run, test, self._untouched),
                        10 + 10 * test.usual_seconds)
        if not found:
            return None
        return f"the end of {test.name}, which does not come" if found.end is End.LATE else found.function or test.name

    def _run(self, test: Test, programs: Programs, timeout_seconds: float) -> Result:
        program = programs.path(test.program or PROGRAM)
        environment = {**os.environ, **test.environment, "NELO_PROGRAM": str(program),
                       "NELO_PICTURES": str(self._folder / "pictures")}
        command = [*test.command[:-1], str(program)] if test.program else [*test.command, "-f"]
        return run(command, Path(test.folder), environment, timeout_seconds)
