"""Agents as their programs find them in a home folder."""
from __future__ import annotations

from pathlib import Path


def write_kimi_agent(home: Path, name: str) -> Path:
    """Writes an agent of kimi; its name may have small letters, digits and hyphens. Returns its file."""
    return _written(home / f".kimi-code/agents/{name}.md", f"---\nname: {name}\ndescription: Helps.\n---\n\nYou help.\n")


def write_codex_agent(home: Path, name: str) -> Path:
    """Writes an agent of codex, and returns its file."""
    lines = (f'{key} = "{value}"\n' for key, value in (("name", name), ("description", "Helps."),
                                                       ("developer_instructions", "You help.")))
    return _written(home / f".codex/agents/{name}.toml", "".join(lines))


def _written(file: Path, text: str) -> Path:
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text(text, encoding="utf-8")
    return file
