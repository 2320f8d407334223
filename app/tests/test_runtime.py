"""The report on the OpenClaw runtime."""

from __future__ import annotations

import os
import platform
import sys
import time

import app
from app import programs, runtime
from app.programs import SYSTEM_FOLDERS
from app.tests.support import HomeTestCase


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
        folders += [".nvm/versions/node/v24.1.0/bin", ".local/share/fnm/aliases/default/bin", ".asdf/shims"]
        folders += [".fnm/node-versions/v24.1.0/installation/bin", ".asdf/installs/nodejs/24.1.0/bin", "prefix/bin"]
        self.make_file(".npmrc", "registry=x\nprefix = ${HOME}/prefix\n")
        for folder in [*folders, ".local/share/pnpm", "Library/pnpm"]:
            with self.subTest(folder=folder):
                program = self.make_program(f"{folder}/openclaw", "echo 1")
                self.assertEqual(app.openclaw_runtime_status().get("binaryPath"), program)
                os.remove(program)

    def test_the_system_wide_bin_folders_are_those_of_hand_made_programs_and_of_homebrew(self) -> None:
        self.assertEqual(SYSTEM_FOLDERS, ("/usr/local/bin", "/opt/homebrew/bin", "/home/linuxbrew/.linuxbrew/bin"))

    def test_a_program_in_a_system_wide_bin_folder_is_found_without_the_path(self) -> None:
        program = self.make_program("system/openclaw", "echo 1")
        self.replace(programs, "SYSTEM_FOLDERS", (self.path("system"),))
        self.assertEqual(app.openclaw_runtime_status().get("binaryPath"), program)

    def test_the_path_wins_over_the_usual_folders(self) -> None:
        self.make_program(".local/bin/openclaw", "echo usual")
        self.make_program("tools/openclaw", "echo chosen")
        self.set_environment(PATH=self.path("tools") + ":/usr/bin:/bin")
        self.assertEqual(app.openclaw_runtime_status().get("version"), "chosen")

    def test_of_several_versions_of_node_the_newest_that_has_the_program_counts(self) -> None:
        self.set_environment(NVM_DIR=self.path("nvm"))
        for version in ("v9.0.0", "v24.2.0"):
            self.make_program(f"nvm/versions/node/{version}/bin/openclaw", "echo $(which node)")
            node = self.make_program(f"nvm/versions/node/{version}/bin/node", "")
        os.makedirs(self.path("nvm/versions/node/v26.0.0/bin"))
        self.make_program("old/node", "")
        self.set_environment(PATH=self.path("old") + ":/usr/bin:/bin")
        self.assertEqual(app.openclaw_runtime_status()["version"], node)

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

    def test_the_first_line_is_the_version_or_says_why_there_is_none(self) -> None:
        too_old = "Node 20.20.2: use 24.16+"
        for script, version in {
            r"printf '\n  \n \033[1;31mOpenClaw\033[0m\t1.2\r\nmore\n'": "OpenClaw 1.2",
            r"printf '1.2\377\n'": "1.2\ufffd",
            "printf '%010000d' 7": "0" * 200,
            'read -r line; echo "1.2 [$line]"': "1.2 []",
            "echo 1.2; exec >&-; sleep 0.1": "1.2",
            f"echo nothing; echo '{too_old}' >&2; exit 1": f"(unknown: {too_old})",
            "exit 7": "(unknown: it ended with status 7)",
            "exec yes": "(unknown: wrote more than it should)",
            "kill -9 $$": "(unknown: was ended by signal 9)",
        }.items():
            with self.subTest(script):
                self.assertEqual(self.version_said_by(script), version)
        self.assertIsNone(self.version_said_by(":"))

    def test_a_program_whose_interpreter_is_missing_says_so(self) -> None:
        self.make_file("bin/openclaw", "#!/nowhere/interpreter\n", 0o755)
        status = app.openclaw_runtime_status()
        self.assertIs(status["installed"], True)
        self.assertRegex(str(status["version"]), r"\(unknown: .*not found\)")

    def test_a_program_that_hangs_takes_no_longer_than_its_limit(self) -> None:
        self.assertEqual(runtime.VERSION_SECONDS, 5.0)
        self.replace(runtime, "VERSION_SECONDS", 0.3)
        self.make_file(".openclaw/openclaw.json", "{}")
        started = time.monotonic()
        self.assertEqual(self.version_said_by("sleep 60"), "(unknown: did not answer within 0.3 seconds)")
        self.assertLess(time.monotonic() - started, 3)

    def test_what_is_wrong_with_the_configuration_stands_behind_its_path(self) -> None:
        path = self.make_file(".openclaw/openclaw.json", "{}")
        answers = {
            '{"valid": true}': (0, ""),
            '{"error": {"message": "It is invalid"}, "issues": [{"path": "a.b", "message": "Odd"}]}': (
                1,
                ": openclaw says: It is invalid a.b: Odd.",
            ),
            "garbage": (1, ": openclaw says: garbage."),
        }
        for answer, (status, said) in answers.items():
            self.make_program("bin/openclaw", f"""[ "$1" = --version ] && exit; echo '{answer}'; exit {status}""")
            self.assertEqual(app.openclaw_runtime_status()["configPath"], path + said)
