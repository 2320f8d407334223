"""What the build knows: how a source is compiled, which programs hold it, and how those are linked and tested."""
from __future__ import annotations

import json
import re
import subprocess
from collections.abc import Mapping
from dataclasses import dataclass
from pathlib import Path

QUICKLY = "-fuse-ld=lld -Wl,--strip-debug"


@dataclass(frozen=True)
class Test:
    """A test as CTest runs it; the program is its output's path in the build folder, and empty for a script."""

    name: str
    program: str
    command: list[str]
    environment: dict[str, str]
    folder: str
    usual_seconds: float


class BuildGraph:
    """The commands of a finished build with Ninja."""

    def __init__(self, build: Path) -> None:
        self.build = build
        answer = subprocess.run(["ninja", "-C", build, "-t", "compdb"], capture_output=True, check=True).stdout
        commands = [entry for entry in json.loads(answer) if entry["command"]]
        self._commands: dict[str, str] = {entry["output"]: entry["command"] for entry in commands}
        self._objects: dict[str, list[str]] = {}
        for entry in commands:
            if entry["output"].endswith(".cpp.o"):
                self._objects.setdefault(entry["file"], []).append(entry["output"])
        self.tests = self._read_tests()

    def _read_tests(self) -> list[Test]:
        answer = subprocess.run(["ctest", "--test-dir", self.build, "--show-only=json-v1"], capture_output=True, check=True)
        costs = self._costs()
        tests = []
        for entry in json.loads(answer.stdout)["tests"]:
            properties = {each["name"]: each["value"] for each in entry["properties"]}
            assignments = [each.partition("=") for each in properties.get("ENVIRONMENT", [])]
            environment = {name: value for name, _, value in assignments}
            program = f"bin/{entry['name']}" if f"bin/{entry['name']}" in self._commands else ""
            tests.append(Test(entry["name"], program, entry.get("command", []), environment,
                              properties["WORKING_DIRECTORY"], costs.get(entry["name"], 1.0)))
        return tests

    def _costs(self) -> dict[str, float]:
        """What each test took when all of them were run."""
        file = self.build / "Testing" / "Temporary" / "CTestCostData.txt"
        lines = file.read_text().splitlines() if file.exists() else []
        return {words[0]: float(words[2]) for words in map(str.split, lines) if len(words) == 3}

    def objects(self, source: Path) -> list[str]:
        """What the source is compiled to, once for each target that compiles it."""
        return self._objects.get(str(source), [])

    def compile_command(self, output: str, source: Path, replacement: Path, target: Path) -> str:
        """Compiles a replacement of the source: quickly, and with no word about what looks odd."""
        command = self._commands[output]
        command = re.sub(r" -(g|O\d|W\S+|MD|M[TF] \S+)(?= )", "", command)
        command = command.replace(f" -o {output} ", f" -w -O0 -I{source.parent} -o {target} ")
        return command.replace(f" -c {source}", f" -c {replacement}")

    def holds(self, program: str, output: str) -> bool:
        """Whether a program is linked with the object, by itself or in a library."""
        words = self._commands[program].split()
        return output in words or any(output in self._commands.get(word, "").split() for word in words if word.endswith(".a"))

    def link_command(self, program: str, replacements: Mapping[str, Path], target: Path) -> str:
        """Links the program with other objects in place of its own. One that is before a library keeps the library's out."""
        command = self._commands[program].replace(f" -o {program} ", f" {QUICKLY} -o {target} ")
        for output, replacement in replacements.items():
            if f" {output} " in command:
                command = command.replace(f" {output} ", f" {replacement} ")
            elif self.holds(program, output):
                command = command.replace(f" -o {target} ", f" {replacement} -o {target} ")
        return command
