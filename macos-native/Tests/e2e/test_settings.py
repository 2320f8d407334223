"""The settings: what is saved in the window is there after a restart, and in the console."""
from __future__ import annotations

import json
import re
import stat
import tempfile
import unittest
from pathlib import Path

from nelo import Nelo, Node, press, type_text, until


class SettingsTest(unittest.TestCase):
    def test_a_saved_key_survives_a_restart_and_nobody_else_can_read_it(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as folder:
            home = Path(folder)
            with Nelo(home=home) as nelo:
                nelo.choose("Settings...")
                window = nelo.window("Nelo Settings")
                window.find("label", "Settings loaded.")
                self.type_into(window, "Cloud API Key", "sk-secret-1")
                window.find("push button", "Save").click()
                window.find("label", re.compile("Settings saved: "))
                self.assertEqual(nelo.quit(), 0)

            document = home / ".nelo/settings.json"
            self.assertEqual(json.loads(document.read_text())["chat"]["cloud_api_key"], "sk-secret-1")
            holders = [file for file in home.rglob("*") if file.is_file() and b"sk-secret-1" in file.read_bytes()]
            self.assertEqual(len(holders), 2)  # the document and the user defaults
            for file in holders:
                self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600, file)

            with Nelo(home=home) as nelo:
                nelo.choose("Settings...")
                window = nelo.window("Nelo Settings")
                window.find("label", "Settings loaded.")
                document.unlink()
                window.find("push button", "Save").click()  # the form still holds what it loaded
                until(document.exists, "the saved document")
                self.assertEqual(json.loads(document.read_text())["chat"]["cloud_api_key"], "sk-secret-1")
                key = window.find("password text", re.compile("Cloud API Key"))
                self.assertNotIn("secret", key.text + key.name + key.description)

    def type_into(self, window: Node, name: str, text: str) -> None:
        window.find("password text", re.compile(name)).click()
        press("ctrl+a")
        type_text(text)


if __name__ == "__main__":
    unittest.main()
