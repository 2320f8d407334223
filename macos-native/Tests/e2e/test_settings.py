"""The settings: what is saved in the window is there after a restart, and in the console."""
from __future__ import annotations

import json
import re
import stat
import tempfile
import unittest
from pathlib import Path

from nelo import Nelo, open_chat
from provider import Provider
from screen import choose_in_popup, replace_text, type_line, until


class SettingsTest(unittest.TestCase):
    def test_a_saved_key_survives_a_restart_and_nobody_else_can_read_it(self) -> None:
        with tempfile.TemporaryDirectory(prefix="nelo-home-") as folder:
            home = Path(folder)
            with Nelo(home=home) as nelo:
                window = nelo.open("Settings...")
                window.find("label", "Settings loaded.")
                replace_text(window.find("password text", re.compile("Cloud API Key")), "sk-secret-1")
                window.find("push button", "Save").press()
                window.find("label", re.compile("Settings saved: "))
                self.assertEqual(nelo.quit(), 0)

            document = home / ".nelo/settings.json"
            self.assertEqual(json.loads(document.read_text())["chat"]["cloud_api_key"], "sk-secret-1")
            holders = [file for file in home.rglob("*") if file.is_file() and b"sk-secret-1" in file.read_bytes()]
            self.assertEqual(len(holders), 2)  # the document and the user defaults
            for file in holders:
                self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600, file)

            with Nelo(home=home) as nelo:
                window = nelo.open("Settings...")
                window.find("label", "Settings loaded.")
                document.unlink()
                window.find("push button", "Save").press()  # the form still holds what it loaded
                until(document.exists, "the saved document")
                self.assertEqual(json.loads(document.read_text())["chat"]["cloud_api_key"], "sk-secret-1")
                key = window.find("password text", re.compile("Cloud API Key"))
                self.assertNotIn("secret", key.text + key.name + key.description)

    def test_the_chat_sends_the_key_that_the_settings_saved(self) -> None:
        provider = Provider()
        self.addCleanup(provider.close)
        with Nelo(environment={"NELO_DEEPSEEK_BASE_URL": provider.url}) as nelo:
            window = nelo.open("Settings...")
            window.find("label", "Settings loaded.")
            choose_in_popup(window.find("combo box", "Provider"), "deepseek")
            replace_text(window.find("password text", re.compile("Cloud API Key")), "sk-deep-1")
            window.find("push button", "Save").press()
            window.find("label", re.compile("Settings saved: "))

            chat = open_chat(nelo)
            choose_in_popup(chat.find("combo box", "Model"), "deepseek-chat")
            chat.find("text", "Send a message").reach()
            type_line("which key is this")
            chat.find("label", "request succeeded")
            self.assertEqual(provider.keys, ["Bearer sk-deep-1"])
            self.assertEqual(provider.requests[0]["model"], "deepseek-chat")
