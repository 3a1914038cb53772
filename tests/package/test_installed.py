# SPDX-License-Identifier: MIT
"""The installed program, as its user meets it."""

import os
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
from desktop_driver import (  # noqa: E402
    AccessibleEditor,
    InaccessibleEditor,
    Velmorin,
    active_window,
    to_arabic,
    wait_until,
)

PROGRAM = os.environ["VELMORIN_PROGRAM"]


class Installed(unittest.TestCase):
    def test_the_bus_starts_it(self):
        activate = ["gdbus", "call", "--session", "--dest", "org.velmorin.Velmorin",
                    "--object-path", "/org/velmorin/Velmorin",
                    "--method", "org.freedesktop.Application.Activate", "{}"]  # fmt: skip
        subprocess.run(activate, check=True, stdout=subprocess.DEVNULL)
        wait_until(lambda: active_window() == "Velmorin", "the window")
        subprocess.run(["pkill", "--exact", "velmorin"], check=True)
        wait_until(lambda: active_window() != "Velmorin", "its end")

    def test_it_flips(self):
        home = os.path.join("/home", os.environ.get("USER", "someone"), ".config")
        velmorin = Velmorin(PROGRAM, environment={"XDG_CONFIG_HOME": home})
        self.addCleanup(velmorin.stop)
        with tempfile.TemporaryDirectory() as folder:
            for kind in (AccessibleEditor, InaccessibleEditor):
                editor = kind(os.path.join(folder, f"{kind.__name__}.txt"), "hgsghk")
                self.addCleanup(editor.stop)
                velmorin.flip("FLIP DONE")
                editor.expect(to_arabic("hgsghk"))
                velmorin.ready_again()


if __name__ == "__main__":
    unittest.main()
