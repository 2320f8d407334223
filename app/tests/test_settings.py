"""The settings document."""

from __future__ import annotations

import glob
import json
import os

import app
from app.errors import BackendError
from app.tests.support import HomeTestCase
from app.tests.test_documents import NOT_UNDERSTOOD

CHAT: dict[str, object] = {"mode": "cloud", "cloud_provider": "deepseek", "cloud_api_key": "sk-ключ"}
DOCUMENT: dict[str, object] = {
    "version": 1,
    "core": {"url": "", "auto_discovery": True},
    "chat": CHAT,
    "tovani": {"auto_download_on_chat": False, "path": "/x"},
    "cloud_skills": {"catalog_url": "https://host/catalog.json"},
}


class SettingsTest(HomeTestCase):
    def test_on_a_fresh_machine_the_document_is_empty_and_loading_makes_nothing(self) -> None:
        self.assertEqual(app.load_nelo_settings(), {})
        self.assertEqual(os.listdir(self.home), [])

    def test_what_is_saved_is_loaded(self) -> None:
        self.assertEqual(app.save_nelo_settings(DOCUMENT), {"path": self.path(".nelo", "settings.json")})
        self.assertEqual(app.load_nelo_settings(), DOCUMENT)

    def test_only_the_owner_can_read_it_even_when_others_could_before(self) -> None:
        app.save_nelo_settings(DOCUMENT)
        self.assertEqual(self.mode(".nelo/settings.json"), 0o600)
        os.chmod(self.path(".nelo/settings.json"), 0o664)
        app.save_nelo_settings(DOCUMENT)
        self.assertEqual(self.mode(".nelo/settings.json"), 0o600)

    def test_unknown_keys_of_the_earlier_document_survive_in_place(self) -> None:
        earlier = '{"theirs": {"n": 1.0}, "chat": {"theirs": [1], "mode": "local"}, "version": 7, "core": 3}'
        self.make_file(".nelo/settings.json", earlier)
        app.save_nelo_settings(DOCUMENT)
        chat: dict[str, object] = {"theirs": [1]}
        chat.update(CHAT)
        expected: dict[str, object] = {
            "theirs": {"n": 1.0},
            "chat": chat,
            **{key: DOCUMENT[key] for key in ("version", "core", "tovani", "cloud_skills")},
        }
        self.assertEqual(app.load_nelo_settings(), expected)
        self.assertIn('"n": 1.0', self.read(".nelo/settings.json"))
        self.assertEqual(list(app.load_nelo_settings())[:4], ["theirs", "chat", "version", "core"])

    def test_an_emptied_key_is_emptied_on_disk(self) -> None:
        app.save_nelo_settings(DOCUMENT)
        app.save_nelo_settings({"chat": {"cloud_api_key": ""}})
        self.assertNotIn("sk-", self.read(".nelo/settings.json"))

    def test_values_of_wrong_types_are_loaded_as_they_are(self) -> None:
        values: list[object] = [None, 7, 1.5, "text", [], {}, True]
        for value in values:
            document = {"version": value, "core": value, "chat": {"mode": value, "cloud_api_key": value}}
            self.make_file(".nelo/settings.json", json.dumps(document))
            self.assertEqual(app.load_nelo_settings(), document)

    def test_a_document_that_is_not_understood_loads_as_empty_and_is_kept_beside_by_the_next_save(self) -> None:
        for case, content in NOT_UNDERSTOOD.items():
            if parses_as_object(content):
                continue
            with self.subTest(case):
                path = self.make_file(".nelo/settings.json", content)
                self.assertEqual(app.load_nelo_settings(), {})
                app.save_nelo_settings(DOCUMENT)
                self.assertEqual(app.load_nelo_settings(), DOCUMENT)
                (copy,) = glob.glob(glob.escape(path) + ".unreadable.*")
                with open(copy, "rb") as file:
                    self.assertEqual(file.read(), content if isinstance(content, bytes) else content.encode())
                self.assertEqual(os.stat(copy).st_mode & 0o777, 0o600)
                os.unlink(copy)

    def test_a_full_disk_keeps_the_earlier_document(self) -> None:
        app.save_nelo_settings(DOCUMENT)
        before = self.read(".nelo/settings.json")
        with self.full_disk(20), self.assertRaisesRegex(BackendError, "Cannot save .*settings.json: ") as raised:
            app.save_nelo_settings({"chat": {"cloud_api_key": "sk-new"}})
        self.assertNotIn("sk-", str(raised.exception))
        self.assertEqual((self.read(".nelo/settings.json"), self.files_below()), (before, [".nelo/settings.json"]))

    def test_a_link_stays_a_link(self) -> None:
        self.make_file("elsewhere/settings.json", "{}")
        os.makedirs(self.path(".nelo"))
        os.symlink(self.path("elsewhere/settings.json"), self.path(".nelo/settings.json"))
        app.save_nelo_settings(DOCUMENT)
        self.assertTrue(os.path.islink(self.path(".nelo/settings.json")))
        self.assertIn("deepseek", self.read("elsewhere/settings.json"))

    def test_what_is_no_object_or_cannot_be_written_is_refused(self) -> None:
        deep: object = {}
        for _ in range(100_000):
            deep = [deep]
        documents: list[object] = [None, [], "{}", 7, {"x": float("nan")}, {"x": "\ud800"}, {"x": deep}]
        for document in documents:
            with self.subTest(type(document).__name__), self.assertRaisesRegex(BackendError, "settings document"):
                app.save_nelo_settings(document)
        self.assertEqual(os.listdir(self.home), [])

    def test_an_unreadable_document_is_told(self) -> None:
        os.makedirs(self.path(".nelo/settings.json"))
        self.assertRaisesRegex(BackendError, "Cannot read .*settings.json", app.load_nelo_settings)
        self.assertRaisesRegex(BackendError, "Cannot read .*settings.json", app.save_nelo_settings, DOCUMENT)


def parses_as_object(content: str | bytes) -> bool:
    try:
        return isinstance(json.loads(content), dict) and "NaN" not in str(content) and "ud800" not in str(content)
    except (ValueError, RecursionError):
        return False
