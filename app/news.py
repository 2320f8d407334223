"""The news sources that the social-media-alert skill watches, kept in `~/.nelo/news_sources.json`."""

from __future__ import annotations

import re

from . import arguments
from .documents import Collection
from .errors import BackendError

_SOURCES = Collection("news_sources.json", "sources")
_TYPES = ("rss", "webpage", "x")
_ID = re.compile(r"[\w.-]{1,100}")


def list_news_sources() -> list[dict[str, object]]:
    """The sources in the order in which they were added.

    Each row has "bucket" (the type), "type", "id", "name", "url" and "enabled". Raises `BackendError` when the file
    exists and cannot be read.
    """
    return [_row(entry) for entry in _SOURCES.entries() if isinstance(entry, dict) and isinstance(entry.get("id"), str)]


def add_news_source(source: object) -> dict[str, object]:
    """Add a source: an object of "type", "id", "name", "url" and "enabled". Returns its row.

    Raises `BackendError` when a value is wrong, when the ID is taken, or when the source cannot be saved.
    """
    entry = _checked(arguments.json_object(source, "news source"))
    with _SOURCES.changing() as entries:
        if any(isinstance(other, dict) and other.get("id") == entry["id"] for other in entries):
            raise BackendError(
                f"There is a source with the ID {arguments.quoted(entry['id'])} already. Choose another."
            )
        entries.append(entry)
    return _row(entry)


def _checked(source: dict[str, object]) -> dict[str, object]:
    if source.get("type") not in _TYPES:
        raise BackendError(f"{arguments.quoted(source.get('type'))} is no type of source. Choose {', '.join(_TYPES)}.")
    source_id = arguments.filled_text(source.get("id"), "source's ID")
    if not _ID.fullmatch(source_id):
        raise BackendError(
            "The source's ID may hold letters, digits, dots, hyphens and underscores, at most 100 of them."
        )
    enabled = source.get("enabled", True)
    if not isinstance(enabled, bool):
        raise BackendError("Whether the source is enabled must be true or false.")
    return {
        "type": source["type"],
        "id": source_id,
        "name": arguments.filled_text(source.get("name"), "source's name"),
        "url": _web_address(source.get("url")),
        "enabled": enabled,
    }


def _web_address(value: object) -> str:
    from urllib.parse import urlsplit

    address = arguments.filled_text(value, "source's URL")
    try:
        parts = urlsplit(address)
        is_valid = parts.scheme in ("http", "https") and bool(parts.hostname) and parts.port != 0
    except ValueError:
        is_valid = False
    if not is_valid or any(character.isspace() or not character.isprintable() for character in address):
        raise BackendError(
            f"{arguments.quoted(address)} is not a web address. Enter all of it, beginning with https:// or http://."
        )
    return address


def _row(entry: dict[str, object]) -> dict[str, object]:
    texts = {key: entry[key] if isinstance(entry.get(key), str) else "" for key in ("type", "id", "name", "url")}
    enabled = entry.get("enabled")
    return {"bucket": texts["type"], **texts, "enabled": enabled if isinstance(enabled, bool) else True}
