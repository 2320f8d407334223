"""A temporary home for each test."""

from __future__ import annotations

import os
import shutil
import tempfile
import unittest
from unittest import mock

from app import programs


class HomeTestCase(unittest.TestCase):
    """Each test has an empty home folder, and no program of this machine beyond the system's own tools."""

    def setUp(self) -> None:
        self.home = os.path.realpath(tempfile.mkdtemp(prefix="nelo-test-"))
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        self.set_environment(HOME=self.home, PATH="/usr/bin:/bin")
        for name in ("XDG_DATA_HOME", "XDG_DATA_DIRS"):
            self.set_environment(**{name: os.path.join(self.home, name)})
        self.replace(programs, "SYSTEM_FOLDERS", ())

    def replace(self, target: object, name: str, value: object) -> None:
        """Give an attribute another value for the length of the test."""
        patcher = mock.patch.object(target, name, value)
        patcher.start()
        self.addCleanup(patcher.stop)

    def set_environment(self, **variables: str) -> None:
        patcher = mock.patch.dict(os.environ, variables)
        patcher.start()
        self.addCleanup(patcher.stop)

    def path(self, *names: str) -> str:
        return os.path.join(self.home, *names)

    def make_file(self, name: str, content: str | bytes = "", mode: int = 0o644) -> str:
        """Write a file below the home folder, with the folders above it, and answer its path."""
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
