"""A package is there for all users: where another user's program runs, one gets a program of one's own."""
from __future__ import annotations

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from nelo import Nelo, start_again, until, xdotool
from tray import Tray

OTHER_USER = 65534  # who owns nothing


class OtherUserTest(unittest.TestCase):
    def setUp(self) -> None:
        self.addCleanup(Tray().end)
        folder = tempfile.TemporaryDirectory(prefix="nelo-users-")
        self.addCleanup(folder.cleanup)
        self.temporary = Path(folder.name)
        self.temporary.chmod(0o1777)
        self.home = self.temporary / "other-home"
        self.home.mkdir()
        os.chown(self.home, OTHER_USER, OTHER_USER)

    def start_as_other(self, nelo: Nelo) -> "subprocess.Popen[bytes]":
        """Starts the program as a user who has taken over the environment of the first one, as su does."""
        program = self.temporary / "NeloMenuBar"  # where that user can reach it
        shutil.copy(nelo.command[0], program)
        return subprocess.Popen([program], cwd="/", env={**nelo.environment, "HOME": str(self.home)},
                                user=OTHER_USER, group=OTHER_USER, extra_groups=[])

    def assert_runs_its_own(self, first_folder: Path) -> None:
        environment = {"XDG_RUNTIME_DIR": str(first_folder), "TMPDIR": str(self.temporary)}
        with Nelo(environment=environment) as nelo:
            before = contents(first_folder)
            other = self.start_as_other(nelo)
            until(lambda: len(icons()) == 2, "a status item of each user")
            self.assertEqual([frame.name for frame in nelo.accessible.children() if frame.role == "frame"], [])
            self.assertEqual(contents(first_folder), before)
            other.terminate()
            self.assertEqual(other.wait(20), 0)
            self.assertEqual(contents(first_folder), before)
            self.assertEqual(start_again(nelo).wait(20), 0)
            nelo.window("Nelo")  # the first user's door still works

    def test_another_users_program_is_neither_told_nor_touched(self) -> None:
        folder = self.temporary / "first"
        folder.mkdir(mode=0o700)
        self.assert_runs_its_own(folder)

    def test_a_folder_that_another_user_has_put_in_the_way_is_not_believed(self) -> None:
        folder = self.temporary / f"nelo-{OTHER_USER}"
        folder.mkdir(mode=0o700)
        self.assert_runs_its_own(folder)


def contents(folder: Path) -> list[tuple[str, int, int]]:
    return sorted((file.name, file.stat().st_ino, file.stat().st_uid) for file in folder.iterdir())


def icons() -> list[str]:
    """The windows of all users' programs that nobody has opened."""
    return xdotool("search", "--onlyvisible", "--class", "NeloMenuBar").split()


if __name__ == "__main__":
    if os.geteuid() != 0:  # only the superuser can start programs of two users
        os.execvp("sudo", ["sudo", "--non-interactive", "--preserve-env", sys.executable, *sys.argv])
    unittest.main()
