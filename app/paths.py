"""Paths in the user's home folder. Nothing here reads or writes a file."""

from __future__ import annotations

import os

ECOSYSTEMS = ("openclaw", "codex", "kimi")
"""The names of the agent programs, in the order in which their agents are listed."""


def home() -> str:
    """The user's home folder, read anew each time because tests change HOME."""
    return os.path.expanduser("~")


def nelo_file(name: str) -> str:
    """The path of one of our own files."""
    return os.path.join(home(), ".nelo", name)
