# SPDX-License-Identifier: MIT
"""Writes docs/performance.md from the JSON files of one run."""

import json
import os
import platform
import subprocess
import sys

TEXTS = ["Latin", "Arabic", "Arabic with marks", "mixed, with emoji"]
FIELDS = {"AccessibleEditor": "GTK 3", "Qt6Field": "Qt 6"}


def load(folder, name):
    with open(os.path.join(folder, name), encoding="utf-8") as file:
        return json.load(file)


def row(*cells):
    return "| " + " | ".join(str(cell) for cell in cells) + " |"


def table(head, rows):
    return [row(*head), "|---" * len(head) + "|", *(row(*cells) for cells in rows), ""]


def spread(value, digits=1):
    """Median and the middle half."""
    return f"{value['median']:.{digits}f} ({value['low']:.{digits}f} to {value['high']:.{digits}f})"


def conversion(results, processes):
    nanoseconds = {}
    for run in results["benchmarks"]:
        if run["aggregate_name"] == "least":
            name, text, size = run["run_name"].split("/")[:3]
            nanoseconds[name, int(text), int(size)] = run["real_time"] / int(size)
    sizes = sorted({size for name, _, size in nanoseconds if name == "conversion"})
    yield "## Conversion, nanoseconds a character, the least of nine measurements"
    yield ""
    yield from table(
        ["characters", *(f"{size:,}" for size in sizes)],
        [[text, *(f"{nanoseconds['conversion', index, size]:.2f}" for size in sizes)]
         for index, text in enumerate(TEXTS)]
        + [["memcpy of the same bytes",
            *(f"{nanoseconds['copy', 0, size]:.2f}" for size in sizes)]],
    )  # fmt: skip
    yield "Beside what else would do it, 65,536 characters:"
    yield ""
    others = {"copy": "memcpy", "hashLookUp": "a hash look-up", "transliterator": "ICU's transliterator"}
    yield from table(
        ["text", "Velmorin", *others.values()],
        [[text, f"{nanoseconds['conversion', index, 65536]:.2f}",
          *(f"{(other := nanoseconds[name, index, 65536]):.2f} "
            f"(× {other / nanoseconds['conversion', index, 65536]:.2g})" for name in others)]
         for index, text in enumerate(TEXTS)],
    )  # fmt: skip
    yield "As whole processes, a million Latin characters from one file to another: " + ", ".join(
        f"{name} {value['median']:.0f} ns a character" for name, value in processes.items()) + "."  # fmt: skip
    yield ""


def flips(direct, clipboard):
    yield "## Flips, milliseconds"
    yield ""
    yield ("Direct: from the key press to the changed text, as another client of the accessibility bus"
           " is told of it. Questions that do not depend on each other are under way together, so the"
           " waits are fewer than the calls; some of them only ask until the field has the focus back,"
           " which the press took from it. The floor is what the waits take with a call that does"
           " nothing. Own share: the processor time that Velmorin uses until then, all threads.")  # fmt: skip
    yield ""
    yield from table(
        ["field", "characters", "total", "own share", "calls", "waits", "for the focus",
         "round trip", "floor"],
        [[FIELDS[each["field"]], f"{each['size']:,}", spread(each["total"]), spread(each["own"]),
          each["calls"], each["waits"], each["repeats"], f"{each['round_trip']:.2f}",
          f"{each['waits'] * each['round_trip']:.1f}"]
         for each in direct],
    )  # fmt: skip
    yield ("By the clipboard: how late each step is, the copied text's reading and the clipboard's"
           " putting back included.")  # fmt: skip
    yield ""
    yield from table(["step", "late by"], [[name, spread(late)] for name, late in clipboard.items()])


def starts(start):
    empty = start["empty Qt Quick window"]["frame"]["median"]
    yield "## Start, milliseconds from the process's start"
    yield ""
    yield ("To the registered hotkey, to the first frame of the window, and to the last one before it"
           " stands still, with all its contents (drawings larger than an icon count); and that beside"
           " the empty window's first frame.")  # fmt: skip
    yield ""
    moments = ("hotkey", "frame", "complete")
    yield from table(
        ["program", "hotkey", "", "first frame", "", "complete", ""],
        [[name, *(text for moment in moments for text in (
            (spread(each[moment], 0), f"× {each[moment]['median'] / empty:.1f}")
            if moment in each else ("", "")))] for name, each in start.items()],
    )  # fmt: skip


def footprints(footprint):
    def cells(name, state, memory, idle):
        wakeups, cpu = idle or ("", "")
        return [name, state, *(f"{memory[key] / 1024:.1f}" for key in ("private", "dirty", "pss", "rss")),
                wakeups, cpu]  # fmt: skip

    own = footprint["Velmorin"]
    rows = [cells(name, "after start", each["start"], each["idle"])
            for name, each in footprint.items()]  # fmt: skip
    rows.append(cells("Velmorin", "after 100 flips", own["100 flips"], None))
    rows.append(cells("Velmorin", "window closed", own["closed"], own["closed idle"]))
    yield "## Footprint, MiB; wake-ups and CPU milliseconds of an idle minute"
    yield ""
    yield from table(["program", "", "private", "of it written", "PSS", "RSS", "wake-ups", "CPU"], rows)
    yield (f"While {own['log']['lines']:.0f} lines a second arrive in the log, it uses "
           f"{own['log']['cpu'] * 100:.0f} % of a processor, presses included.")  # fmt: skip
    yield ""


def window(results):
    microseconds = {run["run_name"].split("/")[1]: run["real_time"] for run in results["benchmarks"]
                    if run["aggregate_name"] == "median"}  # fmt: skip
    drawing = microseconds["0"]
    yield "## The window's log, microseconds"
    yield ""
    yield (f"Drawing the window: {drawing:.0f}. With a line that is new: {microseconds['1']:.0f}. With"
           f" a burst of 300: {microseconds['300']:.0f}, or"
           f" {(microseconds['300'] - drawing) / 300:.1f} a line beyond the drawing.")  # fmt: skip


def main():
    folder, output = sys.argv[1:]
    measured = load(folder, "flips.json")
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        processor = next(line.split(": ")[1].strip() for line in file if "model name" in line)
    packages = ["libqt6core6", "libicu72", "copyq", "autokey-gtk", "xneur", "perl", "python3"]
    versions = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}, ", *packages],
                              capture_output=True, text=True).stdout.rstrip(", ")  # fmt: skip
    lines = [
        "# Performance", "",
        "Written by `bench/run`, each table in one run, all on one machine; the ratios are what counts."
        " Medians, with the middle half in brackets, unless it says otherwise.", "",
        f"{platform.freedesktop_os_release()['PRETTY_NAME']}, {os.cpu_count()} processors"
        f" ({processor}), under Xvfb and openbox. {versions}.", "",
        *conversion(load(folder, "conversion.json"), load(folder, "processes.json")),
        *flips(measured["direct"], measured["clipboard"]),
        *starts(load(folder, "start.json")),
        *footprints(load(folder, "footprint.json")),
        *window(load(folder, "window.json")), "",
    ]  # fmt: skip
    with open(os.path.join(os.path.dirname(__file__), "findings.md"), encoding="utf-8") as file:
        lines += file.read().splitlines()
    with open(output, "w", encoding="utf-8") as file:
        file.write("\n".join(lines).rstrip() + "\n")


if __name__ == "__main__":
    main()
