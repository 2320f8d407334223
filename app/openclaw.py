"""The openclaw program: its agents, its skills and their settings. Implements `Ecosystem`.

The program's own answers are used when they are fresh, and its configuration file otherwise. Only the program changes
its agents: their folders hold sessions and credentials, which this backend does not remove.
"""

from __future__ import annotations

import dataclasses
import os

from . import arguments, background, files, openclaw_config, openclaw_entries, openclaw_program, openclaw_skills
from .ecosystems import Agent, Capabilities, Paths, Skill
from .errors import BackendError, PartlyDone, explained
from .openclaw_config import ConfiguredAgent, config_path, state_folder

capabilities = Capabilities(installs_skills=True)

STATUS_SECONDS = 5.0
"""How long the service may take to answer whether it is there."""

entry = openclaw_entries.entry
save_entry = openclaw_entries.save_entry


def paths() -> Paths:
    """The configuration file and every folder that skills are looked for in; those of workspaces when they exist."""
    return Paths(config_path(), tuple(openclaw_skills.folders(_configured_agents())))


def agents() -> list[Agent]:
    """The agents that the program lists. Until it has answered, those of its configuration file.

    When the file cannot be read, those that it had before, with the reason as their state.
    """
    basis = openclaw_program.basis()
    answer = _listed.current(basis) if basis else None
    seen = _last_sessions.current(basis) or {} if basis else {}
    found = _listed_agents(answer) if isinstance(answer, list) else _file_agents(answer or "")
    return [dataclasses.replace(agent, last_seen=seen.get(agent.id)) for agent in found]


def add_agent(agent_id: str, name: str, workspace: str) -> Agent:
    """Let the program add an agent. When `workspace` is empty or in the folder of agents, a new one is made."""
    if agent_id.startswith("-"):
        raise BackendError("The agent id may not begin with a hyphen.")
    place = os.path.normpath(os.path.expanduser(workspace)) if workspace else ""
    if place and (not os.path.isabs(place) or "\0" in place):
        raise BackendError(f"The workspace {arguments.quoted(workspace)} must be an absolute path.")
    if not place or openclaw_config.is_below(place, os.path.join(state_folder(), "agents")):
        place = os.path.join(state_folder(), f"workspace-{agent_id}")
    _copy_configuration()
    options = (f"--workspace={place}", "--non-interactive", "--json")
    answer = openclaw_program.act("The agent was not added", "agents", "add", agent_id, *options)
    own_id = answer.get("agentId")
    agent = _found(own_id if isinstance(own_id, str) else agent_id)
    try:
        return agent if agent.name == name else rename_agent(agent, name)
    except BackendError:
        return agent  # the name stays in the record


def rename_agent(agent: Agent, name: str) -> Agent:
    """Let the program change the identity name of an agent."""
    _copy_configuration()
    options = (f"--agent={agent.id}", f"--name={name}", "--json")
    openclaw_program.act("The agent was not renamed", "agents", "set-identity", *options)
    return _found(agent.id)


def delete_agent(agent: Agent) -> list[str]:
    """Let the program move an agent to the trash: its workspace, its sessions and its credentials."""
    if len(agents()) < 2:
        raise BackendError("The agent was not deleted: it is the last one, and OpenClaw cannot be without an agent.")
    _copy_configuration()
    answer = openclaw_program.act("The agent was not deleted", "agents", "delete", agent.id, "--force", "--json")
    failed = [f"{path} ({why})" if why else path for path, why in _paths(answer.get("failed"), "error")]
    if failed:
        raise PartlyDone(f"The agent was deleted, but OpenClaw could not move this to the trash: {', '.join(failed)}.")
    return [path for path, method in _paths(answer.get("removed"), "method") if method != "missing"]


def skills() -> list[Skill]:
    """The skills that at least one agent sees, with what the program says of them."""
    return openclaw_skills.skills(_configured_agents())


def status() -> str:
    """"online" when the gateway answers the program, otherwise "offline". A late answer is used by the next call."""
    basis = openclaw_program.basis()
    if basis is None:
        return "offline"
    is_online = _gateway.current(basis) or _gateway.renewed(basis, STATUS_SECONDS)
    return "online" if is_online else "offline"


def _configured_agents() -> list[ConfiguredAgent]:
    """The agents of the configuration file; none where the program was never set up."""
    if not os.path.isdir(state_folder()) and not os.path.exists(config_path()):
        return []
    return openclaw_config.read().agents()


def _listed_agents(answer: list[tuple[ConfiguredAgent, float | None]]) -> list[Agent]:
    state = "" if os.path.exists(config_path()) else "not configured"
    return [_agent(agent, state, created) for agent, created in answer]


def _file_agents(said: str) -> list[Agent]:
    """The agents of the configuration file; `said` is what the program says instead of listing them."""
    state = said if os.path.exists(config_path()) else "not configured"
    try:
        return [_agent(agent, state) for agent in _configured_agents()]
    except BackendError as error:
        known = openclaw_config.last_understood()
        if known is None:
            raise
        return [_agent(agent, str(error)) for agent in known.agents()]


def _agent(agent: ConfiguredAgent, state: str, created: float | None = None) -> Agent:
    """An agent. Its state is `state`, unless that is empty."""
    if not state and not os.path.isdir(agent.workspace):
        state = "missing"
    name = agent.identity_name or agent.name or agent.id
    said = state or ("default" if agent.is_default else "")
    return Agent(agent.id, name, agent.workspace, said, created)


def _found(agent_id: str) -> Agent:
    """An agent as the configuration file has it now."""
    for agent in _configured_agents():
        if agent.id == agent_id:
            return _agent(agent, "")
    raise BackendError(f"OpenClaw changed the agent {agent_id}, but {config_path()} does not have it.")


def _copy_configuration() -> None:
    """Keep a copy of the configuration before the program changes it: it drops the comments of the file."""
    path = config_path()
    if openclaw_program.path() is None:
        return
    with files.exclusive(), explained(f"Cannot copy {path}"):
        content = files.read_file(path)
        if content is not None:
            files.keep_copy(path, content, "bak", files.OTHERS)


def _paths(items: object, key: str) -> list[tuple[str, str]]:
    """The paths of a list of objects, each with a text of the object."""
    return [
        (item["path"], str(item.get(key, "")))
        for item in (items if isinstance(items, list) else [])
        if isinstance(item, dict) and isinstance(item.get("path"), str)
    ]


def _seconds(milliseconds: object) -> float | None:
    """A time of the program in seconds. None when it is no number, or not before the year 10000."""
    if isinstance(milliseconds, bool) or not isinstance(milliseconds, (int, float)):
        return None
    return milliseconds / 1000 if 0 < milliseconds < 253_402_300_800_000 else None


def _ask_agents() -> list[tuple[ConfiguredAgent, float | None]] | str:
    """The agents that the program lists and when they were made, or what it says instead."""
    rows = openclaw_program.ask("agents", "list", "--json")
    if not isinstance(rows, list):
        return rows if isinstance(rows, str) else "openclaw does not list its agents."
    found = []
    for row in rows:
        if isinstance(row, dict) and isinstance(row.get("id"), str):
            texts = {key: value for key, value in row.items() if isinstance(value, str)}
            agent = ConfiguredAgent(
                row["id"],
                texts.get("workspace", ""),
                texts.get("identityName", ""),
                texts.get("name", ""),
                row.get("isDefault") is True,
            )
            found.append((agent, _seconds(row.get("createdAt"))))
    return found


_listed: background.Answer[list[tuple[ConfiguredAgent, float | None]] | str] = background.Answer(_ask_agents)


def _ask_sessions() -> dict[str, float]:
    """When each agent last had a session."""
    answer = openclaw_program.ask("sessions", "list", "--json", "--all-agents", "--limit=all")
    sessions = answer.get("sessions") if isinstance(answer, dict) else None
    found: dict[str, float] = {}
    for session in sessions if isinstance(sessions, list) else []:
        if not isinstance(session, dict):
            continue
        agent, seen = session.get("agentId"), _seconds(session.get("lastInteractionAt") or session.get("updatedAt"))
        if isinstance(agent, str) and seen is not None:
            found[agent] = max(found.get(agent, seen), seen)
    return found


_last_sessions = background.Answer(_ask_sessions)


def _ask_gateway() -> bool:
    answer = openclaw_program.ask("gateway", "status", "--json")
    connection = answer.get("rpc") if isinstance(answer, dict) else None
    return isinstance(connection, dict) and connection.get("ok") is True


_gateway = background.Answer(_ask_gateway)
