"""A backend module that does as it is told, and writes down what it was asked.

Any function name exists once "script.json", in the working directory, maps it to a list of steps; a call runs all of them.
Each call is appended to "calls.jsonl" first, so that a test sees also those which never returned.
"""
from __future__ import annotations

import builtins
import json
import os
import signal
import sys
import time
from typing import Any, Callable


def _script() -> dict[str, Any]:
    with open("script.json", encoding="utf-8") as file:
        script: dict[str, Any] = json.load(file)
    return script


def _write(stream: Any, text: str, encoding: str = "utf-8") -> None:
    stream.write(text.encode(encoding))
    stream.flush()


def _create_and_exit(path: str) -> None:
    with open(path, "w", encoding="utf-8"):
        os._exit(0)


def _run(step: dict[str, Any], args: tuple[Any, ...]) -> Any:
    (kind, value), = step.items()
    if kind == "answer":
        return value
    if kind == "answer-arguments":
        return list(args)
    if kind == "answer-process-id":
        return os.getpid()
    if kind == "answer-json-text":  # for what a JSON script cannot hold: NaN, 1.0 apart from 1
        return json.loads(value)
    if kind == "answer-length":
        return "x" * value
    if kind == "raise":
        raise getattr(builtins, value[0])(value[1])
    if kind == "exit":
        os._exit(value)
    if kind == "sleep":
        time.sleep(value)
    elif kind == "write-raw":  # onto the protocol's stream, as a module that prints would
        _write(sys.stdout.buffer, value)
    elif kind == "print":  # and leave it to the stream when it goes out
        print(value, end="")
    elif kind == "write-latin-1":
        _write(sys.stdout.buffer, value, "latin-1")
    elif kind == "write-errors":
        _write(sys.stderr.buffer, "e" * value)
    elif kind == "close-input":
        os.close(0)
    elif kind == "close-output":
        os.close(1)
    elif kind == "create-file-when-terminated":
        signal.signal(signal.SIGTERM, lambda *_: _create_and_exit(value))
    elif kind == "wait-for-file":
        while not os.path.exists(value):
            time.sleep(0.005)
    elif kind == "create-file":
        with open(value, "w", encoding="utf-8"):
            pass
    else:
        raise AssertionError(f"no such step: {kind}")
    return None


def __getattr__(name: str) -> Callable[..., Any]:
    script = _script()
    if name not in script:
        raise AttributeError(name)

    def call(*args: Any) -> Any:
        with open("calls.jsonl", "a", encoding="utf-8") as file:
            file.write(json.dumps({"function": name, "args": args}, ensure_ascii=False) + "\n")
        result: Any = None
        for step in script[name]:
            result = _run(step, args)
        return result

    return call
