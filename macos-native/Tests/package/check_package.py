"""The package as its user has it: unpacked anywhere, and installed, started, upgraded and removed.

To be run by scripts/virtual-desktop on a system that may be changed, with NELO_PACKAGE naming the .deb.
"""
from __future__ import annotations

import contextlib
import os
import re
import shutil
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import Iterator

from nelo import Nelo, open_chat, store_api_key
from provider import Provider
from screen import Node, press, type_line, until

PACKAGE = Path(os.environ["NELO_PACKAGE"])
REPORT = re.compile(r"OS: .+\nInstalled: (yes|no)\nBinary: .+\n")
BARE = {"PATH": "/usr/bin:/bin", "LANG": "", "LC_ALL": "", "LANGUAGE": ""}
PACKAGE_MANAGER = ("/var/lib/dpkg", "/var/lib/apt", "/var/log", "/var/cache", "/etc/ld.so.cache")
CACHES = re.compile(r".*/(icon-theme|mimeinfo)\.cache")


def run(*command: object) -> str:
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}")
    return done.stdout


def files_of_the_system() -> set[str]:
    """Every path below the system's folders, except what the package manager keeps for itself."""
    found = set()
    for top in ("/usr", "/etc", "/var"):
        for folder, folders, files in os.walk(top):
            found |= {f"{folder}/{name}" for name in [*folders, *files]}
    return {path for path in found if not path.startswith(PACKAGE_MANAGER) and not CACHES.fullmatch(path)}


def newer_package(folder: Path) -> Path:
    """The same package with a higher version: one file is gone, another one new, and the library is for its own program only."""
    tree = folder / "tree"
    run("dpkg-deb", "--raw-extract", PACKAGE, tree)
    control = tree / "DEBIAN/control"
    control.write_text(re.sub(r"(?m)^Version: (.+)$", r"Version: \1+next", control.read_text()))
    (tree / "DEBIAN/md5sums").unlink()
    (tree / "usr/share/nelo/app/news.py").rename(tree / "usr/share/nelo/app/renamed.py")
    library = tree / "usr/lib/nelo/nelo_chat_client.so"
    library.write_bytes(re.sub(rb"(nelo\.ChatServiceFactory/)([\d.]+)", lambda interface: interface[1] + b"9" * len(interface[2]),
                               library.read_bytes()))
    module = tree / "usr/share/nelo/app/__init__.py"
    module.write_text(module.read_text().replace("from .news", "from .renamed"))
    package = folder / "newer.deb"
    run("dpkg-deb", "--root-owner-group", "--build", tree, package)
    return package


class UnpackedNelo(Nelo):
    """The program below a folder that the package was unpacked to."""

    def __init__(self, root: Path, folder: Path, environment: dict[str, str]) -> None:
        super().__init__(environment=environment, folder=folder)
        self._root = root

    @property
    def command(self) -> list[str]:
        return [str(self._root / "usr/bin/NeloMenuBar")]


def open_runtime(nelo: Nelo) -> Node:
    """Opens the console's Runtime tab, which has got its report."""
    console = nelo.open("Open Nelo Console")
    console.open_tab("Runtime")
    console.find("label", REPORT)
    return console


def ask(nelo: Nelo) -> Node:
    """Sends the first question. Returns the chat."""
    chat = open_chat(nelo)
    store_api_key(nelo, chat, "OPENAI", "sk-package")
    type_line("are you there")
    return chat


class PackageTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-check-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.empty_folder = self.folder / "empty"
        self.empty_folder.mkdir()
        self.provider = Provider()
        self.addCleanup(self.provider.close)
        run("dpkg", "--purge", "nelo")  # which this machine may have

    @contextlib.contextmanager
    def started(self, root: Path = Path("/")) -> Iterator[Nelo]:
        with UnpackedNelo(root, self.empty_folder, {**BARE, "NELO_OPENAI_BASE_URL": self.provider.url}) as nelo:
            yield nelo
            self.assertEqual(nelo.quit(), 0)
            self.assertEqual(nelo.processes(), [])

    def chat(self, nelo: Nelo) -> None:
        ask(nelo).find("label", "request succeeded")
        self.assertEqual(len(self.provider.requests), 1)

    def chat_is_refused(self, nelo: Nelo) -> None:
        """The program will not load what belongs to its successor, and says what to do."""
        ask(nelo)
        dialog = nelo.accessible.find("dialog", "Request Failed")
        self.assertIn("of another version", dialog.find("text", re.compile("")).text)
        press("Escape")
        nelo.window("Nelo")
        self.assertEqual(self.provider.requests, [])

    def test_unpacked_in_any_folder_it_starts_and_asks_the_provider(self) -> None:
        run("dpkg-deb", "--extract", PACKAGE, self.folder / "bare 文件夹")
        with self.started(self.folder / "bare 文件夹") as nelo:
            self.chat(nelo)

    def test_installed_it_finds_its_backend_and_removed_it_leaves_nothing(self) -> None:
        before = files_of_the_system()
        run("dpkg", "--install", PACKAGE)
        self.assertTrue(list(Path("/usr/share/nelo/app/__pycache__").iterdir()))
        with self.started() as nelo:
            open_runtime(nelo)
            self.chat(nelo)
        run("dpkg", "--remove", "nelo")
        self.assertEqual(files_of_the_system() - before, set())
        self.assertEqual(before - files_of_the_system(), set())

    def test_it_is_removed_whatever_is_left_of_its_folder(self) -> None:
        folder = Path("/usr/share/nelo")
        run("dpkg", "--install", PACKAGE)
        shutil.rmtree(folder)
        run("dpkg", "--remove", "nelo")
        run("dpkg", "--install", PACKAGE)
        (folder / "not-ours").touch()
        run("dpkg", "--remove", "nelo")
        self.assertEqual(list(folder.iterdir()), [folder / "not-ours"])
        shutil.rmtree(folder)

    def test_a_running_program_survives_its_upgrade_and_its_removal(self) -> None:
        before = files_of_the_system()
        run("dpkg", "--install", PACKAGE)
        with self.started() as nelo:
            console = open_runtime(nelo)
            run("dpkg", "--install", newer_package(self.folder))
            self.assertFalse(Path("/usr/share/nelo/app/news.py").exists())
            self.assertEqual([file.name for file in Path("/usr/share/nelo/app/__pycache__").glob("news.*")], [])
            helper, = nelo.helpers()
            os.kill(helper, signal.SIGKILL)  # the next one runs the module of the new version
            console.find("push button", "Refresh").click()
            until(lambda: nelo.helpers() not in ([], [helper]), "another helper")
            console.find("label", REPORT)
            self.chat_is_refused(nelo)
        with self.started() as nelo:
            open_runtime(nelo)
            run("dpkg", "--purge", "nelo")
            self.assertFalse(shutil.which("NeloMenuBar"))
        self.assertEqual(files_of_the_system() - before, set())
