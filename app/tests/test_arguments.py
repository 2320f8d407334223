"""What the errors say about arguments that cannot be used."""

from __future__ import annotations

from app import arguments
from app.tests.support import HomeTestCase


class ArgumentTest(HomeTestCase):
    def test_a_text_stays_as_it_is_and_a_filled_one_loses_the_blanks_at_its_ends(self) -> None:
        self.assertEqual(arguments.text(" a\n", "name"), " a\n")
        self.assertEqual(arguments.filled_text(" a b\n", "name"), "a b")

    def test_the_error_names_the_value_that_is_no_text(self) -> None:
        self.assertEqual(self.refusal(arguments.text, 7, "name"), "The name must be text.")
        self.assertEqual(self.refusal(arguments.text, "\udc00", "name"), "The name holds half a character.")
        self.assertEqual(self.refusal(arguments.filled_text, " ", "name"), "The name is empty.")

    def test_the_error_says_what_is_wrong_with_a_folder_name(self) -> None:
        cases = {
            "": "The id is empty.",
            "a/b": 'The id "a/b" may not hold a slash or begin with a dot.',
            ".a": 'The id ".a" may not hold a slash or begin with a dot.',
            "a\x1f": 'The id "a\ufffd" may not hold control characters.',
            "\x7f": 'The id "\ufffd" may not hold control characters.',
            " a": 'The id " a" may not begin or end with a blank.',
            "a\u3000": 'The id "a\ufffd" may not begin or end with a blank.',
            "a\u202eb": 'The id "a\ufffdb" may not hold characters that change the direction of the text.',
            "é" * 128: f'The id "{"é" * 59}…" is longer than 255 bytes.',
        }
        for name, message in cases.items():
            self.assertEqual(self.refusal(arguments.folder_name, name, "id"), message)
        self.assertEqual(arguments.folder_name_problem("\udcff"), "is not text")
        for character in "\u061c\u200e\u200f\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069":
            self.assertIn("direction of the text", arguments.folder_name_problem(f"a{character}b"))

    def test_the_longest_folder_name_and_printable_characters_are_fine(self) -> None:
        for name in ("x" * 255, "a b", "a.b", "~", "\x80", "你", "-", "שלום"):
            self.assertEqual(arguments.folder_name(name, "id"), name)

    def test_a_value_is_shown_on_one_line_and_cut_when_it_is_long(self) -> None:
        self.assertEqual(arguments.quoted("a\nb"), '"a\ufffdb"')
        self.assertEqual(arguments.shortened("x" * 60), "x" * 60)
        self.assertEqual(arguments.shortened("x" * 61), "x" * 59 + "…")
        self.assertEqual(arguments.shortened("abcd", 3), "ab…")
