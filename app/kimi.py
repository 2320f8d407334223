"""The kimi program: its agents and skills."""

from __future__ import annotations

from .folder_agents import FolderAgents

_IMPLEMENTATION = FolderAgents("kimi")

capabilities = _IMPLEMENTATION.capabilities
paths = _IMPLEMENTATION.paths
agents = _IMPLEMENTATION.agents
add_agent = _IMPLEMENTATION.add_agent
rename_agent = _IMPLEMENTATION.rename_agent
delete_agent = _IMPLEMENTATION.delete_agent
skills = _IMPLEMENTATION.skills
entry = _IMPLEMENTATION.entry
save_entry = _IMPLEMENTATION.save_entry
status = _IMPLEMENTATION.status
