"""The desktop's trash."""

from __future__ import annotations

import errno
import os
import sys
from unittest import mock

from app import trash
from app.tests.support import HomeTestCase

TRASH = "XDG_DATA_HOME/Trash"


class TrashTest(HomeTestCase):
    def throw_away(self, name: str, content: str = "mine") -> str:
        path = self.make_file(name, content)
        trash.move_to_trash(path)
        return path

    def test_a_file_lies_there_with_where_it_came_from_and_when(self) -> None:
        with mock.patch("time.strftime", return_value="2025-01-01T09:30:00"):
            self.throw_away("a/ä b%.md")
        self.assertEqual(self.files_below(TRASH), ["files/ä b%.md", "info/ä b%.md.trashinfo"])
        self.assertEqual(
            self.read(f"{TRASH}/info/ä b%.md.trashinfo"),
            f"[Trash Info]\nPath={self.home}/a/%C3%A4%20b%25.md\nDeletionDate=2025-01-01T09:30:00\n",
        )
        self.assertEqual([self.mode(f"{TRASH}/{name}") for name in ("", "files", "info")], [0o700] * 3)
        self.assertEqual(self.mode(f"{TRASH}/info/ä b%.md.trashinfo"), 0o600)

    def test_files_of_the_same_name_lie_beside_each_other(self) -> None:
        self.make_file(f"{TRASH}/files/a.md", "without information")
        self.make_file(f"{TRASH}/info/a.3.md.trashinfo", "without a file")
        for content in ("one", "two"):
            self.throw_away("a.md", content)
        kept = {name: self.read(f"{TRASH}/files/{name}") for name in os.listdir(self.path(TRASH, "files"))}
        self.assertEqual(kept, {"a.md": "without information", "a.2.md": "one", "a.4.md": "two"})
        self.assertEqual(sorted(os.listdir(self.path(TRASH, "info"))), [f"a.{n}.md.trashinfo" for n in (2, 3, 4)])

    def test_a_folder_goes_whole_and_of_a_link_only_the_link(self) -> None:
        self.make_file("folder/deep/file")
        trash.move_to_trash(self.path("folder"))
        os.symlink(self.make_file("target"), self.path("link"))
        trash.move_to_trash(self.path("link"))
        self.assertEqual(self.files_below(f"{TRASH}/files"), ["folder/deep/file", "link"])
        self.assertTrue(os.path.exists(self.path("target")))

    def test_what_is_on_another_disk_is_copied(self) -> None:
        rename = mock.patch.object(os, "rename", side_effect=OSError(errno.EXDEV, "Invalid cross-device link"))
        self.make_file("folder/deep/file")
        os.symlink("deep", self.path("folder/link"))
        with rename:
            path = self.throw_away("a.md")
            trash.move_to_trash(self.path("folder"))
        self.assertEqual((self.read(f"{TRASH}/files/a.md"), os.path.exists(path)), ("mine", False))
        self.assertEqual(os.readlink(self.path(f"{TRASH}/files/folder/link")), "deep")

    def test_a_copy_that_does_not_fit_on_the_other_disk_is_not_left_in_halves(self) -> None:
        self.make_file("folder/deep/file", "mine")

        def copy_half(source: str, target: str, **options: object) -> None:
            with open(target, "w", encoding="utf-8") as file:
                file.write("mi")
            raise OSError(errno.ENOSPC, "No space left on device")

        rename = mock.patch.object(os, "rename", side_effect=OSError(errno.EXDEV, "Invalid cross-device link"))
        for name in ("folder/deep/file", "folder"):
            with self.subTest(name), rename, mock.patch("shutil.copyfile", copy_half):
                self.assertIn("No space left on device", self.refusal(trash.move_to_trash, self.path(name)))
                self.assertEqual((self.files_below(TRASH), self.read("folder/deep/file")), ([], "mine"))
                self.assertEqual(os.listdir(self.path(TRASH, "files")), [])

    def test_what_cannot_be_moved_stays_and_nothing_is_left_of_it(self) -> None:
        path = self.make_file("a.md")
        with mock.patch.object(os, "rename", side_effect=OSError(errno.EACCES, "Permission denied")):
            message = self.refusal(trash.move_to_trash, path)
        self.assertEqual(message, f"Cannot move {path} to the trash: Permission denied.")
        self.assertEqual((self.files_below(TRASH), os.path.exists(path)), ([], True))

    def test_without_a_data_folder_in_the_environment_it_is_the_usual_one(self) -> None:
        for folder in ("", "relative"):
            self.set_environment(XDG_DATA_HOME=folder)
            self.throw_away("a.md")
        self.assertEqual(sorted(os.listdir(self.path(".local/share/Trash/files"))), ["a.2.md", "a.md"])

    def test_on_macos_it_is_a_folder_in_the_home_folder(self) -> None:
        with mock.patch.object(sys, "platform", "darwin"):
            for _ in range(2):
                self.throw_away("a.md")
        self.assertEqual(self.files_below(), [".Trash/a.2.md", ".Trash/a.md"])
