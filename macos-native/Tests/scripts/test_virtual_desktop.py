"""The virtual desktop of scripts/virtual-desktop: it ends with its command, and whole when it is interrupted."""
from __future__ import annotations

import os
import signal
import subprocess
import tempfile
import time
import unittest
import uuid
from pathlib import Path

from resources import processes_with

SCRIPT = Path(__file__).resolve().parents[3] / "scripts/virtual-desktop"
TIMEOUT_SECONDS = 20


class VirtualDesktopTest(unittest.TestCase):
    def setUp(self) -> None:
        self.mark = f"VIRTUAL_DESKTOP_TEST={uuid.uuid4()}"
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        name, value = self.mark.split("=")
        self.environment = {**os.environ, name: value, "TMPDIR": self.folder.name}

    def processes(self) -> list[int]:
        """All processes that the desktop has started, the script included."""
        return processes_with(self.mark)

    def start(self, *command: str) -> "subprocess.Popen[str]":
        process = subprocess.Popen([SCRIPT, *command], env=self.environment, stdout=subprocess.PIPE, text=True,
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.default_int_handler))
        self.addCleanup(process.stdout.close)  # type: ignore[union-attr]
        return process

    def test_the_command_has_a_display_a_bus_and_its_status_is_passed_on(self) -> None:
        process = self.start("bash", "-c", 'echo "$DISPLAY $DBUS_SESSION_BUS_ADDRESS"; exit 7')
        said, _ = process.communicate(timeout=TIMEOUT_SECONDS)
        self.assertRegex(said, r"\A:\d+ unix:")
        self.assertEqual(process.returncode, 7)
        self.assertEqual(self.processes(), [])
        self.assertEqual(list(Path(self.folder.name).iterdir()), [])

    def test_a_service_that_the_bus_has_started_ends_too(self) -> None:
        services = Path(self.folder.name, "data", "dbus-1", "services")
        services.mkdir(parents=True)
        running = Path(self.folder.name, "running")
        (services / "test.Sleeper.service").write_text(
            f'[D-BUS Service]\nName=test.Sleeper\nExec=/bin/sh -c "touch {running}; exec sleep 1000"\n')
        self.environment["XDG_DATA_HOME"] = str(services.parents[1])
        process = self.start("bash", "-c", "dbus-send --session --type=method_call --dest=org.freedesktop.DBus / "
                             "org.freedesktop.DBus.StartServiceByName string:test.Sleeper uint32:0; "
                             f"timeout {TIMEOUT_SECONDS // 2} sh -c 'until [ -e {running} ]; do sleep 0.02; done'")
        self.assertEqual(process.wait(TIMEOUT_SECONDS), 0)
        self.assertEqual(self.processes(), [])

    def test_an_interrupt_ends_everything(self) -> None:
        for number, status in ((signal.SIGTERM, 143), (signal.SIGINT, 130)):
            with self.subTest(number):
                process = self.start("bash", "-c", "echo ready; sleep 1000")
                self.assertEqual(process.stdout.readline(), "ready\n")  # type: ignore[union-attr]
                self.assertIn("Xvfb\n", [Path(f"/proc/{process_id}/comm").read_text() for process_id in self.processes()])
                process.send_signal(number)
                self.assertEqual(process.wait(TIMEOUT_SECONDS), status)
                deadline = time.monotonic() + TIMEOUT_SECONDS
                while self.processes() and time.monotonic() < deadline:
                    time.sleep(0.02)
                self.assertEqual(self.processes(), [])
                self.assertEqual(list(Path(self.folder.name).iterdir()), [])
