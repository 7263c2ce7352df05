"""A bridge with vlan_filtering on: refused at the start, said when it comes later."""

import os
import shutil
import subprocess
import tempfile
import unittest

from lab.state import snapshot
from live_test import LiveTest, until

HERE = os.path.dirname(os.path.abspath(__file__))


class VlanFiltering(LiveTest):
    """On a kernel that cannot filter VLANs, the node is made to see a bridge that does."""

    runs = False

    def setUp(self):
        super().setUp()
        self.sign = None
        if self.switch.run(["ip", "link", "set", "br0", "type", "bridge", "vlan_filtering", "1"]).returncode:
            self.pretend()
        else:
            self.filter_vlans(False)

    def pretend(self):
        if not shutil.which("cc"):
            raise unittest.SkipTest("no vlan_filtering in this kernel, and no compiler to pretend it")
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        shim = os.path.join(place.name, "vlan_filtering.so")
        subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, os.path.join(HERE, "vlan_filtering.c")],
                       check=True)
        self.sign = os.path.join(place.name, "on")
        # AddressSanitizer wants to be the first library, and minds this one in front of it.
        options = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        words = ["env", "LD_PRELOAD=" + shim, "VLAN_FILTERING=" + self.sign, "ASAN_OPTIONS=" + options,
                 *self.node.arguments()]
        self.node.arguments = lambda: words

    def filter_vlans(self, on):
        if self.sign is None:
            self.switch.ip("link set br0 type bridge vlan_filtering %d" % on)
            return
        if on:
            open(self.sign, "w").close()
        else:
            os.remove(self.sign)
        # What makes the kernel tell of the bridge.
        self.switch.ip("link set br0 alias %s" % ("filtering" if on else "plain"))

    def test_it_is_refused_at_the_start(self):
        self.filter_vlans(True)
        before = snapshot(self.switch)
        done = self.switch.run(self.node.arguments())
        self.assertEqual((done.returncode, done.stdout, done.stderr), (2, "",
            "mc_node: br0: with vlan_filtering on it heeds no entry of the node; switch it off: "
            "ip link set dev br0 type bridge vlan_filtering 0\n"))
        self.assertEqual(snapshot(self.switch), before)

    def test_it_is_said_once_when_it_comes_and_when_it_goes(self):
        self.node.start()
        for on, line in ((True, "vlan_filtering is on now"), (False, "vlan_filtering is off again")):
            self.filter_vlans(on)
            until(lambda: self.node.said(line), line)
            self.switch.ip("link set lan4 alias news")
        self.assertEqual(len(self.node.complaints()), 2, self.node.lines)
