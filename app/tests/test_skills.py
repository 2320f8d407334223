"""Skills found on disk, and what their SKILL.md says."""

from __future__ import annotations

import json
import os
import subprocess
import sys

import app
from app.errors import BackendError
from app.front_matter import parse_front_matter
from app.tests.support import HomeTestCase

PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(app.__file__)))
HELPER = os.path.join(PROJECT, "macos-native/Sources/NeloMenuBar/backend/helper_server.py")


def manual(**values: str) -> str:
    """A SKILL.md with this front matter."""
    lines = "".join(f"{key}: {value}\n" for key, value in values.items())
    return f"---\n{lines}---\n# Body\nname: not this\n"


class FrontMatterTest(HomeTestCase):
    def test_values_of_every_style(self) -> None:
        text = "\n".join(
            [
                "\ufeff---",
                "  lost",
                "# a comment",
                "- lost",
                "name: weather",
                'quoted: "say \\"hi\\" \\u4f60"',
                "single: 'it''s'",
                "plain: one",
                "  two",
                "",
                "  three",
                "literal: |",
                "  line one",
                "",
                "  line two",
                "folded: >-",
                "  line one",
                "  line two",
                "empty:",
                "quote: '",
                'quotes: "',
                "colon: a: b",
                "url: https://host",
                'broken: "half \\',
                '  way"',
                "metadata:",
                '  {"openclaw":',
                '     {"primaryEnv": "KEY"}}',
                "--- ",
                "after: the end",
            ]
        )
        self.assertEqual(
            parse_front_matter(text),
            {
                "name": "weather",
                "quoted": 'say "hi" 你',
                "single": "it's",
                "plain": "one two three",
                "literal": "line one\n\nline two",
                "folded": "line one line two",
                "empty": "",
                "quote": "'",
                "quotes": '"',
                "colon": "a: b",
                "url": "https://host",
                "broken": "half \\ way",
                "metadata": '{"openclaw": {"primaryEnv": "KEY"}}',
            },
        )

    def test_three_dots_end_it_too(self) -> None:
        self.assertEqual(parse_front_matter("---\nname: a\n...\nname: b"), {"name": "a"})

    def test_windows_line_ends_are_line_ends(self) -> None:
        self.assertEqual(parse_front_matter("---\r\nname: a\r\n---\r\nbody"), {"name": "a"})

    def test_only_line_feeds_and_carriage_returns_end_a_line(self) -> None:
        for character in "\x0b\x0c\x1c\x1d\x1e\x85\u2028\u2029":
            with self.subTest(character):
                value = f"a{character}b: c"
                self.assertEqual(parse_front_matter(f"---\nname: {value}\n---\n"), {"name": value})
        self.assertEqual(parse_front_matter("---\rname: a\r---\rbody"), {"name": "a"})

    def test_comments_after_a_value_are_not_part_of_it(self) -> None:
        cases = {
            "name: weather # the name": "weather",
            "name: weather\t# the name": "weather",
            "name: it's # the name": "it's",
            "name: a#b": "a#b",
            "name: # nothing": "",
            "name:\n  # before\n  weather\n  # between\n  report": "weather report",
            "name: \"a # b\" # it's \"c\"": "a # b",
            "name: 'it''s # b' # c": "it's # b",
            "name: \"a\n  # b\"": "a # b",
            'name: {"a": "b # c"} # "d"': '{"a": "b # c"}',
            'name: {"a":\n  # first\n  "b \\" # c"\n  } # d': '{"a": "b \\" # c" }',
            "name: [beta] weather # new": "[beta] weather",
            "name: | # text\n  # a title": "# a title",
        }
        for line, value in cases.items():
            with self.subTest(line):
                self.assertEqual(parse_front_matter(f"---\n{line}\n---\n"), {"name": value})

    def test_a_block_says_its_indent_and_its_end_in_either_order(self) -> None:
        for indicator in ("|", "|-", "|+", "|2", "|2-", "|-2", "|+1"):
            with self.subTest(indicator):
                self.assertEqual(parse_front_matter(f"---\nname: {indicator}\n  a\n  b\n---\n"), {"name": "a\nb"})
        self.assertEqual(parse_front_matter("---\nname: >2-\n  a\n  b\n---\n"), {"name": "a b"})

    def test_a_long_value_that_is_odd_takes_no_time(self) -> None:
        odd = ('"' + "a\\" * 200_000, "'" + "''" * 200_000 + "x", "{" + '"\\' * 200_000, "a" + " " * 400_000 + "b")
        for value in (*odd, "a" + " #" * 200_000, "{" + " " * 400_000 + "}"):
            self.assertEqual(list(parse_front_matter(f"---\nname: {value}\n---\n")), ["name"])

    def test_a_repeated_key_keeps_its_last_value(self) -> None:
        self.assertEqual(parse_front_matter("---\nname: a\nname: b\n---\n"), {"name": "b"})

    def test_what_has_no_front_matter_has_no_values(self) -> None:
        for text in ("", "name: a", "# Title\n---\nname: a\n---\n", "---\nname: a\n", "----\nname: a\n----\n", "---"):
            with self.subTest(text):
                self.assertEqual(parse_front_matter(text), {})


class ListSkillsTest(HomeTestCase):
    def make_skill(self, folder: str, content: str | bytes = "") -> str:
        self.make_file(f"{folder}/SKILL.md", content)
        return self.path(folder)

    def row(self, content: str | bytes, ecosystem: str = "openclaw") -> dict[str, object]:
        self.make_skill(f".{ecosystem}/skills/folder", content)
        (row,) = app.list_skills(ecosystem)
        return row

    def test_a_fresh_machine_has_no_skills_and_listing_makes_nothing(self) -> None:
        self.assertEqual(app.list_skills("openclaw"), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_a_row_has_the_documented_keys(self) -> None:
        metadata = {
            "openclaw": {
                "requires": {"env": ["CITY", "WEATHER_KEY"]},
                "primaryEnv": "WEATHER_KEY",
                "primaryEnvLabel": "Weather key",
                "skillKey": "weather-key",
            }
        }
        row = self.row(manual(name="weather", description="Tells 天气", metadata=json.dumps(metadata)))
        self.assertEqual(
            row,
            {
                "name": "weather",
                "source": "shared",
                "skillKey": "weather-key",
                "description": "Tells 天气",
                "path": self.path(".openclaw/skills/folder"),
                "requiredEnv": ["CITY", "WEATHER_KEY"],
                "primaryEnv": "WEATHER_KEY",
                "primaryEnvLabel": "Weather key",
            },
        )

    def test_metadata_may_name_variables_at_its_top_or_for_another_ecosystem_only(self) -> None:
        top = json.dumps({"requiredEnv": ["A"], "primaryEnv": " B "})
        row = self.row(manual(metadata=top))
        self.assertEqual((row["requiredEnv"], row["primaryEnv"]), (["A"], "B"))
        row = self.row(manual(metadata=json.dumps({"codex": {"requiredEnv": ["A"]}})))
        self.assertEqual(row["requiredEnv"], [])

    def test_without_front_matter_the_folder_names_the_skill(self) -> None:
        row = self.row("Just text")
        self.assertEqual((row["name"], row["skillKey"], row["description"]), ("folder", "folder", ""))

    def test_the_name_is_the_key_unless_the_metadata_names_one(self) -> None:
        self.assertEqual(self.row(manual(name="weather"))["skillKey"], "weather")

    def test_metadata_of_wrong_types_says_nothing(self) -> None:
        values: list[object] = [None, 7, "text", [], {}, True, [1, None, {}]]
        for value in values:
            section = {
                "requires": value,
                "requiredEnv": value,
                "primaryEnv": value if value != "text" else 7,
                "primaryEnvLabel": [value],
                "skillKey": [value],
            }
            for metadata in (json.dumps(section), json.dumps({"openclaw": section}), json.dumps(value), "{half"):
                with self.subTest(metadata):
                    row = self.row(manual(name="n", metadata=metadata))
                    said = [row[key] for key in ("requiredEnv", "primaryEnv", "primaryEnvLabel", "skillKey")]
                    self.assertEqual(said, [[], "", "", "n"])

    def test_metadata_with_a_comment_behind_it_is_understood(self) -> None:
        row = self.row(manual(metadata='{"primaryEnv": "KEY # 1"} # for the widget'))
        self.assertEqual(row["primaryEnv"], "KEY # 1")

    def test_blanks_duplicates_and_numbers_of_required_variables(self) -> None:
        env = ["A", " ", 7, "A", None, *[f"V{number}" for number in range(200)]]
        row = self.row(manual(metadata=json.dumps({"requires": {"env": env}})))
        self.assertEqual(row["requiredEnv"], ["A", " ", "A", *[f"V{number}" for number in range(200)]])

    def test_required_variables_under_their_other_name_count_when_the_first_says_nothing(self) -> None:
        for requires in ({}, {"bins": ["curl"]}, {"env": None}, None):
            row = self.row(manual(metadata=json.dumps({"requires": requires, "requiredEnv": ["A"]})))
            self.assertEqual(row["requiredEnv"], ["A"])
        row = self.row(manual(metadata=json.dumps({"requires": {"env": []}, "requiredEnv": ["A"]})))
        self.assertEqual(row["requiredEnv"], [])

    def test_a_description_of_a_hundred_kilobytes_arrives_whole(self) -> None:
        description = "好" * 33_000
        self.assertEqual(self.row(manual(description=description))["description"], description)

    def test_bytes_that_are_not_text_do_no_harm(self) -> None:
        self.assertEqual(self.row(b"---\nname: a\xff\n---\n")["name"], "a\ufffd")

    def test_an_escape_of_half_a_character_does_no_harm(self) -> None:
        row = self.row(manual(name='"a\\ud800b"', description='"\\udc00"', metadata='"\\ud800"'))
        self.assertEqual((row["name"], row["skillKey"], row["description"]), ("a\ufffdb", "a\ufffdb", "\ufffd"))
        self.assertEqual(self.row(manual(name='"\\ud83d\\ude00"'))["name"], "😀")

    def test_an_escape_of_half_a_character_travels_through_the_helper(self) -> None:
        self.make_skill(".codex/skills/folder", manual(name='"a\\ud800"'))
        request = json.dumps({"function": "list_skills", "args": ["codex"]}) + "\n"
        done = subprocess.run(
            [sys.executable, HELPER], cwd=PROJECT, input=request.encode(), capture_output=True, check=True, timeout=60
        )
        reply = json.loads(done.stdout)
        self.assertEqual(reply["result"][0]["name"], "a\ufffd")

    def test_shared_skills_come_first_then_those_in_the_workspaces_of_the_ecosystem(self) -> None:
        self.make_skill(".codex/skills/zebra")
        self.make_skill(".codex/skills/ant")
        self.make_skill(".codex/agents/found/skills/one")
        self.make_skill("projects/mine/skills/two")
        app.add_local_agent("codex", "mine", "Mine", self.path("projects/mine"))
        self.make_skill(".kimi/skills/other")
        self.make_skill(".kimi/agents/k/skills/other")
        rows = [(row["source"], row["name"]) for row in app.list_skills("codex")]
        self.assertEqual(rows, [("shared", "ant"), ("shared", "zebra"), ("found", "one"), ("mine", "two")])

    def test_a_megabyte_of_a_manual_is_read(self) -> None:
        begin, end = "---\nname: weather\n# ", "\n---"
        for size, name in ((1_000_000, "weather"), (1_000_001, "folder")):
            padding = "x" * (size - len(begin) - len(end))
            self.make_skill(".openclaw/skills/folder", begin + padding + end)
            self.assertEqual(app.list_skills("openclaw")[0]["name"], name)

    def test_what_is_no_skill_is_not_listed(self) -> None:
        self.make_file(".codex/skills/file")
        self.make_file(".codex/skills/empty/README.md")
        os.makedirs(self.path(".codex/skills/folder/SKILL.md"))
        os.mkfifo(self.path(".codex/skills/empty/SKILL.md"))
        self.make_skill(".codex/skills/.hidden")
        os.makedirs(os.fsencode(self.path(".codex/skills/")) + b"not-utf-8-\xff")
        self.assertEqual(app.list_skills("codex"), [])

    def test_a_skill_that_is_a_link_is_listed(self) -> None:
        self.make_skill("elsewhere/skill", manual(name="linked"))
        os.makedirs(self.path(".codex/skills"))
        os.symlink(self.path("elsewhere/skill"), self.path(".codex/skills/link"))
        self.assertEqual([row["name"] for row in app.list_skills("codex")], ["linked"])

    def test_a_workspace_that_shares_the_skills_folder_lists_nothing_twice(self) -> None:
        self.make_skill(".codex/skills/one")
        app.add_local_agent("codex", "mine", "Mine", self.path(".codex"))
        self.assertEqual([row["source"] for row in app.list_skills("codex")], ["shared"])

    def test_an_unknown_ecosystem_is_refused(self) -> None:
        for ecosystem in ("", "OpenClaw", "../x", None, 7):
            for function in (app.list_skills, app.get_adapter_snapshot):
                with self.assertRaisesRegex(BackendError, "Choose openclaw, codex, kimi"):
                    function(ecosystem)


class AdapterSnapshotTest(HomeTestCase):
    def test_the_configuration_and_the_shared_folder_are_told_even_when_they_do_not_exist(self) -> None:
        self.assertEqual(
            app.get_adapter_snapshot("openclaw"),
            {
                "ecosystem": "openclaw",
                "configPath": self.path(".openclaw/openclaw.json"),
                "skillDirs": [self.path(".openclaw/skills")],
            },
        )
        self.assertEqual(app.get_adapter_snapshot("kimi")["configPath"], self.path(".kimi/config.json"))

    def test_skill_folders_of_workspaces_are_told_when_they_exist(self) -> None:
        os.makedirs(self.path(".codex/agents/a"))
        os.makedirs(self.path(".codex/agents/b/skills"))
        expected = [self.path(".codex/skills"), self.path(".codex/agents/b/skills")]
        self.assertEqual(app.get_adapter_snapshot("codex")["skillDirs"], expected)
