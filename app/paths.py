"""Where things live in the user's home folder. Nothing here touches the disk."""

from __future__ import annotations

import os

ECOSYSTEMS = ("openclaw", "codex", "kimi")
"""The agent runtimes whose agents are managed, in the order in which they are listed."""


def home() -> str:
    """The user's home folder, read anew each time because tests and launchers change HOME."""
    return os.path.expanduser("~")


def nelo_file(name: str) -> str:
    """The path of one of our own files."""
    return os.path.join(home(), ".nelo", name)


def config_path(ecosystem: str) -> str:
    """The one configuration file of an ecosystem, the same that the console's editor opens."""
    name = "openclaw.json" if ecosystem == "openclaw" else "config.json"
    return os.path.join(home(), f".{ecosystem}", name)


def agents_folder(ecosystem: str) -> str:
    """The folder whose sub-folders are the agents of an ecosystem."""
    return os.path.join(home(), f".{ecosystem}", "agents")
