"""What the backend keeps, when it is killed at random moments while it writes. NELO_SEED brings the same ones again."""

from __future__ import annotations

import itertools
import os
import random
import signal
import time
import traceback

from app.tests.support import HomeTestCase
from writers import WRITERS, Writer

KILLS = 200
MAX_LIFE_SECONDS = 0.005
"""How long a writer lives at most after its first write, which is long enough for several more."""


class KillTest(HomeTestCase):
    def kill_during(self, writer: Writer, life: float) -> None:
        """Have a copy of this process write 1, 2, 3 ..., and kill it so many seconds after the first; no write may fail."""
        ready, tell = os.pipe()
        child = os.fork()
        if child == 0:
            self._write_for_ever(writer, tell)
        os.close(tell)
        is_ready = os.read(ready, 1) == b"x"
        os.close(ready)
        time.sleep(life)
        os.kill(child, signal.SIGKILL)
        _, status = os.waitpid(child, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), -signal.SIGKILL, "a write failed")
        self.assertTrue(is_ready)

    def _write_for_ever(self, writer: Writer, tell: int) -> None:
        try:
            for number in itertools.count(1):
                writer.prepare(self, number)()
                if number == 1:
                    os.write(tell, b"x")
        except BaseException:
            traceback.print_exc()
        finally:
            os._exit(1)

    def test_what_is_stored_is_whole_and_what_is_left_goes_with_the_next_write(self) -> None:
        seed = int(os.environ.get("NELO_SEED") or random.randrange(1 << 32))
        chance = random.Random(seed)
        for name, writer in WRITERS.items():
            for kill in range(KILLS):
                writer.begin(self)
                self.kill_during(writer, chance.uniform(0, MAX_LIFE_SECONDS))
                with self.subTest(name, kill=kill, NELO_SEED=seed):
                    number = writer.stored(self)
                    self.assertGreaterEqual(number, 1)
                    writer.prepare(self, number + 1)()
                    self.assertEqual((writer.stored(self), writer.leftovers(self)), (number + 1, []))
