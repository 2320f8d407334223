"""Status areas that draw the item themselves, as most desktops have them: they come late, die and come back."""
from __future__ import annotations

import time
import unittest

from gi.repository import GLib

from nelo import MENU, Nelo, TraylessNelo, launcher, launchers
from screen import press, until
from status_host import MENU_INTERFACE, Item, StatusHost, Tray


class StatusHostTest(unittest.TestCase):
    def start_host(self, draws: bool = True, is_kde: bool = False) -> StatusHost:
        host = StatusHost(draws, is_kde)
        self.addCleanup(host.end)
        return host

    def assert_has_item(self, nelo: Nelo, host: StatusHost) -> Item:
        item = host.next_item()
        until(lambda: not launchers(nelo), "the window gone")
        properties = item.properties()
        self.assertEqual([properties["Id"], properties["Title"], properties["ToolTip"][2]], ["Nelo", "Nelo", "Nelo"])
        self.assertEqual(item.menu(), list(MENU))
        self.assertEqual(item.shortcuts(), {"Settings...": [["Control", "comma"]], "Quit Nelo": [["Control", "q"]]})
        item.choose("Open Nelo Console")
        nelo.window("Nelo Console")
        return item

    def test_one_that_is_there_at_the_start_has_the_item_and_opens_its_menu_at_any_click(self) -> None:
        host = self.start_host(is_kde=True)
        with HostedNelo() as nelo:
            item = self.assert_has_item(nelo, host)
            self.assertIs(item.property("ItemIsMenu"), True)
            self.assertRaisesRegex(GLib.Error, "UnknownMethod", item.activate)
            menu = item.property("Menu"), MENU_INTERFACE
            self.assertEqual(item.properties(*menu), {"Version": 2, "Status": "normal", "TextDirection": "ltr", "IconThemePath": []})
            self.assertRaises(GLib.Error, item.property, "Color", *menu)
            pixels, = (bytes(pixels) for width, height, pixels in item.property("IconPixmap") if (width, height) == (22, 22))
            self.assertEqual(len(pixels), 4 * 22 * 22)
            self.assertIn(bytes([255, 24, 54, 150]), pixels)  # alpha, red, green and blue of the dark shape
            item.choose("Quit Nelo")
            self.assertEqual(nelo.process.wait(20), 0)

    def test_one_that_leaves_a_click_to_the_program_has_the_menu_opened_by_it(self) -> None:
        host = self.start_host()
        with HostedNelo() as nelo:
            host.next_item().activate()
            until(nelo.menu_area, "the menu")
            press("Down", "Return")
            nelo.window("Nelo")

    def test_one_of_the_other_kind_takes_the_item_over(self) -> None:
        self.addCleanup(Tray().end)
        with Nelo() as nelo:
            host = self.start_host()
            self.assert_has_item(nelo, host)
            until(lambda: not nelo.status_item(), "the item gone from the tray")
            host.end()
            nelo.open("Settings...")

    def test_one_that_comes_after_the_start_takes_the_item_from_the_window(self) -> None:
        with TraylessNelo() as nelo:
            launcher(nelo)
            self.assert_has_item(nelo, self.start_host())

    def test_one_that_dies_and_comes_back_has_the_item_again(self) -> None:
        with TraylessNelo() as nelo:
            launcher(nelo)
            for _ in range(2):
                host = self.start_host()
                self.assert_has_item(nelo, host)
                host.end()
                launcher(nelo)
            self.assert_has_item(nelo, self.start_host())

    def test_one_beside_a_tray_is_preferred(self) -> None:
        tray = Tray()
        self.addCleanup(tray.end)
        host = self.start_host()
        with HostedNelo() as nelo:
            item = host.next_item()
            tray.end()
            item.choose("Open Nelo Console")
            nelo.window("Nelo Console")
            self.assertEqual(launchers(nelo), [])
            host.end()
            launcher(nelo)

    def test_a_watcher_without_a_host_is_no_status_area(self) -> None:
        for is_kde in (False, True):
            with self.subTest(is_kde=is_kde):
                host = self.start_host(draws=False, is_kde=is_kde)
                with TraylessNelo() as nelo:
                    launcher(nelo)
                    host.begin_to_draw()
                    self.assert_has_item(nelo, host)
                    host.end_drawing()
                    launcher(nelo)
                    host.begin_to_draw()
                    until(lambda: not launchers(nelo), "the window gone")
                host.end()

    def test_with_a_tray_and_a_watcher_without_a_host_there_is_the_item_or_the_window(self) -> None:
        self.addCleanup(Tray().end)
        for is_kde in (False, True):
            with self.subTest(is_kde=is_kde):
                host = self.start_host(draws=False, is_kde=is_kde)
                with TraylessNelo() if is_kde else Nelo() as nelo:
                    host.begin_to_draw()
                    self.assert_has_item(nelo, host)
                    until(lambda: not nelo.status_item(), "the item gone from the tray")
                    host.end()
                    nelo.open("Settings...")
                    host = self.start_host(is_kde=is_kde)
                    self.assert_has_item(nelo, host)
                    host.end_drawing()
                    nelo.open("Settings...")
                host.end()

    def test_one_that_never_answers_delays_nothing(self) -> None:
        host = self.start_host()
        host.freeze()
        start = time.monotonic()
        with TraylessNelo() as nelo:
            launcher(nelo).find("push button", "Open Nelo Console")
            self.assertLess(time.monotonic() - start, 20.0)  # who waits for D-Bus to give up waits for 25
            nelo.process.terminate()
            self.assertEqual(nelo.process.wait(5), 0)


class HostedNelo(Nelo):
    """The program on a desktop that draws its item."""

    def _await_start(self) -> None:
        pass  # the host hears of it
