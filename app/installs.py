"""Installing skill packages into the workspaces of agents."""

from __future__ import annotations

import os

from . import agents, arguments, catalogue, files, skill_packages, web
from .errors import BackendError, reason
from .skill_folders import install_package

PACKAGE_SECONDS = 60.0
"""How long fetching a package may take."""

_SHOWN_KEYS = ("name", "version", "description")


def install_openclaw_skill_zip(agent_id: object, package_path: object) -> dict[str, object]:
    """Install a package from a file into the workspace of an openclaw agent. Returns "targetDir" and "name".

    Replaces an earlier version that came from a file, too. After a failure the earlier version is still there. Raises
    `BackendError` when the agent has no workspace, when another skill has the place, or when the package is refused or
    cannot be unpacked.
    """
    workspace = _workspace("openclaw", agent_id)
    path = arguments.text(package_path, "package path")
    if not path:
        raise BackendError("The package path is empty.")
    try:
        package = files.read_file(path, skill_packages.SIZE_LIMIT + 1)
    except (OSError, ValueError) as error:
        why = reason(error) if isinstance(error, OSError) else "it is not a path"
        raise BackendError(f"Cannot read the package {arguments.quoted(path)}: {why}.") from error
    if package is None:
        raise BackendError(f"There is no package {arguments.quoted(path)}.")
    name = os.path.splitext(os.path.basename(path))[0]
    return install_package(package, workspace, name, {"source": "a package file"})


def list_cloud_skills_via_core(ecosystem: object) -> list[dict[str, object]]:
    """The skills of the catalogue for an ecosystem.

    Each row has "key", and "name", "version" and "description" where the catalogue has them.
    A catalogue that was not fetched yet from the address in the settings is fetched now. Raises `BackendError` as
    `refresh_cloud_skills_via_core` does.
    """
    owner = arguments.ecosystem(ecosystem)
    rows = []
    for key, entry in _catalogue(owner)[1].items():
        row: dict[str, object] = {"key": key}
        row.update((name, entry[name]) for name in _SHOWN_KEYS if _is_shown(entry.get(name)))
        rows.append(row)
    return rows


def list_core_agents(ecosystem: object, online_only: object = False) -> list[dict[str, object]]:
    """The agents of an ecosystem that a skill can be installed into.

    Each row has "ecosystem", "agentId", "id", "name" and "state" ("online" when the program's service answers, which is
    waited for), and where it is known "workspace". Raises `BackendError` when the registry cannot be read.
    """
    from .ecosystems import ecosystem as implementation

    program = implementation(ecosystem)
    rows = [agent for agent in agents.list_local_agents() if agent["ecosystem"] == ecosystem]
    if not program.capabilities.installs_skills or not rows:
        return []
    state = program.status()
    if online_only is True and state != "online":
        return []
    shown = ("ecosystem", "id", "name", "workspace")
    return [
        {"agentId": agent["id"], **{key: agent[key] for key in shown if key in agent}, "state": state}
        for agent in rows
        if agent.get("state") != "missing"
    ]


def install_cloud_skill_from_core(ecosystem: object, skill_key: object, agent_id: object) -> dict[str, object]:
    """Install a skill of the catalogue into the workspace of an agent. Returns "targetDir" and "name".

    The package is fetched from the entry's "url", which may be relative to the catalogue's own address, and checked
    against the entry's "sha256" when it has one. Raises `BackendError`, and then an earlier version is still there.
    """
    owner = arguments.ecosystem(ecosystem)
    key = arguments.filled_text(skill_key, "skill key")
    workspace = _workspace(owner, agent_id)
    base, entries = _catalogue(owner)
    entry = entries.get(key)
    if entry is None:
        raise BackendError(
            f"The catalogue has no skill {arguments.quoted(key)}. Refresh the catalogue in the settings."
        )
    source = {"source": f"the catalogue {web.shown(base)}", "key": key}
    return install_package(_fetched_package(base, key, entry), workspace, key, source)


def _workspace(ecosystem: str, agent_id: object) -> str:
    """The workspace of an agent. Raises `BackendError` when there is no such agent or its workspace is gone."""
    from .ecosystems import ecosystem as implementation

    wanted = arguments.filled_text(agent_id, "agent id")
    program = implementation(ecosystem)
    if not program.capabilities.installs_skills:
        raise BackendError(f"An agent of {ecosystem} has no folder of its own that a skill could be installed into.")
    for agent in program.agents():
        if agent.id != wanted:
            continue
        if not os.path.isdir(agent.workspace):
            raise BackendError(f"The workspace {agent.workspace} is gone. Create it, or choose another agent.")
        return agent.workspace
    raise BackendError(f"There is no agent {ecosystem}/{arguments.shortened(wanted)}. Refresh the list of agents.")


def _catalogue(ecosystem: str) -> tuple[str, dict[str, dict[str, object]]]:
    """The catalogue's address, and its entries for an ecosystem by their keys. The first entry with a key counts."""
    address, entries = catalogue.current_entries()
    chosen: dict[str, dict[str, object]] = {}
    for entry in entries:
        key = entry.get("key")
        if isinstance(key, str) and key.strip() and entry.get("ecosystem", ecosystem) == ecosystem:
            chosen.setdefault(key.strip(), entry)
    return address, chosen


def _is_shown(value: object) -> bool:
    """Whether a value can be shown: a text or a number. A boolean is a number in Python, but not here."""
    return isinstance(value, (str, int, float)) and not isinstance(value, bool)


def _fetched_package(base: str, key: str, entry: dict[str, object]) -> bytes:
    from urllib.parse import urljoin, urlsplit

    what = f"package address of {arguments.quoted(key)}"
    try:
        address = urljoin(base, arguments.filled_text(entry.get("url"), what))
        schemes = urlsplit(base).scheme, urlsplit(address).scheme
    except ValueError as error:
        raise BackendError(f"The {what} is not a valid address.") from error
    if schemes[1] == "file" != schemes[0]:
        raise BackendError(f"The catalogue names a file of this machine as the package of {arguments.quoted(key)}.")
    if schemes == ("https", "http") and "sha256" not in entry:
        raise BackendError(
            f"The catalogue has the package of {arguments.quoted(key)} fetched over http, which anybody on the way can "
            "change, and gives no SHA-256 to check it. Ask whoever keeps the catalogue for an https address."
        )
    try:
        package = web.fetch(address, PACKAGE_SECONDS, skill_packages.SIZE_LIMIT)
    except web.FetchError as error:
        raise BackendError(f"Cannot load the package {web.shown(address)}: {error}.") from error
    if "sha256" in entry:
        _verify(package, entry["sha256"], key)
    return package


def _verify(package: bytes, expected: object, key: str) -> None:
    """Raise `BackendError` when a package does not have the catalogue's SHA-256, or when that is not a checksum."""
    import hashlib

    if not isinstance(expected, str) or hashlib.sha256(package).hexdigest() != expected.strip().lower():
        raise BackendError(
            f"The package of {arguments.quoted(key)} is not the one that the catalogue describes: its SHA-256 differs. "
            "Refresh the catalogue and try again."
        )
