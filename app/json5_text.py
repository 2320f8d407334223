"""Reading JSON5: JSON with comments, trailing commas, unquoted keys and single quotes."""

from __future__ import annotations

from .documents import parse_json
from .libraries import library


def parse(text: str) -> object:
    """The value of a text: as JSON when it is that, for the library that reads JSON5 is slow.

    Raises `ValueError` when it is neither, and `BackendError` when it is no JSON and the library is missing.
    """
    try:
        return parse_json(text.encode(), float)
    except ValueError:
        json5 = library("json5", "Reading a configuration that has comments or unquoted keys")
    try:
        value: object = json5.loads(text)
    except RecursionError as error:
        raise ValueError("nested too deep") from error
    return value
