"""The settings of openclaw's skills, which are in its configuration file under skills.entries."""

from __future__ import annotations

import json
from collections.abc import Mapping, Sequence

from . import arguments, files, json5_edit, openclaw_config, openclaw_program
from .errors import BackendError, explained
from .openclaw_config import Configuration, config_path

_PLACE = ("skills", "entries")
_TYPES = {"enabled": bool, "apiKey": str, "env": dict, "config": dict}


def entry(skill_key: str) -> dict[str, object]:
    """The settings of a skill.

    A key is missing when its value is a reference to a secret, or has a type that the program does not know.
    """
    present = openclaw_config.read().section(*_PLACE, skill_key)
    found = {key: present[key] for key, kind in _TYPES.items() if isinstance(present.get(key), kind)}
    if "env" in found:
        found["env"] = _texts(found["env"])
    try:
        arguments.json_object(found, "entry")
    except BackendError as error:
        raise BackendError(
            f"A value in the entry of {arguments.quoted(skill_key)} in {config_path()} cannot be shown. "
            "Correct it in the configuration editor first."
        ) from error
    return found


def save_entry(skill_key: str, wanted: Mapping[str, object]) -> str:
    """Change settings of a skill in place. The program checks a copy before, and an earlier copy is kept.

    A reference to a secret stays unless a new secret is given. An empty value is not written where there was none. The
    file holds credentials, so only its owner and group keep their permissions. Returns the file's path. Raises
    `BackendError`, and then the file is unchanged.
    """
    path = config_path()
    before = openclaw_config.read()
    changes = _changes(before.section(*_PLACE, skill_key), wanted)
    if not changes:
        return path
    content = _changed(before, skill_key, changes)
    with files.exclusive(), explained(f"Cannot save {path}"):
        with files.private_copy(path, content) as candidate:
            problem = openclaw_program.check(candidate)
        if problem:
            raise BackendError(f"The settings were not saved: {problem}")
        files.refuse_changed(path, before.content)
        if before.content is not None:
            files.keep_copy(path, before.content, "bak", files.OTHERS)
        files.replace_file(path, content, files.OTHERS)
    return path


def _changes(present: Mapping[str, object], wanted: Mapping[str, object]) -> dict[str, object]:
    """The members of an entry that are to be written."""
    changes: dict[str, object] = {}
    for key, value in wanted.items():
        old = present.get(key)
        if key == "apiKey" and value == "" and not isinstance(old, str):
            continue  # there is none, or it is a reference
        if key in ("env", "config") and value == {} and key not in present:
            continue
        if key == "env" and isinstance(value, dict) and isinstance(old, dict):
            value = {**{name: it for name, it in old.items() if not isinstance(it, str)}, **value}
        if _printed(old) != _printed(value) or key not in present:
            changes[key] = value
    return changes


def _changed(before: Configuration, skill_key: str, changes: Mapping[str, object]) -> bytes:
    """The content of the configuration with some members of an entry changed."""
    mark = b"\xef\xbb\xbf" if (before.content or b"").startswith(b"\xef\xbb\xbf") else b""
    text = openclaw_config.text_of(before.content)
    text = text if text.strip() else "{}\n"
    entries = before.section(*_PLACE)
    try:
        if isinstance(entries.get(skill_key), dict):
            for key, value in changes.items():
                text = json5_edit.set_member(text, (*_PLACE, skill_key, key), value)
        else:
            text = json5_edit.set_member(text, (*_PLACE, skill_key), dict(changes))
    except ValueError as error:
        raise BackendError(
            f"In {config_path()}, skills or skills.entries is not an object. "
            "Correct it in the configuration editor first."
        ) from error
    content = mark + text.encode()
    wanted = _with(before.value, (*_PLACE, skill_key), {**_object(entries.get(skill_key)), **changes})
    if _printed(openclaw_config.parsed(content).value) != _printed(wanted):
        raise BackendError(f"The file {config_path()} cannot be changed in place. Use the configuration editor.")
    return content


def _with(value: object, path: Sequence[str], wanted: object) -> object:
    """A value whose member at a path is another one."""
    if not path:
        return wanted
    present = _object(value)
    return {**present, path[0]: _with(present.get(path[0]), path[1:], wanted)}


def _printed(value: object) -> str:
    return json.dumps(value, sort_keys=False)


def _texts(value: object) -> dict[str, str]:
    return {name: it for name, it in _object(value).items() if isinstance(it, str)}


def _object(value: object) -> dict[str, object]:
    return value if isinstance(value, dict) else {}
