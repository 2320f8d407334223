"""What the backend makes of the real programs' answers, which scripts/record-runtimes recorded."""

from __future__ import annotations

import json
import os
import shlex
import time
import unittest
from typing import Any

import app
from app.tests.program_homes import CODEX, KIMI
from app.tests.stub_program import OpenClawTestCase, StubProgram

RECORDED = os.path.join(os.path.dirname(os.path.abspath(__file__)), "recorded")
LIST_SECONDS = 0.05


class Recording:
    """The recorded answers of one program, with the test's home in them."""

    def __init__(self, test: OpenClawTestCase, program: str) -> None:
        with open(os.path.join(RECORDED, f"{program}.json"), encoding="utf-8") as file:
            text = file.read()
        self._commands: list[dict[str, Any]] = json.loads(text.replace("{HOME}", test.home))["commands"]

    def answers(self, situation: str) -> dict[str, dict[str, Any]]:
        """The answers in a situation by the arguments. The last answer to the same arguments counts."""
        return {" ".join(it["arguments"]): it for it in self._commands if it["situation"] == situation}

    def output(self, situation: str, arguments: str) -> Any:
        return json.loads(self.answers(situation)[arguments]["output"])


class OpenClawReplayTest(OpenClawTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.recording = Recording(self, "openclaw")
        self.program = StubProgram(self, "openclaw")
        self.make_file(".openclaw/openclaw.json", "{}")
        for name in ("workspace", "../scout"):
            os.makedirs(self.path(".openclaw", name))

    def replay(self, situation: str, before: str = "", output: str | None = None) -> None:
        """Let the program run `before` and then answer as in a situation, or with another output."""
        for arguments, answer in self.recording.answers(situation).items():
            text = answer["output"] if output is None else output
            printed = f"printf %s {shlex.quote(text)}; printf %s {shlex.quote(answer['errors'])} >&2"
            self.program.does(arguments, f"{before}\n{printed}; exit {answer['status']}")

    def test_agents_are_as_the_program_lists_them(self) -> None:
        for situation, rows in (
            ("set up", [("main", "main", self.path(".openclaw/workspace"), "default")]),
            (
                "two agents",
                [
                    ("main", "main", self.path(".openclaw/workspace"), "default"),
                    ("scout", "Späher", self.path("scout"), None),
                ],
            ),
        ):
            with self.subTest(situation):
                self.replay(situation)
                self.make_file(".openclaw/openclaw.json", f"{{}} // {situation}")
                self.assertEqual(self.told("id", "name", "workspace", "state"), rows)

    def test_what_the_program_says_of_a_broken_configuration_is_told(self) -> None:
        for situation, content, words in (
            ("broken", "{agents: {}} // broken later", "JSON5 parse failed"),
            ("invalid", '{colour: "red"}', "Unrecognized key"),
        ):
            with self.subTest(situation):
                self.replay(situation)
                self.make_file(".openclaw/openclaw.json", content)
                (row,) = self.told("id", "state")
                self.assertEqual(row[0], "main")
                self.assertRegex(str(row[1]), f"openclaw says: OpenClaw config is invalid.*{words}")
                self.assertRegex(
                    str(app.openclaw_runtime_status()["configPath"]), f"openclaw.json: openclaw says: .*{words}"
                )
                self.assertIn(words, self.refusal(app.save_skill_entry, "openclaw", "notion", {"enabled": False}))
                self.assertEqual(self.read(".openclaw/openclaw.json"), content)

    def test_what_the_program_says_of_skills_is_told(self) -> None:
        self.replay("set up")
        listed = self.recording.output("set up", "skills list --json --agent=main")["skills"]
        app.list_skills("openclaw")
        self.wait_until_idle()
        rows = {row["name"]: row for row in app.list_skills("openclaw")}
        self.assertEqual(set(rows), {row["name"] for row in listed})
        for row in listed:
            with self.subTest(row["name"]):
                self.assertEqual(rows[row["name"]]["eligible"], row["eligible"])
                self.assertEqual(rows[row["name"]]["primaryEnv"], row.get("primaryEnv", ""))
                self.assertEqual("It cannot be used now" in str(rows[row["name"]]["description"]), not row["eligible"])

    def test_what_the_program_says_of_a_refused_change_is_told(self) -> None:
        self.replay("two agents")
        add = [arguments for arguments in self.recording.answers("two agents") if arguments.startswith("agents add")]
        self.assertEqual(len(add), 1)
        message = self.refusal(app.add_local_agent, "openclaw", "scout", "Scout", self.path("scout"))
        self.assertIn("already exists", message)

    def test_however_badly_it_answers_a_list_is_quick_and_the_configuration_counts(self) -> None:
        long = "x" * 10_000
        for text, before, output in (
            ("slow", "sleep 0.3", None),
            ("broken off", "", "["),
            ("chatty on its output", "", "Checking for updates...\n[]"),
            ("chatty on both", f"echo {long}; echo {long} >&2", None),
            ("hanging", "exec sleep 60", None),
            ("silent", "exec true", None),
        ):
            with self.subTest(text):
                self.replay("set up", before, output)
                configuration = {"agents": {"entries": {"own": {}}}, "situation": text}
                self.make_file(".openclaw/openclaw.json", json.dumps(configuration))
                durations = []
                for _ in range(5):
                    started = time.monotonic()
                    self.assertEqual(self.rows("id"), [("own",)])
                    app.list_skills("openclaw")
                    durations.append(time.monotonic() - started)
                self.assertLess(min(durations), LIST_SECONDS)
                self.wait_until_idle()
                self.assertEqual(self.rows("id"), [("main",) if text == "slow" else ("own",)])


class FileAgentReplayTest(OpenClawTestCase):
    def test_the_agents_and_skills_of_codex_are_those_that_it_takes(self) -> None:
        recording = Recording(self, "codex")
        for name, content in CODEX.items():
            self.make_file(name, content)
        complaints = " ".join(recording.output("its home", "doctor --json"))
        rows = [row for row in app.list_local_agents() if row["ecosystem"] == "codex"]
        self.assertEqual(len(rows), sum(name.startswith(".codex/agents/") for name in CODEX))
        for row in rows:
            with self.subTest(row["id"]):
                is_named = f"/{row['id']}.toml" in complaints or f"`{row['name']}` must" in complaints
                is_second = row["id"] == "same" and "duplicate agent role name `good`" in complaints
                self.assertEqual("ignored" in str(row.get("state")), is_named or is_second)
        skills = [[row["name"], row["skillKey"], True] for row in app.list_skills("codex")]
        self.assertEqual(sorted(skills), sorted(recording.output("its home", "app-server skills/list")))

    def test_the_agents_and_skills_of_kimi_are_those_that_it_takes(self) -> None:
        recording = Recording(self, "kimi")
        for name, content in KIMI.items():
            self.make_file(name, content)
        rows = [row for row in app.list_local_agents() if row["ecosystem"] == "kimi"]
        taken = {row["name"] for row in rows if "state" not in row}
        shipped = {"agent", "coder", "explore", "plan", "tower-worker"}
        self.assertEqual(taken | shipped, set(recording.output("its home", "--agent no-such-agent")))
        self.assertEqual([row["id"] for row in rows if row["name"] == "good" and "state" in row], ["same"])
        self.assertEqual(
            sorted(str(row["name"]) for row in app.list_skills("kimi")), recording.output("its home", "acp")
        )


if __name__ == "__main__":
    unittest.main()
