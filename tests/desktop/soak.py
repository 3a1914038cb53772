# SPDX-License-Identifier: MIT
"""Many flips in a row. Every text must be right, the clipboard as it was, no key left down, and the
program no larger than it was after the first ones."""

import argparse
import os
import random
import sys
import tempfile
import threading
from collections import Counter

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
from desktop_driver import (  # noqa: E402
    LATIN,
    NOTHING_COPIED,
    AccessibleEditor,
    Bus,
    Clipboard,
    InaccessibleEditor,
    Qt6Field,
    Velmorin,
    X,
    open_editor,
    to_arabic,
    wait_until,
)
from Xlib.display import Display  # noqa: E402
from Xlib.ext import res  # noqa: E402

DONE = "FLIP DONE"
ATTEMPTS = 5  # a busy editor may copy too late; nothing must be lost by that
GROWTH = 2048  # KiB of private memory


def random_text(random_):
    """Mostly what Latin keys type, so that a flip and a second one are each other's inverse."""
    length = int(2 ** random_.uniform(0, 9))
    extras = ["\U0001f600", "e\u0301", " ", "\u00e9"]
    rest = random_.choices([*LATIN.replace("'", ""), *extras], k=length)
    return "hgsghk" + "".join(rest)


class Resources:
    """What a process holds on to."""

    def __init__(self, process):
        self.process = process
        self.display = Display()
        self.buses = [Bus.session(), Bus.accessibility()]

    def memory(self):
        """What it has written to; what it only reads, others may share or not."""
        with open(f"/proc/{self.process}/smaps_rollup", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if "Private_Dirty" in line)

    def x_resources(self):
        """Of each kind, those of all the process's connections to the X server."""
        total = Counter()
        for client in self.display.res_query_clients().clients:
            asked = [{"client": client.resource_base, "mask": res.LocalClientPIDMask}]
            for identity in self.display.res_query_client_ids(asked).ids:
                if list(identity.value) == [self.process]:
                    found = self.display.res_query_client_resources(client.resource_base)
                    for kind in found.types:
                        total[self.display.get_atom_name(kind.resource_type)] += kind.count
        return total

    def match_rules(self):
        statistics = "org.freedesktop.DBus.Debug.Stats"
        total = 0
        for bus in self.buses:
            for name in bus.names_of(self.process):
                answer = bus.ask_daemon("GetConnectionStats", name, interface=statistics)
                total += answer["MatchRules"]
        return total

    def counts(self):
        counts = self.x_resources()
        counts["files"] = len(os.listdir(f"/proc/{self.process}/fd"))
        counts["match rules"] = self.match_rules()
        return counts


class Soak:
    def __init__(self, folder, seed):
        self.folder = folder
        self.random = random.Random(seed)
        self.velmorin = Velmorin(
            os.environ["VELMORIN_PROGRAM"], environment={"XDG_CONFIG_HOME": folder}
        )
        self.repeated = 0

    def open(self, kind):
        text = random_text(self.random)
        return open_editor(kind, self.folder, text), text

    def flip(self, field, texts, clipboard):
        """Once, until a flip was made of it. `texts` are the field's text and its conversion."""
        for _ in range(ATTEMPTS):
            last = self.velmorin.flip_once(DONE, "Same text", held=self.random.choice(([], [], ["alt"])))
            assert not X.held_keys(), "a key is left down"
            wait_until(lambda: Clipboard.get() == clipboard, "the clipboard as it was")
            self.velmorin.ready_again()
            if DONE in last[-1]:
                field.expect(texts[1])
                return
            assert NOTHING_COPIED in last[-1], last[-1]
            field.expect(texts[0])
            self.repeated += 1
        raise AssertionError(f"{ATTEMPTS} times nothing was copied")

    def run(self, flips):
        """There and back, in each field in turn, with another text and clipboard each time."""
        done = 0
        while done < flips:
            for kind in (AccessibleEditor, InaccessibleEditor, Qt6Field, InaccessibleEditor):
                clipboard = random_text(self.random)
                owner = Clipboard.set(clipboard)
                field, text = self.open(kind)
                for _ in range(4):
                    self.flip(field, (text, to_arabic(text)), clipboard)
                    self.flip(field, (to_arabic(text), text), clipboard)
                    done += 2
                field.stop()
                owner.kill()
                owner.wait()
            print(f"{done} flips", flush=True)

    def run_beside_a_copier(self, flips):
        """What another program copies in the middle of a flip may be what is pasted; but nothing
        else, and no flip may fail to end."""
        copied = []
        end = threading.Event()

        def copy():
            while not end.wait(self.random.uniform(0, 0.4)):
                copied.append(str(self.random.randrange(10**9)))
                owners.append(Clipboard.set(copied[-1], wait=False))

        owners = []
        field, text = self.open(InaccessibleEditor)
        copier = threading.Thread(target=copy)
        copier.start()
        for _ in range(flips):
            self.velmorin.flip_once(DONE, "Same text")
            self.velmorin.ready_again()
            assert not X.held_keys(), "a key is left down"
        end.set()
        copier.join()
        assert field.text() in (text, to_arabic(text), *copied), "the field holds another text"
        for owner in owners:
            owner.kill()
            owner.wait()
        field.stop()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--flips", type=int, default=2000)
    parser.add_argument("--seed", type=int, default=random.randrange(10**6))
    arguments = parser.parse_args()
    print(f"seed {arguments.seed}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        soak = Soak(folder, arguments.seed)
        try:
            resources = Resources(soak.velmorin.process.pid)
            soak.run(1)  # caches and the log fill up
            memory, counts = resources.memory(), resources.counts()
            soak.run(arguments.flips)
            soak.run_beside_a_copier(arguments.flips // 20)
            growth = resources.memory() - memory
            print(f"{arguments.flips} flips, {soak.repeated} times nothing was copied in time")
            print(f"{memory} KiB of private memory, {growth:+d}; {dict(counts)}")
            wait_until(
                lambda: not resources.counts() - counts,  # what there is more of
                lambda: f"it to let go of {resources.counts() - counts}",
                limit=10,
            )
            assert growth < GROWTH, f"{growth} KiB more"
        finally:
            errors = soak.velmorin.stop()
        assert errors == "", errors


if __name__ == "__main__":
    main()
