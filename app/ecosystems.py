"""The interface of an agent program. The module with the name of an ecosystem implements it.

Its values describe the program on this machine; `rows` turns them into the rows that the console shows.
"""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass
from typing import Protocol

from . import arguments


@dataclass(frozen=True)
class Agent:
    """An agent that the program has. A time is in seconds since 1970, and None when nobody knows it."""

    id: str
    name: str
    workspace: str = ""
    """The folder that it works in; empty where the program gives an agent none."""
    state: str = ""
    """ "missing" when what it is made of is gone, "not configured", or what the program says of it."""
    created_at: float | None = None
    last_seen: float | None = None


@dataclass(frozen=True)
class Skill:
    """A skill that at least one agent sees."""

    name: str
    description: str
    source: str
    """Where it comes from in one word, for example the id of the agent in whose workspace it is."""
    key: str
    """The identity of its entry in the configuration."""
    path: str
    """The folder of its SKILL.md."""
    required_env: tuple[str, ...] = ()
    primary_env: str = ""
    primary_env_label: str = ""
    eligible: bool | None = None
    """Whether the program says that it can be used; None when it was not asked or does not say."""
    obstacles: tuple[str, ...] = ()
    """Why it cannot be used, each as a clause such as "the program op is missing"."""


@dataclass(frozen=True)
class Paths:
    """The program's files and folders, as its environment variables have them."""

    config: str
    """The configuration file that it reads, whether it exists or not."""
    skill_dirs: tuple[str, ...]
    """The folders in which it looks for skills, highest first."""


@dataclass(frozen=True)
class Capabilities:
    """What can be done with the program."""

    installs_skills: bool
    """Whether an agent has a workspace of its own, into which a skill can be installed."""


class Ecosystem(Protocol):
    """An agent program. A module that implements it has functions and values of these names.

    - A failure is a `BackendError` with sentences for the user.
    - `agents`, `skills` and `paths` are asked every few seconds and must answer within 50 ms: from files, and from
      what `background` has of the program. They never start a program themselves.
    - The functions that change something may run the program for up to 60 s. They are called without the lock of
      `files.exclusive`, and take it where they replace a file.
    """

    @property
    def capabilities(self) -> Capabilities:
        ...

    def paths(self) -> Paths:
        """The program's files and folders. Changes nothing."""

    def agents(self) -> list[Agent]:
        """The agents that the program has, in any order. Empty when the program was never set up."""

    def add_agent(self, agent_id: str, name: str, workspace: str) -> Agent:
        """Create an agent and return it as the program has it then.

        `agent_id` can be a file's name and is no other agent's. `workspace` is what the console proposes, or empty; a
        program that gives an agent no folder ignores it.
        """

    def rename_agent(self, agent: Agent, name: str) -> Agent:
        """Change the name that the program has for an agent, and return the agent as the program has it then.

        When the program cannot have the name, return the agent unchanged. The name is then kept in a record of ours.
        """

    def delete_agent(self, agent: Agent) -> list[str]:
        """Move an agent to the trash, or let the program do so. Returns the paths that went to the trash.

        Raises `PartlyDone` when the agent is deleted, but some of its files could not be moved.
        """

    def skills(self) -> list[Skill]:
        """The skills that the program's agents see, each folder once."""

    def entry(self, skill_key: str) -> dict[str, object]:
        """The settings of a skill: "enabled" (boolean), "apiKey" (text), "env" (texts by name), "config" (object).

        A key without a value is missing. A secret that the program keeps in another place is missing, too.
        """

    def save_entry(self, skill_key: str, wanted: Mapping[str, object]) -> str:
        """Save settings of a skill, with keys and types as in `entry`. Returns the path of the file that has them.

        Nothing else in the file changes. Raises `BackendError` for a setting that the program cannot keep, and then
        saves nothing.
        """

    def status(self) -> str:
        """ "online" when the program's service answers, otherwise "offline". May wait 5 s for it."""


def ecosystem(value: object) -> Ecosystem:
    """The implementation of an ecosystem that the caller named. Raises `BackendError` when it is none of the known."""
    from . import codex, kimi, openclaw

    implementations: dict[str, Ecosystem] = {"openclaw": openclaw, "codex": codex, "kimi": kimi}
    return implementations[arguments.ecosystem(value)]
