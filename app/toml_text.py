"""Reading TOML: https://toml.io/en/v1.0.0"""

from __future__ import annotations

import importlib

from .libraries import library


def parse(text: str, purpose: str) -> dict[str, object]:
    """The value of a text. Raises `ValueError` when it is no TOML.

    Where the interpreter has no reader of its own, before Python 3.11, the library is used; when that is missing, a
    `BackendError` is raised whose sentence begins with `purpose`, for example "Reading ~/.codex/config.toml".
    """
    try:
        reader = importlib.import_module("tomllib")
    except ImportError:
        value: dict[str, object] = library("tomlkit", purpose).parse(text).unwrap()
        return value
    try:
        value = reader.loads(text)
    except RecursionError as error:
        raise ValueError("nested too deep") from error
    return value
