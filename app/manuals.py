"""The SKILL.md files of skills: how they are found below a folder, and read once for each version of a file."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator, Mapping, Sequence
from dataclasses import dataclass

from . import arguments, files, front_matter
from .ecosystems import Skill

MANUAL_LIMIT = 1_000_000
"""How many bytes of a SKILL.md are read."""

_read: dict[str, tuple[tuple[int, ...], "Manual | None"]] = {}
"""What was read, by the path of the file. A file that did not change is not read again."""


@dataclass(frozen=True)
class Manual:
    """What a SKILL.md says."""

    folder: str
    own_name: str
    """The name in it, or nothing."""
    description: str
    metadata: Mapping[str, object]
    version: tuple[int, ...]
    """What tells this version of the file from another."""

    @property
    def name(self) -> str:
        """The name in it, or else that of its folder."""
        return self.own_name or os.path.basename(self.folder)

    def skill(self, source: str, metadata_keys: Sequence[str]) -> Skill:
        """The skill. Of its metadata the object under the first of `metadata_keys` that is present is used."""
        own: dict[str, object] = next(
            (value for key in metadata_keys if isinstance(value := self.metadata.get(key), dict)), {}
        )
        requires = own.get("requires")
        names = requires.get("env") if isinstance(requires, dict) else None
        return Skill(
            self.name,
            self.description,
            source,
            _text(own.get("skillKey")) or self.name,
            self.folder,
            tuple(name for name in names if isinstance(name, str)) if isinstance(names, list) else (),
            _text(own.get("primaryEnv")),
            _text(own.get("primaryEnvLabel")),
        )


def is_own(name: str) -> bool:
    """Whether a folder has a name of the user's own: it is not hidden, and not that of npm's folder."""
    return not name.startswith(".") and name != "node_modules"


def find(
    root: str, depth: int = 1, searches_skills: bool = False, is_searched: Callable[[str], bool] = is_own
) -> Iterator[Manual]:
    """The skills in the folders below `root`, down to `depth` levels, by path.

    A folder is searched only if `is_searched` returns true for its name, and at most `files.FOLDER_LIMIT` folders are.
    The folders inside a skill are searched only with `searches_skills`. A SKILL.md that cannot be read is left out. A
    link to a folder above itself is not followed.
    """
    waiting: list[tuple[str, frozenset[tuple[int, int]]]] = [(root, frozenset())]
    for _ in range(files.FOLDER_LIMIT):
        if not waiting:
            return
        folder, above = waiting.pop()
        manual = read(folder) if above else None
        if manual:
            yield manual
        if len(above) < depth and (searches_skills or not manual):
            waiting += reversed(_folders_in(folder, is_searched, above))


def _folders_in(
    folder: str, is_searched: Callable[[str], bool], above: frozenset[tuple[int, int]]
) -> list[tuple[str, frozenset[tuple[int, int]]]]:
    """The folders in a folder, each with the identities of those above it. Empty when `folder` is above itself."""
    try:
        own = files.identity(folder)
        names = [] if own in above else sorted(filter(is_searched, os.listdir(folder)))
    except (OSError, ValueError):
        return []
    paths = (os.path.join(folder, name) for name in names if arguments.is_text(name))
    return [(path, above | {own}) for path in paths if os.path.isdir(path)]


def read(folder: str) -> Manual | None:
    """The manual of the skill in a folder, or None when there is no SKILL.md that can be read."""
    path = os.path.join(folder, "SKILL.md")
    try:
        status = os.stat(path)
    except (OSError, ValueError):
        _read.pop(path, None)
        return None
    version = (status.st_dev, status.st_ino, status.st_mtime_ns, status.st_size)
    known = _read.get(path)
    if known is None or known[0] != version:
        try:
            content = files.read_file(path, MANUAL_LIMIT)
        except OSError:
            return None
        known = _read[path] = (version, None if content is None else parse(folder, content, version))
    return known[1]


def parse(folder: str, content: bytes, version: tuple[int, ...] = ()) -> Manual:
    """What the SKILL.md of a folder says."""
    values = front_matter.parse(content.decode(errors="replace"))
    metadata = values.get("metadata")
    return Manual(
        folder,
        _text(values.get("name")),
        _text(values.get("description")),
        metadata if isinstance(metadata, dict) else {},
        version,
    )


def _text(value: object) -> str:
    return value.strip() if isinstance(value, str) else ""
