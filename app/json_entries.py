"""The configuration entries of skills in a JSON file, under skills.entries."""

from __future__ import annotations

import json
from collections.abc import Mapping

from . import arguments, files, json5_edit
from .documents import parse_json
from .errors import BackendError, explained

_PLACE = ("skills", "entries")
_FAR_NUMBER = object()
"""Stands for a number that is too large to be read. Elsewhere in the file it does no harm: it is never written anew."""


def entry(path: str, key: str) -> dict[str, object]:
    """The entry of a skill as the file has it; an empty object when it has none.

    Raises `BackendError` when the file cannot be read or is not valid JSON, or a number in the entry is too large.
    """
    value: object = _parsed(path, _text(path, _content(path)))
    for step in (*_PLACE, key):
        value = value.get(step) if isinstance(value, dict) else None
    if not isinstance(value, dict):
        return {}
    if _printed(value) is None:
        raise BackendError(
            f"A number in the entry of {arguments.quoted(key)} in {path} is too large. "
            "Correct it in the configuration editor first."
        )
    return value


def save_entry(path: str, key: str, wanted: Mapping[str, object]) -> str:
    """Save members of the entry of a skill and answer the path.

    Nothing else in the file changes, not even its layout, and neither do members of the entry that are not given. The
    file is copied beside itself before, under its name, ".bak." and the local time. Since it holds credentials,
    others than its owner and group may do nothing with it. Raises `BackendError`, with the file intact.
    """
    with files.exclusive():
        content = _content(path)
        before = _text(path, content)
        after = _with_entry(path, before, key, wanted)
        if after != before:
            with explained(f"Cannot save {path}"):
                if content is not None:
                    files.keep_copy(path, content, "bak", files.OTHERS)
                mark = b"\xef\xbb\xbf" if content and content.startswith(b"\xef\xbb\xbf") else b""
                files.replace_file(path, mark + after.encode(), files.OTHERS)
    return path


def _with_entry(file: str, text: str, key: str, wanted: Mapping[str, object]) -> str:
    """The configuration text with the wanted members of one entry; members that are the same are not touched."""
    path = (*_PLACE, key)
    present: object = _parsed(file, text)
    for step in path:
        present = present.get(step) if isinstance(present, dict) else None
    try:
        if not isinstance(present, dict):
            return json5_edit.set_member(text, path, dict(wanted))
        for name, value in wanted.items():
            if name not in present or _printed(present[name]) != _printed(value):
                text = json5_edit.set_member(text, (*path, name), value)
    except ValueError as error:
        raise BackendError(
            f"In {file}, skills or skills.entries is not an object. "
            "Correct it in the configuration editor first."
        ) from error
    return text


def _printed(value: object) -> str | None:
    """The JSON text of a value, or None when there is a number in it that is too large."""
    try:
        return json.dumps(value)
    except TypeError:
        return None


def _content(file: str) -> bytes | None:
    with explained(f"Cannot read {file}"):
        return files.read_file(file)


def _text(file: str, content: bytes | None) -> str:
    """The text of the configuration, without a byte-order mark; that of an empty object when there is nothing in it."""
    try:
        text = (content or b"").decode("utf-8-sig")
    except UnicodeDecodeError as error:
        raise _not_json(file, "it is not UTF-8 text") from error
    return text if text.strip() else "{}\n"


def _parsed(file: str, text: str) -> dict[str, object]:
    try:
        value = parse_json(text.encode(), lambda number: _FAR_NUMBER)
    except ValueError as error:
        raise _not_json(file, str(error)) from error
    if not isinstance(value, dict):
        raise _not_json(file, "it is not an object")
    return value


def _not_json(file: str, why: str) -> BackendError:
    return BackendError(
        f"The file {file} is not a JSON configuration: {why}. "
        "Correct it in the configuration editor first."
    )
