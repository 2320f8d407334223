"""What the backend keeps, while one call of the system after the other fails."""

from __future__ import annotations

import os
import signal
from collections.abc import Callable

import app
from app import files
from app.errors import BackendError
from app.tests.support import HomeTestCase
from faults import FILE_FAULTS, KILLS, Fault, every_fault
from writers import SETTINGS, WRITERS

_fsync, _sync_file_system = os.fsync, files.sync_file_system  # before the tests take them away


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

    def test_what_is_stored_is_the_old_or_the_new(self) -> None:
        for name, writer in WRITERS.items():
            if name == "catalogue":
                continue  # what cannot be kept is fetched again

            def scenario(fault: Fault) -> None:
                writer.begin(self)
                done = self.attempt(fault, writer.prepare(self, 1))
                self.assertEqual(writer.stored(self), done)
                hidden = [name for name in writer.leftovers(self) if "/.replaced-" in name]  # the next write takes it away
                self.assertEqual(writer.leftovers(self), hidden)
                writer.prepare(self, 1 + done)()
                self.assertEqual((writer.stored(self), writer.leftovers(self)), (1 + done, []))

            with self.subTest(name):
                self.under_every_fault(scenario)

    def test_settings_that_are_not_understood_are_never_lost(self) -> None:
        def scenario(fault: Fault) -> None:
            for name in self.files_below():
                os.unlink(self.path(name))
            self.make_file(".nelo/settings.json", "{" * 5000)
            done = self.attempt(fault, lambda: app.save_nelo_settings({"version": 1}))
            kept = [name for name in self.files_below() if self.read(name) == "{" * 5000]
            self.assertEqual(len(kept), len(self.files_below()) - done)
            self.assertGreaterEqual(len(kept), 1)
            app.save_nelo_settings({"version": 1})
            self.assertEqual(app.load_nelo_settings(), {"version": 1})

        self.under_every_fault(scenario)

    def test_what_a_killed_writer_left_goes_with_the_next_write(self) -> None:
        for text, kind in KILLS.items():
            strikes = 0
            for fault in every_fault(kind):
                with self.subTest(text, call=str(fault)):
                    SETTINGS.begin(self)
                    end = fault.kills_copy_during(SETTINGS.prepare(self, 1))
                    self.assertEqual(end, -signal.SIGKILL if fault.struck else 0)
                    self.assertEqual(SETTINGS.stored(self), 0 if fault.struck else 1)
                    self.assertEqual(len(SETTINGS.leftovers(self)), fault.struck)
                    SETTINGS.prepare(self, 2)()
                    self.assertEqual(SETTINGS.leftovers(self), [])
                strikes += fault.struck
            self.assertGreater(strikes, 0, text)
