# SPDX-License-Identifier: MIT
"""The table of applications and conditions. Each cell is a flip with the real hotkey; what became
of the text is asked of the application itself."""

import argparse
import contextlib
import dataclasses
import html
import http.server
import os
import re
import subprocess
import sys
import tempfile
import threading
import time
import unicodedata
import zipfile
from pathlib import Path

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
from desktop_driver import (  # noqa: E402
    AccessibleEditor,
    Application,
    Clipboard,
    InaccessibleEditor,
    Qt6Field,
    Velmorin,
    X,
    accessible_text,
    log_time,
    session_processes,
    start_quietly,
    to_arabic,
    used_ticks,
    wait_until,
    xdotool,
)

WORD = "hgsghk"
LONG = "hgsghk ugdlk " * 7693


class Row:
    """What most rows have in common."""

    is_multiline = True
    is_left_alone = False
    is_by_paragraph = False
    keeps_line_ends = False

    def holds(self, text):
        return self.text() == text


class Field(Row, Application):
    """A text field in a small program; it tells its text whenever that changes."""

    is_accessible = True

    def __init__(self, folder, text):
        self.told = os.path.join(folder, "told")
        Path(folder, "initial").write_text(text, encoding="utf-8", newline="")
        super().__init__(["/usr/bin/python3", "-c", self.PROGRAM, folder], "A field")
        wait_until(lambda: self.text() == text, "the field's first words")
        if self.is_accessible:
            wait_until(lambda: accessible_text(self.process.pid) is not None, "it on the bus")

    def text(self):
        with contextlib.suppress(FileNotFoundError), open(self.told, "rb") as file:
            return file.read().decode()


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
    package = "gir1.2-gtk-4.0"
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


class TellingQt6Field(Field):
    name = "Qt 6 line edit"
    package = "libqt6widgets6"
    is_multiline = False
    PROGRAM = TELL + Qt6Field.PROGRAM.replace("(sys.argv[1])", "(initial)").replace(
        "window.show()", "field.textChanged.connect(tell)\ntell(initial)\nwindow.show()"
    )


class TkField(Field):
    name = "Tk text (no accessibility)"
    package = "python3-tk"
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


class PasswordField(TellingQt6Field):
    name = "Password field (Qt 6)"
    is_left_alone = True
    PROGRAM = TellingQt6Field.PROGRAM.replace(
        "window.show()", "field.setEchoMode(QLineEdit.EchoMode.Password)\nwindow.show()"
    )


class EditorRow(Row):
    package = "mousepad"

    def __init__(self, folder, text):
        super().__init__(os.path.join(folder, "text.txt"), text)


class Mousepad(EditorRow, AccessibleEditor):
    name = "Mousepad (GTK 3)"


class MousepadWithoutBridge(EditorRow, InaccessibleEditor):
    name = "Mousepad, no accessibility"


class Saved(Row, Application):
    """An editor that is read by saving its file."""


    def text(self):
        before = os.stat(self.path).st_mtime_ns
        self.keys("ctrl+s")
        with contextlib.suppress(AssertionError):  # there may be nothing to save
            wait_until(lambda: os.stat(self.path).st_mtime_ns != before, "the file", limit=5)
        return self.read()


class FeatherPad(Saved):
    name = "FeatherPad (Qt 5)"
    package = "featherpad"

    def __init__(self, folder, text):
        self.path = os.path.join(folder, "text.txt")
        Path(self.path).write_text(text, encoding="utf-8")
        super().__init__(["featherpad", "--standalone", self.path], "text.txt")

    def read(self):
        text = Path(self.path).read_text(encoding="utf-8")
        return text.removesuffix("\n")  # which it adds when it saves


class Writer(Saved):
    name = "LibreOffice Writer"
    package = "libreoffice-writer"
    is_by_paragraph = True  # each is an accessible element of its own

    def __init__(self, folder, text):
        source = Path(folder, "text.txt")
        source.write_text(text, encoding="utf-8")
        profile = f"-env:UserInstallation=file://{folder}/profile"
        convert = ["--convert-to", "odt", "--outdir", folder]
        subprocess.run(
            ["soffice", profile, "--headless", *convert, "--infilter=Text (encoded):UTF8", source],
            capture_output=True, check=True,
        )  # fmt: skip
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


class Xterm(Row, Application):
    """Its text is what `cat` has been sent, which is nothing before Return."""

    name = "Terminal (xterm)"
    package = "xterm"
    is_multiline = False
    is_left_alone = True

    def __init__(self, folder, text):
        super().__init__(["xterm", "-T", "A terminal", "-e", "cat"], "A terminal")
        self.typed = text
        xdotool("type", text[:100])

    def text(self):
        return self.typed


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


class Page(Row, Application):
    """A field of a page in a browser; the page tells its text to us."""


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
    package = "firefox-esr"

    @staticmethod
    def command(folder, address):
        profile = Path(folder, "profile")
        profile.mkdir()
        preferences = {
            "browser.shell.checkDefaultBrowser": "false",
            "browser.aboutwelcome.enabled": "false",
            "datareporting.policy.dataSubmissionEnabled": "false",
            "toolkit.telemetry.reportingpolicy.firstRun": "false",
            "termsofuse.acceptedVersion": "999",
            "browser.startup.homepage_override.mstone": '"ignore"',
        }
        lines = [f'user_pref("{key}", {value});' for key, value in preferences.items()]
        Path(profile, "user.js").write_text("\n".join(lines), encoding="utf-8")
        return ["firefox-esr", "--profile", profile, "--new-instance", address]


class Chromium(Page):
    package = "chromium"

    @staticmethod
    def command(folder, address):
        options = ["--no-first-run", "--password-store=basic", "--no-default-browser-check"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        return ["chromium", *options, f"--user-data-dir={folder}/profile", f"--app={address}"]


def page(browser, kind):
    return type(f"{browser.__name__}{kind}", (browser,), {
        "field": kind,
        "is_multiline": kind != "input",
        "name": f"{browser.__name__} {kind}",
    })  # fmt: skip


def package_version(package):
    """Empty when it is not installed."""
    return subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True
    ).stdout


QUICK = [Mousepad, MousepadWithoutBridge, TellingQt6Field, PasswordField]
ROWS = [
    Mousepad, Gtk4Field, FeatherPad, TellingQt6Field,
    *(page(browser, kind) for browser in (Firefox, Chromium)
      for kind in ("input", "textarea", "editable")),
    Writer, Xterm, MousepadWithoutBridge, TkField, PasswordField,
]  # fmt: skip


@dataclasses.dataclass
class Condition:
    """A field with a text, a flip, and what the text is afterwards."""

    name: str
    before: str = WORD
    after: str = ""  # the conversion, unless it is given
    keys: tuple = ()
    locks: tuple = ()
    group: int = 0
    held: tuple = ()
    layouts: str = ""
    clipboard: str | bytes | None = "before"
    manager: bool = False


MIXED = "hgs\u200fghk \U0001f600 e\u0301 ugdlk\nhgsghk"
CONDITIONS = [
    Condition("whole field"),
    Condition("selection", "ab " + WORD, "ab " + to_arabic(WORD),
              keys=("ctrl+End", *["shift+Left"] * len(WORD))),  # fmt: skip
    Condition("Arabic to Latin", to_arabic(WORD), WORD, group=1),
    Condition("Arabic layout only", to_arabic(WORD), WORD, layouts="ara"),
    Condition("Alt held", held=("alt",)),
    Condition("Caps and Num Lock", locks=("Caps_Lock", "Num_Lock")),
    Condition("marks, emoji, CR LF, RLM", MIXED),
    Condition("100,000 characters", LONG),
    Condition("clipboard manager", manager=True),
    Condition("image on clipboard", clipboard=b"\x89PNG\r\n\x1a\n"),
    Condition("empty clipboard", clipboard=None),
]


def settle(application):
    """Waits until a program that has just started does nothing any more; its user would, too."""

    def used():
        total = 0
        for process in session_processes(application.process.pid):
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                total += used_ticks(process)
        return total / os.sysconf("SC_CLK_TCK")

    def is_quiet():
        before = used()
        time.sleep(0.3)
        return used() - before < 0.06

    with contextlib.suppress(AssertionError):
        wait_until(is_quiet, "it to come to rest", limit=15)


def flip_cell(velmorin, row, condition, arguments):
    """What happened, as the table says it."""
    before, after = condition.before, condition.after or to_arabic(condition.before)
    if row.is_left_alone:
        after = before
    if row.keeps_line_ends:
        before, after = before.replace("\n", "\r\n"), after.replace("\n", "\r\n")
    if not row.is_multiline:
        before, after = before.replace("\n", " "), after.replace("\n", " ")
    cleanup = []
    with tempfile.TemporaryDirectory() as folder:
        try:
            if condition.manager:
                manager = start_quietly(["parcellite", "-n"])
                cleanup += [manager.wait, manager.kill]
            application = row(folder, before)
            cleanup.append(application.stop)
            settle(application)
            if row.is_by_paragraph:
                if application.text() != before:
                    before = application.text()  # it breaks long lines when it opens a text
                    after = to_arabic(before)
                settle(application)  # it takes keys only when it has quite finished to save
            if condition.layouts:
                subprocess.run(["setxkbmap", condition.layouts], check=True)
                cleanup.append(lambda: subprocess.run(["setxkbmap", "us,ara"], check=True))
            if condition.clipboard is None:
                X.disown_clipboard()
            else:
                owner = Clipboard.set(condition.clipboard)
                cleanup += [owner.wait, owner.kill]
            if condition.keys:
                application.keys(*condition.keys)
            for key in condition.locks:
                xdotool("key", key)
                cleanup.append(lambda key=key: xdotool("key", key))
            X.lock_group(condition.group)
            cleanup.append(lambda: X.lock_group(0))
            start = len(velmorin.lines)
            lines = velmorin.flip_once("FLIP DONE", "Same text", held=condition.held)
            if arguments.verbose:
                print(*velmorin.lines[start:], sep="\n", flush=True)
            path = "direct" if "(AX)" in lines[-1] else "clipboard"
            took = round(log_time(velmorin.lines[-1]) - log_time(velmorin.lines[start]))
            if condition.keys and path == "clipboard" and after != before:
                after = to_arabic(before)  # this path selects all
            if row.is_by_paragraph and path == "direct" and "\n" in before:
                *others, last = before.split("\n")
                after = "\n".join([*others, to_arabic(last)])
            try:
                wait_until(lambda: application.holds(after), "the text", limit=10)
                result = f"{path} {took} ms"
                if after == before:
                    result = "**✗** changed" if "FLIP DONE" in lines[-1] else "left alone"
            except AssertionError:
                text = application.text()
                what = "unchanged" if text == before else describe(text, after)
                result = f"**✗** {lines[-1].strip(' ─')}, text {what}"
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
            version = package_version(row.package)
            if not version:
                print(f"{row.name}: not installed", flush=True)
                continue
            table[row.name, version] = results = []
            for condition in conditions:
                attempts = 3 if arguments.quick else 1  # a machine that tests may be busy
                for _ in range(attempts):
                    result = flip_cell(velmorin, row, condition, arguments)
                    if "**" not in result:
                        break
                print(f"{row.name} | {condition.name} | {result}", flush=True)
                results.append(result)
        velmorin.stop()
    lines = ["| | " + " | ".join(condition.name for condition in conditions) + " |"]
    lines.append("|---" * (len(conditions) + 1) + "|")
    for (name, version), results in table.items():
        lines.append(f"| {name} {version} | " + " | ".join(results) + " |")
    if arguments.write:
        file = Path(arguments.write)
        head = file.read_text(encoding="utf-8").split("\n| | ")[0]
        file.write_text("\n".join([head, *lines, ""]), encoding="utf-8")
    unexpected = [result for results in table.values() for result in results if "**" in result]
    return 1 if arguments.quick and unexpected else 0


if __name__ == "__main__":
    sys.exit(main())
