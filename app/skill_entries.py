"""The configuration entries of skills, kept in the ecosystem's own configuration file under skills.entries."""

from __future__ import annotations

import json

from . import arguments, files, json_edit, paths
from .documents import parse_json
from .errors import BackendError, explained

_PLACE = ("skills", "entries")
_FAR_NUMBER = object()
"""Stands for a number that is too large to be read. Elsewhere in the file it does no harm: it is never written anew."""


def get_skill_entry(ecosystem: object, skill_key: object) -> dict[str, object]:
    """The entry of a skill as the configuration file has it; an empty object when it has none.

    Raises `BackendError` when the file cannot be read or is not valid JSON, or a number in the entry is too large.
    """
    owner = arguments.ecosystem(ecosystem)
    key = arguments.filled_text(skill_key, "skill key")
    value: object = _parsed(owner, _text(owner, _content(owner)))
    for step in (*_PLACE, key):
        value = value.get(step) if isinstance(value, dict) else None
    if not isinstance(value, dict):
        return {}
    if _printed(value) is None:
        raise BackendError(
            f"A number in the entry of {arguments.quoted(key)} in {paths.config_path(owner)} is too large. "
            "Correct it in the configuration editor first."
        )
    return value


def save_skill_entry(ecosystem: object, skill_key: object, entry: object) -> dict[str, object]:
    """Save the entry of a skill: an object of "enabled", "apiKey", "env" (texts by name) and "config".

    Nothing else in the file changes, not even its layout, and neither do members of the entry that are not given. The
    file is copied beside itself before, under its name, ".bak." and the local time. Since it holds credentials,
    others than its owner and group may do nothing with it. Answers "path". Raises `BackendError`, with the file intact.
    """
    owner = arguments.ecosystem(ecosystem)
    key = arguments.filled_text(skill_key, "skill key")
    wanted = _checked(entry)
    path = paths.config_path(owner)
    with files.exclusive():
        content = _content(owner)
        before = _text(owner, content)
        after = _with_entry(owner, before, key, wanted)
        if after != before:
            with explained(f"Cannot save {path}"):
                if content is not None:
                    files.keep_copy(path, content, "bak", files.OTHERS)
                mark = b"\xef\xbb\xbf" if content and content.startswith(b"\xef\xbb\xbf") else b""
                files.replace_file(path, mark + after.encode(), files.OTHERS)
    return {"path": path}


def _checked(entry: object) -> dict[str, object]:
    """The members of an entry that are ours to write."""
    given = arguments.json_object(entry, "skill entry")
    types = {"enabled": bool, "apiKey": str, "env": dict, "config": dict}
    wanted = {key: given[key] for key in types if key in given}
    for key, value in wanted.items():
        if not isinstance(value, types[key]):
            raise BackendError(f'The "{key}" of the skill entry has the wrong type.')
    environment = wanted.get("env", {})
    assert isinstance(environment, dict)
    for name, value in environment.items():
        if not isinstance(value, str):
            raise BackendError(f"The value of the variable {arguments.quoted(name)} must be text: put it in quotes.")
    return wanted


def _with_entry(ecosystem: str, text: str, key: str, wanted: dict[str, object]) -> str:
    """The configuration text with the wanted members of one entry; members that are the same are not touched."""
    path = (*_PLACE, key)
    present: object = _parsed(ecosystem, text)
    for step in path:
        present = present.get(step) if isinstance(present, dict) else None
    try:
        if not isinstance(present, dict):
            return json_edit.set_member(text, path, wanted)
        for name, value in wanted.items():
            if name not in present or _printed(present[name]) != _printed(value):
                text = json_edit.set_member(text, (*path, name), value)
    except ValueError as error:
        raise BackendError(
            f"In {paths.config_path(ecosystem)}, skills or skills.entries is not an object. "
            "Correct it in the configuration editor first."
        ) from error
    return text


def _printed(value: object) -> str | None:
    """The JSON text of a value, or None when there is a number in it that is too large."""
    try:
        return json.dumps(value)
    except TypeError:
        return None


def _content(ecosystem: str) -> bytes | None:
    path = paths.config_path(ecosystem)
    with explained(f"Cannot read {path}"):
        return files.read_file(path)


def _text(ecosystem: str, content: bytes | None) -> str:
    """The text of the configuration, without a byte-order mark; that of an empty object when there is nothing in it."""
    try:
        text = (content or b"").decode("utf-8-sig")
    except UnicodeDecodeError as error:
        raise _not_json(ecosystem, "it is not UTF-8 text") from error
    return text if text.strip() else "{}\n"


def _parsed(ecosystem: str, text: str) -> dict[str, object]:
    try:
        value = parse_json(text.encode(), lambda number: _FAR_NUMBER)
    except ValueError as error:
        raise _not_json(ecosystem, str(error)) from error
    if not isinstance(value, dict):
        raise _not_json(ecosystem, "it is not an object")
    return value


def _not_json(ecosystem: str, why: str) -> BackendError:
    return BackendError(
        f"The file {paths.config_path(ecosystem)} is not a JSON configuration: {why}. "
        "Correct it in the configuration editor first."
    )
