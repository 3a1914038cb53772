# SPDX-License-Identifier: MIT
"""The built program on a real desktop, with editors that are not ours and the real hotkey. What a
text became is read from the editor itself."""

import os
import subprocess
import unittest

from desktop_test import PASTED, FlipTest
from desktop_driver import (
    AccessibleEditor,
    Clipboard,
    InaccessibleEditor,
    NOTHING_COPIED,
    Qt6Field,
    X,
    to_arabic,
    wait_until,
    xdotool,
)

START = ["⌥Space pressed!", "── FLIP START ──", "Trying AX direct text access…"]
FALLBACK = "AX unavailable, using clipboard method…"
MILLION = "hgsghk ugdlk\n" * 76924


class DirectPath(FlipTest):
    def check(self, application):
        application.type("hgsghk")
        application.expect("hgsghk")
        done = "── FLIP DONE (AX) — total: 1 ──"
        self.assertEqual(self.velmorin.flip(done), [*START, "  AX set value: OK", done])
        application.expect(to_arabic("hgsghk"))
        self.velmorin.ready_again()

        # Back, with the Arabic layout active, as its user would have it.
        X.lock_group(1)
        self.velmorin.flip("total: 2")
        application.expect("hgsghk")
        X.lock_group(0)
        self.velmorin.ready_again()

        # The caret stayed at the end, and no menu took the keys.
        application.type(" ab")
        application.expect("hgsghk ab")
        application.keys("shift+Left", "shift+Left")
        lines = self.velmorin.flip("total: 3", held=["alt"])
        self.assertIn("  AX set selected: OK", lines)
        application.expect("hgsghk " + to_arabic("ab"))
        application.type("c")
        application.expect("hgsghk " + to_arabic("ab") + "c")

    def test_gtk3(self):
        self.own_clipboard("before")
        self.check(self.start(AccessibleEditor))
        self.assertEqual(Clipboard.get(), "before", "it is not touched")

    def test_qt6(self):
        self.check(self.start(Qt6Field))

    def test_a_million_characters(self):
        editor = self.start(AccessibleEditor, MILLION)
        before = self.velmorin.memory("RssAnon")
        self.assertIn("  AX set value: OK", self.velmorin.flip("FLIP DONE"))
        editor.expect(to_arabic(MILLION))
        wait_until(
            lambda: self.velmorin.memory("RssAnon") < before + 4096, "its memory to be given back"
        )

    def test_digits_and_empty_fields_stay(self):
        self.own_clipboard("before")
        editor = self.start(AccessibleEditor)
        lines = self.velmorin.flip("  Nothing copied")
        self.assertIn("  No text attributes", lines)
        self.assertIn("  Clipboard: changed=false, len=0", lines)
        self.velmorin.ready_again()
        editor.type("123")
        editor.expect("123")
        self.assertIn("  Same after convert", self.velmorin.flip("  Same text"))
        editor.expect("123")
        self.assertEqual(Clipboard.get(), "before")


class ClipboardPath(FlipTest):
    def test_whole_field_and_back(self):
        self.own_clipboard("before")
        editor = self.start(InaccessibleEditor, "hgsghk")
        lines = self.velmorin.flip(PASTED, held=["alt"])
        self.assertEqual(
            lines,
            [
                *START,
                "  No focused element",
                FALLBACK,
                "  ⌘A",
                "  ⌘C",
                "  Clipboard: changed=true, len=6",
                "  Converted → pasting",
                "  ⌘V",
                "── FLIP DONE (clipboard) — total: 1 ──",
            ],
        )
        editor.expect(to_arabic("hgsghk"))
        self.assertEqual(Clipboard.get(), "before")
        self.velmorin.ready_again()
        X.lock_group(1)
        self.velmorin.flip("total: 2")
        editor.expect("hgsghk")
        X.lock_group(0)
        editor.keys("End")
        editor.type("d")  # no menu took the key
        editor.expect("hgsghkd")

    def test_a_second_press_is_refused(self):
        self.start(InaccessibleEditor, "hgsghk")
        first = len(self.velmorin.lines)
        xdotool("keydown", "alt", "key", "space")
        self.velmorin.wait_for("  ⌘A", after=first)
        xdotool("key", "space", "keyup", "alt")
        self.velmorin.wait_for("Flip already in progress", after=first)
        self.velmorin.wait_for(PASTED, NOTHING_COPIED, after=first)
        self.assertEqual(self.velmorin.messages(first).count("── FLIP START ──"), 1)

    def test_holding_the_keys_is_one_press(self):
        editor = self.start(InaccessibleEditor, "hgsghk")
        X.set_repeat(100, 20)
        self.addCleanup(X.set_repeat, 660, 25)
        lines = self.velmorin.flip(PASTED, held=["space", "alt"])
        X.set_repeat(660, 25)
        editor.expect(to_arabic("hgsghk"))
        self.assertNotIn("Flip already in progress", lines)

    def test_a_million_characters(self):
        editor = self.start(InaccessibleEditor, MILLION)
        lines = self.velmorin.flip("FLIP DONE")
        self.assertIn(f"  Clipboard: changed=true, len={len(MILLION)}", lines)
        editor.expect(to_arabic(MILLION))


class Privacy(FlipTest):
    # Freed memory is overwritten at once, so that what is found is held on to.
    environment = {"GLIBC_TUNABLES": "glibc.malloc.tcache_count=0:glibc.malloc.perturb=85"}

    def memory(self):
        process = self.velmorin.process.pid
        with open(f"/proc/{process}/maps", encoding="utf-8") as maps:
            areas = [line.split()[0] for line in maps if " rw" in line]
        with open(f"/proc/{process}/mem", "rb", buffering=0) as memory:
            for area in areas:
                begin, end = (int(address, 16) for address in area.split("-"))
                memory.seek(begin)
                yield memory.read(end - begin)

    def holds(self, text):
        return any(text.encode("utf-16-le") in area for area in self.memory())

    def test_no_text_is_kept(self):
        text = "hgsghk qwpoeiruty zmxncbv lkjahsgdf"
        for kind in (AccessibleEditor, InaccessibleEditor):
            with self.subTest(kind.__name__):
                own = self.own_clipboard("something that was copied before it")
                editor = self.start(kind, text)
                self.velmorin.flip("FLIP DONE")
                editor.expect(to_arabic(text))
                # Until someone else copies, the clipboard's earlier text has to be served.
                if kind is InaccessibleEditor:
                    self.assertTrue(self.holds("something that was copied before it"))
                own.kill()
                self.own_clipboard("another one")
                for kept in (text, to_arabic(text), "something that was copied before it"):
                    wait_until(lambda kept=kept: not self.holds(kept), "the text to be forgotten")
                editor.stop()
                self.velmorin.ready_again()

    def test_no_core_file(self):
        with open(f"/proc/{self.velmorin.process.pid}/limits", encoding="ascii") as limits:
            self.assertRegex(limits.read(), r"Max core file size +0 ")

    def test_it_listens_to_nobody(self):
        folder = f"/proc/{self.velmorin.process.pid}/fd"
        files = [os.readlink(os.path.join(folder, number)) for number in os.listdir(folder)]
        sockets = {name[8:-1] for name in files if name.startswith("socket:[")}
        self.assertTrue(sockets)
        # Columns of unix: number, references, protocol, flags (listening: 1 << 16), ..., inode.
        with open("/proc/net/unix", encoding="utf-8", errors="replace") as table:
            rows = [line.split() for line in table][1:]
        listening = {row[6] for row in rows if int(row[3], 16) & 1 << 16}
        others = set()
        for protocol in ("tcp", "tcp6", "udp", "udp6"):
            with open(f"/proc/net/{protocol}", encoding="ascii") as table:
                others |= {line.split()[9] for line in table}
        self.assertEqual(sockets & (listening | others), set())


class OwnShortcut(FlipTest):
    """Run under xfwm4."""

    SHORTCUT = ["--channel", "xfce4-keyboard-shortcuts", "--property", "/xfwm4/custom/<Alt>space"]

    def change(self, *options, message):
        subprocess.run(["xfconf-query", *self.SHORTCUT, *options], check=True)

        def is_so():
            velmorin = self.start_another()
            velmorin.stop()
            return message in velmorin.messages()

        wait_until(is_so, f"the window manager to follow: {message}")

    def test_a_shortcut_is_theirs_until_it_is_removed(self):
        self.velmorin.stop()
        taken = "Hotkey registration failed (status -9878)"
        free = "Global hotkey ⌥Space registered — works in ALL apps, NO permissions needed!"
        self.change("--create", "--type", "string", "--set", "popup_menu_key", message=taken)
        self.change("--reset", message=free)


class WithoutAccessibilityBus(FlipTest):
    """Run in a session that has none."""

    def test_the_clipboard_path_does_it(self):
        self.assertIn(
            "Accessibility: not yet granted (needed for ⌘A/⌘C/⌘V in other apps)",
            self.velmorin.messages(),
        )
        editor = self.start(InaccessibleEditor, "hgsghk")
        self.assertIn("  AX not trusted", self.velmorin.flip(PASTED))
        editor.expect(to_arabic("hgsghk"))


if __name__ == "__main__":
    unittest.main()
