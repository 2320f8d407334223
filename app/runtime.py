"""The `openclaw` runtime on this machine: its state, and its own set-up in a terminal."""

from __future__ import annotations

import os
import sys

from . import paths, programs, terminal
from .errors import BackendError

VERSION_SECONDS = 5.0
"""How long the program may take to tell its version."""

RELEASE_FILES = ("/etc/os-release", "/usr/lib/os-release")
"""Where Linux systems name themselves: https://www.freedesktop.org/software/systemd/man/os-release.html"""

_VERSION_LENGTH = 200


def openclaw_runtime_status() -> dict[str, object]:
    """Report whether the runtime is installed and configured. A key that is missing means unknown.

    Keys: "os", "installed", "binaryPath", "version", "appExists", "appPath", "configExists", "configPath". Never fails.
    """
    app = _desktop_application()
    config = paths.config_path("openclaw")
    status: dict[str, object] = {
        "os": _operating_system(),
        "installed": False,
        "appExists": os.path.exists(app),
        "appPath": app,
        "configExists": os.path.isfile(config),
        "configPath": config,
    }
    binary = programs.find_program("openclaw")
    if binary is None:
        return status
    status["installed"] = True
    status["binaryPath"] = binary
    version = _version(binary)
    if version:
        status["version"] = version
    return status


def launch_openclaw_install_or_configure_interactive() -> dict[str, object]:
    """Open a terminal with the runtime's own set-up, and do not wait for it. Answers "command", what was started.

    Raises `BackendError` when the runtime is not installed, with how to get it, or when no terminal can be opened.
    """
    binary = programs.find_program("openclaw")
    if binary is None:
        raise BackendError(
            'OpenClaw is not installed: there is no program "openclaw" on PATH or in the usual bin folders. '
            "Run its installer script, install.sh, and try again."
        )
    command = [binary, "configure"]
    terminal.open_terminal(command)
    return {"command": command}


def launch_openclaw_configure_interactive() -> dict[str, object]:
    """The same as `launch_openclaw_install_or_configure_interactive`: the runtime's set-up serves both."""
    return launch_openclaw_install_or_configure_interactive()


def _version(binary: str) -> str:
    """The first line that the program writes when asked for its version, or nothing."""
    output = programs.output_of([binary, "--version"], VERSION_SECONDS) or b""
    for line in output.decode(errors="replace").splitlines():
        text = "".join(filter(str.isprintable, " ".join(line.split())))
        if text:
            return text[:_VERSION_LENGTH]
    return ""


def _operating_system() -> str:
    """The name and version of the system, as its makers write it."""
    if sys.platform == "darwin":
        import platform

        return f"macOS {platform.mac_ver()[0]}"
    return _release_name() or os.uname().sysname


def _release_name() -> str:
    """PRETTY_NAME of the first release file that has one."""
    import shlex

    for path in RELEASE_FILES:
        try:
            with open(path, encoding="utf-8", errors="replace") as file:
                for line in file:
                    key, _, value = line.partition("=")
                    if key == "PRETTY_NAME":
                        return " ".join(shlex.split(value))
        except (OSError, ValueError):
            continue
    return ""


def _desktop_application() -> str:
    """Where the runtime's desktop application is, or where it would be installed for this user."""
    places = _application_places()
    return next(filter(os.path.exists, places), places[0])


def _application_places() -> list[str]:
    """Bundles on macOS; on Linux the desktop entry that every installed application registers."""
    if sys.platform == "darwin":
        return ["/Applications/OpenClaw.app", os.path.join(paths.home(), "Applications/OpenClaw.app")]
    user_data = os.environ.get("XDG_DATA_HOME", "")
    if not os.path.isabs(user_data):
        user_data = os.path.join(paths.home(), ".local/share")
    system_data = os.environ.get("XDG_DATA_DIRS") or "/usr/local/share:/usr/share"
    folders = [user_data, *filter(None, system_data.split(":"))]
    return [os.path.join(folder, "applications", "openclaw.desktop") for folder in folders]
