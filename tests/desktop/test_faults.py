# SPDX-License-Identifier: MIT
"""What becomes of a flip, and of the texts, when something around the program breaks."""

import os
import signal
import subprocess
import time
import unittest

from desktop_test import DIRECT, PASTED, FlipTest
from desktop_driver import (
    NOTHING_COPIED,
    AccessibleEditor,
    Bus,
    Clipboard,
    InaccessibleEditor,
    X,
    active_window,
    to_arabic,
    wait_until,
    xdotool,
)

ENDS = ("FLIP DONE", "Same text", NOTHING_COPIED)
TEXTS = ("hgsghk", to_arabic("hgsghk"))


def stop_process(editor):
    """Stops it where it does not hold the X server, as GTK does when it looks for a tooltip: that
    would stop the whole desktop."""
    while True:
        os.killpg(editor.process.pid, signal.SIGSTOP)
        try:
            subprocess.run(["xdotool", "getmouselocation"], timeout=1, capture_output=True)
            return
        except subprocess.TimeoutExpired:
            os.killpg(editor.process.pid, signal.SIGCONT)


class Faults(FlipTest):
    def test_a_stopped_application_costs_nothing(self):
        self.own_clipboard("before")
        editor = self.start(AccessibleEditor, TEXTS[0])
        self.velmorin.flip(DIRECT)
        editor.expect(TEXTS[1])
        self.velmorin.ready_again()

        stop_process(editor)
        lines = self.velmorin.flip("  Nothing copied")
        self.assertIn("  No focused element", lines)
        self.assertEqual(Clipboard.get(), "before")
        os.killpg(editor.process.pid, signal.SIGCONT)
        self.velmorin.ready_again()
        # The keys that it slept through select all and copy: nothing is lost.
        editor.expect(TEXTS[1])
        self.velmorin.flip("total: 2")
        editor.expect(TEXTS[0])

    def test_a_stopped_clipboard_owner_costs_its_text_only(self):
        owner = self.own_clipboard("before")
        editor = self.start(InaccessibleEditor, TEXTS[0])
        owner.send_signal(signal.SIGSTOP)
        self.velmorin.flip(PASTED)
        editor.expect(TEXTS[1])
        owner.send_signal(signal.SIGCONT)
        self.velmorin.ready_again()
        self.velmorin.flip("total: 2")
        editor.expect(TEXTS[0])

    def test_a_target_that_is_gone(self):
        self.own_clipboard("before")
        editor = self.start(AccessibleEditor, TEXTS[0])
        os.killpg(editor.process.pid, signal.SIGKILL)
        # What has the focus now is our own window, which has no text to flip.
        wait_until(lambda: active_window() == "Velmorin", "our own window to be active")
        self.assertIn("  No focused element", self.velmorin.flip("  Nothing copied"))
        self.assertEqual(Clipboard.get(), "before")

    def test_state_survives_sigkill_and_holds_no_text(self):
        editor = self.start(AccessibleEditor, TEXTS[0])
        self.velmorin.flip("total: 1")
        editor.expect(TEXTS[1])
        self.assertEqual(self.velmorin.stop(), "", "nothing on standard error")
        secret = TEXTS[1]
        for line in self.velmorin.lines:
            self.assertNotIn(TEXTS[0], line)
            self.assertNotIn(secret, line)
        for name in os.listdir(self.configuration):
            with open(os.path.join(self.configuration, name), "rb") as file:
                content = file.read()
            self.assertNotIn(b"hgsghk", content)
            self.assertNotIn(secret.encode(), content)
        again = self.start_velmorin()
        editor.activate()
        again.flip("total: 2")
        editor.expect(TEXTS[0])

    def test_no_display(self):
        velmorin = self.start_velmorin(wait=False, environment={"DISPLAY": ""})
        self.assertEqual(velmorin.process.wait(), 1)
        self.assertEqual(velmorin.stop().count("\n"), 1)
        self.assertEqual(velmorin.lines, [])

    def test_the_x_server_is_gone(self):
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-noreset"],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        )
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        self.addCleanup(server.stdout.close)
        display = ":" + server.stdout.readline().strip()
        velmorin = self.start_another(DISPLAY=display)
        server.kill()
        self.assertEqual(velmorin.process.wait(timeout=60), 1)
        # Whichever of our two connections notices first says so.
        self.assertRegex(velmorin.stop(), r"\A[^\n]*X(11 connection broke| server has gone)[^\n]*\n\Z")

    def test_a_hotkey_that_is_taken(self):
        second = self.start_another()
        self.assertIn("Hotkey registration failed (status -9878)", second.messages())

    def press_and(self, line, fault):
        """Presses the hotkey and does the fault once the log has the line; returns when the next
        flip would be accepted."""
        start = len(self.velmorin.lines)
        xdotool("key", "alt+space")
        self.velmorin.wait_for(line, after=start)
        fault()
        self.velmorin.wait_for(*ENDS, after=start)
        self.velmorin.ready_again()

    def test_an_application_that_stops_in_the_middle(self):
        """Its field holds the one text or the other afterwards, and never the clipboard's."""
        for kind, line, pause in (
            *((AccessibleEditor, "Trying AX", pause) for pause in (0, 0.002, 0.004, 0.008)),
            *((InaccessibleEditor, line, 0) for line in ("  ⌘A", "  ⌘C", "  Converted")),
            (InaccessibleEditor, "  ⌘V", 0),
        ):
            with self.subTest(kind=kind.__name__, line=line, pause=pause):
                self.own_clipboard("before")
                editor = self.start(kind, TEXTS[0])

                def stop(editor=editor, pause=pause):
                    time.sleep(pause)  # a direct flip tells nothing of its steps
                    stop_process(editor)

                self.press_and(line, stop)
                self.assertEqual(Clipboard.get(), "before")
                os.killpg(editor.process.pid, signal.SIGCONT)
                if line == "  Converted":
                    editor.expect(TEXTS[1])  # pasted when its user's text was long put back
                wait_until(lambda editor=editor: editor.text() in TEXTS, "one of the two texts")
                editor.stop()

    def test_a_target_that_closes_in_the_middle(self):
        """The window that has the focus then gets nothing of it."""
        other = self.start(InaccessibleEditor, "unrelated")
        for line in ("  ⌘A", "  ⌘C", "  Converted"):
            with self.subTest(line=line):
                self.own_clipboard("before")
                editor = InaccessibleEditor(os.path.join(self.folder, "target.txt"), TEXTS[0])
                self.press_and(line, editor.stop)
                other.activate()
                other.expect("unrelated")
                self.assertEqual(Clipboard.get(), "before")

    def test_a_keyboard_that_another_program_takes(self):
        self.own_clipboard("before")
        editor = self.start(InaccessibleEditor, TEXTS[0])
        grabs = []
        self.press_and("  ⌘A", lambda: grabs.append(X.grab_keyboard()))
        self.assertIn(NOTHING_COPIED, self.velmorin.lines[-1])
        self.assertEqual(Clipboard.get(), "before")
        lines = len(self.velmorin.lines)
        xdotool("key", "alt+space")  # is the other program's
        X.release_keyboard(grabs[0])
        self.velmorin.flip(PASTED)
        editor.expect(TEXTS[1])
        self.assertEqual(self.velmorin.messages(lines).count("⌥Space pressed!"), 1)

    def test_the_window_manager_restarts(self):
        def manager():
            return subprocess.check_output(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"])

        editor = self.start(InaccessibleEditor, TEXTS[0])
        before = manager()
        os.spawnlp(os.P_NOWAIT, "openbox", "openbox", "--replace")
        wait_until(lambda: b"#" in manager() and manager() != before, "the other window manager")
        editor.activate()
        self.velmorin.flip(PASTED)
        editor.expect(TEXTS[1])

    def test_layouts_that_change(self):
        self.addCleanup(subprocess.run, ["setxkbmap", "us,ara"], check=True)
        editor = self.start(InaccessibleEditor, TEXTS[0])
        for index, layouts in enumerate(("us", "fr,ara", "ara,us,de", "us,ara")):
            subprocess.run(["setxkbmap", layouts], check=True)
            self.velmorin.flip(PASTED)
            editor.expect(TEXTS[1 - index % 2])
            self.velmorin.ready_again()


class SavedEditor(InaccessibleEditor):
    """On the accessibility bus, but read by saving its file: our own connection ends, too."""

    ENVIRONMENT = {}


class AccessibilityBusLost(FlipTest):
    """Run in a session of its own."""

    def test_flips_go_on(self):
        editor = self.start(SavedEditor, TEXTS[0])
        start = len(self.velmorin.lines)
        xdotool("key", "alt+space")
        self.velmorin.wait_for("Trying AX", after=start)
        os.kill(Bus.accessibility().daemon(), signal.SIGKILL)
        self.velmorin.wait_for(*ENDS, after=start)
        self.velmorin.ready_again()
        self.assertIn(editor.text(), TEXTS)
        # The editor is on no bus any more; it takes the keys as before.
        editor.keys("ctrl+a")
        editor.type("hgsghk")
        self.velmorin.flip(PASTED)
        editor.expect(TEXTS[1])
        editor.stop()
        # One that starts now is on the bus that has been started anew.
        Bus.accessibility()
        editor = self.start(SavedEditor, TEXTS[0])
        self.velmorin.ready_again()
        self.velmorin.flip(DIRECT)
        editor.expect(TEXTS[1])


class SessionBusLost(FlipTest):
    """Run in a session of its own."""

    # libdbus's complaint of Qt, when the bus goes while the window is made known on it.
    expected_errors = r"\A(dbus\[\d+\]: arguments to dbus_pending_call_block\(\)(?s:.*))?\Z"

    def test_flips_go_on(self):
        os.kill(Bus.session().daemon(), signal.SIGKILL)
        editor = self.start(InaccessibleEditor, TEXTS[0])
        self.velmorin.flip(PASTED)
        editor.expect(TEXTS[1])


if __name__ == "__main__":
    unittest.main()
