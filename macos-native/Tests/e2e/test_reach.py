"""Nelo can be reached on every desktop, and runs once however often it is started."""
from __future__ import annotations

import signal
import subprocess
import time
import unittest

from nelo import Nelo, TraylessNelo, launcher, launchers, open_chat, start_again
from screen import press, type_line, until, xdotool
from status_host import Tray


class StatusAreaTest(unittest.TestCase):
    def test_a_window_stands_in_until_a_status_area_comes(self) -> None:
        with TraylessNelo():
            pass  # the desktop has had its time to start when the window is there
        start = time.monotonic()
        with TraylessNelo() as nelo:
            until(lambda: launchers(nelo), "the window")
            self.assertLess(time.monotonic() - start, 2.0)
            self.addCleanup(Tray().end)
            until(lambda: not launchers(nelo), "the window gone")
            nelo.open("Open Nelo Console")

    def test_a_status_area_that_dies_and_comes_back(self) -> None:
        tray = Tray()
        self.addCleanup(lambda: tray.end())
        with Nelo() as nelo:
            tray.end()
            launcher(nelo)
            tray = Tray()
            until(lambda: not launchers(nelo), "the window gone")
            nelo.open("Open Nelo Console")

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

    def test_an_open_alert_does_not_lock_the_menu(self) -> None:
        self.addCleanup(Tray().end)
        with Nelo() as nelo:
            chat = open_chat(nelo)
            type_line("what is new")
            alert = nelo.accessible.find("dialog", "API Key Required")
            nelo.choose("Open Nelo Console")
            until(lambda: alert.is_active, "the alert in front")
            self.assertEqual([node.name for node in nelo.accessible.children() if node.role == "frame"], [chat.name])
            self.assertEqual(nelo.quit(), 0)

    def test_its_windows_bring_an_icon(self) -> None:
        tray = Tray()
        self.addCleanup(tray.end)
        with Nelo() as nelo:
            for item in ("Open Nelo", "Open Nelo Console", "Settings..."):
                nelo.open(item)
            tray.end()
            launcher(nelo)
            for title in ("Nelo Launcher", "Nelo", "Nelo Console", "Nelo Settings"):
                window = xdotool("search", "--onlyvisible", "--name", f"^{title}$").strip()
                icons = subprocess.check_output(["xprop", "-id", window, "_NET_WM_ICON"], text=True)
                self.assertIn("Icon (128 x 128)", icons)

    def test_every_item_works_by_keyboard(self) -> None:
        with TraylessNelo() as nelo:
            launcher(nelo).find("push button", "Open Nelo Console").press()
            nelo.window("Nelo Console")
            press("alt+F4")
            launcher(nelo).find("push button", "Quit Nelo").press()
            self.assertEqual(nelo.process.wait(20), 0)
            self.assertEqual(nelo.processes(), [])


class SecondStartTest(unittest.TestCase):
    def setUp(self) -> None:
        self.addCleanup(Tray().end)

    def test_it_brings_the_chat_forward_and_ends(self) -> None:
        with Nelo() as nelo:
            self.assertEqual(start_again(nelo).wait(20), 0)
            nelo.window("Nelo").find("text", "Send a message")
            nelo.open("Open Nelo Console")
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
