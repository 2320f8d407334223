"""The skills of OpenClaw and their settings: with a good program, a broken one and none."""

from __future__ import annotations

import json
import os
import time
from collections.abc import Callable
from unittest import mock

import json5

import app
from app import openclaw_program
from app.tests.stub_program import CONFIG, HANG, VALID, OpenClawTestCase


class SkillListTest(OpenClawTestCase):
    def make_skill(self, folder: str, name: str, description: str = "Tells.", metadata: str = "") -> str:
        more = f"metadata: {metadata}\n" if metadata else ""
        self.make_file(f"{folder}/SKILL.md", f"---\nname: {name}\ndescription: {description}\n{more}---\n")
        return self.path(folder)

    def skills(self) -> list[tuple[object, ...]]:
        return [
            (row["source"], row["name"], os.path.relpath(str(row["path"]), self.home))
            for row in app.list_skills("openclaw")
        ]

    def test_of_each_name_the_skill_in_the_highest_folder_is_listed(self) -> None:
        self.configure("{skills: {load: {extraDirs: ['~/extra']}}}")
        program = self.make_openclaw()
        os.makedirs(self.path("package"))
        os.rename(program.path, self.path("package/openclaw.mjs"))
        os.symlink(self.path("package/openclaw.mjs"), program.path)
        folders = [
            (".openclaw/workspace/skills", "main"),
            (".openclaw/workspace/.agents/skills", "main"),
            (".agents/skills", "personal"),
            (".openclaw/skills", "managed"),
            (".openclaw/agents/main/agent/workshop-skills", "workshop"),
            ("package/skills", "bundled"),
            ("package/custodian-skills", "custodian"),
            ("extra", "extra"),
            (".openclaw/plugin-skills", "extra"),
        ]
        wanted: list[tuple[object, ...]] = []
        for number, (folder, source) in enumerate(reversed(folders)):
            self.make_skill(f"{folder}/same", "same")
            self.make_skill(f"{folder}/a/b/c/d/e/only", f"only-{number}")
            self.make_skill(f"{folder}/a/b/c/d/e/f/deeper", f"deeper-{number}")
            self.make_skill(f"{folder}/silent", f"silent-{number}", "")
            wanted.insert(0, (source, f"only-{number}", f"{folder}/a/b/c/d/e/only"))
        wanted.insert(1, ("main", "same", f"{folders[0][0]}/same"))
        self.assertEqual(self.skills(), wanted)
        self.wait_until_idle()
        shown = app.get_adapter_snapshot("openclaw")
        self.assertEqual(
            (shown["configPath"], shown["skillDirs"]), (self.path(CONFIG), [self.path(it) for it, _ in folders])
        )

    def test_what_the_program_skips_is_not_listed(self) -> None:
        self.configure("{skills: {load: {extraDirs: ['~/extra']}}}")
        self.make_skill("elsewhere/skill", "linked")
        for folder in (".openclaw/workspace/skills", "extra", ".openclaw/skills"):
            self.make_skill(f"{folder}/node_modules/one", "one")
            self.make_skill(f"{folder}/.hidden", "hidden")
            os.symlink(self.path("elsewhere/skill"), self.path(folder, "link"))
        self.assertEqual(self.skills(), [("managed", "linked", ".openclaw/skills/link")])
        self.make_skill(".openclaw/skills", "whole")
        self.assertEqual(self.skills(), [("managed", "whole", ".openclaw/skills")])

    def test_the_variables_of_the_program_say_where_its_folders_are(self) -> None:
        self.make_skill(".openclaw/skills/one", "one")
        self.make_skill("state/skills/two", "two")
        self.make_skill("config/skills/three", "three")
        self.make_skill(".agents/skills/four", "four")
        self.make_file("config/openclaw.json", "{}")
        self.configure("{}")
        for state, config, names in (
            ("", "", ["four", "one"]),
            ("", self.path("config/openclaw.json"), ["four", "three"]),
            (self.path("state"), "", ["two"]),
            (self.path("state"), self.path("config/openclaw.json"), ["two"]),
        ):
            self.set_environment(OPENCLAW_STATE_DIR=state, OPENCLAW_CONFIG_PATH=config)
            self.assertEqual([name for _, name, _ in self.skills()], names)

    def test_a_skill_of_one_agent_hides_no_skill_from_another(self) -> None:
        self.configure("{agents: {entries: {a: {workspace: '~/a'}, b: {workspace: '~/b'}}}}")
        self.make_skill("a/skills/one", "one")
        self.make_skill(".openclaw/skills/one", "one")
        self.assertEqual(self.skills(), [("a", "one", "a/skills/one"), ("managed", "one", ".openclaw/skills/one")])
        self.make_skill("b/skills/one", "one")
        self.assertEqual(self.skills(), [("a", "one", "a/skills/one"), ("b", "one", "b/skills/one")])

    def test_what_the_program_says_of_a_skill_is_joined(self) -> None:
        program = self.make_openclaw()
        self.configure("{}")
        self.make_skill(
            ".openclaw/skills/one", "one", metadata="{'openclaw': {'primaryEnv': 'KEY', 'skillKey': 'uno',},}"
        )
        missing = {"bins": ["op"], "anyBins": ["a", "b"], "env": ["KEY"], "config": ["x.y"], "os": ["darwin"]}
        rows = [
            {
                "name": "one",
                "source": "openclaw-managed",
                "primaryEnv": "OWN",
                "eligible": False,
                "disabled": True,
                "missing": missing,
            },
            {"name": "far", "source": "openclaw-node", "description": "Far.", "eligible": True, "primaryEnv": "FAR"},
        ]
        program.answers("skills list --json --agent=main", {"skills": rows})
        (row,) = app.list_skills("openclaw")
        self.assertEqual((row["skillKey"], row["primaryEnv"], row.get("eligible")), ("uno", "KEY", None))
        self.wait_until_idle()
        row, far = app.list_skills("openclaw")
        self.assertEqual(
            (row["eligible"], row["primaryEnv"], row["description"]),
            (
                False,
                "OWN",
                "Tells.\nIt cannot be used now: it is disabled; the program op is missing; all of the programs a, b are "
                "missing; the variable KEY is not set; the setting x.y is not set; it is made for darwin.",
            ),
        )
        self.assertEqual(
            (far["source"], far["name"], far["description"], far["primaryEnv"], far["eligible"], far["path"]),
            ("node", "far", "Far.", "FAR", True, ""),
        )

    def test_a_version_of_the_configuration_is_parsed_once(self) -> None:
        self.configure("{a: 1}")
        with mock.patch.object(json5, "loads", wraps=json5.loads) as loads:
            for version in (1, 2):
                for _ in range(3):
                    app.list_skills("openclaw")
                    app.list_local_agents()
                    app.get_skill_entry("openclaw", "one")
                self.assertEqual(loads.call_count, version)
                self.configure("{a: 22}")

    def test_the_lists_are_quick_with_many_agents_and_skills_whatever_the_program_does(self) -> None:
        program = self.make_openclaw()
        program.always(HANG)
        self.replace(openclaw_program, "QUESTION_SECONDS", 0.2)
        for number in range(200):
            self.make_skill(
                f".openclaw/skills/group-{number % 7}/skill-{number}", f"skill-{number}", metadata="{a: [1,],}"
            )
        self.configure({"agents": {"entries": {f"agent-{number}": {} for number in range(20)}}})
        lists: list[Callable[[], list[object]]] = [
            lambda: [*app.sync_local_agents_to_core()],
            lambda: [*app.list_skills("openclaw")],
        ]
        for function in lists:
            times: list[float] = []
            for _ in range(20):
                started = time.perf_counter()
                self.assertGreaterEqual(len(function()), 20)
                times.append(time.perf_counter() - started)
            self.assertLess(sorted(times)[10], 0.05)


class EntryTest(OpenClawTestCase):
    def save(self) -> None:
        app.save_skill_entry("openclaw", "weather", {"enabled": True, "apiKey": "sk-secret"})

    def test_the_program_checks_a_copy_before_it_replaces_the_file(self) -> None:
        program = self.make_openclaw()
        self.configure("{a: 1} // mine")
        checked = self.path("checked")
        program.does("config validate", f"cp \"$OPENCLAW_CONFIG_PATH\" {checked}; echo '{json.dumps(VALID)}'")
        self.save()
        self.assertEqual(self.read("checked"), self.read(CONFIG))
        self.assertNotIn("secret", " ".join(program.calls()))
        self.assertEqual(len(self.files_below(".openclaw")), 2)

    def test_what_the_program_refuses_is_not_saved_and_its_words_are_told(self) -> None:
        program = self.make_openclaw()
        self.replace(openclaw_program, "ACTION_SECONDS", 0.3)
        path = self.path(CONFIG)
        self.configure("{a: 1}")
        invalid = {
            "valid": False,
            "error": {"message": "Invalid: $OPENCLAW_CONFIG_PATH"},
            "issues": [{"path": "a", "message": "Unrecognized key"}],
        }
        for script, said in {
            f"cat <<END\n{json.dumps(invalid)}\nEND\nexit 1": f"openclaw says: Invalid: {path} a: Unrecognized key.",
            "echo '{}'": "openclaw says: {}.",
            HANG: "openclaw did not answer within 0.3 seconds.",
            "echo old Node >&2; exit 1": "openclaw says: old Node.",
        }.items():
            program.always(script)
            self.assertEqual(self.refusal(self.save), f"The settings were not saved: {said}")
            self.assertEqual((self.read(CONFIG), self.files_below(".openclaw")), ("{a: 1}", ["openclaw.json"]))

    def test_a_file_that_changed_meanwhile_is_not_replaced(self) -> None:
        program = self.make_openclaw()
        self.configure("{a: 1}")
        program.does("config validate", f"echo '{{b: 2}}' > {self.path(CONFIG)}; echo '{json.dumps(VALID)}'")
        self.assertIn("was changed by another program meanwhile", self.refusal(self.save))
        self.assertEqual((self.read(CONFIG), self.files_below(".openclaw")), ("{b: 2}\n", ["openclaw.json"]))
