"""Opens every window of the program and writes its picture to the folder named by the first argument.

A window starts at its smallest size; those that have something to gain by it are also taken at their largest. The ordinary
round also takes the README's pictures, of single windows. Without a tray it is the window that stands in for it, alone."""
from __future__ import annotations

import contextlib
import os
import re
import sys
import tempfile
from pathlib import Path
from typing import Iterator

from agent_files import install_stub_openclaw
from model_server import ModelServer, ModelsWindow
from nelo import Nelo, TraylessNelo, install_package, launcher, open_chat, store_api_key
from provider import Provider
from sample_home import FORECAST, make_agents, make_skills
from screen import Node, choose_in_popup, press, replace_text, take_picture, take_picture_of_window, type_line, until
from skill_packages import WEATHER, package, served_catalogue

SCALE = float(os.environ.get("NELO_SCALE", "1"))
LOOK = os.environ.get("NELO_LOOK", "")  # what this round of pictures is called; nothing for the ordinary one
DARK = {"View": (27, 30, 32), "Window": (42, 46, 50), "Button": (49, 54, 59), "Selection": (61, 174, 233),
        "Tooltip": (49, 54, 59)}
LARGE_TEXT = ["[General]", "font=Sans Serif,18,-1,5,50,0,0,0,0,0"]  # twice as large as where no desktop says anything
FOLDER = Path(sys.argv[1])
WINDOWS_OF_README = {"chat-conversation": "chat", "settings": "settings", "config-editor": "config-editor", "launcher": "launcher",
                     **{name: name for name in ("console-agents", "console-runtime", "console-skills")}}
QUESTION = "Why is the sky blue"
LONG_QUESTION = "Please explain it again, slowly and with an example from daily life, for a reader of ten years who likes to ask back"
LONG_REPLY = ("天空之所以是蓝色的，是因为阳光穿过大气层时，波长较短的蓝光比红光更容易被空气分子散射。"
              "This is called Rayleigh scattering: its strength grows with the fourth power of the frequency.\n\n"
              "傍晚时阳光要穿过更厚的大气，蓝光大多已被散射掉，剩下的便是红色和橙色。")


def picture(name: str) -> None:
    take_picture(FOLDER / f"{name}{LOOK and '@' + LOOK}.png")
    if name in WINDOWS_OF_README and not LOOK:
        take_picture_of_window(FOLDER / "readme" / f"{WINDOWS_OF_README[name]}.png")


@contextlib.contextmanager
def dialog(nelo: Nelo, opener: Node, title: str, name: str) -> Iterator[Node]:
    """Presses `opener`, takes the picture of the dialog that appears, and leaves it to the body to close it."""
    opener.press()
    opened = nelo.accessible.find("dialog", title)
    picture(name)
    yield opened


def dismissed(nelo: Nelo, opener: Node, title: str, name: str) -> None:
    opener.press()
    told(nelo, title, name)


def told(nelo: Nelo, title: str, name: str, window: str = "Nelo Console") -> None:
    """Takes the picture of the dialog that comes now over the window, and closes it."""
    nelo.accessible.find("dialog", title)
    picture(name)
    press("Escape")
    nelo.window(window)


def show_menu(nelo: Nelo) -> None:
    nelo.open_menu()
    picture("menu")
    if not LOOK:
        take_picture(FOLDER / "readme/menu.png", "-window", "root", "-crop", "400x200+880+0", "+repage")
    press("Escape")


def show_console(nelo: Nelo) -> None:
    console = nelo.open("Open Nelo Console")
    show_agents(nelo, console)
    for tab in ("Runtime", "Tovani", "Skills", "Settings"):
        console.open_tab(tab)
        if tab == "Skills":
            show_skills(nelo, console)
        else:
            picture(f"console-{tab.lower()}")


def show_agents(nelo: Nelo, console: Node) -> None:
    table = console.find("table", "Agents")
    table.find("table cell", "侦察员")
    add, rename, configure, delete = (console.find("push button", title)
                                      for title in ("Add Agent", "Adopt / Rename", "Run Configure", "Delete"))
    dismissed(nelo, delete, "No Selection", "agents-no-selection")
    add_codex_agent(nelo, add)
    picture("console-agents")

    table.select_row("侦察员")
    dismissed(nelo, rename, "Adopt Agent", "agents-adopt")
    dismissed(nelo, delete, "Cannot Delete", "agents-cannot-delete")
    dismissed(nelo, configure, "Unsupported", "agents-unsupported")
    table.select_row("Builder")
    dismissed(nelo, rename, "Rename Agent", "agents-rename")
    dismissed(nelo, delete, "Delete Agent", "agents-delete")
    table.select_row("pilot")
    dismissed(nelo, configure, "Configure Failed", "agents-configure-failed")
    with dialog(nelo, add, "Add Agent", "agents-add-openclaw"):
        press("Return")
    told(nelo, "OpenClaw Setup Failed", "agents-setup-failed")
    show_failures(nelo, table, add, rename, delete)
    show_editor(nelo, console)


def add_codex_agent(nelo: Nelo, add: Node) -> None:
    with dialog(nelo, add, "Add Agent", "agents-add") as opened:
        choose_in_popup(opened.find("combo box", "Ecosystem"), "codex")
        replace_text(opened.find("text", "Name"), "Builder")
        press("Return")
    nelo.window("Nelo Console")


@contextlib.contextmanager
def folder_in_place_of(file: Path) -> Iterator[None]:
    """Puts a folder in the place of a file during the body: then even the superuser cannot read or write the file."""
    aside = file.with_name(f"{file.name}.aside")
    file.rename(aside)
    file.mkdir()
    yield
    file.rmdir()
    aside.rename(file)


def show_failures(nelo: Nelo, table: Node, add: Node, rename: Node, delete: Node) -> None:
    """Shows the alerts of actions that were confirmed and fail."""
    registry = nelo.home / ".nelo/agents.json"
    table.select_row("Builder")
    for opener, title, failure in ((add, "Add Agent", "Add Agent Failed"), (rename, "Rename Agent", "Save Failed"),
                                   (delete, "Delete Agent", "Delete Failed")):
        opener.press()
        opened = nelo.accessible.find("dialog", title)
        if opener is add:
            choose_in_popup(opened.find("combo box", "Ecosystem"), "kimi")
        with folder_in_place_of(registry):
            opened.find("push button", re.compile("Create|Save|Delete")).press()
            nelo.accessible.find("dialog", failure)
            picture(f"agents-{failure.lower().replace(' ', '-')}")
        press("Escape")
        nelo.window("Nelo Console")


def show_editor(nelo: Nelo, console: Node) -> None:
    table = console.find("table", "Agents")
    table.select_row("pilot")
    console.find("push button", "Config Editor").press()
    file = nelo.home / ".openclaw/openclaw.json"
    editor = nelo.window(f"Config Editor - {file}")
    picture("config-editor")
    with folder_in_place_of(file):
        editor.find("push button", "Save").press(by="shift+Tab")
        told(nelo, "Save Failed", "config-editor-save-failed", editor.name)
    press("alt+F4")
    nelo.window("Nelo Console")


def show_skills(nelo: Nelo, console: Node) -> None:
    console.find("label", re.compile("Loaded .* skills"))
    picture("skills-list")
    dismissed(nelo, console.find("push button", "Save Config"), "No Selection", "skills-no-selection")
    show_entries(nelo, console)
    show_sources(nelo, console)
    show_installs(nelo, console)


def show_entries(nelo: Nelo, console: Node) -> None:
    table = console.find("table", "Skills")
    table.select_row("[managed] plain")
    console.find("label", "Loaded config for plain.")
    picture("skills-no-fields")
    table.select_row("[managed] verbose")
    console.find("label", "Loaded config for verbose.")
    picture("skills-long-texts")
    table.select_row("[managed] weather")
    console.find("label", "Loaded config for weather.")
    replace_text(console.find("text", "Weather key (WEATHER_KEY)"), "w-1")
    replace_text(console.find("text", "CITY"), "Beijing")
    console.find("push button", "Save Config").press()
    console.find("label", "Saved config for weather.")
    picture("console-skills")

    mode = console.find("combo box", "Config Mode")
    choose_in_popup(mode, "json")
    picture("skills-json")
    replace_text(console.find("text", "ENV"), "[1]")
    dismissed(nelo, console.find("push button", "Save Config"), "Invalid JSON", "skills-invalid-json")
    choose_in_popup(mode, "dynamic")


def show_sources(nelo: Nelo, console: Node) -> None:
    console.find("table", "Skills").select_row("[managed] social-media-alert")
    console.find("label", "Loaded config for social-media-alert.")
    add = console.find("push button", "Add Source")
    with dialog(nelo, add, "Add Source", "skills-add-source") as opened:
        for caption, text in (("ID", "planet"), ("Name", "Planet News"), ("URL", "https://example.org/feed")):
            replace_text(opened.find("text", caption), text)
        press("Return")
    console.find("label", "Source added.")
    picture("skills-sources")
    with dialog(nelo, add, "Add Source", "skills-add-source-again"):
        press("Return")
    told(nelo, "Add Source Failed", "skills-add-source-failed")


def show_installs(nelo: Nelo, console: Node) -> None:
    file = nelo.home / "weather.zip"
    file.write_bytes(package(WEATHER))
    install_package(nelo, console, file)
    told(nelo, "Skill Installed", "skills-installed")
    file.write_bytes(b"no package")
    install_package(nelo, console, file)
    told(nelo, "Install Failed", "skills-install-failed")
    install_stub_openclaw(nelo.home)
    cloud = console.find("push button", "Install Cloud Skill")
    with dialog(nelo, cloud, "Install Cloud Skill", "skills-cloud-skill"):
        press("Return")
    nelo.accessible.find("dialog", "Select OpenClaw Agent")
    picture("skills-cloud-agent")
    press("Return")
    told(nelo, "Cloud Skill Installed", "skills-cloud-installed")


def show_chat(nelo: Nelo, provider: Provider) -> None:
    chat = open_chat(nelo)
    picture("chat-welcome")

    def ask(question: str, answers: int) -> None:
        type_line(question)
        until(lambda: len(provider.requests) == answers, "the question at the provider")
        until(lambda: [node.name for node in chat.find("list", "Conversation").children()][-1] != question, "the answer")

    type_line(QUESTION)
    told(nelo, "API Key Required", "chat-key-required", "Nelo")
    chat.find("push button", "+").press()
    told(nelo, "Configure API Key", "chat-key", "Nelo")
    store_api_key(nelo, chat, "OPENAI", "sk-tour")
    chat.find("text", "Send a message").reach()
    press("ctrl+a")
    ask(QUESTION, 1)
    ask(LONG_QUESTION, 2)
    picture("chat-conversation")

    type_line("please fail")
    told(nelo, "Request Failed", "chat-request-failed", "Nelo")


def show_settings(nelo: Nelo) -> None:
    nelo.open("Settings...").find("label", "Settings loaded.")
    picture("settings")


def show_maximised(nelo: Nelo) -> None:
    for item, name in (("Open Nelo", "chat"), ("Open Nelo Console", "console"), ("Settings...", "settings")):
        window = nelo.open(item)
        width = window.area.width
        window.maximise()
        until(lambda: window.area.width > width, "the larger window")
        if name == "console":
            window.open_tab("Skills")
        picture(f"{name}-maximised")


def desktop_settings(home: Path) -> dict[str, str]:
    """Writes what `LOOK` says of the desktop, and returns what a program on it finds around it."""
    lines = {"dark": dark_colors(), "large": LARGE_TEXT}.get(LOOK)
    if lines is None:
        return {}
    (home / ".config").mkdir(exist_ok=True)
    (home / ".config/kdeglobals").write_text("\n".join(lines) + "\n")
    return {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5", "KDE_FULL_SESSION": "true"}


def dark_colors() -> list[str]:
    lines: list[str] = []
    for group, (red, green, blue) in DARK.items():
        lines += [f"[Colors:{group}]", f"BackgroundNormal={red},{green},{blue}", "ForegroundNormal=252,252,252",
                  "ForegroundInactive=161,169,177", "ForegroundLink=29,153,243",
                  f"BackgroundAlternate={red + 8},{green + 8},{blue + 8}"]
    return lines


def show_models() -> None:
    server = ModelServer()
    with (contextlib.closing(server), tempfile.TemporaryDirectory(prefix="nelo-home-") as folder,
          ModelsWindow(home=Path(folder), scale=SCALE, environment={"OLLAMA_HOST": server.address,
                                                                    **desktop_settings(Path(folder))}) as nelo):
        window = nelo.window("Models")
        window.find("table", "Remote Models").select_row("qwen3:30b")
        window.find("push button", "Download Selected").press()
        until(lambda: server.is_downloading, "the download")
        window.find("push button", "Refresh Local/Tasks").press()
        window.find("table", "Download Tasks").find("table cell", "qwen3:30b")
        picture("models")


def show_launcher() -> None:
    with TraylessNelo() as nelo:
        launcher(nelo)
        picture("launcher")


def tour() -> None:
    provider = Provider(answers={QUESTION: "因为瑞利散射。", LONG_QUESTION: LONG_REPLY})
    with (contextlib.closing(provider), served_catalogue({"forecast": package(FORECAST)}) as catalogue,
          tempfile.TemporaryDirectory(prefix="nelo-home-") as folder):
        make_agents(Path(folder))
        make_skills(Path(folder), catalogue)
        environment = {"NELO_OPENAI_BASE_URL": provider.url, **desktop_settings(Path(folder))}
        with Nelo(home=Path(folder), scale=SCALE, environment=environment) as nelo:
            show_menu(nelo)
            show_chat(nelo, provider)
            show_console(nelo)
            show_settings(nelo)
            show_maximised(nelo)
            nelo.quit()
    show_models()


if __name__ == "__main__":
    if os.environ.get("VIRTUAL_TRAY") == "none":
        show_launcher()
    else:
        tour()
