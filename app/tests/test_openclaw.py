"""What the console shows of OpenClaw and does with it: with a good program, a broken one and none."""

from __future__ import annotations

import json
import os
import subprocess
import sys
import threading
import time
from collections.abc import Callable
from unittest import mock

import json5

import app
from app import background, openclaw, openclaw_program, processes
from app.errors import BackendError
from app.tests.stub_program import ASK, CONFIG, FLOOD, HANG, OpenClawTestCase
from app.tests.support import is_gone, wait_for

PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(app.__file__)))
HELPER = os.path.join(PROJECT, "macos-native/Sources/NeloMenuBar/backend/helper_server.py")


class AgentListTest(OpenClawTestCase):
    def test_without_the_program_the_configuration_says_who_the_agents_are(self) -> None:
        state = self.path(".openclaw")
        cases: dict[str, list[tuple[object, ...]]] = {
            "{}": [("main", "main", f"{state}/workspace")],
            "{agents: {entries: {}, defaults: {workspace: '/w'}}}": [("main", "main", "/w")],
            "{agents: {entries: {b: {name: 'Bee'}}}} // one": [("b", "Bee", f"{state}/workspace")],
            "{agents: {entries: {b: {}, c: {workspace: '~/c', identity: {name: 'Cee'}, name: 'c'}}}}": [
                ("b", "b", f"{state}/workspace-b"),
                ("c", "Cee", self.path("c")),
            ],
            "{agents: {defaults: {workspace: '~/w'}, entries: {b: {default: true}, c: {}}}}": [
                ("b", "b", self.path("w")),
                ("c", "c", self.path("w/c")),
            ],
            "{agents: {list: [{id: 'old', default: true}, {id: '../x'}, 7]}}": [("old", "old", f"{state}/workspace")],
            "{agents: {entries: {'../x': {}, '': {}}}}": [("main", "main", f"{state}/workspace")],
        }
        for text, rows in cases.items():
            with self.subTest(text):
                self.configure(text)
                self.assertEqual(self.rows("id", "name", "workspace"), rows)

    def test_where_the_program_was_never_set_up_it_has_no_agents_and_is_not_asked(self) -> None:
        program = self.make_openclaw()
        self.assertEqual(self.told("id"), [])
        self.assertEqual((program.calls(), os.path.exists(self.path(".openclaw"))), ([], False))
        os.makedirs(self.path(".openclaw"))
        self.assertEqual(self.rows("id", "state"), [("main", "not configured")])

    def test_what_the_program_says_counts_once_it_has_answered(self) -> None:
        program = self.make_openclaw()
        workspace = self.path("w")
        row = {"id": "main", "workspace": workspace, "isDefault": True, "createdAt": 1735723800500, "bindings": 0}
        other = {"id": "b", "name": "Bee", "identityName": "Queen", "workspace": self.path("gone"), "isDefault": False}
        program.answers("agents list --json", [row, other])
        self.configure("{}")
        os.makedirs(workspace)
        sessions = [
            {"agentId": "b", "lastInteractionAt": 1735723801999, "updatedAt": 1735723809000},
            {"agentId": "b", "updatedAt": 1735723700000},
            {"agentId": "b"},
            {"agentId": "main", "updatedAt": 253_402_300_800_000},  # the year 10000, which has no time stamp
            7,
        ]
        program.answers("sessions list --json --all-agents --limit=all", {"sessions": sessions})
        self.assertEqual(self.rows("id", "state"), [("main", "missing")])
        self.assertEqual(
            self.told("id", "name", "state", "createdAt", "lastSeen"),
            [
                ("b", "Queen", "missing", None, "2025-01-01T09:30:01Z"),
                ("main", "main", "default", "2025-01-01T09:30:00Z", None),
            ],
        )
        self.configure("{agents: {entries: {c: {}}}}")
        self.assertEqual(self.rows("id"), [("c",)])
        self.assertEqual(self.told("id"), [("b",), ("main",)])
        self.assertEqual([call for call in program.calls() if call.startswith("agents")], ["agents list --json"] * 2)

    def test_an_answer_is_asked_for_again_when_it_is_old_and_not_given_when_it_is_older(self) -> None:
        self.assertEqual(background.MAX_AGE_SECONDS, 60.0)
        answers = iter(["first", "second"])
        answer = background.Answer(lambda: next(answers))
        self.assertIsNone(answer.current("basis"))
        self.wait_until_idle()
        self.assertEqual((answer.current("basis"), answer.current("basis")), ("first", "first"))
        self.replace(background, "REFRESH_SECONDS", -1)
        self.assertEqual(answer.current("basis"), "first")
        self.wait_until_idle()
        self.replace(background, "REFRESH_SECONDS", 60)
        self.assertEqual((answer.current("basis")), "second")
        self.replace(background, "MAX_AGE_SECONDS", -1)
        answers = iter(["third"])
        self.assertIsNone(answer.current("basis"))

    def test_what_somebody_waits_for_is_asked_before_what_nobody_waits_for(self) -> None:
        asked: list[str] = []
        may_end = threading.Event()

        def answer(name: str) -> background.Answer[bool]:
            return background.Answer(lambda: may_end.wait(10) and not asked.append(name))  # type: ignore[func-returns-value]

        first, second, waited_for = map(answer, ("first", "second", "waited for"))
        first.current("basis")
        second.current("basis")
        waited_for.current("basis")
        self.assertIsNone(waited_for.renewed("basis", 0))
        may_end.set()
        self.wait_until_idle()
        self.assertEqual(asked, ["first", "waited for", "second"])

    def test_a_program_that_does_not_answer_is_told_as_a_state_and_is_never_waited_for(self) -> None:
        program = self.make_openclaw()
        self.replace(openclaw_program, "QUESTION_SECONDS", 0.3)
        self.replace(processes, "OUTPUT_LIMIT", 10_000)
        os.makedirs(self.path(".openclaw/workspace"))
        cases = {
            HANG: "openclaw did not answer within 0.3 seconds.",
            FLOOD: "openclaw wrote more than it should.",
            ASK: "openclaw says: no answer.",
            "echo garbage": "openclaw says: garbage.",
            "echo '{}'": "openclaw does not list its agents.",
            """echo '{"error": {"message": "Broken."}}'; exit 1""": "openclaw says: Broken.",
        }
        for number, (script, state) in enumerate(cases.items()):
            with self.subTest(script):
                program.always(script)
                self.configure(f"{{}} // {number}")
                started = time.monotonic()
                self.assertEqual(self.rows("id", "state"), [("main", "default")])
                self.assertLess(time.monotonic() - started, 0.25)
                self.assertEqual(self.told("id", "state"), [("main", state)])

    def test_answers_and_configurations_of_any_shape_do_no_harm(self) -> None:
        values: list[object] = [None, True, 7, -1, 1e300, "", "text", "a\0b", "../x", [], [7], {}, {"x": []}]
        keys = "id agentId name identityName workspace isDefault createdAt updatedAt source description missing".split()
        row: dict[str, object] = {"id": "a", "agentId": "a", "name": "a"}
        rows = [{**row, key: value} for key in [*keys, "primaryEnv"] for value in values]
        answers: list[object] = [*values, [*values, *rows], *({"sessions": it, "skills": it} for it in [*values, rows])]
        for answer in answers:
            self.replace(openclaw_program, "ask", lambda *arguments: answer)
            self.forget()
            self.make_openclaw()
            self.configure("{agents: {entries: {a: {}, b: {}}}}")
            for _ in range(2):
                json.dumps(
                    [app.list_local_agents(), app.list_skills("openclaw"), app.list_core_agents("openclaw", False)]
                )
                self.wait_until_idle()
        os.remove(self.path(".local/bin/openclaw"))
        for value in [*values, "a\ud800"]:
            entries = {"a": value, "b": dict.fromkeys(("name", "workspace", "identity", "default"), value)}
            for agents in ({"entries": value}, {"list": value}, {"defaults": value}, {"entries": entries}, value):
                self.configure({"agents": agents, "skills": {"load": {"extraDirs": [value]}, "entries": value}})
                lists = [app.list_local_agents(), app.list_skills("openclaw"), app.get_skill_entry("openclaw", "a")]
                json.dumps(lists, ensure_ascii=False, allow_nan=False).encode()

    def test_a_configuration_that_cannot_be_read_is_told_by_the_agents_that_it_had(self) -> None:
        reason = f"The file {self.path(CONFIG)} is not a JSON5 configuration: "
        self.configure("{broken")
        self.assertEqual(self.rows("id"), [])
        self.configure("{agents: {entries: {b: {}}}}")
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        self.configure("{broken again")
        with mock.patch.object(json5, "loads", wraps=json5.loads) as loads:
            for _ in range(3):
                ((name, state),) = self.rows("name", "state")
                self.assertEqual((name, str(state)[: len(reason)]), ("Bee", reason))
            self.assertIn(reason, self.refusal(app.list_skills, "openclaw"))
            self.assertIn(reason, self.refusal(app.get_adapter_snapshot, "openclaw"))
            self.assertEqual(loads.call_count, 1)


class AgentChangeTest(OpenClawTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.program = self.make_openclaw()
        self.before = '{"agents": {"entries": {"a": {}, "b": {"name": "Bee"}}}} // mine'
        self.configure(self.before)

    def does_and_writes(self, command: str, answer: object, config: object) -> None:
        """Let the program change its configuration at a command, and then answer it."""
        written = self.make_file(f"written {command}", json.dumps(config))
        reply = self.make_file(f"reply {command}", json.dumps(answer))
        self.program.does(command, f"cp '{written}' {self.path(CONFIG)}; cat '{reply}'")

    def backups(self) -> list[str]:
        return [self.read(f".openclaw/{name}") for name in self.files_below(".openclaw") if ".bak." in name]

    def test_an_agent_is_added_by_the_program_and_named(self) -> None:
        entries: dict[str, object] = {"a": {}, "b": {}, "uml": {"name": "uml", "identity": {"name": "Uml Agent"}}}
        self.does_and_writes("agents add uml", {"agentId": "uml"}, {"agents": {"entries": dict(entries, uml={})}})
        self.does_and_writes("agents set-identity --agent=uml", {"agentId": "uml"}, {"agents": {"entries": entries}})
        row = app.add_local_agent("openclaw", "uml", "Uml Agent", self.path(".openclaw/agents/uml"))
        self.assertEqual((row["id"], row["name"], row["origin"]), ("uml", "Uml Agent", "managed"))
        workspace = self.path(".openclaw/workspace-uml")
        self.assertEqual(
            self.program.changes(),
            [
                f"agents add uml --workspace={workspace} --non-interactive --json",
                "agents set-identity --agent=uml --name=Uml Agent --json",
            ],
        )
        self.assertEqual(self.backups()[0], self.before)
        self.assertIn("hyphen", self.refusal(app.add_local_agent, "openclaw", "-x", "X", ""))
        for place in ("relative", "/a\0b"):
            self.assertIn("absolute", self.refusal(app.add_local_agent, "openclaw", "x", "X", place))

    def test_renaming_goes_through_the_program(self) -> None:
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        self.does_and_writes(
            "agents set-identity", {}, {"agents": {"entries": {"b": {"name": "Bee", "identity": {"name": "-Queen"}}}}}
        )
        self.assertEqual(app.rename_local_agent("openclaw", "b", "-Queen")["name"], "-Queen")
        self.assertEqual(self.program.changes(), ["agents set-identity --agent=b --name=-Queen --json"])
        self.assertEqual((self.rows("name"), self.backups()), ([("-Queen",)], [self.before]))

    def test_deleting_goes_through_the_program_and_the_reply_says_what_went(self) -> None:
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        removed = [{"path": "/w", "method": "trash"}, {"path": "/s", "method": "missing"}]
        only_a: dict[str, object] = {"agents": {"entries": {"a": {}}}}
        self.does_and_writes("agents delete", {"removed": removed, "failed": []}, only_a)
        done = app.delete_local_agent("openclaw", "b", True)
        self.assertEqual(done, {"ecosystem": "openclaw", "id": "b", "removed": ["/w"]})
        self.assertEqual(self.program.changes(), ["agents delete b --force --json"])
        self.assertEqual((self.rows("id"), self.backups()), ([("a",)], [self.before]))
        app.adopt_local_agent("openclaw", "a", "A", "")
        self.assertIn("it is the last one", self.refusal(app.delete_local_agent, "openclaw", "a", True))
        self.assertEqual(len(self.program.changes()), 1)

    def test_what_the_program_could_not_move_is_told_and_the_agent_is_gone(self) -> None:
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        answer = {"removed": [], "failed": [{"path": "/w", "error": "busy"}]}
        self.does_and_writes("agents delete", answer, {"agents": {"entries": {"a": {}}}})
        message = self.refusal(app.delete_local_agent, "openclaw", "b", True)
        self.assertIn("The agent was deleted, but OpenClaw could not move this to the trash: /w (busy).", message)
        self.assertEqual(self.rows("id", "origin"), [("a", "discovered")])

    def test_a_program_that_fails_changes_nothing_of_ours_and_its_words_are_told(self) -> None:
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        before = self.read(".nelo/agents.json")
        self.replace(openclaw_program, "ACTION_SECONDS", 0.3)
        self.replace(processes, "OUTPUT_LIMIT", 10_000)
        changes: dict[Callable[..., object], list[object]] = {
            app.add_local_agent: ["openclaw", "c", "C", ""],
            app.rename_local_agent: ["openclaw", "b", "B"],
            app.delete_local_agent: ["openclaw", "b", True],
        }
        words = {
            """echo '{"error": {"message": "Not allowed"}}'; exit 1""": "openclaw says: Not allowed.",
            "echo old Node >&2; exit 1": "openclaw says: old Node.",
            HANG: "openclaw did not answer within 0.3 seconds.",
            FLOOD: "openclaw wrote more than it should.",
            ASK: "openclaw says: no answer.",
            "exit 0": "openclaw says: nothing that can be understood.",
        }
        for script, said in words.items():
            self.program.always(script)
            for function, arguments in changes.items():
                with self.subTest(script, function=function.__name__):
                    self.assertRegex(self.refusal(function, *arguments), rf"^The agent was not \w+: {said}$")
        self.assertEqual((self.read(".nelo/agents.json"), self.read(CONFIG)), (before, self.before))

    def test_nothing_of_an_agent_that_its_program_does_not_have_is_removed(self) -> None:
        records = []
        for ecosystem in ("openclaw", "codex", "kimi"):
            workspace = f".{ecosystem}/agents/old"
            self.make_file(f"{workspace}/sessions/file", "mine")
            records.append(
                {"ecosystem": ecosystem, "id": "old", "workspace": self.path(workspace), "madeWorkspace": True}
            )
        self.make_file(".nelo/agents.json", json.dumps({"agents": records}))
        for record in records:
            self.assertEqual(app.delete_local_agent(record["ecosystem"], "old", True)["removed"], [])
            self.assertEqual(self.read(f".{record['ecosystem']}/agents/old/sessions/file"), "mine")
        self.assertEqual(json.loads(self.read(".nelo/agents.json"))["agents"], [])

    def test_without_the_program_nothing_is_changed_and_the_sentence_says_so(self) -> None:
        app.adopt_local_agent("openclaw", "b", "Bee", "")
        os.remove(self.program.path)
        changes: dict[Callable[..., object], list[object]] = {
            app.add_local_agent: ["openclaw", "c", "C", ""],
            app.rename_local_agent: ["openclaw", "b", "B"],
            app.delete_local_agent: ["openclaw", "b", True],
        }
        for function, arguments in changes.items():
            with self.assertRaisesRegex(BackendError, "only OpenClaw itself can do that, and it is not installed"):
                function(*arguments)
        self.assertEqual((self.rows("id", "origin")[1], self.backups()), (("b", "managed"), []))


class EndTest(OpenClawTestCase):
    def test_a_helper_that_ends_or_is_killed_leaves_no_program_behind(self) -> None:
        self.configure("{}")
        pids = self.path("pids")
        self.make_openclaw().always(f"echo $$ > {pids}.new; mv {pids}.new {pids}; {HANG}")
        request = json.dumps({"function": "sync_local_agents_to_core", "args": []}).encode() + b"\n"
        for end in (lambda helper: helper.stdin.close(), subprocess.Popen.kill, subprocess.Popen.terminate):
            helper = subprocess.Popen(
                [sys.executable, HELPER], cwd=PROJECT, stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0
            )
            assert helper.stdin and helper.stdout
            with helper, helper.stdin, helper.stdout:
                helper.stdin.write(request)
                self.assertIn(b'"id":"main"', helper.stdout.readline())
                self.assertTrue(wait_for(lambda: os.path.exists(pids)))
                end(helper)
                helper.wait(10)
            self.assertTrue(wait_for(lambda: is_gone(int(self.read("pids")))))
            os.remove(pids)


class StatusTest(OpenClawTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.program = self.make_openclaw()
        self.configure("{}")
        os.makedirs(self.path(".openclaw/workspace"))
        self.assertEqual(openclaw.STATUS_SECONDS, 5.0)

    def assert_state(self, state: str) -> None:
        self.assertEqual([row["state"] for row in app.list_core_agents("openclaw", False)], [state])
        self.assertEqual(len(app.list_core_agents("openclaw", True)), 1 if state == "online" else 0)

    def test_agents_are_online_when_the_gateway_answers(self) -> None:
        self.replace(openclaw_program, "QUESTION_SECONDS", 1.0)
        for script, state in {
            """echo '{"rpc": {"ok": false}}'""": "offline",
            """echo '{"rpc": true}'""": "offline",
            "echo garbage": "offline",
            HANG: "offline",
            """echo '{"rpc": {"ok": true}}'""": "online",
        }.items():
            self.program.always(script)
            self.assert_state(state)
        os.remove(self.program.path)
        self.assert_state("offline")

    def test_a_slow_gateway_is_online_once_it_has_answered(self) -> None:
        self.replace(openclaw, "STATUS_SECONDS", 0.0)
        self.program.answers("gateway status --json", {"rpc": {"ok": True}})
        self.assertEqual(app.list_core_agents("openclaw", True), [])
        self.wait_until_idle()
        self.assert_state("online")
