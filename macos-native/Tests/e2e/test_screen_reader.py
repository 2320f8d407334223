"""Every window by keyboard, as Orca speaks it: spoken.txt has what is pressed, and what is spoken then.

The test writes what it hears in the same form to a file of that name beside the pictures. After a change that is meant,
compare that file with the one here, and copy it."""
from __future__ import annotations

import contextlib
import functools
import os
import re
import sys
import tempfile
import unittest
from collections.abc import Callable
from pathlib import Path

from model_server import ModelServer, ModelsWindow
from nelo import TraylessNelo, launcher
from provider import Provider
from sample_home import FORECAST, make_agents, make_skills
from screen import press
from screen_reader import Orca
from skill_packages import WEATHER, package, served_catalogue
from agent_files import install_stub_openclaw

EXPECTED = Path(__file__).with_name("spoken.txt")
NOW = Path(os.environ.get("NELO_PICTURES", ".")) / EXPECTED.name
BETWEEN = " • "
# The next status may replace it before it is read.
PASSING = ("notification request started.",)
SYSTEM = re.compile("(?<=OS: ).*(?= Installed:)")
PORT = re.compile(r"(?<=127\.0\.0\.1:)\d{5}")
# Of a selected text that is sent and so removed, Orca says the one or the other, by what it is told first.
REMOVED = re.compile(r"Selection deleted\.")
STAMP = re.compile(r"20\d\d-?\d\d-?\d\d[-T]\d\d:?\d\d:?\d{1,2}Z?")


def steps_of(window: str) -> list[list[str]]:
    """The steps below the heading of this window. Each is what is done, and then what is spoken: keys that are pressed one
    after the other, or a text in quotes that is typed."""
    _, rest = EXPECTED.read_text(encoding="utf-8").split(f"== {window}\n")
    return [line.split(BETWEEN) for line in rest.split("\n== ")[0].splitlines() if line]


def in_one_of_three_runs(test: Callable[["ScreenReaderTest"], None]) -> Callable[["ScreenReaderTest"], None]:
    """Runs a test again when it fails: on a busy machine Orca drops some of the events that it gets."""
    @functools.wraps(test)
    def run(self: "ScreenReaderTest") -> None:
        for _ in range(2):
            try:
                return test(self)
            except AssertionError as error:
                print(f"Once more, after: {error}", file=sys.stderr)
                self.running.close()
                self.setUp()
        test(self)
    return run


class ScreenReaderTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        NOW.parent.mkdir(parents=True, exist_ok=True)
        NOW.write_text("")

    def setUp(self) -> None:
        self.running = contextlib.ExitStack()
        self.addCleanup(self.running.close)
        self.orca = self.running.enter_context(Orca())
        self.is_first_step = True
        self.home = Path(self.running.enter_context(tempfile.TemporaryDirectory(prefix="nelo-home-")))

    def read(self, window: str) -> None:
        """Does what the steps say, and waits after each until all is spoken that they say, and nothing else."""
        with NOW.open("a", encoding="utf-8") as file:
            file.write(f"\n== {window}\n")
            for action, *spoken in steps_of(window):
                self.act(action)
                heard = self.orca.hear(spoken, self.plain)
                self.is_first_step = False
                file.write(BETWEEN.join([action, *heard]) + "\n")
                file.flush()
                self.assertEqual(sorted(heard), sorted(spoken), f"{window}: {action}")

    def act(self, action: str) -> None:
        if action.startswith('"'):
            self.orca.hear_typing(action.strip('"'))
        else:
            press(*action.split())

    def plain(self, line: str) -> str:
        """What is the same in every run; nothing for a status that the next may replace before it is read, and for the window
        that has the keyboard at first: Orca may know of it before, and is then silent about it."""
        if line in PASSING or (self.is_first_step and line.endswith(" frame.")):
            return ""
        line = line.replace(str(self.home), "~")
        for pattern, word in ((SYSTEM, "SYSTEM"), (PORT, "PORT"), (STAMP, "STAMP"), (REMOVED, "Text unselected.")):
            line = pattern.sub(word, line)
        return line

    @in_one_of_three_runs
    def test_nelo(self) -> None:
        provider = self.running.enter_context(contextlib.closing(Provider(answers={"sky": "因为瑞利散射。"})))
        make_agents(self.home)
        make_skills(self.home, self.running.enter_context(served_catalogue({"forecast": package(FORECAST)})))
        (self.home / "weather.zip").write_bytes(package(WEATHER))
        nelo = self.running.enter_context(TraylessNelo(self.home, environment={"NELO_OPENAI_BASE_URL": provider.url}))
        launcher(nelo)
        for window in ("Launcher", "Chat", "Agents", "Runtime"):
            self.read(window)
        install_stub_openclaw(self.home)  # with it, the agent of openclaw has skills
        for window in ("Skills", "Settings"):
            self.read(window)

    @in_one_of_three_runs
    def test_models(self) -> None:
        server = self.running.enter_context(contextlib.closing(ModelServer()))
        self.running.enter_context(ModelsWindow(self.home, environment={"OLLAMA_HOST": server.address}))
        self.read("Models")
