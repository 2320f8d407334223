"""The skills that are installed: folders with a SKILL.md file."""

from __future__ import annotations

import os

from . import agents, arguments, files, paths
from .documents import parse_object
from .front_matter import parse_front_matter
from .skill_folders import MANUAL_LIMIT, recover


def list_skills(ecosystem: object) -> list[dict[str, object]]:
    """The skills of an ecosystem: those in its own skills folder, then those in the workspaces of its agents.

    Each row has "name", "source" ("shared", or the id of the agent), "skillKey", "description", "path" (of the folder),
    "requiredEnv" (a list), "primaryEnv" and "primaryEnvLabel". Raises `BackendError` when the ecosystem is unknown or
    the registry of agents cannot be read.
    """
    owner = arguments.ecosystem(ecosystem)
    rows = []
    for folder, source in _skill_folders(owner).items():
        recover(folder)
        for name in _folder_names(folder):
            row = _row(owner, source, os.path.join(folder, name))
            if row:
                rows.append(row)
    return rows


def get_adapter_snapshot(ecosystem: object) -> dict[str, object]:
    """Where an ecosystem keeps its things: "ecosystem", "configPath" and "skillDirs".

    The skill folders are the ecosystem's own one, whether it exists or not, and those that exist in workspaces.
    """
    owner = arguments.ecosystem(ecosystem)
    shared, *others = _skill_folders(owner)
    return {
        "ecosystem": owner,
        "configPath": paths.config_path(owner),
        "skillDirs": [shared, *filter(os.path.isdir, others)],
    }


def _skill_folders(ecosystem: str) -> dict[str, str]:
    """Each skills folder and the source that its rows tell, the ecosystem's own folder first."""
    folders = {os.path.join(paths.home(), f".{ecosystem}", "skills"): "shared"}
    for agent in agents.list_local_agents():
        if agent["ecosystem"] == ecosystem:
            folders.setdefault(os.path.join(str(agent["workspace"]), "skills"), str(agent["id"]))
    return folders


def _folder_names(folder: str) -> list[str]:
    """The visible names in a folder, sorted; none when there is no such folder."""
    try:
        return sorted(name for name in os.listdir(folder) if not arguments.folder_name_problem(name))
    except (OSError, ValueError):
        return []


def _row(ecosystem: str, source: str, folder: str) -> dict[str, object] | None:
    """The row of the skill in a folder, or None when there is no SKILL.md that can be read."""
    try:
        manual = files.read_file(os.path.join(folder, "SKILL.md"), MANUAL_LIMIT)
    except OSError:
        return None
    if manual is None:
        return None
    values = parse_front_matter(manual.decode(errors="replace"))
    metadata = _metadata(values.get("metadata", ""), ecosystem)
    name = values.get("name") or os.path.basename(folder)
    return {
        "name": name,
        "source": source,
        "skillKey": _text(metadata.get("skillKey")) or name,
        "description": values.get("description", ""),
        "path": folder,
        "requiredEnv": _required_variables(metadata),
        "primaryEnv": _text(metadata.get("primaryEnv")),
        "primaryEnvLabel": _text(metadata.get("primaryEnvLabel")),
    }


def _metadata(text: str, ecosystem: str) -> dict[str, object]:
    """The metadata object, or what it holds for this ecosystem."""
    metadata = parse_object(text.encode()) or {}
    own = metadata.get(ecosystem)
    return own if isinstance(own, dict) else metadata


def _required_variables(metadata: dict[str, object]) -> list[str]:
    requires = metadata.get("requires")
    own = requires.get("env") if isinstance(requires, dict) else None
    names = metadata.get("requiredEnv") if own is None else own
    return [name for name in names if isinstance(name, str)] if isinstance(names, list) else []


def _text(value: object) -> str:
    return value.strip() if isinstance(value, str) else ""
