"""What scripts/check-backend finds in modules that were made for it, and whether its table is what the program calls."""
from __future__ import annotations

import os
import re
import subprocess
import tempfile
import textwrap
import unittest
from pathlib import Path

import app
from backend_manual import MANUAL, Manual, first_fault, is_of, read_manual, tables

REPOSITORY = Path(__file__).resolve().parents[3]
TIMEOUT_SECONDS = 20
SHORT_TIMEOUT_SECONDS = 3


def complete_module(manual: Manual) -> str:
    """A module in which every function takes what it must and answers nothing much."""
    return "\n".join(f"def {each.name}({', '.join(f'a{i}' for i in range(len(each.arguments)))}): "
                     f"return {'[]' if each.answers.startswith('list') else '{}'}" for each in manual.functions)


class CheckTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-backend-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name) / "项目 1"
        self.home = Path(folder.name) / "home"
        self.folder.mkdir()
        self.home.mkdir()

    def write_module(self, changes: str = "", place: str = "app.py") -> None:
        """A complete module with `changes` behind it."""
        file = self.folder / place
        file.parent.mkdir(exist_ok=True)
        file.write_text(f"{complete_module(read_manual())}\n{textwrap.dedent(changes)}\n", encoding="utf-8")

    def check(self, folder: Path | None = None, timeout: int = TIMEOUT_SECONDS) -> tuple[int, str]:
        """The exit status and what is printed."""
        environment = {**os.environ, "HOME": str(self.home), "LC_ALL": "C", "OLLAMA_HOST": "127.0.0.1:9", "PYTHONPATH": ""}
        done = subprocess.run([REPOSITORY / "scripts/check-backend", f"--timeout={timeout}", folder or self.folder],
                              capture_output=True, encoding="utf-8", env=environment, timeout=100, check=False)
        return done.returncode, done.stdout + done.stderr

    def assert_fault(self, function: str, text: str, timeout: int = TIMEOUT_SECONDS) -> None:
        """Exactly this function is at fault, and this is said about it."""
        status, output = self.check(timeout=timeout)
        faults = [line for line in output.splitlines() if line.startswith("FAULT")]
        self.assertEqual(status, 1, output)
        self.assertEqual(len(faults), 1, output)
        self.assertIn(f" {function}(", faults[0])
        self.assertIn(text, faults[0])

    def test_the_backend_that_comes_with_nelo_passes_on_an_empty_home(self) -> None:
        status, output = self.check(REPOSITORY)
        self.assertEqual(status, 0, output)
        self.assertRegex(output, r"(?m)^refuses  list_local_models\(\): BackendError: No local model server")
        self.assertEqual(len(output.splitlines()), len(read_manual().functions) + 1)

    def test_what_is_as_described_passes(self) -> None:
        for module, said in (
            ("", ""),
            ("def list_skills(ecosystem, agent=None, *rest, fast=True, **more): return []", ""),
            ("def list_local_agents(): return [{'id': 'a', 'ecosystem': 'codex', 'colour': None}]",
             "list_local_agents(): answers 1 rows"),
            ("def list_news_sources(): raise ValueError('服务没有运行')",
             "refuses  list_news_sources(): ValueError: 服务没有运行"),
            ("def get_adapter_snapshot(ecosystem): return {'x': [2 ** 64 - 1, -2 ** 63]}", ""),
            ("""
                def list_skills(ecosystem): return [{'skillKey': ecosystem + '-天气'}]
                def get_skill_entry(ecosystem, key):
                    if key != ecosystem + '-天气': raise ValueError(key)
                    return {}
             """, "get_skill_entry"),
        ):
            with self.subTest(module):
                self.write_module(module)
                status, output = self.check()
                self.assertEqual((status, output.count("refuses")), (0, said.count("refuses")), output)
                self.assertIn(said, output)

    def test_legacy_ui_is_searched_first(self) -> None:
        self.write_module()
        self.write_module("def list_skills(ecosystem): raise RuntimeError('this is legacy')", "legacy_ui/app.py")
        self.assertIn("refuses  list_skills(ecosystem): RuntimeError: this is legacy", self.check()[1])

    def test_what_changes_things_is_not_called(self) -> None:
        changing = [each.name for each in read_manual().functions if not each.only_reads]
        called = "".join(f"def {name}(*arguments): open('called', 'w')\n" for name in changing)
        self.write_module(called)
        self.assertEqual(self.check()[0], 0)
        self.assertFalse((self.folder / "called").exists())

    def test_each_mistake_is_the_fault_of_its_function(self) -> None:
        for function, mistake, fault in (
            ("rename_local_agent", "del rename_local_agent", "it is missing"),
            ("save_nelo_settings", "save_nelo_settings = 3", "it is no function"),
            ("delete_local_agent", "def delete_local_agent(ecosystem, id): pass",
             "it takes (ecosystem, id), and is called with 3 arguments"),
            ("start_model_download", "def start_model_download(name, size): pass", "is called with 1 argument"),
            ("add_news_source", "def add_news_source(source, *, force): pass", "it takes (source, *, force)"),
            ("list_skills", "def list_skills(ecosystem): return [{'skillKey': 'x'}, {'name': 'y'}]",
             'openclaw row 1: "skillKey" is missing'),
            ("list_news_sources", "def list_news_sources(): return {}['sources']", "KeyError: 'sources'"),
            ("list_news_sources", "def list_news_sources(): return {1, 2}", "TypeError: Object of type set is not JSON serializable"),
            ("list_remote_models", "def list_remote_models(): print('loading'); return []",
             "it prints to standard output: b'loading"),
            ("list_remote_models", "import os\ndef list_remote_models(): os._exit(0)", "the interpreter ended"),
            *(("get_adapter_snapshot", f"def get_adapter_snapshot(ecosystem): return {{'x': {number}}}", "no number that Nelo can read")
              for number in ("float('nan')", "2 ** 64", "-2 ** 63 - 1")),
        ):
            with self.subTest(mistake):
                self.write_module(mistake)
                self.assert_fault(function, fault)

    def test_a_function_that_does_not_answer_in_time_is_a_fault(self) -> None:
        for delay in ("import time\ndef list_remote_models(): time.sleep(600)",
                      "import sys\ndef list_remote_models(): sys.stderr.write('x' * 200000); return []"):
            with self.subTest(delay):
                self.write_module(delay)
                self.assert_fault("list_remote_models", "no answer within 3 s", SHORT_TIMEOUT_SECONDS)

    def test_a_module_that_nothing_can_be_asked_of_is_at_fault(self) -> None:
        refusing = "".join(f"def {each.name}(*arguments): raise RuntimeError('no service')\n"
                           for each in read_manual().functions)
        for module, fault in (
            ("import no_such_library", "it cannot be imported: ModuleNotFoundError: No module named 'no_such_library'"),
            *((end, "importing it ends the interpreter")
              for end in ("import os; os._exit(0)", "import sys; sys.exit()", "raise SystemExit(3)", "quit()")),
            (refusing, "every function that was tried refuses"),
        ):
            with self.subTest(module):
                self.write_module(module)
                status, output = self.check()
                faults = [line for line in output.splitlines() if line.startswith("FAULT")]
                self.assertEqual((status, faults), (1, [f"FAULT    app: {fault}"]), output)

    def test_a_folder_without_the_module_is_at_fault(self) -> None:
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("No module named 'app'", output)

    def test_no_folder_is_a_wrong_use(self) -> None:
        status, output = self.check(self.folder / "gone")
        self.assertEqual(status, 2)
        self.assertIn("there is no folder", output)


class ManualTest(unittest.TestCase):
    def test_wrong_shapes_are_faults(self) -> None:
        for answers, value, fault in (
            ("list of skill", {}, "the answer is not a list"),
            ("list of skill", [{"skillKey": "x", "requiredEnv": ["A", 1]}],
             'row 0: "requiredEnv" is ["A", 1], not list of text'),
            ("list of agent", ["agent"], 'row 0: it is "agent", not an object'),
            ("list of agent", [{"id": 1, "ecosystem": "codex"}], 'row 0: "id" is 1, not text'),
            ("list of agent", [{"id": "1", "ecosystem": "codex", "name": None}], 'row 0: "name" is null, not text'),
            ("list of agent", [{"id": "1"}], 'row 0: "ecosystem" is missing'),
            ("runtime status", {"installed": "yes"}, '"installed" is "yes", not boolean'),
            ("runtime status", None, "it is null, not an object"),
            ("skill entry", {"env": {"城市": 3}}, '"env" is {"城市": 3}, not object of text'),
            ("skill entry", {"config": []}, '"config" is [], not object'),
            ("settings", {"chat": []}, '"chat" is not an object'),
            ("settings", {"chat": {"mode": 1}}, '"chat.mode" is 1, not text'),
            ("catalogue entry", {"key": "a", "version": True}, '"version" is true, not text or number'),
            ("refresh result", {"count": "2"}, '"count" is "2", not number'),
            ("settings", {"chat": {"mode": "local"}, "core": {"auto_discovery": False}}, ""),
            ("catalogue entry", {"key": "a", "version": 1.5}, ""),
            ("list of agent", [], ""),
            ("refresh result", {"count": 2, "colour": None}, ""),
        ):
            with self.subTest(answers=answers, value=value):
                self.assertEqual(first_fault(value, answers, read_manual().shapes), fault)

    def test_it_has_the_functions_that_the_program_calls_and_no_other(self) -> None:
        functions = {function.name for function in read_manual().functions}
        verbs = "|".join(sorted({name.split("_")[0] for name in functions}))
        sources = (REPOSITORY / "macos-native/Sources").rglob("*.cpp")
        called = {name for file in sources for name in
                  re.findall(rf'"((?:{verbs})_[a-z_]+)"', file.read_text(encoding="utf-8"))}
        self.assertEqual(called, functions)

    def test_it_has_the_functions_of_the_backend_that_comes_with_nelo(self) -> None:
        self.assertEqual(sorted(function.name for function in read_manual().functions), app.__all__)

    def test_every_argument_is_described(self) -> None:
        text = MANUAL.read_text(encoding="utf-8")
        described = {row[0] for _, titles, rows in tables(text) if titles[0] == "Argument" for row in rows}
        self.assertEqual(described, {argument for function in read_manual().functions for argument in function.arguments})

    def test_every_answer_is_described_in_types_that_there_are(self) -> None:
        manual = read_manual()
        answers = {function.answers.removeprefix("list of ") for function in manual.functions}
        passed = {argument for function in manual.functions for argument in function.arguments}
        self.assertLessEqual(answers - {"anything"}, set(manual.shapes))
        self.assertLessEqual(set(manual.shapes), answers | passed)
        for keys in manual.shapes.values():
            for key in keys:
                self.assertIn(is_of("", key.type), (True, False))
