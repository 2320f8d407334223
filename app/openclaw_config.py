"""The configuration of openclaw: where it is, and what it says about agents and skills. It is JSON5."""

from __future__ import annotations

import os
from dataclasses import dataclass

from . import arguments, files, json5_text, paths
from .errors import BackendError, explained

Version = tuple[int, ...]
"""A value that differs from one version of a file to another."""


@dataclass(frozen=True)
class ConfiguredAgent:
    """An agent of the configuration. The names are empty where it has none."""

    id: str
    workspace: str
    identity_name: str = ""
    name: str = ""
    is_default: bool = False


@dataclass(frozen=True)
class Configuration:
    """A version of the configuration file."""

    content: bytes | None
    """Its bytes; None when there is no file."""
    value: dict[str, object]
    """What it says; it must not be changed."""

    def section(self, *path: str) -> dict[str, object]:
        """The object at a path; an empty one when there is none."""
        value: object = self.value
        for key in path:
            value = value.get(key) if isinstance(value, dict) else None
        return value if isinstance(value, dict) else {}

    def agents(self) -> list[ConfiguredAgent]:
        """The agents that the program has with this configuration, as it finds them itself."""
        entries = dict(self._agent_entries())
        chosen = [agent_id for agent_id, entry in entries.items() if entry.get("default") is True]
        default = next(iter(chosen or (entries if len(entries) == 1 else ())), "")
        if not entries:
            return [ConfiguredAgent("main", self._workspace("main", {}, True), is_default=True)]
        return [
            ConfiguredAgent(
                agent_id,
                self._workspace(agent_id, entry, agent_id == default),
                text_in(_object(entry.get("identity")).get("name")),
                text_in(entry.get("name")),
                agent_id == default,
            )
            for agent_id, entry in entries.items()
        ]

    def _agent_entries(self) -> list[tuple[str, dict[str, object]]]:
        """The agents' entries by id, or those of the older list. Entries whose ids cannot be ids are left out."""
        found = list(self.section("agents", "entries").items())
        listed = self.section("agents").get("list")
        if not found and isinstance(listed, list):
            found = [(text_in(entry.get("id")), entry) for entry in listed if isinstance(entry, dict)]
        return [(it, _object(entry)) for it, entry in found if not arguments.folder_name_problem(it)]

    def _workspace(self, agent_id: str, entry: dict[str, object], is_default: bool) -> str:
        own = text_in(entry.get("workspace"))
        if own:
            return expanded(own)
        common = text_in(self.section("agents", "defaults").get("workspace"))
        if is_default:
            return expanded(common) if common else os.path.join(state_folder(), "workspace")
        return (
            os.path.join(expanded(common), agent_id)
            if common
            else os.path.join(state_folder(), f"workspace-{agent_id}")
        )


def state_folder() -> str:
    """The folder in which the program keeps its state."""
    return expanded(os.environ.get("OPENCLAW_STATE_DIR", "").strip()) or os.path.join(paths.home(), ".openclaw")


def config_path() -> str:
    """The configuration file that the program reads, whether it exists or not."""
    return expanded(os.environ.get("OPENCLAW_CONFIG_PATH", "").strip()) or os.path.join(state_folder(), "openclaw.json")


def shared_folder() -> str:
    """The folder of what all agents share: the state folder, or the file's when only the file was moved."""
    return state_folder() if os.environ.get("OPENCLAW_STATE_DIR", "").strip() else os.path.dirname(config_path())


def read() -> Configuration:
    """The configuration as it is now; an empty one when there is no file.

    A version of the file is parsed once. Raises `BackendError` when the file cannot be read or is no JSON5.
    """
    path = config_path()
    version = version_of(path)
    if _read.get(path, (None,))[0] != version:
        with explained(f"Cannot read {path}"):
            content = files.read_file(path)
        try:
            _understood[path] = parsed(content)
            _read[path] = version, ""
        except BackendError as error:
            _read[path] = version, str(error)
    problem = _read[path][1]
    if problem:
        raise BackendError(problem)
    return _understood[path]


def last_understood() -> Configuration | None:
    """The last version of the configuration that could be read; None when there was none yet."""
    return _understood.get(config_path())


_read: dict[str, tuple[Version, str]] = {}
"""The version that was read last, and what is wrong with it, by path."""

_understood: dict[str, Configuration] = {}


def parsed(content: bytes | None) -> Configuration:
    """A content of the configuration file. Raises `BackendError` when it is no JSON5."""
    try:
        text = text_of(content)
        value = json5_text.parse(text) if text.strip() else {}
    except ValueError as error:
        raise _unreadable(str(error)) from error
    if not isinstance(value, dict):
        raise _unreadable("it is not an object")
    return Configuration(content, value)


def text_of(content: bytes | None) -> str:
    """The text of a content, without a byte-order mark. Raises `ValueError` when it is not UTF-8."""
    try:
        return (content or b"").decode("utf-8-sig")
    except UnicodeDecodeError as error:
        raise ValueError("it is not UTF-8 text") from error


def version_of(path: str) -> Version:
    """The version of a file; an empty one when there is none."""
    try:
        status = os.stat(path)
    except (OSError, ValueError):
        return ()
    return (status.st_dev, status.st_ino, status.st_mtime_ns, status.st_ctime_ns, status.st_size)


def is_below(path: str, folder: str) -> bool:
    """Whether a path is a folder or in it, also through symbolic links."""
    folder = os.path.realpath(folder)
    return os.path.commonpath([folder, os.path.realpath(path)]) == folder


def _unreadable(why: str) -> BackendError:
    return BackendError(
        f"The file {config_path()} is not a JSON5 configuration: {' '.join(why.split())}. "
        "Correct it in the configuration editor first."
    )


def expanded(text: str) -> str:
    """The absolute path that a text names. Empty when it cannot be a path."""
    return os.path.abspath(os.path.expanduser(text)) if text and "\0" not in text else ""


def _object(value: object) -> dict[str, object]:
    return value if isinstance(value, dict) else {}


def text_in(value: object) -> str:
    """A text without white space at its ends. Empty when it is no text, or not valid Unicode."""
    try:
        return value.strip().encode().decode() if isinstance(value, str) else ""
    except UnicodeEncodeError:
        return ""
