"""The session ends under the program: it is asked to go, or its display goes away. It leaves no process and no half file."""
from __future__ import annotations

import fcntl
import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import Callable
from unittest import mock

from nelo import Nelo, TraylessNelo, launcher, launchers, start_again
from provider import Provider
from screen import type_line, until, xdotool

SLOW_BACKEND = """
import pathlib, time

FOLDER = pathlib.Path(__file__).parent

def openclaw_runtime_status():
    (FOLDER / "asked").touch()
    while not (FOLDER / "answer").exists():
        time.sleep(0.01)
    return {}
"""


class Display:
    """A display with a window manager and no tray, which the test may end."""

    def __init__(self) -> None:
        reader, writer = os.pipe()
        self._server = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x900x24", "-nolisten", "tcp"],
                                        pass_fds=[writer], stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as numbers:
            self.name = f":{numbers.readline().strip()}"
        with tempfile.TemporaryDirectory(prefix="nelo-display-") as folder:
            managed = Path(folder, "managed")
            self._manager = subprocess.Popen(["openbox", "--startup", f"touch {managed}"], env={**os.environ, "DISPLAY": self.name},
                                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            until(managed.exists, "the window manager")

    def end(self) -> None:
        self._server.kill()
        self._server.wait()
        self._manager.wait()


class SessionEndTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-home-")
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        self.provider = Provider()
        self.addCleanup(self.provider.close)
        self.display = Display()
        self.addCleanup(self.display.end)
        moved = mock.patch.dict(os.environ, DISPLAY=self.display.name)
        moved.start()
        self.addCleanup(moved.stop)
        self.project = self.home / "nelohub"
        (self.project / "app").mkdir(parents=True)
        (self.project / "app/__init__.py").write_text(SLOW_BACKEND)
        defaults = self.home / ".config/Nelo/NeloMenuBar.conf"
        defaults.parent.mkdir(parents=True)
        defaults.write_text("[General]\nnelo.menubar.apiKey.openai=sk-test\n")

    def started(self) -> Nelo:
        return TraylessNelo(home=self.home, folder=self.project, environment={"NELO_OPENAI_BASE_URL": self.provider.url})

    def ask_the_provider(self, nelo: Nelo) -> None:
        launcher(nelo).find("push button", "Open Nelo").press()
        field = nelo.accessible.find("text", "Send a message")
        until(lambda: field.is_focused, "the keyboard in the input field")
        type_line("please wait")
        until(lambda: self.provider.requests, "the request")
        until(lambda: self.history()[1:] == ["please wait"], "the question on the disk, where it is a moment later")

    def ask_the_backend(self, nelo: Nelo) -> None:
        launcher(nelo).find("push button", "Open Nelo Console").press()
        until((self.project / "app/asked").exists, "the call")

    def history(self) -> list[str]:
        """What the history on the disk says, none of it while there is no file."""
        file = self.home / ".nelo/menubar_chat_history.json"
        return [record["content"] for record in json.loads(file.read_bytes())] if file.exists() else []

    def test_asked_to_go_while_something_runs(self) -> None:
        for ask in (self.ask_the_backend, self.ask_the_provider):
            with self.subTest(ask.__name__), self.started() as nelo:
                ask(nelo)
                nelo.process.terminate()
                (self.project / "app/answer").touch()  # a call in progress is waited for
                self.assertEqual(nelo.process.wait(20), 0)
                self.assertEqual(nelo.processes(), [])
        self.assertEqual(self.history()[1:], ["please wait"])

    def test_started_again_while_a_backend_call_delays_its_end(self) -> None:
        with self.started() as nelo:
            self.ask_the_backend(nelo)
            nelo.process.terminate()
            again = start_again(nelo)
            (self.project / "app/answer").touch()
            self.assertEqual(nelo.process.wait(20), 0)
            until(lambda: nelo.processes_of_the_program() == [again.pid], "the later start alone")
            until(lambda: launchers(nelo, again.pid), "its window")
            again.terminate()
            self.assertEqual(again.wait(20), 0)

    def test_started_again_on_another_display(self) -> None:
        other = Display()
        self.addCleanup(other.end)
        with self.started() as nelo:
            launcher(nelo)
            again = subprocess.Popen(nelo.command, env={**nelo.environment, "DISPLAY": other.name}, stderr=subprocess.PIPE, text=True)
            until(lambda: xdotool("search", "--onlyvisible", "--class", "NeloMenuBar", display=other.name), "the alert there")
            xdotool("key", "Return", display=other.name)
            self.assertEqual(again.communicate(timeout=20), (None, "Nelo is already running on another display.\n"))
            self.assertEqual(again.returncode, 1)

    def test_started_without_a_display_while_another_has_the_lock_and_does_not_listen(self) -> None:
        with tempfile.TemporaryDirectory() as folder, Path(folder, "nelo.lock").open("w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            nelo = self.started()
            done = subprocess.run(nelo.command, env={**nelo.environment, "DISPLAY": "", "XDG_RUNTIME_DIR": folder},
                                  stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (1, "Nelo is already running and does not answer.\n"))

    def test_the_display_goes_away(self) -> None:
        self.display_goes_away(lambda nelo: None)

    def test_the_display_goes_away_while_a_request_runs(self) -> None:
        self.display_goes_away(self.ask_the_provider)
        self.assertEqual(self.history()[1:], ["please wait"])

    def test_the_display_goes_away_while_a_backend_call_runs(self) -> None:
        self.display_goes_away(self.ask_the_backend)

    def display_goes_away(self, ask: Callable[[Nelo], None]) -> None:
        with self.started() as nelo:
            ask(nelo)
            self.display.end()
            (self.project / "app/answer").touch()
            self.assertGreaterEqual(nelo.process.wait(20), 0, "killed by a signal")
            until(lambda: nelo.processes() == [], "every process gone")
