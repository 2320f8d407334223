"""The configuration file of codex, `config.toml`: https://developers.openai.com/codex/config-reference"""

from __future__ import annotations

import os
from typing import Any

from . import files, paths, toml_text
from .errors import BackendError, explained
from .libraries import library


def folder() -> str:
    """Where the program keeps its things."""
    chosen = os.environ.get("CODEX_HOME", "")
    return chosen if os.path.isabs(chosen) else os.path.join(paths.home(), ".codex")


def path() -> str:
    """The configuration file that the program reads."""
    return os.path.join(folder(), "config.toml")


def is_enabled(skill_key: str, skill_name: str | None) -> bool:
    """Whether a skill is on: the last of the entries of its path or its name counts. Raises `BackendError`."""
    try:
        values = toml_text.parse(_text(), f"Reading {path()}")
    except ValueError as error:
        raise _not_toml(error) from error
    found = _matching(_entries(values), skill_key, skill_name)
    return not found or found[-1].get("enabled") is not False


def set_enabled(skill_key: str, skill_name: str, is_on: bool) -> None:
    """Switch a skill on or off. Nothing else in the file changes; it is copied beside itself before.

    Raises `BackendError`, with the file intact.
    """
    if is_enabled(skill_key, skill_name) == is_on:
        return
    tomlkit = library("tomlkit", f"Changing {path()}")
    with files.exclusive():
        before = _text()
        try:
            document = tomlkit.parse(before)
            _switch(tomlkit, document, skill_key, skill_name, is_on)
        except (ValueError, TypeError, AttributeError) as error:
            raise _not_toml(error) from error
        with explained(f"Cannot save {path()}"):
            if os.path.exists(path()):
                files.keep_copy(path(), before.encode(), "bak", files.OTHERS)
            files.replace_file(path(), tomlkit.dumps(document).encode(), files.OTHERS)


def with_value(text: str, key: str, value: str) -> str:
    """A TOML text with another value of one key. Raises `ValueError` when it is no TOML, and `BackendError`."""
    tomlkit = library("tomlkit", "Changing a TOML file")
    document = tomlkit.parse(text)
    document[key] = value
    changed: str = tomlkit.dumps(document)
    return changed


def _switch(tomlkit: Any, document: Any, skill_key: str, skill_name: str, is_on: bool) -> None:
    """Change the last entry of a skill where it is of its path, otherwise add one, which counts more."""
    found = _matching(_entries(document), skill_key, skill_name)
    if found and "path" in found[-1]:
        found[-1]["enabled"] = is_on
        return
    section = document.setdefault("skills", tomlkit.table(True))
    if "config" not in section:
        section["config"] = tomlkit.aot()
    added = tomlkit.table() if isinstance(section["config"], tomlkit.items.AoT) else tomlkit.inline_table()
    added.update({"path": skill_key, "enabled": is_on})
    section["config"].append(added)


def _entries(values: Any) -> list[Any]:
    """The entries of skills in a configuration that was read."""
    section = values.get("skills")
    entries = section.get("config") if isinstance(section, dict) else None
    return [entry for entry in entries if isinstance(entry, dict)] if isinstance(entries, list) else []


def _matching(entries: list[Any], skill_key: str, skill_name: str | None) -> list[Any]:
    """The entries of a skill, by its path or its name; the program takes none that has both."""
    return [
        entry
        for entry in entries
        if ("path" in entry) != ("name" in entry)
        and (_is_path(entry.get("path"), skill_key) or (skill_name and entry.get("name") == skill_name))
    ]


def _is_path(value: object, skill_key: str) -> bool:
    return isinstance(value, str) and os.path.realpath(os.path.expanduser(value)) == skill_key


def _text() -> str:
    with explained(f"Cannot read {path()}"):
        content = files.read_file(path())
    try:
        return (content or b"").decode()
    except UnicodeDecodeError as error:
        raise _not_toml("it is not UTF-8 text") from error


def _not_toml(why: object) -> BackendError:
    return BackendError(f"The file {path()} is not a TOML configuration: {why}. Correct it first.")
