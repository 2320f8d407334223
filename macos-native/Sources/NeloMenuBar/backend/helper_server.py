import json
import os
import sys

sys.stdin.reconfigure(encoding="utf-8")  # type: ignore[attr-defined]  # the interpreter's own streams have it
sys.stdout.reconfigure(encoding="utf-8")  # type: ignore[attr-defined]

root = os.getcwd()
sys.path.insert(0, root)
sys.path.insert(0, os.path.join(root, "legacy_ui"))

import app as nelo_app


def reply(payload: object) -> None:
    text = json.dumps(payload, ensure_ascii=False, separators=(",", ":"))  # compact: the result is passed on as it stands
    line = memoryview((text + "\n").encode())
    while line:  # one write may take only a part of the line
        line = line[os.write(1, line):]


for line in sys.stdin:
    line = line.strip()
    if not line:
        continue
    try:
        req = json.loads(line)
        fn = req.get("function")
        args = req.get("args", [])
        if not isinstance(args, list):
            args = []
        if not fn or not hasattr(nelo_app, fn):
            reply({"ok": False, "error": f"unknown function: {fn}"})
            continue
        reply({"ok": True, "result": getattr(nelo_app, fn)(*args)})
    except BaseException as e:
        reply({"ok": False, "error": f"{type(e).__name__}: {e}"})
