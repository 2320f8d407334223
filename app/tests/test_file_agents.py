"""Agents of codex and kimi, which are files: what the programs take, and what changing them leaves alone."""

from __future__ import annotations

import os
from unittest import mock

import yaml

import app
from app import files
from app.tests.program_homes import codex_agent, kimi_agent
from app.tests.support import HomeTestCase

CODEX, KIMI = ".codex/agents", ".kimi-code/agents"
TRASH = "XDG_DATA_HOME/Trash"


class FileAgentTestCase(HomeTestCase):
    def agents(self, ecosystem: str) -> dict[str, tuple[object, object]]:
        """The name and the state of each agent by its id."""
        rows = [row for row in app.list_local_agents() if row["ecosystem"] == ecosystem]
        return {str(row["id"]): (row["name"], row.get("state", "")) for row in rows}


class ListTest(FileAgentTestCase):
    def test_what_the_programs_take_and_why_they_ignore_the_rest(self) -> None:
        cases: list[tuple[str, str, str, tuple[str, str]]] = [
            ("codex", f"{CODEX}/a.toml", codex_agent("审查 B"), ("审查 B", "")),
            ("codex", f"{CODEX}/a.toml", codex_agent(more='model = "x"\n[tools]\n'), ("good", "")),
            ("codex", f"{CODEX}/a.toml", 'description = "d"\ndeveloper_instructions = "x"', ("a", "it has no name")),
            ("codex", f"{CODEX}/a.toml", codex_agent().replace('"d"', '" "'), ("good", "it has no description")),
            ("codex", f"{CODEX}/a.toml", 'name = "b"\ndescription = "d"', ("b", "it has no developer_instructions")),
            ("codex", f"{CODEX}/a.toml", "name = [", ("a", ".")),
            ("codex", f"{CODEX}/a.toml", "name = 7", ("a", "it has no name")),
            ("codex", f"{CODEX}/deep/.er/a.toml", codex_agent(), ("good", "")),
            ("codex", f"{CODEX}/a.TOML", codex_agent(), ("", "")),
            ("kimi", f"{KIMI}/a.md", kimi_agent("2025-x"), ("2025-x", "")),
            ("kimi", f"{KIMI}/a.md", "---\ndescription: d\n---\nBe.", ("a", "")),
            ("kimi", f"{KIMI}/a.md", "---\nname: b\n---\nBe.", ("b", "it has no description")),
            ("kimi", f"{KIMI}/a.md", "---\nname: b\ndescription: d\n---\n \n", ("b", "it has no instructions")),
            ("kimi", f"{KIMI}/a.md", kimi_agent("Upper"), ("Upper", "small letters, digits and hyphens")),
            ("kimi", f"{KIMI}/a.md", kimi_agent("a_b"), ("a_b", "small letters, digits and hyphens")),
            ("kimi", f"{KIMI}/a.md", kimi_agent("coder"), ("coder", "comes with Kimi")),
            ("kimi", f"{KIMI}/a.md", kimi_agent("coder\noverride: true"), ("coder", "")),
            ("kimi", f"{KIMI}/a.md", "no front matter", ("a", "it has no description")),
            ("kimi", f"{KIMI}/deep/er/a.md", kimi_agent(), ("good", "")),
            ("kimi", ".agents/agents/a.md", kimi_agent(), ("good", "")),
            ("kimi", f"{KIMI}/.hidden/a.md", kimi_agent(), ("", "")),
            ("kimi", f"{KIMI}/.a.md", kimi_agent(), ("", "")),
            ("kimi", f"{KIMI}/a.MD", kimi_agent(), ("", "")),
        ]
        for ecosystem, path, content, (name, problem) in cases:
            with self.subTest(path, content=content):
                self.make_file(path, content)
                found = self.agents(ecosystem)
                os.unlink(self.path(path))
                self.assertEqual(list(found), ["a"] if name else [])
                if name:
                    self.assertEqual(found["a"][0], name)
                    self.assertRegex(str(found["a"][1]), f"^ignored: .*{problem}" if problem else "^$")

    def test_of_two_agents_with_a_name_or_an_id_the_program_takes_the_first(self) -> None:
        self.make_file(f"{CODEX}/a.toml", codex_agent())
        self.make_file(f"{CODEX}/b.toml", codex_agent())
        self.make_file(f"{CODEX}/deep/a.toml", codex_agent("other"))
        expected = {"a": ("good", ""), "b": ("good", "ignored: another agent has the name")}
        self.assertEqual(self.agents("codex"), expected)

    def test_the_folders_that_the_environment_and_the_configuration_name_are_searched(self) -> None:
        self.make_file("elsewhere/agents/a.toml", codex_agent())
        self.make_file("elsewhere/agents/b.md", kimi_agent())
        self.make_file("team/c.md", kimi_agent("team"))
        self.make_file("elsewhere/config.toml", 'extra_agent_dirs = ["~/team", "relative", 7]')
        self.set_environment(CODEX_HOME=self.path("elsewhere"), KIMI_CODE_HOME=self.path("elsewhere"))
        self.assertEqual((list(self.agents("codex")), list(self.agents("kimi"))), (["a"], ["b", "c"]))
        self.assertEqual(app.get_adapter_snapshot("codex")["configPath"], self.path("elsewhere/config.toml"))

    def test_folders_that_lead_in_a_circle_are_searched_once_and_names_that_are_no_text_are_left_out(self) -> None:
        self.make_file(f"{CODEX}/a.toml", codex_agent())
        for name in ("one", "two", "three"):
            os.symlink(".", self.path(CODEX, name))
        os.makedirs(os.fsencode(self.path(CODEX)) + b"/\xff")
        for odd_name in (b"/\xff.toml", b"/\xff/b.toml"):
            with open(os.fsencode(self.path(CODEX)) + odd_name, "w", encoding="utf-8") as file:
                file.write(codex_agent())
        with mock.patch.object(os, "scandir", wraps=os.scandir) as scandir:
            self.assertEqual(self.agents("codex"), {"a": ("good", "")})
        self.assertLess(scandir.call_count, 10)

    def test_a_link_to_a_large_tree_is_searched_to_a_limit(self) -> None:
        for name in ("a", "b/b", "b/deep/c", "d/d"):
            self.make_file(f"{CODEX}/{name}.toml", codex_agent(name[-1]))
        os.symlink("itself", self.path(CODEX, "itself"))
        self.replace(files, "FOLDER_LIMIT", 3)  # agents, b, deep
        self.assertEqual(list(self.agents("codex")), ["a", "b", "c"])

    def test_a_fresh_machine_has_none_and_listing_makes_nothing(self) -> None:
        self.assertEqual((self.agents("codex"), self.agents("kimi"), os.listdir(self.home)), ({}, {}, []))

    def test_a_file_that_changes_is_read_again_and_what_cannot_be_read_is_told(self) -> None:
        self.make_file(f"{CODEX}/a.toml", codex_agent("one"))
        self.assertEqual(self.agents("codex")["a"][0], "one")
        self.make_file(f"{CODEX}/a.toml", codex_agent("three"))
        self.assertEqual(self.agents("codex")["a"][0], "three")
        os.unlink(self.path(f"{CODEX}/a.toml"))
        os.mkfifo(self.path(f"{CODEX}/a.toml"))
        self.assertEqual(self.agents("codex")["a"], ("a", "ignored: it is not a regular file"))


class ChangeTest(FileAgentTestCase):
    def test_an_added_agent_is_one_that_the_program_takes(self) -> None:
        cases = (
            ("codex", f'Zoë "Z"\\ {chr(127)}', f'Zoë "Z"\\ {chr(127)}', f"{CODEX}/new.toml"),
            ("kimi", "My Reviewer: 2", "my-reviewer-2", f"{KIMI}/new.md"),
            ("kimi", "审查", "new", f"{KIMI}/new.md"),
            ("kimi", f"2025 {chr(133)}{chr(127)}", "2025", f"{KIMI}/new.md"),
        )
        for ecosystem, name, own_name, path in cases:
            with self.subTest(name):
                row = app.add_local_agent(ecosystem, "new", name, self.path("proposed"))
                self.assertEqual((row["name"], row["origin"], "workspace" in row), (name, "managed", False))
                os.unlink(self.path(".nelo/agents.json"))
                self.assertEqual(self.agents(ecosystem), {"new": (own_name, "")})
                if ecosystem == "kimi":
                    values = yaml.safe_load(self.read(path).split("---")[1])
                    self.assertEqual(values, {"name": own_name, "description": name})
                self.assertEqual((self.mode(path), os.path.exists(self.path("proposed"))), (0o600, False))
                os.unlink(self.path(path))

    def test_an_id_or_a_name_that_is_taken_is_refused_and_nothing_is_written(self) -> None:
        self.make_file(f"{CODEX}/a.toml", codex_agent("b"))
        self.make_file(f"{KIMI}/a.md", kimi_agent("b"))
        for ecosystem, agent_id, name, message in (
            ("codex", "a", "c", "exists already"),
            ("codex", "c", "b", 'with the name "b" already'),
            ("kimi", "c", " B ", 'with the name "b" already'),
            ("kimi", "c", "Coder", 'with the name "coder" comes with Kimi'),
            ("kimi", "审查", "审查", "wants a letter"),
        ):
            with self.subTest(ecosystem, name=name):
                self.assertIn(message, self.refusal(app.add_local_agent, ecosystem, agent_id, name, ""))
        self.assertEqual(self.files_below(), [f"{CODEX}/a.toml", f"{KIMI}/a.md"])
        for ecosystem in ("codex", "kimi"):
            app.add_local_agent(ecosystem, "c", "c", "")
            self.assertIn('with the name "b" already', self.refusal(app.rename_local_agent, ecosystem, "c", "b"))

    def test_renaming_changes_the_name_in_place_and_nothing_else(self) -> None:
        codex = "# mine\nname = 'old' # keep\n\ndescription='d'\ndeveloper_instructions = '''x\n'''\n[a]\nname = 1\n"
        kimi = "\ufeff---\n# mine\nname: old # gone\ndescription: d\nmeta:\n  name: x\n---\nname: body\n---\n"
        codex, kimi = codex.replace("\n", "\r\n"), kimi.replace("\n", "\r\n")
        cases = (
            ("codex", f"{CODEX}/a.toml", codex, codex.replace("'old'", '"New \\"é"'), 'New "é'),
            ("kimi", f"{KIMI}/a.md", kimi, kimi.replace("name: old # gone", 'name: "new-mowe"'), "New Möwe!"),
            ("kimi", f"{KIMI}/a.md", "---\ndescription: d\n---\nx", '---\nname: "new"\ndescription: d\n---\nx', "new"),
            ("kimi", f"{KIMI}/a.md", kimi, kimi, "审查"),
        )
        for ecosystem, path, before, after, name in cases:
            with self.subTest(ecosystem, name=name):
                self.make_file("elsewhere/file", before.encode(), 0o640)
                os.makedirs(os.path.dirname(self.path(path)), exist_ok=True)
                os.symlink(self.path("elsewhere/file"), self.path(path))
                app.adopt_local_agent(ecosystem, "a", "adopted", "")
                self.assertEqual(app.rename_local_agent(ecosystem, "a", name)["name"], name)
                with open(self.path(path), "rb") as file:
                    self.assertEqual(file.read().decode(), after)
                self.assertEqual((os.path.islink(self.path(path)), self.mode(path)), (True, 0o640))
                os.unlink(self.path(path))
                os.unlink(self.path(".nelo/agents.json"))

    def test_a_file_that_cannot_be_renamed_in_is_told_and_left(self) -> None:
        cases = (
            ("codex", f"{CODEX}/a.toml", "name = ["),
            ("kimi", f"{KIMI}/a.md", "no front matter"),
            ("kimi", f"{KIMI}/a.md", "---\nname:\n  old\ndescription: d\n---\nx"),
        )
        for ecosystem, path, content in cases:
            with self.subTest(content):
                self.make_file(path, content)
                app.adopt_local_agent(ecosystem, "a", "adopted", "")
                message = self.refusal(app.rename_local_agent, ecosystem, "a", "new")
                self.assertRegex(message, f"Cannot change the name in .*{path}: .*Correct the file first")
                self.assertEqual(self.read(path), content)
                os.unlink(self.path(".nelo/agents.json"))

    def test_a_file_that_changed_meanwhile_is_not_replaced(self) -> None:
        path = self.make_file(f"{CODEX}/a.toml", codex_agent())
        app.adopt_local_agent("codex", "a", "adopted", "")

        def with_value(*arguments: str) -> str:
            self.make_file(path, codex_agent("theirs"))
            return codex_agent("new")

        with mock.patch("app.codex_config.with_value", with_value):
            message = self.refusal(app.rename_local_agent, "codex", "a", "new")
        self.assertIn("changed by another program meanwhile", message)
        self.assertEqual(self.read(path), codex_agent("theirs"))

    def test_adopting_changes_nothing_of_the_programs(self) -> None:
        self.make_file(f"{CODEX}/a.toml", codex_agent())
        app.adopt_local_agent("codex", "a", "Adopted", "")
        self.assertEqual((self.agents("codex")["a"][0], self.read(f"{CODEX}/a.toml")), ("Adopted", codex_agent()))

    def test_deleting_moves_the_file_to_the_trash(self) -> None:
        cases = (("codex", f"{CODEX}/a.toml", codex_agent()), ("kimi", f"{KIMI}/a.md", kimi_agent()))
        for ecosystem, path, content in cases:
            with self.subTest(ecosystem):
                self.make_file(path, content)
                app.adopt_local_agent(ecosystem, "a", "A", "")
                self.assertEqual(app.delete_local_agent(ecosystem, "a", True)["removed"], [self.path(path)])
                self.assertEqual((self.agents(ecosystem), os.path.exists(self.path(path))), ({}, False))
                self.assertEqual(self.read(f"{TRASH}/files/{os.path.basename(path)}"), content)
