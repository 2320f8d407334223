"""Finding other programs on this machine, and the environment in which they are started."""

from __future__ import annotations

import os
import re

USER_FOLDERS = (
    ".local/bin",
    "bin",
    ".openclaw/bin",
    ".npm-global/bin",
    ".bun/bin",
    ".volta/bin",
    ".local/share/pnpm",
    "Library/pnpm",
    ".cargo/bin",
)
"""The folders below the home folder in which installers and package managers put programs of one user."""

VERSION_FOLDERS = (
    ("NVM_DIR", (".nvm",), "versions/node/*/bin"),
    ("FNM_DIR", (".local/share/fnm", ".fnm", "Library/Application Support/fnm"), "aliases/default/bin"),
    ("FNM_DIR", (".local/share/fnm", ".fnm", "Library/Application Support/fnm"), "node-versions/*/installation/bin"),
    ("ASDF_DATA_DIR", (".asdf",), "shims"),
    ("ASDF_DATA_DIR", (".asdf",), "installs/nodejs/*/bin"),
)
"""Of each manager of Node versions: the variable that names its folder, where that is below the home folder otherwise,
and where it has programs."""

SYSTEM_FOLDERS = ("/usr/local/bin", "/opt/homebrew/bin", "/home/linuxbrew/.linuxbrew/bin")


def search_folders() -> list[str]:
    """The folders in which programs are looked for, first match first, each once.

    PATH alone is not enough: a program that is started from the desktop does not get the PATH of a shell. A relative
    folder in PATH is left out: it would depend on the folder in which we run.
    """
    home = os.path.expanduser("~")
    on_path = [folder for folder in os.environ.get("PATH", "").split(os.pathsep) if os.path.isabs(folder)]
    usual = [os.path.join(home, folder) for folder in USER_FOLDERS]
    return list(dict.fromkeys([*on_path, *_npm_folder(home), *usual, *_version_folders(home), *SYSTEM_FOLDERS]))


def _npm_folder(home: str) -> list[str]:
    """The folder in which npm puts programs of this user, if npm's prefix was set."""
    prefix = os.environ.get("NPM_CONFIG_PREFIX") or os.environ.get("npm_config_prefix") or ""
    if not prefix:
        try:
            with open(os.path.join(home, ".npmrc"), encoding="utf-8", errors="replace") as file:
                settings = dict(line.partition("=")[::2] for line in file)
        except OSError:
            return []
        prefix = next((value for key, value in settings.items() if key.strip() == "prefix"), "").strip().strip("\"'")
    folder = os.path.expanduser(prefix.replace("${HOME}", home))
    return [os.path.join(folder, "bin")] if os.path.isabs(folder) else []


def _version_folders(home: str) -> list[str]:
    """The folders in which managers of Node versions have programs. Each manager's newest version comes first."""
    import glob

    found: list[str] = []
    for variable, usual, pattern in VERSION_FOLDERS:
        chosen = os.environ.get(variable, "")
        for top in [chosen] if os.path.isabs(chosen) else [os.path.join(home, folder) for folder in usual]:
            found += sorted(glob.glob(os.path.join(glob.escape(top), pattern)), key=_version, reverse=True)
    return found


def _version(path: str) -> list[int]:
    return [int(number) for number in re.findall(r"\d+", path)]


def find_program(name: str) -> str | None:
    """The absolute path of the executable file `name`, or None."""
    for folder in search_folders():
        path = os.path.join(folder, name)
        if os.path.isfile(path) and os.access(path, os.X_OK):
            return path
    return None


def environment(program: str) -> dict[str, str]:
    """The environment for a found program: its PATH has the program's own folder and every search folder.

    So a script of a version manager finds the interpreter for which it was installed, and not an older one.
    """
    folders = dict.fromkeys([os.path.dirname(program), *search_folders()])
    return {**os.environ, "PATH": os.pathsep.join(folders)}
