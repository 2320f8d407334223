"""News sources."""

from __future__ import annotations

import json
import os

import app
from app.errors import BackendError
from app.tests.support import HomeTestCase
from app.tests.test_documents import NOT_UNDERSTOOD

SOURCE = {"type": "rss", "id": "daily", "name": "每日", "url": "https://example.org/feed?x=1#y", "enabled": True}
STORE = ".nelo/news_sources.json"


class NewsSourceTest(HomeTestCase):
    def refused(self, **changes: object) -> str:
        return self.refusal(app.add_news_source, {**SOURCE, **changes})

    def test_at_first_there_are_none_and_listing_makes_nothing(self) -> None:
        self.assertEqual(app.list_news_sources(), [])
        self.assertEqual(os.listdir(self.home), [])

    def test_a_source_is_listed_with_its_type_as_bucket(self) -> None:
        row = app.add_news_source({**SOURCE, "name": " 每日 ", "more": 1})
        self.assertEqual(row, {"bucket": "rss", **SOURCE})
        self.assertEqual(app.list_news_sources(), [row])
        self.assertEqual(json.loads(self.read(STORE)), {"version": 1, "sources": [SOURCE]})
        self.assertEqual(self.mode(STORE), 0o600)

    def test_sources_keep_the_order_in_which_they_were_added(self) -> None:
        for number, kind in enumerate(("x", "rss", "webpage")):
            app.add_news_source({**SOURCE, "type": kind, "id": f"s{number}", "enabled": number == 1})
        rows = [(row["bucket"], row["id"], row["enabled"]) for row in app.list_news_sources()]
        self.assertEqual(rows, [("x", "s0", False), ("rss", "s1", True), ("webpage", "s2", False)])

    def test_an_unknown_type_is_refused(self) -> None:
        kinds: list[object] = ["", "RSS", "mail", None, 7, ["rss"], {}]
        for kind in kinds:
            self.assertIn("Choose rss, webpage, x", self.refused(type=kind))

    def test_an_id_that_is_empty_or_holds_other_characters_is_refused(self) -> None:
        for source_id in ("", " ", None, 7, "a b", "a/b", "a\nb", "x" * 101):
            self.assertIn("source's ID", self.refused(id=source_id))

    def test_an_id_is_unique_whatever_the_type(self) -> None:
        app.add_news_source(SOURCE)
        self.assertIn('ID "daily" already', self.refused(type="x", id=" daily "))
        self.assertEqual(len(app.list_news_sources()), 1)

    def test_a_name_that_says_nothing_is_refused(self) -> None:
        for name in ("", " \n", None, 7):
            self.assertIn("source's name", self.refused(name=name))

    def test_what_is_no_web_address_is_refused(self) -> None:
        for url in ("", None, 7):
            self.assertIn("source's URL", self.refused(url=url))
        for url in (
            "example.org",
            "ftp://a",
            "file:///a",
            "javascript:x",
            "https://",
            "http://[::1",
            "http://a:b/",
            "http://a:0/",
        ):
            self.assertIn("is not a web address", self.refused(url=url))
        for url in ("https://a b/", "https://a/\nb", "https://a/\u202e"):
            self.assertIn("is not a web address", self.refused(url=url))

    def test_web_addresses_of_every_form_are_taken(self) -> None:
        for number, url in enumerate(("http://a.example", "https://a.example:8443/x?y#z", "https://[::1]:1/")):
            self.assertEqual(app.add_news_source(dict(SOURCE, id=str(number), url=f" {url} "))["url"], url)

    def test_enabled_is_a_boolean_and_true_when_it_is_missing(self) -> None:
        values: list[object] = [None, 1, "true", []]
        for enabled in values:
            self.assertIn("true or false", self.refused(enabled=enabled))
        source = {key: value for key, value in SOURCE.items() if key != "enabled"}
        self.assertIs(app.add_news_source(source)["enabled"], True)

    def test_what_is_no_object_is_refused(self) -> None:
        sources: list[object] = [None, [], "{}", 7, {}]
        for source in sources:
            self.assertRaises(BackendError, app.add_news_source, source)
        self.assertEqual(os.listdir(self.home), [])

    def test_entries_of_wrong_shapes_are_not_listed_or_fall_back_and_are_never_lost(self) -> None:
        strange: list[object] = [
            7,
            None,
            {},
            {"id": 7},
            {"id": "a", "type": 7, "name": None, "url": [], "enabled": "no"},
        ]
        self.make_file(STORE, json.dumps({"sources": strange}))
        row = {"bucket": "", "type": "", "id": "a", "name": "", "url": "", "enabled": True}
        self.assertEqual(app.list_news_sources(), [row])
        app.add_news_source(SOURCE)
        self.assertEqual(json.loads(self.read(STORE))["sources"], [*strange, SOURCE])

    def test_a_file_that_is_not_understood_is_kept_beside(self) -> None:
        for case, content in NOT_UNDERSTOOD.items():
            with self.subTest(case):
                self.make_file(STORE, content)
                self.assertEqual(app.list_news_sources(), [])
                app.add_news_source(SOURCE)
                self.assertEqual(len(self.files_below(".nelo")), 2)
                for name in self.files_below(".nelo"):
                    os.unlink(self.path(".nelo", name))
