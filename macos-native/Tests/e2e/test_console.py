"""The console, opened through the tray, on this machine's real backend."""
from __future__ import annotations

import os
import re
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

from nelo import MENU, Nelo, press, take_picture, until, xdotool

PICTURES = Path(os.environ.get("NELO_PICTURES", "."))
REPORT = re.compile(r"OS: .+\nInstalled: (yes|no)\nBinary: .+\nVersion: .+\nApp: (yes|no) \(.*\)\n"
                    r"Config: (yes|no) \(.*\)\nScript installer: ")
OWN_COLOUR = "#12AB34"


def pixels(picture: Path, colour: str) -> int:
    listed = subprocess.run(["convert", str(picture), "-depth", "8", "txt:-"], capture_output=True, text=True, check=True)
    return listed.stdout.count(colour)


def is_above(one: str, other: str) -> bool:
    """Whether both windows are there, the first over the second."""
    stack = subprocess.run(["xprop", "-root", "_NET_CLIENT_LIST_STACKING"], capture_output=True, text=True, check=True)
    names = [xdotool("getwindowname", window).strip() for window in re.findall("0x[0-9a-f]+", stack.stdout)]
    return {one, other} <= set(names) and names.index(one) > names.index(other)


class ConsoleTest(unittest.TestCase):
    def test_the_runtime_report_survives_a_dead_helper_and_quitting_leaves_nothing(self) -> None:
        with Nelo() as nelo:
            self.assertEqual(nelo.helpers(), [])
            nelo.choose("Open Nelo Console")
            console = nelo.window("Nelo Console")
            console.open_tab("Runtime")
            report = console.find("label", REPORT).name
            console.find("label", "Runtime status refreshed.")
            take_picture(PICTURES / "runtime.png")

            helper, = nelo.helpers()
            os.kill(helper, signal.SIGKILL)
            console.find("push button", "Refresh").press()
            until(lambda: nelo.helpers() not in ([], [helper]), "another helper")
            self.assertEqual(console.find("label", REPORT).name, report)
            console.find("label", "Runtime status refreshed.")

            self.assertEqual(nelo.quit(), 0)
            self.assertEqual(nelo.processes(), [])

    def test_a_console_that_was_closed_comes_back_with_its_tab(self) -> None:
        with Nelo() as nelo:
            nelo.choose("Open Nelo Console")
            console = nelo.window("Nelo Console")
            console.open_tab("Tovani")
            console.find("label", "Tovani")
            nelo.choose("Open Nelo")  # in front of the console
            nelo.window("Nelo")
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console").find("label", "Tovani")
            frames = [node.name for node in nelo.accessible.children() if node.role == "frame"]
            self.assertEqual(frames.count("Nelo Console"), 1)


class MenuTest(unittest.TestCase):
    def test_the_item_is_the_users_own_image_and_tells_its_name(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as home:
            Path(home, "Desktop").mkdir()
            subprocess.run(["convert", "-size", "512x512", f"xc:{OWN_COLOUR}", f"png32:{home}/Desktop/nelo.png"], check=True)
            with Nelo(home=Path(home)) as nelo:
                def is_drawn() -> bool:
                    take_picture(PICTURES / "own-image.png")
                    return pixels(PICTURES / "own-image.png", OWN_COLOUR) == 18 * 18

                until(is_drawn, "the image in the tray, 18 pixels wide and high")
                item = nelo.settled_status_item()
                xdotool("mousemove", item.x + 2, item.y + 2, "mousemove", item.x + item.width / 2, item.y + item.height / 2)
                nelo.accessible.find("tool tip", "Nelo")

    def test_each_window_opens_in_the_middle_of_the_screen(self) -> None:
        screen = [int(number) for number in xdotool("getdisplaygeometry").split()]
        with Nelo() as nelo:
            for item, title in zip(MENU, ("Nelo", "Nelo Console", "Nelo Settings")):
                nelo.choose(item)
                area = nelo.window(title).area
                self.assertAlmostEqual(area.x + area.width / 2, screen[0] / 2, delta=5)
                self.assertAlmostEqual(area.y + area.height / 2, screen[1] / 2, delta=20)  # with its title bar

    def test_a_window_comes_forward_from_behind_another_program(self) -> None:
        with Nelo() as nelo:
            nelo.choose("Open Nelo Console")
            console = nelo.window("Nelo Console")
            other = subprocess.Popen(["xev", "-name", "other", "-geometry", "900x700+200+100"], stdout=subprocess.DEVNULL)
            self.addCleanup(other.wait)
            self.addCleanup(other.kill)
            until(lambda: is_above("other", "Nelo Console") and not console.is_active, "the other program in front")
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console")
            self.assertTrue(is_above("Nelo Console", "other"))

    def test_control_q_quits_while_the_menu_is_open(self) -> None:
        with Nelo() as nelo:
            nelo.open_menu()
            press("ctrl+q")
            self.assertEqual(nelo.process.wait(20), 0)

    def test_control_comma_opens_the_settings_while_the_menu_is_open(self) -> None:
        with Nelo() as nelo:
            nelo.open_menu()
            press("ctrl+comma")
            nelo.window("Nelo Settings")

    def test_asked_to_terminate_it_ends_with_its_helper(self) -> None:
        with Nelo() as nelo:
            nelo.choose("Open Nelo Console")
            nelo.window("Nelo Console")
            until(nelo.helpers, "the helper")
            nelo.process.send_signal(signal.SIGTERM)
            self.assertEqual(nelo.process.wait(20), 0)
            self.assertEqual(nelo.processes(), [])

    def test_nothing_but_the_program_runs_until_something_is_asked_for(self) -> None:
        with Nelo() as nelo:
            nelo.open_menu()
            press("Escape")
            self.assertEqual(nelo.processes(), [nelo.process.pid])


if __name__ == "__main__":
    unittest.main()
