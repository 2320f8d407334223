"""Reading JSON5: JSON with comments, trailing commas, unquoted keys and single quotes."""

from __future__ import annotations

from .documents import INTEGERS, parse_json
from .libraries import library


def parse(text: str) -> object:
    """The value of a text. JSON is read by the parser of JSON, because the library for JSON5 is slow.

    Raises `ValueError` when it is neither, and `BackendError` when it is no JSON and the library is missing.
    """
    try:
        return parse_json(text.encode(), float)
    except ValueError:
        json5 = library("json5", "Reading a configuration that has comments or unquoted keys")
    try:
        value: object = json5.loads(text, parse_int=_number)
    except RecursionError as error:
        raise ValueError("nested too deep") from error
    return value


def _number(integer: str, base: int = 10) -> int | float:
    """An integer, as a fraction where it does not fit in 64 bits, as `parse` has it in JSON."""
    try:
        value = int(integer, base)
        return value if value in INTEGERS else float(value)
    except (ValueError, OverflowError):  # Python refuses to read integers of thousands of digits
        return float("-inf" if integer.startswith("-") else "inf")
