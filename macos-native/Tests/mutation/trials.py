"""Tries one mutation: makes the programs that have it, in a folder of its own, and runs their tests until one notices."""
from __future__ import annotations

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
from collections.abc import Iterator
from pathlib import Path

from build_graph import BuildGraph, Test
from choice import Place

PLUGIN = "lib/nelo/nelo_chat_client.so"
PROGRAM = "bin/NeloMenuBar"
PYTHON_PATIENCE_SECONDS = 120


class CannotBeBuilt(Exception):
    """The mutation does not compile, or does not link."""


class Trials:
    """What all trials have in common; they may run on several threads."""

    def __init__(self, repository: Path, graph: BuildGraph) -> None:
        self._repository = repository
        self._graph = graph

    def noticed_by(self, place: Place, text: str) -> str | None:
        """The name of the first test that fails with the mutation; None if all of them pass."""
        with tempfile.TemporaryDirectory(prefix="nelo-mutation-") as folder:
            if place.source.endswith(".py"):
                return self._noticed_by_python_tests(place, text, Path(folder))
            return CppTrial(self._graph, self._repository / place.source, Path(folder)).noticed_by(place.mutation.applied_to(text))

    def _noticed_by_python_tests(self, place: Place, text: str, folder: Path) -> str | None:
        for name in ("app", "scripts", "docs"):
            shutil.copytree(self._repository / name, folder / name, ignore=shutil.ignore_patterns("__pycache__", "pictures"))
        (folder / place.source).write_text(place.mutation.applied_to(text))
        for modules in self._python_tests(Path(place.source).stem):
            if not run([sys.executable, "-B", "-m", "unittest", "-f", *modules], folder, os.environ, PYTHON_PATIENCE_SECONDS):
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
        return next((test.name for test in self._tests() if not self._passes(test)), None)

    def _build(self, command: str) -> None:
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        done = subprocess.run(command, shell=True, cwd=self._graph.build, env=environment, capture_output=True, check=False)
        if done.returncode != 0:
            raise CannotBeBuilt(done.stderr.decode(errors="replace"))

    def _is_in(self, program: str) -> bool:
        return any(self._graph.holds(program, output) for output in self._objects)

    def _tests(self) -> list[Test]:
        """Those that can notice: the source's own, those of its folder, others, and at last those of the whole program."""
        words = {"skills", "agents", "chat", "settings", *self._source.parts}
        area = next((part for part in reversed(self._source.parent.parts) if part in words), "")

        def distance(test: Test) -> tuple[bool, bool, bool, float]:
            return (not test.program, test.name != f"Test{self._source.stem}",
                    not (area and (area in Path(test.folder).parts or area in test.name)), test.usual_seconds)

        programs = [test for test in self._graph.tests if test.program and self._is_in(test.program)]
        scripts = [test for test in self._graph.tests if test.name.startswith("e2e_")]
        return sorted(programs + scripts, key=distance)

    def _passes(self, test: Test) -> bool:
        patience = 10 + 10 * test.usual_seconds
        environment = {**os.environ, **test.environment}
        if test.program:
            return run([str(self._linked(test.program))], Path(test.folder), environment, patience)
        environment["NELO_PROGRAM"] = str(self._linked(PROGRAM))
        environment["NELO_PICTURES"] = str(self._folder / "pictures")
        return run([*test.command, "-f"], Path(test.folder), environment, patience)

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


def run(command: list[str], folder: Path, environment: dict[str, str] | os._Environ[str], patience_seconds: float) -> bool:
    """Whether the tests pass in time. A Qt Test program is ended with its first failure; it would go on for long."""
    with tempfile.TemporaryDirectory() as temporary:
        process = subprocess.Popen(command, cwd=folder, env={**environment, "TMPDIR": temporary}, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        assert process.stdout
        late = threading.Timer(patience_seconds, _end, [process])
        late.start()
        try:
            failed = any(line.startswith((b"FAIL!", b"QFATAL")) for line in process.stdout)
            if failed:
                _end(process)
            return process.wait() == 0 and not failed
        finally:
            late.cancel()
            _end(process)
            process.wait()
            process.stdout.close()


def _end(process: subprocess.Popen[bytes]) -> None:
    """Ends whatever the test has started; what makes a desktop may take it down first."""
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGTERM)
        try:
            process.wait(3)
        except subprocess.TimeoutExpired:
            pass
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
