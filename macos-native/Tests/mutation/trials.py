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
from collections.abc import Iterator
from pathlib import Path
from typing import NamedTuple

from build_graph import BuildGraph, Test
from choice import Place

PLUGIN = "lib/nelo/nelo_chat_client.so"
PROGRAM = "bin/NeloMenuBar"
PYTHON_PATIENCE_SECONDS = 120
MOST_FAR_TESTS = 8  # what everything uses is in a hundred of them


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


def run(command: list[str], folder: Path, environment: dict[str, str] | os._Environ[str], patience_seconds: float) -> Result:
    """Runs a test. A Qt Test program is ended with its first failure; it would go on for long."""
    with folder_for_all("nelo-home-") as home:
        process = subprocess.Popen([*among_themselves(), *command], cwd=folder, env={**environment, "HOME": home, "TMPDIR": home},
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        is_late = threading.Event()
        clock = threading.Timer(patience_seconds, lambda: (is_late.set(), process.kill()))
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
            if all(run(command, folder, os.environ, PYTHON_PATIENCE_SECONDS).end is not End.PASSED for _ in range(2)):
                return modules[0] if len(modules) == 1 else "app.tests"
        return None

    def _python_tests(self, module: str) -> Iterator[list[str]]:
        """The test modules that are about `module`, by their names or their texts, then all others at once."""
        files = sorted((self._repository / "app" / "tests").glob("test_*.py"))
        about = [file for file in files if module in file.stem or f"import {module}" in file.read_text()]
        for file in about:
            yield [f"app.tests.{file.stem}"]
        yield [f"app.tests.{file.stem}" for file in files if file not in about]


class CppTrial:
    """One mutated C++ source and what is built with it."""

    def __init__(self, graph: BuildGraph, source: Path, folder: Path) -> None:
        self._graph = graph
        self._source = source
        self._folder = folder
        self._replacement = folder / source.name
        self._objects = {output: folder / f"{number}.o" for number, output in enumerate(graph.objects(source))}

    def noticed_by(self, text: str) -> str | None:
        self._replacement.write_text(text)
        return next(filter(None, map(self._failure, self._tests())), None)

    def _build(self, command: str) -> None:
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        done = subprocess.run(command, shell=True, cwd=self._graph.build, env=environment, capture_output=True, check=False)
        if done.returncode != 0:
            raise CannotBeBuilt(done.stderr.decode(errors="replace"))

    def _is_in(self, program: str) -> bool:
        return any(self._graph.holds(program, output) for output in self._objects)

    def _tests(self) -> list[Test]:
        """Those that can notice: the source's own, those of its folder, some others, and at last those of the whole program."""
        area = self._area()

        def is_near(test: Test) -> bool:
            return area in self._folders(test) or test.name.removeprefix("e2e_") in self._source.parts

        programs = [test for test in self._graph.tests if test.program and self._is_in(test.program)]
        scripts = [test for test in self._graph.tests if test.name.startswith("e2e_")]
        near = [test for test in programs + scripts if is_near(test)]
        near.sort(key=lambda test: (test.name != f"Test{self._source.stem}", not test.program, test.usual_seconds))
        far = sorted((test for test in programs if not is_near(test)), key=lambda test: test.usual_seconds)[:MOST_FAR_TESTS]
        return near + far + (scripts if area == "shell" else [])

    def _area(self) -> str:
        """The innermost folder of the source that has tests."""
        folders = {part for test in self._graph.tests if test.program for part in self._folders(test)}
        return next((part for part in reversed(self._source.parent.parts) if part in folders), "shell")

    def _folders(self, test: Test) -> tuple[str, ...]:
        return Path(test.folder).relative_to(self._graph.build).parts

    def _failure(self, test: Test) -> str | None:
        """What fails with the mutation, twice: a busy machine may fail a test once. To be late is to fail as well, unless the
        test without the mutation takes as much as a quarter of that."""
        patience = 10 + 10 * test.usual_seconds
        program = self._linked(test.program or PROGRAM)
        result = self._run(test, program, patience)
        while result.end is End.LATE and self._run(test, self._unchanged(test), patience / 4).end is End.LATE:
            patience *= 2
            result = self._run(test, program, patience)
        if result.end is End.FAILED and self._run(test, program, patience).end is End.PASSED:
            return None
        return None if result.end is End.PASSED else result.function or test.name

    def _unchanged(self, test: Test) -> Path:
        return self._graph.build / (test.program or PROGRAM)

    def _run(self, test: Test, program: Path, patience_seconds: float) -> Result:
        environment = {**os.environ, **test.environment, "NELO_PROGRAM": str(program),
                       "NELO_PICTURES": str(self._folder / "pictures")}
        command = [str(program)] if test.program else [*test.command, "-f"]
        return run(command, Path(test.folder), environment, patience_seconds)

    def _linked(self, program: str) -> Path:
        """The program with the mutation, and beside it what it loads."""
        target = self._folder / program
        if target.exists():
            return target
        target.parent.mkdir(parents=True, exist_ok=True)
        if program != PLUGIN:
            self._linked(PLUGIN)
        if self._is_in(program):
            self._build(self._graph.link_command(program, self._compiled_for(program), target))
        else:
            target.symlink_to(self._graph.build / program)
        return target

    def _compiled_for(self, program: str) -> dict[str, Path]:
        """The mutated objects that the program takes, compiled."""
        taken = {output: target for output, target in self._objects.items() if self._graph.holds(program, output)}
        for output, target in taken.items():
            if not target.exists():
                self._build(self._graph.compile_command(output, self._source, self._replacement, target))
        return taken
