"""The settings of skills, which each agent program keeps in its own way."""

from __future__ import annotations

from . import arguments
from .errors import BackendError

_TYPES = {"enabled": bool, "apiKey": str, "env": dict, "config": dict}


def get_skill_entry(ecosystem: object, skill_key: object) -> dict[str, object]:
    """The settings of a skill, some of "enabled", "apiKey", "env" and "config". Empty when it has none.

    Raises `BackendError` when the program's configuration cannot be read.
    """
    from .ecosystems import ecosystem as implementation

    return implementation(ecosystem).entry(arguments.filled_text(skill_key, "skill key"))


def save_skill_entry(ecosystem: object, skill_key: object, entry: object) -> dict[str, object]:
    """Save settings of a skill: an object of "enabled", "apiKey", "env" (texts by name) and "config".

    Returns "path", the file that has them now. Raises `BackendError` also when the program cannot keep a setting. Then
    the file is unchanged.
    """
    from .ecosystems import ecosystem as implementation

    program = implementation(ecosystem)
    key = arguments.filled_text(skill_key, "skill key")
    return {"path": program.save_entry(key, _checked(entry))}


def _checked(entry: object) -> dict[str, object]:
    """The members of an entry that can be saved. Raises `BackendError` when one has a wrong type."""
    given = arguments.json_object(entry, "skill entry")
    wanted = {key: given[key] for key in _TYPES if key in given}
    for key, value in wanted.items():
        if not isinstance(value, _TYPES[key]):
            raise BackendError(f'The "{key}" of the skill entry has the wrong type.')
    environment = wanted.get("env", {})
    assert isinstance(environment, dict)
    for name, value in environment.items():
        if not isinstance(value, str):
            raise BackendError(f"The value of the variable {arguments.quoted(name)} must be text: put it in quotes.")
    return wanted
