"""Configuration entries of skills: everything else in the file stays as it was."""

from __future__ import annotations

import glob
import json
import os
import sys
from itertools import product

import app
from app.errors import BackendError
from app.tests.support import HomeTestCase

ENTRY: dict[str, object] = {
    "enabled": True,
    "apiKey": "sk-ключ",
    "env": {"CITY": "北京"},
    "config": {"z": [1, 1.0, {"deep": None}], "a": 18446744073709551615},
}
WRONG: list[object] = [None, 1, [], "text"]
CONFIG = ".openclaw/openclaw.json"


class SkillEntryTest(HomeTestCase):
    def backups(self) -> list[str]:
        return sorted(glob.glob(glob.escape(self.path(CONFIG)) + ".bak.*"))

    def save(self, entry: object = ENTRY) -> None:
        app.save_skill_entry("openclaw", "weather", entry)

    def test_without_a_configuration_there_is_no_entry(self) -> None:
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})
        self.assertEqual(os.listdir(self.home), [])

    def test_what_is_saved_is_read_back_in_its_order(self) -> None:
        self.assertEqual(app.save_skill_entry("openclaw", "weather", ENTRY), {"path": self.path(CONFIG)})
        self.assertEqual(json.dumps(app.get_skill_entry("openclaw", "weather")), json.dumps(ENTRY))
        self.assertEqual(json.loads(self.read(CONFIG)), {"skills": {"entries": {"weather": ENTRY}}})
        self.assertEqual(self.files_below(), [CONFIG])
        self.assertEqual((self.mode(".openclaw"), self.mode(CONFIG)), (0o700, 0o600))

    def test_comments_and_every_other_character_of_a_json5_file_stay(self) -> None:
        before = "// mine\n{\n  skills: {\n    entries: {\n      'weather': {apiKey: 'old'}, // why\n    },\n  },\n}\n"
        self.make_file(CONFIG, before)
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"apiKey": "old"})
        self.save({"apiKey": "new", "enabled": False})
        self.assertEqual(self.read(CONFIG), before.replace("'old'", '"new", "enabled": false'))

    def test_a_secret_that_is_a_reference_is_not_shown_and_kept_until_a_new_one_is_given(self) -> None:
        reference = '{"source": "env", "provider": "default", "id": "WEATHER_KEY"}'
        before = f'{{"skills": {{"entries": {{"weather": {{"apiKey": {reference}, "env": {{"A": {reference}}}}}}}}}}}'
        self.make_file(CONFIG, before)
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"env": {}})
        self.save({"enabled": True, "apiKey": "", "env": {"B": "b"}, "config": {}})
        self.assertEqual(
            self.read(CONFIG), before.replace(f"{reference}}}", f'{reference}, "B": "b"}}, "enabled": true', 1)
        )
        self.save({"apiKey": "typed"})
        self.assertEqual(
            app.get_skill_entry("openclaw", "weather"), {"enabled": True, "apiKey": "typed", "env": {"B": "b"}}
        )

    def test_nothing_is_written_for_what_is_empty_and_was_not_there(self) -> None:
        self.save({"apiKey": "", "env": {}, "config": {}})
        self.assertEqual(os.listdir(self.home), [])
        self.save({"apiKey": "a", "env": {"A": "a"}})
        self.save({"apiKey": "", "env": {}, "config": {}})
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"apiKey": "", "env": {}})

    def test_the_variables_of_the_program_say_where_the_file_is(self) -> None:
        self.set_environment(OPENCLAW_STATE_DIR="~/state")
        self.assertEqual(app.save_skill_entry("openclaw", "weather", ENTRY)["path"], self.path("state/openclaw.json"))
        self.set_environment(OPENCLAW_CONFIG_PATH=self.path("other/config.json5"))
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})
        self.save({"enabled": False})
        self.assertEqual(self.files_below(), ["other/config.json5", "state/openclaw.json"])

    def test_without_the_library_only_strict_json_is_read_and_the_sentence_says_what_is_missing(self) -> None:
        self.replace_module("json5")
        self.make_file(CONFIG, '{"a": 1}')
        self.save()
        self.make_file(CONFIG, "{a: 1}")
        message = self.refusal(app.get_skill_entry, "openclaw", "weather")
        self.assertIn(
            f"the Python package json5 (python3-json5 on Debian), which {sys.executable} does not have", message
        )

    def test_every_other_character_of_the_file_stays(self) -> None:
        before = (
            '{ "n": 1.10, "n": 2e1,\n  "skills": {"entries": {"other": {"enabled": 1}}, "load": [ ] },\n  "z": null}\n'
        )
        self.make_file(CONFIG, before)
        self.save({"enabled": False})
        inserted = '{"other": {"enabled": 1}, "weather": {"enabled": false}}'
        self.assertEqual(self.read(CONFIG), before.replace('{"other": {"enabled": 1}}', inserted))

    def test_unknown_members_of_the_entry_and_equal_values_are_not_touched(self) -> None:
        before = '{"skills": {"entries": {"weather": {"theirs": 1.50, "config": {"n": 1.10}, "enabled": true}}}}'
        self.make_file(CONFIG, before)
        self.save({"enabled": False, "config": {"n": 1.1}})
        self.assertEqual(self.read(CONFIG), before.replace("true", "false"))

    def test_one_and_one_point_nought_are_different(self) -> None:
        self.make_file(CONFIG, '{"skills": {"entries": {"weather": {"config": {"n": 1}, "enabled": true}}}}')
        self.save({"config": {"n": 1.0}})
        self.assertIn('{"n": 1.0}', self.read(CONFIG))

    def test_a_changed_order_inside_the_config_is_written(self) -> None:
        self.make_file(CONFIG, '{"skills": {"entries": {"weather": {"config": {"a": 1, "b": 2}}}}}')
        self.save({"config": {"b": 2, "a": 1}})
        self.assertIn('{"b": 2, "a": 1}', self.read(CONFIG))

    def test_each_write_is_preceded_by_a_backup(self) -> None:
        self.make_file(CONFIG, "{}", 0o640)
        self.save()
        first = self.read(CONFIG)
        self.save(dict(ENTRY, enabled=False))
        contents = []
        for backup in self.backups():
            self.assertRegex(backup, r"openclaw\.json\.bak\.\d{8}-\d{6}(-\d)?$")
            self.assertEqual(os.stat(backup).st_mode & 0o777, 0o640)
            with open(backup, encoding="utf-8") as file:
                contents.append(file.read())
        self.assertEqual(sorted(contents), sorted(["{}", first]))

    def test_saving_the_same_again_writes_nothing(self) -> None:
        self.save()
        before = os.stat(self.path(CONFIG)).st_ino
        self.save()
        self.assertEqual((os.stat(self.path(CONFIG)).st_ino, self.backups()), (before, []))

    def test_the_mode_is_kept_without_what_everybody_may_do(self) -> None:
        for before, after in ((0o644, 0o640), (0o600, 0o600), (0o660, 0o660)):
            self.make_file(CONFIG, "{}", before)
            self.save()
            self.assertEqual(self.mode(CONFIG), after)
        self.assertEqual({os.stat(backup).st_mode & 0o007 for backup in self.backups()}, {0})

    def test_a_link_a_byte_order_mark_and_windows_line_ends_stay(self) -> None:
        self.make_file("dotfiles/openclaw.json", b'\xef\xbb\xbf{\r\n  "a": 1\r\n}\r\n')
        os.makedirs(self.path(".openclaw"))
        os.symlink("../dotfiles/openclaw.json", self.path(CONFIG))
        self.save({"enabled": True})
        self.assertEqual(os.readlink(self.path(CONFIG)), "../dotfiles/openclaw.json")
        with open(self.path(CONFIG), "rb") as file:
            content = file.read()
        self.assertTrue(content.startswith(b'\xef\xbb\xbf{\r\n  "a": 1,\r\n  "skills": {\r\n'))
        self.assertEqual(content.count(b"\n"), content.count(b"\r\n"))
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"enabled": True})

    def test_an_empty_file_is_an_empty_configuration(self) -> None:
        for content in ("", " \n"):
            self.make_file(CONFIG, content)
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})
            self.save()
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), ENTRY)

    def test_a_configuration_that_is_not_json_is_told_and_left(self) -> None:
        contents = [b"{a: 1", b"// note\n", b"[]", b"7", b'{"n" NaN}', b"\xff", b"[" * 100_000, b"{a: 1}{}"]
        for content in contents:
            self.make_file(CONFIG, content)
            with self.subTest(content[:9]):
                self.assertRaisesRegex(BackendError, "is not a JSON5 configuration: ", self.save)
                with self.assertRaisesRegex(BackendError, "is not a JSON5 configuration: "):
                    app.get_skill_entry("openclaw", "weather")
                with open(self.path(CONFIG), "rb") as file:
                    self.assertEqual(file.read(), content)
        self.assertEqual(self.backups(), [])

    def test_numbers_too_large_elsewhere_in_the_file_stay_as_they_are(self) -> None:
        for number, comment in product(("1e400", "9" * 5000, "0x" + "f" * 300), ("", " // mine")):
            weather = '{"apiKey": "\\u4f60"}'
            before = f'{{"n": {number}, "skills": {{"n": {number}, "entries": {{"weather": {weather}}}}}}}{comment}'
            self.make_file(CONFIG, before)
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), {"apiKey": "你"})
            self.save({"apiKey": "new"})
            self.assertEqual(self.read(CONFIG), before.replace('"\\u4f60"', '"new"'))

    def test_a_number_too_large_in_the_entry_is_told_and_only_replaced_by_another_value(self) -> None:
        for number in ("1e400", "9" * 5000):
            before = f'{{"skills": {{"entries": {{"weather": {{"config": {{"n": {number}}}, "theirs": {number}}}}}}}}}'
            self.make_file(CONFIG, before)
            with self.assertRaisesRegex(BackendError, 'value in the entry of "weather" .* cannot be shown. Correct it'):
                app.get_skill_entry("openclaw", "weather")
            self.save({"config": {"n": "1"}})
            self.assertEqual(self.read(CONFIG), before.replace(number, '"1"', 1))

    def test_an_integer_past_64_bits_is_shown_as_a_fraction_and_stays_as_it_is(self) -> None:
        for number, comment in product((str(2**64), str(-(2**63) - 1), "0x" + "f" * 17), ("", " // mine")):
            before = f'{{"skills": {{"entries": {{"weather": {{"config": {{"n": {number}}}}}}}}}}}{comment}'
            self.make_file(CONFIG, before)
            entry = app.get_skill_entry("openclaw", "weather")
            self.assertRegex(json.dumps(entry), r'^{"config": {"n": -?[0-9.]+e\+[0-9]+}}$')
            self.save(entry)
            self.assertEqual(self.read(CONFIG), before)

    def test_the_place_of_a_syntax_error_is_told(self) -> None:
        self.make_file(CONFIG, '{\n  "a": 1,\n  oops\n}')
        self.assertRaisesRegex(BackendError, 'Unexpected "}" at column 1', self.save)

    def test_a_place_that_is_no_object_is_told_and_left(self) -> None:
        for content in ('{"skills": []}', '{"skills": {"entries": "x"}}', '{"skills": null}'):
            self.make_file(CONFIG, content)
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})
            self.assertRaisesRegex(BackendError, "is not an object. Correct it", self.save)
            self.assertEqual(self.read(CONFIG), content)

    def test_an_entry_that_is_no_object_reads_as_none_and_is_replaced(self) -> None:
        for value in ("[]", "7", "null", '"text"'):
            self.make_file(CONFIG, f'{{"skills": {{"entries": {{"weather": {value}}}}}}}')
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})
            self.save()
            self.assertEqual(app.get_skill_entry("openclaw", "weather"), ENTRY)

    def test_values_of_wrong_types_in_the_file_are_not_shown(self) -> None:
        entry = {"enabled": "no", "apiKey": 7, "env": [], "config": [1]}
        self.make_file(CONFIG, json.dumps({"skills": {"entries": {"weather": entry}}}))
        self.assertEqual(app.get_skill_entry("openclaw", "weather"), {})

    def test_entries_of_wrong_types_are_refused(self) -> None:
        refused: list[object] = [*WRONG, {"apiKey": None}, {"apiKey": 1}, {"apiKey": []}, {"env": {"A": True}}]
        refused += [{key: value} for key in ("enabled", "env", "config") for value in WRONG]
        refused += [{"env": {"A": value}} for value in WRONG[:-1]]
        refused += [{"config": {"n": float("inf")}}, {"apiKey": "\ud800"}]
        for entry in refused:
            with self.subTest(str(entry).encode("utf-8", "replace")), self.assertRaises(BackendError):
                self.save(entry)
        self.assertEqual(os.listdir(self.home), [])

    def test_a_variable_that_is_not_text_is_named_but_never_its_value(self) -> None:
        with self.assertRaises(BackendError) as raised:
            self.save({"env": {"SECRET_PORT": 8080}})
        self.assertIn('"SECRET_PORT" must be text', str(raised.exception))
        self.assertNotIn("8080", str(raised.exception))

    def test_an_environment_of_a_megabyte_with_foreign_names_is_kept(self) -> None:
        env = {f"变量{number}": "值" * 1000 for number in range(350)}
        self.save(dict(ENTRY, env=env))
        self.assertEqual(app.get_skill_entry("openclaw", "weather")["env"], env)

    def test_any_text_can_be_a_skill_key_but_nothing_cannot(self) -> None:
        for key in ("a/b", "a.b", '"', "技能", "entries"):
            app.save_skill_entry("openclaw", key, {"enabled": True})
            self.assertEqual(app.get_skill_entry("openclaw", key), {"enabled": True})
        for nothing in ("", " ", None, 7):
            self.assertRaisesRegex(BackendError, "skill key", app.get_skill_entry, "openclaw", nothing)
            self.assertRaisesRegex(BackendError, "skill key", app.save_skill_entry, "openclaw", nothing, ENTRY)

    def test_a_full_disk_keeps_the_file(self) -> None:
        before = json.dumps({"long": "x" * 500})
        self.make_file(CONFIG, before)
        for room in (0, 100, 510):
            with self.full_disk(room), self.assertRaisesRegex(BackendError, "Cannot save .*openclaw.json: ") as raised:
                self.save()
            self.assertNotIn("sk-", str(raised.exception))
            self.assertEqual(self.read(CONFIG), before)
