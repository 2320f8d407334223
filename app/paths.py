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
