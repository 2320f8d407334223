"""The configuration file of codex, `config.toml`: https://developers.openai.com/codex/config-reference"""

from __future__ import annotations

import json
import os
from collections.abc import Mapping
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
        values = toml_text.parse(_decoded(_content()), f"Reading {path()}")
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
        content = _content()
        before = _decoded(content)
        try:
            after = _switched(tomlkit, before, skill_key, skill_name, is_on)
            is_in_place = _is_switched(before, after, skill_key, skill_name, is_on)
        except (ValueError, TypeError, AttributeError) as error:
            raise _not_toml(error) from error
        if not is_in_place:
            raise BackendError(f"The file {path()} cannot be changed in place. Switch the skill in an editor.")
        with explained(f"Cannot save {path()}"):
            if content is not None:
                files.keep_copy(path(), content, "bak", files.OTHERS)
            files.refuse_changed(path(), content)
            files.replace_file(path(), after.encode(), files.OTHERS)


def with_value(text: str, key: str, value: str) -> str:
    """A TOML text with another value of one key. Raises `ValueError` when it is no TOML, and `BackendError`."""
    tomlkit = library("tomlkit", "Changing a TOML file")
    document = tomlkit.parse(text)
    document[key] = value
    changed: str = tomlkit.dumps(document)
    wanted: dict[str, object] = {**toml_text.parse(text, "Reading a TOML file"), key: value}
    if _printed(toml_text.parse(changed, "Reading a TOML file")) != _printed(wanted):
        raise ValueError("it cannot be changed in place")
    return changed


def _switched(tomlkit: Any, text: str, skill_key: str, skill_name: str, is_on: bool) -> str:
    """The text with the last entry of a skill changed where it is of its path, otherwise with one more, which counts
    more than those before it."""
    document = tomlkit.parse(text)
    found = _matching(_entries(document), skill_key, skill_name)
    entries = document.get("skills", {}).get("config")
    if found and "path" in found[-1]:
        found[-1]["enabled"] = is_on
    elif isinstance(entries, tomlkit.items.Array):
        added = tomlkit.inline_table()
        added.update({"path": skill_key, "enabled": is_on})
        entries.append(added)
    else:  # the library may add a table without a line break before it, or repeat others
        line_end = "\r\n" if "\r\n" in text else "\n"
        lines = ["[[skills.config]]", f"path = {tomlkit.item(skill_key).as_string()}", f"enabled = {str(is_on).lower()}"]
        ending = "" if text.endswith("\n") or not text else line_end
        return text + ending + line_end.join([*[""][: len(text)], *lines, ""])
    changed: str = tomlkit.dumps(document)
    return changed


def _is_switched(before: str, after: str, skill_key: str, skill_name: str, is_on: bool) -> bool:
    """Whether a text equals another one except for one skill: the library fails when tables are scattered."""
    wanted = toml_text.parse(before, f"Reading {path()}")
    found = _matching(_entries(wanted), skill_key, skill_name)
    if found and "path" in found[-1]:
        found[-1]["enabled"] = is_on
    else:
        section: Any = wanted.setdefault("skills", {})
        section.setdefault("config", []).append({"path": skill_key, "enabled": is_on})
    try:
        return _printed(toml_text.parse(after, f"Reading {path()}")) == _printed(wanted)
    except ValueError:
        return False


def _printed(values: Mapping[str, object]) -> str:
    return json.dumps(values, default=str, sort_keys=True)


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


def _content() -> bytes | None:
    with explained(f"Cannot read {path()}"):
        return files.read_file(path())


def _decoded(content: bytes | None) -> str:
    try:
        return (content or b"").decode()
    except UnicodeDecodeError as error:
        raise _not_toml("it is not UTF-8 text") from error


def _not_toml(why: object) -> BackendError:
    return BackendError(f"The file {path()} is not a TOML configuration: {why}. Correct it first.")
