"""Skill packages: what is refused, and that nothing is written outside."""

from __future__ import annotations

import io
import os
import shutil
import stat
import struct
import warnings
import zipfile
from collections.abc import Mapping

from app import skill_packages
from app.tests.support import HomeTestCase

MANUAL = b"---\nname: weather\n---\n"

Content = Mapping[str, bytes]


def make_package(content: Content, compression: int = zipfile.ZIP_DEFLATED) -> bytes:
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", compression) as archive:
        for name, data in content.items():
            archive.writestr(name, data)
    return buffer.getvalue()


def make_package_of(*entries: tuple[zipfile.ZipInfo, bytes]) -> bytes:
    buffer = io.BytesIO()
    with warnings.catch_warnings(), zipfile.ZipFile(buffer, "w") as archive:
        warnings.simplefilter("ignore")  # the library warns of names that occur twice
        for info, data in entries:
            archive.writestr(info, data)
    return buffer.getvalue()


def info(name: str, mode: int = 0) -> zipfile.ZipInfo:
    entry = zipfile.ZipInfo("placeholder")
    entry.filename = entry.orig_filename = name
    entry.create_system = 3
    entry.external_attr = mode << 16
    return entry


class UnpackTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        os.makedirs(self.path("outer/folder"))

    def unpack(self, package: bytes) -> list[str]:
        """Unpack into an empty folder. Returns the files in it."""
        shutil.rmtree(self.path("outer/folder"))
        os.makedirs(self.path("outer/folder"))
        skill_packages.unpack(package, self.path("outer/folder"))
        return self.files_below("outer/folder")

    def refused(self, package: bytes) -> str:
        with self.assertRaises(skill_packages.PackageRefused) as raised:
            self.unpack(package)
        outside = [name for name in self.files_below() if not name.startswith("outer/folder/")]
        self.assertEqual(outside, [])
        return str(raised.exception)

    def test_files_folders_and_empty_files_are_unpacked_for_their_owner(self) -> None:
        package = make_package({"SKILL.md": MANUAL, "a/b/c.txt": b"x" * 1000, "a/empty": b"", "d/": b""})
        self.assertEqual(self.unpack(package), ["SKILL.md", "a/b/c.txt", "a/empty"])
        self.assertTrue(os.path.isdir(self.path("outer/folder/d")))
        self.assertEqual(self.read("outer/folder/a/b/c.txt"), "x" * 1000)
        self.assertEqual(self.mode("outer/folder/a/b/c.txt"), 0o600)
        for folder in ("a", "a/b", "d"):
            self.assertEqual(self.mode(f"outer/folder/{folder}"), 0o700)

    def test_a_program_stays_one_for_its_owner_only_and_never_with_more_rights(self) -> None:
        package = make_package_of((info("run.sh", stat.S_IFREG | 0o6755), b"#!/bin/sh\n"))
        self.unpack(package)
        self.assertEqual(self.mode("outer/folder/run.sh"), 0o700)

    def test_names_with_the_same_letters_in_different_folders_are_fine(self) -> None:
        self.assertEqual(self.unpack(make_package({"a/x": b"", "b/x": b"", "./c//x": b""})), ["a/x", "b/x", "c/x"])

    def test_what_an_archiver_of_another_system_adds_is_left_out(self) -> None:
        package = make_package({"s/SKILL.md": MANUAL, "__MACOSX/s/._SKILL.md": b"x"})
        self.assertEqual(self.unpack(package), ["s/SKILL.md"])

    def test_paths_that_climb_are_refused(self) -> None:
        for name in ("../x", "a/../../x", "a/..", "..", "../../../../../../../../tmp/x", "__MACOSX/../../x"):
            with self.subTest(name):
                self.assertIn("climbs out", self.refused(make_package({"SKILL.md": MANUAL, name: b"x"})))

    def test_absolute_paths_are_refused(self) -> None:
        for name in ("/tmp/x", "//host/x", "C:/x", "c:x"):
            with self.subTest(name):
                self.assertIn("is absolute", self.refused(make_package_of((info(name), b"x"))))

    def test_backslashes_and_control_characters_are_refused(self) -> None:
        for name in ("a\\b", "..\\x", "C:\\x", "a\nb", "a\x7f", "a\x1f", "a\x1b[2J"):
            with self.subTest(name):
                self.assertIn("backslash or a control character", self.refused(make_package_of((info(name), b"x"))))

    def test_a_name_with_a_nul_is_refused(self) -> None:
        package = make_package_of((info("SKILL.md.exe"), b"x")).replace(b"SKILL.md.exe", b"SKILL.md\0exe")
        self.assertIn("control character", self.refused(package))

    def test_links_and_devices_are_refused(self) -> None:
        for kind in (stat.S_IFLNK, stat.S_IFCHR, stat.S_IFBLK, stat.S_IFIFO, stat.S_IFSOCK):
            package = make_package_of((info("SKILL.md"), MANUAL), (info("x", kind | 0o777), b"/etc/passwd"))
            self.assertEqual(self.refused(package), '"x" is a link or a device')
        self.assertEqual(self.files_below(), [])

    def test_names_that_are_the_same_or_differ_in_case_only_are_refused(self) -> None:
        pairs = [
            ("a", "a"),
            ("a", "A"),
            ("d/x", "D/x"),
            ("d/x", "D/y"),
            ("straße", "STRASSE"),
            ("é", "e\u0301"),
            ("\u0390", "\u03aa\u0301"),
            ("\u03b1\u0345\u0301", "\u03b1\u0301\u0345"),
            ("a", "a/b"),
            ("a/b", "a"),
            ("a/", "a"),
            ("a", "./a"),
            ("a", "a//"),
        ]
        for first, second in pairs:
            with self.subTest((first, second)):
                package = make_package_of((info(first), b""), (info(second), b""))
                self.assertIn("two names in it are the same or differ in case only", self.refused(package))

    def test_a_folder_may_be_named_twice(self) -> None:
        package = make_package_of((info("a/"), b""), (info("a/"), b""), (info("a/x"), b""), (info("a/"), b""))
        self.assertEqual(self.unpack(package), ["a/x"])

    def test_two_thousand_entries_are_the_most(self) -> None:
        content = {f"f{number}": b"" for number in range(2000)}
        self.assertEqual(len(self.unpack(make_package(content))), 2000)
        self.assertEqual(self.refused(make_package({**content, "one more": b""})), "it has more than 2000 entries")

    def test_folders_that_are_only_implied_count_too(self) -> None:
        chains = {f"{number}/" + "/".join("d" * 30) + "/f": b"" for number in range(63)}
        self.assertEqual(self.refused(make_package(chains)), "it has more than 2000 entries")
        self.assertEqual(os.listdir(self.path("outer/folder")), [])
        fits = {f"d/f{number}": b"" for number in range(1999)}
        self.assertEqual(len(self.unpack(make_package(fits))), 1999)
        self.refused(make_package({**fits, "d/one more": b""}))

    def test_an_entry_that_is_listed_again_and_again_counts_each_time(self) -> None:
        package = make_package_of(*[(info("a/"), b"") for _ in range(2001)])
        self.assertEqual(self.refused(package), "it has more than 2000 entries")

    def test_blanks_may_stand_in_a_name(self) -> None:
        self.assertEqual(self.unpack(make_package({"my notes/a b.txt": b""})), ["my notes/a b.txt"])

    def test_a_folder_that_only_its_kind_tells_is_one(self) -> None:
        package = make_package_of((info("a", stat.S_IFDIR | 0o755), b""), (info("a/b"), b""))
        self.assertEqual(self.unpack(package), ["a/b"])

    def test_a_table_of_contents_without_end_is_refused_before_it_is_read(self) -> None:
        marks = skill_packages._CENTRAL_HEADER * 19_999  # and one of the package's own
        self.assertEqual(self.unpack(make_package({"a": marks}, zipfile.ZIP_STORED)), ["a"])
        package = make_package({"a": marks}, zipfile.ZIP_STORED) + skill_packages._CENTRAL_HEADER
        self.assertEqual(self.refused(package), "it has more than 2000 entries")

    def test_fifty_megabytes_unpacked_are_the_most(self) -> None:
        self.assertEqual(skill_packages.SIZE_LIMIT, 50_000_000)
        self.replace(skill_packages, "SIZE_LIMIT", 5_000_000)
        noise = os.urandom(10_000) * 250
        fits = make_package({"a": noise, "b": noise})
        self.assertEqual(len(self.unpack(fits)), 2)
        self.assertIn(
            "unpacked it is larger than 5 MB", self.refused(make_package({"c": noise, "d": noise, "e": b"x"}))
        )

    def test_a_package_that_is_larger_than_it_may_be_unpacked_is_refused(self) -> None:
        package = make_package({"a": b"x"})
        self.replace(skill_packages, "SIZE_LIMIT", len(package))
        self.assertEqual(self.unpack(package), ["a"])
        self.replace(skill_packages, "SIZE_LIMIT", 1_000_000)
        self.assertEqual(self.refused(b"x" * 1_000_001), "it is larger than 1 MB")

    def test_a_bomb_is_refused_by_what_comes_out_of_it(self) -> None:
        self.assertEqual(skill_packages.RATIO_LIMIT, 100)
        bomb = make_package({"zeros": bytes(20_000_000)})
        self.assertIn("100 times its own size", self.refused(bomb))
        self.assertLessEqual(os.path.getsize(self.path("outer/folder/zeros")), len(bomb) * 100)

    def test_a_header_that_lies_about_the_size_helps_no_bomb(self) -> None:
        size = 20_000_000
        bomb = make_package({"zeros": bytes(size)})
        for lie in (10, 2**32 - 2):
            package = bomb.replace(struct.pack("<L", size), struct.pack("<L", lie))
            self.assertNotEqual(package, bomb)
            self.refused(package)
            self.assertLessEqual(os.path.getsize(self.path("outer/folder/zeros")), len(bomb) * 100)

    def test_nested_folders_have_a_limit(self) -> None:
        deepest = "/".join("d" * 31) + "/file"
        self.assertEqual(self.unpack(make_package({deepest: b"", "x" * 255: b""})), [deepest, "x" * 255])
        self.assertIn("too long or too deep", self.refused(make_package({f"d/{deepest}": b""})))
        self.assertIn("too long or too deep", self.refused(make_package({"x" * 256: b""})))

    def test_names_in_utf_8_are_kept_whether_they_say_so_or_not(self) -> None:
        package = make_package({"说明.md": b"x"})
        self.assertEqual(self.unpack(package), ["说明.md"])
        unmarked = make_package({"AAAAAA.md": b"x"}).replace(b"AAAAAA", "说明".encode())
        self.assertEqual(self.unpack(unmarked), ["说明.md"])

    def test_names_that_are_not_utf_8_are_refused(self) -> None:
        unmarked = make_package({"AAAA.md": b"x"}).replace(b"AAAA", b"\xcb\xb5\xc3\xfd")
        marked = make_package({"说明.md": b"x"}).replace("说明".encode(), b"\xcb\xb5\xc3\xfd\xff\xff")
        for package in (unmarked, marked):
            self.assertEqual(self.refused(package), "a name in it is not UTF-8")

    def test_a_name_that_is_empty_is_refused(self) -> None:
        for mode in (0, stat.S_IFREG | 0o644, stat.S_IFDIR | 0o755):
            package = make_package_of((info("SKILL.md"), MANUAL), (info("", mode), b""))
            self.assertEqual(self.refused(package), "a name in it is empty")

    def test_an_encrypted_package_is_refused(self) -> None:
        package = bytearray(make_package({"SKILL.md": MANUAL}))
        central = package.index(skill_packages._CENTRAL_HEADER)
        for flag in (0x1, 0x40):
            package[6] = package[central + 8] = flag
            self.assertEqual(self.refused(bytes(package)), "it is encrypted")

    def test_an_unusual_compression_is_refused(self) -> None:
        for compression in (zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA):
            package = make_package({"SKILL.md": MANUAL}, compression)
            self.assertIn("compressed in an unusual way", self.refused(package))

    def test_what_is_no_archive_is_refused(self) -> None:
        whole = make_package({"SKILL.md": MANUAL * 100})
        for package in (b"", b"just text", b"PK\x03\x04", whole[:-1], whole[: len(whole) // 2], whole[30:]):
            with self.subTest(package[:10]):
                self.assertEqual(self.refused(package), "it is not a zip archive, or a damaged one")

    def test_damaged_content_is_refused(self) -> None:
        for compression in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED):
            package = bytearray(make_package({"SKILL.md": MANUAL * 10}, compression))
            package[45] ^= 0xFF
            self.assertEqual(self.refused(bytes(package)), "it is not a zip archive, or a damaged one")

    def test_extra_fields_that_lie_about_sizes_are_refused(self) -> None:
        # An entry with the extra field of large archives, in which sizes and the offset have eight bytes each.
        for offset in (2**63, 2**64 - 1):
            entry = info("SKILL.md")
            entry.extra = struct.pack("<HHQQQ", 1, 24, 1, 1, offset)
            package = bytearray(make_package_of((entry, b"x")))
            central = package.rindex(skill_packages._CENTRAL_HEADER)
            package[central + 20 : central + 28] = b"\xff" * 8
            package[central + 42 : central + 46] = b"\xff" * 4
            with self.subTest(offset):
                self.assertEqual(self.refused(bytes(package)), "it is not a zip archive, or a damaged one")

    def test_an_extra_field_that_is_cut_short_is_refused(self) -> None:
        entry = info("SKILL.md")
        entry.extra = struct.pack("<HHL", 1, 4, 7)
        package = bytearray(make_package_of((entry, b"x")))
        central = package.rindex(skill_packages._CENTRAL_HEADER)
        package[central + 20 : central + 28] = b"\xff" * 8
        self.assertEqual(self.refused(bytes(package)), "it is not a zip archive, or a damaged one")

    def test_no_prefix_of_a_package_and_no_changed_byte_does_harm(self) -> None:
        whole = make_package({"SKILL.md": MANUAL, "a/b": b"content"})
        damaged = [whole[:length] for length in range(len(whole))]
        damaged += [whole[:at] + bytes([whole[at] ^ 0xFF]) + whole[at + 1 :] for at in range(len(whole))]
        for package in damaged:
            try:
                self.unpack(package)
            except skill_packages.PackageRefused:
                pass
            outside = [name for name in self.files_below() if not name.startswith("outer/folder/")]
            self.assertEqual(outside, [])


class SkillRootTest(HomeTestCase):
    def root(self, *names: str) -> str:
        for name in names:
            self.make_file(f"package/{name}")
        return os.path.relpath(skill_packages.skill_root(self.path("package")), self.path("package"))

    def test_the_root_with_a_manual_is_the_skill(self) -> None:
        self.assertEqual(self.root("SKILL.md"), ".")
        self.assertEqual(self.root("SKILL.md", "folder/SKILL.md"), ".")

    def test_a_single_folder_with_a_manual_is_the_skill(self) -> None:
        self.assertEqual(self.root("folder/SKILL.md", "folder/more"), "folder")

    def test_what_lies_beside_the_single_folder_is_left_out(self) -> None:
        names = (".DS_Store", ".git/SKILL.md", "LICENSE", "__MACOSX/x", "images/x")
        self.assertEqual(self.root(*names, "folder/SKILL.md"), "folder")

    def test_anything_else_is_refused(self) -> None:
        for number, names in enumerate(
            [["x"], ["a/x"], ["a/SKILL.md", "b/SKILL.md"], ["a/b/SKILL.md"], ["SKILL.md/x"]]
        ):
            for name in names:
                self.make_file(f"package{number}/{name}")
            with self.assertRaisesRegex(skill_packages.PackageRefused, "no SKILL.md at its root or in its single folder"):
                skill_packages.skill_root(self.path(f"package{number}"))
