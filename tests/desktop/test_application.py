# SPDX-License-Identifier: MIT
"""The built program as its user meets it: its window, its icon, its settings, and what a screen
reader finds in it."""

import os
import re
import signal
import sqlite3
import subprocess
import unittest
from pathlib import Path

from desktop_test import PROGRAM, DesktopTest
from desktop_driver import (
    AccessibleEditor,
    Atspi,
    StatusNotifierHost,
    X,
    active_window,
    start_quietly,
    to_arabic,
    wait_until,
    xdotool,
)

NAME = "org.velmorin.Velmorin"
PATH = "/org/velmorin/Velmorin"
STORED_FRAME = "Velmorin.mainWindow"


def run(*command):
    """What a command says."""
    result = subprocess.run(command, capture_output=True, text=True, timeout=60)
    return result.stdout + result.stderr


def call(method, *arguments):
    """Calls one of the methods as any program of the session can."""
    return run("gdbus", "call", "--session", "--dest", NAME, "--object-path", PATH,
               "--method", f"org.freedesktop.Application.{method}", *arguments)  # fmt: skip


class ApplicationTest(DesktopTest):
    def start_service(self, *command):
        process = start_quietly(command)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def is_on(self, role, name, state=Atspi.StateType.CHECKED):
        return self.velmorin.element(role, name).get_state_set().contains(state)

    def expect_focus(self, role, name):
        """On an element with a name that holds the words."""

        def has_it():
            focused = self.velmorin.focused()
            return focused and focused[0] == role and name in focused[1]

        wait_until(has_it, lambda: f"{role} {name}, not {self.velmorin.focused()}")

    def check_flip(self, end="total: 1"):
        editor = self.start(AccessibleEditor, "hgsghk")
        lines = self.velmorin.flip(end)
        editor.expect(to_arabic("hgsghk"))
        return editor, lines

    def windows(self):
        """The program's windows that can be seen."""
        return xdotool(
            "search", "--all", "--onlyvisible", "--pid", str(self.velmorin.process.pid),
            "--name", "^Velmorin$",
        ).split()  # fmt: skip

    def close_window(self):
        [window] = self.windows()
        X.close(window)
        wait_until(lambda: not self.windows(), "the window to close")
        self.assertIsNone(self.velmorin.process.poll(), "it goes on without its window")

    def expect_window(self):
        wait_until(lambda: self.windows() and active_window() == "Velmorin", "the window in front")

    def second_start(self):
        result = subprocess.run([PROGRAM], capture_output=True, timeout=60)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def frame(self):
        """Place of the frame's corner and size of the contents, by the window manager's words."""
        [window] = self.windows()
        told = run("xwininfo", "-id", window) + run("xprop", "-id", window, "_NET_FRAME_EXTENTS")

        def number(label):
            return int(re.search(label + r"\s*(-?\d+)", told)[1])

        left = number(r"CARDINAL\) =")
        top = number(r"CARDINAL\) = \d+, \d+,")
        x = number("Absolute upper-left X:") - left
        y = number("Absolute upper-left Y:") - top
        return x, y, number("Width:"), number("Height:")

    def stored(self, key):
        file = os.path.join(self.configuration, "standard.sqlite")
        connection = sqlite3.connect(f"file:{file}?mode=ro", uri=True)
        try:
            row = connection.execute("SELECT value FROM defaults WHERE key = ?", [key]).fetchone()
        finally:
            connection.close()
        return row and row[0]

    def stored_frame(self):
        value = self.stored(STORED_FRAME)
        return value and tuple(int(number) for number in value.split())

    def restart(self, **options):
        self.assertEqual(self.velmorin.stop(), "")
        self.velmorin = self.start_velmorin(**options)


class Window(ApplicationTest):
    def test_it_opens_in_the_middle_at_its_size(self):
        x, y, width, height = self.frame()
        self.assertEqual((width, height), (480, 680))
        # In the middle of 1280 by 800, but for the window manager's decoration.
        self.assertAlmostEqual(x, 400, delta=10)
        self.assertAlmostEqual(y, 60, delta=30)

    def test_it_comes_back_in_each_way(self):
        ways = {
            "a second start": self.second_start,
            "Activate": lambda: call("Activate", "{}"),
            "Open": lambda: call("Open", "['file:///x']", "{}"),
            "ActivateAction": lambda: call("ActivateAction", "show", "[]", "{}"),
        }
        for way, come_back in ways.items():
            with self.subTest(way):
                self.close_window()
                come_back()
                self.expect_window()
        with self.subTest("minimised"):
            xdotool("windowminimize", *self.windows())
            wait_until(lambda: active_window() != "Velmorin", "the window to be minimised")
            self.second_start()
            self.expect_window()

    def test_without_it_the_hotkey_works_and_less_memory_is_held(self):
        self.velmorin.element("push button", "Clear")  # the window is complete
        before = self.velmorin.memory("RssFile")
        self.close_window()
        wait_until(
            lambda: self.velmorin.memory("RssFile") < before / 2, "the window's code to be given back"
        )
        self.check_flip()
        self.second_start()
        self.expect_window()

    def test_nothing_else_is_offered_on_the_session_bus(self):
        self.close_window()
        for member, *arguments in [("Quit",), ("Activate", "int32:1"), ("Activate",), ("flip",)]:
            method = f"org.freedesktop.Application.{member}"
            answer = run("dbus-send", "--print-reply", f"--dest={NAME}", PATH, method, *arguments)
            self.assertIn("UnknownMethod", answer, method)
        self.assertEqual(self.windows(), [])
        self.assertIsNone(self.velmorin.process.poll())

    def test_a_running_instance_that_hangs_is_told_of(self):
        self.velmorin.process.send_signal(signal.SIGSTOP)
        result = subprocess.run([PROGRAM], capture_output=True, timeout=60)
        self.velmorin.process.send_signal(signal.SIGCONT)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, b"velmorin: it runs already, but does not answer\n")

    def test_signals_end_it_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number.name):
                velmorin = self.velmorin if number == signal.SIGTERM else self.start_velmorin()
                velmorin.process.send_signal(number)
                self.assertEqual(velmorin.process.wait(timeout=60), 0)
                self.assertEqual(velmorin.stop(), "")

    def test_its_smallest_size(self):
        [window] = self.windows()
        xdotool("windowsize", window, "100", "100")
        wait_until(lambda: self.frame()[2:] == (380, 520), "the smallest size")


class Frame(ApplicationTest):
    def move(self, x, y, width, height):
        [window] = self.windows()
        xdotool("windowsize", "--sync", window, str(width), str(height))
        xdotool("windowmove", window, str(x), str(y))
        wait_until(lambda: self.frame()[2:] == (width, height), "the new size")
        wait_until(lambda: self.stored_frame() == self.frame(), "the frame to be stored")

    def test_it_is_as_it_was_left_twice_over(self):
        self.move(100, 50, 500, 600)
        left = self.frame()
        for _ in range(2):  # a window that wanders by its decoration would show at the second
            self.restart()
            self.assertEqual(self.frame(), left)
        self.close_window()
        self.second_start()
        self.expect_window()
        self.assertEqual(self.frame(), left)


class Tray(ApplicationTest):
    TRAY = ["trayer", "--edge", "bottom", "--align", "left", "--widthtype", "request"]

    def icon(self):
        """The icon's window inside of the tray, or None. Qt may replace it: it docks at a tray that
        it finds, and again when that tray has announced itself."""
        tree = run("xwininfo", "-root", "-tree")
        found = re.search(r'(0x[0-9a-f]+) "velmorin": \("velmorin" "velmorin"\)\s+(2[0-9])x', tree)
        return found and found[1]

    def check_icon(self):
        wait_until(self.icon, "the icon in the tray")
        self.close_window()

        def clicked():
            if icon := self.icon():
                xdotool("mousemove", "--window", icon, "12", "12", "click", "1")
            return self.windows()

        wait_until(clicked, "the window to come back")
        self.expect_window()

    def test_a_tray_that_is_there(self):
        self.velmorin.stop()
        self.start_service(*self.TRAY)
        wait_until(lambda: xdotool("search", "--class", "trayer"), "the tray")
        self.velmorin = self.start_velmorin()
        self.check_icon()

    def test_a_tray_that_comes_later(self):
        self.start_service(*self.TRAY)
        self.check_icon()

    def check_host(self, is_first):
        self.velmorin.stop()
        host = StatusNotifierHost() if is_first else None
        self.velmorin = self.start_velmorin()
        host = host or StatusNotifierHost()
        self.addCleanup(host.stop)
        item = wait_until(host.item, "the icon at the host")
        self.assertEqual(host.title(item), "Velmorin")
        self.close_window()
        host.activate(item)
        self.expect_window()

        # A flip flashes it.
        before = host.picture(item)
        self.start(AccessibleEditor, "hgsghk")
        self.velmorin.flip("total: ")
        wait_until(lambda: host.picture(item) != before, "the checkmark")
        wait_until(lambda: host.picture(item) == before, "the icon again")

    def test_a_status_notifier_host_that_is_there(self):
        self.check_host(is_first=True)

    def test_a_status_notifier_host_that_comes_later(self):
        self.check_host(is_first=False)


class Storage(ApplicationTest):
    """Where the preferences cannot be read or written."""

    expected_errors = r"\Avelmorin: [^\n]*preferences[^\n]*cannot be used[^\n]*\n\Z"

    def check_that_it_works(self):
        self.velmorin.press("radio button", "→ Arabic")
        wait_until(lambda: self.is_on("radio button", "→ Arabic"), "the direction")
        self.check_flip()

    def test_a_damaged_file(self):
        self.velmorin.stop()
        for name in os.listdir(self.configuration):
            Path(self.configuration, name).write_bytes(b"nothing that anybody knows" * 100)
        self.restart()
        self.check_that_it_works()
        self.assertEqual(self.stored("vl.count"), 1)

    def test_a_full_disk(self):
        no_room = ["bash", "-c", "trap '' XFSZ; ulimit -f 0; exec \"$@\"", "bash"]
        self.velmorin.press("radio button", "→ English")
        wait_until(lambda: self.stored("vl.mode") == "forceEnglish", "the direction to be stored")
        self.restart(wrapper=no_room)
        self.assertTrue(self.is_on("radio button", "→ English"), "what was stored is read")
        self.check_that_it_works()


class Permission(ApplicationTest):
    """In a session whose accessibility bus is there but switched off, as a stock desktop's is."""

    @staticmethod
    def is_enabled(method, *value):
        return run("gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path",
                   "/org/a11y/bus", "--method", f"org.freedesktop.DBus.Properties.{method}",
                   "org.a11y.Status", "IsEnabled", *value)  # fmt: skip

    def prepare(self):
        self.is_enabled("Set", "<false>")
        self.start_service("dunst")
        wait_until(lambda: run("dunstctl", "count", "displayed") == "0\n", "notifications")

    def test_it_is_offered_once_and_granted_by_a_click(self):
        self.assertEqual(
            self.velmorin.messages()[-1],
            "Accessibility: not yet granted (needed for ⌘A/⌘C/⌘V in other apps)",
        )
        wait_until(lambda: run("dunstctl", "count", "displayed") == "1\n", "the notification")
        editor, lines = self.check_flip("FLIP DONE (clipboard)")
        self.assertIn("  AX not trusted", lines)
        self.velmorin.ready_again()
        self.assertEqual(run("dunstctl", "count", "displayed"), "1\n", "one offer only")

        run("dunstctl", "action")
        wait_until(lambda: "true" in self.is_enabled("Get"), "accessibility to be switched on")
        key = ["org.gnome.desktop.interface", "toolkit-accessibility"]
        self.assertEqual(run("gsettings", "get", *key), "true\n", "for the next session, too")
        self.velmorin.flip("FLIP DONE (AX)")
        editor.expect("hgsghk")


class Appearance(ApplicationTest):
    def color(self):
        """Of a point in the window's margin: light or dark."""
        [window] = self.windows()
        picture = subprocess.run(
            ["import", "-window", window, "-crop", "1x1+3+300", "-depth", "8", "gray:-"],
            capture_output=True,
        ).stdout
        return "dark" if picture and picture[0] < 128 else "light"

    def test_it_follows_the_desktop(self):
        self.assertEqual(self.color(), "light")
        for scheme, color in [("prefer-dark", "dark"), ("default", "light"), ("prefer-dark", "dark")]:
            run("gsettings", "set", "org.gnome.desktop.interface", "color-scheme", scheme)
            wait_until(lambda: self.color() == color, f"a {color} window")
        self.restart()
        wait_until(lambda: self.color() == "dark", "a dark window from the start")


class OwnAccessibility(ApplicationTest):
    """Through the accessibility bus alone."""

    def names(self, role):
        return [element.get_name() for element in self.velmorin.elements(role)]

    def badges(self):
        return {
            element.get_name(): element.get_description()
            for element in self.velmorin.elements("label")
            if element.get_name() in ("Hotkey", "Accessibility")
        }

    def rows(self):
        return [name.split("] ", 1)[1] for name in self.names("list item")]

    def test_it_is_read_and_used_from_outside(self):
        wait_until(
            lambda: self.badges() == {"Hotkey": "on", "Accessibility": "on"}, "both badges on"
        )
        self.assertEqual(self.rows()[0], "Velmorin launched")

        self.velmorin.press("push button", "Clear")
        wait_until(lambda: self.rows() == [], "an empty log")

        self.velmorin.press("radio button", "→ Arabic")
        wait_until(lambda: self.stored("vl.mode") == "forceArabic", "the direction to be stored")
        self.assertTrue(self.is_on("radio button", "→ Arabic"))
        self.assertFalse(self.is_on("radio button", "Auto"))

        editor = self.start(AccessibleEditor, "hgsghk")
        self.velmorin.press("push button", "Test Flip (3s)")
        editor.expect(to_arabic("hgsghk"))
        wait_until(lambda: len(self.rows()) == 5, "the flip's rows")
        self.assertEqual(self.rows()[0], "TEST: switch to a text field in 3 seconds…")
        self.assertEqual(self.rows()[4], "── FLIP DONE (AX) — total: 1 ──")
        count = [e for e in self.velmorin.elements("label") if e.get_description() == "Flips"]
        self.assertEqual([element.get_name() for element in count], ["1"])

        self.restart()
        self.assertTrue(self.is_on("radio button", "→ Arabic"))

    def test_settings_are_switched_and_kept(self):
        self.assertIsNone(self.stored("appPreferences"), "nothing is stored by looking at it")
        self.velmorin.press("page tab", "Settings")
        wait_until(
            lambda: self.is_on("check box", "Launch at login", Atspi.StateType.SHOWING),
            "the settings",
        )
        for name, key in {
            "Launch at login": b'"launchAtLogin":true',
            "Show menu bar icon": b'"showMenuBarIcon":false',
            "Reduce motion": b'"reduceMotion":true',
            "Reduce transparency": b'"reduceTransparency":true',
        }.items():
            self.velmorin.press("check box", name)
            wait_until(lambda: key in (self.stored("appPreferences") or b""), f"{name} stored")
        self.velmorin.press("radio button", "Dark")
        wait_until(lambda: b'"theme":"dark"' in self.stored("appPreferences"), "the theme stored")

        self.restart()
        self.velmorin.press("page tab", "Settings")
        for name, on in {"Launch at login": True, "Show menu bar icon": False}.items():
            self.assertEqual(self.is_on("check box", name), on, name)
        self.assertTrue(self.is_on("radio button", "Dark"))

    def tab_to(self, name):
        """Gives the names of what had the focus on the way."""
        names = []
        for _ in range(100):
            focused = self.velmorin.focused()
            if focused:
                names.append(focused[1])
            if names[-1:] == [name]:
                return names
            xdotool("key", "Tab")
            wait_until(lambda: self.velmorin.focused() not in (None, focused), "the next element")
        raise AssertionError(f"no {name!r} among {names}")

    def test_the_keyboard_reaches_everything(self):
        names = self.tab_to("Open Accessibility Settings")
        expected = ["Control", "Hotkey", "Accessibility", "⌥ Option", "Space", "Flip!", "Auto"]
        expected += ["Test Flip (3s)", "0", "Clear", "Live Log", "Open Accessibility Settings"]
        places = [names.index(name) for name in expected if name != "Live Log"]
        self.assertEqual(places, sorted(places), "in the order in which they stand")

        # Rows of the log, segments and tabs by the arrow keys.
        for stop, key, role, name in [
            ("Auto", "Right", "radio button", "→ English"),
            ("Clear", "Tab", "list item", "GRANTED"),
            (None, "Home", "list item", "launched"),
            (None, "Down", "list item", "Registering"),
            ("Control", "Right", "page tab", "Settings"),
        ]:
            if stop:
                self.tab_to(stop)
            xdotool("key", key)
            self.expect_focus(role, name)
        self.assertEqual(self.stored("vl.mode"), "forceEnglish")
        self.tab_to("Reduce motion")
        xdotool("key", "space")
        wait_until(
            lambda: b'"reduceMotion":true' in (self.stored("appPreferences") or b""), "a switch"
        )


if __name__ == "__main__":
    unittest.main()
