"""Skill packages as nobody should make them: well-formed and wicked, damaged, or lying about themselves."""

from __future__ import annotations

import io
import random
import stat
import struct
import warnings
import zipfile

_NAMES = (
    "SKILL.md",
    "skill.MD",
    "weather/SKILL.md",
    "weather/data",
    "weather/",
    "other/SKILL.md",
    "folder/more/deep/file",
    "../outside",
    "a/../../outside",
    "../other/SKILL.md",
    "../../../../../.nelo/settings.json",
    "/tmp/nelo-outside",
    "//outside",
    "C:\\outside",
    "C:outside",
    "..\\outside",
    "a\\..\\..\\outside",
    "",
    ".",
    "..",
    "./",
    "a/./b",
    "a//b",
    ".hidden",
    ".installing-0123456789abcdef/SKILL.md",
    ".replaced-0123456789abcdef/weather/SKILL.md",
    "__MACOSX/weather/._SKILL.md",
    "__MACOSX/../../outside",
    "cafe\u0301",
    "caf\u00e9",
    "stra\u00dfe",
    "STRASSE",
    "\u4e8c/\u2028/\u202e",
    "nul\0byte",
    "line\nfeed",
    "\x7f",
    "x" * 255,
    "x" * 256,
    "\u4e8c" * 90,
    "/".join("d" * 40),
)
_SKILL_NAMES = ("weather", "Weather", "other", "../other", "a/b", "..", ".hidden", "", "x" * 255, "x" * 300, "a\0b")
_KINDS = (stat.S_IFREG, stat.S_IFDIR, stat.S_IFLNK, stat.S_IFIFO, stat.S_IFCHR, stat.S_IFBLK, stat.S_IFSOCK, 0xF000)
_METHODS = (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED, zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA)
_HEADERS = {b"PK\x03\x04": 30, b"PK\x01\x02": 46, b"PK\x05\x06": 22}
"""The length of each kind of header, by the mark that it begins with."""
_EXTREMES = (0, 1, 8, 9, 14, 0x41, 0x800, 0x7FFF, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF)


def hostile_package(seed: int) -> bytes:
    """The package of a seed. The same seed gives the same package. Some of the packages can be installed."""
    maker = random.Random(seed)
    package = bytearray(_packed(maker, _entries(maker)))
    for _ in range(maker.choice((0, 0, 1, 1, 2, 4))):
        package = maker.choice((_cut, _flip, _flip, _lie, _lie, _lie, _repeat, _wrap))(maker, package)
    return bytes(package)


def _entries(maker: random.Random) -> list[tuple[zipfile.ZipInfo, bytes]]:
    root = maker.choice(("", "", "weather/", "folder/"))
    manual = f"---\nname: {maker.choice(_SKILL_NAMES)}\n---\n{maker.random()}\n".encode()
    entries = [(_entry(maker, root + "SKILL.md", 0), manual)] if maker.random() < 0.9 else []
    for _ in range(maker.choice((0, 1, 1, 2, 5))):
        kind = maker.choice(_KINDS) if maker.random() < 0.15 else maker.choice((0, stat.S_IFREG))
        name = maker.choice(_NAMES) if maker.random() < 0.6 else f"{root}file{maker.randrange(4)}"
        entries.append((_entry(maker, name, kind), _content(maker)))
    maker.shuffle(entries)
    return entries


def _entry(maker: random.Random, name: str, kind: int) -> zipfile.ZipInfo:
    entry = zipfile.ZipInfo("placeholder")
    entry.filename = entry.orig_filename = name  # its constructor would mend the name
    entry.create_system = maker.choice((0, 3, 255))
    entry.external_attr = (kind | maker.choice((0, 0o644, 0o755, 0o7777))) << 16
    entry.compress_type = maker.choice(_METHODS[:2]) if maker.random() < 0.95 else maker.choice(_METHODS)
    if maker.random() < 0.1:  # the extra field of large archives, in which sizes and the offset have eight bytes each
        entry.extra = struct.pack("<HH", 1, maker.choice((0, 8, 24, 0xFFFF)))
        entry.extra += maker.randbytes(maker.choice((0, 7, 24)))
    return entry


def _content(maker: random.Random) -> bytes:
    kind = maker.randrange(8)
    if kind == 0:
        return bytes(maker.choice((100_000, 1_000_000)))  # packs a thousand to one
    if kind == 1:
        return b"../../outside"  # where a link would lead
    return maker.randbytes(maker.choice((0, 1, 100, 3000)))


def _packed(maker: random.Random, entries: list[tuple[zipfile.ZipInfo, bytes]]) -> bytes:
    buffer = io.BytesIO()
    with warnings.catch_warnings(), zipfile.ZipFile(buffer, "w") as archive:
        warnings.simplefilter("ignore")  # the library warns of names that occur twice
        for entry, content in entries:
            archive.writestr(entry, content)
        archive.comment = maker.choice((b"", b"", b"PK\x05\x06" + bytes(18)))
    return buffer.getvalue()


def _cut(maker: random.Random, package: bytearray) -> bytearray:
    return package[: maker.randrange(len(package) + 1)]


def _flip(maker: random.Random, package: bytearray) -> bytearray:
    for _ in range(maker.choice((1, 1, 3, 20)) if package else 0):
        package[maker.randrange(len(package))] ^= 1 << maker.randrange(8)
    return package


def _lie(maker: random.Random, package: bytearray) -> bytearray:
    """Change two or four bytes of a header."""
    mark = maker.choice(tuple(_HEADERS))
    places = [at for at in range(len(package)) if package.startswith(mark, at)]
    if not places:
        return package
    start = maker.choice(places) + maker.randrange(4, _HEADERS[mark] - 3, 2)
    value = maker.choice(_EXTREMES) if maker.random() < 0.7 else maker.getrandbits(32)
    form = maker.choice(("<H", "<L"))
    field = struct.pack(form, value & (0xFFFF if form == "<H" else 0xFFFFFFFF))
    package[start : start + len(field)] = field
    return package


def _repeat(maker: random.Random, package: bytearray) -> bytearray:
    start, end = sorted(maker.randrange(len(package) + 1) for _ in range(2))
    at = maker.randrange(len(package) + 1)
    return package[:at] + package[start:end] + package[at:]


def _wrap(maker: random.Random, package: bytearray) -> bytearray:
    """Add bytes before or after a package, as in a self-extracting archive."""
    other = bytearray(maker.randbytes(maker.choice((1, 22, 1000))))
    return other + package if maker.random() < 0.5 else package + other
