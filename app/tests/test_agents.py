"""Agents and our records of them, with an agent program that is a list in memory."""

from __future__ import annotations

import dataclasses
import json
import os
import subprocess
import sys
from collections.abc import Callable

import app
from app import ecosystems
from app.ecosystems import Agent
from app.errors import BackendError
from app.tests.support import HomeTestCase

CHANGES: dict[Callable[..., object], int] = {
    app.add_local_agent: 4,
    app.adopt_local_agent: 4,
    app.rename_local_agent: 3,
    app.delete_local_agent: 3,
}
"""The functions that change agents, and the number of their arguments."""

ISO_TIME = r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"


class Program:
    """An agent program that keeps its agents in a list, and fails with `failure` once that is set."""

    def __init__(self, *agents: Agent) -> None:
        self.list = list(agents)
        self.failure = ""
        self.keeps_names = True

    def _may_fail(self) -> None:
        if self.failure:
            raise BackendError(self.failure)

    def agents(self) -> list[Agent]:
        self._may_fail()
        return list(self.list)

    def add_agent(self, agent_id: str, name: str, workspace: str) -> Agent:
        self._may_fail()
        self.list.append(Agent(agent_id, name if self.keeps_names else agent_id, workspace))
        return self.list[-1]

    def rename_agent(self, agent: Agent, name: str) -> Agent:
        self._may_fail()
        self.list.remove(agent)
        self.list.append(dataclasses.replace(agent, name=name) if self.keeps_names else agent)
        return self.list[-1]

    def delete_agent(self, agent: Agent) -> list[str]:
        self._may_fail()
        self.list.remove(agent)
        return [agent.workspace]


class AgentsTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.programs = {"openclaw": Program(), "codex": Program(), "kimi": Program()}
        self.codex = self.programs["codex"]
        self.replace(ecosystems, "ecosystem", self.programs.__getitem__)

    def rows(self) -> list[tuple[object, ...]]:
        return [(row["ecosystem"], row["id"], row["name"], row["origin"]) for row in app.list_local_agents()]

    def registry(self) -> list[dict[str, object]]:
        agents = json.loads(self.read(".nelo/agents.json"))["agents"]
        assert isinstance(agents, list)
        return agents

    def make_registry(self, *records: object) -> None:
        self.make_file(".nelo/agents.json", json.dumps({"agents": records}))

    def test_the_agents_of_all_programs_are_listed_and_listing_makes_nothing(self) -> None:
        self.assertEqual(app.list_local_agents(), [])
        self.codex.list = [Agent("b", "B"), Agent("a", "A", "/w", "busy", 1735723800.0, 1735723801.0)]
        self.programs["kimi"].list = [Agent("a", "a")]
        self.assertEqual(
            self.rows(),
            [("codex", "a", "A", "discovered"), ("codex", "b", "B", "discovered"), ("kimi", "a", "a", "discovered")],
        )
        first, second, _ = app.sync_local_agents_to_core()
        wanted = {
            "state": "busy",
            "workspace": "/w",
            "createdAt": "2025-01-01T09:30:00Z",
            "lastSeen": "2025-01-01T09:30:01Z",
        }
        self.assertEqual({**second, **wanted}, {**first, "id": "b", "name": "B"})
        self.assertEqual(set(second), {"id", "name", "ecosystem", "origin"})
        self.assertEqual(os.listdir(self.home), [])

    def test_an_agent_is_added_and_its_record_tells_when(self) -> None:
        row = app.add_local_agent("codex", "a", " First ", "/w")
        self.assertEqual(app.list_local_agents(), [row])
        self.assertEqual((row["origin"], row["name"], row["workspace"]), ("managed", "First", "/w"))
        self.assertRegex(str(row["createdAt"]), ISO_TIME)
        self.assertEqual((self.mode(".nelo"), self.mode(".nelo/agents.json")), (0o700, 0o600))
        self.assertNotIn("name", self.registry()[0])

    def test_an_id_that_the_program_or_a_record_has_is_refused(self) -> None:
        app.add_local_agent("codex", "a", "A")
        self.codex.list.append(Agent("b", "B"))
        for agent_id, advice in (("a", "is managed already"), ("b", "Adopt it")):
            self.assertIn(advice, self.refusal(app.add_local_agent, "codex", agent_id, "B", ""))
        app.add_local_agent("kimi", "a", "A")
        self.assertEqual(len(app.list_local_agents()), 3)

    def test_adopting_is_a_record_and_nothing_of_the_program(self) -> None:
        self.codex.list = [Agent("a", "Theirs", "/w")]
        row = app.adopt_local_agent("codex", "a", " Mine ", "")
        self.assertEqual((row["name"], row["origin"], row["workspace"]), ("Mine", "managed", "/w"))
        self.assertEqual((app.list_local_agents(), self.codex.list), ([row], [Agent("a", "Theirs", "/w")]))
        self.assertIn("managed already", self.refusal(app.adopt_local_agent, "codex", "a", "B", ""))
        self.assertIn("is not there", self.refusal(app.adopt_local_agent, "codex", "gone", "B", ""))

    def test_renaming_changes_the_programs_name_and_unknown_keys_of_the_record_survive(self) -> None:
        self.make_registry({"colour": "red", "ecosystem": "codex", "id": "a", "name": "Old", "version": 1.0})
        self.codex.list = [Agent("a", "Theirs")]
        self.assertEqual(self.rows(), [("codex", "a", "Old", "managed")])
        for keeps_names, name in ((True, "New"), (False, "Newer")):
            self.codex.keeps_names = keeps_names
            self.assertEqual(app.rename_local_agent("codex", "a", f" {name} ")["name"], name)
            self.assertEqual(self.rows(), [("codex", "a", name, "managed")])
            self.assertEqual(self.registry()[0].get("name"), None if keeps_names else name)
        self.assertIn('"version": 1.0', self.read(".nelo/agents.json"))

    def test_only_what_is_managed_is_renamed_or_deleted(self) -> None:
        self.codex.list = [Agent("a", "A")]
        self.assertIn("is not managed", self.refusal(app.rename_local_agent, "codex", "a", "B"))
        self.assertIn("is not managed", self.refusal(app.delete_local_agent, "codex", "a", True))
        self.assertEqual(self.codex.list, [Agent("a", "A")])

    def test_deleting_says_what_went_and_forgets_every_record_of_the_agent(self) -> None:
        record = {"ecosystem": "codex", "id": "a"}
        self.make_registry(record, {"id": "other"}, record)
        self.codex.list = [Agent("a", "A", "/w"), Agent("b", "B")]
        done = app.delete_local_agent("codex", "a", True)
        self.assertEqual(done, {"ecosystem": "codex", "id": "a", "removed": ["/w"]})
        self.assertEqual((self.codex.list, self.registry()), ([Agent("b", "B")], [{"id": "other"}]))

    def test_without_the_flag_only_the_record_goes(self) -> None:
        self.codex.list = [Agent("a", "A")]
        for flag in (False, None, 1, "true"):
            app.adopt_local_agent("codex", "a", "A")
            self.assertEqual(app.delete_local_agent("codex", "a", flag)["removed"], [])
            self.assertEqual(self.rows(), [("codex", "a", "A", "discovered")])

    def test_an_agent_that_its_program_no_longer_has_is_missing_and_can_be_deleted(self) -> None:
        app.add_local_agent("codex", "a", "A", "/w")
        self.codex.list = []
        (row,) = app.list_local_agents()
        self.assertEqual((row["state"], row["origin"], row.get("lastSeen")), ("missing", "managed", None))
        self.assertIn("is not there", self.refusal(app.rename_local_agent, "codex", "a", "B"))
        self.assertEqual(app.delete_local_agent("codex", "a", True)["removed"], [])
        self.assertEqual(app.list_local_agents(), [])

    def test_a_program_that_cannot_be_read_hides_no_other_and_is_told_as_a_state(self) -> None:
        app.add_local_agent("codex", "a", "A")
        self.programs["kimi"].list = [Agent("k", "K")]
        self.codex.failure = "It is broken."
        first, second = app.list_local_agents()
        self.assertEqual((first["id"], first["state"], second["id"]), ("a", "It is broken.", "k"))
        before = self.read(".nelo/agents.json")
        for function, count in CHANGES.items():
            given = ["codex", "b" if function is app.add_local_agent else "a", "name", ""][:count]
            if function is app.delete_local_agent:
                given[2] = True  # type: ignore[call-overload]
            if function is not app.adopt_local_agent:
                self.assertEqual(self.refusal(function, *given), "It is broken.")
        self.assertEqual(self.read(".nelo/agents.json"), before)

    def test_arguments_that_cannot_be_are_refused(self) -> None:
        bad_ids: list[object] = ["", ".", "..", "../x", "/x", "a/b", ".hidden", "a\0b", "a\nb", "x" * 256, "é" * 128]
        for agent_id in [*bad_ids, "\ud800", 7, None, ["a"]]:
            for function, count in CHANGES.items():
                with self.subTest(id=repr(agent_id)[:20], function=function.__name__):
                    self.assertIn("agent id", self.refusal(function, *["codex", agent_id, "name", ""][:count]))
        for ecosystem in ("", "Codex", "../x", None, 7, ["codex"]):
            self.assertIn("openclaw, codex, kimi", self.refusal(app.add_local_agent, ecosystem, "a", "A", ""))
        for name in ("", " \n", None, 7, "\udc00"):
            self.assertIn("agent's name", self.refusal(app.add_local_agent, "codex", "a", name, ""))
        self.assertIn("workspace path", self.refusal(app.add_local_agent, "codex", "a", "A", 7))
        self.assertEqual(os.listdir(self.home), [])

    def test_names_with_line_feeds_markup_or_ten_thousand_characters_are_kept_as_they_are(self) -> None:
        self.codex.keeps_names = False
        for number, name in enumerate(("one\ntwo", "<b>你好</b>", "\u202eabc", "x" * 10_000)):
            app.add_local_agent("codex", f"a{number}", name, "")
            self.assertEqual(app.list_local_agents()[number]["name"], name)

    def test_records_of_wrong_shapes_are_not_listed_and_never_lost(self) -> None:
        half = [{"ecosystem": "codex"}, {"ecosystem": "codex", "id": 7}, {"ecosystem": "codex", "id": "../up"}]
        strange = [
            7,
            None,
            "codex",
            [],
            {},
            *half,
            {"ecosystem": "other", "id": "a"},
            {"ecosystem": ["codex"], "id": "a"},
        ]
        self.make_registry(*strange)
        self.assertEqual(self.rows(), [])
        app.add_local_agent("codex", "new", "New", "")
        self.assertEqual(self.registry()[:-1], strange)
        self.make_registry(
            {"ecosystem": "codex", "id": "a", "name": 7}, {"ecosystem": "codex", "id": "a", "name": "Second"}
        )
        self.codex.list = [Agent("a", "Theirs")]
        self.assertEqual(self.rows(), [("codex", "a", "Theirs", "managed")])

    def test_a_registry_that_is_not_json_hides_no_agent(self) -> None:
        self.make_file(".nelo/agents.json", "not json")
        self.codex.list = [Agent("a", "A")]
        self.assertEqual(self.rows(), [("codex", "a", "A", "discovered")])

    def test_a_registry_that_cannot_be_saved_stays_and_a_link_stays_a_link(self) -> None:
        app.add_local_agent("codex", "old", "Old", "")
        before = self.read(".nelo/agents.json")
        with self.full_disk(10):
            self.assertIn("Cannot save", self.refusal(app.add_local_agent, "codex", "new", "New", ""))
        self.assertEqual((self.read(".nelo/agents.json"), self.files_below(".nelo")), (before, ["agents.json"]))
        os.rename(self.path(".nelo/agents.json"), self.path("elsewhere.json"))
        os.symlink("../elsewhere.json", self.path(".nelo/agents.json"))
        app.delete_local_agent("codex", "old", True)
        self.assertEqual(os.readlink(self.path(".nelo/agents.json")), "../elsewhere.json")
        self.assertNotIn('"old"', self.read("elsewhere.json"))

    def test_two_processes_that_adopt_at_once_lose_nothing(self) -> None:
        script = """if True:
            import app, sys
            from app import ecosystems
            from app.tests.test_agents import Agent, Program
            program = Program(*(Agent(f"{sys.argv[1]}-{number}", "name") for number in range(20)))
            ecosystems.ecosystem = lambda name: program if name == "codex" else Program()
            for agent in program.list:
                app.adopt_local_agent("codex", agent.id, "name", "")
        """
        environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(app.__file__))}
        adopters = [
            subprocess.Popen([sys.executable, "-c", script, name], cwd=self.home, env=environment) for name in "ab"
        ]
        self.assertEqual([adopter.wait(60) for adopter in adopters], [0, 0])
        self.assertEqual(len(self.registry()), 40)
