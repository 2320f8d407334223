"""Skill packages made on the spot, and a catalogue of them served on this machine."""
from __future__ import annotations

import contextlib
import hashlib
import io
import json
import zipfile
from typing import Iterator

from loopback import LoopbackHandler, LoopbackServer

WEATHER = """\
---
name: weather
description: Tells the weather of a city, 天气预报.
metadata:
  {
    "openclaw": {
      "requires": {"env": ["WEATHER_KEY", "CITY"]}, "primaryEnv": "WEATHER_KEY", "primaryEnvLabel": "Weather key",
    },
  }
---
Ask the service, then tell the weather.
"""


def package(document: str) -> bytes:
    """The ZIP file of a skill that consists of its document."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("SKILL.md", document)
    return buffer.getvalue()


@contextlib.contextmanager
def served_catalogue(skills: dict[str, bytes]) -> Iterator[str]:
    """Serves a catalogue of these packages by key, and gives its address."""
    catalogue = [{"key": key, "name": key.title(), "version": "1.2", "description": "来自云端, from the cloud",
                  "url": f"{key}.zip", "sha256": hashlib.sha256(content).hexdigest()} for key, content in skills.items()]
    contents = {"/catalogue.json": json.dumps({"skills": catalogue}).encode(),
                **{f"/{key}.zip": content for key, content in skills.items()}}

    class Handler(LoopbackHandler):
        def do_GET(self) -> None:
            content = contents.get(self.path)
            self.answer(404 if content is None else 200, content or b"")

    with contextlib.closing(LoopbackServer(Handler)) as server:
        yield f"{server.address}/catalogue.json"
