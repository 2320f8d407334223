"""The module as the helper process sees it: imported once, called by name, silent."""

from __future__ import annotations

import json
import os
import subprocess
import sys
from collections.abc import Sequence

import app
from app.tests.support import HomeTestCase

PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(app.__file__)))

SLOW_MODULES = (
    "subprocess",
    "http.client",
    "urllib.request",
    "zipfile",
    "ssl",
    "socket",
    "tempfile",
    "typing",
    "dataclasses",
    "json5",
    "yaml",
    "tomlkit",
    "shutil",
)


class ModuleTest(HomeTestCase):
    def run_python(self, script: str, arguments: Sequence[str] = ()) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            [sys.executable, "-S", "-c", script, *arguments],
            cwd=PROJECT,
            capture_output=True,
            text=True,
            check=True,
            timeout=60,
        )

    def test_the_import_loads_no_slow_module(self) -> None:
        done = self.run_python("import json, sys, app; print(json.dumps(sorted(sys.modules)))")
        self.assertEqual([name for name in SLOW_MODULES if name in json.loads(done.stdout)], [])

    def test_the_import_touches_nothing_in_the_home_folder_and_starts_nothing(self) -> None:
        script = """if True:
            import json, os, sys
            seen = []
            watched = ("open", "os.", "socket.", "subprocess.")
            sys.addaudithook(lambda event, args: seen.append([event, str(args)]) if event.startswith(watched) else None)
            import app
            home = os.environ["HOME"]
            print(json.dumps([it for it in seen if home in it[1] or it[0].startswith(("socket.", "subprocess."))]))
        """
        self.assertEqual(json.loads(self.run_python(script).stdout), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_every_exported_function_is_silent_whatever_it_is_given(self) -> None:
        script = """if True:
            import app
            tried = ([], ["openclaw"], [{}], ["codex", "x"], ["codex", "x", "y"], ["codex", "x", "y", "z"])
            for name in app.__all__:
                for arguments in tried:
                    try:
                        getattr(app, name)(*arguments)
                    except Exception:
                        pass
        """
        done = self.run_python(script)
        self.assertEqual((done.stdout, done.stderr), ("", ""))

    def test_every_exported_name_is_a_documented_function(self) -> None:
        with open(os.path.join(PROJECT, "app", "README.md"), encoding="utf-8") as file:
            manual = file.read()
        with open(os.path.join(PROJECT, "docs", "runtimes.md"), encoding="utf-8") as file:
            programs = file.read()
        for name in app.__all__:
            with self.subTest(name=name):
                self.assertTrue(getattr(app, name).__doc__)
                self.assertTrue(f"`{name}(" in manual, "the manual does not have it")
                self.assertTrue(f"`{name}`" in programs, "nobody says what it does with each program")
