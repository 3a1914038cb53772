# SPDX-License-Identifier: MIT
"""What all tests of the built program on a desktop have in common."""

import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
from desktop_driver import Clipboard, Qt6Field, Velmorin, X, xdotool  # noqa: E402

PROGRAM = os.environ["VELMORIN_PROGRAM"]
DIRECT = "FLIP DONE (AX)"
PASTED = "FLIP DONE (clipboard)"


class DesktopTest(unittest.TestCase):
    expected_errors = r"\A\Z"  # what the program says on standard error
    environment = {}  # what it is started with

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(xdotool, "keyup", "space", "alt")
        self.folder = folder.name
        # Each test begins with a fresh installation.
        self.configuration = os.path.join(self.folder, "config", "velmorin")
        self.prepare()
        self.velmorin = self.start_velmorin()
        X.lock_group(0)

    def prepare(self):
        """What is to be there before the program starts."""

    def start_velmorin(self, **options):
        environment = {"XDG_CONFIG_HOME": os.path.dirname(self.configuration), **self.environment}
        environment.update(options.pop("environment", {}))
        velmorin = Velmorin(PROGRAM, environment=environment, **options)
        self.addCleanup(velmorin.stop)
        return velmorin

    def start_another(self, **environment):
        """One that does not know of the first: without a session bus."""
        bus = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        return self.start_velmorin(environment={**bus, **environment})

    def tearDown(self):
        self.assertEqual(X.held_keys(), [], "no key is left down")
        self.assertRegex(self.velmorin.stop(), self.expected_errors)

    def start(self, kind, text=""):
        if kind is Qt6Field:
            application = Qt6Field(text)
        else:
            application = kind(os.path.join(self.folder, f"{kind.__name__}.txt"), text)
        self.addCleanup(application.stop)
        return application


class FlipTest(DesktopTest):
    def own_clipboard(self, text):
        owner = Clipboard.set(text)
        self.addCleanup(owner.wait)
        self.addCleanup(owner.kill)
        return owner
