"""Installing skills of the catalogue."""

from __future__ import annotations

import hashlib
import json
import os
from unittest import mock

import app
from app import catalogue, installs, web
from app.tests.http_server import Exchange, HttpServer
from app.tests.test_installs import SKILLS, InstallTestCase, skill
from app.tests.test_skill_packages import make_package


class CloudSkillTest(InstallTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.server = HttpServer()
        self.addCleanup(self.server.stop)
        self.server.serve("/packages/weather.zip", skill("one"))

    def serve_catalogue(self, *entries: object) -> None:
        address = self.server.serve("/packages/catalogue.json", json.dumps(entries).encode())
        app.save_nelo_settings({"cloud_skills": {"catalog_url": address}})
        app.refresh_cloud_skills_via_core()

    def install_from(self, entry: dict[str, object]) -> dict[str, object]:
        self.serve_catalogue(dict(entry, key="weather"))
        return app.install_cloud_skill_from_core("openclaw", "weather", "main")

    def test_the_catalogue_is_listed_with_what_it_has(self) -> None:
        self.serve_catalogue(
            {"key": " a ", "name": "甲", "version": "1.0", "description": "d", "url": "x"},
            {"key": "b", "version": ""},
            {"key": "c", "name": None, "version": 2, "description": ["x"]},
            {"key": "d", "name": False, "version": True, "description": 1.5},
        )
        self.assertEqual(
            app.list_cloud_skills_via_core("openclaw"),
            [
                {"key": "a", "name": "甲", "version": "1.0", "description": "d"},
                {"key": "b", "version": ""},
                {"key": "c", "version": 2},
                {"key": "d", "description": 1.5},
            ],
        )

    def test_entries_without_key_and_repeated_keys_are_left_out(self) -> None:
        self.serve_catalogue({}, {"key": ""}, {"key": 7}, {"key": "a", "name": "first"}, {"key": "a", "name": "second"})
        self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "a", "name": "first"}])

    def test_entries_of_another_ecosystem_are_left_out(self) -> None:
        self.serve_catalogue({"key": "a", "ecosystem": "openclaw"}, {"key": "b", "ecosystem": "codex"}, {"key": "c"})
        self.assertEqual([row["key"] for row in app.list_cloud_skills_via_core("openclaw")], ["a", "c"])
        self.assertEqual([row["key"] for row in app.list_cloud_skills_via_core("codex")], ["b", "c"])

    def test_a_catalogue_that_was_never_fetched_is_fetched(self) -> None:
        address = self.server.serve("/c", b'[{"key": "a"}]')
        app.save_nelo_settings({"cloud_skills": {"catalog_url": address}})
        for _ in range(2):
            self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "a"}])
        self.assertEqual(len(self.server.requests), 1)
        self.make_file(".nelo/cloud_skills_catalog.json", "broken")
        self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "a"}])

    def test_a_catalogue_from_another_address_is_not_taken_for_that_of_the_settings(self) -> None:
        self.serve_catalogue({"key": "weather", "url": "weather.zip"})
        other = self.server.serve("/other/catalogue.json", b'[{"key": "b", "url": "b.zip"}]')
        app.save_nelo_settings({"cloud_skills": {"catalog_url": other}})
        self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "b"}])
        message = self.refusal(app.install_cloud_skill_from_core, "openclaw", "weather", "main")
        self.assertIn('no skill "weather"', message)

    def test_a_catalogue_whose_successor_cannot_be_fetched_stays_for_its_own_address(self) -> None:
        self.serve_catalogue({"key": "weather", "url": "weather.zip"})
        settings = app.load_nelo_settings()
        app.save_nelo_settings({"cloud_skills": {"catalog_url": self.server.address + "/missing.json"}})
        self.assertIn("HTTP 404", self.refusal(app.list_cloud_skills_via_core, "openclaw"))
        app.save_nelo_settings({"cloud_skills": {"catalog_url": ""}})
        self.assertIn("Catalog URL", self.refusal(app.list_cloud_skills_via_core, "openclaw"))
        app.save_nelo_settings(settings)
        self.server.answers.clear()
        self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "weather"}])

    def test_a_catalogue_without_its_origin_is_fetched_again(self) -> None:
        origin = ".nelo/cloud_skills_catalog.origin.json"
        self.serve_catalogue({"key": "a"})
        self.assertEqual(self.mode(origin), 0o600)
        for broken in ("", "[]", '{"address": 7}'):
            self.make_file(origin, broken)
            before = len(self.server.requests)
            self.assertEqual(app.list_cloud_skills_via_core("openclaw"), [{"key": "a"}])
            self.assertEqual(len(self.server.requests), before + 1)

    def test_without_a_catalogue_the_error_says_what_to_do(self) -> None:
        self.assertIn("Catalog URL", self.refusal(app.list_cloud_skills_via_core, "openclaw"))

    def test_a_package_is_fetched_and_installed(self) -> None:
        digest = hashlib.sha256(skill("one")).hexdigest()
        for url in ("weather.zip", "/packages/weather.zip", self.server.address + "/packages/weather.zip"):
            described: list[dict[str, object]] = [{}, {"sha256": digest}, {"sha256": f" {digest.upper()} "}]
            for more in described:
                result = self.install_from({"url": url, **more})
                self.assertEqual(result, {"targetDir": self.path(SKILLS, "weather"), "name": "weather"})
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "one"))

    def test_a_skill_without_a_name_is_called_as_its_key(self) -> None:
        self.server.serve("/packages/p.zip", make_package({"SKILL.md": b""}))
        self.assertEqual(self.install_from({"url": "p.zip"})["name"], "weather")

    def test_a_package_that_is_not_the_described_one_is_refused(self) -> None:
        self.install(skill("earlier"))
        digest = hashlib.sha256(skill("two")).hexdigest()
        wrong: list[object] = [digest, None, False, "", "no digest", 7, [], digest[:-1]]
        for sha256 in wrong:
            with self.subTest(sha256):
                self.assertIn(
                    "its SHA-256 differs", self.refusal(self.install_from, {"url": "weather.zip", "sha256": sha256})
                )
        self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "earlier"))

    def test_a_package_that_cannot_be_fetched_leaves_the_earlier_version(self) -> None:
        def breaks_off(exchange: Exchange) -> None:
            exchange.begin({"Content-Length": "1000"})
            exchange.wfile.write(skill("two")[:50])

        self.install(skill("earlier"))
        self.server.answers["/packages/half.zip"] = breaks_off
        cases = {
            "missing.zip": "HTTP 404",
            "half.zip": "broke off",
            "http://127.0.0.1:9/x?token=secret": "Connection refused",
            "ftp://host/x": "must begin with http",
        }
        for url, message in cases.items():
            with self.subTest(url):
                told = self.refusal(self.install_from, {"url": url})
                self.assertIn(message, told)
                self.assertNotIn("secret", told)
                self.assertEqual((self.installed(), self.version()), (["weather/SKILL.md"], "earlier"))

    def test_a_package_that_does_not_arrive_is_given_up(self) -> None:
        self.assertEqual(installs.PACKAGE_SECONDS, 60.0)
        self.replace(installs, "PACKAGE_SECONDS", 0.2)
        self.server.answers["/packages/slow.zip"] = Exchange.wait_for_the_end
        self.assertIn("did not arrive within 0.2 seconds", self.refusal(self.install_from, {"url": "slow.zip"}))

    def test_an_entry_without_an_address_is_told(self) -> None:
        for url in (None, "", 7):
            self.assertIn("package address", self.refusal(self.install_from, {"url": url}))

    def test_an_address_that_is_none_is_told_with_the_key_of_its_entry(self) -> None:
        for url in ("http://[::1", "http://[x]/p.zip"):
            message = self.refusal(self.install_from, {"url": url})
            self.assertIn("weather", message)
            self.assertIn("not a valid address", message)

    def test_a_catalogue_from_the_net_may_not_name_a_file_of_this_machine(self) -> None:
        package = self.make_file("weather.zip", skill("one"))
        for url in (f"file://{package}", f"FILE://{package}"):
            self.assertIn("names a file of this machine", self.refusal(self.install_from, {"url": url}))

    def test_a_catalogue_over_https_names_a_package_over_http_with_its_checksum_only(self) -> None:
        package = skill("one")
        digest = hashlib.sha256(package).hexdigest()
        cases: list[tuple[str, dict[str, str], bool]] = [
            ("http://host/weather.zip", {}, False),
            ("HTTP://host/weather.zip", {}, False),
            ("//host/weather.zip", {}, True),
            ("http://host/weather.zip", {"sha256": digest}, True),
        ]
        for url, more, is_fetched in cases:
            entries = [{"key": "weather", "url": url, **more}]
            served = mock.patch.object(catalogue, "current_entries", return_value=("https://host/c.json", entries))
            with self.subTest(url, **more), served, mock.patch.object(web, "fetch", return_value=package) as fetch:
                if is_fetched:
                    app.install_cloud_skill_from_core("openclaw", "weather", "main")
                else:
                    self.assertIn(
                        "over http, which anybody on the way can change",
                        self.refusal(app.install_cloud_skill_from_core, "openclaw", "weather", "main"),
                    )
                self.assertEqual(fetch.called, is_fetched)

    def test_a_catalogue_in_a_file_may_name_packages_beside_it(self) -> None:
        self.make_file("catalogue/weather.zip", skill("one"))
        path = self.make_file("catalogue/catalogue.json", '[{"key": "weather", "url": "weather.zip"}]')
        app.save_nelo_settings({"cloud_skills": {"catalog_url": f"file://{path}"}})
        app.install_cloud_skill_from_core("openclaw", "weather", "main")
        self.assertEqual(self.version(), "one")

    def test_the_sample_in_the_documentation_can_be_installed(self) -> None:
        sample = os.path.join(os.path.dirname(os.path.dirname(app.__file__)), "docs", "catalogue")
        for name in ("catalogue.json", "greeting.zip"):
            with open(os.path.join(sample, name), "rb") as file:
                self.server.serve(f"/{name}", file.read())
        app.save_nelo_settings({"cloud_skills": {"catalog_url": self.server.address + "/catalogue.json"}})
        self.assertEqual(app.refresh_cloud_skills_via_core(), {"count": 1})
        (row,) = app.list_cloud_skills_via_core("openclaw")
        target = app.install_cloud_skill_from_core("openclaw", row["key"], "main")["targetDir"]
        with open(os.path.join(sample, "greeting", "SKILL.md"), encoding="utf-8") as file:
            self.assertEqual(self.read(os.path.join(str(target), "SKILL.md")), file.read())

    def test_an_unknown_skill_agent_or_ecosystem_is_told_before_anything_is_fetched(self) -> None:
        self.serve_catalogue({"key": "weather", "url": "weather.zip"})
        before = len(self.server.requests)
        install = app.install_cloud_skill_from_core
        self.assertIn('no skill "other"', self.refusal(install, "openclaw", "other", "main"))
        self.assertIn("no agent openclaw/other", self.refusal(install, "openclaw", "weather", "other"))
        self.assertIn("no folder of its own", self.refusal(install, "codex", "weather", "main"))
        self.assertIn("Choose openclaw", self.refusal(install, "other", "weather", "main"))
        self.assertIn("skill key", self.refusal(install, "openclaw", "", "main"))
        self.assertEqual(len(self.server.requests), before)
