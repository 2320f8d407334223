"""What the backend keeps, when it is killed at random moments while it writes. NELO_SEED brings the same ones again."""

from __future__ import annotations

import os
import random
import signal
import time
import traceback
from collections.abc import Callable

import app
from app.tests.support import HomeTestCase
from app.tests.test_skill_packages import make_package

KILLS = 200
LONGEST_LIFE = 0.005
"""How many seconds a writer lives after its first round: several more."""

CONFIG = ".openclaw/openclaw.json"
SKILLS = ".openclaw/workspace/skills"


def skill(version: int) -> bytes:
    manual = f"---\nname: weather\ndescription: Tells.\n---\n{version}"
    more = {f"folder-{number}/file": b"%d" % version * 1000 for number in range(5)}
    return make_package({"SKILL.md": manual.encode(), **more})


class KillTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        seed = int(os.environ.get("NELO_SEED") or random.randrange(1 << 32))
        self._random = random.Random(seed)
        self._seed = seed

    def kill_during(self, work: Callable[[int], object]) -> None:
        """Have a copy of this process work in rounds, from 0, and kill it a moment after the first; no round may fail."""
        ready, tell = os.pipe()
        child = os.fork()
        if child == 0:
            self._work_for_ever(work, tell)
        os.close(tell)
        is_ready = os.read(ready, 1) == b"x"
        os.close(ready)
        time.sleep(self._random.uniform(0, LONGEST_LIFE))
        os.kill(child, signal.SIGKILL)
        _, status = os.waitpid(child, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), -signal.SIGKILL, "a round failed")
        self.assertTrue(is_ready)

    def _work_for_ever(self, work: Callable[[int], object], tell: int) -> None:
        try:
            work(0)
            os.write(tell, b"x")
            number = 0
            while True:
                number += 1
                work(number)
        except BaseException:
            traceback.print_exc()
        finally:
            os._exit(1)

    def under_every_kill(self, work: Callable[[int], object], check: Callable[[], None]) -> None:
        """Kill the work again and again, and look each time at what the next start finds."""
        for kill in range(KILLS):
            self.kill_during(work)
            with self.subTest(kill=kill, NELO_SEED=self._seed):
                check()

    def hidden_files(self) -> list[str]:
        return [name for name in self.files_below() if os.path.basename(name).startswith(".")]

    def test_settings_are_whole(self) -> None:
        def settings(number: int) -> dict[str, object]:
            return {"version": 1, "number": number, "text": str(number) * 3000}

        def check() -> None:
            kept = app.load_nelo_settings()
            self.assertEqual(kept, settings(kept["number"]))  # type: ignore[arg-type]
            app.save_nelo_settings(settings(0))
            self.assertEqual(self.files_below(), [".nelo/settings.json"])

        self.under_every_kill(lambda number: app.save_nelo_settings(settings(number)), check)

    def test_lists_are_whole(self) -> None:
        def add(number: int) -> object:
            identity = os.urandom(8).hex()
            return app.add_news_source({"type": "x", "id": identity, "name": "n", "url": f"https://e.org/{identity}"})

        def check() -> None:
            rows = app.list_news_sources()
            self.assertGreater(len(rows), 0)
            self.assertEqual([row["url"] for row in rows], [f"https://e.org/{row['id']}" for row in rows])
            os.unlink(self.path(".nelo/news_sources.json"))
            add(0)
            self.assertEqual(self.files_below(), [".nelo/news_sources.json"])

        self.under_every_kill(add, check)

    def test_configurations_and_their_backups_are_whole(self) -> None:
        def save(number: int) -> object:
            value = os.urandom(4).hex()  # what is as it was is not written
            return app.save_skill_entry("openclaw", "weather", {"env": {"VALUE": value, "MORE": value * 500}})

        def check() -> None:
            backups = [f".openclaw/{name}" for name in self.files_below(".openclaw") if ".bak." in name]
            for name in [CONFIG, *backups]:
                content = self.read(name)
                self.assertTrue(content.startswith("{") and content.endswith("}\n"), name)
            environment = app.get_skill_entry("openclaw", "weather")["env"]
            self.assertEqual(environment["MORE"], environment["VALUE"] * 500)  # type: ignore[index]
            for name in backups:
                os.unlink(self.path(name))
            save(0)
            self.assertEqual(self.hidden_files(), [])

        self.make_file(CONFIG, "{}\n")
        self.under_every_kill(save, check)

    def test_catalogues_are_whole(self) -> None:
        def entries(number: int) -> list[dict[str, object]]:
            return [{"key": "k", "name": str(number) * 3000, "version": number}]

        app.save_nelo_settings({"cloud_skills": {"catalog_url": f"file://{self.path('catalogue.json')}"}})

        def refresh(number: int) -> object:
            self.make_file("catalogue.json", app.documents.format_json(entries(number % 2)))
            return app.refresh_cloud_skills_via_core()

        def check() -> None:
            self.make_file("catalogue.json", app.documents.format_json(entries(0)))
            (row,) = app.list_cloud_skills_via_core("openclaw")
            self.assertIn([row], [entries(0), entries(1)])
            app.refresh_cloud_skills_via_core()
            self.assertEqual(self.hidden_files(), [])

        self.under_every_kill(refresh, check)

    def test_skills_are_whole(self) -> None:
        os.makedirs(self.path(".openclaw/workspace"))
        packages = [self.make_file(f"{version}.zip", skill(version)) for version in range(3)]

        def check() -> None:
            self.assertEqual(len(app.list_skills("openclaw")), 1)
            self.assertEqual(os.listdir(self.path(SKILLS)), ["weather"])
            version = self.read(f"{SKILLS}/weather/SKILL.md")[-1]
            for number in range(5):
                self.assertEqual(self.read(f"{SKILLS}/weather/folder-{number}/file"), version * 1000)
            self.assertEqual(len(self.files_below(SKILLS)), 7)

        self.under_every_kill(lambda number: app.install_openclaw_skill_zip("main", packages[number % 3]), check)
