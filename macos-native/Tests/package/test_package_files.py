"""What an installation puts where, with which modes, and what the desktop's own tools say to it."""
from __future__ import annotations

import gzip
import os
import plistlib
import re
import stat
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ID = "example.nelo.NeloMenuBar"
SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
REPOSITORY = Path(__file__).resolve().parents[3]
VERSION = os.environ["NELO_VERSION"]

FILES = {
    "bin/NeloMenuBar",
    "lib/nelo/nelo_chat_client.so",
    "share/doc/nelo/changelog.gz",
    "share/doc/nelo/copyright",
    "share/man/man1/NeloMenuBar.1.gz",
    f"share/applications/{ID}.desktop",
    f"share/metainfo/{ID}.metainfo.xml",
    f"share/icons/hicolor/scalable/apps/{ID}.svg",
    *(f"share/icons/hicolor/{side}x{side}/apps/{ID}.png" for side in SIZES),
    *(f"share/nelo/app/{module.name}" for module in (REPOSITORY / "app").glob("*.py")),
}


class PackageFilesTest(unittest.TestCase):
    prefix: Path

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory(prefix="nelo-package-")
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = Path(folder.name) / "usr"
        subprocess.run([os.environ["NELO_CMAKE"], "--install", os.environ["NELO_BUILD"], "--prefix", str(cls.prefix)],
                       check=True, stdout=subprocess.DEVNULL, umask=0o022)

    def text(self, name: str) -> str:
        content = (self.prefix / name).read_bytes()
        return (gzip.decompress(content) if name.endswith(".gz") else content).decode()

    def assert_valid(self, *command: object) -> None:
        """The tool ends well and has nothing to say."""
        done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertNotRegex(done.stdout, r"(?m)^[EW]: |warning|hint")

    def test_it_installs_these_files_and_no_other(self) -> None:
        installed = {str(file.relative_to(self.prefix)) for file in self.prefix.rglob("*") if not file.is_dir()}
        self.assertEqual(installed, FILES)

    def test_everybody_may_read_it_and_only_the_program_can_be_started(self) -> None:
        program = self.prefix / "bin/NeloMenuBar"
        for path in self.prefix.rglob("*"):
            may_run = path.is_dir() or path == program
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o755 if may_run else 0o644, path)

    def test_the_desktop_entry_is_valid_and_starts_the_program(self) -> None:
        entry = self.prefix / f"share/applications/{ID}.desktop"
        self.assert_valid("desktop-file-validate", "--warn-kde", entry)
        lines = entry.read_text().splitlines()
        self.assertIn("Exec=NeloMenuBar", lines)
        self.assertIn(f"Icon={ID}", lines)

    def test_the_description_for_software_centres_is_valid_and_shows_pictures_that_there_are(self) -> None:
        name = f"share/metainfo/{ID}.metainfo.xml"
        self.assert_valid("appstreamcli", "validate", "--no-net", "--no-color", self.prefix / name)
        description = ElementTree.fromstring(self.text(name))
        self.assertEqual(description.findtext("launchable"), f"{ID}.desktop")
        pictures = [image.text or "" for image in description.iter("image")]
        self.assertGreaterEqual(len(pictures), 2)
        for picture in pictures:
            self.assertTrue((REPOSITORY / "docs/pictures" / picture.rsplit("/", 1)[1]).is_file(), picture)

    def test_every_icon_has_the_size_of_its_folder(self) -> None:
        for side in SIZES:
            header = (self.prefix / f"share/icons/hicolor/{side}x{side}/apps/{ID}.png").read_bytes()[:24]
            self.assertEqual(header[:8], b"\x89PNG\r\n\x1a\n")
            self.assertEqual(struct.unpack(">II", header[16:]), (side, side))

    def test_the_manual_is_well_formed_and_knows_the_files(self) -> None:
        manual = self.prefix / "share/man/man1/NeloMenuBar.1.gz"
        done = subprocess.run(["man", "--warnings", "-l", str(manual)], capture_output=True, text=True, check=True,
                              env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "120"})
        self.assertEqual(done.stderr, "")
        named = re.findall(r"`(~/[^`]+\.\w+|NELO_\w+_BASE_URL|XDG_\w+)`", (REPOSITORY / "README.md").read_text())
        self.assertGreater(len(named), 8)
        self.assertEqual([name for name in named if name not in done.stdout], [])

    def test_one_version_everywhere(self) -> None:
        description = ElementTree.fromstring(self.text(f"share/metainfo/{ID}.metainfo.xml"))
        self.assertEqual([release.get("version") for release in description.iter("release")], [VERSION])
        self.assertTrue(self.text("share/doc/nelo/changelog.gz").startswith(f"nelo ({VERSION}) "))
        self.assertIn(f'"Nelo {VERSION}"', self.text("share/man/man1/NeloMenuBar.1.gz"))
        self.assertIn(VERSION.encode("utf-16-le"), (self.prefix / "bin/NeloMenuBar").read_bytes())

    def test_the_bundle_for_macos_is_described(self) -> None:
        described = plistlib.loads((Path(os.environ["NELO_BUILD"]) / "Packaging/Info.plist").read_bytes())
        self.assertEqual(described["CFBundleIdentifier"], ID)
        self.assertEqual((described["CFBundleShortVersionString"], described["CFBundleVersion"]), (VERSION, VERSION))
        self.assertEqual(described["CFBundleExecutable"], "NeloMenuBar")
        self.assertEqual(described["LSMinimumSystemVersion"], "13.0")
        self.assertIs(described["LSUIElement"], True)  # an accessory: no place in the Dock until it shows a window
        self.assertIs(described["NSHighResolutionCapable"], True)

    def test_one_day_of_release_everywhere(self) -> None:
        description = ElementTree.fromstring(self.text(f"share/metainfo/{ID}.metainfo.xml"))
        day = next(description.iter("release")).get("date") or ""
        self.assertRegex(day, r"\A20\d\d-\d\d-\d\d\Z")
        self.assertIn(f'"{day}"', self.text("share/man/man1/NeloMenuBar.1.gz"))
        changed = re.search(r"(?m)^ -- .+>  (.+)$", self.text("share/doc/nelo/changelog.gz"))
        assert changed
        told = subprocess.run(["date", "-u", "-d", changed[1], "+%F %a,"], capture_output=True, text=True, check=True)
        self.assertEqual(told.stdout.strip(), f"{day} {changed[1].split()[0]}")

    def test_the_installed_module_can_be_imported_from_its_folder(self) -> None:
        subprocess.run(["/usr/bin/python3", "-I", "-B", "-c", "import sys; sys.path.insert(0, '.'); import app"],
                       cwd=self.prefix / "share/nelo", check=True)
