# SPDX-License-Identifier: MIT
"""Texts typed by the event taps' typist into editors that are not ours, read from the editors."""

import os
import subprocess
import unittest

from desktop_test import DesktopTest
from desktop_driver import AccessibleEditor, Qt6Field, X, to_arabic, wait_until, xdotool

TYPE_TEXT = os.environ["VELMORIN_TYPE_TEXT"]
ANY_TEXT = "hello wérld مَرحبًا 🇸🇦 e\u0301 ABC"
# More characters than a keyboard map has room for, and no layout here has them.
OTHER_TEXT = "".join(map(chr, range(0x410, 0x42A)))


def keyboard_map():
    display = os.environ["DISPLAY"]
    return subprocess.run(["xkbcomp", "-w0", display, "-"], stdout=subprocess.PIPE).stdout


class Typing(DesktopTest):
    def prepare(self):
        self.map = keyboard_map()

    def expect_map_as_it_was(self):
        wait_until(lambda: keyboard_map() == self.map, "the keyboard map as it was")

    def check(self, application, *texts):
        """Types the texts one after the other, whatever the field holds already."""
        for text in texts:
            before = application.text()
            subprocess.run([TYPE_TEXT, text], check=True)
            application.expect(before + text)
            self.expect_map_as_it_was()

    def test_gtk_editor(self):
        self.check(self.start(AccessibleEditor), ANY_TEXT, OTHER_TEXT)

    def test_qt_field(self):
        self.check(self.start(Qt6Field), ANY_TEXT, OTHER_TEXT)

    def test_other_layout_caps_lock_and_held_keys(self):
        application = self.start(AccessibleEditor)
        X.lock_group(1)
        self.check(application, ANY_TEXT)
        X.lock_group(0)
        for key in ("alt", "shift"):
            xdotool("keydown", key)
            self.addCleanup(xdotool, "keyup", key)
            self.check(application, ANY_TEXT)
            xdotool("keyup", key)
        xdotool("key", "Caps_Lock")
        self.addCleanup(xdotool, "key", "Caps_Lock")
        self.check(application, ANY_TEXT)
        application.keys("a")
        application.expect(ANY_TEXT * 4 + "A")  # the lock is still on

    def test_killed_in_the_middle(self):
        application = self.start(AccessibleEditor)
        text = ANY_TEXT * 100
        typist = subprocess.Popen([TYPE_TEXT, text])
        wait_until(lambda: len(application.text() or "") > len(ANY_TEXT), "a part of the text")
        self.assertNotEqual(keyboard_map(), self.map)
        typist.kill()
        typist.wait()
        self.expect_map_as_it_was()
        self.assertTrue(text.startswith(application.text()))

    def test_the_hotkey_still_works(self):
        application = self.start(AccessibleEditor)
        subprocess.run([TYPE_TEXT, "hgsghk"], check=True)
        application.expect("hgsghk")
        self.velmorin.flip("total: 1")
        application.expect(to_arabic("hgsghk"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
