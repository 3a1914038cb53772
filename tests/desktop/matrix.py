# SPDX-License-Identifier: MIT
"""The table of applications and conditions. Each cell is a flip with the real hotkey; what became
of the text is asked of the application itself."""

import argparse
import html
import http.server
import json
import os
import re
import subprocess
import sys
import tempfile
import threading
import time
import unicodedata
import zipfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
from desktop_driver import (  # noqa: E402
    AccessibleEditor,
    Application,
    Clipboard,
    InaccessibleEditor,
    Velmorin,
    X,
    accessible_text,
    to_arabic,
    wait_until,
    xdotool,
)

WORD = "hgsghk"
LONG = "hgsghk ugdlk " * 7693


class Field(Application):
    """A text field in a small program; it tells its text whenever that changes."""

    multiline = True
    is_accessible = True

    def __init__(self, folder, text):
        self.told = os.path.join(folder, "told")
        with open(os.path.join(folder, "initial"), "w", encoding="utf-8", newline="") as file:
            file.write(text)
        super().__init__(["/usr/bin/python3", "-c", self.PROGRAM, folder], "A field")
        wait_until(lambda: self.text() == text, "the field's first words")
        if self.is_accessible:
            wait_until(lambda: accessible_text(self.process.pid) is not None, "it on the bus")

    def text(self):
        try:
            with open(self.told, encoding="utf-8", newline="") as file:
                return file.read()
        except FileNotFoundError:
            return None


TELL = """
import os, sys
folder = sys.argv[1]
initial = open(folder + "/initial", encoding="utf-8", newline="").read()
def tell(text):
    with open(folder + "/new", "w", encoding="utf-8", newline="") as file:
        file.write(text)
    os.rename(folder + "/new", folder + "/told")
"""


class Gtk4Field(Field):
    name = "GTK 4 text view"
    keeps_line_ends = True
    PROGRAM = TELL + """
import gi
gi.require_version("Gtk", "4.0")
from gi.repository import Gtk
def activate(application):
    window = Gtk.ApplicationWindow(application=application, title="A field")
    view = Gtk.TextView()
    buffer = view.get_buffer()
    def changed(_):
        tell(buffer.get_text(*buffer.get_bounds(), True))
    buffer.connect("changed", changed)
    buffer.set_text(initial, -1)
    buffer.place_cursor(buffer.get_end_iter())
    changed(buffer)
    window.set_default_size(400, 300)
    window.set_child(view)
    window.present()
    view.grab_focus()
application = Gtk.Application()
application.connect("activate", activate)
application.run()
"""

    @staticmethod
    def version():
        return package_version("gir1.2-gtk-4.0")


class Qt6Field(Field):
    name = "Qt 6 line edit"
    multiline = False
    PROGRAM = TELL + """
from PyQt6.QtWidgets import QApplication, QLineEdit, QMainWindow
application = QApplication(sys.argv)
window = QMainWindow()
window.setWindowTitle("A field")
window.menuBar().addMenu("&File").addAction("&Open")
field = QLineEdit()
field.setMaxLength(2000000)
field.textChanged.connect(tell)
field.setText(initial)
tell(initial)
window.setCentralWidget(field)
window.show()
field.setFocus()
sys.exit(application.exec())
"""

    @staticmethod
    def version():
        return package_version("libqt6widgets6")


class TkField(Field):
    name = "Tk text (no accessibility)"
    is_accessible = False
    is_left_alone = True  # Control+A goes to the beginning of the line there
    PROGRAM = TELL + """
import tkinter
window = tkinter.Tk()
window.title("A field")
field = tkinter.Text(window)
field.insert("1.0", initial)
def changed(_=None):
    tell(field.get("1.0", "end-1c"))
    field.edit_modified(False)
field.bind("<<Modified>>", changed)
changed()
field.pack()
field.focus_force()
window.mainloop()
"""

    @staticmethod
    def version():
        return package_version("python3-tk")


class PasswordField(Qt6Field):
    name = "Password field (Qt 6)"
    PROGRAM = Qt6Field.PROGRAM.replace(
        "field.setMax", "field.setEchoMode(QLineEdit.EchoMode.Password)\nfield.setMax"
    )


    is_left_alone = True


class Mousepad(AccessibleEditor):
    name = "Mousepad (GTK 3)"
    multiline = True

    def __init__(self, folder, text):
        super().__init__(os.path.join(folder, "text.txt"), text)

    @staticmethod
    def version():
        return package_version("mousepad")


class MousepadWithoutBridge(InaccessibleEditor):
    name = "Mousepad, no accessibility"
    multiline = True

    def __init__(self, folder, text):
        super().__init__(os.path.join(folder, "text.txt"), text)

    version = Mousepad.version


class Saved(Application):
    """An editor that is read by saving its file."""

    multiline = True

    def text(self):
        before = os.stat(self.path).st_mtime_ns
        self.keys("ctrl+s")
        try:
            wait_until(lambda: os.stat(self.path).st_mtime_ns != before, "the file", limit=5)
        except AssertionError:
            pass  # nothing to save
        return self.read()


class FeatherPad(Saved):
    name = "FeatherPad (Qt 5)"

    def __init__(self, folder, text):
        self.path = os.path.join(folder, "text.txt")
        with open(self.path, "w", encoding="utf-8") as file:
            file.write(text)
        super().__init__(["featherpad", "--standalone", self.path], "text.txt")

    def read(self):
        with open(self.path, encoding="utf-8") as file:
            return file.read().removesuffix("\n")  # which it adds when it saves

    @staticmethod
    def version():
        return package_version("featherpad")


class Writer(Saved):
    name = "LibreOffice Writer"
    is_by_paragraph = True  # each is an accessible element of its own

    def __init__(self, folder, text):
        source = os.path.join(folder, "text.txt")
        with open(source, "w", encoding="utf-8") as file:
            file.write(text)
        profile = f"-env:UserInstallation=file://{folder}/profile"
        convert = ["--convert-to", "odt", "--outdir", folder]
        subprocess.run(
            ["soffice", profile, "--headless", *convert, "--infilter=Text (encoded):UTF8", source],
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            check=True,
        )
        self.path = os.path.join(folder, "text.odt")
        options = ["--norestore", "--nologo", "--nofirststartwizard"]
        super().__init__(["soffice", profile, *options, "--writer", self.path], "text.odt")
        self.keys("ctrl+End")

    def read(self):
        with zipfile.ZipFile(self.path) as file:
            content = file.read("content.xml").decode()
        paragraphs = re.findall(r"<text:p[^>]*?(?:/>|>(.*?)</text:p>)", content, re.DOTALL)
        text = "\n".join(paragraphs)
        text = re.sub(r'<text:s text:c="(\d+)"/>', lambda found: " " * int(found[1]), text)
        return html.unescape(re.sub(r"<[^>]*>", "", text.replace("<text:s/>", " ")))

    @staticmethod
    def version():
        return package_version("libreoffice-writer")


class Xterm(Application):
    """Its text is what `cat` has been sent, which is nothing before Return."""

    name = "Terminal (xterm)"
    multiline = False
    is_left_alone = True

    def __init__(self, folder, text):
        super().__init__(["xterm", "-T", "A terminal", "-e", "cat"], "A terminal")
        self.typed = text
        xdotool("type", text[:100])

    def text(self):
        return self.typed

    @staticmethod
    def version():
        return package_version("xterm")


PAGE = """<!doctype html><meta charset=utf-8><title>A page</title>
<input id=input size=60><br><textarea id=textarea rows=8 cols=60></textarea>
<div id=editable contenteditable style="white-space: pre-wrap; border: 1px solid"></div>
<script>
const field = document.getElementById(location.hash.slice(1));
const isValue = "value" in field;
const tell = () => fetch("/told", {method: "POST", body: isValue ? field.value : field.innerText});
fetch("/initial").then(answer => answer.text()).then(text => {
    if (isValue) { field.value = text; } else { field.textContent = text; }
    field.focus();
    if (isValue) { field.setSelectionRange(text.length, text.length); }
    else { getSelection().selectAllChildren(field); getSelection().collapseToEnd(); }
    field.addEventListener("input", tell);
    tell();
});
</script>"""


def plain(text):
    """Without marks of direction, which Firefox leaves out when it gives an element's text."""
    return text and text.replace("\u200f", "")


class Page(Application):
    """A field of a page in a browser; the page tells its text to us."""

    multiline = True

    def __init__(self, folder, text):
        self.told = None
        page = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                is_text = self.path == "/initial"
                body = (text if is_text else PAGE).encode()
                self.send_response(200)
                self.send_header("Content-Type", "text/plain" if is_text else "text/html")
                self.end_headers()
                self.wfile.write(body)

            def do_POST(self):
                page.told = self.rfile.read(int(self.headers["Content-Length"])).decode()
                self.send_response(204)
                self.end_headers()

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        address = f"http://127.0.0.1:{self.server.server_port}/#{self.field}"
        super().__init__(self.command(folder, address), "A page")
        wait_until(lambda: self.holds(text), "the page's first words")

    def stop(self):
        super().stop()
        self.server.shutdown()
        self.server.server_close()

    def text(self):
        return self.told

    def holds(self, text):
        return plain(self.told) == plain(text)


class Firefox(Page):
    @staticmethod
    def command(folder, address):
        profile = os.path.join(folder, "profile")
        os.makedirs(profile)
        with open(os.path.join(profile, "user.js"), "w", encoding="utf-8") as file:
            for key, value in {
                "browser.shell.checkDefaultBrowser": False,
                "browser.aboutwelcome.enabled": False,
                "datareporting.policy.dataSubmissionEnabled": False,
                "toolkit.telemetry.reportingpolicy.firstRun": False,
                "termsofuse.acceptedVersion": 999,
                "browser.startup.homepage_override.mstone": "ignore",
            }.items():
                file.write(f'user_pref("{key}", {json.dumps(value)});\n')
        return ["firefox-esr", "--profile", profile, "--new-instance", address]

    @staticmethod
    def version():
        return package_version("firefox-esr")


class Chromium(Page):
    @staticmethod
    def command(folder, address):
        options = ["--no-first-run", "--password-store=basic", "--no-default-browser-check"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        return ["chromium", *options, f"--user-data-dir={folder}/profile", f"--app={address}"]

    @staticmethod
    def version():
        return package_version("chromium")


def page(browser, kind):
    return type(f"{browser.__name__}{kind}", (browser,), {
        "field": kind,
        "multiline": kind != "input",
        "name": f"{browser.__name__} {kind}",
    })  # fmt: skip


def package_version(package):
    """Empty when it is not installed."""
    return subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True
    ).stdout


QUICK = [Mousepad, MousepadWithoutBridge, Qt6Field, PasswordField]
ROWS = [
    Mousepad, Gtk4Field, FeatherPad, Qt6Field,
    *(page(browser, kind) for browser in (Firefox, Chromium)
      for kind in ("input", "textarea", "editable")),
    Writer, Xterm, MousepadWithoutBridge, TkField, PasswordField,
]  # fmt: skip


class Condition:
    """A field with a text, a flip, and what the text is afterwards."""

    def __init__(self, name, before=WORD, after=None, keys=(), locks=(), group=0, hold_alt=False,
                 layouts=None, clipboard="before", manager=False):  # fmt: skip
        self.name = name
        self.before = before
        self.after = to_arabic(before) if after is None else after
        self.keys = keys
        self.locks = locks
        self.group = group
        self.hold_alt = hold_alt
        self.layouts = layouts
        self.clipboard = clipboard
        self.manager = manager


MIXED = "hgs\u200fghk \U0001f600 e\u0301 ugdlk\nhgsghk"
CONDITIONS = [
    Condition("whole field"),
    Condition("selection", "ab " + WORD, "ab " + to_arabic(WORD), keys=["ctrl+End"] + ["shift+Left"] * len(WORD)),
    Condition("Arabic to Latin", to_arabic(WORD), WORD, group=1),
    Condition("Arabic layout only", to_arabic(WORD), WORD, layouts="ara"),
    Condition("Alt held", hold_alt=True),
    Condition("Caps and Num Lock", locks=["Caps_Lock", "Num_Lock"]),
    Condition("marks, emoji, CR LF, RLM", MIXED),
    Condition("100,000 characters", LONG),
    Condition("clipboard manager", manager=True),
    Condition("image on clipboard", clipboard=b"\x89PNG\r\n\x1a\n"),
    Condition("empty clipboard", clipboard=None),
]


def own_clipboard(contents):
    """A process that owns the clipboard, or None."""
    if contents is None:
        X.disown_clipboard()
        return None
    if isinstance(contents, str):
        return Clipboard.set(contents)
    process = subprocess.Popen(
        ["xclip", "-quiet", "-selection", "clipboard", "-t", "image/png"],
        stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
    )  # fmt: skip
    process.stdin.write(contents)
    process.stdin.close()
    wait_until(lambda: "image/png" in Clipboard.targets(), "the image on the clipboard")
    return process


def settle(application):
    """Waits until a program that has just started does nothing any more; its user would, too."""
    ticks = os.sysconf("SC_CLK_TCK")

    def used():
        total = 0
        for process in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
                    fields = file.read().rsplit(")", 1)[1].split()
            except (FileNotFoundError, ProcessLookupError):
                continue
            if int(fields[3]) == application.process.pid:  # its session
                total += int(fields[11]) + int(fields[12])
        return total / ticks

    def is_quiet():
        before = used()
        time.sleep(0.3)
        return used() - before < 0.06

    try:
        wait_until(is_quiet, "it to come to rest", limit=15)
    except AssertionError:
        pass


def holds(application, text):
    return application.holds(text) if isinstance(application, Page) else application.text() == text


def duration(lines):
    """Of a flip in milliseconds, by the log's time stamps."""
    def stamp(line):
        hours, minutes, seconds = line[1:].split("]")[0].split(":")
        return (int(hours) * 60 + int(minutes)) * 60 + float(seconds)

    return round((stamp(lines[-1]) - stamp(lines[0])) * 1000)


def flip_cell(velmorin, row, condition, arguments):
    """What happened, as the table says it."""
    before, after = condition.before, condition.after
    if getattr(row, "is_left_alone", False):
        after = before
    if getattr(row, "keeps_line_ends", False):
        before, after = before.replace("\n", "\r\n"), after.replace("\n", "\r\n")
    if not row.multiline:
        before, after = before.replace("\n", " "), after.replace("\n", " ")
    cleanup = []
    with tempfile.TemporaryDirectory() as folder:
        try:
            if condition.manager:
                manager = subprocess.Popen(["parcellite", "-n"], stdout=subprocess.DEVNULL,
                                           stderr=subprocess.DEVNULL)  # fmt: skip
                cleanup += [manager.wait, manager.kill]
            application = row(folder, before)
            cleanup.append(application.stop)
            settle(application)
            if getattr(row, "is_by_paragraph", False):
                if application.text() != before:
                    before = application.text()  # it breaks long lines when it opens a text
                    after = to_arabic(before)
                settle(application)  # it takes keys only when it has quite finished to save
            if condition.layouts:
                subprocess.run(["setxkbmap", condition.layouts], check=True)
                cleanup.append(lambda: subprocess.run(["setxkbmap", "us,ara"], check=True))
            owner = own_clipboard(condition.clipboard)
            if owner:
                cleanup += [owner.wait, owner.kill]
            for key in condition.keys:
                application.keys(key)
            for key in condition.locks:
                xdotool("key", key)
                cleanup.append(lambda key=key: xdotool("key", key))
            X.lock_group(condition.group)
            cleanup.append(lambda: X.lock_group(0))
            start = len(velmorin.lines)
            lines = velmorin.flip_once("FLIP DONE", "Same text", hold_alt=condition.hold_alt)
            if arguments.verbose:
                print(*velmorin.lines[start:], sep="\n", flush=True)
            path = "direct" if "(AX)" in lines[-1] else "clipboard"
            took = duration(velmorin.lines[start:])
            if condition.keys and path == "clipboard" and after != before:
                after = to_arabic(before)  # this path selects all
            if getattr(row, "is_by_paragraph", False) and path == "direct" and "\n" in before:
                *others, last = before.split("\n")
                after = "\n".join([*others, to_arabic(last)])
            try:
                wait_until(lambda: holds(application, after), "the text", limit=10)
                result = f"{path} {took} ms"
                if after == before:
                    result = "**✗** changed" if "FLIP DONE" in lines[-1] else "left alone"
            except AssertionError:
                text = application.text()
                is_same = text == before
                result = f"**✗** {lines[-1].strip(' ─')}, " + (
                    "text unchanged" if is_same else f"text {describe(text, after)}")
            if condition.clipboard == "before" and Clipboard.get() != "before":
                result += ", **clipboard lost**"
            if X.held_keys():
                result += f", **keys held: {X.held_keys()}**"
            return result
        except AssertionError as failure:
            return f"**?** {str(failure)[:200]}"
        finally:
            for undo in reversed(cleanup):
                undo()
            velmorin.ready_again()


def describe(text, wanted):
    """How it differs, without the text itself."""
    if text is None:
        return "cannot be read"
    if unicodedata.normalize("NFC", text) == unicodedata.normalize("NFC", wanted):
        return "differs by normalisation"
    return f"of {len(text)} instead of {len(wanted)} characters"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--verbose", action="store_true", help="print the flips' log")
    parser.add_argument("--write")
    parser.add_argument("--condition", action="append")
    parser.add_argument("rows", nargs="*")
    arguments = parser.parse_args()
    rows = [row for row in (QUICK if arguments.quick else ROWS)
            if not arguments.rows or any(word in row.name for word in arguments.rows)]  # fmt: skip
    conditions = [condition for condition in CONDITIONS
                  if not arguments.condition or condition.name in arguments.condition]  # fmt: skip
    if not package_version("parcellite"):
        conditions = [condition for condition in conditions if not condition.manager]
    table = {}
    with tempfile.TemporaryDirectory() as home:
        velmorin = Velmorin(os.environ["VELMORIN_PROGRAM"], environment={"XDG_CONFIG_HOME": home})
        for row in rows:
            if not row.version():
                print(f"{row.name}: not installed", flush=True)
                continue
            table[row] = []
            for condition in conditions:
                attempts = 3 if arguments.quick else 1  # a machine that tests may be busy
                for _ in range(attempts):
                    result = flip_cell(velmorin, row, condition, arguments)
                    if "**" not in result:
                        break
                print(f"{row.name} | {condition.name} | {result}", flush=True)
                table[row].append(result)
        velmorin.stop()
    lines = ["| | " + " | ".join(condition.name for condition in conditions) + " |"]
    lines.append("|---" * (len(conditions) + 1) + "|")
    for row, results in table.items():
        lines.append(f"| {row.name} {row.version()} | " + " | ".join(results) + " |")
    if arguments.write:
        with open(arguments.write, encoding="utf-8") as file:
            head = file.read().split("\n| | ")[0]
        with open(arguments.write, "w", encoding="utf-8") as file:
            file.write(head + "\n" + "\n".join(lines) + "\n")
    unexpected = [result for results in table.values() for result in results if "**" in result]
    return 1 if arguments.quick and unexpected else 0


if __name__ == "__main__":
    sys.exit(main())
