"""The skills that the agent programs see."""

from __future__ import annotations

from . import arguments
from .rows import skill_row


def list_skills(ecosystem: object) -> list[dict[str, object]]:
    """The skills of an ecosystem, highest place first.

    Each row has "name", "source" (where it comes from), "skillKey", "description", "path" (of the folder),
    "requiredEnv" (a list), "primaryEnv" and "primaryEnvLabel", and where the program says so "eligible".
    Raises `BackendError` when the ecosystem is unknown or its configuration cannot be read.
    """
    from .ecosystems import ecosystem as implementation

    return [skill_row(skill) for skill in implementation(ecosystem).skills()]


def get_adapter_snapshot(ecosystem: object) -> dict[str, object]:
    """The paths of an ecosystem: "ecosystem", "configPath", and "skillDirs", the folders of skills."""
    from .ecosystems import ecosystem as implementation

    found = implementation(ecosystem).paths()
    return {
        "ecosystem": arguments.ecosystem(ecosystem),
        "configPath": found.config,
        "skillDirs": list(found.skill_dirs),
    }
