"""Skill packages: zip archives. All of a package is checked before and while it is unpacked. Nothing in it is run."""

from __future__ import annotations

import io
import os
import re
import stat
import unicodedata

from .arguments import quoted
from .files import make_private_folder

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing it is slow
    from zipfile import ZipFile, ZipInfo

ENTRY_LIMIT = 2000
"""How many entries a package may list, and how many files and folders it may unpack to."""
SIZE_LIMIT = 50_000_000
"""How many bytes a package may have unpacked, and so also packed."""
RATIO_LIMIT = 100
"""How many times its own size a package may unpack to."""
DEPTH_LIMIT = 32

_CHUNK = 64 * 1024
_DRIVE = re.compile(r"[A-Za-z]:")
_UTF8_FLAG = 0x800
_ENCRYPTED_FLAGS = 0x41
_CENTRAL_HEADER = b"PK\x01\x02"
_ARCHIVER_FOLDER = "__MACOSX"


class PackageRefused(Exception):
    """Why a package is refused. The message is the end of a sentence, without the full stop."""


def unpack(package: bytes, folder: str) -> None:
    """Unpack a package into an empty folder, for the owner only.

    Raises `PackageRefused` for everything that a package may not hold, and `OSError` when the files cannot be written.
    What was written until then stays in the folder.
    """
    import struct
    import zipfile
    import zlib

    if len(package) > SIZE_LIMIT:
        raise PackageRefused(f"it is larger than {SIZE_LIMIT // 1_000_000} MB")
    # Opening an archive reads its whole table of contents, so a table that is too long is refused before.
    if package.count(_CENTRAL_HEADER) > 10 * ENTRY_LIMIT:
        raise _too_many_entries()
    try:
        with zipfile.ZipFile(io.BytesIO(package)) as archive:
            _unpack_all(archive, _checked_entries(archive.infolist()), len(package), folder)
    except UnicodeDecodeError as error:
        raise PackageRefused("a name in it is not UTF-8") from error
    except (
        zipfile.BadZipFile,
        zlib.error,
        struct.error,
        EOFError,
        NotImplementedError,
        OverflowError,
        RuntimeError,
        ValueError,
    ) as error:
        raise PackageRefused("it is not a zip archive, or a damaged one") from error


def skill_root(folder: str) -> str:
    """The folder of the skill in an unpacked package: the package's root, or its single folder.

    The single folder is the only one with a SKILL.md: archivers and authors leave other things beside it.
    """
    visible = [os.path.join(folder, name) for name in os.listdir(folder) if not name.startswith(".")]
    roots = [folder] if _has_manual(folder) else list(filter(_has_manual, visible))
    if len(roots) != 1:
        raise PackageRefused("it has no SKILL.md at its root or in its single folder")
    return roots[0]


def _has_manual(folder: str) -> bool:
    return os.path.isfile(os.path.join(folder, "SKILL.md"))


def _checked_entries(entries: list[ZipInfo]) -> list[tuple[ZipInfo, tuple[str, ...]]]:
    """The entries with the parts of their paths. Everything is checked before anything is written."""
    if len(entries) > ENTRY_LIMIT:
        raise _too_many_entries()
    checked = []
    seen: dict[tuple[str, ...], tuple[tuple[str, ...], bool]] = {}
    for entry in entries:
        parts = _path_parts(_entry_name(entry))
        _refuse_unsafe_kind(entry)
        _refuse_collision(parts, _is_folder(entry), seen)
        if len(seen) > ENTRY_LIMIT:
            raise _too_many_entries()
        if parts and parts[0] != _ARCHIVER_FOLDER:
            checked.append((entry, parts))
    return checked


def _entry_name(entry: ZipInfo) -> str:
    """The name as it was packed. Many archivers write UTF-8 without saying so."""
    name = entry.orig_filename
    if entry.flag_bits & _UTF8_FLAG:
        return name
    return name.encode("cp437").decode()


def _path_parts(name: str) -> tuple[str, ...]:
    if not name:
        raise PackageRefused("a name in it is empty")
    if "\\" in name or any(ord(character) < 32 or ord(character) == 127 for character in name):
        raise PackageRefused(f"the name {quoted(name)} holds a backslash or a control character")
    if name.startswith("/") or _DRIVE.match(name):
        raise PackageRefused(f"the path {quoted(name)} is absolute")
    parts = tuple(part for part in name.split("/") if part not in ("", "."))
    if ".." in parts:
        raise PackageRefused(f"the path {quoted(name)} climbs out of the package")
    if len(parts) > DEPTH_LIMIT or any(len(part.encode()) > 255 for part in parts):
        raise PackageRefused(f"the path {quoted(name)} is too long or too deep")
    return parts


def _refuse_unsafe_kind(entry: ZipInfo) -> None:
    import zipfile

    kind = stat.S_IFMT(entry.external_attr >> 16)
    if kind not in (0, stat.S_IFREG, stat.S_IFDIR):
        raise PackageRefused(f"{quoted(entry.filename)} is a link or a device")
    if entry.flag_bits & _ENCRYPTED_FLAGS:
        raise PackageRefused("it is encrypted")
    if entry.compress_type not in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED):
        raise PackageRefused(f"{quoted(entry.filename)} is compressed in an unusual way")


def _refuse_collision(
    parts: tuple[str, ...], is_folder: bool, seen: dict[tuple[str, ...], tuple[tuple[str, ...], bool]]
) -> None:
    """Refuse a path that some file system takes for an earlier one.

    `seen` has every earlier path and the folders above it. The key is the path as such a file system sees it; the value
    is the path as it was written, and whether it is a folder.
    """
    for length in range(1, len(parts) + 1):
        path = parts[:length]
        folded = tuple(_folded(part) for part in path)
        place = (path, is_folder or length < len(parts))
        earlier = seen.setdefault(folded, place)
        if earlier != place or (earlier is not place and not place[1]):
            raise PackageRefused(f"two names in it are the same or differ in case only: {quoted('/'.join(path))}")


def _folded(name: str) -> str:
    """A name as a file system sees it that ignores the case and the composition of letters."""
    return unicodedata.normalize("NFD", unicodedata.normalize("NFD", name).casefold())


def _is_folder(entry: ZipInfo) -> bool:
    return entry.is_dir() or stat.S_ISDIR(entry.external_attr >> 16)


def _unpack_all(
    archive: ZipFile, entries: list[tuple[ZipInfo, tuple[str, ...]]], packed_size: int, folder: str
) -> None:
    """Write every entry and count its bytes: the sizes in the headers may be wrong."""
    room = min(SIZE_LIMIT, packed_size * RATIO_LIMIT)
    for entry, parts in entries:
        path = os.path.join(folder, *parts)
        if _is_folder(entry):
            make_private_folder(path)
            continue
        make_private_folder(os.path.dirname(path))
        mode = 0o700 if entry.external_attr >> 16 & stat.S_IXUSR else 0o600
        descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, mode)
        with open(descriptor, "wb") as target, archive.open(entry) as source:
            while chunk := source.read(_CHUNK):
                room -= len(chunk)
                if room < 0:
                    raise _bomb()
                target.write(chunk)


def _too_many_entries() -> PackageRefused:
    return PackageRefused(f"it has more than {ENTRY_LIMIT} entries")


def _bomb() -> PackageRefused:
    return PackageRefused(
        f"unpacked it is larger than {SIZE_LIMIT // 1_000_000} MB or than {RATIO_LIMIT} times its own size"
    )
