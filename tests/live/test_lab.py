"""The lab itself: it sees what there is to see, and a killed one leaves nothing behind."""

import os
import select
import signal
import subprocess
import sys

from lab import messages
from lab.frames import Frame
from lab.home import Home
from lab.waiting import PATIENCE
from live_test import LiveTest, ROOT, SAMPLE, until

# It is killed as soon as something holds.  The process that it has started holds its output open, too.
TURNS = 4
KILLED = """
import os, signal, sys
sys.dont_write_bytecode = True
sys.path.insert(0, %r)
from lab.namespaces import Namespace
process = Namespace("switch").start(["sleep", "60"], stdout=None)
def runs():
    return open("/proc/%%d/comm" %% process.pid).read() == "sleep\\n"
while not %s:
    pass
os.kill(os.getpid(), signal.SIGKILL)
"""


class Lab(LiveTest):
    runs = False

    def test_a_switch_that_snoops_nothing_floods_and_the_lab_sees_it(self):
        self.switch.ip("link set br0 type bridge mcast_snooping 0")
        stream = self.uplink.stream("239.8.1.1")
        self.assert_reaches(stream, *range(6))
        with self.assertRaises(AssertionError):
            self.assert_reaches(stream, 0)

    def test_a_lab_that_is_killed_takes_its_processes_with_it(self):
        # At once is a race, so it takes several turns.
        for moment in ["runs()"] + TURNS * ["True"]:
            with self.subTest(moment=moment):
                command = [sys.executable, "-c", KILLED % (ROOT, moment)]
                with subprocess.Popen(command, stdout=subprocess.PIPE) as lab:
                    ended = select.select([lab.stdout], [], [], PATIENCE)[0]
                self.assertEqual(lab.returncode, -signal.SIGKILL)
                self.assertTrue(ended, "the process in the namespace is gone")

    def test_a_closed_lab_leaves_no_descriptor(self):
        before = len(os.listdir("/proc/self/fd"))
        with Home() as home:
            home.hosts["h0"].join("239.8.2.1")
            home.uplink.stream("239.8.2.1")
            home.uplink.query()
        self.assertEqual(len(os.listdir("/proc/self/fd")), before)

    def test_hosts_get_what_the_wire_shows(self):
        self.switch.ip("link set br0 type bridge mcast_snooping 0")
        stream = self.uplink.stream("239.8.3.1")
        members = [self.hosts[name].join("239.8.3.1") for name in ("h0", "h5a", "h5b")]
        until(lambda: all(member.received >= SAMPLE for member in members), "all sockets get it")
        self.assertGreaterEqual(len(self.numbers(5, stream)), SAMPLE)

    def test_frames_reads_what_messages_makes(self):
        ip4, ip6, mac = self.uplink.ip4, self.uplink.link_local, self.uplink.mac
        for kind, (packet, to), groups in [
                ("IGMPv2 general query", messages.igmp_query(ip4, 2), []),
                ("IGMPv3 group query", messages.igmp_query(ip4, 3, "239.8.4.1"), ["239.8.4.1"]),
                ("MLDv1 general query", messages.mld_query(ip6, 1), []),
                ("MLDv2 group query", messages.mld_query(ip6, 2, "ff1e::841"), ["ff1e::841"]),
                ("IGMPv2 report", messages.igmp_v2_report(ip4, "239.8.4.1"), ["239.8.4.1"]),
                ("MLDv1 report", messages.mld_v1_report(ip6, "ff1e::841"), ["ff1e::841"])]:
            with self.subTest(kind=kind):
                frame = Frame(messages.ethernet(mac, to, packet, [5 << 13 | 100, 200]))
                self.assertEqual(frame.kind, kind)
                self.assertEqual(frame.groups, groups)
                self.assertEqual(frame.tags, [(5, 100), (0, 200)])
                self.assertTrue(frame.intact)
