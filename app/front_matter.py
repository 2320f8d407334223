"""The front matter of a Markdown file: YAML between two lines of three hyphens at its beginning."""

from __future__ import annotations

import contextlib
import json
import re

from . import json5_text
from .errors import BackendError
from .libraries import library

_YAML_LENGTH = 8_000
"""How many characters are read as YAML: tens of thousands of nested lists crash the library, and the interpreter."""

_KEY = re.compile(r"([A-Za-z_][\w.-]*)[ \t]*:(?:[ \t]+(.*))?$")
_LINE_END = re.compile(r"\r\n|\r|\n")
_BLOCK = re.compile(r"[|>](?:[+-]?\d?|\d[+-])(?:[ \t]+#.*)?")
_STRING = r'"[^"\\]*(?:\\.[^"\\]*)*"'
_QUOTED = re.compile(rf"({_STRING}|'[^']*(?:''[^']*)*')(?:[ \t]+#.*)?")
_COMMENT = re.compile(r"(?:^|(?<=[ \t]))#[^\n]*", re.MULTILINE)
_STRING_OR_COMMENT = re.compile(rf"({_STRING}?)|{_COMMENT.pattern}", re.MULTILINE)  # also a string that never ends
_COMMENTS_BEFORE = re.compile(r"(?:#[^\n]*|\n)*")


def parse(text: str, is_strict: bool = False) -> dict[str, object]:
    """The values by key: texts, lists and dictionaries. Empty when there is no front matter, or when it has no end.

    Many authors write text that is not YAML, for example a colon in a plain text. With `is_strict` such a text has no
    values. Otherwise it is read line by line, as every text is where the YAML library is missing.
    """
    lines = _LINE_END.split(text.removeprefix("\ufeff"))
    if lines[0].rstrip() != "---":
        return {}
    end = next((number for number, line in enumerate(lines) if number and line.rstrip() in ("---", "...")), 0)
    try:
        values = _parse_yaml("\n".join(lines[1:end]))
    except ValueError:
        if is_strict:
            return {}
        values = None
    found: dict[str, object] = values if isinstance(values, dict) else dict(_parse_lines(text))
    metadata = found.get("metadata")
    if isinstance(metadata, str):
        with contextlib.suppress(ValueError, RecursionError, BackendError):
            value = json5_text.parse(metadata)
            json.dumps(value, ensure_ascii=False).encode()  # an escape can name half of a surrogate pair
            found["metadata"] = value
    return found


def _parse_yaml(text: str) -> object:
    """The value of a YAML text, with all scalars as text. None when the text is too long or the library is missing.

    Raises `ValueError` when the text is not YAML."""
    if len(text) > _YAML_LENGTH:
        return None
    try:
        yaml = library("yaml", "Reading YAML")
    except BackendError:
        return None
    try:
        loader = getattr(yaml, "CBaseLoader", yaml.BaseLoader)
        value: object = yaml.load(text, loader)
        if "\\" in text:
            # An escape can name half of a surrogate pair. Only the events can be searched: the value may be endless.
            for event in yaml.parse(text, loader):
                str(getattr(event, "value", "")).encode()
    except (yaml.YAMLError, RecursionError, UnicodeEncodeError) as error:
        raise ValueError("it is no YAML") from error
    return value


def _parse_lines(text: str) -> dict[str, str]:
    """The values by key, as text.

    It reads this much of YAML: plain and quoted scalars, continued on indented lines, block scalars ("|" and ">"), and
    comments after a value. A JSON value is returned as its text.
    """
    lines = _LINE_END.split(text.removeprefix("\ufeff"))
    if lines[0].rstrip() != "---":
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
    if _BLOCK.fullmatch(first):
        joiner = "\n" if first.startswith("|") else " "
        return joiner.join(line.strip() for line in rest).strip()
    text = _COMMENTS_BEFORE.sub("", "\n".join(line.strip() for line in lines), count=1)
    if text.startswith(("{", "[")):
        return _on_one_line(_STRING_OR_COMMENT.sub(lambda match: match[1] or "", text))
    quoted = _QUOTED.fullmatch(_on_one_line(text))
    if not quoted:
        return _on_one_line(_COMMENT.sub("", text))
    value = quoted[1]
    return _unescaped(value) if value.startswith('"') else value[1:-1].replace("''", "'")


def _on_one_line(text: str) -> str:
    return " ".join(filter(None, map(str.strip, text.split("\n"))))


def _unescaped(quoted: str) -> str:
    """A double-quoted text without its quotes. YAML's escapes contain those of JSON.

    An escape can name half of a surrogate pair, which no UTF-8 can carry onward: it becomes a replacement character.
    """
    try:
        text = str(json.loads(quoted))
    except ValueError:
        return quoted[1:-1]
    return text.encode("utf-16", "surrogatepass").decode("utf-16", "replace")
