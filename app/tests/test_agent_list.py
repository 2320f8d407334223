"""Agents as they are listed: records and folders in one list."""

from __future__ import annotations

import json
import os

import app
from app.tests.test_agents import ISO_TIME, AgentTestCase


class ListTest(AgentTestCase):
    def test_a_fresh_machine_has_no_agents_and_listing_makes_nothing(self) -> None:
        self.assertEqual(app.list_local_agents(), [])
        self.assertEqual(app.sync_local_agents_to_core(), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_folders_are_discovered_by_ecosystem_and_id(self) -> None:
        for ecosystem, agent_id in (("kimi", "b"), ("kimi", "a"), ("codex", "c"), ("openclaw", "main")):
            self.make_agent_folder(ecosystem, agent_id)
        self.assertEqual(
            self.rows(),
            [
                ("openclaw", "main", "discovered"),
                ("codex", "c", "discovered"),
                ("kimi", "a", "discovered"),
                ("kimi", "b", "discovered"),
            ],
        )

    def test_a_row_has_all_eight_keys(self) -> None:
        path = self.make_agent_folder("codex", "c")
        os.utime(path, (1735723800, 1735723800))
        (row,) = app.list_local_agents()
        self.assertEqual(
            row,
            {
                "id": "c",
                "name": "c",
                "ecosystem": "codex",
                "origin": "discovered",
                "state": "available",
                "lastSeen": "2025-01-01T09:30:00Z",
                "workspace": path,
                "createdAt": row["createdAt"],
            },
        )
        self.assertRegex(str(row["createdAt"]), ISO_TIME)

    def test_files_hidden_folders_and_names_that_are_no_ids_are_not_agents(self) -> None:
        self.make_file(".codex/agents/file")
        for name in (b".hidden", b"line\nfeed", b"not-utf-8-\xff"):
            os.makedirs(os.path.join(os.fsencode(self.path(".codex/agents")), name))
        self.assertEqual(self.rows(), [])

    def test_a_link_to_a_folder_is_an_agent_and_a_link_to_nothing_is_not(self) -> None:
        os.makedirs(self.path(".codex/agents"))
        os.makedirs(self.path("elsewhere"))
        os.symlink(self.path("elsewhere"), self.path(".codex/agents/linked"))
        os.symlink(self.path("nowhere"), self.path(".codex/agents/broken"))
        self.assertEqual(self.rows(), [("codex", "linked", "discovered")])

    def test_a_file_in_the_place_of_an_agents_folder_hides_no_other_ecosystem(self) -> None:
        self.make_file(".codex/agents")
        self.make_agent_folder("kimi", "a")
        self.assertEqual(self.rows(), [("kimi", "a", "discovered")])

    def test_a_record_and_a_folder_of_the_same_ecosystem_and_id_are_one_row(self) -> None:
        self.make_agent_folder("codex", "same")
        self.make_agent_folder("kimi", "same")
        app.adopt_local_agent("codex", "same", "Mine", "")
        self.assertEqual(self.rows(), [("codex", "same", "managed"), ("kimi", "same", "discovered")])

    def test_a_managed_agent_whose_workspace_is_gone_is_missing(self) -> None:
        app.add_local_agent("codex", "a", "A", "")
        os.rmdir(self.path(".codex/agents/a"))
        (row,) = app.list_local_agents()
        self.assertEqual((row["state"], row["lastSeen"], row["origin"]), ("missing", "", "managed"))
        self.assertRegex(str(row["createdAt"]), ISO_TIME)

    def test_the_synchronised_list_is_the_local_list(self) -> None:
        self.make_agent_folder("kimi", "a")
        app.add_local_agent("codex", "b", "B", "")
        self.assertEqual(app.sync_local_agents_to_core(), app.list_local_agents())

    def test_entries_of_wrong_shapes_are_not_listed_and_never_lost(self) -> None:
        strange: list[object] = [
            7,
            None,
            "codex",
            [],
            {},
            {"ecosystem": "codex"},
            {"ecosystem": "codex", "id": 7},
            {"ecosystem": "codex", "id": "../up"},
            {"ecosystem": "other", "id": "a"},
            {"ecosystem": ["codex"], "id": "a"},
        ]
        self.make_file(".nelo/agents.json", json.dumps({"agents": strange}))
        self.assertEqual(self.rows(), [])
        app.add_local_agent("codex", "new", "New", "")
        self.assertEqual(self.registry()[:-1], strange)

    def test_values_of_wrong_types_fall_back(self) -> None:
        record: dict[str, object] = {"ecosystem": "codex", "id": "a", "name": 7, "createdAt": None}
        for workspace in ({"x": 1}, "", "relative", "../up"):
            self.make_file(".nelo/agents.json", json.dumps({"agents": [dict(record, workspace=workspace)]}))
            (row,) = app.list_local_agents()
            self.assertEqual((row["name"], row["workspace"]), ("a", self.path(".codex/agents/a")))
            self.assertEqual(row["createdAt"], "")

    def test_a_workspace_that_no_file_system_can_hold_is_missing(self) -> None:
        record = {"ecosystem": "codex", "id": "a", "workspace": "/\0/agents/a"}
        self.make_file(".nelo/agents.json", json.dumps({"agents": [record]}))
        self.assertEqual(app.list_local_agents()[0]["state"], "missing")
        self.assertIs(app.delete_local_agent("codex", "a", True)["workspaceRemoved"], False)

    def test_a_registry_that_is_not_json_hides_no_discovered_agent(self) -> None:
        self.make_file(".nelo/agents.json", "not json")
        self.make_agent_folder("kimi", "a")
        self.assertEqual(self.rows(), [("kimi", "a", "discovered")])
