"""The catalogue of cloud skills, fetched and kept."""

from __future__ import annotations

import json
import os

import app
from app import catalogue
from app.tests.http_server import Exchange, HttpServer
from app.tests.support import HomeTestCase

KEPT = ".nelo/cloud_skills_catalog.json"


class RefreshTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.server = HttpServer()
        self.addCleanup(self.server.stop)

    def set_address(self, address: object) -> None:
        app.save_nelo_settings({"cloud_skills": {"catalog_url": address}})

    def serve(self, body: bytes) -> None:
        self.set_address(self.server.serve("/catalogue.json", body))

    def test_a_list_and_an_object_with_a_list_are_counted_and_kept_as_they_came(self) -> None:
        entries = [{"key": "a", "name": "你好"}, {"key": "b", "n": 1.0}]
        for document in (entries, {"skills": entries, "more": 1}):
            body = json.dumps(document, ensure_ascii=False).encode()
            self.serve(body)
            self.assertEqual(app.refresh_cloud_skills_via_core(), {"count": 2})
            self.assertEqual(self.read(KEPT), body.decode())
            self.assertEqual(self.mode(KEPT), 0o600)

    def test_an_empty_catalogue_is_one(self) -> None:
        self.serve(b"[]")
        self.assertEqual(app.refresh_cloud_skills_via_core(), {"count": 0})

    def test_a_catalogue_in_a_file_is_read(self) -> None:
        self.set_address(" file://" + self.make_file("my catalogue.json", '[{"key": "a"}]') + "\n")
        self.assertEqual(app.refresh_cloud_skills_via_core(), {"count": 1})

    def test_without_an_address_the_error_says_where_to_enter_it(self) -> None:
        self.assertIn("Enter it as Catalog URL in the settings", self.refusal(app.refresh_cloud_skills_via_core))
        sections: list[object] = [None, [], "text", {}, {"catalog_url": " "}, {"catalog_url": 7}]
        for section in sections:
            app.save_nelo_settings({"cloud_skills": section})
            self.assertIn("Enter it as Catalog URL in the settings", self.refusal(app.refresh_cloud_skills_via_core))

    def test_what_is_no_catalogue_is_refused_and_the_earlier_one_stays(self) -> None:
        self.serve(b'[{"key": "earlier"}]')
        app.refresh_cloud_skills_via_core()
        refused = (b"", b"<html></html>", b"7", b'"text"', b"{}", b'{"skills": {}}', b"[1]", b'[{"key": "a"}, null]')
        for body in (*refused, b"[NaN]", b'["\xff"]', b"[" * 100_000):
            with self.subTest(body[:20]):
                self.serve(body)
                self.assertIn("is not a catalogue of skills", self.refusal(app.refresh_cloud_skills_via_core))
                self.assertEqual(self.read(KEPT), '[{"key": "earlier"}]')

    def test_the_limits_are_twenty_seconds_and_ten_megabytes(self) -> None:
        self.assertEqual((catalogue.SECONDS, catalogue.LIMIT), (20.0, 10_000_000))

    def test_a_huge_catalogue_is_refused(self) -> None:
        self.serve(b'["' + b"x" * 10_000_000 + b'"]')
        self.assertIn("it is larger than 10 MB", self.refusal(app.refresh_cloud_skills_via_core))

    def test_a_catalogue_of_the_most_entries_is_one_and_one_more_is_refused(self) -> None:
        self.assertEqual(catalogue.ENTRY_LIMIT, 5000)
        self.replace(catalogue, "ENTRY_LIMIT", 2)
        self.serve(b'[{"key": "a"}, {"key": "b"}]')
        self.assertEqual(app.refresh_cloud_skills_via_core(), {"count": 2})
        self.serve(b"[{}, {}, {}]")
        self.assertIn("lists 3 skills, and at most 2 are taken", self.refusal(app.refresh_cloud_skills_via_core))

    def test_a_slow_catalogue_is_given_up(self) -> None:
        self.replace(catalogue, "SECONDS", 0.2)
        self.server.answers["/slow"] = Exchange.wait_for_the_end
        self.set_address(self.server.address + "/slow")
        self.assertIn("did not arrive within 0.2 seconds", self.refusal(app.refresh_cloud_skills_via_core))

    def test_a_refused_connection_and_a_redirect_to_another_scheme_are_told(self) -> None:
        self.set_address("http://127.0.0.1:9/catalogue.json")
        self.assertEqual(
            self.refusal(app.refresh_cloud_skills_via_core),
            "Cannot load the catalogue http://127.0.0.1:9/catalogue.json: Connection refused.",
        )
        secret = self.make_file("secret.json", "[]")
        self.set_address(self.server.serve("/moved", b"", 302, {"Location": f"file://{secret}"}))
        self.assertIn("redirects to another kind of address", self.refusal(app.refresh_cloud_skills_via_core))
        self.assertFalse(os.path.exists(self.path(KEPT)))

    def test_secrets_in_the_address_are_not_told(self) -> None:
        for user in ("me:pass@", ""):
            self.set_address(f"http://{user}127.0.0.1:9/c?token=secret")
            self.assertNotRegex(self.refusal(app.refresh_cloud_skills_via_core), "me:|pass@|secret")

    def test_a_full_disk_keeps_the_earlier_catalogue(self) -> None:
        self.serve(b"[]")
        app.refresh_cloud_skills_via_core()
        self.serve(b'[{"key": "a"}]')
        with self.full_disk(5):
            self.assertIn("Cannot save", self.refusal(app.refresh_cloud_skills_via_core))
        self.assertEqual(self.read(KEPT), "[]")
