"""The folders in which agents keep their files."""

from __future__ import annotations

import contextlib
import os
import stat

from . import arguments, files, paths
from .errors import BackendError, explained, reason


def default_workspace(ecosystem: str, agent_id: str) -> str:
    """Where the workspace of an agent is, unless its record says otherwise."""
    return os.path.join(paths.agents_folder(ecosystem), agent_id)


def checked_workspace(value: object, ecosystem: str, agent_id: str) -> str:
    """The absolute path that a caller named, or the default one for an empty text.

    The folder of another agent is refused: two agents would write into it, and deleting one would take the other's.
    """
    text = arguments.text(value, "workspace path").strip()
    if not text:
        return default_workspace(ecosystem, agent_id)
    path = os.path.normpath(os.path.expanduser(text))
    if not os.path.isabs(path) or "\0" in path:
        raise BackendError(f"The workspace {arguments.quoted(text)} must be an absolute path.")
    if _is_in_agents_folder(path, ecosystem) and os.path.basename(path) != agent_id:
        raise BackendError(f"The workspace {path} belongs to another agent. Choose another folder.")
    return path


def folder_status(path: str) -> os.stat_result | None:
    """The status of a folder, or None where there is no folder."""
    try:
        status = os.stat(path)
    except (OSError, ValueError):
        return None
    return status if stat.S_ISDIR(status.st_mode) else None


def discovered_agents(ecosystem: str) -> list[str]:
    """The names of the folders in the agents folder of an ecosystem that can be agent ids; none when there is none."""
    try:
        with os.scandir(paths.agents_folder(ecosystem)) as entries:
            return [it.name for it in entries if not arguments.folder_name_problem(it.name) and it.is_dir()]
    except OSError:
        return []


def is_removable(workspace: str, ecosystem: str, agent_id: str) -> bool:
    """Whether a workspace that we made may be deleted with its agent.

    It must be a folder or link in the agents folder that bears the agent's id. What is below the agents folder of
    openclaw never is: its sessions and credentials are there.
    """
    if is_openclaw_state(workspace):
        return False
    is_there = os.path.islink(workspace) or os.path.isdir(workspace)
    return is_there and os.path.basename(workspace) == agent_id and _is_in_agents_folder(workspace, ecosystem)


def is_openclaw_state(path: str) -> bool:
    """Whether a path is the agents folder of openclaw, below it, or above it, also through symbolic links."""
    state = os.path.realpath(paths.agents_folder("openclaw"))
    target = os.path.realpath(path)
    return os.path.commonpath([state, target]) in (state, target)


def hide(workspace: str) -> str:
    """Move a workspace out of sight in one step, and answer where it is now.

    Whoever creates the agent anew from here on gets a folder of its own, which the removal does not touch.
    """
    hidden = files.unused_name(os.path.dirname(workspace), ".deleted")
    with explained(f"Cannot remove the workspace {workspace}"):
        os.rename(workspace, hidden)
    return hidden


def put_back(hidden: str, workspace: str) -> None:
    """Undo `hide` unless somebody took the place meanwhile."""
    with contextlib.suppress(OSError):
        os.rename(hidden, workspace)


def remove(hidden: str) -> None:
    """Remove a hidden workspace. Of a symbolic link only the link is removed."""
    import shutil

    try:
        if os.path.islink(hidden):
            os.unlink(hidden)
        else:
            shutil.rmtree(hidden)
    except OSError as error:
        raise BackendError(
            f"The agent was deleted, but a part of its workspace cannot be removed: {reason(error)}. "
            f"What is left is in {hidden}."
        ) from error


def _is_in_agents_folder(path: str, ecosystem: str) -> bool:
    folder = os.path.realpath(paths.agents_folder(ecosystem))
    return os.path.realpath(os.path.dirname(path)) == folder
