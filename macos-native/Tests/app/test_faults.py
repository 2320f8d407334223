"""What the backend keeps, while one call of the system after the other fails."""

from __future__ import annotations

import os
import signal
from collections.abc import Callable

import app
from app import files
from app.errors import BackendError
from app.tests.support import HomeTestCase
from app.tests.test_skill_packages import make_package
from faults import FILE_FAULTS, KILLS, Fault, every_fault

CONFIG = ".openclaw/openclaw.json"
SKILLS = ".openclaw/workspace/skills"
SKILL_FILES = ["weather/.nelo-origin.json", "weather/SKILL.md", "weather/folder/more"]
SETTINGS = ".nelo/settings.json"
SOURCES = ".nelo/news_sources.json"

_fsync, _sync_file_system = os.fsync, files.sync_file_system  # before the tests take them away


def source(identity: str) -> dict[str, object]:
    return {"type": "rss", "id": identity, "name": "A source", "url": "https://example.org/" + "x" * 2000}


def skill(version: str) -> bytes:
    manual = f"---\nname: weather\ndescription: Tells.\n---\n{version}"
    return make_package({"SKILL.md": manual.encode(), "folder/more": version.encode() * 1000})


class FaultTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.replace(os, "fsync", _fsync)
        self.replace(files, "sync_file_system", _sync_file_system)

    def under_every_fault(self, scenario: Callable[[Fault], None]) -> None:
        """Go through a scenario with every fault of every kind; not all of them give names to a file."""
        for text, kind in FILE_FAULTS.items():
            strikes = 0
            for fault in every_fault(kind):
                with self.subTest(text, call=str(fault)):
                    scenario(fault)
                strikes += fault.struck
            if kind.calls != "link":
                self.assertGreater(strikes, 0, text)

    def attempt(self, fault: Fault, action: Callable[[], object]) -> bool:
        """Do something under a fault; whether it says that it went well. A failure must be one that a user is told."""
        descriptors = len(os.listdir("/proc/self/fd"))
        try:
            with fault:
                action()
            return True
        except BackendError as error:
            self.assertTrue(fault.may_have_failed(), error)
            self.assertRegex(str(error), r"\A[A-Z\"].*[.?]\Z")
            return False
        finally:
            self.assertEqual(len(os.listdir("/proc/self/fd")), descriptors)

    def backups(self) -> list[str]:
        return [name for name in self.files_below(".openclaw") if ".bak." in name]

    def test_the_settings_are_the_old_or_the_new_ones(self) -> None:
        old, new = ({"version": 1, "chat": {"mode": mode, "more": mode * 3000}} for mode in ("local", "cloud"))

        def scenario(fault: Fault) -> None:
            app.save_nelo_settings(old)
            done = self.attempt(fault, lambda: app.save_nelo_settings(new))
            self.assertEqual(app.load_nelo_settings(), new if done else old)
            self.assertEqual(self.files_below(), [SETTINGS])
            app.save_nelo_settings(new)
            self.assertEqual(app.load_nelo_settings(), new)

        self.under_every_fault(scenario)

    def test_settings_that_are_not_understood_are_never_lost(self) -> None:
        def scenario(fault: Fault) -> None:
            for name in self.files_below():
                os.unlink(self.path(name))
            self.make_file(SETTINGS, "{" * 5000)
            done = self.attempt(fault, lambda: app.save_nelo_settings({"version": 1}))
            kept = [name for name in self.files_below() if self.read(name) == "{" * 5000]
            self.assertEqual(len(kept), len(self.files_below()) - done)
            self.assertGreaterEqual(len(kept), 1)
            app.save_nelo_settings({"version": 1})
            self.assertEqual(app.load_nelo_settings(), {"version": 1})

        self.under_every_fault(scenario)

    def test_a_list_is_the_old_or_the_new_one(self) -> None:
        def scenario(fault: Fault) -> None:
            self.make_file(SOURCES, '{"sources": []}')
            app.add_news_source(source("first"))
            done = self.attempt(fault, lambda: app.add_news_source(source("second")))
            identities = [row["id"] for row in app.list_news_sources()]
            self.assertEqual(identities, ["first", "second"] if done else ["first"])
            self.assertEqual(self.files_below(), [SOURCES])
            app.add_news_source(source("third"))

        self.under_every_fault(scenario)

    def test_a_configuration_is_the_old_or_the_new_one_and_so_is_its_backup(self) -> None:
        old = "{\n" + " " * 9000 + "}\n"

        def scenario(fault: Fault) -> None:
            for name in self.backups():
                os.unlink(self.path(".openclaw", name))
            self.make_file(CONFIG, old)
            done = self.attempt(fault, lambda: app.save_skill_entry("openclaw", "weather", {"enabled": True}))
            entry = app.get_skill_entry("openclaw", "weather")
            self.assertEqual(entry, {"enabled": True} if done else {})
            if not done:
                self.assertEqual(self.read(CONFIG), old)
            self.assertEqual([self.read(".openclaw/" + name) for name in self.backups()], [old] * len(self.backups()))
            self.assertGreaterEqual(len(self.backups()), done)
            self.assertEqual(len(self.files_below(".openclaw")), 1 + len(self.backups()))
            app.save_skill_entry("openclaw", "weather", {"enabled": False})
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"enabled": False})

        self.under_every_fault(scenario)

    def test_a_skill_is_the_old_or_the_new_version(self) -> None:
        os.makedirs(self.path(".openclaw/workspace"))
        packages = {version: self.make_file(f"{version}.zip", skill(version)) for version in ("one", "two")}

        def scenario(fault: Fault) -> None:
            app.install_openclaw_skill_zip("main", packages["one"])
            done = self.attempt(fault, lambda: app.install_openclaw_skill_zip("main", packages["two"]))
            self.assertEqual(len(app.list_skills("openclaw")), 1)
            version = "two" if done else "one"
            self.assertTrue(self.read(f"{SKILLS}/weather/SKILL.md").endswith(version))
            self.assertEqual(self.read(f"{SKILLS}/weather/folder/more"), version * 1000)
            app.install_openclaw_skill_zip("main", packages["two"])
            self.assertEqual(self.files_below(SKILLS), SKILL_FILES)
            self.assertEqual(os.listdir(self.path(SKILLS)), ["weather"])

        self.under_every_fault(scenario)

    def test_what_a_killed_writer_left_goes_with_the_next_write(self) -> None:
        old, new = ({"version": 1, "text": text * 3000} for text in "on")
        for text, kind in KILLS.items():
            strikes = 0
            for fault in every_fault(kind):
                with self.subTest(text, call=str(fault)):
                    app.save_nelo_settings(old)
                    end = fault.kills_copy_during(lambda: app.save_nelo_settings(new))
                    self.assertEqual(end, -signal.SIGKILL if fault.struck else 0)
                    self.assertEqual(app.load_nelo_settings(), old if fault.struck else new)
                    self.assertEqual(len(self.files_below()), 2 if fault.struck else 1)
                    app.save_nelo_settings(new)
                    self.assertEqual(self.files_below(), [SETTINGS])
                strikes += fault.struck
            self.assertGreater(strikes, 0, text)
