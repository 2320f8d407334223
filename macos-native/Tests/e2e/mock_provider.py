"""A mock of the chat-completions interface that is not ours: the npm package of the folder mock-provider.

What it answers, and how it fails, is in answers.json there. NELO_MOCK_PROVIDER names the folder it is installed in.
"""
from __future__ import annotations

import os
import re
import subprocess
from pathlib import Path

ANSWERS = Path(__file__).parent / "mock-provider/answers.json"
PACKAGE = "node_modules/@copilotkit/aimock/dist/cli.cjs"  # runs on Node 18 too; the package's other modules do not


class MockProvider:
    """Serves from its making until it is closed, whoever has `key`."""

    def __init__(self, key: str) -> None:
        self._process = subprocess.Popen(
            ["node", Path(os.environ["NELO_MOCK_PROVIDER"], PACKAGE), "--port", "0", "--fixtures", ANSWERS],
            env={**os.environ, "AIMOCK_API_KEYS": key}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.url = f"{self._address()}/v1/chat/completions"

    def _address(self) -> str:
        said = []
        for line in self._process.stdout or ():
            said.append(line)
            if found := re.search(r"listening on (http://\S+)", line):
                return found[1]
        raise AssertionError("the mock provider did not start: " + "".join(said))

    def close(self) -> None:
        self._process.kill()
        self._process.communicate()
