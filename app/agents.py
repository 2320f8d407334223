"""The agents on this machine: those that the agent programs have, and our records of those that we manage.

A record says that an agent was added or adopted here. It has a name only where the program does not keep that name.
"""

from __future__ import annotations

import time

from . import arguments, files, paths
from .documents import Collection
from .errors import BackendError, PartlyDone
from .rows import agent_row

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing it is slow
    from .ecosystems import Agent

_REGISTRY = Collection("agents.json", "agents")
_RECORD_KEYS = ("ecosystem", "id", "name", "workspace", "createdAt")

Records = dict[tuple[str, str], dict[str, str]]
"""The texts of each record, by ecosystem and id."""


def list_local_agents() -> list[dict[str, object]]:
    """Every agent, by ecosystem and id.

    Each row has "id", "name", "ecosystem" and "origin" ("managed" or "discovered"), and where they are known "state",
    "lastSeen", "workspace" and "createdAt". When the agents of an ecosystem cannot be read, only its managed ones are
    listed, with the reason as their state. Raises `BackendError` when the registry exists and cannot be read.
    """
    records = _records()
    rows = []
    for ecosystem in paths.ECOSYSTEMS:
        for agent in _known_agents(ecosystem, records):
            rows.append(_row(ecosystem, agent, records))
    return rows


def sync_local_agents_to_core() -> list[dict[str, object]]:
    """Returns the rows of `list_local_agents`. Nothing is sent: this backend knows no Core."""
    return list_local_agents()


def add_local_agent(ecosystem: object, agent_id: object, name: object, workspace: object = "") -> dict[str, object]:
    """Create an agent in its program, and manage it. The workspace counts only where the program gives an agent one.

    Returns the new row. Raises `BackendError` when the id is taken or the agent cannot be created.
    """
    from .ecosystems import ecosystem as implementation

    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    wanted_name = arguments.filled_text(name, "agent's name")
    place = arguments.text(workspace, "workspace path").strip()
    if (owner, identity) in _records():
        raise BackendError(f"{_title(owner, identity)} is managed already. Choose another id.")
    program = implementation(owner)
    if any(agent.id == identity for agent in program.agents()):
        raise BackendError(f"{_title(owner, identity)} exists already. Adopt it, or choose another id.")
    agent = program.add_agent(identity, wanted_name, place)
    return _manage(owner, agent, wanted_name, {"createdAt": files.iso_time(time.time())})


def adopt_local_agent(ecosystem: object, agent_id: object, name: object, workspace: object = "") -> dict[str, object]:
    """Manage an agent that a program has, under a chosen name. Nothing of the program's changes.

    Returns the row. Raises `BackendError` when there is no such agent or it is managed already.
    """
    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    wanted_name = arguments.filled_text(name, "agent's name")
    arguments.text(workspace, "workspace path")  # what the row said; the program itself is asked again
    return _manage(owner, _program_agent(owner, identity), wanted_name, {})


def rename_local_agent(ecosystem: object, agent_id: object, name: object) -> dict[str, object]:
    """Change the name of a managed agent, in its program too, and return its row.

    Raises `BackendError` when it is not managed or the program cannot do it.
    """
    from .ecosystems import ecosystem as implementation

    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    wanted_name = arguments.filled_text(name, "agent's name")
    _refuse_unmanaged(_records(), owner, identity)
    agent = implementation(owner).rename_agent(_program_agent(owner, identity), wanted_name)
    with _REGISTRY.changing() as entries:
        for entry in _matching(entries, owner, identity):
            _set_name(entry, agent, wanted_name)
    return _row(owner, agent, _records())


def delete_local_agent(ecosystem: object, agent_id: object, remove_workspace: object = False) -> dict[str, object]:
    """Delete the record of a managed agent. When `remove_workspace` is true, delete the agent in its program, too.

    This backend removes no file of a program itself: the program deletes the agent, or the agent's file is moved to the
    trash. Returns "ecosystem", "id", and "removed", the list of the paths that went to the trash. Raises `BackendError`
    when the agent is not managed, or when it cannot be deleted.
    """
    from .ecosystems import ecosystem as implementation

    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    _refuse_unmanaged(_records(), owner, identity)
    removed: list[str] = []
    rest = None
    if remove_workspace is True:
        program = implementation(owner)
        for agent in program.agents():
            if agent.id == identity:
                try:
                    removed = program.delete_agent(agent)
                except PartlyDone as error:
                    rest = str(error)
    with _REGISTRY.changing() as entries:
        gone = _matching(entries, owner, identity)
        entries[:] = [entry for entry in entries if not any(entry is match for match in gone)]
    if rest is not None:
        raise BackendError(rest)
    return {"ecosystem": owner, "id": identity, "removed": removed}


def _known_agents(ecosystem: str, records: Records) -> list[Agent]:
    """The agents of a program and those that we manage, by id."""
    from .ecosystems import Agent, ecosystem as implementation

    problem = "missing"
    found: dict[str, Agent] = {}
    try:
        found = {agent.id: agent for agent in implementation(ecosystem).agents()}
    except BackendError as error:
        problem = str(error)
    for owner, agent_id in records:
        if owner == ecosystem and agent_id not in found:
            found[agent_id] = Agent(agent_id, agent_id, state=problem)
    return [found[agent_id] for agent_id in sorted(found)]


def _program_agent(ecosystem: str, agent_id: str) -> Agent:
    """The agent as its program has it. Raises `BackendError` when the program has no agent with this id."""
    from .ecosystems import ecosystem as implementation

    for agent in implementation(ecosystem).agents():
        if agent.id == agent_id:
            return agent
    raise BackendError(f"{_title(ecosystem, agent_id)} is not there. Refresh the list.")


def _manage(ecosystem: str, agent: Agent, name: str, more: dict[str, str]) -> dict[str, object]:
    """Write the record of an agent, with its name, and return the row of the agent."""
    entry: dict[str, object] = {"ecosystem": ecosystem, "id": agent.id, **more}
    _set_name(entry, agent, name)
    with _REGISTRY.changing() as entries:
        if _matching(entries, ecosystem, agent.id):
            raise BackendError(f"{_title(ecosystem, agent.id)} is managed already. Rename it instead.")
        entries.append(entry)
    return _row(ecosystem, agent, _records())


def _set_name(entry: dict[str, object], agent: Agent, name: str) -> None:
    entry.pop("name", None)
    if agent.name != name:
        entry["name"] = name


def _row(ecosystem: str, agent: Agent, records: Records) -> dict[str, object]:
    record = records.get((ecosystem, agent.id))
    row = agent_row(ecosystem, agent, "discovered" if record is None else "managed")
    if record:
        row["name"] = record.get("name") or row["name"]
        for key in ("workspace", "createdAt"):
            if key in record:
                row.setdefault(key, record[key])
    return row


def _records() -> Records:
    """The records. When an agent has several, the first one counts."""
    records: Records = {}
    for entry in _REGISTRY.entries():
        record = _record(entry)
        if record:
            records.setdefault((record["ecosystem"], record["id"]), record)
    return records


def _record(entry: object) -> dict[str, str] | None:
    """The texts of a registry entry, or None when it is no record of an agent."""
    if not isinstance(entry, dict):
        return None
    texts = {key: entry[key] for key in _RECORD_KEYS if isinstance(entry.get(key), str)}
    if texts.get("ecosystem") not in paths.ECOSYSTEMS or arguments.folder_name_problem(texts.get("id", "")):
        return None
    return texts


def _matching(entries: list[object], ecosystem: str, agent_id: str) -> list[dict[str, object]]:
    """The entries that are records of one agent; a registry edited by hand may hold several."""
    return [
        entry
        for entry in entries
        if isinstance(entry, dict)
        and (record := _record(entry)) is not None
        and (record["ecosystem"], record["id"]) == (ecosystem, agent_id)
    ]


def _refuse_unmanaged(records: Records, ecosystem: str, agent_id: str) -> None:
    if (ecosystem, agent_id) not in records:
        raise BackendError(
            f"{_title(ecosystem, agent_id)} is not managed. Refresh the list, and adopt it first if it is there."
        )


def _title(ecosystem: str, agent_id: str) -> str:
    return f"The agent {ecosystem}/{arguments.shortened(agent_id)}"
