"""The mutations that no test can notice, each with the reason."""
from __future__ import annotations

from pathlib import Path
from typing import NamedTuple


class Survivor(NamedTuple):
    """A change, as the lines that it takes and the lines that it writes, without what indents them."""

    source: str
    before: tuple[str, ...]
    after: tuple[str, ...]


def read_survivors(file: Path) -> dict[Survivor, str]:
    """The reason for each survivor. A paragraph of the file is one of them: the source's path, the lines that go with "- " before
    them, those that come with "+ ", then the reason. What is before the first path is for readers."""
    survivors = {}
    for paragraph in file.read_text().split("\n\n"):
        source, *lines = paragraph.strip().splitlines() or [""]
        before = tuple(line[2:].strip() for line in lines if line.startswith("- "))
        after = tuple(line[2:].strip() for line in lines if line.startswith("+ "))
        reason = " ".join(line.strip() for line in lines if not line.startswith(("- ", "+ ")))
        if not before or not after:
            continue
        if not reason:
            raise ValueError(f"{file}: {source} has a survivor without a reason")
        survivors[Survivor(source, before, after)] = reason
    return survivors
