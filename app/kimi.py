"""The kimi program: its agents and skills. Implements `Ecosystem`.

Agents are Markdown files, see https://moonshotai.github.io/kimi-code/en/customization/agents, and skills are folders or
Markdown files, see https://moonshotai.github.io/kimi-code/en/customization/skills. There are no settings of a skill.
"""

from __future__ import annotations

import json
import os
import re
import unicodedata
from collections.abc import Iterator, Mapping
from typing import NamedTuple

from . import arguments, front_matter, manuals, toml_text
from . import paths as places
from .ecosystems import Agent, Capabilities, Paths, Skill
from .errors import BackendError
from .file_agents import AgentFile, FileAgents
from .file_cache import FileCache

capabilities = Capabilities(installs_skills=False)

_DEPTH = 16
"""How many levels below a folder of skills are searched; the program has no limit."""

SHIPPED = ("agent", "coder", "explore", "plan", "tower-worker")
"""The names of the agents that come with the program, which a file does not replace."""

_TYPES = ("", "prompt", "inline", "flow")
"""The types of skills."""

_NAME = re.compile(r"[a-z0-9]+(?:-[a-z0-9]+)*")
_NAME_LINE = re.compile(r"^name[ \t]*:[^\r\n]*", re.MULTILINE)
_UNPRINTABLE = re.compile(r"[\x7f-\x9f\u2028\u2029\ufeff]")
_BEGIN = re.compile(r"\ufeff?---[ \t]*(?:\r\n|\r|\n)")


class _SkillFile(NamedTuple):
    """What the file of a skill says."""

    own_name: str
    description: str
    type: str
    first_line: str
    """The first line after the front matter."""


def paths() -> Paths:
    """The configuration file and the folders of skills."""
    return Paths(_config_path(), tuple(_skill_folders()))


def agents() -> list[Agent]:
    """The agents that have files, those that the program ignores included, with the reason as their state."""
    return _FILES.agents()


def add_agent(agent_id: str, name: str, workspace: str) -> Agent:
    """Write the file of a new agent. The program gives an agent no workspace."""
    own_name = _kebab_case(name) or _kebab_case(agent_id)
    if not own_name:
        raise BackendError("Kimi wants a letter from a to z or a digit in the name of an agent.")
    _refuse_taken_name(own_name)
    content = f"---\nname: {_quoted(own_name)}\ndescription: {_quoted(name)}\n---\n\nYou are {name}.\n"
    return _FILES.add(agent_id, content)


def rename_agent(agent: Agent, name: str) -> Agent:
    """Change the name in the file of an agent.

    The program accepts small letters, digits and hyphens only, so "My Reviewer" becomes "my-reviewer". When nothing of
    the name is left, the file does not change.
    """
    own_name = _kebab_case(name)
    if not own_name:
        return agent
    _refuse_taken_name(own_name, agent.id)
    return _FILES.change(agent.id, lambda text: _with_name(text, own_name))


def delete_agent(agent: Agent) -> list[str]:
    """Move the file of an agent to the trash."""
    return _FILES.delete(agent.id)


def skills() -> list[Skill]:
    """The skills that the program takes. When several have the same name, it takes the first."""
    found: dict[str, Skill] = {}
    for folder in paths().skill_dirs:
        for skill in (*_flat_skills(folder), *_folder_skills(folder)):
            found.setdefault(skill.name.casefold(), skill)
    return list(found.values())


def entry(skill_key: str) -> dict[str, object]:
    """The program keeps nothing of a skill."""
    return {}


def save_entry(skill_key: str, wanted: Mapping[str, object]) -> str:
    """Raise `BackendError` for every setting but "enabled": every skill is on and has no settings."""
    if any(wanted.get(key) for key in ("apiKey", "env", "config")) or wanted.get("enabled") is False:
        raise BackendError(
            "Kimi keeps no settings per skill, and a skill cannot be switched off; move its folder away."
        )
    return _config_path()


def status() -> str:
    """The program runs no service that answers."""
    return "offline"


def _home() -> str:
    """Where the program keeps its things."""
    chosen = os.environ.get("KIMI_CODE_HOME", "")
    return chosen if os.path.isabs(chosen) else os.path.join(places.home(), ".kimi-code")


def _config_path() -> str:
    return os.path.join(_home(), "config.toml")


def _agent_folder() -> str:
    return os.path.join(_home(), "agents")


def _agent_folders() -> list[str]:
    """The folders of agents, highest first."""
    return [*_extra_folders("extra_agent_dirs"), _agent_folder(), os.path.join(places.home(), ".agents", "agents")]


def _skill_folders() -> list[str]:
    """The folders of skills, highest first."""
    own = [os.path.join(_home(), "skills"), os.path.join(places.home(), ".agents", "skills")]
    return own + _extra_folders("extra_skill_dirs")


def _extra_folders(setting: str) -> list[str]:
    """The absolute folders that the configuration names. A relative one belongs to a project, and is left out."""
    try:
        named = (_CONFIG.read(_config_path()) or {}).get(setting)
    except OSError:
        return []
    folders = [os.path.expanduser(it) for it in named if isinstance(it, str)] if isinstance(named, list) else []
    return list(filter(os.path.isabs, folders))


def _parse_config(path: str, content: bytes) -> dict[str, object]:
    try:
        return toml_text.parse(content.decode(), f"Reading {path}")
    except (ValueError, BackendError):
        return {}


def _folder_skills(folder: str) -> Iterator[Skill]:
    """The skills that are folders; they must have a name and a description."""
    for manual in manuals.find(folder, _DEPTH, is_searched="node_modules".__ne__):
        said = _said(os.path.join(manual.folder, "SKILL.md"))
        if said and said.own_name and said.description and said.type in _TYPES:
            yield Skill(said.own_name, said.description, "user", said.own_name, manual.folder)


def _flat_skills(folder: str) -> Iterator[Skill]:
    """The skills that are Markdown files, named as their file where they do not say."""
    try:
        found = [name for name in os.listdir(folder) if name.endswith(".md") and name != "SKILL.md"]
    except OSError:
        return
    for name in sorted(filter(arguments.is_text, found)):
        path = os.path.join(folder, name)
        said = _said(path)
        if said and said.type in _TYPES:
            own_name = said.own_name or name.removesuffix(".md")
            yield Skill(own_name, said.description or said.first_line, "user", own_name, path)


def _said(path: str) -> _SkillFile | None:
    try:
        return _SKILLS.read(path)
    except OSError:
        return None


def _parse_skill(path: str, content: bytes) -> _SkillFile:
    text = content.decode(errors="replace")
    values = front_matter.parse(text, is_strict=True)
    first_line = next((line.strip() for line in _body(text).splitlines() if line.strip()), "")
    name, description, kind = (_text(values.get(key)) for key in ("name", "description", "type"))
    return _SkillFile(name, description, kind, first_line)


def _parse_agent(path: str, content: bytes) -> AgentFile:
    """What the file of an agent says."""
    text = content.decode(errors="replace")
    values = front_matter.parse(text, is_strict=True)
    name, description = _text(values.get("name")), _text(values.get("description"))
    if not description:
        return AgentFile(name, "it has no description")
    if not _body(text).strip():
        return AgentFile(name, "it has no instructions")
    own_name = name or os.path.basename(path).removesuffix(".md")
    if not _NAME.fullmatch(own_name):
        return AgentFile(name, "its name may have small letters, digits and hyphens only")
    if own_name in SHIPPED and _text(values.get("override")) != "true":
        return AgentFile(name, "an agent with the name comes with Kimi")
    return AgentFile(name)


def _body(text: str) -> str:
    """What follows the front matter."""
    begin = _BEGIN.match(text)
    end = re.search(r"^---[ \t]*\r?$", text[begin.end() :], re.MULTILINE) if begin else None
    return text[begin.end() + end.end() :] if begin and end else text


def _with_name(text: str, name: str) -> str:
    """The text of an agent's file with another name in its front matter. Raises `ValueError` when it has none."""
    begin = _BEGIN.match(text)
    body = _body(text)
    if not begin or body == text:
        raise ValueError("it has no front matter")
    head = text[begin.end() : len(text) - len(body)]
    line = f"name: {_quoted(name)}"
    changed = _NAME_LINE.sub(line, head, count=1) if _NAME_LINE.search(head) else f"{line}{begin[0][-1]}{head}"
    result = begin[0] + changed + body
    if front_matter.parse(result).get("name") != name:
        raise ValueError("its name stands on several lines")
    return result


def _quoted(text: str) -> str:
    """A text in quotes for YAML. Without quotes YAML would read 2025, true and null as other types."""
    return _UNPRINTABLE.sub(lambda match: f"\\u{ord(match[0]):04x}", json.dumps(text, ensure_ascii=False))


def _kebab_case(name: str) -> str:
    """A name in small letters, digits and hyphens, without accents. Empty when nothing of it is left."""
    plain = "".join(it for it in unicodedata.normalize("NFKD", name.lower()) if not unicodedata.combining(it))
    return "-".join(re.findall(r"[a-z0-9]+", plain))


def _refuse_taken_name(name: str, own_id: str = "") -> None:
    if name in SHIPPED:
        raise BackendError(f"An agent with the name {arguments.quoted(name)} comes with Kimi. Choose another name.")
    _FILES.refuse_taken_name(name, own_id)


def _text(value: object) -> str:
    return value.strip() if isinstance(value, str) else ""


_FILES = FileAgents(".md", _parse_agent, _agent_folders, _agent_folder)
_SKILLS = FileCache(_parse_skill)
_CONFIG = FileCache(_parse_config)
