"""The skills that the agents of openclaw see: https://docs.openclaw.ai/tools/skills"""

from __future__ import annotations

import dataclasses
import functools
import os
from collections.abc import Iterable, Iterator
from dataclasses import dataclass

from . import background, manuals, openclaw_config, openclaw_program, paths, skill_folders
from .ecosystems import Skill
from .openclaw_config import ConfiguredAgent, shared_folder, state_folder

_DEPTH = 6
"""How many levels below a folder of skills the program looks."""

_METADATA_KEYS = ("openclaw", "clawdbot")
_REFUSALS = {
    "disabled": "it is disabled",
    "blockedByAllowlist": "the configuration does not permit it",
    "blockedByAgentFilter": "the configuration does not permit it for the agent",
}
_OBSTACLES = {
    "bins": "the program {} is missing",
    "anyBins": "all of the programs {} are missing",
    "env": "the variable {} is not set",
    "config": "the setting {} is not set",
    "os": "it is made for {}",
}


_Said = dict[tuple[str, str], dict[str, object]]
"""The program's row of each skill, by its source and name."""


@dataclass(frozen=True)
class _Root:
    """A folder of skills."""

    folder: str
    program_source: str
    """The source of its skills, in the word of the program."""
    owner: str = ""
    """The id of the only agent that sees them; empty when all do."""
    leaves_by_links: bool = False
    """Whether a link may lead out of it."""

    @property
    def source(self) -> str:
        """What a row says of where a skill comes from."""
        own = self.program_source in ("openclaw-workspace", "agents-skills-project") and self.owner
        return own or _short(self.program_source)


def folders(agents: Iterable[ConfiguredAgent]) -> list[str]:
    """The folders in which skills are looked for, highest first: those that exist, and the one of all agents."""
    shared = os.path.join(shared_folder(), "skills")
    return [root.folder for root in _roots(agents) if root.folder == shared or os.path.isdir(root.folder)]


def skills(agents: list[ConfiguredAgent]) -> list[Skill]:
    """The skills that at least one agent sees, with what the program says of them."""
    found = _visible(agents)
    default = next((agent.id for agent in agents if agent.is_default), agents[0].id if agents else "")
    said = _said(default, found)
    rows = [_joined(root, manual, said.get(root.owner or default, {})) for root, manual in found]
    known = {(root.program_source, manual.name) for root, manual in found}
    return rows + [_program_row(*key, row) for key, row in said.get(default, {}).items() if key not in known]


def _visible(agents: list[ConfiguredAgent]) -> list[tuple[_Root, manuals.Manual]]:
    """The skills that at least one agent sees, each once. Of several with one name an agent sees the one in the highest
    folder."""
    found: dict[str, tuple[_Root, manuals.Manual]] = {}
    names: dict[str, set[str]] = {agent.id: set() for agent in agents}
    for root in _roots(agents):
        if root.program_source == "openclaw-workspace":
            skill_folders.recover(root.folder)
        for manual in _manuals(root):
            viewers = [agent for agent in names if root.owner in ("", agent) and manual.name not in names[agent]]
            for agent in viewers:
                names[agent].add(manual.name)
            if viewers:
                found.setdefault(manual.folder, (root, manual))
    return list(found.values())


def _said(default: str, found: list[tuple[_Root, manuals.Manual]]) -> dict[str, _Said]:
    """The program's rows of skills: those of the default agent, and of each agent that has skills of its own."""
    basis = openclaw_program.basis()
    if basis is None:
        return {}
    versions = (basis, tuple(manual.version for _, manual in found))
    owners = dict.fromkeys([default, *(root.owner for root, _ in found if root.owner)])
    return {agent: _answer(agent).current(versions) or {} for agent in owners}


def _manuals(root: _Root) -> Iterator[manuals.Manual]:
    """The skills in a folder that the program does not skip. A folder with a SKILL.md is one skill as a whole."""
    whole = manuals.read(root.folder)
    inside = os.path.join(os.path.realpath(root.folder), "")
    for manual in [whole] if whole else manuals.find(root.folder, _DEPTH):
        is_inside = root.leaves_by_links or os.path.join(os.path.realpath(manual.folder), "").startswith(inside)
        if manual.description and is_inside:
            yield manual


def _roots(agents: Iterable[ConfiguredAgent]) -> list[_Root]:
    """The folders of skills, highest first."""
    state = state_folder()
    agents = list(agents)
    found = [_Root(os.path.join(agent.workspace, "skills"), "openclaw-workspace", agent.id) for agent in agents]
    found += [
        _Root(os.path.join(agent.workspace, ".agents", "skills"), "agents-skills-project", agent.id) for agent in agents
    ]
    if os.path.realpath(state) == os.path.realpath(os.path.join(paths.home(), ".openclaw")):
        personal = os.path.join(paths.home(), ".agents", "skills")
        found.append(_Root(personal, "agents-skills-personal", leaves_by_links=True))
    found.append(_Root(os.path.join(shared_folder(), "skills"), "openclaw-managed", leaves_by_links=True))
    found += [
        _Root(os.path.join(state, "agents", agent.id, "agent", "workshop-skills"), "openclaw-workshop", agent.id)
        for agent in agents
    ]
    found += _shipped_roots(agents)
    extra = openclaw_config.read().section("skills", "load").get("extraDirs") if agents else None
    named = [openclaw_config.expanded(openclaw_config.text_in(it)) for it in extra] if isinstance(extra, list) else []
    found += [_Root(folder, "openclaw-extra") for folder in named if folder]
    found.append(_Root(os.path.join(shared_folder(), "plugin-skills"), "openclaw-extra", leaves_by_links=True))
    return list({root.folder: root for root in reversed(found)}.values())[::-1]


def _shipped_roots(agents: list[ConfiguredAgent]) -> list[_Root]:
    """The folders that come with the program, if its package can be found."""
    program = openclaw_program.path()
    package = os.path.dirname(os.path.realpath(program)) if program else ""
    bundled = os.environ.get("OPENCLAW_BUNDLED_SKILLS_DIR", "").strip() or (package and os.path.join(package, "skills"))
    found = [_Root(bundled, "openclaw-bundled")] if bundled else []
    custodian = _custodian(agents)
    if package and custodian:
        found.append(_Root(os.path.join(package, "custodian-skills"), "openclaw-custodian", custodian))
    return found


def _custodian(agents: list[ConfiguredAgent]) -> str:
    """The id of the agent that looks after the program itself. When there is one agent only, it is that."""
    if not agents:
        return ""
    chosen = openclaw_config.read().section("agents", "defaults", "systemAgent").get("agentId")
    return chosen if isinstance(chosen, str) else agents[0].id if len(agents) == 1 else ""


@functools.lru_cache(maxsize=None)
def _answer(agent_id: str) -> background.Answer[_Said]:
    """What the program says of the skills that an agent sees."""

    def ask() -> _Said | None:
        answer = openclaw_program.ask("skills", "list", "--json", f"--agent={agent_id}")
        rows = answer.get("skills") if isinstance(answer, dict) else None
        if not isinstance(rows, list):
            return None
        return {(str(row.get("source")), str(row.get("name"))): row for row in rows if isinstance(row, dict)}

    return background.Answer(ask)


def _joined(root: _Root, manual: manuals.Manual, said: _Said) -> Skill:
    skill = manual.skill(root.source, _METADATA_KEYS)
    row = said.get((root.program_source, manual.name))
    if row is None:
        return skill
    primary = row.get("primaryEnv")
    return dataclasses.replace(
        skill,
        primary_env=primary if isinstance(primary, str) else "",
        eligible=row.get("eligible") is True,
        obstacles=tuple(_obstacles(row)),
    )


def _program_row(program_source: str, name: str, row: dict[str, object]) -> Skill:
    """A skill that the program has and we do not find."""
    description, primary = row.get("description"), row.get("primaryEnv")
    return Skill(
        name,
        description if isinstance(description, str) else "",
        _short(program_source),
        name,
        "",
        primary_env=primary if isinstance(primary, str) else "",
        eligible=row.get("eligible") is True,
        obstacles=tuple(_obstacles(row)),
    )


def _obstacles(row: dict[str, object]) -> list[str]:
    """Why the program does not use a skill."""
    missing = row.get("missing")
    reasons = [reason for key, reason in _REFUSALS.items() if row.get(key) is True]
    for key, reason in _OBSTACLES.items():
        names = missing.get(key) if isinstance(missing, dict) else None
        texts = [name for name in names if isinstance(name, str)] if isinstance(names, list) else []
        if key in ("anyBins", "os") and texts:
            texts = [", ".join(texts)]
        reasons += [reason.format(text) for text in texts]
    return reasons


def _short(program_source: str) -> str:
    return program_source.removeprefix("openclaw-").removeprefix("agents-skills-")
