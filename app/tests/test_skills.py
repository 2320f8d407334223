"""How skills are found on disk, and what their SKILL.md says."""

from __future__ import annotations

import json
import os
import time
from unittest import mock

import app
from app import files, front_matter, manuals
from app.front_matter import _parse_lines
from app.ecosystems import Skill
from app.tests.support import HomeTestCase


def manual(**values: str) -> str:
    """A SKILL.md with this front matter."""
    lines = "".join(f"{key}: {value}\n" for key, value in values.items())
    return f"---\n{lines}---\n# Body\nname: not this\n"


class LinesTest(HomeTestCase):
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
            _parse_lines(text),
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
        self.assertEqual(_parse_lines("---\nname: a\n...\nname: b"), {"name": "a"})

    def test_windows_line_ends_are_line_ends(self) -> None:
        self.assertEqual(_parse_lines("---\r\nname: a\r\n---\r\nbody"), {"name": "a"})

    def test_only_line_feeds_and_carriage_returns_end_a_line(self) -> None:
        for character in "\x0b\x0c\x1c\x1d\x1e\x85\u2028\u2029":
            with self.subTest(character):
                value = f"a{character}b: c"
                self.assertEqual(_parse_lines(f"---\nname: {value}\n---\n"), {"name": value})
        self.assertEqual(_parse_lines("---\rname: a\r---\rbody"), {"name": "a"})

    def test_comments_after_a_value_are_not_part_of_it(self) -> None:
        cases = {
            "name: weather # the name": "weather",
            "name: weather\t# the name": "weather",
            "name: it's # the name": "it's",
            "name: a#b": "a#b",
            "name: # nothing": "",
            "name:\n  # before\n  weather\n  # between\n  report": "weather report",
            'name: "a # b" # it\'s "c"': "a # b",
            "name: 'it''s # b' # c": "it's # b",
            'name: "a\n  # b"': "a # b",
            'name: {"a": "b # c"} # "d"': '{"a": "b # c"}',
            'name: {"a":\n  # first\n  "b \\" # c"\n  } # d': '{"a": "b \\" # c" }',
            "name: [beta] weather # new": "[beta] weather",
            "name: | # text\n  # a title": "# a title",
        }
        for line, value in cases.items():
            with self.subTest(line):
                self.assertEqual(_parse_lines(f"---\n{line}\n---\n"), {"name": value})

    def test_a_block_says_its_indent_and_its_end_in_either_order(self) -> None:
        for indicator in ("|", "|-", "|+", "|2", "|2-", "|-2", "|+1"):
            with self.subTest(indicator):
                self.assertEqual(_parse_lines(f"---\nname: {indicator}\n  a\n  b\n---\n"), {"name": "a\nb"})
        self.assertEqual(_parse_lines("---\nname: >2-\n  a\n  b\n---\n"), {"name": "a b"})

    def test_a_long_value_that_is_odd_takes_no_time(self) -> None:
        odd = ('"' + "a\\" * 200_000, "'" + "''" * 200_000 + "x", "{" + '"\\' * 200_000, "a" + " " * 400_000 + "b")
        for value in (*odd, "a" + " #" * 200_000, "{" + " " * 400_000 + "}"):
            self.assertEqual(list(_parse_lines(f"---\nname: {value}\n---\n")), ["name"])

    def test_a_repeated_key_keeps_its_last_value(self) -> None:
        self.assertEqual(_parse_lines("---\nname: a\nname: b\n---\n"), {"name": "b"})

    def test_what_has_no_front_matter_has_no_values(self) -> None:
        for text in ("", "name: a", "# Title\n---\nname: a\n---\n", "---\nname: a\n", "----\nname: a\n----\n", "---"):
            with self.subTest(text):
                self.assertEqual(_parse_lines(text), {})


class FrontMatterTest(HomeTestCase):
    def test_metadata_is_yaml_or_json5_on_one_line_or_many(self) -> None:
        wanted = {"openclaw": {"primaryEnv": "KEY", "requires": {"env": ["A", "B"]}}}
        for text in (
            'metadata: {"openclaw": {"primaryEnv": "KEY", "requires": {"env": ["A", "B"]}}}',
            "metadata: {openclaw: {primaryEnv: 'KEY', requires: {env: ['A', 'B'],},},} # comment",
            'metadata:\n  {\n    "openclaw":\n      { "primaryEnv": "KEY", "requires": { "env": ["A", "B"], }, },\n  }',
            "metadata:\n  openclaw:\n    primaryEnv: KEY\n    requires:\n      env:\n        - A\n        - B",
            'metadata: \'{openclaw: {primaryEnv: "KEY", requires: {env: ["A", "B"]}}}\'',
            "description: Foo: bar\nmetadata: {openclaw: {primaryEnv: 'KEY', /* why */ requires: {env: ['A', 'B'],}}}",
        ):
            with self.subTest(text):
                self.assertEqual(front_matter.parse(f"---\n{text}\n---\n")["metadata"], wanted)

    def test_what_is_no_yaml_is_read_line_by_line_and_what_never_ends_is_nothing(self) -> None:
        self.assertEqual(front_matter.parse("---\ndescription: Foo: bar\n---\n"), {"description": "Foo: bar"})
        self.assertEqual(front_matter.parse("---\na: 1\nb: true\n...\nc: 3"), {"a": "1", "b": "true"})
        self.assertEqual(front_matter.parse("---\nname: a\nmetadata: " + "[" * 100_000 + "\n---\n")["name"], "a")
        for text in ("", "name: a", "---\nname: a\n", "---", "---\n- a\n---\n", "---\n---\n"):
            self.assertEqual(front_matter.parse(text), {})

    def test_values_that_name_each_other_again_and_again_take_no_time(self) -> None:
        lines = ['a0: &a0 ["\\n"]', *(f"a{n + 1}: &a{n + 1} [{f'*a{n}, ' * 10}]" for n in range(7)), "name: a"]
        started = time.monotonic()
        self.assertEqual(front_matter.parse("\n".join(["---", *lines, "---", ""]))["name"], "a")
        self.assertLess(time.monotonic() - started, 0.5)

    def test_without_the_libraries_lines_and_strict_json_are_read(self) -> None:
        for name in ("yaml", "json5"):
            self.replace_module(name)
        text = '---\nname: a\nmetadata: {"openclaw": {"primaryEnv": "KEY"}}\n---\n'
        self.assertEqual(front_matter.parse(text), {"name": "a", "metadata": {"openclaw": {"primaryEnv": "KEY"}}})


class ManualTest(HomeTestCase):
    def make_skill(self, folder: str, content: str | bytes = "") -> str:
        self.make_file(f"{folder}/SKILL.md", content)
        return self.path(folder)

    def skill(self, content: str | bytes) -> Skill:
        found = manuals.read(self.make_skill("skills/folder", content))
        assert found
        return found.skill("here", ("openclaw", "clawdbot"))

    def test_a_skill_is_what_its_manual_says(self) -> None:
        own = {"requires": {"env": ["CITY"]}, "primaryEnv": " KEY ", "primaryEnvLabel": "Key", "skillKey": "other"}
        wanted = Skill("weather", "Tells 天气", "here", "other", self.path("skills/folder"), ("CITY",), "KEY", "Key")
        for key in ("openclaw", "clawdbot"):
            text = manual(name="weather", description="Tells 天气", metadata=json.dumps({key: own}))
            self.assertEqual(self.skill(text), wanted)
        nothing = Skill("folder", "", "here", "folder", self.path("skills/folder"))
        self.assertEqual(self.skill("Just text"), nothing)
        self.assertEqual(self.skill(manual(metadata=json.dumps({**own, "codex": own}))), nothing)

    def test_metadata_of_wrong_types_says_nothing(self) -> None:
        values: list[object] = [[], {}, [1, None, {}]]
        for value in values:
            section = {"requires": value, "primaryEnv": value, "primaryEnvLabel": value, "skillKey": [value]}
            for metadata in (json.dumps({"openclaw": section}), json.dumps(value), "{half"):
                with self.subTest(metadata):
                    skill = self.skill(manual(name="n", metadata=metadata))
                    self.assertEqual((skill.key, skill.required_env, skill.primary_env_label), ("n", (), ""))

    def test_odd_texts_do_no_harm(self) -> None:
        description = "好" * 33_000
        self.assertEqual(self.skill(manual(description=description)).description, description)
        self.assertEqual(self.skill(b"---\nname: a\xff\n---\n").name, "a\ufffd")
        self.assertEqual(self.skill(manual(name='"a\\ud800b"', metadata='"\\ud800"')).name, "a\ufffdb")
        half = self.skill(manual(name="n", metadata="'{openclaw: {primaryEnv: \"\\ud800\"}}'"))
        self.assertEqual((half.name, half.primary_env), ("n", ""))
        begin, end = "---\nname: weather\n# ", "\n---"
        for size, name in ((1_000_000, "weather"), (1_000_001, "folder")):
            self.assertEqual(self.skill(begin + "x" * (size - len(begin) - len(end)) + end).name, name)

    def test_skills_are_found_down_to_a_depth_and_what_is_none_is_not(self) -> None:
        for folder in ("skills/b", "skills/a/in/deep", "skills/b/inside", "skills/.hidden", "elsewhere/linked"):
            self.make_skill(folder)
        os.symlink(self.path("elsewhere/linked"), self.path("skills/link"))
        self.make_file("skills/file")
        os.makedirs(self.path("skills/folder/SKILL.md"))
        os.makedirs(self.path("skills/pipe"))
        os.mkfifo(self.path("skills/pipe/SKILL.md"))
        os.makedirs(os.fsencode(self.path("skills/")) + b"not-utf-8-\xff")
        for depth, names in ((1, ["b", "link"]), (3, ["deep", "b", "link"])):
            self.assertEqual([found.name for found in manuals.find(self.path("skills"), depth)], names)
        self.assertEqual(list(manuals.find(self.path("nowhere"))), [])

    def test_a_link_to_a_large_tree_is_searched_to_a_limit(self) -> None:
        for folder in ("skills/a", "skills/b/in", "skills/c"):
            self.make_skill(folder)
        self.replace(files, "FOLDER_LIMIT", 4)  # skills, a, b, in
        self.assertEqual([found.name for found in manuals.find(self.path("skills"), 2, True)], ["a", "in"])

    def test_a_file_is_read_again_only_when_it_changed(self) -> None:
        self.assertEqual(self.skill(manual(name="one")).name, "one")
        with mock.patch.object(front_matter, "parse", side_effect=AssertionError):
            self.assertEqual(manuals.read(self.path("skills/folder")), manuals.read(self.path("skills/folder")))
        self.assertEqual(self.skill(manual(name="three")).name, "three")
        os.remove(self.path("skills/folder/SKILL.md"))
        self.assertIsNone(manuals.read(self.path("skills/folder")))


class ListSkillsTest(HomeTestCase):
    def test_an_unknown_ecosystem_is_refused(self) -> None:
        for ecosystem in ("", "OpenClaw", "../x", None, 7):
            for function in (app.list_skills, app.get_adapter_snapshot):
                self.assertIn("Choose openclaw, codex, kimi", self.refusal(function, ecosystem))
