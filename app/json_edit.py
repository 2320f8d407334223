"""Changing one member of a JSON text and leaving every other character as it is.

Parsing and printing again would lose what the values do not hold: numbers as they were written, repeated keys, layout.
"""

from __future__ import annotations

import json
import re
from collections.abc import Sequence

_DECODER = json.JSONDecoder(parse_int=str, parse_float=str)  # only where a value ends is asked, never what it is
_SPACE = re.compile(r"[ \t\r\n]*")
_FIRST_INDENT = re.compile(r'\{[ \t]*\r?\n([ \t]+)"')


def set_member(text: str, path: Sequence[str], value: object) -> str:
    """The JSON text `text` with the member at `path` set to `value`; objects that are missing on the way are made.

    `text` must be valid and hold an object. Raises `ValueError` when a value on the way is no object.
    """
    indent = _FIRST_INDENT.match(text, _skip_space(text, 0))
    layout = _Layout(indent[1] if indent else "  ", "\r\n" if "\r\n" in text else "\n")
    return _set(text, _skip_space(text, 0), path, value, layout, 1)


class _Layout:
    """How the text is laid out, so that what is added looks like what was there."""

    def __init__(self, indent: str, line_end: str) -> None:
        self._indent = indent
        self._line_end = line_end

    def new_line(self, depth: int) -> str:
        return self._line_end + self._indent * depth

    def printed(self, value: object, depth: int | None) -> str:
        """A value at a depth, or on one line when there is none."""
        if depth is None:
            return json.dumps(value, ensure_ascii=False)
        return json.dumps(value, ensure_ascii=False, indent=self._indent).replace("\n", self.new_line(depth))


def _set(text: str, start: int, path: Sequence[str], value: object, layout: _Layout, depth: int) -> str:
    if not text.startswith("{", start):
        raise ValueError("not an object")
    members, end = _members(text, start)
    key, *rest = path
    # Of a repeated key the last one counts, as it does for every parser.
    found = next((member for member in reversed(members) if member[0] == key), None)
    is_one_line = "\n" not in text[start:end] and bool(members)
    if found and rest:
        return _set(text, found[1], rest, value, layout, depth + 1)
    if found:
        return text[: found[1]] + layout.printed(value, None if is_one_line else depth) + text[found[2] :]
    for name in reversed(rest):
        value = {name: value}
    if is_one_line:
        added = f", {json.dumps(key, ensure_ascii=False)}: {layout.printed(value, None)}"
        return text[: members[-1][2]] + added + text[members[-1][2] :]
    added = f"{layout.new_line(depth)}{json.dumps(key, ensure_ascii=False)}: {layout.printed(value, depth)}"
    if members:
        return text[: members[-1][2]] + "," + added + text[members[-1][2] :]
    return text[: start + 1] + added + layout.new_line(depth - 1) + text[end:]


def _members(text: str, start: int) -> tuple[list[tuple[str, int, int]], int]:
    """The members of the object that starts here, each as its key and where its value starts and ends; and its end."""
    members: list[tuple[str, int, int]] = []
    position = _skip_space(text, start + 1)
    while text[position] != "}":
        if text[position] == ",":
            position = _skip_space(text, position + 1)
        key, position = _DECODER.raw_decode(text, position)
        value_start = _skip_space(text, _skip_space(text, position) + 1)
        _, value_end = _DECODER.raw_decode(text, value_start)
        members.append((key, value_start, value_end))
        position = _skip_space(text, value_end)
    return members, position


def _skip_space(text: str, position: int) -> int:
    match = _SPACE.match(text, position)
    return match.end() if match else position
