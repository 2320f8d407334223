"""The console, opened through the tray, on this machine's real backend."""
from __future__ import annotations

import os
import re
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

from nelo import WINDOWS, Nelo
from screen import take_picture, until, xdotool

REPORT = re.compile(r"OS: .+\nInstalled: (yes|no)\nBinary: .+\nVersion: .+\nApp: (yes|no) \(.*\)\n"
                    r"Config: (yes|no) \(.*\)\nScript installer: ")
OWN_COLOR = "#12AB34"


def pixels(picture: Path, color: str) -> int:
    return subprocess.check_output(["convert", str(picture), "-depth", "8", "txt:-"], text=True).count(color)


def is_above(one: str, other: str) -> bool:
    """Whether both windows are there, the first over the second."""
    stack = subprocess.check_output(["xprop", "-root", "_NET_CLIENT_LIST_STACKING"], text=True)
    names = [xdotool("getwindowname", window).strip() for window in re.findall("0x[0-9a-f]+", stack)]
    return {one, other} <= set(names) and names.index(one) > names.index(other)


class ConsoleTest(unittest.TestCase):
    def test_the_runtime_report_survives_a_dead_helper_and_quitting_leaves_nothing(self) -> None:
        with Nelo() as nelo:
            self.assertEqual(nelo.helpers(), [])
            console = nelo.open("Open Nelo Console")
            console.open_tab("Runtime")
            report = console.find("label", REPORT).name
            console.find("label", "Runtime status refreshed.")

            helper, = nelo.helpers()
            os.kill(helper, signal.SIGKILL)
            console.find("push button", "Refresh").press()
            until(lambda: nelo.helpers() not in ([], [helper]), "another helper")
            self.assertEqual(console.find("label", REPORT).name, report)
            console.find("label", "Runtime status refreshed.")

            self.assertEqual(nelo.quit(), 0)
            self.assertEqual(nelo.processes(), [])

    def test_its_text_has_13_pixels_where_the_desktop_tells_no_font(self) -> None:
        with Nelo(environment={"QT_FONT_DPI": "72"}) as nelo:  # a point is a pixel
            console = nelo.open("Open Nelo Console")
            console.open_tab("Skills")
            self.assertEqual(console.find("text", "Select a skill").text_size, 13)


class MenuTest(unittest.TestCase):
    def test_the_item_is_the_users_own_image_and_tells_its_name(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as home:
            Path(home, "Desktop").mkdir()
            subprocess.run(["convert", "-size", "512x512", f"xc:{OWN_COLOR}", f"png32:{home}/Desktop/nelo.png"], check=True)
            with Nelo(home=Path(home)) as nelo:
                def is_drawn() -> bool:
                    take_picture(Path(home, "screen.png"))
                    return pixels(Path(home, "screen.png"), OWN_COLOR) == 18 * 18

                until(is_drawn, "the image in the tray, 18 pixels wide and high")
                item = nelo.settled_status_item()
                xdotool("mousemove", item.x + 2, item.y + 2, "mousemove", item.x + item.width / 2, item.y + item.height / 2)
                nelo.accessible.find("tool tip", "Nelo")

    def test_each_window_opens_in_the_middle_of_the_screen(self) -> None:
        screen = [int(number) for number in xdotool("getdisplaygeometry").split()]
        with Nelo() as nelo:
            for item in WINDOWS:
                area = nelo.open(item).area
                self.assertAlmostEqual(area.x + area.width / 2, screen[0] / 2, delta=5)
                self.assertAlmostEqual(area.y + area.height / 2, screen[1] / 2, delta=20)  # with its title bar

    def test_a_window_comes_forward_from_behind_another_program(self) -> None:
        with Nelo() as nelo:
            console = nelo.open("Open Nelo Console")
            other = subprocess.Popen(["xev", "-name", "other", "-geometry", "900x700+200+100"], stdout=subprocess.DEVNULL)
            self.addCleanup(other.wait)
            self.addCleanup(other.kill)
            until(lambda: is_above("other", "Nelo Console") and not console.is_active, "the other program in front")
            nelo.open("Open Nelo Console")
            self.assertTrue(is_above("Nelo Console", "other"))
