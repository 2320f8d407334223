"""One member of a JSON5 text is changed, and every other character stays."""

from __future__ import annotations

import json
import os
import random
import unittest

import json5

from app.json5_edit import set_member


class SetMemberTest(unittest.TestCase):
    def test_the_text_around_the_member_stays_character_for_character(self) -> None:
        cases = {
            ('{"a": 1.10, "x": {"y" :2 }, "big": 1e400}', "xy"): '{"a": 1.10, "x": {"y" :7 }, "big": 1e400}',
            ('{\n\t"x": {\n\t\t"y": [\n 1 ]\n\t}\n}\n', "xy"): '{\n\t"x": {\n\t\t"y": 7\n\t}\n}\n',
            ('{"x": 1, "x": 2, "x": 3}', "x"): '{"x": 1, "x": 2, "x": 7}',
            ('{"\\u0078": 1}', "x"): '{"\\u0078": 7}',
            ('{"s": "a } \\" , {", "x":1}', "x"): '{"s": "a } \\" , {", "x":7}',
            (' {"x":1} ', "x"): ' {"x":7} ',
            ('{"a":1,"x":2,"b":3}', "x"): '{"a":1,"x":7,"b":3}',
            ('{"a": 1}', "你"): '{"a": 1, "你": 7}',
            ('{\n "a": 1}', "你"): '{\n "a": 1,\n "你": 7}',
            ("{}", "x"): '{\n  "x": 7\n}',
            ("{ \n }\n", "x"): '{\n  "x": 7\n}\n',
            ('{"a": 1}', "x"): '{"a": 1, "x": 7}',
            ('{"a": 1}', "xy"): '{"a": 1, "x": {"y": 7}}',
            ('{\n    "a": 1\n}', "x"): '{\n    "a": 1,\n    "x": 7\n}',
            ('{\n    "a": 1\n}', "xy"): '{\n    "a": 1,\n    "x": {\n        "y": 7\n    }\n}',
            ('{\r\n  "x": {}\r\n}\r\n', "xy"): '{\r\n  "x": {\r\n    "y": 7\r\n  }\r\n}\r\n',
            ('{\n  "x": {"a": 1}\n}', "xy"): '{\n  "x": {"a": 1, "y": 7}\n}',
            ("{x: 1, 'y': 2,}", "y"): "{x: 1, 'y': 7,}",
            ("{x: +.5, // half\n}", "y"): '{x: +.5, // half\n  "y": 7,\n}',
            ("{\n\tx: 0x1 // one\n}", "y"): '{\n\tx: 0x1, // one\n\t"y": 7\n}',
            ("{x: 1, /* } */ }", "y"): '{x: 1, "y": 7, /* } */ }',
            ("// { \n{ // nothing\n}", "x"): '// { \n{ // nothing\n  "x": 7\n}',
            ("{/* a */ x /* b */ : /* c */ {/* d */ y: '}\\'\\\n' /* e */}}", "xy"): (
                "{/* a */ x /* b */ : /* c */ {/* d */ y: 7 /* e */}}"
            ),
            ("{\\u0078: {'\\x79': [1, // ]\n],},}", "xy"): "{\\u0078: {'\\x79': 7,},}",
        }
        for (before, path), after in cases.items():
            with self.subTest(before):
                self.assertEqual(set_member(before, path, 7), after)

    def test_a_value_is_laid_out_as_the_text_around_it(self) -> None:
        self.assertEqual(set_member('{"x": 1}', "x", "你"), '{"x": "你"}')
        self.assertEqual(set_member('{"x": 1}', "x", {"a": [1]}), '{"x": {"a": [1]}}')
        self.assertEqual(set_member("{x: 1}", "x", "\u2028\u2029"), '{x: "\\u2028\\u2029"}')
        self.assertEqual(
            set_member('{\n "x": 1\n}', "x", {"a": ["你", 1.0]}), '{\n "x": {\n  "a": [\n   "你",\n   1.0\n  ]\n }\n}'
        )

    def test_a_value_on_the_way_that_is_no_object_is_refused(self) -> None:
        for value in ("[]", "1", '"text"', "null", "true"):
            self.assertRaises(ValueError, set_member, f'{{"x": {value}}}', "xy", 7)

    def test_the_library_reads_what_was_wanted_out_of_random_documents(self) -> None:
        seed = int(os.environ.get("NELO_SEED") or random.randrange(1 << 32))
        source = random.Random(seed)
        for number in range(int(os.environ.get("NELO_FUZZ_DOCUMENTS") or 100)):
            before = random_document(source)
            value: object = json5.loads(before)
            path = random_path(source, value)
            wanted = source.choice([7, "’\u2028\n", [1, {"a": None}], {}])
            with self.subTest(NELO_SEED=seed, number=number, before=before, path=path, wanted=wanted):
                is_new = not has_member(value, path)
                try:
                    after = set_member(before, path, wanted)
                except ValueError:
                    self.assertFalse(can_hold(value, path))
                    continue
                self.assertEqual(json.dumps(json5.loads(after)), json.dumps(changed(value, path, wanted)))
                if is_new:
                    letters = iter(after)
                    kept = (letter in letters for letter in before if not letter.isspace())
                    self.assertTrue(all(kept), "something of it is gone")


def random_document(source: random.Random) -> str:
    """A random JSON5 object of at most 300 bytes, in all styles of JSON5."""
    while True:
        text = random_space(source) + random_object(source, 0) + random_space(source)
        if len(text.encode()) <= 300:
            return text


def random_object(source: random.Random, depth: int) -> str:
    members = [
        f"{random_key(source)}{random_space(source)}:{random_space(source)}{random_value(source, depth + 1)}"
        for _ in range(source.randrange(4))
    ]
    return joined(source, "{}", members)


def joined(source: random.Random, brackets: str, items: list[str]) -> str:
    inside = ",".join(random_space(source) + item + random_space(source) for item in items)
    comma = source.choice(["", "," + random_space(source)]) if items else random_space(source)
    return brackets[0] + inside + comma + brackets[1]


def random_key(source: random.Random) -> str:
    return source.choice(
        ["a", "b", "$_c", "\\u0061", "'a'", '"b"', "'d } \\' // {'", '"e \\" ]"', "'\\x61'", "'é\\\n'", "ключ"]
    )


def random_value(source: random.Random, depth: int) -> str:
    if depth < 4 and source.random() < 0.5:
        if source.random() < 0.7:
            return random_object(source, depth)
        return joined(source, "[]", [random_value(source, depth + 1) for _ in range(source.randrange(3))])
    texts = ["'it\\'s'", '"// no"', "'/* no'", '"}"', "'\\\r\n,'", '"\\ud83d\\ude00"', "''", "'\\\\'"]
    return source.choice(
        [*texts, "null", "true", "0x1F", "+.5", "-5.", "1e400", "-Infinity", "NaN", "12345678901234567890"]
    )


def random_space(source: random.Random) -> str:
    spaces = ["", "", "", " ", "\t", "\n", "\r\n", "\n  ", "\u00a0", "\ufeff", "\u2029", "\v"]
    return source.choice([*spaces, "// x: {\n", "//\r", "/* , ' */", "/***/", '/* \n */ // "\u2028'])


def random_path(source: random.Random, value: object) -> list[str]:
    """A random path, mostly of a member that exists."""
    path = []
    while isinstance(value, dict) and value and source.random() < 0.8:
        path.append(source.choice(list(value)))
        value = value[path[-1]]
    return path if path and source.random() < 0.6 else [*path, source.choice(["new", "a", "é \n'\""])]


def can_hold(value: object, path: list[str]) -> bool:
    """Whether all values on the path are objects or missing."""
    for step in path:
        if not isinstance(value, dict):
            return False
        if step not in value:
            return True
        value = value[step]
    return True


def has_member(value: object, path: list[str]) -> bool:
    for step in path:
        if not isinstance(value, dict) or step not in value:
            return False
        value = value[step]
    return True


def changed(value: object, path: list[str], wanted: object) -> object:
    assert isinstance(value, dict)
    inner = changed(value.get(path[0], {}), path[1:], wanted) if len(path) > 1 else wanted
    return {**value, path[0]: inner}


if __name__ == "__main__":
    unittest.main()
