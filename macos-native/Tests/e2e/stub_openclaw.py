"""A program in the place of openclaw, which says that its gateway answers and that every configuration is valid."""
from __future__ import annotations

from pathlib import Path

SCRIPT = """#!/bin/sh
case "$*" in
"config validate "*) echo '{"valid": true}' ;;
"gateway status "*) echo '{"rpc": {"ok": true}}' ;;
*) echo "unknown command" >&2; exit 1 ;;
esac
"""


def install_stub_openclaw(home: Path) -> None:
    """Puts the program where it is found."""
    program = home / ".local/bin/openclaw"
    program.parent.mkdir(parents=True, exist_ok=True)
    program.write_text(SCRIPT)
    program.chmod(0o755)
