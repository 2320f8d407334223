"""Nelo can be reached on every desktop, and runs once however often it is started."""
from __future__ import annotations

import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from nelo import REPOSITORY, Nelo, TraylessNelo, launcher, launchers, press, take_picture, until, xdotool
from tray import Tray

OTHER_USER = 65534  # who owns nothing
PICTURES = Path(os.environ.get("NELO_PICTURES", "."))


def start_again(nelo: Nelo) -> "subprocess.Popen[bytes]":
    return subprocess.Popen(nelo.command, cwd=REPOSITORY, env=nelo.environment)


class StatusAreaTest(unittest.TestCase):
    def test_a_window_stands_in_until_a_status_area_comes(self) -> None:
        start = time.monotonic()
        with TraylessNelo() as nelo:
            launcher(nelo)
            self.assertLess(time.monotonic() - start, 2.0)
            take_picture(PICTURES / "launcher.png")
            tray = Tray()
            self.addCleanup(tray.end)
            until(lambda: not launchers(nelo), "the window gone")
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console")

    def test_a_status_area_that_dies_and_comes_back(self) -> None:
        tray = Tray()
        self.addCleanup(lambda: tray.end())
        with Nelo() as nelo:
            tray.end()
            launcher(nelo)
            tray = Tray()
            until(lambda: not launchers(nelo), "the window gone")
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console")

    def test_an_x11_tray_does_without_a_session_bus(self) -> None:
        self.addCleanup(Tray().end)
        with Nelo(environment={"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere"}) as nelo:
            self.assertEqual(nelo.quit(), 0)

    def test_a_window_that_was_closed_comes_back_with_the_next_start(self) -> None:
        with TraylessNelo() as nelo:
            window = launcher(nelo)
            press("alt+F4")
            until(lambda: not window.is_showing, "the window closed")
            self.assertEqual(start_again(nelo).wait(20), 0)
            until(lambda: launchers(nelo), "the window that stands in")
            nelo.accessible.find("text", "Send a message")
            self.assertEqual(nelo.processes_of_the_program(), [nelo.process.pid])

    def test_every_entry_works_by_keyboard(self) -> None:
        with TraylessNelo() as nelo:
            launcher(nelo).find("push button", "Open Nelo Console").press()
            nelo.window("Nelo Console")
            press("alt+F4")
            launcher(nelo).find("push button", "Quit Nelo").press()
            self.assertEqual(nelo.process.wait(20), 0)
            self.assertEqual(nelo.processes(), [])


class SecondStartTest(unittest.TestCase):
    def setUp(self) -> None:
        tray = Tray()
        self.addCleanup(tray.end)

    def test_it_brings_the_chat_forward_and_ends(self) -> None:
        with Nelo() as nelo:
            self.assertEqual(start_again(nelo).wait(20), 0)
            nelo.window("Nelo").find("text", "Send a message")
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console")
            self.assertEqual(start_again(nelo).wait(20), 0)
            nelo.window("Nelo")  # from behind the console
            self.assertEqual(nelo.processes_of_the_program(), [nelo.process.pid])

    def test_twenty_starts_at_once_leave_one_program(self) -> None:
        with Nelo() as nelo:
            nelo.quit()
            starts = [start_again(nelo) for _ in range(20)]
            until(lambda: sum(start.poll() is None for start in starts) == 1, "one program")
            last, = (start for start in starts if start.poll() is None)
            self.assertEqual([start.returncode for start in starts if start is not last], [0] * 19)
            last.send_signal(signal.SIGTERM)
            self.assertEqual(last.wait(20), 0)

    def test_the_next_start_after_a_kill_works_at_once(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as home:
            with Nelo(home=Path(home)) as nelo:
                nelo.process.kill()
                nelo.process.wait()
                with Nelo(home=Path(home)) as again:
                    again.choose("Open Nelo")
                    again.window("Nelo")


@unittest.skipUnless(os.geteuid() == 0, "only the superuser can start programs of two users")
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
    unittest.main()
