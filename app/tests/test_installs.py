"""Installing skills into workspaces: a skill is installed as a whole or not at all."""

from __future__ import annotations

import contextlib
import json
import os
import signal
import subprocess
import sys
from collections.abc import Iterator
from unittest import mock

import app
from app import files, openclaw, skill_packages
from app.skill_folders import install_package
from app.tests.support import HomeTestCase, wait_for
from app.tests.test_skill_packages import make_package

SKILLS = ".openclaw/workspace/skills"
ORIGIN = ".nelo-origin.json"
RANDOM = "0123456789abcdef"


def skill(version: str, name: str = "weather") -> bytes:
    return make_package(
        {f"{name}-folder/SKILL.md": f"---\nname: {name}\ndescription: Tells.\n---\n{version}\n".encode()}
    )


class InstallTestCase(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        os.makedirs(self.path(".openclaw/workspace"))

    def install(self, package: bytes, file_name: str = "package.zip") -> dict[str, object]:
        return app.install_openclaw_skill_zip("main", self.make_file(file_name, package))

    def installed(self) -> list[str]:
        """All files in the skills folder, also hidden ones, without the files that say where a skill came from."""
        names = self.files_below(SKILLS) if os.path.isdir(self.path(SKILLS)) else []
        return [name for name in names if os.path.basename(name) != ORIGIN]

    def version(self) -> str:
        return self.read(f"{SKILLS}/weather/SKILL.md").split()[-1]


class InstallZipTest(InstallTestCase):
    def test_a_package_is_installed_under_its_skills_name_and_listed(self) -> None:
        result = self.install(skill("one"))
        self.assertEqual(result, {"targetDir": self.path(SKILLS, "weather"), "name": "weather"})
        self.assertEqual(self.installed(), ["weather/SKILL.md"])
        rows = [(row["source"], row["name"], row["path"]) for row in app.list_skills("openclaw")]
        self.assertEqual(rows, [("main", "weather", result["targetDir"])])

    def test_a_skill_without_a_usable_name_is_called_as_its_folder_or_its_file(self) -> None:
        for number, name in enumerate(("", "a/b", "..", ".hidden", "x" * 300)):
            manual = f"---\nname: {name}\ndescription: Tells.\n---\n".encode()
            result = self.install(make_package({f"folder {number}/SKILL.md": manual}))
            self.assertEqual(result["name"], f"folder {number}")
            result = self.install(make_package({"SKILL.md": manual}), f"my skill {number}.zip")
            self.assertEqual(result["name"], f"my skill {number}")

    def test_a_name_that_is_not_text_does_no_harm(self) -> None:
        self.assertEqual(self.install(make_package({"SKILL.md": b"---\nname: a\xff\n---\n"}))["name"], "a\ufffd")

    def test_a_file_whose_name_can_be_no_folder_is_refused(self) -> None:
        message = self.refusal(self.install, make_package({"SKILL.md": b""}), ".zip")
        self.assertIn('".zip" cannot be the name of a folder', message)

    def test_a_new_version_replaces_all_of_the_earlier_one(self) -> None:
        self.install(
            make_package({"SKILL.md": b"---\nname: weather\ndescription: Tells.\n---\none", "old": b"", "deep/er": b""})
        )
        self.install(skill("two"))
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "two"))

    def test_a_skill_with_the_longest_name_is_replaced(self) -> None:
        name = "x" * 255
        for version in ("one", "two"):
            self.install(make_package({"SKILL.md": f"---\nname: {name}\ndescription: Tells.\n---\n{version}".encode()}))
        self.assertEqual(self.installed(), [f"{name}/SKILL.md"])
        self.assertTrue(self.read(f"{SKILLS}/{name}/SKILL.md").endswith("two"))

    def test_other_skills_are_left_alone(self) -> None:
        self.install(skill("one", "other"))
        self.install(skill("one"))
        self.assertEqual(self.installed(), ["other/SKILL.md", "weather/SKILL.md"])

    def test_a_refused_package_leaves_the_earlier_version_and_nothing_else(self) -> None:
        self.install(skill("one"))
        manual = b"---\nname: weather\ndescription: Tells.\n---\ntwo"
        refused = {
            "climbs out": make_package({"SKILL.md": manual, "../../x": b""}),
            "100 times its own size": make_package({"SKILL.md": manual, "zeros": bytes(20_000_000)}),
            "no SKILL.md": make_package({"README.md": manual}),
            "no SKILL.md at its root": make_package({}),
            "not a zip archive": b"text",
            "damaged": skill("two")[:-30],
        }
        for message, package in refused.items():
            with self.subTest(message):
                self.assertIn(message, self.refusal(self.install, package))
                self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "one"))

    def test_a_full_disk_leaves_the_earlier_version_and_nothing_else(self) -> None:
        self.install(skill("one"))
        package = self.make_file(
            "big.zip", make_package({"SKILL.md": b"---\nname: weather\ndescription: Tells.\n---\n" + os.urandom(5000)})
        )
        with self.full_disk(1000):
            message = self.refusal(app.install_openclaw_skill_zip, "main", package)
        self.assertIn(f"Cannot install into {self.path(SKILLS)}: ", message)
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "one"))

    def test_a_swap_that_fails_brings_the_earlier_version_back(self) -> None:
        self.install(skill("one"))
        package = self.make_file("two.zip", skill("two"))
        for failing in (1, 2):
            with self.subTest(rename=failing), failing_rename(failing):
                self.assertIn("Cannot install", self.refusal(app.install_openclaw_skill_zip, "main", package))
            self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "one"))

    def test_what_did_not_come_from_the_same_place_is_never_replaced(self) -> None:
        def by_hand() -> None:
            self.make_file(f"{SKILLS}/weather/SKILL.md", "---\nname: weather\ndescription: Tells.\n---\nearlier")

        def by_a_package_without_a_name() -> None:
            self.install(make_package({"weather/SKILL.md": b"earlier"}))

        def from_a_catalogue() -> None:
            install_package(skill("earlier"), os.path.dirname(self.path(SKILLS)), "", {"source": "https://host/c"})

        def a_link_to_an_installed_skill() -> None:
            self.install(skill("earlier"))
            os.rename(self.path(SKILLS, "weather"), self.path("elsewhere"))
            os.symlink(self.path("elsewhere"), self.path(SKILLS, "weather"))

        def a_file() -> None:
            self.make_file(f"{SKILLS}/weather", "mine")

        for earlier in (by_hand, by_a_package_without_a_name, from_a_catalogue, a_link_to_an_installed_skill, a_file):
            with self.subTest(earlier.__name__):
                earlier()
                before = self.contents()
                self.assertEqual(
                    self.refusal(self.install, skill("two")),
                    f'There is another "weather" in {self.path(SKILLS, "weather")}, which did not come from '
                    "a package file with a skill of this name. Move it away to install this one.",
                )
                self.assertEqual((self.contents(), os.listdir(self.path(SKILLS))), (before, ["weather"]))
                subprocess.run(["rm", "-r", self.path(SKILLS)], check=True)

    def contents(self) -> dict[str, str]:
        names = [name for name in self.files_below() if name != "package.zip" and os.path.isfile(self.path(name))]
        return {name: self.read(name) for name in names}

    def test_a_package_cannot_say_itself_where_it_came_from(self) -> None:
        contents: list[dict[str, bytes]] = [{ORIGIN: b'{"source": "https://host/c"}'}, {}]
        for content in contents:
            self.install(make_package({"SKILL.md": b"---\nname: weather\ndescription: Tells.\n---\n", **content}))
            origin = json.loads(self.read(f"{SKILLS}/weather/{ORIGIN}"))
            self.assertEqual(origin, {"source": "a package file", "name": "weather"})
            self.assertEqual(self.mode(f"{SKILLS}/weather/{ORIGIN}"), 0o600)

    def test_a_file_in_the_place_of_the_skills_folder_is_told_and_left(self) -> None:
        self.make_file(SKILLS, "mine")
        self.assertIn("Cannot install into", self.refusal(self.install, skill("one")))
        self.assertEqual(self.read(SKILLS), "mine")

    def test_an_agent_that_does_not_exist_or_whose_workspace_is_gone_is_told(self) -> None:
        package = self.make_file("package.zip", skill("one"))
        for agent_id in ("other", "../main", "MAIN"):
            message = self.refusal(app.install_openclaw_skill_zip, agent_id, package)
            self.assertIn(f"There is no agent openclaw/{agent_id}", message)
        for nothing in ("", None, 7):
            self.assertIn("agent id", self.refusal(app.install_openclaw_skill_zip, nothing, package))

    def test_a_package_that_cannot_be_read_is_told(self) -> None:
        os.mkfifo(self.path("pipe"))
        cases: dict[object, str] = {
            "": "package path is empty",
            None: "package path must be text",
            self.path("missing.zip"): "There is no package",
            self.home: "Cannot read the package",
            self.path("pipe"): "Cannot read the package",
            "a\0b": "it is not a path",
        }
        for path, message in cases.items():
            with self.subTest(path):
                self.assertIn(message, self.refusal(app.install_openclaw_skill_zip, "main", path))

    def test_the_chosen_path_is_taken_as_it_is(self) -> None:
        package = self.make_file(" blanks at both ends .zip ", skill("one"))
        self.assertEqual(app.install_openclaw_skill_zip("main", package)["name"], "weather")
        self.make_file("package.zip", skill("one"))
        message = self.refusal(app.install_openclaw_skill_zip, "main", "~/package.zip")
        self.assertIn('There is no package "~/package.zip"', message)

    def test_a_package_past_the_limit_is_refused(self) -> None:
        self.replace(skill_packages, "SIZE_LIMIT", 100)
        self.assertIn("it is larger than", self.refusal(self.install, skill("one")))

    def test_all_of_a_skill_reaches_the_disk_at_once_before_it_takes_its_place(self) -> None:
        synced: list[list[str]] = []
        self.replace(os, "fsync", lambda descriptor: self.fail("a file is waited for by itself"))
        self.replace(files, "sync_file_system", lambda folder: synced.append(self.files_below(folder)))
        self.install(skill("one"))
        self.install(make_package({"s/SKILL.md": b"---\nname: weather\ndescription: Tells.\n---\n", "s/a/b": b"x"}))
        self.assertEqual(synced[1:], [[f"s/{ORIGIN}", "s/SKILL.md", "s/a/b"]])
        self.replace(files, "sync_file_system", mock.Mock(side_effect=OSError(5, "Input/output error")))
        self.assertIn("Input/output error", self.refusal(self.install, skill("two")))
        self.assertEqual(self.installed(), ["weather/SKILL.md", "weather/a/b"])

    def test_the_skill_and_what_is_beside_it_meanwhile_are_for_the_owner_only(self) -> None:
        modes: list[int] = []
        rename = os.rename

        def watched_rename(source: str, target: str) -> None:
            hidden = [name for name in os.listdir(self.path(SKILLS)) if name.startswith(".")]
            modes.extend(self.mode(f"{SKILLS}/{name}") for name in hidden)
            rename(source, target)

        self.install(skill("one"))
        self.replace(os, "rename", watched_rename)
        self.install(make_package({"SKILL.md": b"---\nname: weather\ndescription: Tells.\n---\n"}))
        self.assertEqual(set(modes), {0o700})
        self.assertEqual(self.mode(f"{SKILLS}/weather"), 0o700)

    def test_nothing_of_a_package_is_run(self) -> None:
        trap = f"#!/bin/sh\ntouch {self.path('trapped')}\n".encode()
        names = ("install.sh", "setup.py", "__init__.py", "postinstall", "Makefile", "package.json")
        self.install(make_package({"SKILL.md": b"---\nname: trap\n---\n", **{name: trap for name in names}}))
        app.list_skills("openclaw")
        self.assertFalse(os.path.exists(self.path("trapped")))


class KilledInstallTest(InstallTestCase):
    def kill_in(self, function: str) -> None:
        """Install in another process, which is killed when it calls `function`."""
        script = f"""if True:
            import sys, time
            from unittest import mock
            import app
            def stop(*arguments):
                open("stopped", "w").close()
                time.sleep(60)
            with mock.patch("{function}", stop):
                app.install_openclaw_skill_zip("main", sys.argv[1])
        """
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.path("stopped"))
        package = self.make_file("two.zip", skill("two"))
        environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(app.__file__))}
        child = subprocess.Popen([sys.executable, "-c", script, package], cwd=self.home, env=environment)
        self.addCleanup(child.wait)
        self.addCleanup(child.kill)
        self.assertTrue(wait_for(lambda: os.path.exists(self.path("stopped"))))
        child.send_signal(signal.SIGKILL)
        child.wait()

    def test_killed_while_unpacking_nothing_half_is_listed_and_the_next_install_works(self) -> None:
        for version in ("first", "earlier"):
            with self.subTest(version):
                self.kill_in("app.skill_packages.skill_root")
                self.assertEqual(len(os.listdir(self.path(SKILLS))), 1 if version == "first" else 2)
                self.assertEqual(len(app.list_skills("openclaw")), 0 if version == "first" else 1)
                self.install(skill("three"))
                self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "three"))

    def put_aside(self) -> None:
        """Make the folders that an install leaves when it is killed between its two renames."""
        os.makedirs(self.path(SKILLS, f".replaced-{RANDOM}"))
        os.rename(self.path(SKILLS, "weather"), self.path(SKILLS, f".replaced-{RANDOM}", "weather"))

    def test_killed_between_the_two_renames_the_earlier_version_comes_back(self) -> None:
        self.install(skill("one"))
        self.put_aside()
        os.makedirs(self.path(SKILLS, f".installing-{RANDOM}/weather-folder"))
        self.assertEqual([row["name"] for row in app.list_skills("openclaw")], ["weather"])
        self.assertEqual((os.listdir(self.path(SKILLS)), self.version()), (["weather"], "one"))

    def test_an_install_mends_what_a_killed_one_left_even_when_it_fails_itself(self) -> None:
        self.install(skill("one"))
        self.put_aside()
        self.refusal(self.install, b"no package")
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "one"))
        self.make_file(f"{SKILLS}/.replaced-{RANDOM}/weather/old")
        self.install(skill("two"))
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "two"))

    def test_hidden_files_and_folders_of_the_users_own_are_left_alone(self) -> None:
        self.install(skill("one"))
        longer = (f".installing-{RANDOM}0", f"a.replaced-{RANDOM}")
        for name in (".installing-guide", ".replaced-weather", ".installing", *longer):
            self.make_file(f"{SKILLS}/{name}/file")
        self.make_file(f"{SKILLS}/.installing-{RANDOM}", "a file")
        os.symlink("weather", self.path(SKILLS, f".replaced-{RANDOM}"))
        before = self.installed()
        app.list_skills("openclaw")
        self.install(skill("two"))
        self.assertEqual((self.installed(), self.version()), (before, "two"))

    def test_killed_after_the_two_renames_the_new_version_stays(self) -> None:
        self.install(skill("one"))
        self.kill_in("app.skill_folders._remove")
        self.assertEqual(self.version(), "two")
        self.assertEqual(len(app.list_skills("openclaw")), 1)
        self.assertEqual(self.installed(), ["weather/SKILL.md"])

    def test_what_cannot_be_mended_hinders_no_listing(self) -> None:
        self.install(skill("one"))
        os.makedirs(self.path(SKILLS, f".installing-{RANDOM}"))
        with self.read_only(SKILLS):
            self.assertEqual(len(app.list_skills("openclaw")), 1)


class CoreAgentsTest(InstallTestCase):
    def test_agents_are_online_when_the_service_of_their_program_answers(self) -> None:
        os.makedirs(self.path(".codex/agents/other"))
        row = {
            "agentId": "main",
            "ecosystem": "openclaw",
            "id": "main",
            "name": "main",
            "state": "offline",
            "workspace": self.path(".openclaw/workspace"),
        }
        self.assertEqual(app.list_core_agents("openclaw", False), [row])
        self.assertEqual(app.list_core_agents("openclaw", True), [])
        self.replace(openclaw, "status", lambda: "online")
        self.assertEqual(app.list_core_agents("openclaw", True), [{**row, "state": "online"}])
        self.assertIn("Choose openclaw", self.refusal(app.list_core_agents, "other", True))


@contextlib.contextmanager
def failing_rename(failing: int) -> Iterator[None]:
    """Let the rename with this number fail, counted from 1."""
    rename = os.rename
    count = 0

    def maybe_rename(source: str, target: str) -> None:
        nonlocal count
        count += 1
        if count == failing:
            raise PermissionError(13, "Permission denied")
        rename(source, target)

    with mock.patch.object(os, "rename", maybe_rename):
        yield
