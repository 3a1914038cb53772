# SPDX-License-Identifier: MIT
"""Measures the built program on a private desktop: flips, start and footprint, beside its peers.
The figures of one part go to a JSON file.

desktop_bench.py processes|flips|start|footprint BINARIES OUTPUT"""

import datetime
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tools"))
from desktop_driver import (  # noqa: E402
    ARABIC,
    LATIN,
    NOTHING_COPIED,
    AccessibleEditor,
    Bus,
    Clipboard,
    InaccessibleEditor,
    Qt6Field,
    Velmorin,
    X,
    log_time,
    open_editor,
    session_processes,
    start_quietly,
    used_ticks,
    wait_until,
    xdotool,
)
from gi.repository import Atspi, Gio, GLib  # noqa: E402
from Xlib import XK, X as x11, display  # noqa: E402
from Xlib.ext import damage, xfixes, xtest  # noqa: E402

FLIPS = 30
STARTS = 7
IDLE = 60  # seconds
REST = 70  # seconds, until what is kept for half a minute after use is given up
CLIPBOARD_STEPS = [("  ⌘A", "  ⌘C", 120), ("  ⌘C", "  Clipboard", 200),
                   ("  Converted", "  ⌘V", 60), ("  ⌘V", "restored", 250)]  # fmt: skip


def summary(values):
    """Median and the middle half."""
    low, median, high = statistics.quantiles(values, n=4)
    return {"median": median, "low": low, "high": high, "count": len(values)}


class Keyboard:
    """Presses Alt+Space, and knows when the X server had it. Lets it go as soon as a hand would: a
    menu bar opens when Alt is let go before the program has seen the press."""

    HOLD = 0.05  # seconds

    def __init__(self):
        self.display = display.Display()
        code = self.display.keysym_to_keycode
        self.alt, self.space = code(XK.XK_Alt_L), code(XK.XK_space)

    def fake(self, kind, key):
        xtest.fake_input(self.display, kind, key)
        self.display.sync()

    def press(self):
        self.fake(x11.KeyPress, self.alt)
        pressed = time.monotonic()
        self.fake(x11.KeyPress, self.space)
        threading.Timer(self.HOLD, self.release).start()
        return pressed

    def release(self):
        self.fake(x11.KeyRelease, self.space)
        self.fake(x11.KeyRelease, self.alt)


def processor_time(process):
    """Of all its threads so far, in milliseconds."""
    total = 0
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/schedstat", encoding="ascii") as file:
            total += int(file.read().split()[0])
    return total / 1e6


class TextChanges:
    """When another client of the accessibility bus is told of a changed text, and the processor
    time that a process has used by then."""

    def __init__(self, process):
        self.process = process
        self.times = []
        self.used = 0
        self.listener = Atspi.EventListener.new(self.changed)
        self.listener.register("object:text-changed:insert")

    def changed(self, _event):
        self.times.append(time.monotonic())
        self.used = processor_time(self.process)

    def wait(self, since):
        self.turn(lambda: any(when > since for when in self.times), 20)
        assert self.times and self.times[-1] > since, "no text was changed"
        # The last one of this flip: a selection is replaced by several changes.
        self.turn(lambda: False, 0.1)
        return self.times[-1]

    def rest(self):
        """Until the next flip would be accepted, and no more is told of the last one."""
        count = -1
        while count != len(self.times):
            count = len(self.times)
            self.turn(lambda: False, 0.4)

    @staticmethod
    def turn(condition, seconds):
        """The event loop, until the condition holds, for so many seconds at most."""
        expired = []
        timer = GLib.timeout_add(int(seconds * 1000), lambda: expired.append(True))
        while not condition() and not expired:
            GLib.MainContext.default().iteration(True)
        if not expired:
            GLib.source_remove(timer)


class Calls:
    """Counts what one process asks another on the accessibility bus, and how often it has to wait:
    calls that are under way together are waited for together. Asking again until the focus is there
    is counted apart."""

    def __init__(self, process, other):
        self.reset()
        bus = Bus.accessibility()
        self.own, self.others = bus.names_of(process), bus.names_of(other)
        self.connection = bus.connection
        self.connection.add_filter(self._seen)
        rules = [f"{end}='{name}'" for name in self.own for end in ("sender", "destination")]
        self.connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring",
            "BecomeMonitor", GLib.Variant("(asu)", (rules, 0)), None, Gio.DBusCallFlags.NONE,
            10000, None,
        )  # fmt: skip

    def reset(self):
        self.count = self.waits = self.repeats = 0
        self.open = set()

    def _seen(self, _connection, message, incoming):
        if not incoming or message.get_destination() == self.connection.get_unique_name():
            return message
        if message.get_message_type() == Gio.DBusMessageType.METHOD_CALL:
            if message.get_sender() in self.own and message.get_destination() in self.others:
                self.count += 1
                self.waits += not self.open
                self.repeats += message.get_member() == "GetInterfaces"
                self.open.add(message.get_serial())
        elif message.get_destination() in self.own:
            self.open.discard(message.get_reply_serial())
        return None  # it is nobody's to answer


def flip(velmorin, keyboard):
    """Waits for its end, and gives when the key was pressed and the log's lines."""
    start = len(velmorin.lines)
    pressed = keyboard.press()
    velmorin.wait_for("FLIP DONE", NOTHING_COPIED, after=start)
    return pressed, velmorin.lines[start:]


def round_trip(editor):
    """Of a call to the editor on the accessibility bus, in milliseconds."""
    bus = Bus.accessibility()
    name = bus.names_of(editor.process.pid)[0]
    path = "/org/a11y/atspi/accessible/root"
    times = []
    for _ in range(200):
        begin = time.monotonic()
        bus.call(name, path, "org.freedesktop.DBus.Peer", "Ping")
        times.append((time.monotonic() - begin) * 1000)
    return statistics.median(times)


def direct_flips(velmorin, keyboard, kind, size, folder):
    line = "hgsghk ugdlk " * 6
    lines = line * 2 if size <= 100 else (line[:-1] + "\n") * (size // len(line) + 1)
    text = lines[:size]
    editor = open_editor(kind, folder, text)
    changes = TextChanges(velmorin.process.pid)
    flips = FLIPS if size < 10000 else 5
    times, own = [], []
    direct = 0
    # The first flip fills caches, and the editor may not know yet that changes are listened to.
    flip(velmorin, keyboard)
    changes.rest()
    for _ in range(flips):
        start = len(velmorin.lines)
        used = processor_time(velmorin.process.pid)
        pressed = keyboard.press()
        times.append((changes.wait(pressed) - pressed) * 1000)
        own.append(changes.used - used)
        velmorin.wait_for("FLIP DONE", NOTHING_COPIED, after=start)
        direct += "(AX)" in velmorin.lines[-1]
        changes.rest()
    calls = Calls(velmorin.process.pid, editor.process.pid)
    counts = []
    for _ in range(5):
        calls.reset()
        start = len(velmorin.lines)
        changes.wait(keyboard.press())  # turns the event loop, which counts the calls
        velmorin.wait_for("FLIP DONE", NOTHING_COPIED, after=start)
        changes.rest()
        counts.append((calls.waits, calls.count, calls.repeats - 1))
    calls.connection.close_sync(None)
    # An answer may come before the next question of those that are sent together.
    waits, count, repeats = min(counts)
    result = {"size": size, "field": kind.__name__, "total": summary(times), "own": summary(own),
              "direct": direct, "calls": count, "waits": waits,
              "repeats": repeats, "round_trip": round_trip(editor)}  # fmt: skip
    changes.listener.deregister("object:text-changed:insert")
    editor.stop()
    velmorin.ready_again()
    return result


class ClipboardChanges:
    """When the clipboard had another owner or other contents, in milliseconds of the day, as the
    log's time stamps are."""

    def __init__(self):
        self.times = []
        self.display = display.Display()
        self.display.xfixes_query_version()
        self.display.xfixes_select_selection_input(
            self.display.screen().root, self.display.get_atom("CLIPBOARD"),
            xfixes.XFixesSetSelectionOwnerNotifyMask,
        )  # fmt: skip
        self.display.sync()
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        while True:
            self.display.next_event()
            now = datetime.datetime.now()
            midnight = now.replace(hour=0, minute=0, second=0, microsecond=0)
            self.times.append((now - midnight).total_seconds() * 1000)


def clipboard_flips(velmorin, keyboard, folder):
    """How late each step of a clipboard flip is, in milliseconds by the log. The last one is there
    when the clipboard is put back, which is before its line."""
    editor = open_editor(InaccessibleEditor, folder, "hgsghk ugdlk")
    earlier = Clipboard.set("what was there before")
    changes = ClipboardChanges()
    lateness = [[] for _ in CLIPBOARD_STEPS]
    for _ in range(FLIPS):
        _, lines = flip(velmorin, keyboard)
        for late, (first, second, delay) in zip(lateness, CLIPBOARD_STEPS):
            begin = log_time(next(line for line in lines if first in line))
            if second == "restored":
                end = wait_until(lambda: next((time for time in changes.times if time > begin), None),
                                 "the clipboard to be put back")  # fmt: skip
            else:
                end = log_time(next(line for line in lines if second in line))
            late.append(end - begin - delay)
        velmorin.ready_again()
    earlier.kill()
    earlier.wait()
    editor.stop()
    return {f"{first.strip()} → {second.strip(' ─')}": summary(late)
            for late, (first, second, _) in zip(lateness, CLIPBOARD_STEPS)}  # fmt: skip


class Frames:
    """When a new window of the desktop is drawn."""

    QUIET = 0.5  # seconds without drawing, after which a window is complete

    def __init__(self):
        self.display = display.Display()
        self.root = self.display.screen().root
        self.root.change_attributes(event_mask=x11.SubstructureNotifyMask)
        self.display.damage_query_version()
        self.display.sync()

    def first_and_last(self, begin):
        """Seconds from `begin` to the first and to the last drawing in a window that is larger than
        an icon, until it is complete."""
        notify = self.display.extension_event.DamageNotify
        deadline = time.monotonic() + 60
        drawings = []
        while not drawings or time.monotonic() < begin + drawings[-1] + self.QUIET:
            assert time.monotonic() < deadline, "no window was drawn, or one is drawn forever"
            while self.display.pending_events():
                event = self.display.next_event()
                if event.type == x11.CreateNotify and event.width > 100 and event.height > 100:
                    event.window.damage_create(damage.DamageReportRawRectangles)
                    self.display.sync()
                elif event.type == notify and event.area.width > 50 and event.area.height > 50:
                    drawings.append(time.monotonic() - begin)
            time.sleep(0.001)
        return drawings[0], drawings[-1]


def start_times(binaries, folder):
    peers = {
        "Velmorin": [f"{binaries}/velmorin"],
        "empty Qt Quick window": [f"{binaries}/empty_window"],
        "CopyQ": ["copyq", "--start-server", "show"],
        "AutoKey": ["autokey-gtk", "-c"],
    }
    result = {}
    for name, command in peers.items():
        if not shutil.which(command[0]):
            continue
        frames, complete, hotkeys = [], [], []

        def read(process, begin):
            for line in process.stdout:
                if "registered — works" in line:
                    hotkeys.append((time.monotonic() - begin) * 1000)

        for _ in range(STARTS + 1):
            watch = Frames()
            environment = {"XDG_CONFIG_HOME": os.path.join(folder, f"start-{name}"),
                           "XDG_DATA_HOME": os.path.join(folder, f"data-{name}"),
                           "VELMORIN_PRINT_LOG": "1"}  # fmt: skip
            begin = time.monotonic()
            process = start_quietly(command, env={**os.environ, **environment}, text=True,
                                    stdout=subprocess.PIPE, start_new_session=True)  # fmt: skip
            reader = threading.Thread(target=read, args=(process, begin))
            reader.start()
            first, last = watch.first_and_last(begin)
            frames.append(first * 1000)
            complete.append(last * 1000)
            kill_session(process.pid)
            # Some have moved to a session of their own.
            subprocess.run(["pkill", "-KILL", "-x", os.path.basename(command[0])], check=False)
            process.wait()
            reader.join()
            process.stdout.close()
            time.sleep(1)  # the desktop comes to rest
        # The first start fills caches.
        result[name] = {"frame": summary(frames[1:]), "complete": summary(complete[1:])}
        if hotkeys:
            result[name]["hotkey"] = summary(hotkeys[1:])
        print(name, result[name], flush=True)
    return result


def footprint(session):
    """Of all processes of a session, in KiB."""
    total = {"rss": 0, "pss": 0, "private": 0, "dirty": 0}
    names = {"Rss:": ["rss"], "Pss:": ["pss"], "Private_Clean:": ["private"],
             "Private_Dirty:": ["private", "dirty"]}  # fmt: skip
    for process in session_processes(session):
        try:
            with open(f"/proc/{process}/smaps_rollup", encoding="ascii") as file:
                for line in file:
                    for key in names.get(line.split()[0], []):
                        total[key] += int(line.split()[1])
        except (FileNotFoundError, ProcessLookupError):
            pass
    return total


def activity(session):
    """Wake-ups and CPU milliseconds so far."""
    wakeups = ticks = 0
    for process in session_processes(session):
        for thread in os.listdir(f"/proc/{process}/task"):
            with open(f"/proc/{process}/task/{thread}/status", encoding="utf-8") as file:
                wakeups += next(int(line.split()[1]) for line in file
                                if line.startswith("voluntary_ctxt"))  # fmt: skip
        ticks += used_ticks(process)
    return wakeups, ticks * 1000 // os.sysconf("SC_CLK_TCK")


def idle(sessions):
    """Wake-ups and CPU milliseconds of each session while nothing is done."""
    before = [activity(session) for session in sessions]
    time.sleep(IDLE)
    return [[after - first for after, first in zip(activity(session), start)]
            for session, start in zip(sessions, before)]  # fmt: skip


def kill_session(session):
    subprocess.run(["pkill", "-KILL", "-s", str(session)], check=False)


def footprints(binaries, keyboard, folder):
    """All programs at once, as on a desktop where others use the same libraries."""
    commands = {
        "empty Qt Quick window": [f"{binaries}/empty_window"],
        "CopyQ": ["copyq"],
        "AutoKey": ["autokey-gtk"],
        "xneur": ["xneur"],
    }
    sessions = {}
    for name, command in commands.items():
        if shutil.which(command[0]):
            sessions[name] = start_quietly(command, start_new_session=True).pid
    velmorin = Velmorin(f"{binaries}/velmorin", wrapper=("setsid",),
                        environment={"XDG_CONFIG_HOME": folder + "/footprint"})  # fmt: skip
    sessions["Velmorin"] = velmorin.process.pid
    time.sleep(REST)
    result = {name: {"start": footprint(session)} for name, session in sessions.items()}
    for name, used in zip(sessions, idle(sessions.values())):
        result[name]["idle"] = used
    # The peers might take the keys or the focus. The empty window stays: it shares Qt's pages.
    for name in ("CopyQ", "AutoKey", "xneur"):
        if name in sessions:
            kill_session(sessions[name])
    session = sessions["Velmorin"]
    editor = open_editor(AccessibleEditor, folder, "hgsghk ugdlk")
    for _ in range(100):
        flip(velmorin, keyboard)
        velmorin.ready_again()
    result["Velmorin"]["100 flips"] = footprint(session)
    editor.stop()
    # Twice as many lines a second as ten presses make: a second press is refused with two lines.
    busy = activity(session)[1]
    begin = time.monotonic()
    lines = len(velmorin.lines)
    while time.monotonic() < begin + 10:
        keyboard.press()
        time.sleep(0.1)
    result["Velmorin"]["log"] = {
        "lines": (len(velmorin.lines) - lines) / 10,
        "cpu": (activity(session)[1] - busy) / 10000,
    }
    for window in xdotool("search", "--onlyvisible", "--name", "^Velmorin$").split():
        X.close(window)
    time.sleep(REST)
    result["Velmorin"]["closed"] = footprint(session)
    [result["Velmorin"]["closed idle"]] = idle([session])
    velmorin.stop()
    for session in sessions.values():
        kill_session(session)
    return result


def whole_processes(folder):
    """Perl and Python, a million characters from a file to another, in nanoseconds a character."""
    text = "hgsghk ugdlk\n" * 76924
    source = Path(folder, "text")
    source.write_text(text, encoding="utf-8")
    latin = LATIN.replace("/", "\\/")
    commands = {
        "Perl tr": ["perl", "-CSDA", "-Mutf8", "-pe", f"tr/{latin}/{ARABIC}/"],
        "Python str.translate": ["/usr/bin/python3", "-c",
                                 "import sys\n"
                                 f"t = str.maketrans({LATIN!r}, {ARABIC!r})\n"
                                 "sys.stdout.write(sys.stdin.read().translate(t))"],
    }  # fmt: skip
    result = {}
    for name, command in commands.items():
        times = []
        for _ in range(5):
            with source.open("rb") as read, Path(folder, "out").open("wb") as write:
                begin = time.monotonic()
                subprocess.run(command, stdin=read, stdout=write, check=True,
                               env={**os.environ, "LC_ALL": "C.UTF-8"})  # fmt: skip
                times.append((time.monotonic() - begin) * 1e9 / len(text))
        result[name] = summary(times)
    return result


def flips(binaries, folder):
    keyboard = Keyboard()
    velmorin = Velmorin(f"{binaries}/velmorin", environment={"XDG_CONFIG_HOME": folder})
    direct = [
        direct_flips(velmorin, keyboard, kind, size, folder)
        for kind, size in ((AccessibleEditor, 100), (Qt6Field, 100), (AccessibleEditor, 10**6))
    ]
    clipboard = clipboard_flips(velmorin, keyboard, folder)
    velmorin.stop()
    return {"direct": direct, "clipboard": clipboard}


def main():
    part, binaries, output = sys.argv[1], os.path.abspath(sys.argv[2]), sys.argv[3]
    with tempfile.TemporaryDirectory() as folder:
        if part == "processes":
            result = whole_processes(folder)
        elif part == "flips":
            result = flips(binaries, folder)
        elif part == "start":
            result = start_times(binaries, folder)
        else:
            result = footprints(binaries, Keyboard(), folder)
    print(result, flush=True)
    with open(output, "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1, ensure_ascii=False)


if __name__ == "__main__":
    main()
