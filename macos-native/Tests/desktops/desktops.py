"""The desktops that people have, each started without a screen: in an Xvfb that a test drives and looks at.

Every desktop gets a home folder, a runtime folder and a D-Bus session of its own, and ends with its context.
"""
from __future__ import annotations

import contextlib
import os
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path
from types import TracebackType

from panel import ITEM_COLOR, LEFT, RIGHT
from screen import until

START_SECONDS = 60.0

XFCE_PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="26"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
"""
SWAY = """
output * resolution {width}x{height} scale {scale}
focus_on_window_activation smart
bindsym Mod1+F4 kill
"""
WAYBAR = '{"layer": "top", "modules-right": ["tray"], "tray": {"icon-size": 20}}'
# It would mount a file system, which would stay in the way of the folder's removal.
NO_DOCUMENT_PORTAL = """[D-BUS Service]
Name=org.freedesktop.portal.Documents
Exec=/bin/false
"""
LXQT_PANEL = """[General]
__userfile__=true

[panel1]
alignment=-1
panelSize=32
plugins=taskbar, statusnotifier
position=Top
width=100
width-percent=true

[statusnotifier]
type=statusnotifier

[taskbar]
type=taskbar
"""
FCITX_PROFILE = """[Groups/0]
Name=Default
Default Layout=us
DefaultIM=pinyin

[Groups/0/Items/0]
Name=pinyin

[GroupOrder]
0=Default
"""
FCITX = "/usr/share/applications/org.fcitx.Fcitx5.desktop"


class Desktop:
    """One desktop; its subclasses say how it is started."""

    name = ""
    is_wayland = False
    is_tiling = False
    draws_menu_at: tuple[int, ...] = (LEFT, RIGHT)  # the buttons at which its panel draws the menu; the program does at others
    _panel_program = ""
    _terminal: tuple[str, ...] = ("xterm", "-e")
    slowness = 0.0  # seconds that the desktop itself may take
    composed = "阿"  # what the input method shows in the text once "a" is typed
    shows_candidates = False  # by the input method that is started here

    def __init__(self, width: int = 1280, height: int = 900, scale: float = 1) -> None:
        self.width, self.height, self.scale = width, height, scale
        self._processes: list[subprocess.Popen[bytes]] = []
        self._panel: subprocess.Popen[bytes] | None = None

    def __enter__(self) -> "Desktop":
        self._folder = tempfile.TemporaryDirectory(prefix="nelo-desktop-")
        self.home = Path(self._folder.name, "home")
        self.runtime = Path(self._folder.name, "runtime")
        self.runtime.mkdir(mode=0o700)
        (self.home / "Desktop").mkdir(parents=True)
        self._write(self.runtime / "dbus-1/services/org.freedesktop.portal.Documents.service", NO_DOCUMENT_PORTAL)
        subprocess.run(["convert", "-size", "64x64", f"xc:{ITEM_COLOR}", f"png32:{self.home}/Desktop/nelo.png"], check=True)
        self.environment = {
            **{name: value for name, value in os.environ.items()
               if not name.startswith(("XDG_", "DBUS_")) and name not in ("WAYLAND_DISPLAY", "SESSION_MANAGER", "DISPLAY")},
            "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self.runtime), "LC_ALL": "C.UTF-8", "GTK_A11Y": "none",
            "NO_AT_BRIDGE": "1", "XDG_SESSION_TYPE": "wayland" if self.is_wayland else "x11",
        }
        try:
            display = self._said("Xvfb", "-displayfd", "{}", "-screen", "0", f"{self.width}x{self.height}x24", "-nolisten", "tcp")
            self.environment["DISPLAY"] = self.screen = f":{display}"
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._said(
                "dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address={}")
            # For what drives and reads the desktop from here.
            os.environ.update({name: self.environment[name] for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")})
            self.session_start = time.monotonic()
            self._start()
            self._do("dbus-update-activation-environment", "--all")
        except BaseException:
            self.__exit__(None, None, None)
            raise
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        for process in reversed(self._processes):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
        with contextlib.suppress(OSError):  # what D-Bus has started writes its last bytes
            shutil.rmtree(self._folder.name)

    def _start(self) -> None:
        raise NotImplementedError

    def other_window(self, file: Path) -> list[str]:
        """The command of another program, which writes into `file` what is typed in its window."""
        return [*self._terminal, "sh", "-c", f"stty -echo; echo ready > {file}; exec cat >> {file}"]

    def activation_token(self) -> dict[str, str]:
        """What the desktop's application menu would put into the environment of a program that it starts."""
        return {}

    def prefer_dark(self, is_preferred: bool) -> None:
        """Does what the desktop's own settings do when the user asks for dark windows, or no longer does."""
        self._do("gsettings", "set", "org.gnome.desktop.interface", "color-scheme", "prefer-dark" if is_preferred else "default")

    def _do(self, *command: str) -> None:
        """Runs a program to its end."""
        subprocess.run(command, env=self.environment, stdout=subprocess.DEVNULL, check=True)

    def _output_of(self, *command: str) -> str:
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False).stdout.strip()

    def run(self, *command: str, **environment: str) -> "subprocess.Popen[bytes]":
        """Starts a program in a process group of its own, which ends with the desktop."""
        with open(Path(self._folder.name, f"{Path(command[0]).name}.log"), "ab") as log:
            process = subprocess.Popen(command, env={**self.environment, **environment}, cwd=self.home, stdout=log,
                                       stderr=log, start_new_session=True)
        self._processes.append(process)
        return process

    def _said(self, *command: str) -> str:
        """Starts a program that prints what others need to know to the descriptor which "{}" stands for."""
        reader, writer = os.pipe()
        process = subprocess.Popen([word.format(writer) for word in command], env=self.environment, pass_fds=[writer],
                                   stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(writer)
        self._processes.append(process)
        with os.fdopen(reader) as said:
            return said.readline().strip()

    def calls_of(self, path: str) -> Path:
        """The file into which dbus-monitor writes every call to the objects of this path."""
        self.run("dbus-monitor", "--session", f"path={path}")
        log = Path(self._folder.name, "dbus-monitor.log")
        until(lambda: log.stat().st_size, "what is said on D-Bus")
        return log

    def start_panel(self) -> None:
        self._panel = self.run(self._panel_program)

    def start_input_method(self) -> None:
        """Starts what Chinese is typed with, for programs that start afterwards: here ibus, which they find on D-Bus."""
        self.environment["QT_IM_MODULE"] = "ibus"
        # By a shell that waits: ibus-daemon takes a parent that is the first process of a namespace for one that has died.
        self.run("sh", "-c", "ibus-daemon --panel disable --config /usr/libexec/ibus-memconf --emoji-extension disable; exit")
        until(self.composes_pinyin, "ibus")

    def composes_pinyin(self) -> bool:
        """Whether what is typed next is composed. Chooses Pinyin where that is not chosen yet."""
        return self._output_of("sh", "-c", "ibus engine libpinyin; ibus engine") == "libpinyin"

    def end_panel(self) -> None:
        assert self._panel
        os.killpg(self._panel.pid, signal.SIGKILL)
        self._panel.wait()
        self._panel = None

    def _await_wayland(self) -> None:
        sockets = until(lambda: sorted(path for path in self.runtime.glob("wayland-*") if path.suffix != ".lock"),
                        "the Wayland display", START_SECONDS)
        self.environment["WAYLAND_DISPLAY"] = sockets[0].name

    def configure(self, path: str, text: str) -> None:
        """Writes a file of the desktop's configuration."""
        self._write(self.home / ".config" / path, text)

    @staticmethod
    def _write(file: Path, text: str) -> None:
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)


class Xfce(Desktop):
    name = "Xfce 4.18, X11"
    _panel_program = "xfce4-panel"

    def _start(self) -> None:
        self.configure("xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml", XFCE_PANEL)
        self.run("xfsettingsd", "--no-daemon")
        self.run("xfwm4", "--compositor=off")


class Sway(Desktop):
    name = "sway 1.7, waybar"
    _panel_program = "waybar"
    is_wayland = True
    is_tiling = True
    _terminal = ("foot",)

    def _start(self) -> None:
        self.configure("sway/config", SWAY.format(width=self.width, height=self.height, scale=self.scale))
        self.configure("waybar/config", WAYBAR)
        self.run("sway", WLR_BACKENDS="x11", WLR_RENDERER="pixman")
        self._await_wayland()


class Lxqt(Desktop):
    name = "LXQt 1.2, X11"
    _panel_program = "lxqt-panel"
    draws_menu_at = (RIGHT,)

    def _start(self) -> None:
        self.environment["XDG_CURRENT_DESKTOP"] = "LXQt"
        self.configure("lxqt/panel.conf", LXQT_PANEL)
        self.run("openbox")


class Mate(Desktop):
    name = "MATE 1.26, X11"
    _panel_program = "mate-panel"
    draws_menu_at = (RIGHT,)

    def _start(self) -> None:
        self.environment["XDG_CURRENT_DESKTOP"] = "MATE"
        self.run("marco", "--no-composite")


class PlasmaOnX11(Desktop):
    name = "Plasma 5.27, X11"
    _panel_program = "plasmashell"
    slowness = 3.0

    def _start(self) -> None:
        self.environment |= {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "5",
                             "LIBGL_ALWAYS_SOFTWARE": "1", "QT_QUICK_BACKEND": "software"}
        self._start_compositor()
        self.run("kded5")

    def _start_compositor(self) -> None:
        self.run("kwin_x11", KWIN_COMPOSE="N")

    def prefer_dark(self, is_preferred: bool) -> None:
        self._do("plasma-apply-colorscheme", "BreezeDark" if is_preferred else "BreezeLight")


class Plasma(PlasmaOnX11):
    name = "Plasma 5.27, Wayland"
    is_wayland = True
    _terminal = ("konsole", "--separate", "-e")
    composed = "a"
    shows_candidates = True

    def _start_compositor(self) -> None:
        compositor = shutil.copy("/usr/bin/kwin_wayland", self._folder.name)  # without its capability, which is of no use here
        self.run(compositor, "--x11-display", self.screen, "--width", str(round(self.width / self.scale)),
                 "--height", str(round(self.height / self.scale)),
                 "--scale", str(self.scale), "--no-lockscreen", "--no-kactivities")
        self._await_wayland()

    def start_input_method(self) -> None:
        """Does what the desktop's own settings do when the user chooses fcitx5."""
        self.configure("fcitx5/profile", FCITX_PROFILE)
        self.configure("kwinrc", f"[Wayland]\nInputMethod={FCITX}\n")
        self._do("gdbus", "emit", "--session", "--object-path", "/kwinrc", "--signal", "org.kde.kconfig.notify.ConfigChanged",
                 "{'Wayland': [b'InputMethod']}")

    def composes_pinyin(self) -> bool:
        names = self._output_of("gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
                                "--method", "org.freedesktop.DBus.ListNames")
        # Asking for fcitx5 before KWin has started it would start another one.
        return "'org.fcitx.Fcitx5'" in names and self._output_of("fcitx5-remote", "-n") == "pinyin"


class Gnome(Desktop):
    name = "GNOME 43, Wayland"
    is_wayland = True
    slowness = 3.0
    _terminal = ("konsole", "--separate", "-e")
    _extension = "ubuntu-appindicators@ubuntu.com"

    def _start(self) -> None:
        self.environment |= {
            "XDG_CURRENT_DESKTOP": "GNOME", "LIBGL_ALWAYS_SOFTWARE": "1",
            "MUTTER_DEBUG_DUMMY_MODE_SPECS": f"{self.width}x{self.height}", "MUTTER_DEBUG_DUMMY_MONITOR_SCALES": str(self.scale),
            "DBUS_SYSTEM_BUS_ADDRESS": self._said("dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address={}"),
        }
        self._do("gsettings", "set", "org.gnome.mutter", "experimental-features", "['scale-monitor-framebuffer']")
        self.run("gnome-shell", "--nested", "--wayland", "--unsafe-mode")
        self._await_wayland()
        self._do("xdotool", "mousemove", "640", "400")  # out of the corner that opens it
        started = "!Main.layoutManager._startingUp && (Main.overview.hide(), !Main.overview.visible)"
        until(lambda: self._evaluate(started).endswith("'true')"), "the shell, without its overview", START_SECONDS)
        # A banner that comes or goes would be taken for a part of the menu.
        self._evaluate("Main.messageTray.bannerBlocked = true, Main.messageTray.getSources().forEach(source => source.destroy())")

    def _evaluate(self, script: str) -> str:
        """Runs JavaScript in the shell and returns what it answers."""
        return self._output_of("gdbus", "call", "--session", "--dest", "org.gnome.Shell", "--object-path", "/org/gnome/Shell",
                               "--method", "org.gnome.Shell.Eval", script)

    def start_panel(self) -> None:
        self._evaluate(f"Main.extensionManager.enableExtension('{self._extension}')")

    def end_panel(self) -> None:
        self._evaluate(f"Main.extensionManager.disableExtension('{self._extension}')")


DESKTOPS: dict[str, type[Desktop]] = {"xfce": Xfce, "sway": Sway, "plasma": Plasma, "gnome": Gnome, "lxqt": Lxqt, "mate": Mate,
                                     "plasma-x11": PlasmaOnX11}
