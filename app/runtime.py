"""The `openclaw` runtime on this machine: its state, and its own set-up in a terminal."""

from __future__ import annotations

import os
import sys

from . import paths, terminal
from .errors import BackendError

VERSION_SECONDS = 5.0
"""How long the program may take to tell its version, and what is wrong with its configuration."""

RELEASE_FILES = ("/etc/os-release", "/usr/lib/os-release")
"""Where Linux systems name themselves: https://www.freedesktop.org/software/systemd/man/os-release.html"""


def openclaw_runtime_status() -> dict[str, object]:
    """Report whether the runtime is installed and configured. A key that is missing means unknown.

    Keys: "os", "installed", "binaryPath", "version" (or why the program does not tell it), "appExists", "appPath",
    "configExists", "configPath" (and what is wrong with the file). Never fails.
    """
    import functools
    import threading

    from . import openclaw_config, openclaw_program

    app = _desktop_application()
    config = openclaw_config.config_path()
    status: dict[str, object] = {
        "os": _operating_system(),
        "installed": False,
        "appExists": os.path.exists(app),
        "appPath": app,
        "configExists": os.path.isfile(config),
        "configPath": config,
    }
    binary = openclaw_program.path()
    if binary is None:
        return status

    problems: list[str] = []
    problem = functools.partial(openclaw_program.config_problem, binary, VERSION_SECONDS)
    check = threading.Thread(target=lambda: problems.append(problem()))
    if status["configExists"]:
        check.start()  # both questions take long, so the program is asked both at the same time
    status.update(installed=True, binaryPath=binary)
    version = openclaw_program.version(binary, VERSION_SECONDS)
    if version:
        status["version"] = version
    if status["configExists"]:
        check.join()
    if any(problems):
        status["configPath"] = f"{config}: {problems[0]}"
    return status


def launch_openclaw_install_or_configure_interactive() -> dict[str, object]:
    """Open a terminal in which OpenClaw adds an agent, or runs its first set-up if it has no configuration yet.

    Does not wait for it. Returns "command", the command that was started. Raises `BackendError` when OpenClaw is not
    installed, with the command that installs it, or when no terminal can be opened.
    """
    from . import openclaw_config

    is_configured = os.path.exists(openclaw_config.config_path())
    return _launch(*(("agents", "add") if is_configured else ("onboard",)))


def launch_openclaw_configure_interactive() -> dict[str, object]:
    """Open a terminal in which OpenClaw asks for its settings, or runs its first set-up if it has no configuration yet.

    Returns and raises the same as `launch_openclaw_install_or_configure_interactive`.
    """
    from . import openclaw_config

    return _launch("configure" if os.path.exists(openclaw_config.config_path()) else "onboard")


def _launch(*arguments: str) -> dict[str, object]:
    from . import openclaw_program

    binary = openclaw_program.path()
    if binary is None:
        raise BackendError(
            'OpenClaw is not installed: there is no program "openclaw" on PATH or where package managers put it. '
            f"{openclaw_program.how_to_install()}"
        )
    command = [binary, *arguments]
    terminal.open_terminal(command)
    return {"command": command}


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
