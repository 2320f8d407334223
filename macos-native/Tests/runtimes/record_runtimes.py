"""Records what the agent programs answer, for the tests of the backend. To be run by scripts/record-runtimes."""
from __future__ import annotations

import getpass
import json
import shutil
from pathlib import Path
from typing import Any

from agent_programs import (PROGRAMS, REPOSITORY, Answer, Home, codex_complaints, codex_skills, kimi_agents, kimi_skills,
                            run)
from app.tests.program_homes import CODEX, KIMI

RECORDED = REPOSITORY / "app/tests/recorded"


class Recorder:
    """Runs the commands of one program and keeps what they answer, with placeholders for the home and the user."""

    def __init__(self, home: Home, program: str) -> None:
        self._home = home
        self._program = program
        self._version = run(program, "--version").output.strip()
        self._commands: list[dict[str, Any]] = []

    def record(self, situation: str, *arguments: str) -> Answer:
        """Runs the program, and keeps its answer under the situation that it is in."""
        answer = run(self._program, *arguments)
        self.keep(situation, list(arguments), answer)
        return answer

    def keep(self, situation: str, arguments: list[str], answer: Answer) -> None:
        self._commands.append({
            "situation": situation,
            "arguments": [self._without_home(word) for word in arguments],
            "status": answer.status,
            "output": self._without_home(answer.output),
            "errors": self._without_home(answer.errors),
        })
        print(f"{self._program} {' '.join(arguments)[:70]}: {answer.status}", flush=True)

    def write(self) -> None:
        document = {"program": self._program, "version": self._version, "commands": self._commands}
        text = json.dumps(document, ensure_ascii=False, indent=1) + "\n"
        (RECORDED / f"{self._program}.json").write_text(text, encoding="utf-8")

    def _without_home(self, text: str) -> str:
        text = text.replace(str(self._home.path), "{HOME}").replace(str(REPOSITORY), "{REPOSITORY}")
        user = getpass.getuser()
        return text.replace(f"/home/{user}", "/home/{USER}").replace(f'"{user}"', '"{USER}"')


def record_openclaw(home: Home) -> None:
    recorder = Recorder(home, "openclaw")
    recorder.record("fresh", "--version")
    recorder.record("fresh", "agents", "list", "--json")
    shutil.rmtree(home.path / ".openclaw")
    recorder.record("fresh", "setup", "--baseline", "--json")
    recorder.record("set up", "agents", "list", "--json")
    recorder.record("set up", "config", "validate", "--json")
    recorder.record("set up", "gateway", "status", "--json")
    recorder.record("set up", "skills", "list", "--json", "--agent=main")
    recorder.record("set up", "skills", "info", "notion", "--json", "--agent=main")
    add = ("agents", "add", "scout", f"--workspace={home.path}/scout", "--non-interactive", "--json")
    recorder.record("set up", *add)
    recorder.record("two agents", *add)
    recorder.record("two agents", "agents", "set-identity", "--agent=scout", "--name=Späher", "--json")
    recorder.record("two agents", "agents", "list", "--json")
    recorder.record("two agents", "agents", "delete", "scout", "--json")
    recorder.record("two agents", "agents", "delete", "scout", "--force", "--json")
    home.write(".openclaw/openclaw.json", "{ agents: [ }\n")
    recorder.record("broken", "agents", "list", "--json")
    recorder.record("broken", "config", "validate", "--json")
    home.write(".openclaw/openclaw.json", '{ "colour": "red" }\n')
    recorder.record("invalid", "agents", "list", "--json")
    recorder.record("invalid", "config", "validate", "--json")
    recorder.write()


def record_codex(home: Home) -> None:
    recorder = Recorder(home, "codex")
    recorder.record("fresh", "--version")
    home.write_all(CODEX)
    recorder.keep("its home", ["doctor", "--json"], answered(codex_complaints()))
    skills = [[skill["name"], skill["path"], skill["enabled"]] for skill in codex_skills() if skill["scope"] == "user"]
    recorder.keep("its home", ["app-server", "skills/list"], answered(skills))
    recorder.write()


def record_kimi(home: Home) -> None:
    recorder = Recorder(home, "kimi")
    recorder.record("fresh", "--version")
    home.write_all(KIMI)
    recorder.keep("its home", ["--agent", "no-such-agent"], answered(sorted(kimi_agents())))
    recorder.keep("its home", ["acp"], answered(sorted(kimi_skills())))
    recorder.write()


def answered(part: object) -> Answer:
    """The part of an answer that the backend is compared with."""
    return Answer(0, json.dumps(part, ensure_ascii=False, indent=1), "")


def main() -> None:
    if not Path(PROGRAMS / "openclaw").exists():
        raise SystemExit("scripts/record-runtimes installs the programs first.")
    RECORDED.mkdir(exist_ok=True)
    for record in (record_openclaw, record_codex, record_kimi):
        with Home() as home:
            record(home)


if __name__ == "__main__":
    main()
