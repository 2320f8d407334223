"""Opening the platform's terminal program with a command in it."""

from __future__ import annotations

import os
import sys
from collections.abc import Sequence

from . import programs
from .errors import BackendError, reason

TERMINALS = (
    ("x-terminal-emulator", ("-e",)),
    ("gnome-terminal", ("--",)),
    ("ptyxis", ("--",)),
    ("kgx", ("--",)),
    ("konsole", ("-e",)),
    ("xfce4-terminal", ("-x",)),
    ("mate-terminal", ("-x",)),
    ("kitty", ()),
    ("alacritty", ("-e",)),
    ("wezterm", ("start", "--")),
    ("foot", ()),
    ("xterm", ("-e",)),
    ("urxvt", ("-e",)),
)
"""Terminal programs of Linux desktops, with the arguments that come before the command. The first one is Debian's link
to the user's choice."""

OSASCRIPT = "/usr/bin/osascript"
"""The program through which macOS lets one application ask another."""

START_SECONDS = 0.3
"""A terminal that cannot open a window ends within this time."""

_SCRIPT_SECONDS = 10.0

_STAY_OPEN = '"$0" "$@"; printf "\\nPress Return to close this window. "; read -r _ || :'


def open_terminal(command: Sequence[str]) -> None:
    """Open a terminal window that runs `command`, an absolute path and arguments, and stays open when it ends.

    Does not wait for it. Raises `BackendError` when no terminal program is installed, or when it does not start.
    """
    if sys.platform == "darwin":
        _open_on_macos(command)
        return
    for name, prefix in TERMINALS:
        path = programs.find_program(name)
        if path:
            _start_detached([path, *prefix, "/bin/sh", "-c", _STAY_OPEN, *command], programs.environment(command[0]))
            return
    raise BackendError(
        "No terminal program was found. Install one, for example xterm, "
        f'or run "{os.path.basename(command[0])} {" ".join(command[1:])}" in a terminal of yours.'
    )


def macos_script(command: Sequence[str]) -> list[str]:
    """The command that makes the Terminal application of macOS run another one in a new window."""
    import shlex

    line = shlex.join(command).replace("\\", "\\\\").replace('"', '\\"')
    application = 'tell application "Terminal" to'
    return [OSASCRIPT, "-e", f'{application} do script "{line}"', "-e", f"{application} activate"]


def _open_on_macos(command: Sequence[str]) -> None:
    from . import processes

    if processes.run(macos_script(command), _SCRIPT_SECONDS).status != 0:
        raise BackendError(
            "Terminal did not open. Allow Nelo to control it under System Settings, Privacy & Security, Automation."
        )


def _start_detached(command: Sequence[str], environment: dict[str, str]) -> None:
    """Start a program that outlives us, shares no stream with us, and is never left as a zombie."""
    import subprocess
    import threading

    name = os.path.basename(command[0])
    try:
        child = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            cwd=os.path.expanduser("~"),
            env=environment,
            start_new_session=True,
        )
    except OSError as error:
        raise BackendError(f"The terminal program {name} does not start: {reason(error)}.") from error
    try:
        status = child.wait(START_SECONDS)
    except subprocess.TimeoutExpired:
        threading.Thread(target=child.wait, name="terminal", daemon=True).start()
        return
    if status != 0:
        raise BackendError(f"The terminal program {name} ended at once with status {status}. Is there a desktop?")
