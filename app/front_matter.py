"""The front matter of a SKILL.md file: lines of "key: value" between two lines of three hyphens at its beginning."""

from __future__ import annotations

import json
import re

_KEY = re.compile(r"([A-Za-z_][\w.-]*)[ \t]*:(?:[ \t]+(.*))?$")
_BLOCK = re.compile(r"[|>][+-]?\d*$")


def parse_front_matter(text: str) -> dict[str, str]:
    """The values by key, as text; no keys when there is no front matter or it never ends.

    Understood of YAML: plain and quoted scalars, continued on indented lines, and block scalars ("|" and ">"). A JSON
    value is answered as its text.
    """
    lines = text.removeprefix("\ufeff").splitlines()
    if not lines or lines[0].rstrip() != "---":
        return {}
    values: dict[str, list[str]] = {}
    key = ""
    for line in lines[1:]:
        if line.rstrip() in ("---", "..."):
            return {name: _scalar(value) for name, value in values.items()}
        start = _KEY.match(line)
        if start:
            key = start[1]
            values[key] = [(start[2] or "").strip()]
        elif key and (line[:1].isspace() or not line):
            values[key].append(line)
    return {}


def _scalar(lines: list[str]) -> str:
    """The text of a value, given what follows the colon and the lines that continue it."""
    first, *rest = lines
    if _BLOCK.match(first):
        joiner = "\n" if first.startswith("|") else " "
        return joiner.join(line.strip() for line in rest).strip()
    value = " ".join(line.strip() for line in lines if line.strip())
    if len(value) >= 2 and value[0] == value[-1] == "'":
        return value[1:-1].replace("''", "'")
    if len(value) >= 2 and value[0] == value[-1] == '"':
        return _unescaped(value)
    return value


def _unescaped(quoted: str) -> str:
    """A double-quoted text without its quotes. YAML's escapes contain those of JSON.

    An escape can name half of a surrogate pair, which no UTF-8 can carry onward: it becomes a replacement character.
    """
    try:
        text = str(json.loads(quoted))
    except ValueError:
        return quoted[1:-1]
    return text.encode("utf-16", "surrogatepass").decode("utf-16", "replace")
