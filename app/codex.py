"""The codex program: its agents and skills. Implements `Ecosystem`.

Agents are files in `agents`, see https://developers.openai.com/codex/subagents, and skills are folders, see
https://developers.openai.com/codex/skills. The program keeps no settings of a skill but whether it is on.
"""

from __future__ import annotations

import json
import os
from collections.abc import Iterator, Mapping

from . import arguments, codex_config, manuals, toml_text
from . import paths as places
from .ecosystems import Agent, Capabilities, Paths, Skill
from .errors import BackendError
from .file_agents import AgentFile, FileAgents

capabilities = Capabilities(installs_skills=False)

_DEPTH = 6
"""How many levels below a folder of skills the program looks."""

_NAME_LENGTH = 64
"""How many characters the name of a skill may have."""

_REQUIRED = ("name", "description", "developer_instructions")


def paths() -> Paths:
    """The configuration file and the folders of skills."""
    return Paths(codex_config.path(), tuple(_roots()))


def agents() -> list[Agent]:
    """The agents that have files, those that the program ignores included, with the reason as their state."""
    return _FILES.agents()


def add_agent(agent_id: str, name: str, workspace: str) -> Agent:
    """Write the file of a new agent. The program gives an agent no workspace."""
    _FILES.refuse_taken_name(name)
    values = dict(zip(_REQUIRED, (name, name, f"You are {name}.")))
    content = "".join(f"{key} = {_toml_string(value)}\n" for key, value in values.items())
    return _FILES.add(agent_id, content)


def rename_agent(agent: Agent, name: str) -> Agent:
    """Change the name in the file of an agent."""
    _FILES.refuse_taken_name(name, agent.id)
    return _FILES.change(agent.id, lambda text: codex_config.with_value(text, "name", name))


def delete_agent(agent: Agent) -> list[str]:
    """Move the file of an agent to the trash."""
    return _FILES.delete(agent.id)


def skills() -> list[Skill]:
    """The skills in the documented folders. Their key is the path of their SKILL.md, as in the configuration."""
    return [_skill(manual, source) for root, source in _roots().items() for manual in _manuals(root)]


def entry(skill_key: str) -> dict[str, object]:
    """Whether a skill is on."""
    return {"enabled": codex_config.is_enabled(skill_key, _skill_name(skill_key))}


def save_entry(skill_key: str, wanted: Mapping[str, object]) -> str:
    """Switch a skill on or off."""
    if any(wanted.get(key) for key in ("apiKey", "env", "config")):
        raise BackendError("Codex keeps no settings per skill; it can only be switched on or off.")
    name = _skill_name(skill_key)
    if name is None:
        raise BackendError(f"Codex has no skill {arguments.quoted(skill_key)}. Refresh the list.")
    if "enabled" in wanted:
        codex_config.set_enabled(skill_key, name, wanted["enabled"] is True)
    return codex_config.path()


def status() -> str:
    """The program runs no service that answers."""
    return "offline"


def _roots() -> dict[str, str]:
    """The folders of skills, highest first, and what the program calls where they come from."""
    own = os.path.join(codex_config.folder(), "skills")
    shared = os.path.join(places.home(), ".agents", "skills")
    return {own: "user", shared: "user", os.path.join(own, ".system"): "system"}


def _agent_folder() -> str:
    return os.path.join(codex_config.folder(), "agents")


def _manuals(root: str) -> Iterator[manuals.Manual]:
    """The skills that the program takes: those with a description and a name of the permitted length."""
    for manual in manuals.find(root, _DEPTH, searches_skills=True, is_searched=_is_searched):
        if manual.description and len(manual.name) <= _NAME_LENGTH:
            yield manual


def _is_searched(folder_name: str) -> bool:
    return not folder_name.startswith(".")


def _skill(manual: manuals.Manual, source: str) -> Skill:
    return Skill(manual.name, manual.description, source, _key(manual), manual.folder)


def _key(manual: manuals.Manual) -> str:
    return os.path.realpath(os.path.join(manual.folder, "SKILL.md"))


def _skill_name(skill_key: str) -> str | None:
    """The name of the skill with a key, or None when there is none."""
    return next((skill.name for skill in skills() if skill.key == skill_key), None)


def _parse(path: str, content: bytes) -> AgentFile:
    """What the file of an agent says."""
    try:
        values = toml_text.parse(content.decode("utf-8"), f"Reading {path}")
    except (ValueError, BackendError) as error:
        return AgentFile("", arguments.shortened(error, 200))
    texts = {key: value.strip() for key, value in values.items() if isinstance(value, str)}
    missing = next((key for key in _REQUIRED if not texts.get(key)), "")
    return AgentFile(texts.get("name", ""), f"it has no {missing}" if missing else "")


def _toml_string(text: str) -> str:
    """A text as TOML writes it: as JSON does, with one more character that must be escaped."""
    return json.dumps(text, ensure_ascii=False).replace("\x7f", "\\u007f")


_FILES = FileAgents(".toml", _parse, lambda: [_agent_folder()], _agent_folder, finds_hidden=True)
