"""Agents: listed, added, adopted, renamed and deleted on a real file system."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import sys
from collections.abc import Callable
from unittest import mock

import app
from app import workspaces
from app.tests.support import HomeTestCase

CHANGES: dict[Callable[..., object], int] = {
    app.add_local_agent: 4,
    app.adopt_local_agent: 4,
    app.rename_local_agent: 3,
    app.delete_local_agent: 3,
}
"""What changes agents, and how many arguments it takes."""

ISO_TIME = r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"


class AgentTestCase(HomeTestCase):
    def make_agent_folder(self, ecosystem: str, agent_id: str) -> str:
        path = self.path(f".{ecosystem}", "agents", agent_id)
        os.makedirs(path)
        return path

    def rows(self) -> list[tuple[object, ...]]:
        return [(row["ecosystem"], row["id"], row["origin"]) for row in app.list_local_agents()]

    def registry(self) -> list[object]:
        agents = json.loads(self.read(".nelo/agents.json"))["agents"]
        assert isinstance(agents, list)
        return agents


class AddTest(AgentTestCase):
    def test_adding_makes_a_record_and_a_folder_for_the_owner_only(self) -> None:
        row = app.add_local_agent("codex", "codex-1", "First", self.path(".codex/agents/codex-1"))
        self.assertEqual(app.list_local_agents(), [row])
        self.assertEqual((row["origin"], row["name"], row["state"]), ("managed", "First", "available"))
        self.assertRegex(str(row["createdAt"]), ISO_TIME)
        for folder in (".nelo", ".codex", ".codex/agents", ".codex/agents/codex-1"):
            self.assertEqual(self.mode(folder), 0o700, folder)
        self.assertEqual(self.mode(".nelo/agents.json"), 0o600)

    def test_an_empty_workspace_means_the_default_one(self) -> None:
        row = app.add_local_agent("kimi", "k", "K", "")
        self.assertEqual(row["workspace"], self.path(".kimi/agents/k"))
        self.assertTrue(os.path.isdir(self.path(".kimi/agents/k")))

    def test_a_workspace_elsewhere_is_made_or_used_as_it_is(self) -> None:
        self.make_file("projects/old/file", "mine")
        self.assertEqual(
            app.add_local_agent("kimi", "a", "A", "~/projects/old/")["workspace"], self.path("projects/old")
        )
        app.add_local_agent("kimi", "b", "B", self.path("projects/new"))
        self.assertEqual(self.read("projects/old/file"), "mine")
        self.assertEqual(self.mode("projects/new"), 0o700)

    def test_an_id_that_is_taken_is_refused(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        before = self.read(".nelo/agents.json")
        self.assertIn(
            "codex/a exists already", self.refusal(app.add_local_agent, "codex", "a", "B", self.path("other"))
        )
        self.assertEqual(self.read(".nelo/agents.json"), before)
        self.assertFalse(os.path.exists(self.path("other")))

    def test_the_id_of_a_discovered_agent_is_refused_with_advice(self) -> None:
        self.make_agent_folder("codex", "a")
        self.assertIn("Adopt it", self.refusal(app.add_local_agent, "codex", "a", "A", ""))
        self.assertEqual(self.files_below(), [])

    def test_the_same_id_in_another_ecosystem_is_free(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        app.add_local_agent("kimi", "a", "A", "")
        self.assertEqual(len(app.list_local_agents()), 2)

    def test_ids_that_climb_hide_or_cannot_be_names_are_refused(self) -> None:
        refused: list[object] = ["", ".", "..", "../x", "/x", "a/b", ".hidden", "a\0b", "a\nb", "x" * 256, "é" * 128]
        for agent_id in [*refused, "\ud800", 7, None, ["a"]]:
            for function, count in CHANGES.items():
                arguments = ["codex", agent_id, "name", ""][:count]
                with self.subTest(id=str(agent_id)[:20].encode("utf-8", "replace"), function=function.__name__):
                    self.assertIn("agent id", self.refusal(function, *arguments))
        self.assertEqual(os.listdir(self.home), [])

    def test_an_unknown_ecosystem_is_refused(self) -> None:
        for ecosystem in ("", "Codex", "../x", None, 7, ["codex"]):
            with self.subTest(ecosystem=ecosystem):
                self.assertIn("openclaw, codex, kimi", self.refusal(app.add_local_agent, ecosystem, "a", "A", ""))

    def test_names_that_say_nothing_are_refused(self) -> None:
        for name in ("", " \n", None, 7, "\udc00"):
            with self.subTest(name=str(name).encode("utf-8", "replace")):
                self.assertIn("agent's name", self.refusal(app.add_local_agent, "codex", "a", name, ""))
        self.assertEqual(os.listdir(self.home), [])

    def test_names_with_line_feeds_markup_or_ten_thousand_characters_are_kept_as_they_are(self) -> None:
        for number, name in enumerate(("one\ntwo", "<b>你好</b>", "\u202eabc", "x" * 10_000)):
            app.add_local_agent("codex", f"a{number}", name, "")
            self.assertEqual(app.list_local_agents()[number]["name"], name)

    def test_a_workspace_that_is_relative_or_belongs_to_another_agent_is_refused(self) -> None:
        for workspace in ("relative", "../up", "a\0b", "/a\0b", 7, self.path(".codex/agents/other"), "~nobody-there/x"):
            with self.subTest(workspace=workspace):
                self.assertIn("workspace", self.refusal(app.add_local_agent, "codex", "a", "A", workspace).lower())
        self.assertEqual(os.listdir(self.home), [])

    def test_a_file_in_the_place_of_the_workspace_is_told_and_nothing_is_recorded(self) -> None:
        self.make_file("file", "mine")
        message = self.refusal(app.add_local_agent, "codex", "a", "A", self.path("file"))
        self.assertIn(f"Cannot create the workspace {self.path('file')}: ", message)
        self.assertEqual(self.files_below(), ["file"])

    def test_a_registry_that_cannot_be_saved_leaves_no_new_folder(self) -> None:
        app.add_local_agent("codex", "old", "Old", "")
        before = self.read(".nelo/agents.json")
        with self.full_disk(10):
            message = self.refusal(app.add_local_agent, "codex", "new", "New", "")
        self.assertIn("Cannot save", message)
        self.assertEqual(os.listdir(self.path(".codex/agents")), ["old"])
        self.assertEqual((self.read(".nelo/agents.json"), self.files_below(".nelo")), (before, ["agents.json"]))

    def test_a_registry_that_cannot_be_saved_leaves_a_workspace_that_was_there_before(self) -> None:
        os.makedirs(self.path("projects/empty"))
        with self.full_disk():
            self.refusal(app.add_local_agent, "codex", "new", "New", self.path("projects/empty"))
        self.assertTrue(os.path.isdir(self.path("projects/empty")))

    def test_a_read_only_home_is_told_and_stays_as_it_is(self) -> None:
        with self.read_only():
            self.assertIn("Permission denied", self.refusal(app.add_local_agent, "codex", "a", "A", ""))
            self.assertEqual(app.list_local_agents(), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_a_registry_that_is_a_link_stays_a_link(self) -> None:
        os.makedirs(self.path(".nelo"))
        self.make_file("synchronised/agents.json", '{"agents": []}', 0o640)
        os.symlink("../synchronised/agents.json", self.path(".nelo/agents.json"))
        app.add_local_agent("codex", "a", "A", "")
        self.assertEqual(os.readlink(self.path(".nelo/agents.json")), "../synchronised/agents.json")
        self.assertIn('"a"', self.read("synchronised/agents.json"))
        self.assertEqual(self.mode("synchronised/agents.json"), 0o640)

    def test_two_processes_that_add_at_once_lose_nothing(self) -> None:
        script = """if True:
            import app, sys
            for number in range(20):
                app.add_local_agent("codex", f"{sys.argv[1]}-{number}", "name", "")
        """
        environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(app.__file__))}
        adders = [
            subprocess.Popen([sys.executable, "-c", script, name], cwd=self.home, env=environment) for name in "ab"
        ]
        self.assertEqual([adder.wait(60) for adder in adders], [0, 0])
        self.assertEqual(len(self.registry()), 40)
        self.assertEqual(len(app.list_local_agents()), 40)


class AdoptTest(AgentTestCase):
    def test_adopting_makes_a_managed_record_and_leaves_the_folder_alone(self) -> None:
        folder = self.make_agent_folder("kimi", "found")
        os.utime(folder, (1735723800, 1735723800))
        found = app.list_local_agents()[0]
        row = app.adopt_local_agent("kimi", "found", " Mine ", folder)
        self.assertEqual(row, {**found, "origin": "managed", "name": "Mine"})
        self.assertEqual(app.list_local_agents(), [row])
        self.assertEqual(os.listdir(folder), [])

    def test_the_time_of_creation_survives_later_work_in_the_folder(self) -> None:
        folder = self.make_agent_folder("kimi", "found")
        os.utime(folder, (1735723800, 1735723800))
        created = app.adopt_local_agent("kimi", "found", "Mine", "")["createdAt"]
        self.make_file(".kimi/agents/found/file")
        (row,) = app.list_local_agents()
        self.assertEqual(row["createdAt"], created)
        self.assertNotEqual(row["lastSeen"], "2025-01-01T09:30:00Z")

    def test_what_is_not_there_cannot_be_adopted(self) -> None:
        self.assertIn("there is no folder", self.refusal(app.adopt_local_agent, "kimi", "a", "A", ""))
        self.make_agent_folder("kimi", "a")
        self.assertIn("there is no folder", self.refusal(app.adopt_local_agent, "kimi", "a", "A", self.path("gone")))

    def test_a_managed_agent_is_not_adopted_again(self) -> None:
        app.add_local_agent("kimi", "a", "A", "")
        self.assertIn("managed already", self.refusal(app.adopt_local_agent, "kimi", "a", "B", ""))


class RenameTest(AgentTestCase):
    def test_only_the_name_changes_and_unknown_keys_survive(self) -> None:
        record = {"colour": "red", "ecosystem": "codex", "id": "a", "name": "Old", "version": 1.0}
        self.make_file(".nelo/agents.json", json.dumps({"agents": [record, {**record, "id": "b"}]}))
        row = app.rename_local_agent("codex", "a", " New ")
        self.assertEqual(row["name"], "New")
        self.assertEqual(self.registry(), [{**record, "name": "New"}, {**record, "id": "b"}])
        self.assertIn('"version": 1.0', self.read(".nelo/agents.json"))

    def test_a_discovered_agent_cannot_be_renamed(self) -> None:
        self.make_agent_folder("codex", "a")
        self.assertIn("codex/a is not managed", self.refusal(app.rename_local_agent, "codex", "a", "A"))

    def test_an_empty_name_is_refused(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        self.assertIn("agent's name is empty", self.refusal(app.rename_local_agent, "codex", "a", " "))


class DeleteTest(AgentTestCase):
    def test_exactly_the_record_and_its_folder_are_deleted(self) -> None:
        for agent_id in ("a", "b"):
            app.add_local_agent("codex", agent_id, agent_id, "")
            self.make_file(f".codex/agents/{agent_id}/deep/er/file")
        done = app.delete_local_agent("codex", "a", True)
        self.assertEqual(
            done, {"ecosystem": "codex", "id": "a", "workspace": self.path(".codex/agents/a"), "workspaceRemoved": True}
        )
        self.assertEqual(self.rows(), [("codex", "b", "managed")])
        self.assertEqual(os.listdir(self.path(".codex/agents")), ["b"])
        self.assertEqual(self.files_below(), [".codex/agents/b/deep/er/file", ".nelo/agents.json"])

    def test_the_workspace_stays_unless_its_removal_is_asked_for(self) -> None:
        for flag in (False, None, 1, "true"):
            app.add_local_agent("codex", "a", "A", "")
            self.assertIs(app.delete_local_agent("codex", "a", flag)["workspaceRemoved"], False)
            self.assertEqual(self.rows(), [("codex", "a", "discovered")])
            os.rmdir(self.path(".codex/agents/a"))
        app.add_local_agent("codex", "a", "A", "")
        app.delete_local_agent("codex", "a")
        self.assertEqual(self.rows(), [("codex", "a", "discovered")])

    def delete_recorded(self, **record: object) -> None:
        """Delete an agent whose record says something, and see that its workspace stays."""
        path = str(record["workspace"])
        self.make_file(f"{os.path.relpath(path, self.home)}/file", "mine")
        self.make_file(".nelo/agents.json", json.dumps({"agents": [{"id": "a", **record}]}))
        self.assertIs(app.delete_local_agent(record["ecosystem"], "a", True)["workspaceRemoved"], False)
        with open(os.path.join(path, "file"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "mine")

    def test_a_workspace_elsewhere_is_never_removed(self) -> None:
        for name in ("projects/a", ".codex/agents/a/a", ".kimi/agents/a", ".codex/a", ".codex/agents/b"):
            with self.subTest(name):
                self.delete_recorded(ecosystem="codex", workspace=self.path(name), madeWorkspace=True)

    def test_a_workspace_that_was_not_made_with_the_agent_is_never_removed(self) -> None:
        for made in ({}, {"madeWorkspace": False}, {"madeWorkspace": "true"}):
            with self.subTest(made=made):
                self.delete_recorded(ecosystem="kimi", workspace=self.path(".kimi/agents/a"), **made)
        self.make_file(".codex/agents/a/file", "mine")
        app.adopt_local_agent("codex", "a", "A", "")
        self.assertIs(app.delete_local_agent("codex", "a", True)["workspaceRemoved"], False)
        self.assertEqual(self.read(".codex/agents/a/file"), "mine")

    def test_nothing_below_the_agents_of_openclaw_is_ever_removed(self) -> None:
        self.delete_recorded(ecosystem="openclaw", workspace=self.path(".openclaw/agents/a"), madeWorkspace=True)
        os.makedirs(self.path(".codex"))
        os.symlink(self.path(".openclaw/agents"), self.path(".codex/agents"))
        self.delete_recorded(ecosystem="codex", workspace=self.path(".codex/agents/a"), madeWorkspace=True)

    def test_a_link_inside_the_workspace_is_not_followed(self) -> None:
        self.make_file("elsewhere/file", "mine")
        app.add_local_agent("codex", "a", "A", "")
        os.symlink(self.path("elsewhere"), self.path(".codex/agents/a/link"))
        app.delete_local_agent("codex", "a", True)
        self.assertEqual(self.files_below(), [".nelo/agents.json", "elsewhere/file"])

    def test_an_agents_folder_that_is_itself_a_link_still_counts(self) -> None:
        os.makedirs(self.path("big-disk/agents"))
        os.makedirs(self.path(".codex"))
        os.symlink(self.path("big-disk/agents"), self.path(".codex/agents"))
        app.add_local_agent("codex", "a", "A", "")
        self.assertIs(app.delete_local_agent("codex", "a", True)["workspaceRemoved"], True)
        self.assertEqual(os.listdir(self.path("big-disk/agents")), [])

    def test_a_recorded_workspace_may_end_in_slashes(self) -> None:
        workspace = self.make_agent_folder("codex", "a")
        record = {"ecosystem": "codex", "id": "a", "workspace": workspace + "//", "madeWorkspace": True}
        self.make_file(".nelo/agents.json", json.dumps({"agents": [record]}))
        self.assertEqual([row["workspace"] for row in app.list_local_agents()], [workspace])
        done = app.delete_local_agent("codex", "a", True)
        self.assertEqual((done["workspace"], done["workspaceRemoved"]), (workspace, True))
        self.assertFalse(os.path.exists(workspace))

    def test_a_missing_workspace_is_no_hindrance(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        os.rmdir(self.path(".codex/agents/a"))
        self.assertIs(app.delete_local_agent("codex", "a", True)["workspaceRemoved"], False)
        self.assertEqual(self.rows(), [])

    def test_a_discovered_agent_is_not_deleted(self) -> None:
        self.make_file(".codex/agents/a/file", "mine")
        self.assertIn("is not managed", self.refusal(app.delete_local_agent, "codex", "a", True))
        self.assertEqual(self.read(".codex/agents/a/file"), "mine")

    def test_of_several_records_of_one_agent_the_first_counts(self) -> None:
        records = [{"ecosystem": "codex", "id": "a", "name": name} for name in ("first", "second")]
        self.make_file(".nelo/agents.json", json.dumps({"agents": records}))
        self.assertEqual([row["name"] for row in app.list_local_agents()], ["first"])

    def test_every_record_of_the_agent_goes(self) -> None:
        record = {"ecosystem": "codex", "id": "a"}
        self.make_file(".nelo/agents.json", json.dumps({"agents": [record, {"id": "other"}, record]}))
        app.delete_local_agent("codex", "a", True)
        self.assertEqual(self.registry(), [{"id": "other"}])

    def test_a_registry_that_cannot_be_saved_puts_the_workspace_back(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        self.make_file(".codex/agents/a/file", "mine")
        with self.full_disk(10):
            self.assertIn("Cannot save", self.refusal(app.delete_local_agent, "codex", "a", True))
        self.assertEqual(self.rows(), [("codex", "a", "managed")])
        self.assertEqual(self.read(".codex/agents/a/file"), "mine")

    def test_a_workspace_that_cannot_be_moved_keeps_the_record(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        with self.read_only(".codex/agents"):
            message = self.refusal(app.delete_local_agent, "codex", "a", True)
        self.assertIn(f"Cannot remove the workspace {self.path('.codex/agents/a')}: Permission denied", message)
        self.assertEqual(self.rows(), [("codex", "a", "managed")])

    def test_what_cannot_be_removed_is_named_and_no_longer_listed(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        with mock.patch.object(shutil, "rmtree", side_effect=PermissionError(13, "Permission denied")):
            message = self.refusal(app.delete_local_agent, "codex", "a", True)
        self.assertRegex(message, r"Permission denied\. What is left is in .*/\.codex/agents/\.deleted-")
        self.assertEqual(self.rows(), [])

    def test_an_agent_that_is_made_anew_meanwhile_keeps_its_new_folder(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        self.make_file(".codex/agents/a/old")
        remove = workspaces.remove

        def make_anew_and_remove(hidden: str) -> None:
            self.make_file(".codex/agents/a/new", "theirs")
            remove(hidden)

        with mock.patch.object(workspaces, "remove", make_anew_and_remove):
            app.delete_local_agent("codex", "a", True)
        self.assertEqual(self.files_below(".codex"), ["agents/a/new"])
        self.assertEqual(self.rows(), [("codex", "a", "discovered")])
