"""The Python packages beyond the standard library, each imported when it is first needed."""

from __future__ import annotations

import importlib
import sys
from types import ModuleType

from .errors import BackendError

_PACKAGES = {"json5": "json5", "yaml": "PyYAML", "tomlkit": "tomlkit"}
"""The name of each module's package on PyPI. Debian calls it python3- and the name of the module."""


def library(module: str, purpose: str) -> ModuleType:
    """The module "json5", "yaml" or "tomlkit".

    Raises `BackendError` when this interpreter does not have it. `purpose` begins the sentence, for example "Reading
    ~/.codex/config.toml".
    """
    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise BackendError(
            f"{purpose} needs the Python package {_PACKAGES[module]} (python3-{module} on Debian), "
            f"which {sys.executable} does not have."
        ) from error
