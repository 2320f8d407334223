"""The settings document, `~/.nelo/settings.json`. It may hold an API key, so only its owner can read it."""

from __future__ import annotations

from . import arguments, files, paths
from .documents import format_json, parse_object
from .errors import explained


def load_nelo_settings() -> dict[str, object]:
    """The settings document as it was saved. Empty when there is none, or when it is not understood.

    Raises `BackendError` when the file exists and cannot be read.
    """
    return parse_object(_content()) or {}


def save_nelo_settings(document: object) -> dict[str, object]:
    """Save the settings document and return {"path": its path}.

    Keys that only the earlier document has are kept, in its sections, too. An earlier document that is not understood
    is kept as a copy with a time in its name. Raises `BackendError`, with the earlier document intact.
    """
    settings = arguments.json_object(document, "settings document")
    path = paths.nelo_file("settings.json")
    with files.exclusive():
        content = _content()
        earlier = parse_object(content)
        with explained(f"Cannot save {path}"):
            if content is not None and earlier is None:
                files.keep_copy(path, content, "unreadable", files.GROUP_AND_OTHERS)
            files.replace_file(path, format_json(_merged(earlier or {}, settings)), files.GROUP_AND_OTHERS)
    return {"path": path}


def _content() -> bytes | None:
    path = paths.nelo_file("settings.json")
    with explained(f"Cannot read {path}"):
        return files.read_file(path)


def _merged(earlier: dict[str, object], later: dict[str, object]) -> dict[str, object]:
    merged = {**earlier, **later}
    for key, value in later.items():
        before = earlier.get(key)
        if isinstance(before, dict) and isinstance(value, dict):
            merged[key] = _merged(before, value)
    return merged
