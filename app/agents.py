"""The agents on this machine: records that we manage, and folders that we discover.

A managed record and a discovered folder of the same ecosystem and id are one agent.
"""

from __future__ import annotations

import contextlib
import os
import time

from . import arguments, files, paths, workspaces
from .documents import Collection
from .errors import BackendError, explained

_REGISTRY = Collection("agents.json", "agents")
_RECORD_KEYS = ("ecosystem", "id", "name", "workspace", "createdAt")


def list_local_agents() -> list[dict[str, object]]:
    """Every agent, by ecosystem and id.

    Each row has "id", "name", "ecosystem", "origin" ("managed" or "discovered"), "state" ("available", or "missing"
    when the workspace is gone), "lastSeen", "workspace" and "createdAt". Raises `BackendError` when the registry exists
    and cannot be read.
    """
    records = [record for record in map(_record, _REGISTRY.entries()) if record]
    managed = {(record["ecosystem"], record["id"]): record for record in reversed(records)}
    rows = []
    for ecosystem in paths.ECOSYSTEMS:
        ids = {agent_id for owner, agent_id in managed if owner == ecosystem}
        for agent_id in sorted(ids.union(workspaces.discovered_agents(ecosystem))):
            rows.append(_row(ecosystem, agent_id, managed.get((ecosystem, agent_id))))
    return rows


def sync_local_agents_to_core() -> list[dict[str, object]]:
    """The same rows as `list_local_agents`: without a Core, the registry here is the only one."""
    return list_local_agents()


def add_local_agent(ecosystem: object, agent_id: object, name: object, workspace: object = "") -> dict[str, object]:
    """Create an agent: its record and its workspace folder. An empty workspace means the default one.

    Answers the new row. Raises `BackendError`, with nothing left behind, when the id is taken or something cannot be
    written.
    """
    record = _new_record(ecosystem, agent_id, name, workspace)
    folder = record["workspace"]
    created = False
    try:
        with _REGISTRY.changing() as entries:
            _refuse_taken_id(entries, record)
            with explained(f"Cannot create the workspace {folder}"):
                created = files.make_private_folder(folder)
            entries.append({**record, "madeWorkspace": created})
    except BaseException:
        if created:
            with contextlib.suppress(OSError):
                os.rmdir(folder)
        raise
    return _row(record["ecosystem"], record["id"], record)


def adopt_local_agent(ecosystem: object, agent_id: object, name: object, workspace: object = "") -> dict[str, object]:
    """Make a managed agent of a discovered one, under a chosen name. Nothing in its folder changes.

    Answers the row. Raises `BackendError` when there is no such folder or the agent is managed already.
    """
    record = _new_record(ecosystem, agent_id, name, workspace)
    with _REGISTRY.changing() as entries:
        if _matching(entries, record["ecosystem"], record["id"]):
            raise BackendError(f"{_title(record)} is managed already. Rename it instead.")
        status = workspaces.folder_status(record["workspace"])
        if status is None:
            raise BackendError(f"{_title(record)} cannot be adopted: there is no folder {record['workspace']}.")
        record["createdAt"] = _creation_time(status)
        entries.append(record)
    return _row(record["ecosystem"], record["id"], record)


def rename_local_agent(ecosystem: object, agent_id: object, name: object) -> dict[str, object]:
    """Give a managed agent another name and answer its row. Raises `BackendError` when it is not managed."""
    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    new_name = arguments.filled_text(name, "agent's name")
    with _REGISTRY.changing() as entries:
        matching = _managed(entries, owner, identity)
        for entry in matching:
            entry["name"] = new_name
    return _row(owner, identity, _record(matching[0]))


def delete_local_agent(ecosystem: object, agent_id: object, remove_workspace: object = False) -> dict[str, object]:
    """Delete the record of a managed agent and, when `remove_workspace` is true, its workspace.

    Only a workspace that was made when the agent was added is removed, and never one of openclaw: there the folder
    holds the sessions and credentials of the agent. Answers "ecosystem", "id", "workspace" and "workspaceRemoved".
    Raises `BackendError` when the agent is not managed, or when it cannot be deleted.
    """
    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    hidden = ""
    try:
        with _REGISTRY.changing() as entries:
            matching = _managed(entries, owner, identity)
            workspace = str(_row(owner, identity, _record(matching[0]))["workspace"])
            entries[:] = [entry for entry in entries if not any(entry is match for match in matching)]
            made = matching[0].get("madeWorkspace") is True
            if remove_workspace is True and made and workspaces.is_removable(workspace, owner, identity):
                hidden = workspaces.hide(workspace)
    except BaseException:
        if hidden:
            workspaces.put_back(hidden, workspace)
        raise
    if hidden:
        workspaces.remove(hidden)
    return {"ecosystem": owner, "id": identity, "workspace": workspace, "workspaceRemoved": bool(hidden)}


def _new_record(ecosystem: object, agent_id: object, name: object, workspace: object) -> dict[str, str]:
    owner = arguments.ecosystem(ecosystem)
    identity = arguments.folder_name(agent_id, "agent id")
    return {
        "ecosystem": owner,
        "id": identity,
        "name": arguments.filled_text(name, "agent's name"),
        "workspace": workspaces.checked_workspace(workspace, owner, identity),
        "createdAt": files.iso_time(time.time()),
    }


def _record(entry: object) -> dict[str, str] | None:
    """The texts of a registry entry, or None when it is no record of an agent."""
    if not isinstance(entry, dict):
        return None
    texts = {key: entry[key] for key in _RECORD_KEYS if isinstance(entry.get(key), str)}
    if texts.get("ecosystem") not in paths.ECOSYSTEMS or arguments.folder_name_problem(texts.get("id", "")):
        return None
    workspace = texts.pop("workspace", "")
    if os.path.isabs(workspace):
        texts["workspace"] = workspace.rstrip("/") or "/"  # a final slash would hide the folder's name
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


def _managed(entries: list[object], ecosystem: str, agent_id: str) -> list[dict[str, object]]:
    matching = _matching(entries, ecosystem, agent_id)
    if not matching:
        agent = _title({"ecosystem": ecosystem, "id": agent_id})
        raise BackendError(f"{agent} is not managed. Refresh the list, and adopt it first if it is there.")
    return matching


def _refuse_taken_id(entries: list[object], record: dict[str, str]) -> None:
    if _matching(entries, record["ecosystem"], record["id"]):
        raise BackendError(f"{_title(record)} exists already. Choose another id.")
    if os.path.lexists(workspaces.default_workspace(record["ecosystem"], record["id"])):
        raise BackendError(f"{_title(record)} has a folder already. Adopt it, or choose another id.")


def _row(ecosystem: str, agent_id: str, record: dict[str, str] | None) -> dict[str, object]:
    texts = record or {}
    workspace = texts.get("workspace") or workspaces.default_workspace(ecosystem, agent_id)
    status = workspaces.folder_status(workspace)
    return {
        "id": agent_id,
        "name": texts.get("name") or agent_id,
        "ecosystem": ecosystem,
        "origin": "discovered" if record is None else "managed",
        "state": "available" if status else "missing",
        "lastSeen": files.iso_time(status.st_mtime) if status else "",
        "workspace": workspace,
        "createdAt": texts.get("createdAt") or (_creation_time(status) if status else ""),
    }


def _creation_time(status: os.stat_result) -> str:
    """When a folder was made. Linux does not tell Python; its oldest known time is the nearest there."""
    born = getattr(status, "st_birthtime", None)
    return files.iso_time(born if born is not None else min(status.st_mtime, status.st_ctime))


def _title(record: dict[str, str]) -> str:
    return f"The agent {record['ecosystem']}/{arguments.shortened(record['id'])}"
