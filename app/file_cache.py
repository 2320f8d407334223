"""A cache for the content of small files. An entry is used until its file changes."""

from __future__ import annotations

import os
from collections.abc import Callable
from typing import Generic, TypeVar

from . import files

Value = TypeVar("Value")

SIZE_LIMIT = 1_000_000
"""How many bytes of a file are read."""


class FileCache(Generic[Value]):
    """The results of a function of files. It is called once for each version of a file."""

    def __init__(self, parse: Callable[[str, bytes], Value]) -> None:
        """`parse` is given the path and the content, and does not raise."""
        self._parse = parse
        self._known: dict[str, tuple[tuple[int, ...], Value]] = {}

    def read(self, path: str) -> Value | None:
        """What the file says now; None when there is none. Raises `OSError` when it cannot be read."""
        try:
            status = os.stat(path)
        except FileNotFoundError:
            self._known.pop(path, None)
            return None
        version = (status.st_dev, status.st_ino, status.st_mtime_ns, status.st_size)
        known = self._known.get(path)
        if known is None or known[0] != version:
            content = files.read_file(path, SIZE_LIMIT)
            if content is None:
                return None
            known = self._known[path] = (version, self._parse(path, content))
        return known[1]
