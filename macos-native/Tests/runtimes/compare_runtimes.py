"""Compares what the backend says and does with what the agent programs say. To be run by scripts/test-runtimes.

Prints a line for each comparison, writes them as the last table of docs/runtimes.md, and ends with 1 when one differs.
"""
from __future__ import annotations

import io
import json
import sys
import time
import zipfile
from collections.abc import Iterator
from typing import Any, NamedTuple

from agent_programs import LIMIT_SECONDS, REPOSITORY, Home, codex_complaints, codex_skills, kimi_agents, kimi_skills, run

import app
from app import background, kimi
from app.tests.program_homes import CODEX, KIMI, skill

DOCUMENT = REPOSITORY / "docs/runtimes.md"
HEADING = "## The last comparison\n"
SAVED: dict[str, object] = {"enabled": True, "apiKey": "not-a-key", "env": {}, "config": {}}
CONFIGURATION = """\
// Two agents of mine.
{
  agents: {
    entries: {
      main: { default: true, workspace: '~/.openclaw/workspace', identity: { name: 'Möwe' } }, // the first
      scout: { workspace: '~/scout', name: 'Scout' },
    },
  },
  skills: { entries: { 'notion': { enabled: false, /* for now */ }, }, },
}
"""


class Comparison(NamedTuple):
    """What a program says and what the backend says, as what can be compared."""

    what: str
    program: Any
    backend: Any

    @property
    def is_same(self) -> bool:
        return bool(self.program == self.backend)

    @property
    def size(self) -> int:
        """How much is compared."""
        return len(self.program) if isinstance(self.program, (list, dict, set)) else 1


def rows(ecosystem: str) -> list[dict[str, Any]]:
    return [row for row in app.list_local_agents() if row["ecosystem"] == ecosystem]


def wait_until_idle() -> None:
    """Waits until the backend asks no program any more."""
    deadline = time.monotonic() + LIMIT_SECONDS
    while not background.is_idle():
        assert time.monotonic() < deadline, "the backend asks without end"
        time.sleep(0.05)


def openclaw_agents() -> dict[str, tuple[str, str]]:
    """The name and the workspace of the agents that the program lists."""
    listed = run("openclaw", "agents", "list", "--json").json()
    return {row["id"]: (row.get("identityName") or row.get("name") or row["id"], row["workspace"]) for row in listed}


def our_openclaw_agents() -> dict[str, tuple[str, str]]:
    return {row["id"]: (row["name"], row["workspace"]) for row in rows("openclaw")}


def told_openclaw_agents() -> dict[str, tuple[str, str]]:
    """The same once the program has answered the backend."""
    our_openclaw_agents()
    wait_until_idle()
    return our_openclaw_agents()


def package(name: str) -> bytes:
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        archive.writestr(f"{name}/SKILL.md", skill(name))
    return buffer.getvalue()


def compare_openclaw(home: Home) -> Iterator[Comparison]:
    yield Comparison("no agents before the set-up, and nothing is made", [], [*rows("openclaw"), *home.path.iterdir()])
    run("openclaw", "setup", "--baseline", "--json")
    yield Comparison("agents after the set-up, from its files", openclaw_agents(), our_openclaw_agents())
    yield Comparison("the same, once it has answered", openclaw_agents(), told_openclaw_agents())

    file = home.write(".openclaw/openclaw.json", CONFIGURATION)
    (home.path / "scout").mkdir()
    yield Comparison("agents of a JSON5 configuration, from its files", openclaw_agents(), our_openclaw_agents())
    yield Comparison("the same, once it has answered", openclaw_agents(), told_openclaw_agents())

    yield from compare_openclaw_skills(home)

    app.save_skill_entry("openclaw", "notion", SAVED)
    valid = run("openclaw", "config", "validate", "--json").json()["valid"]
    yield Comparison("a saved entry is valid", True, valid)
    saved = CONFIGURATION.replace("enabled: false", 'enabled: true, "apiKey": "not-a-key"')
    yield Comparison("and nothing else in the file has changed", saved, file.read_text(encoding="utf-8"))
    info = run("openclaw", "skills", "info", "notion", "--json", "--agent=main").json()
    yield Comparison("and the skill lacks no variable any more", [], info["missing"]["env"])

    (home.path / "package.zip").write_bytes(package("greeting"))
    target = app.install_openclaw_skill_zip("scout", str(home.path / "package.zip"))["targetDir"]
    info = run("openclaw", "skills", "info", "greeting", "--json", "--agent=scout").json()
    yield Comparison("an installed skill is where it looks", info["baseDir"], target)

    yield from compare_openclaw_changes(home)


def compare_openclaw_skills(home: Home) -> Iterator[Comparison]:
    home.write("scout/skills/own/SKILL.md", skill("own"))
    home.write(".agents/skills/deep/er/SKILL.md", skill("deeper"))
    home.write(".openclaw/skills/nodescription/SKILL.md", skill("nodescription", ""))
    listed: dict[str, dict[str, Any]] = {}
    for agent in ("scout", "main"):
        found = run("openclaw", "skills", "list", "--json", f"--agent={agent}").json()["skills"]
        listed.update((row["name"], row) for row in found)
    app.list_skills("openclaw")
    wait_until_idle()
    ours: dict[str, dict[str, Any]] = {str(row["name"]): row for row in app.list_skills("openclaw")}
    yield Comparison("skills by name", set(listed), set(ours))
    same = [name for name in listed if name in ours]
    yield Comparison("their descriptions", {name: listed[name]["description"] for name in same},
                     {name: ours[name]["description"].split("\nIt cannot be used now: ")[0] for name in same})
    yield Comparison("whether they can be used", {name: listed[name]["eligible"] for name in same},
                     {name: ours[name].get("eligible") for name in same})
    yield Comparison("the variables of their credentials", {name: listed[name].get("primaryEnv", "") for name in same},
                     {name: ours[name]["primaryEnv"] for name in same})
    needy = [name for name in same if ours[name]["primaryEnv"] or ours[name]["requiredEnv"]]
    infos = {name: run("openclaw", "skills", "info", name, "--json", "--agent=main").json() for name in needy}
    yield Comparison("keys, folders and variables of those that need some",
                     {name: (it["skillKey"], it["baseDir"], it["requirements"]["env"]) for name, it in infos.items()},
                     {name: (ours[name]["skillKey"], ours[name]["path"], ours[name]["requiredEnv"]) for name in needy})


def compare_openclaw_changes(home: Home) -> Iterator[Comparison]:
    app.add_local_agent("openclaw", "builder", "Mason", str(home.path / "builder"))
    yield Comparison("an added agent", ("Mason", str(home.path / "builder")), openclaw_agents().get("builder"))
    app.rename_local_agent("openclaw", "builder", "Möwe 2")
    yield Comparison("a renamed agent", ("Möwe 2", str(home.path / "builder")), openclaw_agents().get("builder"))
    removed = app.delete_local_agent("openclaw", "builder", True)["removed"]
    yield Comparison("a deleted agent is gone, and its workspace in the trash", (None, True, False),
                     (openclaw_agents().get("builder"), str(home.path / "builder") in str(removed),
                      (home.path / "builder").exists()))
    yield Comparison("no agent is online without a gateway", [], app.list_core_agents("openclaw", True))


def compare_codex(home: Home) -> Iterator[Comparison]:
    home.write_all(CODEX)
    complaints = " ".join(codex_complaints())
    found = rows("codex")
    ignored = {row["id"] for row in found if f"/{row['id']}.toml" in complaints or f"`{row['name']}` must" in complaints}
    yield Comparison("agents that it ignores, and a second one of a name", ignored | {"same"},
                     {row["id"] for row in found if str(row.get("state")).startswith("ignored")})
    yield Comparison("skills by name and path", {row["path"]: row["name"] for row in codex_skills()},
                     {row["skillKey"]: row["name"] for row in app.list_skills("codex")})

    file = home.write(".codex/config.toml", '# mine\n[tui] # keep\nanimations = false\n')
    key = str(home.path / ".codex/skills/alpha/SKILL.md")
    for is_on in (False, True):
        app.save_skill_entry("codex", key, {"enabled": is_on})
        said = {row["path"]: row["enabled"] for row in codex_skills()}
        yield Comparison(f"a skill that is switched {'on' if is_on else 'off'}", is_on, said[key])
    yield Comparison("and comments survive", True, file.read_text().startswith("# mine\n[tui] # keep\nanimations = false\n"))

    before = codex_complaints()
    app.add_local_agent("codex", "builder", 'Mason "B"', "")
    yield Comparison("an added agent is one for it", before, codex_complaints())
    app.rename_local_agent("codex", "builder", "Möwe")
    yield Comparison("a renamed one too", before, codex_complaints())
    app.delete_local_agent("codex", "builder", True)
    yield Comparison("a deleted one is gone", [], list((home.path / ".codex/agents").glob("builder*")))


def compare_kimi(home: Home) -> Iterator[Comparison]:
    home.write_all(KIMI)
    yield Comparison("agents that it takes, and those that come with it", kimi_agents(), our_kimi_agents())
    yield Comparison("skills by name", kimi_skills(), {row["name"] for row in app.list_skills("kimi")})
    app.add_local_agent("kimi", "builder", "2025", "")
    yield Comparison("an added agent is one for it", our_kimi_agents(), kimi_agents())
    app.rename_local_agent("kimi", "builder", "Möwe")
    yield Comparison("a renamed one too", our_kimi_agents(), kimi_agents())
    app.delete_local_agent("kimi", "builder", True)
    yield Comparison("a deleted one is gone", our_kimi_agents(), kimi_agents())


def our_kimi_agents() -> set[str]:
    """The names that the program knows our agents by, from the files and not from our records."""
    return {agent.name for agent in kimi.agents() if not agent.state} | set(kimi.SHIPPED)


def versions() -> str:
    return ", ".join(f"{program} {run(program, '--version').output.split()[1 if program != 'kimi' else 0]}"
                     for program in ("openclaw", "codex", "kimi"))


def main() -> int:
    lines = ["| Program | What is compared | How many | The same |", "|---|---|---|---|"]
    faults = 0
    for program, compare in (("OpenClaw", compare_openclaw), ("Codex", compare_codex), ("Kimi", compare_kimi)):
        with Home() as home:
            for it in compare(home):
                faults += not it.is_same
                line = f"| {program} | {it.what} | {it.size} | {'yes' if it.is_same else 'no'} |"
                print(line, flush=True)
                if not it.is_same:
                    print(f"  program: {json.dumps(it.program, default=str, ensure_ascii=False)}\n"
                          f"  backend: {json.dumps(it.backend, default=str, ensure_ascii=False)}", flush=True)
                lines.append(line)
    with Home():
        head = f"`scripts/test-runtimes` wrote this with {versions()}.\n"
    text = DOCUMENT.read_text(encoding="utf-8").partition(HEADING)[0].rstrip("\n")
    DOCUMENT.write_text("\n".join([text, "", f"{HEADING}\n{head}", *lines, ""]), encoding="utf-8")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
