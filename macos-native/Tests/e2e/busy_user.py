"""A user who opens every window, chats, refreshes and closes them again, and waits for the end of each step."""
from __future__ import annotations

import contextlib
import os
import re
import signal
from pathlib import Path
from typing import Iterator

from agent_files import write_codex_agent, write_kimi_agent
from resources import bytes_read, resources
from nelo import Nelo
from provider import Provider
from screen import Node, press, type_line, until

ANSWERED_CHATS = 3
REFRESHES_PER_TAB = 2
QUESTION = "why is the sky blue"
FAILING_QUESTION = "please fail"
ANSWER = "因为瑞利散射: blue light is scattered more than red.\n\n傍晚时阳光要穿过更厚的大气。"
MESSAGES = [("user", QUESTION), ("assistant", ANSWER)] * ANSWERED_CHATS + [("user", FAILING_QUESTION)]
"""What a round adds to the conversation."""
CONSOLE = "Nelo Console"
TABS = ("Agents", "Runtime", "Skills", "Settings")


def furnish(home: Path) -> None:
    """Gives the console what a busy user looks at."""
    for agent in ("scout", "ranger"):
        write_kimi_agent(home, agent)
    write_codex_agent(home, "侦察员")
    for name, metadata in (("plain", "{}"), ("weather", '{"openclaw": {"requires": {"env": ["WEATHER_KEY", "CITY"]}}}')):
        folder = home / ".openclaw/skills" / name
        folder.mkdir(parents=True)
        (folder / "SKILL.md").write_text(f"---\nname: {name}\ndescription: Tells.\nmetadata: {metadata}\n---\n")


class BusyUser:
    """Needs a home that is furnished, and the provider's key stored."""

    def __init__(self, nelo: Nelo, provider: Provider) -> None:
        self._nelo = nelo
        self._provider = provider
        self._provider.answers[QUESTION] = ANSWER
        self._controls: dict[tuple[str, ...], Node] = {}
        self.chats = 0
        self.refreshes = 0
        self.windows = 0
        self.kills = 0

    def do_a_round(self) -> None:
        with self.window("Open Nelo", "Nelo") as chat:
            self._chat(chat)
        with self.window("Open Nelo Console", CONSOLE) as console:
            for tab in TABS:
                self._visit_tab(console, tab)
        with self.window("Settings...", "Nelo Settings") as settings:
            self._refresh(self._control(settings, "", "push button", "Reload"))

    def look_into_chat(self) -> None:
        with self.window("Open Nelo", "Nelo"):
            pass

    def kill_helper(self) -> None:
        """Ends the helper, each second time in the middle of a call, and has another one started."""
        with self.window("Open Nelo Console", CONSOLE) as console:
            button = self._open_tab(console, "Runtime")
            if self.kills % 2:
                button.click()
            for helper in self._helpers():
                os.kill(helper, signal.SIGKILL)
            self.kills += 1
            self._refresh(button)

    @contextlib.contextmanager
    def window(self, item: str, title: str) -> Iterator[Node]:
        """Opens a window through the menu, and closes it after the body."""
        self._nelo.choose(item)
        with self._opened(title) as window:
            yield window

    @contextlib.contextmanager
    def _opened(self, title: str, role: str = "frame", key: str = "alt+F4") -> Iterator[Node]:
        """The window or dialog that comes, which is closed by `key` after the body."""
        window = self._in_front(role, title)
        self.windows += 1
        yield window
        self._in_front(role, title)  # again: a key that is pressed too early reaches no window
        press(key)
        until(lambda: not self._showing(role, title), f"{title} closed")

    def _in_front(self, role: str, title: str) -> Node:
        return until(lambda: next((node for node in self._showing(role, title) if node.is_active), None),
                     f"{title} in front")

    def _showing(self, role: str, title: str) -> list[Node]:
        """Looks among the windows only: in the chat there may be thousands of bubbles."""
        return [node for node in self._nelo.accessible.children()
                if node.role == role and node.name == title and node.is_showing]

    def _control(self, window: Node, tab: str, role: str, name: str) -> Node:
        """A control of a window that lives on while it is closed. It is looked for once, for that takes long."""
        key = (window.name, tab, role, name)
        if key not in self._controls:
            self._controls[key] = window.find(role, re.compile(name))
        return self._controls[key]

    def _chat(self, chat: Node) -> None:
        field = self._control(chat, "", "text", "Send a message")
        status = self._control(chat, "", "label", r"\Z")  # nothing was sent yet
        until(lambda: field.is_focused, "the keyboard in the input field")
        for _ in range(ANSWERED_CHATS):
            self._ask(QUESTION)
            until(lambda: status.name == "request succeeded", "the answer")
        self._ask(FAILING_QUESTION)
        with self._opened("Request Failed", "dialog", "Escape"):
            pass
        until(lambda: field.is_focused, "the keyboard in the input field")
        self._control(chat, "", "push button", r"\+").click()
        with self._opened("Configure API Key", "dialog", "Escape"):
            pass

    def _ask(self, question: str) -> None:
        self._provider.requests.clear()
        type_line(question)
        until(lambda: self._provider.requests, "the question at the provider")
        self.chats += 1

    def _visit_tab(self, console: Node, tab: str) -> None:
        button = self._open_tab(console, tab)
        for _ in range(REFRESHES_PER_TAB):
            self._refresh(button)
        if tab == "Agents":
            self._open_editor(console)
        if tab == "Skills":
            self._look_at_skills(console)

    def _open_tab(self, console: Node, tab: str) -> Node:
        """Returns the button that has the tab's data loaded again."""
        self._control(console, "", "page tab", tab).click()
        button = self._control(console, tab, "push button", "Reload" if tab == "Settings" else r"Refresh\Z")
        until(lambda: button.is_showing, f"the tab {tab}")
        return button

    def _refresh(self, button: Node) -> None:
        """Waits until the helper was asked: the program answers nobody before the helper has answered it."""
        before = self._asked()
        button.click()
        until(lambda: self._asked() != before, "the helper asked")
        self.refreshes += 1

    def _helpers(self) -> list[int]:
        return resources(self._nelo.process.pid).children

    def _asked(self) -> dict[int, int]:
        """How much every helper has read so far."""
        with contextlib.suppress(OSError):  # one ends at this moment
            return {helper: bytes_read(helper) for helper in self._helpers()}
        return {}

    def _open_editor(self, console: Node) -> None:
        self._control(console, "Agents", "table cell", "scout").click()
        self._control(console, "Agents", "push button", "Config Editor").click()
        with self._opened(f"Config Editor - {self._nelo.home / '.kimi/config.json'}"):
            pass

    def _look_at_skills(self, console: Node) -> None:
        for skill in ("plain", "weather"):
            self._control(console, "Skills", "table cell", rf"\[managed\] {skill}").click()
            console.find("label", f"Loaded config for {skill}.")
