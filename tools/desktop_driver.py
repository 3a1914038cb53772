# SPDX-License-Identifier: MIT
"""Drives a desktop as a user would: starts Velmorin and editors, presses keys, and reads the
editors' texts from the editors themselves. Everything waits for conditions, with a bound."""

import contextlib
import ctypes
import os
import re
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib  # noqa: E402

LIMIT = float(os.environ.get("VELMORIN_TEST_LIMIT", "60"))  # seconds; generous, for slow machines

LATIN = "`qwertyuiop[]asdfghjkl;'zxcvbnm,./1234567890"
ARABIC = "ذضصثقفغعهخحجدشسيبلانمكط'ءئؤرىةوزظ؟١٢٣٤٥٦٧٨٩٠"
NOTHING_COPIED = "  Nothing copied"
TO_ARABIC = str.maketrans(LATIN, ARABIC)
BARE = re.compile(f"[{re.escape(LATIN)}](?![\u0300-\u036f])")


def to_arabic(text):
    """What the keys of the text give on the Arabic layout. A letter that bears a mark is no key's."""
    return BARE.sub(lambda match: match[0].translate(TO_ARABIC), text)


def wait_until(condition, what, limit=LIMIT):
    """Waits until condition() is true, and returns what it returned. `what` may be a function, for
    words that are only known in the end."""
    deadline = time.monotonic() + limit
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            description = what() if callable(what) else what
            raise AssertionError(f"waited {limit} s in vain for: {description}")
        time.sleep(0.01)


def xdotool(*arguments):
    result = subprocess.run(
        ["xdotool", *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True
    )
    return result.stdout.strip()


def active_window():
    """The title of the window with the keyboard focus."""
    return xdotool("getactivewindow", "getwindowname")


def start_quietly(command, **options):
    """A process that says nothing."""
    nothing = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.Popen(command, **{**nothing, **options})


def session_processes(session):
    """The numbers of all processes of a session."""
    for process in map(int, filter(str.isdigit, os.listdir("/proc"))):
        try:
            if os.getsid(process) == session:
                yield process
        except ProcessLookupError:
            pass


def used_ticks(process):
    """The processor time that a process has used."""
    with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])


def log_time(line):
    """The time stamp of a line of the log, in milliseconds."""
    hours, minutes, seconds = line[1:].split("]")[0].split(":")
    return (int(hours) * 60 + int(minutes)) * 60000 + float(seconds) * 1000


class X:
    """The few questions to the X server that xdotool does not ask."""

    lib = ctypes.CDLL("libX11.so.6")
    lib.XOpenDisplay.restype = ctypes.c_void_p

    @classmethod
    @contextlib.contextmanager
    def display(cls):
        display = ctypes.c_void_p(cls.lib.XOpenDisplay(None))
        yield display
        cls.lib.XSync(display, 0)
        cls.lib.XCloseDisplay(display)

    @classmethod
    def held_keys(cls):
        """The key codes that are down."""
        keys = (ctypes.c_char * 32)()
        with cls.display() as display:
            cls.lib.XQueryKeymap(display, keys)
        return [i for i in range(256) if keys[i // 8][0] >> (i % 8) & 1]

    @classmethod
    def lock_group(cls, group):
        """Makes the keyboard's n-th layout the active one."""
        with cls.display() as display:
            cls.lib.XkbLockGroup(display, 0x100, group)

    @classmethod
    def set_repeat(cls, delay, interval):
        """How soon and how often a key that is held repeats, in milliseconds."""
        with cls.display() as display:
            cls.lib.XkbSetAutoRepeatRate(display, 0x100, delay, interval)

    @classmethod
    def grab_keyboard(cls):
        """Takes all keys, as a menu or a screen locker does, until release_keyboard()."""
        display = ctypes.c_void_p(cls.lib.XOpenDisplay(None))
        root = cls.lib.XDefaultRootWindow(display)
        wait_until(
            lambda: cls.lib.XGrabKeyboard(display, root, 0, 1, 1, 0) == 0, "the keyboard's grab"
        )
        return display

    @classmethod
    def release_keyboard(cls, display):
        cls.lib.XCloseDisplay(display)

    @classmethod
    def disown_clipboard(cls):
        """Leaves the clipboard with no owner."""
        with cls.display() as display:
            clipboard = cls.lib.XInternAtom(display, b"CLIPBOARD", 0)
            cls.lib.XSetSelectionOwner(display, clipboard, 0, 0)

    class ClientMessage(ctypes.Structure):
        _fields_ = [
            ("type", ctypes.c_int),
            ("serial", ctypes.c_ulong),
            ("send_event", ctypes.c_int),
            ("display", ctypes.c_void_p),
            ("window", ctypes.c_ulong),
            ("message_type", ctypes.c_ulong),
            ("format", ctypes.c_int),
            ("data", ctypes.c_long * 5),
            ("padding", ctypes.c_long * 24),  # to the size of an XEvent
        ]

    @classmethod
    def close(cls, window):
        """Asks the window manager to close a window, as its close button does."""
        with cls.display() as display:
            name = cls.lib.XInternAtom(display, b"_NET_CLOSE_WINDOW", 0)
            message = cls.ClientMessage(type=33, window=int(window), message_type=name, format=32)
            root = cls.lib.XDefaultRootWindow(display)
            redirect = 1 << 20 | 1 << 19  # SubstructureRedirectMask, SubstructureNotifyMask
            cls.lib.XSendEvent(display, root, 0, redirect, ctypes.byref(message))


class Velmorin:
    """The program, and its live log as it prints it."""

    def __init__(self, program, wait=True, environment=None, wrapper=()):
        self.lines = []
        self.errors = None
        self.process = subprocess.Popen(
            [*wrapper, program],
            env={**os.environ, "VELMORIN_PRINT_LOG": "1", **(environment or {})},
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()
        if wait:
            self.wait_for("Accessibility: ")
        if wait and "DISPLAY" not in (environment or {}):
            wait_until(lambda: active_window() == "Velmorin", "the window")

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def wait_for(self, *texts, after=0):
        """Waits for a line with one of the texts among those after the first `after`."""

        def found():
            for line in self.lines[after:]:
                if any(text in line for text in texts):
                    return line
            if self.process.poll() is not None:
                status = self.process.returncode
                raise AssertionError(f"velmorin ended ({status}) while it should say: {texts}")
            return None

        return wait_until(found, lambda: f"a log line with one of {texts} in {self.lines[after:]}")

    def messages(self, after=0):
        """The log's lines without their time stamps."""
        return [line.split("] ", 1)[1] for line in self.lines[after:]]

    def flip(self, end, held=()):
        """Presses the hotkey and waits for the line that ends the flip. Gives the flip's lines.

        An editor on a busy machine may take longer to copy than a flip waits; the flip then ends
        with nothing changed, and is tried again, as its user would."""
        for _ in range(5):
            lines = self.flip_once(end, held=held)
            if end in lines[-1]:
                return lines
            self.ready_again()
        raise AssertionError(f"no flip of five ended in {end!r}; the last one: {lines}")

    def flip_once(self, *ends, held=()):
        """Presses the hotkey and waits for a line with one of the ends, or that nothing was
        copied. Gives the flip's lines. The held keys, of space and alt, are down throughout."""
        start = len(self.lines)
        xdotool("keydown", "alt", "space")
        # The keys are let go when the press was seen, as a hand would.
        self.wait_for("⌥Space pressed!", after=start)
        xdotool("keyup", *(key for key in ("space", "alt") if key not in held))
        self.wait_for(*ends, NOTHING_COPIED, after=start)
        xdotool("keyup", *held)
        return self.messages(start)

    def ready_again(self):
        """Waits until the next flip would be accepted: 0.3 s after the last one ended."""
        time.sleep(0.35)

    def memory(self, kind):
        """What of it is in memory, in KiB: RssAnon, its own, or RssFile, of files."""
        status = Path(f"/proc/{self.process.pid}/status").read_text(encoding="utf-8")
        return int(re.search(rf"{kind}:\s*(\d+)", status)[1])

    def elements(self, role=None):
        """What is on the accessibility bus of the program's window, depth first."""
        for element in accessible_elements(self.process.pid):
            if role in (None, element.get_role_name()):
                yield element

    def element(self, role, name):
        """The first one of that role and name."""

        def found():
            return next((e for e in self.elements(role) if e.get_name() == name), None)

        return wait_until(found, f"the {role} {name!r} on the accessibility bus")

    def press(self, role, name):
        """Does an element's "Press" action."""
        element = self.element(role, name)
        actions = [
            Atspi.Action.get_action_name(element, index)
            for index in range(Atspi.Action.get_n_actions(element))
        ]
        Atspi.Action.do_action(element, actions.index("Press"))

    def focused(self):
        """Role and name of the element with the keyboard focus, or None."""
        found = None
        for element in self.elements():
            if element.get_state_set().contains(Atspi.StateType.FOCUSED):
                found = (element.get_role_name(), element.get_name())  # the innermost
        return found

    def stop(self):
        """Ends the program at once, as a crash would, and gives what it said on standard error."""
        if self.errors is None:
            self.process.kill()
            self.process.wait()
            self.reader.join()
            self.errors = self.process.stderr.read()
            self.process.stdout.close()
            self.process.stderr.close()
        return self.errors


def accessible_elements(process_id):
    """What a process has on the accessibility bus, depth first."""

    def walk(element):
        if element:
            element.clear_cache()
            yield element
            for index in range(element.get_child_count()):
                yield from walk(element.get_child_at_index(index))

    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        try:
            application = desktop.get_child_at_index(index)
            is_it = application and application.get_process_id() == process_id
        except GLib.Error:
            continue  # one that has just ended
        if is_it:
            yield from walk(application)


def accessible_text(process_id):
    """The text of the focused text field of a process, as the accessibility bus tells; or None."""
    Atspi.get_desktop(0).clear_cache()
    try:
        for element in accessible_elements(process_id):
            is_focused = element.get_state_set().contains(Atspi.StateType.FOCUSED)
            if is_focused and "Text" in element.get_interfaces():
                return Atspi.Text.get_text(element, 0, Atspi.Text.get_character_count(element))
    except GLib.Error:
        pass
    return None


class Application:
    """A running application with a text field that has the focus."""

    def __init__(self, command, title, environment=None):
        environment = {**os.environ, **(environment or {})}
        self.process = start_quietly(command, env=environment, start_new_session=True)
        wait_until(lambda: title in active_window(), f"the window {title}")
        self.window = xdotool("getactivewindow")

    def activate(self):
        """Gives the keyboard focus back to it."""
        xdotool("windowactivate", self.window)
        wait_until(lambda: xdotool("getactivewindow") == self.window, "the application's focus")

    def stop(self):
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGCONT)
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait()

    def keys(self, *keys):
        xdotool("key", *keys)

    def type(self, text):
        xdotool("type", text)

    def expect(self, text):
        """Waits until the field holds exactly the text."""
        try:
            wait_until(lambda: self.text() == text, "the field's text")
        except AssertionError:
            raise AssertionError(f"the field holds {self.text()!r}, not {text!r}") from None


class Editor(Application):
    """Mousepad, a GTK 3 editor."""

    ENVIRONMENT = {}

    def __init__(self, path, text=""):
        self.path = path
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        command = ["mousepad", "--disable-server", path]
        super().__init__(command, os.path.basename(path), self.ENVIRONMENT)


class AccessibleEditor(Editor):
    def __init__(self, path, text=""):
        super().__init__(path, text)
        wait_until(lambda: self.text() is not None, "the editor on the accessibility bus")

    def text(self):
        return accessible_text(self.process.pid)


class InaccessibleEditor(Editor):
    """The same editor without its accessibility bridge. It is read by saving its file."""

    ENVIRONMENT = {"NO_AT_BRIDGE": "1", "GTK_A11Y": "none"}

    def __init__(self, path, text=""):
        super().__init__(path, text)
        # The window is there before it listens: a key that it answers shows that it does.
        wait_until(self.answers, "the editor to take keys")
        self.keys(*["BackSpace"] * (len(self.text()) - len(text)))
        wait_until(self.is_changed, "the keys to be taken back")
        self.expect(text)

    def answers(self):
        self.keys("ctrl+End")
        self.type("x")
        try:
            return wait_until(self.is_changed, "a change", limit=2)
        except AssertionError:
            return False

    def is_changed(self):
        return "*" in active_window()

    def text(self):
        if self.is_changed():
            self.keys("ctrl+s")
            wait_until(lambda: not self.is_changed(), "the editor to save")
        with open(self.path, encoding="utf-8") as file:
            return file.read()


class Qt6Field(Application):
    """A Qt 6 line edit in a window with a menu bar."""

    PROGRAM = """
import sys
from PyQt6.QtWidgets import QApplication, QLineEdit, QMainWindow
application = QApplication(sys.argv)
window = QMainWindow()
window.setWindowTitle("A field")
window.menuBar().addMenu("&File").addAction("&Open")
field = QLineEdit(sys.argv[1])
field.setMaxLength(2000000)
window.setCentralWidget(field)
window.show()
field.setFocus()
sys.exit(application.exec())
"""

    def __init__(self, text=""):
        super().__init__(["/usr/bin/python3", "-c", self.PROGRAM, text], "A field")
        wait_until(lambda: self.text() is not None, "the field on the accessibility bus")

    def text(self):
        return accessible_text(self.process.pid)


def open_editor(kind, folder, text):
    """An editor or a field with a text, and its file, if it has one, in the folder."""
    arguments = [] if kind is Qt6Field else [os.path.join(folder, f"{kind.__name__}.txt")]
    return kind(*arguments, text)


class Clipboard:
    """The clipboard, through another program."""

    @staticmethod
    def set(contents, wait=True):
        """A text, or the bytes of an image. Gives the process that owns it, until someone else
        does."""
        is_text = isinstance(contents, str)
        command = ["xclip", "-quiet", "-selection", "clipboard"]
        if not is_text:
            command += ["-t", "image/png"]
        process = start_quietly(command, stdin=subprocess.PIPE)
        process.stdin.write(contents.encode() if is_text else contents)
        process.stdin.close()
        if wait:
            wait_until(
                lambda: Clipboard.get() == contents if is_text
                else "image/png" in Clipboard.targets(),
                "the clipboard to be owned",
            )  # fmt: skip
        return process

    @staticmethod
    def targets():
        """The types in which it can be read."""
        return Clipboard.get("TARGETS") or ""

    @staticmethod
    def get(target="UTF8_STRING"):
        result = subprocess.run(
            ["timeout", "5", "xclip", "-o", "-selection", "clipboard", "-t", target],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
        )
        return result.stdout.decode() if result.returncode == 0 else None


class Bus:
    """A message bus, and what its daemon tells of it."""

    def __init__(self, address):
        flags = (
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        )
        self.connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)

    @classmethod
    def session(cls):
        return cls(os.environ["DBUS_SESSION_BUS_ADDRESS"])

    @classmethod
    def accessibility(cls):
        """It is started where it does not run."""
        call = ("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
        return wait_until(lambda: cls._reached(cls.session().call(*call)[0]), "the bus")

    @classmethod
    def _reached(cls, address):
        try:
            return cls(address)
        except GLib.Error:
            return None  # the address of one that has just ended

    def call(self, name, path, interface, method, arguments=None):
        reply = self.connection.call_sync(
            name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 10000, None
        )
        return reply.unpack()

    def ask_daemon(self, method, *arguments, interface="org.freedesktop.DBus"):
        values = GLib.Variant("(" + "s" * len(arguments) + ")", arguments)
        name = "org.freedesktop.DBus"
        return self.call(name, "/org/freedesktop/DBus", interface, method, values)[0]

    def names_of(self, process):
        """The names of all connections of a process, as the daemon gave them."""
        names = []
        for name in self.ask_daemon("ListNames"):
            with contextlib.suppress(GLib.Error):  # it may just have left
                if name.startswith(":") and self.process_of(name) == process:
                    names.append(name)
        return names

    def process_of(self, name):
        return self.ask_daemon("GetConnectionUnixProcessID", name)

    def daemon(self):
        """The process number of the daemon itself."""
        return self.process_of("org.freedesktop.DBus")


class StatusNotifierHost:
    """What a desktop's panel is to status icons: org.kde.StatusNotifierWatcher and a host."""

    INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
        <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
        <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
        <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
        <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
        <property name="ProtocolVersion" type="i" access="read"/>
        <signal name="StatusNotifierHostRegistered"/>
        </interface></node>"""
    NAME = "org.kde.StatusNotifierWatcher"

    def __init__(self):
        self.items = []
        self.context = GLib.MainContext()
        self.loop = GLib.MainLoop(self.context)
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.ready = threading.Event()
        self.thread.start()
        self.ready.wait(LIMIT)

    def _run(self):
        self.context.push_thread_default()
        self.bus = Bus.session()
        interface = Gio.DBusNodeInfo.new_for_xml(self.INTERFACE).interfaces[0]
        self.bus.connection.register_object(
            "/StatusNotifierWatcher", interface, self._called, self._get, None
        )
        self.bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                      "RequestName", GLib.Variant("(su)", (self.NAME, 0)))  # fmt: skip
        self.ready.set()
        self.loop.run()

    def _called(self, _bus, sender, _path, _interface, method, arguments, invocation):
        if method == "RegisterStatusNotifierItem":
            service = arguments[0]
            self.items.append(sender if service.startswith("/") else service)
        invocation.return_value(None)

    def _get(self, _bus, _sender, _path, _interface, name):
        return {
            "RegisteredStatusNotifierItems": GLib.Variant("as", self.items),
            "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
            "ProtocolVersion": GLib.Variant("i", 0),
        }[name]

    def _property(self, item, name):
        arguments = GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", name))
        return self.bus.call(
            item, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", arguments
        )[0]

    def item(self):
        """The bus name of the icon that has registered itself, or None."""
        return self.items[-1] if self.items else None

    def title(self, item):
        return self._property(item, "ToolTip")[2]

    def picture(self, item):
        return self._property(item, "IconPixmap")

    def activate(self, item):
        """A click on the icon."""
        self.bus.call(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                      GLib.Variant("(ii)", (0, 0)))  # fmt: skip

    def stop(self):
        self.loop.quit()
        self.thread.join()
        self.bus.connection.close_sync(None)


def fail(message):
    print(message, file=sys.stderr)
    sys.exit(1)
