"""The console, opened through the tray, on this machine's real backend."""
from __future__ import annotations

import os
import re
import signal
import unittest
from pathlib import Path

from nelo import Nelo, press, take_picture, until

PICTURES = Path(os.environ.get("NELO_PICTURES", "."))
REPORT = re.compile(r"OS: .+\nInstalled: (yes|no)\nBinary: .+\nVersion: .+\nApp: (yes|no) \(.*\)\n"
                    r"Config: (yes|no) \(.*\)\nScript installer: ")


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
