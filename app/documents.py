"""JSON documents on disk. A document that we do not understand is kept as a copy before it is replaced."""

from __future__ import annotations

import contextlib
import json
import math
from collections.abc import Callable, Iterator

from . import arguments, files, paths
from .errors import explained


INTEGERS = range(-(2**63), 2**64)
"""The integers of 64 bits, with a sign or without: the reader of our replies knows no others."""

_INTEGER_LENGTH = 20
"""How many characters the longest of them has. Python reads integers of many digits slowly."""


def _refuse_far_number(number: str) -> object:
    raise ValueError(f"the number {arguments.shortened(number)} is too large")


def parse_json(text: bytes, far_number: Callable[[str], object] = _refuse_far_number) -> object:
    """The value of a JSON text. Raises `ValueError` for everything that JSON in UTF-8 cannot carry onward.

    Python's parser accepts more than JSON: NaN, and halves of surrogate pairs. They are refused, and so is a text that
    is nested too deep. A number that is too large for a double, or an integer that does not fit in 64 bits, is valid
    JSON: `far_number` is called with its text, and returns the value to take for it or raises `ValueError`.
    """

    def fraction(number: str) -> object:
        value = float(number)
        return value if math.isfinite(value) else far_number(number)

    def integer(number: str) -> object:
        if len(number) > _INTEGER_LENGTH or int(number) not in INTEGERS:
            return far_number(number)
        return int(number)

    try:
        value: object = json.loads(
            text.decode("utf-8-sig"), parse_constant=_refuse_constant, parse_float=fraction, parse_int=integer
        )
    except RecursionError as error:
        raise ValueError("nested too deep") from error
    if b"\\u" in text:
        json.dumps(value, ensure_ascii=False, default=str).encode()
    return value


def format_json(value: object) -> bytes:
    """A JSON text for people to read, with a final line feed."""
    return json.dumps(value, ensure_ascii=False, indent=2).encode() + b"\n"


class Collection:
    """A file of ours in `~/.nelo` that holds a list of objects under one key.

    Everything else in the file survives every change, also unknown keys and entries. A file that is not JSON, or
    has another shape, reads as an empty list, and is kept beside itself before the first change replaces it.
    """

    def __init__(self, name: str, key: str) -> None:
        self._name = name
        self._key = key

    @property
    def path(self) -> str:
        return paths.nelo_file(self._name)

    def entries(self) -> list[object]:
        """The entries as they are now. Raises `BackendError` when the file exists and cannot be read."""
        return self._understood(self._read())[1]

    @contextlib.contextmanager
    def changing(self) -> Iterator[list[object]]:
        """Hold the lock, give the entries to the block, which changes the list, and save the list after it.

        An exception in the block leaves the file as it was. Raises `BackendError` when reading or saving fails.
        """
        with files.exclusive():
            content = self._read()
            document, entries = self._understood(content)
            yield entries
            with explained(f"Cannot save {self.path}"):
                if content is not None and document is None:
                    files.keep_copy(self.path, content, "unreadable")
                files.replace_file(self.path, format_json({"version": 1, **(document or {}), self._key: entries}))

    def _read(self) -> bytes | None:
        with explained(f"Cannot read {self.path}"):
            return files.read_file(self.path)

    def _understood(self, content: bytes | None) -> tuple[dict[str, object] | None, list[object]]:
        """The document and its entries; no document when the content is missing or has another shape."""
        document = parse_object(content)
        entries = document.get(self._key) if document is not None else None
        return (document, entries) if isinstance(entries, list) else (None, [])


def parse_object(content: bytes | None) -> dict[str, object] | None:
    """The JSON object that `content` is, or None when it is anything else."""
    try:
        value = parse_json(content or b"")
    except ValueError:
        return None
    return value if isinstance(value, dict) else None


def _refuse_constant(name: str) -> object:
    raise ValueError(f"{name} is not a JSON number")
