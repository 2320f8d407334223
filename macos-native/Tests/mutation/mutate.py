"""Makes small wrong changes of the sources, one at a time, and tells which of them the tests notice. See scripts/mutate."""
from __future__ import annotations

import argparse
import hashlib
import json
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

from build_graph import BuildGraph
from choice import Place, choose
from mutations import cpp_mutations, python_mutations
from survivors import Survivor, read_survivors
from trials import CannotBeBuilt, Trials

REPOSITORY = Path(__file__).resolve().parents[3]
SURVIVORS = Path(__file__).with_name("survivors.txt")
PERCENT_WANTED = 92


class Outcome(NamedTuple):
    place: Place
    noticed_by: str | None
    seconds: float


class Memory:
    """What earlier runs found out, by the digest of the mutated source, in a file of the build folder."""

    def __init__(self, file: Path, is_trusted: bool) -> None:
        self._file = file
        self._known: dict[str, str] = json.loads(file.read_text()) if is_trusted and file.exists() else {}

    @staticmethod
    def digest(source: str, mutated_text: str) -> str:
        return hashlib.sha256(f"{source}\n{mutated_text}".encode()).hexdigest()

    def recall(self, digest: str) -> str | None:
        return self._known.get(digest)

    def keep(self, digest: str, finding: str) -> None:
        self._known[digest] = finding
        self._file.write_text(json.dumps(self._known, indent=0))


CANNOT_BE_BUILT = "cannot be built"


class Mutator:
    """Tries what was chosen, and says how each trial ends."""

    def __init__(self, build: Path, seed: str, count: int, resumes: bool) -> None:
        graph = BuildGraph(build)
        compiled = [file for file in (REPOSITORY / "macos-native" / "Sources").rglob("*.cpp") if graph.objects(file)]
        files = compiled + list((REPOSITORY / "app").glob("*.py"))
        self._texts = {str(file.relative_to(REPOSITORY)): file.read_text() for file in files}
        cpp = {name: cpp_mutations(text) for name, text in self._texts.items() if name.endswith(".cpp")}
        python = {name: python_mutations(text) for name, text in self._texts.items() if name.endswith(".py")}
        of_python = count // 5
        self.chosen = choose(cpp, self._texts, count - of_python, seed) + choose(python, self._texts, of_python, seed)
        self._trials = Trials(REPOSITORY, graph)
        self._memory = Memory(build / "mutation.json", resumes)
        self._reasons = read_survivors(SURVIVORS)

    def try_number(self, number: int) -> Outcome:
        """Tries the first mutation of its stretch that can be built."""
        for place in self.chosen[number - 1]:
            start = time.monotonic()
            text = self._texts[place.source]
            digest = Memory.digest(place.source, place.mutation.applied_to(text))
            known = self._memory.recall(digest)
            if known == CANNOT_BE_BUILT:
                continue
            try:
                outcome = Outcome(place, known or self._trials.noticed_by(place, text), time.monotonic() - start)
            except CannotBeBuilt:
                self._memory.keep(digest, CANNOT_BE_BUILT)
                continue
            if outcome.noticed_by:
                self._memory.keep(digest, outcome.noticed_by)
            print(self._description(number, outcome), flush=True)
            return outcome
        raise RuntimeError(f"Nothing of stretch {number} can be built.")

    def reason(self, outcome: Outcome) -> str | None:
        """Why no test can notice it, if that is known."""
        before, after = outcome.place.mutation.lines_before_and_after(self._texts[outcome.place.source])
        return self._reasons.get(Survivor(outcome.place.source, tuple(before), tuple(after)))

    def _description(self, number: int, outcome: Outcome) -> str:
        source, mutation = outcome.place
        text = self._texts[source]
        line = mutation.line(text)
        if outcome.noticed_by:
            return f"{number:4} noticed by {outcome.noticed_by} ({outcome.seconds:.1f} s): {source}:{line}, {mutation.kind}"
        before, after = mutation.lines_before_and_after(text)
        reason = self.reason(outcome)
        return "\n".join([f"{number:4} SURVIVED ({outcome.seconds:.1f} s): {source}:{line}, {mutation.kind}",
                          *(f"     - {each}" for each in before), *(f"     + {each}" for each in after),
                          *([f"     {reason}"] if reason else [])])


def numbers(text: str, count: int) -> list[int]:
    """The numbers in a text like 1-20,33."""
    found: list[int] = []
    for part in text.split(","):
        first, _, last = part.partition("-")
        found.extend(range(int(first), int(last or first) + 1))
    return [number for number in found if 1 <= number <= count]


def main() -> int:
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__)
    parser.add_argument("--build", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--count", type=int, default=300, help="how many changes, a fifth of them in app/ (300)")
    parser.add_argument("--seed", default="Nelo", help="what decides which changes (Nelo)")
    parser.add_argument("--only", metavar="1-20,33", help="only those with these numbers")
    parser.add_argument("--jobs", type=int, default=1, help="how many at a time (1)")
    parser.add_argument("--resume", action="store_true", help="go on with an earlier run: what it noticed is not tried again, nor are the tests without a change")
    options = parser.parse_args()
    if not options.resume:  # what fails anyway notices nothing
        subprocess.run(["ctest", "--test-dir", options.build, "--output-on-failure"], check=True)

    mutator = Mutator(options.build, options.seed, options.count, options.resume)
    wanted = numbers(options.only or f"1-{options.count}", options.count)
    with ThreadPoolExecutor(options.jobs) as pool:
        outcomes = list(pool.map(mutator.try_number, wanted))

    survivors = [outcome for outcome in outcomes if not outcome.noticed_by]
    explained = sum(mutator.reason(outcome) is not None for outcome in survivors)
    percent = 100 * (len(outcomes) - len(survivors)) / len(outcomes)
    print(f"Noticed: {len(outcomes) - len(survivors)} of {len(outcomes)}, {percent:.1f} %. "
          f"Survived: {len(survivors)}, {explained} of them for a known reason.")
    return 0 if percent >= PERCENT_WANTED and explained == len(survivors) else 1


if __name__ == "__main__":
    sys.exit(main())
