"""The report about the openclaw runtime."""

from __future__ import annotations

import os
import platform
import sys
import time

import app
from app import programs, runtime
from app.programs import SYSTEM_FOLDERS
from app.tests.support import HomeTestCase, is_gone, wait_for


class RuntimeStatusTest(HomeTestCase):
    def test_a_machine_without_the_runtime_reports_no_binary_and_no_version(self) -> None:
        status = app.openclaw_runtime_status()
        self.assertIs(status["installed"], False)
        self.assertNotIn("binaryPath", status)
        self.assertNotIn("version", status)

    def test_a_program_on_the_path_is_reported_with_its_version(self) -> None:
        program = self.make_program("tools/openclaw", '[ "$*" = --version ] && echo "OpenClaw 2026.1.2"')
        self.set_environment(PATH=self.path("tools") + ":/usr/bin:/bin")
        status = app.openclaw_runtime_status()
        self.assertIs(status["installed"], True)
        self.assertEqual(status["binaryPath"], program)
        self.assertEqual(status["version"], "OpenClaw 2026.1.2")

    def test_a_program_in_a_per_user_bin_folder_is_found_without_the_path(self) -> None:
        folders = [".local/bin", "bin", ".npm-global/bin", ".bun/bin", ".cargo/bin", ".openclaw/bin", ".volta/bin"]
        for folder in [*folders, ".local/share/pnpm", "Library/pnpm"]:
            with self.subTest(folder=folder):
                program = self.make_program(f"{folder}/openclaw", "echo 1")
                self.assertEqual(app.openclaw_runtime_status().get("binaryPath"), program)
                os.remove(program)

    def test_the_system_wide_bin_folders_are_those_of_hand_made_programs_and_of_homebrew(self) -> None:
        self.assertEqual(SYSTEM_FOLDERS, ("/usr/local/bin", "/opt/homebrew/bin"))

    def test_a_program_in_a_system_wide_bin_folder_is_found_without_the_path(self) -> None:
        program = self.make_program("system/openclaw", "echo 1")
        self.replace(programs, "SYSTEM_FOLDERS", (self.path("system"),))
        self.assertEqual(app.openclaw_runtime_status().get("binaryPath"), program)

    def test_the_path_wins_over_the_usual_folders(self) -> None:
        self.make_program(".local/bin/openclaw", "echo usual")
        self.make_program("tools/openclaw", "echo chosen")
        self.set_environment(PATH=self.path("tools") + ":/usr/bin:/bin")
        self.assertEqual(app.openclaw_runtime_status().get("version"), "chosen")

    def test_a_folder_and_a_file_that_cannot_be_run_are_not_the_program(self) -> None:
        os.makedirs(self.path(".local/bin/openclaw"))
        self.make_file("bin/openclaw", "#!/bin/sh\n", 0o644)
        self.assertIs(app.openclaw_runtime_status()["installed"], False)

    def test_a_relative_path_entry_is_not_searched(self) -> None:
        self.make_program("tools/openclaw", "echo 1")
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(self.path("tools"))
        for entry in ("", ".", "../tools"):
            with self.subTest(entry=entry):
                self.set_environment(PATH=f"/usr/bin:{entry}")
                self.assertIs(app.openclaw_runtime_status()["installed"], False)

    def test_the_interpreter_of_a_script_is_found_beside_it(self) -> None:
        self.make_program(".bun/bin/their-interpreter", "echo 7.0")
        program = self.make_program(".local/bin/openclaw", "")
        with open(program, "w", encoding="utf-8") as file:
            file.write("#!/usr/bin/env their-interpreter\n")
        self.assertEqual(app.openclaw_runtime_status().get("version"), "7.0")

    def test_the_configuration_is_reported_whether_it_exists_or_not(self) -> None:
        path = self.path(".openclaw", "openclaw.json")
        status = app.openclaw_runtime_status()
        self.assertEqual((status["configExists"], status["configPath"]), (False, path))
        self.make_file(".openclaw/openclaw.json", "{}")
        status = app.openclaw_runtime_status()
        self.assertEqual((status["configExists"], status["configPath"]), (True, path))

    def test_a_folder_in_the_place_of_the_configuration_is_no_configuration(self) -> None:
        os.makedirs(self.path(".openclaw/openclaw.json"))
        self.assertIs(app.openclaw_runtime_status()["configExists"], False)

    def test_the_keys_are_the_documented_ones(self) -> None:
        self.make_program("bin/openclaw", "echo 1.0")
        self.assertEqual(
            set(app.openclaw_runtime_status()),
            {"os", "installed", "binaryPath", "version", "appExists", "appPath", "configExists", "configPath"},
        )


class OperatingSystemTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.replace(sys, "platform", "linux")

    def name(self) -> object:
        return app.openclaw_runtime_status()["os"]

    def test_linux_is_named_as_its_release_file_names_it(self) -> None:
        release = self.make_file("os-release", 'NAME="Other"\nPRETTY_NAME="Some Linux 12 (worm)"\n')
        self.replace(runtime, "RELEASE_FILES", (self.path("missing"), release))
        self.assertEqual(self.name(), "Some Linux 12 (worm)")

    def test_a_release_file_that_makes_no_sense_leaves_the_name_of_the_kernel(self) -> None:
        release = self.make_file("os-release", b'\xff\xfe\nPRETTY_NAME="half\n')
        self.replace(runtime, "RELEASE_FILES", (release,))
        self.assertEqual(self.name(), os.uname().sysname)

    def test_a_release_file_without_a_name_leaves_it_to_the_next_one(self) -> None:
        files = (self.make_file("one", "ID=x\n"), self.make_file("two", "PRETTY_NAME='Two'\n"))
        self.replace(runtime, "RELEASE_FILES", files)
        self.assertEqual(self.name(), "Two")
        self.replace(runtime, "RELEASE_FILES", files[:1])
        self.assertEqual(self.name(), os.uname().sysname)

    def test_macos_is_named_with_its_version(self) -> None:
        self.replace(sys, "platform", "darwin")
        self.replace(platform, "mac_ver", lambda: ("14.2", ("", "", ""), "arm64"))
        self.assertEqual(self.name(), "macOS 14.2")

    def test_the_release_files_are_where_linux_systems_have_them(self) -> None:
        self.assertEqual(runtime.RELEASE_FILES, ("/etc/os-release", "/usr/lib/os-release"))

    def test_the_real_machine_has_a_name(self) -> None:
        self.assertTrue(self.name())


class DesktopApplicationTest(HomeTestCase):
    def test_on_linux_it_is_looked_for_among_the_desktop_entries(self) -> None:
        self.replace(sys, "platform", "linux")
        expected = self.path("XDG_DATA_HOME", "applications", "openclaw.desktop")
        status = app.openclaw_runtime_status()
        self.assertEqual((status["appExists"], status["appPath"]), (False, expected))
        self.set_environment(XDG_DATA_DIRS=f"{self.path('first')}:{self.path('second')}")
        entry = self.make_file("second/applications/openclaw.desktop")
        status = app.openclaw_runtime_status()
        self.assertEqual((status["appExists"], status["appPath"]), (True, entry))

    def test_without_other_word_the_folders_of_the_standard_are_used(self) -> None:
        self.replace(sys, "platform", "linux")
        for no_folder in ("", "relative"):
            self.set_environment(XDG_DATA_HOME=no_folder, XDG_DATA_DIRS="")
            self.assertEqual(
                runtime._application_places(),
                [
                    self.path(".local/share/applications/openclaw.desktop"),
                    "/usr/local/share/applications/openclaw.desktop",
                    "/usr/share/applications/openclaw.desktop",
                ],
            )

    def test_on_macos_it_is_a_bundle_of_the_system_or_of_the_user(self) -> None:
        self.replace(sys, "platform", "darwin")
        self.assertEqual(app.openclaw_runtime_status()["appPath"], "/Applications/OpenClaw.app")
        os.makedirs(self.path("Applications/OpenClaw.app"))
        status = app.openclaw_runtime_status()
        self.assertEqual((status["appExists"], status["appPath"]), (True, self.path("Applications/OpenClaw.app")))


class VersionTest(HomeTestCase):
    def version_said_by(self, script: str) -> object:
        self.make_program("bin/openclaw", script)
        return app.openclaw_runtime_status().get("version")

    def test_leading_blank_lines_and_control_characters_are_dropped(self) -> None:
        self.assertEqual(self.version_said_by(r"printf '\n  \n \033OpenClaw\t1.2\r\nmore\n'"), "OpenClaw 1.2")

    def test_bytes_that_are_not_text_do_no_harm(self) -> None:
        self.assertEqual(self.version_said_by(r"printf '1.2\377\n'"), "1.2\ufffd")

    def test_a_line_of_ten_thousand_characters_is_cut(self) -> None:
        self.assertEqual(self.version_said_by("printf '%010000d' 7"), "0" * 200)

    def test_a_program_that_fails_has_no_version(self) -> None:
        self.assertIsNone(self.version_said_by("echo 1.2; exit 1"))

    def test_a_program_that_says_nothing_has_no_version(self) -> None:
        self.assertIsNone(self.version_said_by("echo 1.2 >&2"))

    def test_a_program_whose_interpreter_is_missing_has_no_version(self) -> None:
        self.make_file("bin/openclaw", "#!/nowhere/interpreter\n", 0o755)
        status = app.openclaw_runtime_status()
        self.assertIs(status["installed"], True)
        self.assertNotIn("version", status)

    def test_a_program_that_reads_its_input_finds_the_end_of_it(self) -> None:
        self.assertEqual(self.version_said_by('read -r line; echo "1.2 [$line]"'), "1.2 []")

    def test_a_program_that_never_stops_talking_has_no_version(self) -> None:
        self.assertIsNone(self.version_said_by("exec yes"))

    def test_an_answer_of_up_to_sixty_four_kilobytes_counts(self) -> None:
        script = "printf '1.2\\n'; head -c %d /dev/zero"
        self.assertEqual(self.version_said_by(script % (65536 - 4)), "1.2")
        self.assertIsNone(self.version_said_by(script % (65536 - 3)))

    def test_a_program_may_work_on_after_it_closed_its_output(self) -> None:
        self.assertEqual(self.version_said_by("echo 1.2; exec >&-; sleep 0.1"), "1.2")

    def test_the_limit_is_five_seconds(self) -> None:
        self.assertEqual(runtime.VERSION_SECONDS, 5.0)

    def test_a_program_that_hangs_is_killed_with_all_it_started(self) -> None:
        self.replace(runtime, "VERSION_SECONDS", 1.0)
        pids = self.path("pids")
        started = time.monotonic()
        self.assertIsNone(self.version_said_by(f"sleep 60 & echo $! $$ > {pids}.new; mv {pids}.new {pids}; wait"))
        self.assertLess(time.monotonic() - started, 4)
        for pid in self.read("pids").split():
            self.assertTrue(wait_for(lambda: is_gone(int(pid))), f"process {pid} is still there")

    def test_a_program_that_closes_its_output_and_hangs_is_killed(self) -> None:
        self.replace(runtime, "VERSION_SECONDS", 0.3)
        self.assertIsNone(self.version_said_by("echo 1.2; exec >&-; sleep 60"))

    def test_a_background_process_that_keeps_the_output_open_is_killed_and_the_answer_counts(self) -> None:
        self.replace(runtime, "VERSION_SECONDS", 1.5)
        pids = self.path("pids")
        self.assertEqual(self.version_said_by(f"sleep 60 & echo $! > {pids}; echo 1.2"), "1.2")
        self.assertTrue(wait_for(lambda: is_gone(int(self.read("pids")))))

    def test_no_child_and_no_descriptor_is_left_after_many_questions(self) -> None:
        self.make_program("bin/openclaw", "exit 1")
        app.openclaw_runtime_status()
        before = os.listdir("/dev/fd")
        for _ in range(20):
            app.openclaw_runtime_status()
        self.assertEqual(len(os.listdir("/dev/fd")), len(before))
        self.assertRaises(ChildProcessError, os.waitpid, -1, os.WNOHANG)
