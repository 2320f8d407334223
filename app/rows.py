"""The rows of agents and skills that the console shows. An unknown value has no key."""

from __future__ import annotations

from . import files

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing it is slow
    from .ecosystems import Agent, Skill


def agent_row(ecosystem: str, agent: Agent, origin: str) -> dict[str, object]:
    """The row of an agent; `origin` is "managed" or "discovered"."""
    row: dict[str, object] = {"id": agent.id, "name": agent.name, "ecosystem": ecosystem, "origin": origin}
    texts = {"state": agent.state, "workspace": agent.workspace}
    times = {"lastSeen": agent.last_seen, "createdAt": agent.created_at}
    row.update((key, value) for key, value in texts.items() if value)
    row.update((key, files.iso_time(value)) for key, value in times.items() if value is not None)
    return row


def skill_row(skill: Skill) -> dict[str, object]:
    """The row of a skill. When the skill cannot be used, its description says why."""
    row: dict[str, object] = {
        "name": skill.name,
        "source": skill.source,
        "skillKey": skill.key,
        "description": skill.description,
        "path": skill.path,
        "requiredEnv": list(skill.required_env),
        "primaryEnv": skill.primary_env,
        "primaryEnvLabel": skill.primary_env_label,
    }
    if skill.eligible is not None:
        row["eligible"] = skill.eligible
    if skill.eligible is False and skill.obstacles:
        row["description"] = f"{skill.description}\nIt cannot be used now: {'; '.join(skill.obstacles)}."
    return row
