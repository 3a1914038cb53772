# SPDX-License-Identifier: MIT
"""Checks the arrows between the modules: who may include whom.

Velmorin -> SharedUI -> SharedCore -> Platform, and any to one further right. A folder below
Platform sees the ports and its own files. One file puts the back ends together, and only the entry
point asks for the result."""

import pathlib
import re
import sys

ORDER = ["Velmorin", "SharedUI", "SharedCore", "Platform"]
COMPOSITION = "Platform/MakePlatformX11.cpp"
ENTRY = "Velmorin/VelmorinApp.cpp"
FOREIGN = re.compile(r"#include <(xcb|X11|xkbcommon|glib|gio|libsecret|atspi|sqlite3|linux|sys)\b")
OS_MACRO = re.compile(r"^\s*#\s*(if|ifdef|elif|ifndef)\b.*(__linux__|__APPLE__|_WIN32|Q_OS_)")


def module_of(path):
    parts = path.split("/")
    return "/".join(parts[:2]) if parts[0] == "Platform" and len(parts) > 2 else parts[0]


def allowed(source, target):
    """Whether the file `source` may include the file `target`."""
    if target == "Platform/MakePlatform.h":
        return source in (COMPOSITION, ENTRY)
    if source == COMPOSITION:
        return target.startswith("Platform/")
    here, there = module_of(source), module_of(target)
    if here == there or there == "Platform":
        return True
    if here.startswith("Platform") or there.startswith("Platform/"):
        return False
    return ORDER.index(here) < ORDER.index(there)


def faults(root):
    for module in ORDER:
        for file in sorted((root / module).rglob("*")):
            if file.suffix not in (".h", ".cpp", ".mm"):
                continue
            source = file.relative_to(root).as_posix()
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                where = f"{source}:{number}"
                included = re.match(r'#include "([^"]+)"', line)
                if included and "/" not in included[1]:
                    yield f"{where}: includes start at the repository's root: {line}"
                elif included and included[1].split("/")[0] not in ORDER:
                    yield f"{where}: no such module: {line}"
                elif included and not allowed(source, included[1]):
                    yield f"{where}: a forbidden arrow: {line}"
                if not source.startswith("Platform/") and (
                    FOREIGN.match(line) or OS_MACRO.match(line)
                ):
                    yield f"{where}: the operating system, outside Platform: {line}"


def self_test():
    """The rules forbid what they should."""
    for source, target, expected in [
        ("Velmorin/A.cpp", "Platform/Pasteboard.h", True),
        ("Velmorin/A.cpp", "Platform/X11/XcbPasteboard.h", False),
        ("Platform/X11/A.cpp", "Platform/Freedesktop/B.h", False),
        ("Platform/X11/A.cpp", "Platform/Clock.h", True),
        ("Platform/Clock.h", "Platform/X11/A.h", False),
        ("Platform/X11/A.cpp", "Velmorin/LiveLog.h", False),
        ("SharedCore/A.cpp", "SharedUI/B.h", False),
        ("SharedUI/A.cpp", "SharedCore/B.h", True),
        ("Velmorin/A.cpp", "Platform/MakePlatform.h", False),
        (ENTRY, "Platform/MakePlatform.h", True),
        (COMPOSITION, "Platform/X11/A.h", True),
    ]:
        assert allowed(source, target) == expected, (source, target)


if __name__ == "__main__":
    self_test()
    found = list(faults(pathlib.Path(sys.argv[1])))
    print("\n".join(found))
    sys.exit(1 if found else 0)
