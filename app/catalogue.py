"""The catalogue of cloud skills: fetched from the address in the settings, and kept."""

from __future__ import annotations

from . import files, paths, settings, web
from .documents import parse_json
from .errors import BackendError, explained

SECONDS = 20.0
"""How long fetching the catalogue may take."""

LIMIT = 10_000_000
"""How many bytes the catalogue may have."""


def refresh_cloud_skills_via_core() -> dict[str, object]:
    """Fetch the catalogue that the settings name, keep it, and answer {"count": number of its entries}.

    Raises `BackendError` when no address is set, or when it cannot be fetched, is no catalogue, or cannot be kept; the
    catalogue of an earlier time then stays.
    """
    address = catalogue_address()
    try:
        content = web.fetch(address, SECONDS, LIMIT)
    except web.FetchError as error:
        raise BackendError(f"Cannot load the catalogue {web.shown(address)}: {error}.") from error
    entries = _entries(content)
    if entries is None:
        raise BackendError(
            f"The document at {web.shown(address)} is not a catalogue of skills: it must be a JSON list of objects, "
            'or an object with such a list under "skills".'
        )
    path = _path()
    with files.exclusive(), explained(f"Cannot save {path}"):
        files.replace_file(path, content)
    return {"count": len(entries)}


def catalogue_address() -> str:
    """The address in the settings. Raises `BackendError` when there is none."""
    section = settings.load_nelo_settings().get("cloud_skills")
    address = section.get("catalog_url") if isinstance(section, dict) else None
    if not isinstance(address, str) or not address.strip():
        raise BackendError("No catalogue address is set. Enter it as Catalog URL in the settings and save.")
    return address.strip()


def kept_entries() -> list[dict[str, object]] | None:
    """The entries of the catalogue that was last kept, or None when there is none that is understood."""
    path = _path()
    with explained(f"Cannot read {path}"):
        content = files.read_file(path)
    return None if content is None else _entries(content)


def _path() -> str:
    return paths.nelo_file("cloud_skills_catalog.json")


def _entries(content: bytes) -> list[dict[str, object]] | None:
    """The entries of a catalogue, or None when the content is something else."""
    try:
        value = parse_json(content)
    except ValueError:
        return None
    if isinstance(value, dict):
        value = value.get("skills")
    if not isinstance(value, list) or not all(isinstance(entry, dict) for entry in value):
        return None
    return value
