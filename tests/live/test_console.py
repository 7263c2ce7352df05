"""The console of the node, as mcctl finds it beside a live node."""

import os
import signal
import subprocess
import tempfile

from lab.waiting import until
from live_test import LiveTest

GROUP = "239.9.2.1"


class Console(LiveTest):

    def mcctl(self, *words):
        return self.switch.run([self.node.mcctl, *words])

    def test_mcctl_prints_what_the_node_prints_on_a_command(self):
        self.hosts["h1"].join(GROUP)
        self.assert_reaches(self.uplink.stream(GROUP), 1)
        before = len(self.node.output())
        done = self.mcctl("show", "groups")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn(GROUP, done.stdout)
        self.assertEqual(self.node.output()[before:], done.stdout)
        silent = self.mcctl("fast-leave", "--port", "1", "on")
        self.assertEqual((silent.returncode, silent.stdout, silent.stderr), (0, "", ""))

    def test_a_console_shows_everything_until_the_node_ends(self):
        with tempfile.TemporaryFile("w+") as shown:
            console = self.switch.start([self.node.mcctl, "console"], stdout=shown,
                                        stderr=subprocess.PIPE, text=True)
            self.addCleanup(console.kill)
            until(lambda: self.is_shown(shown), "the console is connected")
            self.node.ctl("show", "config")
            self.node.ctl("show", "groups")
            status, printed = self.node.stop(signal.SIGHUP)
            _, said = console.communicate(timeout=10)
            shown.seek(0)
            followed = shown.read()
        self.assertEqual((status, console.returncode), (0, 0))
        self.assertEqual(said, "mcctl: note: the node has ended\n")
        self.assertIn("MC HAL Version", followed)
        # It may have begun between two lines of a command; the summary is the last of it.
        self.assertEqual(followed, printed[-len(followed):])

    def is_shown(self, shown):
        self.mcctl("show", "timers")
        return os.fstat(shown.fileno()).st_size > 0
