"""Checking what the caller passed.

Each check returns the value, or raises a `BackendError` that says what to change.
"""

from __future__ import annotations

from . import paths
from .errors import BackendError

_NAME_BYTES = 255
_SHOWN_LENGTH = 60
_DIRECTIONS = frozenset("\u061c\u200e\u200f\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069")
"""The characters with Unicode's property Bidi_Control, which can make one id look like another."""


def text(value: object, what: str) -> str:
    """A text as it is. `what` names it in the sentence, for example "agent's name"."""
    if not isinstance(value, str):
        raise BackendError(f"The {what} must be text.")
    try:
        value.encode()
    except UnicodeEncodeError as error:
        raise BackendError(f"The {what} holds half a character.") from error
    return value


def filled_text(value: object, what: str) -> str:
    """A text that says something, without white space at its ends."""
    answer = text(value, what).strip()
    if not answer:
        raise BackendError(f"The {what} is empty.")
    return answer


def ecosystem(value: object) -> str:
    """One of the known ecosystems, compared exactly."""
    if value not in paths.ECOSYSTEMS:
        raise BackendError(f"{quoted(value)} is no known ecosystem. Choose {', '.join(paths.ECOSYSTEMS)}.")
    return str(value)


def folder_name(value: object, what: str) -> str:
    """A text that can be the name of one visible folder. So it cannot lead out of the folder above it."""
    name = text(value, what)
    problem = folder_name_problem(name)
    if problem:
        raise BackendError(f"The {what} {quoted(name)} {problem}." if name else f"The {what} {problem}.")
    return name


def folder_name_problem(name: str) -> str:
    """Why `name` cannot be the name of one visible folder, as the end of a sentence. Empty when it can."""
    if not name:
        return "is empty"
    if "/" in name or name.startswith("."):
        return "may not hold a slash or begin with a dot"
    if any(ord(character) < 32 or ord(character) == 127 for character in name):
        return "may not hold control characters"
    if name != name.strip():
        return "may not begin or end with a blank"
    if not _DIRECTIONS.isdisjoint(name):
        return "may not hold characters that change the direction of the text"
    if not is_text(name):
        return "is not text"
    return f"is longer than {_NAME_BYTES} bytes" if len(name.encode()) > _NAME_BYTES else ""


def is_text(name: str) -> bool:
    """Whether a file's name is text; JSON cannot carry one that is not UTF-8."""
    try:
        name.encode()
    except UnicodeEncodeError:
        return False
    return True


def quoted(value: object) -> str:
    """A value in double quotes for a sentence."""
    return f'"{shortened(value)}"'


def shortened(value: object, length: int = _SHOWN_LENGTH) -> str:
    """The text of a value on one line, cut after `length` characters, so that the sentence around it stays readable."""
    shown = "".join(character if character.isprintable() else "\ufffd" for character in str(value))
    return shown if len(shown) <= length else shown[: length - 1] + "…"


def json_object(value: object, what: str) -> dict[str, object]:
    """A JSON object that can be written as JSON in UTF-8."""
    import json

    if not isinstance(value, dict):
        raise BackendError(f"The {what} must be an object.")
    try:
        json.dumps(value, ensure_ascii=False, allow_nan=False).encode()
    except (ValueError, RecursionError) as error:
        raise BackendError(f"The {what} holds a value that JSON cannot carry.") from error
    return value
