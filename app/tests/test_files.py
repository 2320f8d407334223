"""Files are replaced as a whole or not at all."""

from __future__ import annotations

import contextlib
import errno
import os
import signal
import subprocess
import sys
import threading
import time
from unittest import mock

import app
from app import files, skill_folders
from app.tests.support import HomeTestCase, wait_for


class ReplaceFileTest(HomeTestCase):
    def foreign(self, path: str, owner: int, group: int) -> contextlib.AbstractContextManager[object]:
        """Let a file seem to belong to another user."""
        own = os.stat(path)
        status = os.stat_result((own.st_mode, 0, 0, 1, owner, group, 3, 0, 0, 0))
        return mock.patch.object(files, "_status", return_value=status)

    def test_a_new_file_and_its_new_folders_belong_to_their_owner_only(self) -> None:
        files.replace_file(self.path("a/b/file"), b"content")
        self.assertEqual(self.read("a/b/file"), "content")
        self.assertEqual([self.mode("a"), self.mode("a/b"), self.mode("a/b/file")], [0o700, 0o700, 0o600])

    def test_the_mode_is_kept_whatever_the_umask_says(self) -> None:
        self.addCleanup(os.umask, os.umask(0o077))
        path = self.make_file("file", "old", 0o775)
        files.replace_file(path, b"new")
        self.assertEqual((self.read("file"), self.mode("file")), ("new", 0o775))

    def test_the_owner_and_the_group_are_kept_where_the_system_allows_it(self) -> None:
        path = self.make_file("file", "old", 0o640)
        own = os.stat(path)
        owner, group = own.st_uid + 1, own.st_gid + 2
        with self.foreign(path, owner, group), mock.patch.object(os, "fchown") as fchown:
            files.replace_file(path, b"new")
        self.assertEqual([call[0][1:] for call in fchown.call_args_list], [(owner, group)])
        outcomes = [PermissionError(), None]
        with self.foreign(path, owner, group), mock.patch.object(os, "fchown", side_effect=outcomes) as fchown:
            files.replace_file(path, b"new")
        self.assertEqual([call[0][1:] for call in fchown.call_args_list], [(owner, group), (-1, group)])
        self.assertEqual(self.mode("file"), 0o640)
        with mock.patch.object(os, "fchown") as fchown:
            files.replace_file(path, b"new")
        fchown.assert_not_called()

    def test_nobody_gains_a_right_when_the_group_cannot_be_kept(self) -> None:
        for mode, afterwards in ((0o640, 0o600), (0o664, 0o644), (0o604, 0o600), (0o750, 0o700), (0o600, 0o600)):
            path = self.make_file("file", "old", mode)
            refused = mock.patch.object(os, "fchown", side_effect=PermissionError())
            with self.subTest(oct(mode)), self.foreign(path, 1, 2), refused:
                files.replace_file(path, b"new")
                self.assertEqual((self.read("file"), self.mode("file")), ("new", afterwards))

    def test_forbidden_permissions_are_taken_away(self) -> None:
        path = self.make_file("file", "old", 0o664)
        files.replace_file(path, b"new", forbidden=files.OTHERS)
        self.assertEqual(self.mode("file"), 0o660)
        files.replace_file(path, b"new", forbidden=files.GROUP_AND_OTHERS)
        self.assertEqual(self.mode("file"), 0o600)

    def test_a_symbolic_link_stays_a_link_and_its_target_is_replaced(self) -> None:
        self.make_file("elsewhere/target", "old", 0o640)
        os.symlink("elsewhere/target", self.path("link"))
        files.replace_file(self.path("link"), b"new")
        self.assertEqual(os.readlink(self.path("link")), "elsewhere/target")
        self.assertEqual((self.read("elsewhere/target"), self.mode("elsewhere/target")), ("new", 0o640))

    def test_a_relative_link_that_climbs_out_of_a_linked_folder_leads_where_the_system_says(self) -> None:
        self.make_file("shared/file", "another file")
        self.make_file("data/shared/file", "old")
        os.makedirs(self.path("data/folder"))
        os.symlink("data/folder", self.path("folder"))
        os.symlink("../shared/file", self.path("folder/file"))
        files.replace_file(self.path("folder/file"), b"new")
        self.assertEqual((self.read("data/shared/file"), self.read("shared/file")), ("new", "another file"))

    def test_a_link_to_nothing_makes_its_target(self) -> None:
        os.symlink(self.path("elsewhere/target"), self.path("link"))
        files.replace_file(self.path("link"), b"new")
        self.assertTrue(os.path.islink(self.path("link")))
        self.assertEqual(self.read("elsewhere/target"), "new")

    def test_a_full_disk_leaves_the_old_content_and_nothing_else(self) -> None:
        path = self.make_file("file", "old")
        for room in (0, 5):
            with self.subTest(room=room), self.full_disk(room), self.assertRaises(OSError):
                files.replace_file(path, b"new content")
            self.assertEqual((self.read("file"), self.files_below()), ("old", ["file"]))

    def test_a_disk_that_fails_at_the_last_moment_leaves_the_old_content(self) -> None:
        path = self.make_file("file", "old")
        for step in ("fsync", "replace"):
            failure = OSError(errno.ENOSPC, os.strerror(errno.ENOSPC))
            with self.subTest(step=step), mock.patch.object(os, step, side_effect=failure):
                self.assertRaises(OSError, files.replace_file, path, b"new")
            self.assertEqual((self.read("file"), self.files_below()), ("old", ["file"]))

    def test_what_a_killed_writer_left_is_removed_and_what_is_not_ours_stays(self) -> None:
        others = [".writing-0123456789abcde", ".writing-0123456789abcdef0", ".writing-0123456789abcdeg", "writing"]
        for name in [*others, ".writing-0123456789abcdef"]:
            self.make_file(f"folder/{name}")
        files.replace_file(self.path("folder/file"), b"new")
        self.assertEqual(self.files_below("folder"), sorted(["file", *others]))
        self.make_file("folder/.writing-0123456789abcdef")
        copy = files.keep_copy(self.path("folder/file"), b"new", "bak")
        self.assertEqual(self.files_below("folder"), sorted(["file", os.path.basename(copy), *others]))

    def test_a_folder_that_cannot_be_listed_is_written_in(self) -> None:
        path = self.make_file("file", "old")
        with mock.patch.object(os, "listdir", side_effect=PermissionError()):
            files.replace_file(path, b"new")
        self.assertEqual(self.read("file"), "new")

    def test_a_folder_in_the_place_of_the_file_is_left_alone(self) -> None:
        os.makedirs(self.path("folder"))
        self.assertRaises(OSError, files.replace_file, self.path("folder"), b"new")
        self.assertEqual(os.listdir(self.home), ["folder"])

    def test_a_file_in_the_place_of_the_folder_is_an_error(self) -> None:
        self.make_file("file")
        self.assertRaises(OSError, files.replace_file, self.path("file/below"), b"new")

    def test_a_read_only_folder_keeps_the_old_content(self) -> None:
        path = self.make_file("folder/file", "old")
        with self.read_only("folder"):
            self.assertRaises(PermissionError, files.replace_file, path, b"new")
        self.assertEqual(self.read("folder/file"), "old")


class KeepCopyTest(HomeTestCase):
    def test_the_copy_bears_the_label_and_the_local_time(self) -> None:
        path = self.make_file("file", "old", 0o741)
        copy = files.keep_copy(path, b"old", "bak")
        self.assertRegex(copy, rf"^{path}\.bak\.\d{{8}}-\d{{6}}$")
        self.assertEqual((self.read(os.path.basename(copy)), self.mode(os.path.basename(copy))), ("old", 0o741))

    def test_a_second_copy_in_the_same_second_does_not_replace_the_first(self) -> None:
        path = self.make_file("file", "old")
        with mock.patch("time.strftime", return_value="20250101-093000"):
            copies = [files.keep_copy(path, content, "bak") for content in (b"one", b"two", b"three")]
        self.assertEqual(
            [os.path.basename(copy)[len("file.bak.20250101-093000") :] for copy in copies], ["", "-2", "-3"]
        )
        self.assertEqual([self.read(os.path.basename(copy)) for copy in copies], ["one", "two", "three"])

    def test_a_copy_is_kept_where_a_file_can_have_one_name_only(self) -> None:
        path = self.make_file("file", "old")
        one_name_only = mock.patch.object(os, "link", side_effect=PermissionError())
        with one_name_only, mock.patch("time.strftime", return_value="20250101-093000"):
            copies = [files.keep_copy(path, content, "bak") for content in (b"one", b"two")]
        self.assertEqual(copies, [f"{path}.bak.20250101-093000{number}" for number in ("", "-2")])
        self.assertEqual([self.read(os.path.basename(copy)) for copy in copies], ["one", "two"])
        self.assertEqual(len(self.files_below()), 3)

    def test_a_full_disk_leaves_no_half_copy(self) -> None:
        path = self.make_file("file", "old content")
        with self.full_disk(4), self.assertRaises(OSError):
            files.keep_copy(path, b"old content", "bak")
        self.assertEqual(self.files_below(), ["file"])


class MakePrivateFolderTest(HomeTestCase):
    def test_it_says_whether_the_folder_was_made_now(self) -> None:
        self.assertIs(files.make_private_folder(self.path("a/b")), True)
        self.assertIs(files.make_private_folder(self.path("a/b")), False)

    def test_another_process_may_be_faster(self) -> None:
        mkdir = os.mkdir

        def late_mkdir(path: str, mode: int) -> None:
            mkdir(path, mode)
            mkdir(path, mode)

        with mock.patch.object(os, "mkdir", late_mkdir):
            self.assertIs(files.make_private_folder(self.path("a")), False)

    def test_a_file_in_its_place_is_an_error(self) -> None:
        self.assertRaises(FileExistsError, files.make_private_folder, self.make_file("file"))


class SyncTest(HomeTestCase):
    def setUp(self) -> None:
        self.sync = files.sync_file_system  # before the tests take it away
        super().setUp()

    def test_a_file_system_is_synced_and_what_is_no_folder_is_an_error(self) -> None:
        before = os.listdir("/dev/fd")
        self.sync(self.home)
        self.assertRaises(FileNotFoundError, self.sync, self.path("missing"))
        self.assertEqual(len(os.listdir("/dev/fd")), len(before))


class ReadFileTest(HomeTestCase):
    def test_a_missing_file_is_none_and_an_empty_one_is_empty(self) -> None:
        self.assertIsNone(files.read_file(self.path("missing")))
        self.assertEqual(files.read_file(self.make_file("empty")), b"")

    def test_a_folder_and_a_pipe_are_errors_and_do_not_block(self) -> None:
        os.mkfifo(self.path("pipe"))
        before = os.listdir("/dev/fd")
        for name in ("pipe", ""):
            self.assertRaises(OSError, files.read_file, self.path(name))
        self.assertEqual(len(os.listdir("/dev/fd")), len(before))


class ExclusiveTest(HomeTestCase):
    def test_threads_take_turns(self) -> None:
        inside = []
        most = []

        def enter() -> None:
            for _ in range(10):
                with files.exclusive():
                    inside.append(1)
                    time.sleep(0.0005)  # lets the others in, if anything does
                    most.append(len(inside))
                    inside.pop()

        threads = [threading.Thread(target=enter) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual((max(most), len(most)), (1, 40))

    def test_a_holder_that_is_killed_gives_the_lock_back(self) -> None:
        script = """if True:
            import time
            from app import files
            with files.exclusive():
                open("held", "w").close()
                time.sleep(60)
        """
        environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(files.__file__))}
        holder = subprocess.Popen([sys.executable, "-c", script], cwd=self.home, env=environment)
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        self.assertTrue(wait_for(lambda: os.path.exists(self.path("held"))))
        holder.send_signal(signal.SIGKILL)
        with files.exclusive():
            self.assertTrue(wait_for(lambda: holder.poll() is not None))

    def test_a_lock_that_another_program_keeps_is_given_up(self) -> None:
        self.assertEqual(files.LOCK_SECONDS, 5.0)
        with files.exclusive(), mock.patch.object(files, "LOCK_SECONDS", 0.1):
            self.assertEqual(
                self.refusal(app.add_news_source, {"type": "x", "id": "a", "name": "A", "url": "https://e.org"}),
                f"Another program has locked {self.path('.nelo/backend.lock')} for 0.1 seconds. "
                "Wait until it has finished, or end it, and try again.",
            )
        self.assertEqual(self.files_below(".nelo"), [])

    def test_a_list_does_not_wait_for_the_lock(self) -> None:
        os.makedirs(self.path("skills/.installing-0123456789abcdef"))
        with files.exclusive(), mock.patch.object(files, "LOCK_SECONDS", 60.0):
            skill_folders.recover(self.path("skills"))
        self.assertEqual(os.listdir(self.path("skills")), [".installing-0123456789abcdef"])
        skill_folders.recover(self.path("skills"))
        self.assertEqual(os.listdir(self.path("skills")), [])

    def test_the_lock_is_its_owners_only_and_leaves_no_descriptor(self) -> None:
        with files.exclusive():
            before = len(os.listdir("/dev/fd"))
        for _ in range(50):
            with files.exclusive():
                pass
        self.assertEqual(len(os.listdir("/dev/fd")), before - 1)
        self.assertEqual((self.mode(".nelo"), self.mode(".nelo/backend.lock")), (0o700, 0o600))
