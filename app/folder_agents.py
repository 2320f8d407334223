"""Agents that are folders, and settings of skills in a JSON file: what stands for an ecosystem until it is known better."""

from __future__ import annotations

import os
import stat
from collections.abc import Mapping

from . import arguments, files, json_entries, manuals, paths, skill_folders, trash
from .ecosystems import Agent, Capabilities, Paths, Skill
from .errors import BackendError, explained


class FolderAgents:
    """Implements `Ecosystem` for the folder `~/.NAME`."""

    capabilities = Capabilities(installs_skills=True)

    def __init__(self, name: str) -> None:
        self._name = name

    def paths(self) -> Paths:
        shared = os.path.join(paths.home(), f".{self._name}", "skills")
        own = [os.path.join(agent.workspace, "skills") for agent in self.agents()]
        return Paths(paths.config_path(self._name), (shared, *filter(os.path.isdir, own)))

    def agents(self) -> list[Agent]:
        try:
            with os.scandir(self._folder()) as entries:
                return [self._agent(it.name) for it in entries if self._is_agent(it)]
        except OSError:
            return []

    def add_agent(self, agent_id: str, name: str, workspace: str) -> Agent:
        folder = os.path.join(self._folder(), agent_id)
        with explained(f"Cannot create {folder}"):
            files.make_private_folder(folder)
        return self._agent(agent_id)

    def rename_agent(self, agent: Agent, name: str) -> Agent:
        return agent

    def delete_agent(self, agent: Agent) -> list[str]:
        if self._name == "openclaw":
            raise BackendError("Only OpenClaw itself can delete its agents: their sessions and credentials go with them.")
        trash.move_to_trash(agent.workspace)
        return [agent.workspace]

    def skills(self) -> list[Skill]:
        sources = {os.path.join(agent.workspace, "skills"): agent.id for agent in self.agents()}
        found = []
        for folder in self.paths().skill_dirs:
            skill_folders.recover(folder)
            for manual in manuals.find(folder):
                found.append(manual.skill(sources.get(folder, "shared"), (self._name,)))
        return found

    def entry(self, skill_key: str) -> dict[str, object]:
        return json_entries.entry(paths.config_path(self._name), skill_key)

    def save_entry(self, skill_key: str, wanted: Mapping[str, object]) -> str:
        return json_entries.save_entry(paths.config_path(self._name), skill_key, wanted)

    def status(self) -> str:
        return "offline"

    def _folder(self) -> str:
        return os.path.join(paths.home(), f".{self._name}", "agents")

    def _is_agent(self, entry: os.DirEntry[str]) -> bool:
        return not arguments.folder_name_problem(entry.name) and entry.is_dir()

    def _agent(self, agent_id: str) -> Agent:
        folder = os.path.join(self._folder(), agent_id)
        try:
            status = os.stat(folder)
        except OSError:
            return Agent(agent_id, agent_id, folder, "missing")
        assert stat.S_ISDIR(status.st_mode)
        return Agent(agent_id, agent_id, folder, "available", last_seen=status.st_mtime)
