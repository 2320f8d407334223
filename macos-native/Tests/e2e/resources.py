"""What a running process holds of the machine, as the kernel tells it."""
from __future__ import annotations

import contextlib
import re
from collections import Counter
from pathlib import Path
from statistics import median
from typing import NamedTuple, Sequence


class Resources(NamedTuple):
    private_dirty: int  # bytes of memory that were written to and are nobody else's
    proportional: int  # bytes of memory, with a share of what is others' too
    descriptors: Counter[str]  # by what they lead to
    threads: int
    children: list[int]  # process ids, also of those that have ended and were not reaped


def resources(process_id: int) -> Resources:
    folder = Path("/proc", str(process_id))
    kilobytes = dict(re.findall(r"^(\w+): +(\d+) kB", (folder / "smaps_rollup").read_text(), re.MULTILINE))
    tasks = list((folder / "task").iterdir())
    return Resources(
        private_dirty=1024 * int(kilobytes["Private_Dirty"]),
        proportional=1024 * int(kilobytes["Pss"]),
        descriptors=descriptors(folder / "fd"),
        threads=len(tasks),
        children=[int(child) for task in tasks for child in (task / "children").read_text().split()])


def descriptors(folder: Path) -> Counter[str]:
    """Sockets and pipes without their numbers, which are new each time."""
    return Counter(re.sub(r":\[\d+\]", "", str(link.readlink())) for link in folder.iterdir())


def processes_with(assignment: str) -> list[int]:
    """The ids of all processes with a variable, "name=value", in their environment. Those that they start inherit it."""
    found = []
    for folder in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):  # it ended, or belongs to another user
            if assignment.encode() in (folder / "environ").read_bytes().split(b"\0"):
                found.append(int(folder.name))
    return found


def bytes_read(process_id: int) -> int:
    """How many bytes a process has read so far, from files, pipes and sockets."""
    return int(re.findall(r"^rchar: (\d+)", Path(f"/proc/{process_id}/io").read_text(), re.MULTILINE)[0])


def leftovers(before: Resources, after: Resources) -> list[str]:
    """A line for every kind of thing that a process has more of than before, memory apart."""
    more = after.descriptors - before.descriptors
    lines = [f"{count} more descriptors of {target}" for target, count in sorted(more.items())]
    if after.threads > before.threads:
        lines.append(f"{after.threads - before.threads} more threads")
    if len(after.children) > len(before.children):
        lines.append(f"{len(after.children) - len(before.children)} more child processes")
    return lines


def growth(figures: Sequence[float]) -> float:
    """By which part the median of the last third is above that of the first third."""
    third = len(figures) // 3
    first, last = median(figures[:third]), median(figures[-third:])
    return (last - first) / first
