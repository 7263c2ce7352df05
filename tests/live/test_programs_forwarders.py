"""Forwarders behind a user port, as a home gateway is: igmpproxy and smcroute join at the node."""

import os
import subprocess
import sys

from lab import forwarder
from lab.contained import children
from lab.forwarder import Proxy, StaticRouter
from live_test import LiveTest, ROOT, SAMPLE, until

NEEDED = {Proxy: "igmpproxy", StaticRouter: "smcrouted"}

# Says the number of a process in a place of its own, which has become another user, and stays.
KILLED = """
import sys, time
sys.dont_write_bytecode = True
sys.path.insert(0, %r)
from lab.contained import Contained, children
from lab.namespaces import Namespace
from lab.waiting import until
place = Contained(Namespace("switch"))
sleeper = place.start(["setpriv", "--reuid", "nobody", "--clear-groups", "sleep", "60"])
print(until(lambda: children(sleeper.pid), "it runs")[0], flush=True)
time.sleep(60)
"""


class ForwarderTest(LiveTest):
    kind = None

    def setUp(self):
        reason = forwarder.missing(NEEDED[self.kind])
        if reason:
            self.skipTest(reason)
        super().setUp()
        self.forwarder = self.kind(self.hosts["h2"])
        self.addCleanup(self.forwarder.close)
        self.member = self.forwarder.member

    def wait_for_join(self, group):
        return until(lambda: self.at_uplink("IGMPv3 report", group), "%s is joined upstream" % group)

    def assert_arrives(self, member, stream):
        """Behind the switch, and behind the forwarder."""
        self.assert_reaches(stream, 2)
        before = member.received
        until(lambda: member.received >= before + SAMPLE, "the host behind it gets %s" % stream.group)


class Igmpproxy(ForwarderTest):
    kind = Proxy

    def test_what_a_host_behind_it_joins_comes_through(self):
        stream = self.uplink.stream("239.23.1.1")
        self.assert_reaches(stream)
        member = self.member.join("239.23.1.1")
        self.assert_arrives(member, stream)
        reports = self.wait_for_join("239.23.1.1")
        self.assertEqual({frame.source for frame in reports}, {self.hosts["h2"].ip4})
        member.leave()
        self.wait_for_stop(2, stream)

    def test_it_comes_through_in_proxy_mode_too(self):
        self.node.ctl("mode", "proxy")
        stream = self.uplink.stream("239.23.2.1")
        member = self.member.join("239.23.2.1")
        self.assert_arrives(member, stream)
        self.assertFalse(self.at_uplink("IGMPv3 report", "239.23.2.1", self.hosts["h2"]),
                         "the node reports in its place")
        member.leave()
        self.wait_for_stop(2, stream)

    def test_it_and_a_host_of_another_port_do_not_disturb_each_other(self):
        stream = self.uplink.stream("239.23.3.1")
        member, other = self.member.join("239.23.3.1"), self.hosts["h0"].join("239.23.3.1")
        self.assert_reaches(stream, 0, 2)
        first = stream.sent
        member.leave()
        self.wait_for_stop(2, stream)
        self.assert_whole(0, stream, first)
        again = stream.sent
        member = self.member.join("239.23.3.1")
        until(lambda: self.numbers(2, stream, again), "it leaves port 2 again")
        self.assert_reaches(stream, 0, 2)
        other.leave()
        self.wait_for_stop(0, stream)
        self.assert_arrives(member, stream)

    def test_when_it_is_stopped_its_streams_end(self):
        stream = self.uplink.stream("239.23.4.1")
        self.assert_arrives(self.member.join("239.23.4.1"), stream)
        self.forwarder.program.close()
        self.wait_for_stop(2, stream)


class Smcroute(ForwarderTest):
    kind = StaticRouter

    def test_what_it_is_told_to_join_comes_through(self):
        stream = self.uplink.stream("239.24.1.1")
        # It forwards whether somebody listens or not; the socket is there to count.
        member = self.member.join("239.24.1.1")
        self.assert_reaches(stream)
        self.forwarder.join("239.24.1.1")
        self.assert_arrives(member, stream)
        self.wait_for_join("239.24.1.1")
        self.forwarder.leave("239.24.1.1")
        self.wait_for_stop(2, stream)


class Places(ForwarderTest):
    kind = Proxy

    def test_what_runs_in_a_place_of_its_own_leaves_nothing_behind(self):
        place = self.forwarder.place
        place.write("/run/lab-was-here", "")
        self.assertFalse(os.path.exists("/run/lab-was-here"), "its directories are its own")
        # Become another user, it would outlive a parent that is killed.
        sleeper = place.start(["setpriv", "--reuid", "nobody", "--clear-groups", "sleep", "60"])
        until(lambda: children(sleeper.pid), "it runs")
        inside, = children(sleeper.pid)
        place.close()
        until(lambda: ended(inside), "it ends with its place")
        self.assertNotEqual(sleeper.wait(), 0)


    def test_nor_does_a_lab_that_is_killed(self):
        with subprocess.Popen([sys.executable, "-c", KILLED % ROOT], stdout=subprocess.PIPE, text=True) as lab:
            inside = int(lab.stdout.readline())
            self.assertFalse(ended(inside))
            lab.kill()
        until(lambda: ended(inside), "what ran in its place is gone")


def ended(number):
    """Whether there is no such process any more, or nothing left of it but its number."""
    try:
        with open("/proc/%d/stat" % number) as stat:
            return stat.read().rpartition(")")[2].split()[0] == "Z"
    except OSError:
        return True
