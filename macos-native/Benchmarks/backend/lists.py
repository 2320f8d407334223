"""How long the local backend's lists take, with many agents and skills and a program that does not answer.

Prints lines of JSON for table.py: `lists.py REPOSITORY`.
"""
from __future__ import annotations

import json
import os
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

AGENTS = 20
SKILLS = 200
CALLS = 21
DOCUMENT = "---\nname: skill-{0}\ndescription: Does what skill {0} does.\nmetadata: {{openclaw: {{primaryEnv: 'KEY_{0}',}},}}\n---\n"


def furnish(home: Path) -> None:
    """Gives openclaw its agents and skills, and a program that hangs."""
    state = home / ".openclaw"
    for number in range(SKILLS):
        folder = state / "skills" / f"group-{number % 10}" / f"skill-{number}"
        folder.mkdir(parents=True)
        (folder / "SKILL.md").write_text(DOCUMENT.format(number))
    entries = {f"agent-{number}": {"name": f"Agent {number}"} for number in range(AGENTS)}
    (state / "openclaw.json").write_text(json.dumps({"agents": {"entries": entries}}))
    program = home / ".local/bin/openclaw"
    program.parent.mkdir(parents=True)
    program.write_text("#!/bin/sh\nexec sleep 600\n")
    program.chmod(0o755)


def measure(row: str, work: int, call: Callable[[], list[object]]) -> None:
    times = []
    for _ in range(CALLS):
        started = time.perf_counter()
        assert len(call()) == work
        times.append((time.perf_counter() - started) * 1000)
    print(json.dumps({"row": row, "work": work, "unit": "ms", "ours": times, "bare": []}), flush=True)


def main() -> None:
    sys.path.insert(0, sys.argv[1])
    with tempfile.TemporaryDirectory(prefix="nelo-home-") as folder:
        os.environ.update(HOME=folder, PATH="/usr/bin:/bin")
        furnish(Path(folder))
        import app

        measure("backend, list of agents", AGENTS, lambda: [*app.sync_local_agents_to_core()])
        measure("backend, list of skills", SKILLS, lambda: [*app.list_skills("openclaw")])


if __name__ == "__main__":
    main()
