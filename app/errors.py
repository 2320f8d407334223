"""How a failure is told."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager


class BackendError(Exception):
    """A failure that a user can act on. Its message is one or more sentences, shown as they stand."""


class PartlyDone(BackendError):
    """The operation succeeded, but not all of it. The function that catches it tells the user by a `BackendError`."""


def reason(error: OSError) -> str:
    """The system's own words for `error`, without the path, which the sentence around them names."""
    return error.strerror or str(error)


@contextmanager
def explained(attempt: str) -> Iterator[None]:
    """Turn an `OSError` of the block into a `BackendError` that says what was attempted and why it failed.

    `attempt` is the beginning of the sentence, for example "Cannot read ~/.nelo/agents.json".
    """
    try:
        yield
    except OSError as error:
        raise BackendError(f"{attempt}: {reason(error)}.") from error
