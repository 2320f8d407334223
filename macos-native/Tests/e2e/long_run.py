"""The program through a long day: windows opened and closed, chats, refreshes and killed helpers, scripted from outside.

    long_run.py MINUTES

At the rate of 2,240 chats and 5,040 refreshes an hour. Ends with 1 when the program has grown or has left anything behind.
"""
from __future__ import annotations

import contextlib
import itertools
import json
import sys
import tempfile
import time
from pathlib import Path
from typing import Iterator, NamedTuple

from busy_user import MESSAGES, BusyUser, furnish
from resources import Resources, growth, resources, leftovers
from nelo import Nelo, open_chat, store_api_key
from provider import Provider
from screen import press, until

ROUNDS_PER_HOUR = 560
SECONDS_BETWEEN_KILLS = 60
GROWTH = 0.02  # the bar
KEPT_MESSAGES = 200
MANY_MESSAGES = 5000
TIMEOUT_SECONDS = 60
ROUNDS_BETWEEN_LINES = 10


class Moment(NamedTuple):
    """What the program holds after a round, with every window closed."""

    bubbles: int
    held: Resources
    files: set[str]


def keep_history(home: Path, count: int, created: str = "2026-11-20T08:30:00Z", names_speakers: bool = True) -> None:
    """Writes a history such as rounds with `count` messages leave it."""
    messages = [{"role": role if names_speakers else "", "content": content, "createdAt": created}
                for role, content in itertools.islice(itertools.cycle(MESSAGES), count)]
    (home / ".nelo").mkdir(exist_ok=True)
    (home / ".nelo/menubar_chat_history.json").write_text(json.dumps(messages))


def cost_of_bubble() -> float:
    """How much more memory a fresh program needs for each bubble that it shows.

    It keeps a record for each, as the one that ran for long does not: their texts are the bubbles' own, the rest is empty.
    """
    def memory(messages: int) -> int:
        with contextlib.closing(Provider()) as provider, Nelo() as nelo:
            keep_history(nelo.home, messages, created="", names_speakers=False)
            BusyUser(nelo, provider).look_into_chat()
            return resources(nelo.process.pid).private_dirty

    return (memory(KEPT_MESSAGES + MANY_MESSAGES) - memory(KEPT_MESSAGES)) / MANY_MESSAGES


def files_below(folder: Path) -> set[str]:
    return {str(file.relative_to(folder)) for file in folder.rglob("*")}


def spend(user: BusyUser, nelo: Nelo, minutes: float) -> Iterator[Moment]:
    """Rounds at an even pace for so long; a slow machine takes longer for them."""
    start = time.monotonic()
    for number in range(round(minutes * ROUNDS_PER_HOUR / 60)):
        time.sleep(max(0.0, start + number * 3600 / ROUNDS_PER_HOUR - time.monotonic()))  # the pace; nothing is awaited
        user.do_a_round()
        if (time.monotonic() - start) // SECONDS_BETWEEN_KILLS > user.kills:
            user.kill_helper()
        bubbles = KEPT_MESSAGES + (number + 1) * len(MESSAGES)
        yield Moment(bubbles, resources(nelo.process.pid), files_below(nelo.home))


def tell(number: int, moment: Moment) -> None:
    held = moment.held
    print(f"round {number:3}: {held.private_dirty >> 10} KB private dirty, {held.proportional >> 10} KB PSS, "
          f"{sum(held.descriptors.values())} descriptors, {held.threads} threads, {len(held.children)} children, "
          f"{len(moment.files)} files, {moment.bubbles} bubbles", flush=True)


def memory_faults(moments: list[Moment]) -> list[str]:
    """The bubbles are the user's own, so what they take does not count."""
    bubble = cost_of_bubble()
    part = growth([moment.held.private_dirty - bubble * moment.bubbles for moment in moments])
    told = f"memory has grown by {part:.2%} beside {bubble:.0f} bytes a bubble"
    print(told)
    return [f"{told}, more than {GROWTH:.0%}"] if part > GROWTH else []


def leftovers_at_rest(nelo: Nelo, before: Moment) -> list[str]:
    """What is more than before, after everything that ends by itself had its time."""
    def seen() -> list[str]:
        return leftovers(before.held, resources(nelo.process.pid)) + leftover_files(nelo.home, before)

    with contextlib.suppress(AssertionError):
        until(lambda: not seen(), "nothing left over", TIMEOUT_SECONDS)
    return seen()


def leftover_files(home: Path, before: Moment) -> list[str]:
    return [f"a new file: {file}" for file in sorted(files_below(home) - before.files)]


def faults_after_quitting(nelo: Nelo, before: Moment) -> list[str]:
    status = nelo.quit()
    return ([f"exit status {status}"] if status else []) + leftover_files(nelo.home, before) \
        + [f"process {process_id} goes on" for process_id in nelo.processes()] \
        + [f"left over: {file}" for file in files_below(nelo.home / "tmp")] \
        + [f"left over: {file}" for file in files_below(nelo.home / ".runtime") - {"nelo.lock"}]


def run(minutes: float) -> list[str]:
    """Returns what is at fault."""
    with (contextlib.closing(Provider()) as provider, tempfile.TemporaryDirectory(prefix="nelo-home-") as folder):
        home = Path(folder)
        furnish(home)
        keep_history(home, KEPT_MESSAGES)
        (home / "tmp").mkdir()
        environment = {"NELO_OPENAI_BASE_URL": provider.url, "TMPDIR": str(home / "tmp")}
        with Nelo(home=home, environment=environment) as nelo:
            store_api_key(nelo, open_chat(nelo), "OPENAI", "sk-long-run")
            press("alt+F4")
            user = BusyUser(nelo, provider)
            moments = []
            for moment in spend(user, nelo, minutes):
                moments.append(moment)
                if len(moments) % ROUNDS_BETWEEN_LINES == 1:
                    tell(len(moments), moment)
            print(f"{user.windows} windows, {user.chats} chats, {user.refreshes} refreshes, {user.kills} helpers killed")
            settled = moments[len(moments) // 3:]
            return [*leftovers_at_rest(nelo, settled[0]), *faults_after_quitting(nelo, settled[0]), *memory_faults(settled)]


if __name__ == "__main__":
    faults = run(float(sys.argv[1]))
    print("\n".join(faults) or "Nothing has grown, and nothing is left over.")
    sys.exit(bool(faults))
