"""The helper's script: which lines it answers, and how."""
from __future__ import annotations

import json
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import Any

SCRIPT = Path(__file__).parents[2] / "Sources/NeloMenuBar/backend/helper_server.py"
MODULE = "def echo(*args): return list(args)\nvalue = 1\n"


def output(*lines: str) -> str:
    """What the script, run as the program runs it, writes when it gets these lines."""
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "app.py").write_text(MODULE)
        helper = subprocess.run(["python3", "-u", "-c", SCRIPT.read_text()], input="".join(line + "\n" for line in lines),
                                cwd=folder, capture_output=True, encoding="utf-8", timeout=60, check=True)
    return helper.stdout


def replies(*lines: str) -> list[Any]:
    return [json.loads(line) for line in output(*lines).splitlines()]


class HelperServerTest(unittest.TestCase):
    """Each request is answered, also an invalid one."""

    def test_requests(self) -> None:
        cases: list[tuple[str, str, Any]] = [
            ("a call", '{"function": "echo", "args": [1, "你"]}', {"ok": True, "result": [1, "你"]}),
            ("white space around it", ' \t{"function": "echo", "args": []}  ', {"ok": True, "result": []}),
            ("no arguments", '{"function": "echo"}', {"ok": True, "result": []}),
            ("arguments that are no list", '{"function": "echo", "args": {"a": 1}}', {"ok": True, "result": []}),
            ("no function", '{"args": []}', {"ok": False, "error": "unknown function: None"}),
            ("an empty function", '{"function": ""}', {"ok": False, "error": "unknown function: "}),
            ("an unknown function", '{"function": "nope"}', {"ok": False, "error": "unknown function: nope"}),
            ("no function of the module's", '{"function": "value"}',
             {"ok": False, "error": "TypeError: 'int' object is not callable"}),
            ("no JSON", "{", {"ok": False, "error": "JSONDecodeError: Expecting property name enclosed in double quotes: "
                                                     "line 1 column 2 (char 1)"}),
            ("no object", "[]", {"ok": False, "error": "AttributeError: 'list' object has no attribute 'get'"}),
        ]
        # One run for all: each must be answered, and after each the next one too.
        answered = replies(*(request for _, request, _ in cases))
        self.assertEqual(len(answered), len(cases))
        for (name, _, expected), reply in zip(cases, answered):
            with self.subTest(name):
                self.assertEqual(reply, expected)

    def test_an_empty_line_has_no_reply(self) -> None:
        self.assertEqual(replies("", "  ", '{"function": "echo"}'), [{"ok": True, "result": []}])

    def test_a_reply_is_one_line_of_compact_text_without_escapes(self) -> None:
        self.assertEqual(output('{"function": "echo", "args": ["\\u4f60", 1]}'), '{"ok":true,"result":["你",1]}\n')
