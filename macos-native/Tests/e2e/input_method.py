"""Chinese typed through ibus-libpinyin, as the desktops that have it start it."""
from __future__ import annotations

import contextlib
import os
import signal
import subprocess
from pathlib import Path
from typing import Iterator

from nelo import Nelo
from screen import Node, type_text, until

# A version, or ibus would wait for a notification daemon to greet the user.
SETTINGS = """\
[desktop/ibus/general]
version='1.5.27'
preload-engines=['libpinyin']

[desktop/ibus/panel]
show-icon-on-systray=false
"""
PANEL = Path("/usr/libexec/ibus-ui-gtk3")
COMMAND = ("ibus-daemon", "--panel", str(PANEL), "--config", "/usr/libexec/ibus-memconf",
           "--emoji-extension", "disable")


@contextlib.contextmanager
def nelo_with_pinyin() -> Iterator[Nelo]:
    """The program and an input method of its own, which is ready to compose Pinyin."""
    nelo = Nelo(environment={"QT_IM_MODULE": "ibus", "GSETTINGS_BACKEND": "keyfile"})
    settings = nelo.home / ".config/glib-2.0/settings/keyfile"
    settings.parent.mkdir(parents=True)
    settings.write_text(SETTINGS)
    daemon = subprocess.Popen(COMMAND, env=nelo.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True)
    try:
        until(lambda: _engine(nelo) == "libpinyin", "the Pinyin engine")
        with nelo:
            yield nelo
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(daemon.pid, signal.SIGKILL)  # the engine and the panel are of its group
        daemon.wait()


def _engine(nelo: Nelo) -> str:
    return subprocess.run(["ibus", "engine"], env=nelo.environment, capture_output=True, text=True, check=False).stdout.strip()


def candidates(nelo: Nelo) -> list[Node]:
    """The window with the candidates, where it is showing."""
    (panel,) = (process_id for process_id in nelo.processes() if Path(f"/proc/{process_id}/exe").resolve() == PANEL)
    return [window for window in nelo.accessible_of(panel).children() if window.is_showing]


def compose(nelo: Nelo, *syllables: str) -> Node:
    """Types syllables, waits until they are composed, and returns the window with the candidates."""
    type_text("".join(syllables))
    (window,) = until(lambda: candidates(nelo), "the candidates")
    window.find("label", f"{' '.join(syllables)} |")
    return window
