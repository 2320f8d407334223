"""JSON documents: what is accepted, and that nothing that we do not understand is lost."""

from __future__ import annotations

import glob
import json
import os

from app.documents import Collection, format_json, parse_json
from app.errors import BackendError
from app.tests.support import HomeTestCase

NOT_UNDERSTOOD: dict[str, str | bytes] = {
    "not JSON": "{agents: []}",
    "half a document": '{"agents": [{"id": "a"',
    "an empty file": "",
    "a list": "[]",
    "a number": "7",
    "no list under the key": '{"version": 1}',
    "a list of another type": '{"agents": {"a": 1}}',
    "a number that JSON has not": '{"agents": [NaN]}',
    "half a character": '{"agents": ["\\ud800"]}',
    "bytes that are not text": b'{"agents": ["\xff"]}',
    "nesting without end": "[" * 100_000,
}


class ParseJsonTest(HomeTestCase):
    def test_valid_texts_keep_key_order_integers_and_the_float_difference(self) -> None:
        text = b'{"z": 18446744073709551615, "a": [1, 1.0], "\xe4\xbd\xa0": "\\ud83d\\ude00"}'
        value = parse_json(b"\xef\xbb\xbf" + text)
        printed = json.dumps(value, ensure_ascii=False).encode()
        self.assertEqual(printed, text.replace(rb"\ud83d\ude00", "😀".encode()))

    def test_what_cannot_travel_onward_is_a_value_error(self) -> None:
        numbers = (b"18446744073709551616", b"-9223372036854775809", b"1e999", b"NaN", b"-Infinity")
        for text in (*numbers, b'"\\udc00"', b"\xff", b"", b"[" * 100_000, b"9" * 10_000 + b"]"):
            with self.subTest(text=text[:20]):
                self.assertRaises(ValueError, parse_json, text)

    def test_a_number_that_is_too_large_is_told_in_our_own_words(self) -> None:
        for number in ("1e999", "-1e999", "1" + "9" * 19, "9" * 9999):
            told = r"\Athe number [-9e1…]{5,60} is too large\Z"
            with self.subTest(number[:9]), self.assertRaisesRegex(ValueError, told):
                parse_json(f"[{number}]".encode())
        self.assertEqual(parse_json(b"[18446744073709551615, -9223372036854775808]"), [2**64 - 1, -(2**63)])
        self.assertEqual(parse_json(b"[1e400, 1e4, 7]", str), ["1e400", 1e4, 7])


class CollectionTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.collection = Collection("things.json", "agents")

    def add(self, entry: object) -> None:
        with self.collection.changing() as entries:
            entries.append(entry)

    def test_a_missing_file_is_empty_and_reading_it_makes_nothing(self) -> None:
        self.assertEqual(self.collection.entries(), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_a_change_is_there_for_the_next_reader(self) -> None:
        self.add({"id": "你好"})
        self.assertEqual(self.collection.entries(), [{"id": "你好"}])
        expected = {"version": 1, "agents": [{"id": "你好"}]}
        self.assertEqual(self.read(".nelo/things.json"), format_json(expected).decode())

    def test_a_file_is_written_for_people_to_read(self) -> None:
        self.assertEqual(format_json({"a": ["你"]}).decode(), '{\n  "a": [\n    "你"\n  ]\n}\n')

    def test_unknown_keys_and_entries_survive_a_change(self) -> None:
        document: dict[str, object] = {
            "version": 2,
            "theirs": {"b": 1, "a": 1.0},
            "agents": [7, None, {"id": "a", "colour": "red"}],
        }
        self.make_file(".nelo/things.json", json.dumps(document))
        self.add("new")
        expected: dict[str, object] = {**document, "agents": [7, None, {"id": "a", "colour": "red"}, "new"]}
        self.assertEqual(self.read(".nelo/things.json"), format_json(expected).decode())

    def test_a_file_that_is_not_understood_reads_as_empty_and_is_kept_beside_before_it_is_replaced(self) -> None:
        for case, content in NOT_UNDERSTOOD.items():
            with self.subTest(case):
                path = self.make_file(".nelo/things.json", content, 0o640)
                self.assertEqual(self.collection.entries(), [])
                self.assertEqual(self.files_below(".nelo"), ["things.json"])
                self.add("new")
                (copy,) = glob.glob(glob.escape(path) + ".unreadable.*")
                with open(copy, "rb") as file:
                    self.assertEqual(file.read(), content if isinstance(content, bytes) else content.encode())
                self.assertEqual(os.stat(copy).st_mode & 0o777, 0o640)
                self.assertEqual(self.collection.entries(), ["new"])
                os.unlink(copy)

    def test_a_file_that_cannot_be_kept_beside_is_not_replaced(self) -> None:
        self.make_file(".nelo/things.json", "precious")
        with self.full_disk(), self.assertRaisesRegex(BackendError, "Cannot save .*things.json: File too large"):
            self.add("new")
        self.assertEqual((self.read(".nelo/things.json"), self.files_below(".nelo")), ("precious", ["things.json"]))

    def test_an_exception_in_the_block_changes_nothing(self) -> None:
        self.make_file(".nelo/things.json", "precious")
        with self.assertRaises(KeyError), self.collection.changing() as entries:
            entries.append(1)
            raise KeyError
        self.assertEqual((self.read(".nelo/things.json"), self.files_below(".nelo")), ("precious", ["things.json"]))

    def test_a_folder_in_the_place_of_the_file_is_told_and_left(self) -> None:
        os.makedirs(self.path(".nelo/things.json"))
        self.assertRaisesRegex(BackendError, "Cannot read .*things.json: ", self.collection.entries)
        self.assertRaisesRegex(BackendError, "Cannot read .*things.json: ", self.add, 1)

    def test_a_file_that_may_not_be_read_is_told_and_not_replaced(self) -> None:
        self.make_file(".nelo/things.json", "precious", 0)
        with self.read_only():
            self.assertRaisesRegex(BackendError, "things.json: Permission denied", self.collection.entries)
        os.chmod(self.path(".nelo/things.json"), 0o600)
        self.assertEqual(self.read(".nelo/things.json"), "precious")

    def test_a_file_in_the_place_of_the_folder_is_told(self) -> None:
        self.make_file(".nelo", "mine")
        self.assertRaisesRegex(BackendError, r"Cannot write in .*\.nelo: ", self.add, 1)
        self.assertEqual(self.read(".nelo"), "mine")
