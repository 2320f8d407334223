"""The catalogue of cloud skills: fetched from the address in the settings, and kept."""

from __future__ import annotations

from . import files, paths, settings, web
from .documents import format_json, parse_json, parse_object
from .errors import BackendError, explained

SECONDS = 20.0
"""How long fetching the catalogue may take."""

LIMIT = 10_000_000
"""How many bytes the catalogue may have."""


ENTRY_LIMIT = 5000
"""How many entries the catalogue may have: the console offers all of them in one list."""


def refresh_cloud_skills_via_core() -> dict[str, object]:
    """Fetch the catalogue that the settings name, keep it, and return {"count": number of its entries}.

    Raises `BackendError` when no address is set, or when the catalogue cannot be fetched, understood or kept. Then the
    earlier catalogue stays.
    """
    return {"count": len(_fetched_entries(catalogue_address()))}


def current_entries() -> tuple[str, list[dict[str, object]]]:
    """The address in the settings, and the entries of its catalogue: the kept one, or else one that is fetched now.

    A kept catalogue counts only when it came from this address. Raises `BackendError` as
    `refresh_cloud_skills_via_core` does.
    """
    address = catalogue_address()
    entries = _kept_entries(address)
    return address, _fetched_entries(address) if entries is None else entries


def catalogue_address() -> str:
    """The address in the settings. Raises `BackendError` when there is none."""
    section = settings.load_nelo_settings().get("cloud_skills")
    address = section.get("catalog_url") if isinstance(section, dict) else None
    if not isinstance(address, str) or not address.strip():
        raise BackendError("No catalogue address is set. Enter it as Catalog URL in the settings and save.")
    return address.strip()


def _fetched_entries(address: str) -> list[dict[str, object]]:
    """Fetch the catalogue at an address and keep it with its origin."""
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
    if len(entries) > ENTRY_LIMIT:
        raise BackendError(
            f"The catalogue {web.shown(address)} lists {len(entries)} skills, and at most {ENTRY_LIMIT} are taken."
        )
    path = _path()
    with files.exclusive(), explained(f"Cannot save {path}"):
        files.replace_file(path, content)
        files.replace_file(_origin_path(), format_json(_origin(address, content)))
    return entries


def _kept_entries(address: str) -> list[dict[str, object]] | None:
    """The entries of the kept catalogue, or None when it did not come from this address or is not understood."""
    path = _path()
    with explained(f"Cannot read {path}"):
        content = files.read_file(path)
        origin = files.read_file(_origin_path())
    if content is None or parse_object(origin) != _origin(address, content):
        return None
    return _entries(content)


def _origin(address: str, content: bytes) -> dict[str, object]:
    """Where a catalogue came from. The digest shows when only one of the two files was written."""
    import hashlib

    return {"address": address, "sha256": hashlib.sha256(content).hexdigest()}


def _origin_path() -> str:
    return paths.nelo_file("cloud_skills_catalog.origin.json")


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
