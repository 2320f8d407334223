"""Which of all possible mutations are tried: as many from each stretch of the sources, by a seed."""
from __future__ import annotations

import random
from collections import defaultdict
from collections.abc import Mapping
from typing import NamedTuple

from mutations import Mutation


class Place(NamedTuple):
    """A mutation of a source, which is named by its path in the repository."""

    source: str
    mutation: Mutation


def choose(mutations: Mapping[str, list[Mutation]], texts: Mapping[str, str], count: int, seed: str) -> list[list[Place]]:
    """Divides the lines that can be mutated into `count` stretches of the same length and returns, for each, its mutations in the
    order in which they are to be tried: the first that compiles stands for the stretch. Each kind comes first as often as others,
    however many mutations it has."""
    lines: dict[tuple[str, int], list[Place]] = defaultdict(list)
    for source in sorted(mutations):
        for mutation in mutations[source]:
            lines[source, mutation.line(texts[source])].append(Place(source, mutation))
    ordered = [lines[line] for line in sorted(lines)]
    chosen = []
    for index in range(count):
        stretch = ordered[index * len(ordered) // count:(index + 1) * len(ordered) // count]
        chosen.append(_shuffled_by_kind([place for line in stretch for place in line], random.Random(f"{seed}/{index}")))
    return chosen


def _shuffled_by_kind(places: list[Place], chance: random.Random) -> list[Place]:
    """One of each kind, then another of each kind, and so on."""
    kinds: dict[str, list[Place]] = defaultdict(list)
    for place in places:
        kinds[place.mutation.kind].append(place)
    names = sorted(kinds)
    chance.shuffle(names)
    for name in names:
        chance.shuffle(kinds[name])
    return [kinds[name].pop() for _ in range(len(places)) for name in names if kinds[name]]
