"""A temporary home for each test."""

from __future__ import annotations

import contextlib
import os
import resource
import shutil
import stat
import sys
import tempfile
import time
import unittest
from collections.abc import Callable, Iterator
from unittest import mock

from app import files, programs
from app.errors import BackendError

NOBODY = 65534


class HomeTestCase(unittest.TestCase):
    """Each test has an empty home folder, and no program of this machine beyond the system's own tools."""

    def setUp(self) -> None:
        self.home = os.path.realpath(tempfile.mkdtemp(prefix="nelo-test-"))
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        os.chmod(self.home, 0o755)
        self.set_environment(HOME=self.home, PATH="/usr/bin:/bin")
        self.set_environment(OLLAMA_HOST="127.0.0.1:9", no_proxy="", http_proxy="", https_proxy="")
        for name in ("XDG_DATA_HOME", "XDG_DATA_DIRS"):
            self.set_environment(**{name: os.path.join(self.home, name)})
        self.replace(programs, "SYSTEM_FOLDERS", ())
        for name in (
            "OPENCLAW_STATE_DIR",
            "OPENCLAW_CONFIG_PATH",
            "NVM_DIR",
            "FNM_DIR",
            "ASDF_DATA_DIR",
            "NPM_CONFIG_PREFIX",
        ):
            self.set_environment(**{name: ""})
        for module, name in ((os, "fsync"), (files, "sync_file_system")):
            self.replace(module, name, lambda of: None)  # they take long on a busy disk, and no test checks them

    def replace(self, target: object, name: str, value: object) -> None:
        """Give an attribute another value during the test."""
        patcher = mock.patch.object(target, name, value)
        patcher.start()
        self.addCleanup(patcher.stop)

    def replace_module(self, name: str) -> None:
        """Let the import of a module fail during the test."""
        patcher = mock.patch.dict(sys.modules, {name: None})
        patcher.start()
        self.addCleanup(patcher.stop)

    def set_environment(self, **variables: str) -> None:
        patcher = mock.patch.dict(os.environ, variables)
        patcher.start()
        self.addCleanup(patcher.stop)

    def refusal(self, function: Callable[..., object], *arguments: object) -> str:
        """The message of the `BackendError` that a call must raise. The test fails when it is not made of sentences."""
        with self.assertRaises(BackendError) as raised:
            function(*arguments)
        self.assertRegex(str(raised.exception), r"\A[A-Z\"].*[.?]\Z", "not a sentence on one line")
        return str(raised.exception)

    def path(self, *names: str) -> str:
        return os.path.join(self.home, *names)

    def make_file(self, name: str, content: str | bytes = "", mode: int = 0o644) -> str:
        """Write a file below the home folder, with the folders above it. Returns its path."""
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content.encode() if isinstance(content, str) else content)
        os.chmod(path, mode)
        return path

    def make_program(self, name: str, script: str) -> str:
        """Write a shell script that can be run, below the home folder."""
        return self.make_file(name, f"#!/bin/sh\n{script}\n", 0o755)

    def read(self, name: str) -> str:
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def write(self, name: str, content: str) -> None:
        """Replace the content of a file that exists, in place."""
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(content)

    def mode(self, name: str) -> int:
        return stat.S_IMODE(os.stat(self.path(name)).st_mode)

    def files_below(self, name: str = "") -> list[str]:
        """The paths of all files and links below a folder of the home folder, without the lock."""
        top = self.path(name)
        found = []
        for folder, folders, names in os.walk(top):
            links = [it for it in folders if os.path.islink(os.path.join(folder, it))]
            found += [os.path.relpath(os.path.join(folder, it), top) for it in [*names, *links]]
        return sorted(it for it in found if os.path.basename(it) != "backend.lock")

    @contextlib.contextmanager
    def time_at(self, seconds: float) -> Iterator[None]:
        """Stop the wall clock."""
        with mock.patch("time.time", return_value=seconds):
            yield

    @contextlib.contextmanager
    def full_disk(self, room: int = 0) -> Iterator[None]:
        """Let no file grow past `room` bytes: a longer write is cut short, and the next one fails."""
        soft, hard = resource.getrlimit(resource.RLIMIT_FSIZE)
        resource.setrlimit(resource.RLIMIT_FSIZE, (room, hard))
        try:
            yield
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, (soft, hard))

    @contextlib.contextmanager
    def read_only(self, name: str = "") -> Iterator[None]:
        """Make a folder read-only. Root could still write there, so the process becomes another user meanwhile."""
        top = self.path(name)
        if os.geteuid() == 0:
            for folder, _, names in os.walk(self.home):
                for path in [folder, *(os.path.join(folder, it) for it in names)]:
                    os.chown(path, NOBODY, NOBODY, follow_symlinks=False)
        os.chmod(top, 0o555)
        is_root = os.geteuid() == 0
        if is_root:
            os.seteuid(NOBODY)
        try:
            yield
        finally:
            if is_root:
                os.seteuid(0)
            os.chmod(top, 0o755)


def wait_for(condition: Callable[[], object], seconds: float = 10) -> bool:
    """Wait until a condition is true, at most `seconds`. Returns whether it became true."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.005)
    return True


def is_gone(pid: int) -> bool:
    """Whether a process has ended. A zombie counts as ended unless it is a child of this process."""
    try:
        os.kill(pid, 0)
        with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as file:
            state, parent = file.read().rpartition(")")[2].split()[:2]
    except ProcessLookupError:
        return True
    except FileNotFoundError:
        return False
    return state == "Z" and int(parent) != os.getpid()
