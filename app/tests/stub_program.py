"""A scripted program in the place of a real one. It writes down each call."""

from __future__ import annotations

import json
import os
import shlex

import app
from app import background, openclaw, openclaw_program, openclaw_skills
from app.tests.support import HomeTestCase, wait_for

CONFIG = ".openclaw/openclaw.json"
VALID = {"valid": True, "warnings": []}

HANG = "exec sleep 60"
FLOOD = "exec yes"
ASK = 'printf "Really? "; read -r answer || { echo "no answer" >&2; exit 1; }'


class StubProgram:
    """Stands for a program in the test's home, for example "openclaw"."""

    def __init__(self, test: HomeTestCase, name: str) -> None:
        self._test = test
        self._name = name
        self._cases: dict[str, str] = {}
        self._otherwise = "echo unknown command >&2; exit 1"
        self.path = test.path(".local/bin", name)
        self._write()

    def answers(self, command: str, value: object, status: int = 0) -> None:
        """When its arguments begin with `command`, print `value`, a text or a JSON value, and exit with `status`."""
        text = value if isinstance(value, str) else json.dumps(value, ensure_ascii=False)
        self.does(command, f"printf '%s\\n' {shlex.quote(text)}; exit {status}")

    def does(self, command: str, script: str) -> None:
        """When its arguments begin with `command`, run `script` in a shell."""
        self._cases[command] = script
        self._write()

    def always(self, script: str) -> None:
        """Run `script` for all arguments."""
        self._cases.clear()
        self._otherwise = script
        self._write()

    def calls(self) -> list[str]:
        """The arguments of each call."""
        if not os.path.exists(self._test.path("calls")):
            return []
        return self._test.read("calls").splitlines()

    def changes(self) -> list[str]:
        """The calls that are no questions of the background."""
        return [call for call in self.calls() if not call.startswith(("agents list", "sessions list", "skills list"))]

    def _write(self) -> None:
        cases = "\n".join(f"{shlex.quote(command)}*) {script} ;;" for command, script in self._cases.items())
        calls = shlex.quote(self._test.path("calls"))
        script = f"""echo "$*" >>{calls}\ncase "$*" in\n{cases}\n*) {self._otherwise} ;;\nesac"""
        new = self._test.make_program(f".local/bin/{self._name}.new", script)
        os.replace(new, self.path)  # one that runs goes on as it is


class OpenClawTestCase(HomeTestCase):
    """Each test begins without any answer of the program, and ends when the background is idle."""

    def setUp(self) -> None:
        super().setUp()
        self.forget()
        self.replace(openclaw_program, "QUESTION_SECONDS", 2.0)
        self.addCleanup(self.wait_until_idle)

    def forget(self) -> None:
        """Forget all answers of the program."""
        self.replace(openclaw, "_listed", background.Answer(openclaw._ask_agents))
        self.replace(openclaw, "_last_sessions", background.Answer(openclaw._ask_sessions))
        self.replace(openclaw, "_gateway", background.Answer(openclaw._ask_gateway))
        openclaw_skills._answer.cache_clear()

    def wait_until_idle(self) -> None:
        self.assertTrue(wait_for(background.is_idle))

    def make_openclaw(self) -> StubProgram:
        program = StubProgram(self, "openclaw")
        program.answers("config validate", VALID)
        return program

    def configure(self, value: object) -> None:
        self.make_file(CONFIG, value if isinstance(value, str) else json.dumps(value))

    def rows(self, *keys: str) -> list[tuple[object, ...]]:
        return [
            tuple(row.get(key) for key in keys) for row in app.list_local_agents() if row["ecosystem"] == "openclaw"
        ]

    def told(self, *keys: str) -> list[tuple[object, ...]]:
        """The rows after the program has answered."""
        self.rows()
        self.wait_until_idle()
        return self.rows(*keys)
