"""Skills of codex and kimi: what the programs take, and what they keep of one."""

from __future__ import annotations

import os
import sys
from unittest import mock

import app
from app.tests.program_homes import skill
from app.tests.support import HomeTestCase

CONFIG = ".codex/config.toml"
EVERYTHING: dict[str, object] = {"apiKey": "", "env": {}, "config": {}}


class ProgramSkillsTest(HomeTestCase):
    def names(self, ecosystem: str) -> list[object]:
        return [row["name"] for row in app.list_skills(ecosystem)]

    def test_what_the_programs_take(self) -> None:
        codex, kimi = ".codex/skills", ".kimi-code/skills"
        cases: list[tuple[str, dict[str, str], list[str]]] = [
            ("codex", {f"{codex}/a/SKILL.md": skill()}, ["a"]),
            ("codex", {f"{codex}/a/SKILL.md": skill("b", "")}, []),
            ("codex", {f"{codex}/a/SKILL.md": "text"}, []),
            ("codex", {f"{codex}/a/SKILL.md": skill("n" * 64), f"{codex}/b/SKILL.md": skill("n" * 65)}, ["n" * 64]),
            ("codex", {f"{codex}/1/2/3/4/5/6/SKILL.md": skill("six")}, ["six"]),
            ("codex", {f"{codex}/1/2/3/4/5/6/7/SKILL.md": skill("seven")}, []),
            ("codex", {f"{codex}/a/SKILL.md": skill(), f"{codex}/a/inner/SKILL.md": skill()}, ["a", "inner"]),
            ("codex", {f"{codex}/a/SKILL.md": skill("same"), f"{codex}/b/SKILL.md": skill("same")}, ["same", "same"]),
            ("codex", {f"{codex}/.hidden/SKILL.md": skill(), f"{codex}/a.md": skill()}, []),
            ("codex", {".agents/skills/a/SKILL.md": skill(), f"{codex}/.system/b/SKILL.md": skill()}, ["a", "b"]),
            ("kimi", {f"{kimi}/a/SKILL.md": skill("b")}, ["b"]),
            ("kimi", {f"{kimi}/a/SKILL.md": skill(), f"{kimi}/b/SKILL.md": skill("b", "")}, []),
            ("kimi", {f"{kimi}/a/SKILL.md": skill("a"), f"{kimi}/a/inner/SKILL.md": skill("inner")}, ["a"]),
            ("kimi", {f"{kimi}/1/2/3/4/5/6/7/8/SKILL.md": skill("eight")}, ["eight"]),
            ("kimi", {f"{kimi}/.hidden/SKILL.md": skill("a"), f"{kimi}/node_modules/b/SKILL.md": skill("b")}, ["a"]),
            ("kimi", {f"{kimi}/a.md": "text", f"{kimi}/b.md": skill("c"), f"{kimi}/d/e.md": skill("e")}, ["a", "c"]),
            ("kimi", {f"{kimi}/a/SKILL.md": skill("One"), ".agents/skills/b/SKILL.md": skill("one")}, ["One"]),
        ]
        for ecosystem, files, names in cases:
            with self.subTest(ecosystem, files=list(files)):
                for name, content in files.items():
                    self.make_file(name, content)
                self.assertEqual(self.names(ecosystem), names)
                for name in files:
                    os.unlink(self.path(name))

    def test_folders_that_lead_in_a_circle_are_searched_once_and_names_that_are_no_text_are_left_out(self) -> None:
        self.make_file(".kimi-code/skills/a/SKILL.md", skill("a"))
        for name in ("one", "two", "three"):
            os.symlink("..", self.path(".kimi-code/skills", name))
        with open(os.fsencode(self.path(".kimi-code/skills")) + b"/\xff.md", "w", encoding="utf-8") as file:
            file.write(skill())
        with mock.patch.object(os, "listdir", wraps=os.listdir) as listdir:
            self.assertEqual(self.names("kimi"), ["a"])
        self.assertLess(listdir.call_count, 20)

    def test_a_row_and_where_skills_are(self) -> None:
        self.make_file("elsewhere/a/SKILL.md", skill("one", "Does it."))
        os.makedirs(self.path(".codex/skills"))
        os.symlink(self.path("elsewhere/a"), self.path(".codex/skills/a"))
        (row,) = app.list_skills("codex")
        folder, key = self.path(".codex/skills/a"), self.path("elsewhere/a/SKILL.md")
        expected = {"name": "one", "source": "user", "skillKey": key, "description": "Does it.", "path": folder}
        self.assertEqual(row, {**expected, "requiredEnv": [], "primaryEnv": "", "primaryEnvLabel": ""})
        folders = [".codex/skills", ".agents/skills", ".codex/skills/.system"]
        self.assertEqual(app.get_adapter_snapshot("codex")["skillDirs"], [self.path(name) for name in folders])
        self.make_file(".kimi-code/config.toml", 'extra_skill_dirs = ["/team", "~/mine", "of-a-project"]')
        folders = [self.path(".kimi-code/skills"), self.path(".agents/skills"), "/team", self.path("mine")]
        self.assertEqual(app.get_adapter_snapshot("kimi")["skillDirs"], folders)
        self.assertEqual(app.get_adapter_snapshot("kimi")["configPath"], self.path(".kimi-code/config.toml"))


class CodexEntryTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.key = self.make_file(".codex/skills/a/SKILL.md", skill("one"))

    def is_enabled(self) -> object:
        entry = app.get_skill_entry("codex", self.key)
        self.assertEqual(list(entry), ["enabled"])
        return entry["enabled"]

    def save(self, is_on: bool) -> None:
        saved = app.save_skill_entry("codex", self.key, dict(EVERYTHING, enabled=is_on))
        self.assertEqual(saved, {"path": self.path(CONFIG)})

    def test_whether_a_skill_is_on_is_read_as_the_program_does(self) -> None:
        path, name = f'path = "{self.key}"', 'name = "one"'
        home_path = 'path = "~/.codex/skills/a/SKILL.md"'
        cases: list[tuple[list[str | bool], bool]] = [
            ([], True),
            ([path, False], False),
            ([home_path, False], False),
            ([name, False], False),
            ([f'path = "{os.path.dirname(self.key)}"', False], True),
            ([f"{path}\n{name}", False], True),
            ([path, False, path, True], True),
            ([path, True, name, False], False),
            ([name, False, path, True], True),
            (['name = "other"', False], True),
        ]
        for entries, is_on in cases:
            pairs = zip(entries[::2], entries[1::2])
            lines = [f"[[skills.config]]\n{text}\nenabled = {str(on).lower()}\n" for text, on in pairs]
            with self.subTest(lines):
                self.make_file(CONFIG, "".join(lines))
                self.assertEqual(self.is_enabled(), is_on)
                for wanted in (not is_on, is_on):
                    self.save(wanted)
                    self.assertEqual(self.is_enabled(), wanted)

    def test_nothing_else_in_the_file_changes(self) -> None:
        entry = f'[[skills.config]]\npath = "{self.key}"\nenabled = false\n'
        inline = f'path = "{self.key}", enabled = false'
        other = '{ path = "/b", enabled = true }'
        ours, theirs = entry.replace("false", "true"), '[[skills.config]]\npath = "/b"\nenabled = true'
        for before, after in (
            (theirs, f"{theirs}\n\n{entry}"),
            ("a = 1\r\n# mine", "a = 1\r\n# mine\r\n\r\n" + entry.replace("\n", "\r\n")),
            (f"{theirs}\n[a]\n{theirs}\n# end\n", f"{theirs}\n[a]\n{theirs}\n# end\n\n{entry}"),
            (f"{ours}[a]\nb = nan\n", f"{entry}[a]\nb = nan\n"),
            ('# mine\nmodel = "x" # keep\n\n[a]\nb = 1\n', f'# mine\nmodel = "x" # keep\n\n[a]\nb = 1\n\n{entry}'),
            (f"skills = {{ config = [ {other} ] }}\n", f"skills = {{ config = [ {other}, {{{inline}}} ] }}\n"),
            (entry.replace("false", "true # why"), entry.replace("false", "false # why")),
        ):
            with self.subTest(before):
                self.make_file(CONFIG, before, 0o644)
                self.save(False)
                with open(self.path(CONFIG), "rb") as file:
                    self.assertEqual((file.read().decode(), self.mode(CONFIG)), (after, 0o640))
                (copy,) = [name for name in os.listdir(self.path(".codex")) if name.startswith("config.toml.bak.")]
                self.assertEqual(self.read(f".codex/{copy}"), before.replace("\r\n", "\n"))
                os.unlink(self.path(".codex", copy))

    def test_a_file_that_cannot_be_changed_in_place_or_changed_meanwhile_is_left(self) -> None:
        ours = f'[[skills.config]]\npath = "{self.key}"\nenabled = true\n'
        theirs = '[[skills.config]]\npath = "/b"\nenabled = true\n'
        for before in ("skills = {}\n", f"{theirs}[a]\n{ours}[b]\n{theirs}"):
            with self.subTest(before):
                self.make_file(CONFIG, before)
                self.assertIn("cannot be changed in place", self.refusal(self.save, False))
                self.assertEqual(self.read(CONFIG), before)
        self.make_file(CONFIG, "a = 1\n")

        def change(*arguments: object) -> str:
            return self.make_file(CONFIG, "a = 2\n")

        with mock.patch("app.files.keep_copy", side_effect=change):
            self.assertIn("changed by another program meanwhile", self.refusal(self.save, False))
        self.assertEqual(self.read(CONFIG), "a = 2\n")

    def test_what_is_as_wanted_is_not_written(self) -> None:
        self.save(True)
        self.assertEqual(os.listdir(self.path(".codex")), ["skills"])
        self.save(False)
        names = sorted(os.listdir(self.path(".codex")))
        self.assertEqual((self.mode(CONFIG), names), (0o600, ["config.toml", "skills"]))

    def test_what_the_program_cannot_keep_is_refused_and_nothing_is_written(self) -> None:
        codex = "Codex keeps no settings per skill; it can only be switched on or off."
        kimi = "Kimi keeps no settings per skill, and a skill cannot be switched off; move its folder away."
        more_than_kept: list[dict[str, object]] = [{"apiKey": "secret"}, {"env": {"A": "b"}}, {"config": {"a": 1}}]
        for more in more_than_kept:
            for ecosystem, message in (("codex", codex), ("kimi", kimi)):
                wanted = dict(EVERYTHING, enabled=True, **more)
                self.assertEqual(self.refusal(app.save_skill_entry, ecosystem, self.key, wanted), message)
        self.assertEqual(self.refusal(app.save_skill_entry, "kimi", "one", {"enabled": False}), kimi)
        self.assertIn("Codex has no skill", self.refusal(app.save_skill_entry, "codex", "other", {"enabled": False}))
        saved = app.save_skill_entry("kimi", "one", dict(EVERYTHING, enabled=True))
        self.assertEqual(saved, {"path": self.path(".kimi-code/config.toml")})
        self.assertEqual(app.get_skill_entry("kimi", "one"), {})
        self.assertEqual(self.files_below(), [".codex/skills/a/SKILL.md"])

    def test_a_configuration_that_is_not_toml_is_told_and_left(self) -> None:
        for content in (b"a = [", b"\xff", b"skills = 1", b'skills.config = "x"'):
            with self.subTest(content):
                self.make_file(CONFIG, content)
                self.assertIn("is not a TOML configuration", self.refusal(self.save, False))
                with open(self.path(CONFIG), "rb") as file:
                    self.assertEqual(file.read(), content)

    def test_without_the_library_a_sentence_names_it_and_without_a_reader_the_library_reads(self) -> None:
        with mock.patch.dict(sys.modules, {"tomlkit": None}):
            message = self.refusal(self.save, False)
        self.assertIn("config.toml needs the Python package tomlkit (python3-tomlkit on Debian)", message)
        self.save(False)
        with mock.patch.dict(sys.modules, {"tomllib": None}):
            self.assertFalse(self.is_enabled())
