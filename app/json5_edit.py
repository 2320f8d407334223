"""Changing one member of a JSON5 text and leaving every other character as it is.

Parsing and printing would lose comments, the notation of numbers and the layout.
"""

from __future__ import annotations

import json
import re
from collections.abc import Sequence
from dataclasses import dataclass

_SPACE = re.compile(r"(?:[\s\ufeff]+|//[^\n\r\u2028\u2029]*|/\*.*?\*/)*", re.DOTALL)
_REST_OF_LINE = re.compile(r"(?:[ \t]*/\*[^\n\r]*?\*/)*[ \t]*//[^\n\r]*|(?:[ \t]*/\*[^\n\r]*?\*/)+(?=[ \t]*[\r\n])")
_STRING = r'"(?:[^"\\]|\\.)*"|' + r"'(?:[^'\\]|\\.)*'"
_SKIPPED = re.compile(rf"(?:{_STRING}|//[^\n\r\u2028\u2029]*|/\*.*?\*/|[^\[\]{{}}\"'/]|/)*", re.DOTALL)
_PLAIN = re.compile(r"[^\s\ufeff,:\[\]{}/]+")
_QUOTED = re.compile(_STRING, re.DOTALL)
_ESCAPE = re.compile(r"\\(?:u([0-9A-Fa-f]{4})|x([0-9A-Fa-f]{2})|(\r\n|.))", re.DOTALL)
_ESCAPED = {"b": "\b", "f": "\f", "n": "\n", "r": "\r", "t": "\t", "v": "\v", "0": "\0"}
_LINE_ENDS = ("\n", "\r", "\r\n", "\u2028", "\u2029")
_FIRST_INDENT = re.compile(r"\{[^\n]*\n([ \t]+)[^\s}]")


@dataclass(frozen=True)
class _Member:
    key: str
    start: int
    """Where its value starts."""
    end: int


def set_member(text: str, path: Sequence[str], value: object) -> str:
    """The JSON5 text `text` with the member at `path` set to `value`. Objects that are missing on the way are added.

    `text` must be valid and hold an object. Raises `ValueError` when a value on the way is no object.
    """
    start = _skip_space(text, 0)
    indent = _FIRST_INDENT.match(text, start)
    layout = _Layout(indent[1] if indent else "  ", "\r\n" if "\r\n" in text else "\n")
    return _set(text, start, path, value, layout, 1)


class _Layout:
    """The layout of the text. What is added gets the same layout."""

    def __init__(self, indent: str, line_end: str) -> None:
        self._indent = indent
        self._line_end = line_end

    def new_line(self, depth: int) -> str:
        return self._line_end + self._indent * depth

    def printed(self, value: object, depth: int | None) -> str:
        """A value as text, indented for `depth`, or on one line when `depth` is None."""
        if depth is None:
            return _escaped(json.dumps(value, ensure_ascii=False))
        return _escaped(json.dumps(value, ensure_ascii=False, indent=self._indent)).replace("\n", self.new_line(depth))


def _escaped(printed: str) -> str:
    """JSON without the two characters that end a line in JSON5."""
    return printed.replace("\u2028", "\\u2028").replace("\u2029", "\\u2029")


def _set(text: str, start: int, path: Sequence[str], value: object, layout: _Layout, depth: int) -> str:
    if not text.startswith("{", start):
        raise ValueError("not an object")
    members, has_comma, end = _members(text, start)
    key, *rest = path
    # Of a repeated key the last one counts, as it does for every parser.
    found = next((member for member in reversed(members) if member.key == key), None)
    is_one_line = "\n" not in text[start:end] and bool(members)
    if found and rest:
        return _set(text, found.start, rest, value, layout, depth + 1)
    if found:
        return text[: found.start] + layout.printed(value, None if is_one_line else depth) + text[found.end :]
    for name in reversed(rest):
        value = {name: value}
    added = f"{layout.printed(key, None)}: {layout.printed(value, None if is_one_line else depth)}"
    if not members:
        inside = text[start + 1 : end].rstrip()
        return text[: start + 1] + inside + layout.new_line(depth) + added + layout.new_line(depth - 1) + text[end:]
    last = members[-1].end
    if has_comma:
        comma_end = _skip_space(text, last) + 1
        place = comma_end if is_one_line else _end_of_line(text, comma_end)
        return text[:place] + (" " if is_one_line else layout.new_line(depth)) + added + "," + text[place:]
    if is_one_line:
        return text[:last] + ", " + added + text[last:]
    place = _end_of_line(text, last)
    return text[:last] + "," + text[last:place] + layout.new_line(depth) + added + text[place:]


def _members(text: str, start: int) -> tuple[list[_Member], bool, int]:
    """The members of the object that starts here, whether a comma follows the last one, and where the object ends."""
    members: list[_Member] = []
    has_comma = False
    position = _skip_space(text, start + 1)
    while not text.startswith("}", position):
        key_end = _value_end(text, position)
        value_start = _skip_space(text, _skip_space(text, key_end) + 1)
        value_end = _value_end(text, value_start)
        members.append(_Member(_key(text[position:key_end]), value_start, value_end))
        position = _skip_space(text, value_end)
        has_comma = text.startswith(",", position)
        if has_comma:
            position = _skip_space(text, position + 1)
    return members, has_comma, position


def _value_end(text: str, start: int) -> int:
    """Where the value or key that starts here ends."""
    if text[start] in "{[":
        return _bracket_end(text, start)
    match = _QUOTED.match(text, start) or _PLAIN.match(text, start)
    if not match:
        raise ValueError("not JSON5")
    return match.end()


def _bracket_end(text: str, start: int) -> int:
    depth = 0
    position = start
    while True:
        if position >= len(text):
            raise ValueError("not JSON5")
        depth += 1 if text[position] in "{[" else -1
        position += 1
        if depth == 0:
            return position
        skipped = _SKIPPED.match(text, position)
        position = skipped.end() if skipped else position


def _key(written: str) -> str:
    """The text of a key, quoted or not."""
    inner = written[1:-1] if written[:1] in ("'", '"') else written
    plain = _ESCAPE.sub(_unescaped, inner)
    return plain.encode("utf-16", "surrogatepass").decode("utf-16", "surrogatepass")


def _unescaped(escape: re.Match[str]) -> str:
    if escape[3] is None:
        return chr(int(escape[1] or escape[2], 16))
    return "" if escape[3] in _LINE_ENDS else _ESCAPED.get(escape[3], escape[3])


def _skip_space(text: str, position: int) -> int:
    match = _SPACE.match(text, position)
    return match.end() if match else position


def _end_of_line(text: str, position: int) -> int:
    """The position after the comments on the same line: they belong to the value before them."""
    match = _REST_OF_LINE.match(text, position)
    return match.end() if match else position
