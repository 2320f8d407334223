"""Agents as their programs find them in a home folder, and a program in the place of openclaw."""
from __future__ import annotations

from pathlib import Path

# Says that its gateway answers and that every configuration is valid.
OPENCLAW = """#!/bin/sh
case "$*" in
"config validate "*) echo '{"valid": true}' ;;
"gateway status "*) echo '{"rpc": {"ok": true}}' ;;
*) echo "unknown command" >&2; exit 1 ;;
esac
"""


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


def install_stub_openclaw(home: Path) -> None:
    """Puts it where it is found."""
    _written(home / ".local/bin/openclaw", OPENCLAW).chmod(0o755)
