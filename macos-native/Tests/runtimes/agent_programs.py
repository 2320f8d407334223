"""The agent programs of build/runtimes in a home of their own, and the backend in the same home."""
from __future__ import annotations

import json
import os
import re
import subprocess
import sys
import tempfile
from collections.abc import Callable
from pathlib import Path
from types import TracebackType
from typing import Any, NamedTuple

REPOSITORY = Path(__file__).resolve().parents[3]
INSTALLED = REPOSITORY / "build/runtimes"
PROGRAMS = INSTALLED / "node_modules/.bin"
LIMIT_SECONDS = 180.0

sys.path.insert(0, str(REPOSITORY))


class Answer(NamedTuple):
    """What a program wrote, and how it ended."""

    status: int
    output: str
    errors: str

    def json(self) -> Any:
        """The JSON document that it wrote."""
        return json.loads(self.output)


class Home:
    """An empty home folder, and an environment with nothing of this user's, for as long as it is entered."""

    def __enter__(self) -> Home:
        self._folder = tempfile.TemporaryDirectory(prefix="home-", dir=INSTALLED)
        self.path = Path(self._folder.name)
        self._environment = dict(os.environ)
        os.environ.clear()
        os.environ.update(HOME=str(self.path), PATH=f"{PROGRAMS}:/usr/bin:/bin", LANG="C.UTF-8", USER="somebody")
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        os.environ.clear()
        os.environ.update(self._environment)
        self._folder.cleanup()

    def write(self, name: str, content: str) -> Path:
        """Writes a file below the home, with the folders above it."""
        file = self.path / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content, encoding="utf-8")
        return file

    def write_all(self, files: dict[str, str]) -> None:
        """Writes files below the home, by their names from there."""
        for name, content in files.items():
            self.write(name, content)


def run(*command: str, variables: dict[str, str] | None = None) -> Answer:
    """Runs a program to its end, in the home folder."""
    environment = {**os.environ, **(variables or {})}
    done = subprocess.run(command, cwd=os.environ["HOME"], env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                          encoding="utf-8", errors="replace", timeout=LIMIT_SECONDS, check=False)
    return Answer(done.returncode, done.stdout, done.stderr)


def codex_skills() -> list[dict[str, Any]]:
    """The skills that codex lists."""
    messages: list[dict[str, Any]] = [
        {"id": 0, "method": "initialize", "params": {"clientInfo": {"name": "nelo", "version": "1"}}},
        {"method": "initialized"},
        {"id": 1, "method": "skills/list", "params": {"cwds": [os.environ["HOME"]], "forceReload": True}},
    ]
    answer = _last_of(["codex", "app-server"], messages, lambda message: bool(message.get("id") == 1))
    return [skill for row in answer["result"]["data"] for skill in row["skills"]]


def codex_complaints() -> list[str]:
    """What codex has to say against files of agents."""
    warnings = run("codex", "doctor", "--json").json()["checks"]["config.load"]["details"].get("startup warning", [])
    return [warnings] if isinstance(warnings, str) else list(warnings)


def kimi_agents() -> set[str]:
    """The agents that kimi has, those that come with it included. It lists them when it does not know one."""
    answer = run("kimi", "--agent", "no-such-agent", "-p", "hi", variables={"KIMI_CODE_EXPERIMENTAL_FLAG": "1"})
    found = re.search(r"Available profiles: (.*)", answer.errors + answer.output)
    if not found:
        raise AssertionError(f"kimi does not list its agents: {answer}")
    return set(found[1].split(", "))


def kimi_skills() -> set[str]:
    """The user's skills that kimi offers to an editor."""
    parameters = {"cwd": os.environ["HOME"], "mcpServers": []}
    messages: list[dict[str, Any]] = [
        {"jsonrpc": "2.0", "id": 0, "method": "initialize", "params": {"protocolVersion": 1, "clientCapabilities": {}}},
        {"jsonrpc": "2.0", "id": 1, "method": "session/new", "params": parameters},
    ]
    found = _last_of(["kimi", "acp"], messages, lambda message: "availableCommands" in json.dumps(message))
    names = [command["name"] for command in found["params"]["update"]["availableCommands"]]
    return {name.partition(":")[2] for name in names if name.startswith("skill:")}


def _last_of(command: list[str], messages: list[dict[str, Any]], is_last: Callable[[Any], bool]) -> dict[str, Any]:
    """Sends messages, one on a line, and returns the first answer that is the last one wanted."""
    process = subprocess.Popen(command, cwd=os.environ["HOME"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, encoding="utf-8", bufsize=1)
    assert process.stdin and process.stdout
    try:
        for message in messages:
            process.stdin.write(json.dumps(message) + "\n")
            process.stdin.flush()
            if "id" in message and message is not messages[-1]:
                process.stdout.readline()
        for line in process.stdout:
            answer: dict[str, Any] = json.loads(line)
            if is_last(answer):
                return answer
        raise AssertionError(f"{command} ended without an answer")
    finally:
        process.kill()
        process.communicate()
