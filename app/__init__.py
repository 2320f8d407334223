"""The local backend: what the console asks for, each operation a function of this module.

It runs in a child interpreter whose standard output is the line protocol, so nothing here prints. Importing it reads
and starts nothing, and modules that are slow to import are imported by the functions that need them.
"""

from __future__ import annotations

from .runtime import openclaw_runtime_status

__all__ = ["openclaw_runtime_status"]
