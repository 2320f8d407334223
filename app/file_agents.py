"""Agents that are files, one file for each: how they are found, added, changed and moved to the trash."""

from __future__ import annotations

import dataclasses
import os
from collections.abc import Callable, Iterator, Sequence

from . import arguments, files, trash
from .ecosystems import Agent
from .errors import BackendError, explained
from .file_cache import FileCache

_DEPTH = 32
"""How many levels of folders are searched."""


@dataclasses.dataclass(frozen=True)
class AgentFile:
    """What the file of an agent says."""

    name: str
    problem: str = ""
    """Why the program ignores it; empty when it does not."""


class FileAgents:
    """The agents of a program that has a file for each; its id is the file's name without the suffix."""

    def __init__(
        self,
        suffix: str,
        parse: Callable[[str, bytes], AgentFile],
        folders: Callable[[], Sequence[str]],
        own_folder: Callable[[], str],
        finds_hidden: bool = False,
    ) -> None:
        """`folders` returns where the program looks, highest first, and `own_folder` where a new agent is made."""
        self._suffix = suffix
        self._folders = folders
        self._own_folder = own_folder
        self._read = FileCache(parse).read
        self._finds_hidden = finds_hidden

    def agents(self) -> list[Agent]:
        """The agents, highest first. Of a name that several have, the program takes the first."""
        names: set[str] = set()
        found = []
        for agent_id, path in self._paths().items():
            said = self._said(path)
            problem = said.problem or ("another agent has the name" if said.name in names else "")
            names.add(said.name)
            state = f"ignored: {problem}" if problem else ""
            found.append(Agent(agent_id, said.name, state=state, created_at=_creation_time(path)))
        return found

    def add(self, agent_id: str, content: str) -> Agent:
        """Write a new file, and return its agent. Raises `BackendError` when there is such a file already."""
        path = os.path.join(self._own_folder(), f"{agent_id}{self._suffix}")
        with files.exclusive(), explained(f"Cannot write {path}"):
            if os.path.lexists(path):
                raise BackendError(f"There is a file {path} already. Choose another id.")
            files.replace_file(path, content.encode())
        return self._agent(agent_id)

    def change(self, agent_id: str, edit: Callable[[str], str]) -> Agent:
        """Replace the text of an agent's file with the result of `edit`, and return the agent.

        Raises `BackendError` when `edit` raises `ValueError`, or when the file cannot be changed."""
        path = self._path(agent_id)
        with files.exclusive(), explained(f"Cannot change {path}"):
            content = files.read_file(path)
            try:
                changed = edit((content or b"").decode())
            except ValueError as error:
                raise BackendError(f"Cannot change the name in {path}: {error}. Correct the file first.") from error
            files.refuse_changed(path, content)
            files.replace_file(path, changed.encode())
        return self._agent(agent_id)

    def delete(self, agent_id: str) -> list[str]:
        """Move the file of an agent to the trash, and return its path."""
        path = self._path(agent_id)
        trash.move_to_trash(path)
        return [path]

    def refuse_taken_name(self, name: str, own_id: str = "") -> None:
        """Raise `BackendError` when another agent has a name: the program would ignore one of the two."""
        for agent in self.agents():
            if agent.name == name and agent.id != own_id:
                raise BackendError(
                    f"There is an agent with the name {arguments.quoted(name)} already. Choose another name."
                )

    def _agent(self, agent_id: str) -> Agent:
        return next(agent for agent in self.agents() if agent.id == agent_id)

    def _path(self, agent_id: str) -> str:
        path = self._paths().get(agent_id)
        if path is None:
            raise BackendError(f"The file of the agent {arguments.quoted(agent_id)} is gone. Refresh the list.")
        return path

    def _said(self, path: str) -> AgentFile:
        stem = os.path.basename(path)[: -len(self._suffix)]
        try:
            said = self._read(path)
        except OSError as error:
            return AgentFile(stem, error.strerror or str(error))
        if said is None:
            return AgentFile(stem, "its file is gone")
        return said if said.name else dataclasses.replace(said, name=stem)

    def _is_searched(self, name: str) -> bool:
        return arguments.is_text(name) and (self._finds_hidden or not name.startswith("."))

    def _paths(self) -> dict[str, str]:
        """The files by the ids of their agents. When several have the same id, the first one counts."""
        found: dict[str, str] = {}
        for folder in self._folders():
            for path in self._walk(folder):
                agent_id = os.path.basename(path)[: -len(self._suffix)]
                if not arguments.folder_name_problem(agent_id):
                    found.setdefault(agent_id, path)
        return found

    def _walk(self, root: str) -> Iterator[str]:
        """The files below a folder. A link to a folder above itself is not followed."""
        waiting: list[tuple[str, frozenset[tuple[int, int]]]] = [(root, frozenset())]
        for _ in range(files.FOLDER_LIMIT):
            if not waiting:
                return
            folder, above = waiting.pop()
            try:
                own = files.identity(folder)
                names = [] if own in above else sorted(filter(self._is_searched, os.listdir(folder)))
            except (OSError, ValueError):
                continue
            paths = [os.path.join(folder, name) for name in names]
            folders = list(filter(os.path.isdir, paths))
            yield from (path for path in paths if path.endswith(self._suffix) and not os.path.isdir(path))
            if len(above) < _DEPTH:
                waiting += [(path, above | {own}) for path in reversed(folders)]


def _creation_time(path: str) -> float | None:
    """When a file was made, where the system tells."""
    try:
        born: float | None = getattr(os.stat(path), "st_birthtime", None)
    except OSError:
        return None
    return born
