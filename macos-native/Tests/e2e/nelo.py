"""The built program as its user has it: on a virtual desktop, driven with the keyboard once its menu is open.

To be run by scripts/virtual-desktop, with NELO_PROGRAM naming the program.
"""
from __future__ import annotations

import contextlib
import os
import re
import signal
import subprocess
import tempfile
import uuid
from pathlib import Path
from types import TracebackType
from typing import TypeVar

from resources import processes_with
from screen import TIMEOUT_SECONDS, Area, Node, click, press, settled, type_line, until, xdotool

from gi.repository import Atspi  # once screen.py has said which version

REPOSITORY = Path(__file__).resolve().parents[3]
BASE_FOLDERS = ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME")
GRACE_SECONDS = 5.0
TRAY_HEIGHT = 24
WINDOWS = {"Open Nelo": "Nelo", "Open Nelo Console": "Nelo Console", "Settings...": "Nelo Settings"}
MENU = (*WINDOWS, "Quit Nelo")

Self = TypeVar("Self", bound="Nelo")


class Nelo:
    """The running program with a home folder of its own; leaving the context ends it."""

    program = "NELO_PROGRAM"  # the environment variable with the program's path

    def __init__(self, home: Path | None = None, scale: float = 1, environment: dict[str, str] | None = None,
                 folder: Path = REPOSITORY) -> None:
        self._owned_home = tempfile.TemporaryDirectory(prefix="nelo-home-") if home is None else None
        self.home = home or Path(self._owned_home.name)  # type: ignore[union-attr]
        self._mark = f"NELO_TEST_RUN={uuid.uuid4()}"
        self._scale = scale
        self._folder = folder
        name, value = self._mark.split("=")
        self.environment = {
            **{variable: text for variable, text in os.environ.items() if variable not in BASE_FOLDERS},
            name: value,
            "HOME": str(self.home),
            "PATH": f"/usr/bin:{os.environ['PATH']}",  # the helper is Debian's Python, which sees the packages it reads with
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "QT_SCALE_FACTOR": str(scale),
            "XDG_RUNTIME_DIR": str(self._runtime_folder()),
            **(environment or {}),
        }

    def _runtime_folder(self) -> Path:
        folder = self.home / ".runtime"
        folder.mkdir(mode=0o700, parents=True, exist_ok=True)
        return folder

    @property
    def command(self) -> list[str]:
        return [os.environ[self.program]]

    def __enter__(self: Self) -> Self:
        self.process = subprocess.Popen(self.command, cwd=self._folder, env=self.environment)
        try:
            self._await_start()
        except AssertionError:
            self._end()
            raise
        return self

    def _await_start(self) -> None:
        until(self.status_item, "the status item in the tray")

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self._end()
        if self._owned_home:
            self._owned_home.cleanup()

    def _end(self) -> None:
        """Asks it to end, as a desktop does that shuts down, and kills what still runs after some time."""
        self.process.terminate()
        with contextlib.suppress(subprocess.TimeoutExpired):
            self.process.wait(GRACE_SECONDS)
        for process_id in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(process_id, signal.SIGKILL)
        self.process.wait()

    def processes(self) -> list[int]:
        """The ids of every process that descends from this run, however it was started."""
        return processes_with(self._mark)

    def processes_of_the_program(self) -> list[int]:
        program = Path(os.environ[self.program]).resolve()
        return [process_id for process_id in self.processes() if Path(f"/proc/{process_id}/exe").resolve() == program]

    def helpers(self) -> list[int]:
        return [process_id for process_id in self.processes() if process_id != self.process.pid]

    @property
    def accessible(self) -> Node:
        return self.accessible_of(self.process.pid)

    def accessible_of(self, process_id: int) -> Node:
        """The tree of one process, for there may be several."""
        def search() -> Node | None:
            desktop = Atspi.get_desktop(0)
            for index in range(desktop.get_child_count()):
                application = desktop.get_child_at_index(index)
                if application is not None and application.get_process_id() == process_id:
                    return Node(application, self._scale)
            return None

        return until(search, "the program on the accessibility bus")

    def _visible_windows(self) -> list[Area]:
        """Where the program's windows are, icon and menu included."""
        areas = []
        for window in xdotool("search", "--onlyvisible", "--class", "NeloMenuBar").split():
            numbers = re.findall(r"\d+", xdotool("getwindowgeometry", "--shell", window))
            if len(numbers) == 6:  # window, x, y, width, height, screen; nothing once it is gone
                areas.append(Area(*map(int, numbers[1:5])))
        return areas

    def status_item(self) -> Area | None:
        """The icon in the tray, at the top right of the screen."""
        middle = int(xdotool("getdisplaygeometry").split()[0]) / 2
        return next((area for area in self._visible_windows()
                     if area.y + area.height <= TRAY_HEIGHT and area.x > middle), None)

    def open_menu(self) -> None:
        """Clicks the status item. The menu itself is in no accessible tree: Qt leaves pop-ups out of it.

        A tray that has just come may swallow a click, which a person would repeat.
        """
        def opens() -> bool:
            item = self.settled_status_item()
            click(item.x + item.width / 2, item.y + item.height / 2)
            with contextlib.suppress(AssertionError):
                until(self.menu_area, "the status menu", timeout=3)
            return self.menu_area() is not None

        until(opens, "the status menu")

    def settled_status_item(self) -> Area:
        """The status item where a tray that has just come, and grows around it, has put it for good."""
        return settled(self.status_item, "the status item in its place in the tray")

    def menu_area(self) -> Area | None:
        """Where the menu is that the program has opened itself. No window or alert is as narrow."""
        return next((area for area in self._visible_windows() if TRAY_HEIGHT < area.width / self._scale < 400), None)

    def choose(self, item: str) -> None:
        """Picks an item of the status menu."""
        self.open_menu()
        press(*["Down"] * (MENU.index(item) + 1), "Return")

    def open(self, item: str) -> Node:
        """Picks an item of the status menu, and waits for its window."""
        self.choose(item)
        return self.window(WINDOWS[item])

    def window(self, title: str) -> Node:
        """Waits for a window, in front."""
        window = self.accessible.find("frame", title)
        until(lambda: window.is_active, f"{title} in front")
        return window

    def quit(self) -> int:
        """Chooses Quit Nelo and returns the program's exit status."""
        self.choose("Quit Nelo")
        return self.process.wait(TIMEOUT_SECONDS)


class TraylessNelo(Nelo):
    """The program on a desktop that has no status area when it starts."""

    def _await_start(self) -> None:
        self.accessible.find("frame", "Nelo Launcher")  # a window manager need not put in front what nobody has asked for


def launchers(nelo: Nelo, process_id: int | None = None) -> list[Node]:
    """The windows that show the menu's items, of which a process has one at most."""
    return [frame for frame in nelo.accessible_of(process_id or nelo.process.pid).children() if frame.role == "frame" and frame.is_showing
            and [node.name for node in frame.descendants() if node.role == "push button"] == list(MENU)]


def launcher(nelo: Nelo) -> Node:
    """The window that stands in for the status item, with the keyboard, which it does not take by itself."""
    window = until(lambda: launchers(nelo), "the window that stands in for the status item")[0]

    def comes_forward() -> bool:
        """It may be in the accessible tree before it is on the screen."""
        xdotool("search", "--onlyvisible", "--name", "Nelo Launcher", "windowactivate")
        return window.is_active

    until(comes_forward, "the launcher in front")
    return window


def wake_ups(nelo: Nelo) -> dict[str, int]:
    """How often each thread of the program has waited for something and got it."""
    counts = {}
    for status in Path(f"/proc/{nelo.process.pid}/task").glob("*/status"):
        (count,) = re.findall(r"^voluntary_ctxt_switches:\s*(\d+)", status.read_text(), re.MULTILINE)
        counts[status.parent.name] = int(count)
    return counts


def start_again(nelo: Nelo) -> "subprocess.Popen[bytes]":
    """Starts the program once more, as the same user on the same desktop."""
    return subprocess.Popen(nelo.command, cwd=REPOSITORY, env=nelo.environment)


def open_chat(nelo: Nelo) -> Node:
    """Opens the chat window, ready for typing."""
    chat = nelo.open("Open Nelo")
    field = chat.find("text", "Send a message")
    until(lambda: field.is_focused, "the keyboard in the input field")
    return chat


def open_and_close_windows(nelo: Nelo) -> None:
    """Opens each window once and closes it."""
    open_chat(nelo)
    press("alt+F4")
    for item in ("Open Nelo Console", "Settings..."):
        nelo.open(item)
        press("alt+F4")


def store_api_key(nelo: Nelo, chat: Node, provider: str, key: str) -> None:
    """Gives the chat the key of the chosen model's provider, which is named in capitals."""
    chat.find("push button", "+").press()
    field = nelo.accessible.find("dialog", "Configure API Key").find("password text", f"{provider} API Key")
    until(lambda: field.is_focused, "the keyboard in the key's field")
    type_line(key)
    nelo.window("Nelo")
    chat.find("text", "Send a message").reach(by="shift+Tab")


def install_package(nelo: Nelo, tab: Node, file: Path) -> None:
    """Has the Skills tab install a package; what comes of it is told in an alert."""
    tab.find("push button", "Install Skill").press()
    panel = nelo.accessible.find("dialog", re.compile("Choose an openclaw skill package"))
    field = panel.find("text", "File name:")
    until(lambda: field.is_focused, "the keyboard in the panel")
    type_line(str(file))
