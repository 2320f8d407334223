"""The backend's writers of files, as functions of a number that what they write contains."""

from __future__ import annotations

import json
import os
import re
import shutil
from collections.abc import Callable
from typing import Any, NamedTuple

import app
from app.tests.support import HomeTestCase
from app.tests.test_skill_packages import make_package

SKILL = ".openclaw/workspace/skills/weather"


class Writer(NamedTuple):
    files: str
    """The names of all files in the home folder after a write, as a regular expression."""
    prepare: Callable[[HomeTestCase, int], Callable[[], object]]
    """Answers what writes a number in place of the one before. 0 is written first, in an empty home folder."""
    stored: Callable[[HomeTestCase], int]
    """The number that the backend finds. What it finds must be whole."""

    def begin(self, test: HomeTestCase) -> None:
        """Empty the home folder, and write 0 there."""
        for entry in os.scandir(test.home):
            shutil.rmtree(entry) if entry.is_dir() else os.unlink(entry)
        self.prepare(test, 0)()

    def leftovers(self, test: HomeTestCase) -> list[str]:
        return [name for name in test.files_below() if not re.fullmatch(self.files, name)]


def settings(number: int) -> dict[str, Any]:
    return {"version": 1, "number": number, "text": str(number) * 3000}


def stored_settings(test: HomeTestCase) -> int:
    found: dict[str, Any] = app.load_nelo_settings()
    test.assertEqual(found, settings(found["number"]))
    return int(found["number"])


def source(number: int) -> dict[str, Any]:
    return {"type": "rss", "id": str(number), "name": "n", "url": f"https://example.org/{number}/" + "x" * 2000}


def stored_sources(test: HomeTestCase) -> int:
    rows = app.list_news_sources()
    test.assertEqual([row["url"] for row in rows], [source(number)["url"] for number in range(len(rows))])
    return len(rows) - 1


def configuration(number: int) -> str:
    values = {"VALUE": str(number), "MORE": str(number) * 500}
    return json.dumps({"filling": " " * 9000, "skills": {"entries": {"weather": {"env": values}}}})


def prepare_configuration(test: HomeTestCase, number: int) -> Callable[[], object]:
    entry = json.loads(configuration(number))["skills"]["entries"]["weather"]
    if number == 0:
        return lambda: test.make_file(".openclaw/openclaw.json", configuration(0))
    return lambda: app.save_skill_entry("openclaw", "weather", entry)


def stored_configuration(test: HomeTestCase) -> int:
    """The backups are whole too, and there is one for what was replaced."""
    names = [name for name in test.files_below(".openclaw") if ".bak." in name]
    found = [json.loads(test.read(f".openclaw/{name}")) for name in ["openclaw.json", *names]]
    numbers = [int(each["skills"]["entries"]["weather"]["env"]["VALUE"]) for each in found]
    test.assertEqual(found, [json.loads(configuration(number)) for number in numbers])
    test.assertGreaterEqual(len(names), numbers[0] > 0)
    return numbers[0]


def catalogue(number: int) -> list[dict[str, Any]]:
    return [{"key": "k", "name": str(number) * 3000, "version": number}]


def prepare_catalogue(test: HomeTestCase, number: int) -> Callable[[], object]:
    if number == 0:
        app.save_nelo_settings({"cloud_skills": {"catalog_url": f"file://{test.path('catalogue.json')}"}})
    os.replace(test.make_file("new.json", json.dumps(catalogue(number))), test.path("catalogue.json"))
    return app.refresh_cloud_skills_via_core


def stored_catalogue(test: HomeTestCase) -> int:
    found: list[dict[str, Any]] = app.list_cloud_skills_via_core("openclaw")
    test.assertEqual(found, catalogue(found[0]["version"]))
    return int(found[0]["version"])


def skill(number: int) -> dict[str, str]:
    return {"SKILL.md": f"---\nname: weather\ndescription: Tells.\n---\n{number}",
            **{f"folder-{folder}/file": str(number) * 1000 for folder in range(3)}}


def prepare_skill(test: HomeTestCase, number: int) -> Callable[[], object]:
    os.makedirs(test.path(".openclaw/workspace"), exist_ok=True)
    package = make_package({name: text.encode() for name, text in skill(number).items()})
    path = test.make_file("package.zip", package)
    return lambda: app.install_openclaw_skill_zip("main", path)


def stored_skill(test: HomeTestCase) -> int:
    test.assertEqual(len(app.list_skills("openclaw")), 1)
    found = {name: test.read(f"{SKILL}/{name}") for name in test.files_below(SKILL) if not name.startswith(".")}
    number = int(found["SKILL.md"].rpartition("\n")[2])
    test.assertEqual(found, skill(number))
    return number


SETTINGS = Writer(r"\.nelo/settings\.json", lambda _, number: lambda: app.save_nelo_settings(settings(number)), stored_settings)
WRITERS = {
    "settings": SETTINGS,
    "list": Writer(r"\.nelo/news_sources\.json", lambda _, number: lambda: app.add_news_source(source(number)), stored_sources),
    "configuration": Writer(r"\.openclaw/openclaw\.json(\.bak\..+)?", prepare_configuration, stored_configuration),
    "catalogue": Writer(r"\.nelo/(settings|cloud_skills_catalog(\.origin)?)\.json|catalogue\.json", prepare_catalogue, stored_catalogue),
    "skill": Writer(rf"{SKILL}/(\.nelo-origin\.json|SKILL\.md|folder-\d/file)|package\.zip", prepare_skill, stored_skill),
}
