"""The tables of docs/backend.md: which functions a backend module has, and what they answer."""
from __future__ import annotations

import json
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any, NamedTuple

MANUAL = Path(__file__).resolve().parents[1] / "docs/backend.md"


class Function(NamedTuple):
    name: str
    arguments: list[str]
    answers: str
    only_reads: bool

    def __str__(self) -> str:
        return f"{self.name}({', '.join(self.arguments)})"


class Key(NamedTuple):
    name: str
    type: str
    is_needed: bool


@dataclass
class Manual:
    """The tables of the manual."""

    functions: list[Function]
    shapes: dict[str, list[Key]]


def tables(text: str) -> Iterator[tuple[str, list[str], list[list[str]]]]:
    """Each Markdown table: the heading above it, its titles and its rows."""
    heading, table = "", []
    for line in [*text.splitlines(), ""]:
        if line.startswith("|"):
            table.append([cell.strip().strip("`") for cell in line.strip("|").split("|")])
        elif table:
            yield heading, table[0], table[2:]
            table = []
        if line.startswith("#"):
            heading = line.lstrip("# ")


def read_manual() -> Manual:
    functions, shapes = [], {}
    for heading, titles, rows in tables(MANUAL.read_text(encoding="utf-8")):
        if titles[0] == "Function":
            functions = [Function(name, [] if arguments == "none" else arguments.split(", "), answers, effect == "reads")
                         for name, arguments, answers, effect in rows]
        elif titles[0] == "Key":
            shapes[heading] = [Key(name, kind, needed == "yes") for name, kind, needed, _ in rows]
    return Manual(functions, shapes)


def is_of(value: Any, kind: str) -> bool:
    """Whether a JSON value is of a type as the manual writes it."""
    if " or " in kind:
        return any(is_of(value, each) for each in kind.split(" or "))
    if kind.startswith("list of "):
        return isinstance(value, list) and all(is_of(each, kind[8:]) for each in value)
    if kind.startswith("object of "):
        return isinstance(value, dict) and all(is_of(each, kind[10:]) for each in value.values())
    if kind == "number":
        return isinstance(value, (int, float)) and not isinstance(value, bool)
    return isinstance(value, {"text": str, "boolean": bool, "object": dict}[kind])


def faults_of_object(value: Any, keys: list[Key]) -> Iterator[str]:
    if not isinstance(value, dict):
        yield f"it is {json.dumps(value, ensure_ascii=False)[:60]}, not an object"
        return
    for key in keys:
        *sections, name = key.name.split(".")
        holder: Any = value
        for section in sections:
            holder = holder.get(section, {})
            if not isinstance(holder, dict):
                yield f'"{section}" is not an object'
                break
        else:
            if name in holder and not is_of(holder[name], key.type):
                yield f'"{key.name}" is {json.dumps(holder[name], ensure_ascii=False)[:60]}, not {key.type}'
            elif name not in holder and key.is_needed:
                yield f'"{key.name}" is missing'


def first_fault(value: Any, answers: str, shapes: dict[str, list[Key]]) -> str:
    """What is wrong with an answer, or nothing."""
    if not answers.startswith("list of "):
        return next(faults_of_object(value, shapes[answers]), "")
    if not isinstance(value, list):
        return "the answer is not a list"
    return next((f"row {index}: {fault}" for index, row in enumerate(value)
                 for fault in faults_of_object(row, shapes[answers[8:]])), "")
