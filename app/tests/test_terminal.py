"""OpenClaw's set-up in a terminal."""

from __future__ import annotations

import os
import re
import subprocess
import sys

import app
from app import terminal
from app.errors import BackendError
from app.tests.support import HomeTestCase, is_gone, wait_for

LAUNCH_FUNCTIONS = {
    app.launch_openclaw_configure_interactive: ["configure"],
    app.launch_openclaw_install_or_configure_interactive: ["agents", "add"],
}
"""The arguments with which each function starts OpenClaw, once that is configured."""

TERMINALS = terminal.TERMINALS

BEFORE_THE_COMMAND = {
    "x-terminal-emulator": "-e",
    "gnome-terminal": "--",
    "ptyxis": "--",
    "kgx": "--",
    "konsole": "-e",
    "xfce4-terminal": "-x",
    "mate-terminal": "-x",
    "kitty": "",
    "alacritty": "-e",
    "wezterm": "start --",
    "foot": "",
    "xterm": "-e",
    "urxvt": "-e",
}


class LaunchTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.replace(sys, "platform", "linux")
        self.set_environment(PATH=self.path("tools") + ":/usr/bin:/bin")
        self.openclaw = self.make_program("bin/openclaw", "exit 0")

        self.make_file(".openclaw/openclaw.json", "{}")

    def make_terminal(self, name: str, script: str) -> None:
        self.make_program(f"tools/{name}", script)
        self.replace(terminal, "TERMINALS", tuple(it for it in terminal.TERMINALS if it[0] == name))

    def test_without_the_runtime_the_error_says_how_to_get_it(self) -> None:
        os.unlink(self.openclaw)
        for launch in LAUNCH_FUNCTIONS:
            with self.subTest(launch.__name__):
                command = re.escape("curl -fsSL https://openclaw.ai/install.sh | bash")
                self.assertRaisesRegex(BackendError, f"OpenClaw is not installed.* with: {command}$", launch)

    def test_without_a_terminal_the_error_says_what_to_do(self) -> None:
        self.replace(terminal, "TERMINALS", (("no-such-terminal", ()),))
        for launch in LAUNCH_FUNCTIONS:
            with self.subTest(launch.__name__):
                self.assertRaisesRegex(BackendError, 'Install one, .*run "openclaw .*" in a terminal', launch)

    def test_the_terminal_runs_the_set_up_of_the_runtime(self) -> None:
        seen = self.path("seen")
        self.make_program("bin/openclaw", f'echo "$*" > {seen}.new; mv {seen}.new {seen}')
        self.assertEqual([name for name, _ in terminal.TERMINALS], list(BEFORE_THE_COMMAND))
        for name, prefix in BEFORE_THE_COMMAND.items():
            with self.subTest(name):
                expected = "".join(f'[ "$1" = {word} ] || exit 9; shift; ' for word in prefix.split())
                self.make_program(f"tools/{name}", f'{expected}"$@"')
                self.replace(terminal, "TERMINALS", tuple(it for it in TERMINALS if it[0] == name))
                for launch, arguments in LAUNCH_FUNCTIONS.items():
                    self.assertEqual(launch(), {"command": [self.openclaw, *arguments]})
                    self.assertTrue(wait_for(lambda: os.path.exists(seen)))
                    self.assertEqual(self.read("seen"), " ".join(arguments) + "\n")
                    os.unlink(seen)

    def test_before_it_is_configured_the_runtime_is_set_up(self) -> None:
        os.unlink(self.path(".openclaw/openclaw.json"))
        self.make_terminal("xterm", "exit 0")
        for launch in LAUNCH_FUNCTIONS:
            self.assertEqual(launch(), {"command": [self.openclaw, "onboard"]})

    def test_the_users_chosen_terminal_comes_first(self) -> None:
        for name, _ in terminal.TERMINALS:
            self.make_program(f"tools/{name}", f"echo {name} > {self.path('chosen')}")
        app.launch_openclaw_configure_interactive()
        self.assertTrue(wait_for(lambda: os.path.exists(self.path("chosen"))))
        self.assertEqual(self.read("chosen"), "x-terminal-emulator\n")

    def test_a_terminal_that_cannot_open_its_window_is_told(self) -> None:
        self.replace(terminal, "START_SECONDS", 20.0)
        self.make_terminal("xterm", "echo 'cannot open display' >&2; exit 1")
        self.assertRaisesRegex(
            BackendError, "xterm ended at once with status 1", app.launch_openclaw_configure_interactive
        )

    def test_a_terminal_whose_interpreter_is_missing_is_told(self) -> None:
        self.make_terminal("xterm", "")
        self.write("tools/xterm", "#!/nowhere/interpreter\n")
        self.assertRaisesRegex(
            BackendError, "xterm does not start: No such file", app.launch_openclaw_configure_interactive
        )

    def test_the_window_stays_open_until_the_user_has_read_what_the_set_up_said(self) -> None:
        self.make_terminal("kitty", f'echo | "$@" > {self.path("screen")}')
        self.make_program("bin/openclaw", "echo all is well; exit 3")
        app.launch_openclaw_configure_interactive()
        self.assertTrue(wait_for(lambda: "Press Return" in self.read("screen")))
        self.assertEqual(self.read("screen"), "all is well\n\nPress Return to close this window. ")

    def test_the_terminal_is_detached_from_our_streams_and_session_and_is_reaped(self) -> None:
        seen = self.path("seen")
        end = self.path("end")
        streams = "$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)"
        report = f'streams="{streams}"; echo $$ $streams > {seen}.new; mv {seen}.new {seen}'
        self.make_terminal("foot", f"{report}; while [ ! -e {end} ]; do sleep 0.01; done")
        app.launch_openclaw_configure_interactive()
        self.assertTrue(wait_for(lambda: os.path.exists(seen)))
        process, *streams_seen = self.read("seen").split()
        pid = int(process)
        self.assertEqual(os.getsid(pid), pid)
        self.assertEqual(streams_seen, ["/dev/null"] * 3)
        self.make_file("end")
        self.assertTrue(wait_for(lambda: is_gone(pid)), "the terminal was left as a zombie")

    def test_we_can_end_while_the_terminal_stays(self) -> None:
        started, end = self.path("started"), self.path("end")
        report = f"echo $$ > {started}.new; mv {started}.new {started}"
        self.make_program("tools/x-terminal-emulator", f"{report}; while [ ! -e {end} ]; do sleep 0.01; done")
        script = "import app; app.launch_openclaw_configure_interactive()"
        folder = os.path.dirname(os.path.dirname(app.__file__))
        subprocess.run([sys.executable, "-c", script], cwd=folder, check=True, timeout=20)
        self.assertTrue(wait_for(lambda: os.path.exists(started)))
        pid = int(self.read("started"))
        self.assertFalse(is_gone(pid))
        self.make_file("end")
        self.assertTrue(wait_for(lambda: is_gone(pid)))


class MacosLaunchTest(HomeTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.replace(sys, "platform", "darwin")
        self.make_file(".openclaw/openclaw.json", "{}")
        self.openclaw = self.make_program("bin/openclaw", "exit 0")

    def make_osascript(self, script: str) -> None:
        self.replace(terminal, "OSASCRIPT", self.make_program("osascript", script))

    def test_the_terminal_application_is_asked_to_run_the_set_up_and_to_come_forward(self) -> None:
        self.make_osascript(f'printf "%s|" "$@" > {self.path("seen")}')
        self.assertEqual(app.launch_openclaw_configure_interactive(), {"command": [self.openclaw, "configure"]})
        script = f'tell application "Terminal" to do script "{self.openclaw} configure"'
        self.assertEqual(self.read("seen"), f'-e|{script}|-e|tell application "Terminal" to activate|')

    def test_a_refusal_is_told_with_what_to_allow(self) -> None:
        self.make_osascript("exit 1")
        self.assertRaisesRegex(BackendError, "Allow Nelo to control it", app.launch_openclaw_configure_interactive)

    def test_the_line_is_quoted_for_the_shell_and_for_the_script(self) -> None:
        self.assertEqual(terminal.OSASCRIPT, "/usr/bin/osascript")
        self.assertEqual(
            terminal.macos_script(["/Users/a b/it's\\\"/openclaw", "configure"])[2],
            'tell application "Terminal" to do script ' "\"'/Users/a b/it'\\\"'\\\"'s\\\\\\\"/openclaw' configure\"",
        )
