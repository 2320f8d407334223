"""Models and their downloads, against a model server on loopback."""

from __future__ import annotations

import json
import os
import subprocess
import sys
import threading
from collections.abc import Callable
from unittest import mock

import app
from app import downloads, models, ollama
from app.errors import BackendError
from app.tests.http_server import Exchange, HttpServer
from app.tests.support import HomeTestCase, wait_for


class ModelTestCase(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.server = HttpServer()
        self.addCleanup(self.server.stop)
        self.set_environment(OLLAMA_HOST=self.server.address)
        self.replace(models, "_DOWNLOADS", downloads.Downloads())
        self.replace(models, "INSTALLED_SECONDS", 20.0)

    def serve_models(self, *served: object) -> None:
        self.server.serve("/api/tags", json.dumps({"models": served}).encode())


class ServerAddressTest(HomeTestCase):
    def test_the_forms_of_the_variable(self) -> None:
        cases = {
            "": "http://127.0.0.1:11434",
            "  ": "http://127.0.0.1:11434",
            "box": "http://box:11434",
            "box:80": "http://box:80",
            "'10.0.0.2:1234'": "http://10.0.0.2:1234",
            ":1234": "http://127.0.0.1:1234",
            "0.0.0.0": "http://127.0.0.1:11434",
            "0.0.0.0:1234": "http://127.0.0.1:1234",
            "[::]:1234": "http://[::1]:1234",
            "::1": "http://[::1]:11434",
            "[fe80::1]": "http://[fe80::1]:11434",
            "http://box": "http://box:80",
            "https://box": "https://box:443",
            "https://box:1/models/": "https://box:1/models",
            "box/models": "http://box:11434/models",
            "box/模 型": "http://box:11434/%E6%A8%A1%20%E5%9E%8B",
            "box/%E6%A8%A1": "http://box:11434/%E6%A8%A1",
            "box/~me/a+b": "http://box:11434/~me/a+b",
            "box/\udcff": "http://box:11434/%FF",
        }
        for value, address in cases.items():
            with self.subTest(value):
                self.assertEqual(ollama.server_address(value), address)

    def test_what_makes_no_sense_is_told(self) -> None:
        for value in ("box:port", "box:70000", "ftp://box", "[::1", "://box"):
            with self.subTest(value), self.assertRaisesRegex(BackendError, "OLLAMA_HOST is not understood"):
                ollama.server_address(value)


class ListTest(ModelTestCase):
    def test_local_models_have_names_readable_sizes_and_short_times(self) -> None:
        self.serve_models(
            {"name": "qwen3:8b", "size": 5225388164, "modified_at": "2025-05-04T17:37:44.706015396+02:00", "x": 1},
            {"name": "tiny:latest", "size": 999, "modified_at": "2025-05-04T17:37:44Z"},
        )
        self.assertEqual(
            app.list_local_models(),
            [
                {"name": "qwen3:8b", "size": "5.2 GB", "modifiedAt": "2025-05-04T17:37:44+02:00"},
                {"name": "tiny:latest", "size": "999 B", "modifiedAt": "2025-05-04T17:37:44Z"},
            ],
        )

    def test_sizes_are_written_as_the_servers_own_tool_writes_them(self) -> None:
        sizes = {
            0: "0 B",
            1000: "1.0 KB",
            274_302_450: "274 MB",
            10**10: "10 GB",
            18_556_699_314: "19 GB",
            2 * 10**12: "2.0 TB",
        }
        for size, text in sizes.items():
            self.assertEqual(ollama.readable_size(size), text)

    def test_values_of_wrong_types_are_unknown_and_rows_without_name_are_left_out(self) -> None:
        values: list[object] = [None, "5", [], {}, True, -1]
        for value in values:
            self.serve_models({"name": "a", "size": value, "modified_at": 7}, {"name": [value]}, {}, 7)
            self.assertEqual(app.list_local_models(), [{"name": "a", "size": "", "modifiedAt": ""}])

    def test_no_server_is_told_with_what_to_do(self) -> None:
        self.set_environment(OLLAMA_HOST="127.0.0.1:9")
        message = "No local model server answers at http://127.0.0.1:9: Connection refused. Start Ollama"
        self.assertIn(message, self.refusal(app.list_local_models))
        self.assertIn(message, self.refusal(app.start_model_download, "a"))

    def test_a_server_that_cannot_be_named_or_does_not_speak_tls_is_told(self) -> None:
        self.set_environment(OLLAMA_HOST="a..b:1")
        self.assertIn("it is not a valid address", self.refusal(app.start_model_download, "a"))
        self.set_environment(OLLAMA_HOST=self.server.address.replace("http:", "https:"))
        for function in (app.list_local_models, lambda: app.start_model_download("a")):
            self.assertIn("No local model server answers at https://127.0.0.1", self.refusal(function))

    def test_an_answer_of_another_shape_is_told(self) -> None:
        for body in (b"", b"<html>", b"[]", b"7", b"null", b"{}", b'{"models": {}}', b'{"models": null}', b"\xff"):
            with self.subTest(body):
                self.server.serve("/api/tags", body)
                self.assertIn("does not answer as a model server", self.refusal(app.list_local_models))
        self.server.serve("/api/tags", b"", 500)
        self.assertIn("HTTP 500", self.refusal(app.list_local_models))

    def test_a_server_that_never_answers_is_given_up(self) -> None:
        self.server.answers["/api/tags"] = Exchange.wait_for_the_end
        with self.assertRaisesRegex(BackendError, "did not arrive within 0.1 seconds"):
            ollama.installed_models(0.1)

    def test_a_server_below_a_path_is_asked_there(self) -> None:
        self.set_environment(OLLAMA_HOST=f"{self.server.address}/below")
        self.server.serve("/below/api/tags", b'{"models": []}')
        self.assertEqual(app.list_local_models(), [])

    def test_the_remote_models_have_the_documented_keys_and_say_what_is_installed(self) -> None:
        self.serve_models({"name": "qwen3:8b"}, {"name": "llama3.2"})
        rows = {row["name"]: row for row in app.list_remote_models()}
        self.assertEqual(
            rows["qwen3:8b"],
            {"name": "qwen3:8b", "provider": "Alibaba", "size": "5.2 GB", "tags": ["qwen3", "chat"], "installed": True},
        )
        self.assertEqual([name for name, row in rows.items() if row["installed"]], ["qwen3:8b"])
        for name in ("qwen3:30b", "qwen3:8b", "qwen3-coder:30b"):
            self.assertIn(name, rows)

    def test_a_name_without_a_tag_means_the_latest(self) -> None:
        self.replace(
            models, "REMOTE_MODELS", (("tiny", "x", "", ()), ("small:latest", "x", "", ()), ("big:8b", "x", "", ()))
        )
        self.serve_models({"name": "tiny:latest"}, {"name": "small"}, {"name": "big"})
        self.assertEqual([row["installed"] for row in app.list_remote_models()], [False, True, False])

    def test_the_remote_models_need_no_server(self) -> None:
        self.set_environment(OLLAMA_HOST="127.0.0.1:9")
        rows = app.list_remote_models()
        self.assertEqual({row["installed"] for row in rows}, {False})


class DownloadTest(ModelTestCase):
    def task(self) -> dict[str, object]:
        (row,) = app.list_model_download_tasks()
        return row

    def serve_download(self, *messages: object, then: Callable[[Exchange], None] = lambda exchange: None) -> None:
        def answer(exchange: Exchange) -> None:
            exchange.begin()
            for message in messages:
                exchange.say(message)
            exchange.wfile.flush()
            then(exchange)

        self.server.answers["/api/pull"] = answer

    def run_download(
        self, *messages: object, then: Callable[[Exchange], None] = lambda exchange: None
    ) -> tuple[object, ...]:
        """Download a model and return the row at its end."""
        self.serve_download(*messages, then=then)
        app.start_model_download("tiny:1b")
        self.assertTrue(wait_for(lambda: self.task()["status"] != "running"))
        return self.task()["status"], self.task()["lastLine"]

    def start_and_wait_for(self, line: str) -> str:
        task_id = str(app.start_model_download("tiny:1b")["id"])
        self.assertTrue(wait_for(lambda: self.task()["lastLine"] == line), self.task())
        return task_id

    def test_there_are_no_tasks_at_first(self) -> None:
        self.assertEqual(app.list_model_download_tasks(), [])

    def test_a_download_that_succeeds_is_completed(self) -> None:
        self.assertEqual(
            self.run_download({"status": "pulling manifest"}, {"status": "success"}), ("completed", "success")
        )
        self.assertEqual([it[:2] for it in self.server.requests], [("POST", "/api/pull")])
        self.assertEqual(json.loads(self.server.requests[0][2]), {"model": "tiny:1b", "stream": True})

    def test_a_row_has_the_documented_keys(self) -> None:
        self.serve_download(then=Exchange.wait_for_the_end)
        row = app.start_model_download(" tiny:1b ")
        self.assertEqual(
            {**row, "updatedAt": ""},
            {
                "id": "download-1",
                "model": "tiny:1b",
                "status": "running",
                "updatedAt": "",
                "lastLine": "Starting.",
            },
        )
        self.assertRegex(str(row["updatedAt"]), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")

    def test_progress_is_told_as_a_percentage(self) -> None:
        message = {"status": "pulling 8934d96d3f08", "total": 5_200_000_000, "completed": 2_340_000_000}
        self.serve_download(message, then=Exchange.wait_for_the_end)
        self.start_and_wait_for("pulling 8934d96d3f08: 45% of 5.2 GB")

    def test_the_time_of_the_last_news_is_told(self) -> None:
        go_on = threading.Event()

        def succeed_when_told(exchange: Exchange) -> None:
            go_on.wait(10)
            exchange.say({"status": "success"})

        self.serve_download({"status": "one"}, then=succeed_when_told)
        self.start_and_wait_for("one")
        with self.time_at(1735723800):
            go_on.set()
            self.assertTrue(wait_for(lambda: self.task()["status"] == "completed"))
        self.assertEqual(self.task()["updatedAt"], "2025-01-01T09:30:00Z")

    def test_what_a_line_says(self) -> None:
        cases = {
            b'{"status": "verifying"}': ("verifying", "running"),
            b'{"status": "success"}': ("success", "completed"),
            b'{"error": "no such model"}': ("no such model", "failed"),
            b'{"status": "pulling", "total": 10}': ("pulling: 0% of 10 B", "running"),
            b'{"status": "pulling", "total": 0, "completed": 0}': ("pulling", "running"),
            b'{"status": "pulling", "total": 1, "completed": 2}': ("pulling", "running"),
            b'{"status": "pulling", "total": "1", "completed": []}': ("pulling", "running"),
            b'{"error": ""}': ("", "running"),
            b'{"error": {"x": 1}, "status": null}': ("", "running"),
            b"not json": ("", "running"),
            b"[]": ("", "running"),
            b"\xff\n": ("", "running"),
            b"\n": ("", "running"),
        }
        for line, said in cases.items():
            with self.subTest(line):
                self.assertEqual(downloads.progress(line), said)

    def test_lines_that_say_nothing_are_passed_over(self) -> None:
        def garbage(exchange: Exchange) -> None:
            exchange.wfile.write(b"garbage\n\n\xff\xfe\n" + b"x" * 200_000 + b"\n")
            exchange.say({"status": "success"})

        self.assertEqual(self.run_download({"status": "one"}, then=garbage), ("completed", "success"))

    def test_an_error_of_the_server_is_told_on_one_line(self) -> None:
        self.assertEqual(self.run_download({"error": "no\nsuch model"}), ("failed", "no\ufffdsuch model"))

    def test_an_error_of_ten_thousand_characters_is_cut(self) -> None:
        status, line = self.run_download({"error": "x" * 10_000})
        self.assertEqual((status, len(str(line))), ("failed", 500))

    def test_a_status_that_is_no_success_is_told(self) -> None:
        for body, line in (
            (b'{"error": "not found"}', "not found"),
            (b"<html>", "The model server answered with HTTP 404."),
        ):
            self.server.serve("/api/pull", body, 404)
            self.replace(models, "_DOWNLOADS", downloads.Downloads())
            app.start_model_download("tiny:1b")
            self.assertTrue(wait_for(lambda: self.task()["status"] == "failed"))
            self.assertEqual(self.task()["lastLine"], line)

    def test_a_download_that_breaks_off_has_failed(self) -> None:
        def half_a_chunk(exchange: Exchange) -> None:
            exchange.send_response(200)
            exchange.send_header("Transfer-Encoding", "chunked")
            exchange.end_headers()
            exchange.wfile.write(b'ff\r\n{"status": "one"}\n')

        self.assertEqual(
            self.run_download({"status": "one"}), ("failed", "The download broke off: the server went away.")
        )
        for answer in (half_a_chunk, lambda exchange: None, Exchange.reset):
            self.replace(models, "_DOWNLOADS", downloads.Downloads())
            self.server.answers["/api/pull"] = answer
            app.start_model_download("tiny:1b")
            self.assertTrue(wait_for(lambda: self.task()["status"] == "failed"))
            self.assertRegex(str(self.task()["lastLine"]), "^The download broke off: .*[.]$")

    def test_a_server_that_disappears_in_the_middle_is_told(self) -> None:
        status, line = self.run_download({"status": "one"}, then=Exchange.reset)
        self.assertEqual(status, "failed")
        self.assertRegex(str(line), "The download broke off: ")

    def test_a_server_that_falls_silent_is_told(self) -> None:
        self.assertEqual(downloads.SILENCE_SECONDS, 300.0)
        self.replace(downloads, "SILENCE_SECONDS", 0.1)
        self.replace(ollama, "CONNECT_SECONDS", 60.0)  # the limit of the connection is over once it is made
        ended = self.run_download({"status": "one"}, then=Exchange.wait_for_the_end)
        self.assertEqual(ended, ("failed", "The model server stopped answering."))

    def test_cancelling_ends_the_transfer_and_cancelling_again_does_nothing(self) -> None:
        self.serve_download({"status": "one"}, then=Exchange.wait_for_the_end)
        task_id = self.start_and_wait_for("one")
        self.assertEqual(app.cancel_model_download(task_id)["status"], "cancelled")
        self.assertTrue(self.server.ended.wait(5), "the server still sends")
        again = app.cancel_model_download(task_id)
        self.assertEqual((again["status"], again["lastLine"]), ("cancelled", "Cancelled."))
        self.assertEqual(self.task(), again)

    def test_a_cancelled_download_stays_cancelled_whatever_the_server_says(self) -> None:
        self.serve_download({"status": "one"}, then=Exchange.wait_for_the_end)
        task_id = self.start_and_wait_for("one")
        app.cancel_model_download(task_id)
        self.assertTrue(wait_for(lambda: not any(it.name == task_id for it in threading.enumerate())))
        self.assertEqual(self.task()["status"], "cancelled")

    def test_what_has_ended_or_never_was_cannot_be_cancelled(self) -> None:
        self.run_download({"status": "success"})
        self.assertIn("has already completed", self.refusal(app.cancel_model_download, "download-1"))
        self.assertIn('no download "download-2"', self.refusal(app.cancel_model_download, "download-2"))
        for nothing in ("", None, 7):
            self.assertIn("download's id", self.refusal(app.cancel_model_download, nothing))

    def test_starting_twice_answers_the_download_that_runs(self) -> None:
        self.serve_download({"status": "one"}, then=Exchange.wait_for_the_end)
        first = app.start_model_download("tiny:1b")["id"]
        self.assertEqual(app.start_model_download("tiny:1b")["id"], first)
        self.assertNotEqual(app.start_model_download("other:1b")["id"], first)
        app.cancel_model_download(first)
        self.assertNotEqual(app.start_model_download("tiny:1b")["id"], first)
        self.assertEqual(
            [row["status"] for row in app.list_model_download_tasks()], ["cancelled", "running", "running"]
        )

    def test_a_model_without_a_name_is_refused_and_asks_nobody(self) -> None:
        for name in ("", " ", None, 7, ["a"]):
            self.assertIn("model's name", self.refusal(app.start_model_download, name))
        self.assertEqual((self.server.requests, app.list_model_download_tasks()), ([], []))

    def test_no_proxy_is_asked(self) -> None:
        self.set_environment(http_proxy="http://127.0.0.1:9")
        self.serve_models()
        self.assertEqual(app.list_local_models(), [])
        self.assertEqual(self.run_download({"status": "success"})[0], "completed")

    def test_a_server_below_a_path_of_any_letters_is_asked_there(self) -> None:
        self.set_environment(OLLAMA_HOST=f"{self.server.address}/模型")
        self.serve_download({"status": "success"})
        self.server.answers["/%E6%A8%A1%E5%9E%8B/api/pull"] = self.server.answers.pop("/api/pull")
        app.start_model_download("tiny:1b")
        self.assertTrue(wait_for(lambda: self.task()["status"] == "completed"), self.task())

    def test_a_download_whose_thread_ends_has_failed(self) -> None:
        self.replace(threading, "excepthook", lambda arguments: None)
        self.replace(downloads, "progress", mock.Mock(side_effect=MemoryError()))
        self.assertEqual(self.run_download({"status": "success"}), ("failed", "The download broke off."))

    def test_we_can_end_while_a_download_runs(self) -> None:
        self.server.answers["/api/pull"] = Exchange.wait_for_the_end
        script = "import app; print(app.start_model_download('tiny:1b')['status'])"
        folder = os.path.dirname(os.path.dirname(app.__file__))
        done = subprocess.run([sys.executable, "-c", script], cwd=folder, capture_output=True, check=True, timeout=20)
        self.assertEqual(done.stdout, b"running\n")

    def test_no_descriptor_is_left_after_many_downloads(self) -> None:
        self.serve_download({"status": "success"})
        before = len(os.listdir("/dev/fd"))
        for number in range(20):
            app.start_model_download(f"m{number}")
        self.assertTrue(wait_for(lambda: {row["status"] for row in app.list_model_download_tasks()} == {"completed"}))
        self.assertTrue(wait_for(lambda: len(os.listdir("/dev/fd")) <= before))
