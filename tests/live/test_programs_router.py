"""The node below a router of a provider: FRR's pimd asks, and lets through what members report."""

import unittest

from lab import router
from lab.capture import Capture
from lab.home import BRIDGE_IP4, UPLINK
from lab.router import Router
from live_test import LiveTest, QUIET, SAMPLE, until

BEYOND, WITHIN = "10.25.14.20", "192.0.2.200"      # the router's network


@unittest.skipIf(router.missing(), router.missing())
class RouterTest(LiveTest):
    def meet(self, **how):
        """A router, which has asked; in front of the switch is seen what it lets through."""
        self.router = Router(self.home, **how)
        self.addCleanup(self.router.close)
        self.in_front = Capture(self.home.pump, self.switch, UPLINK)
        self.addCleanup(self.in_front.close)
        until(lambda: self.in_front.frames(lambda frame: frame.general_query), "the router asks")

    def proxy(self):
        self.node.ctl("mode", "proxy")

    def wait_until_known(self, group):
        return until(lambda: self.router.groups().get(group), "the router has members of " + group)

    def wait_until_forgotten(self, group):
        until(lambda: group not in self.router.groups(), "the router has no members of " + group)

    def wait_until_held_back(self, stream):
        """The switch would hide it from the ports that the router still lets it through."""
        def quiet():
            self.in_front.clear()
            sent = stream.sent
            until(lambda: stream.sent > sent + QUIET, "the source goes on")
            return not self.in_front.frames(stream.seen_in)
        until(quiet, "the router holds %s back" % stream.group)

    def join_and_leave(self, name, group):
        """A stream flows from the join to the leave; what the router knew meanwhile."""
        port = int(name[1])
        stream = self.router.source.stream(group)
        self.wait_until_held_back(stream)
        member = self.hosts[name].join(group)
        known = self.wait_until_known(group)
        self.assert_reaches(stream, port)
        until(lambda: member.received >= SAMPLE, "the socket gets it")
        member.leave()
        self.wait_until_forgotten(group)
        self.wait_until_held_back(stream)
        self.wait_for_stop(port, stream)
        return known

    def reports_to_router(self, group):
        return {frame.kind for frame in self.uplink.capture.frames(lambda f: group in f.groups)}


class Snooping(RouterTest):
    def test_a_stream_flows_from_the_join_to_the_leave(self):
        self.meet()
        for name, igmp, group in [("h0", 2, "239.21.1.2"), ("h1", 3, "239.21.1.3")]:
            with self.subTest(igmp=igmp):
                self.hosts[name].speak(igmp=igmp)
                self.join_and_leave(name, group)

    def test_a_router_of_igmpv2_is_answered_in_its_version(self):
        self.meet(version=2)
        until(lambda: self.at_port(0, "IGMPv2 general query"), "its query reaches the host")
        self.join_and_leave("h0", "239.21.2.1")
        self.assertEqual(self.reports_to_router("239.21.2.1"), {"IGMPv2 report", "IGMPv2 leave"})

    def test_a_join_of_one_source_gets_that_source(self):
        self.meet()
        self.hosts["h0"].speak(igmp=3)
        stream = self.router.source.stream("232.21.3.1")
        member = self.hosts["h0"].join("232.21.3.1", source=self.router.source.ip4)
        known = self.wait_until_known("232.21.3.1")
        self.assertEqual(known["mode"], "INCLUDE")
        self.assert_reaches(stream, 0)
        member.leave()
        self.wait_until_held_back(stream)

    def test_a_member_that_stays_is_asked_again_and_again(self):
        self.meet(interval=2)
        stream = self.router.source.stream("239.21.4.1")
        self.hosts["h0"].join("239.21.4.1")
        self.assert_reaches(stream, 0)
        first = len(self.at_port(0, "IGMPv3 general query"))
        until(lambda: len(self.at_port(0, "IGMPv3 general query")) >= first + 3, "three more queries")
        self.wait_until_known("239.21.4.1")
        self.assert_reaches(stream, 0)


class Proxy(RouterTest):
    def test_a_stream_flows_from_the_join_to_the_leave(self):
        self.proxy()
        self.meet()
        for name, igmp, group in [("h0", 2, "239.22.1.2"), ("h1", 3, "239.22.1.3")]:
            with self.subTest(igmp=igmp):
                self.hosts[name].speak(igmp=igmp)
                self.join_and_leave(name, group)

    def test_from_beyond_its_network_the_router_takes_no_report(self):
        self.proxy()
        self.node.ctl("proxy-address", BEYOND)
        self.meet()
        self.hosts["h0"].join("239.22.6.1")
        until(lambda: self.reports_to_router("239.22.6.1"), "the proxy reports it")
        self.never(lambda: "239.22.6.1" in self.router.groups(), 1, "the router has members")
        self.node.ctl("proxy-address", WITHIN)
        self.wait_until_known("239.22.6.1")

    def test_the_router_knows_one_member_for_all(self):
        self.proxy()
        self.meet()
        stream = self.router.source.stream("239.22.2.1")
        members = [self.hosts[name].join("239.22.2.1") for name in ("h0", "h1", "h5a")]
        self.assert_reaches(stream, 0, 1, 5)
        for member in members[:2]:
            member.leave()
        for port in (0, 1):
            self.wait_for_stop(port, stream)
        self.wait_until_known("239.22.2.1")
        self.assert_reaches(stream, 5)
        reported = self.uplink.capture.frames(lambda f: "239.22.2.1" in f.groups)
        self.assertEqual({frame.source for frame in reported}, {BRIDGE_IP4})
        members[2].leave()
        self.wait_until_forgotten("239.22.2.1")

    def test_a_join_of_one_source_gets_that_source(self):
        self.proxy()
        self.meet()
        self.hosts["h0"].speak(igmp=3)
        stream = self.router.source.stream("232.22.3.1")
        self.hosts["h0"].join("232.22.3.1", source=self.router.source.ip4)
        self.assertEqual(self.wait_until_known("232.22.3.1")["mode"], "INCLUDE")
        self.assert_reaches(stream, 0)

    # RFC 3376, 7.2.1: the proxy is a host at its uplink, and heeds the older version of a querier.
    def test_a_router_of_igmpv2_is_answered_in_its_version(self):
        self.proxy()
        self.meet(version=2)
        self.join_and_leave("h0", "239.22.4.1")
        self.assertEqual(self.reports_to_router("239.22.4.1"), {"IGMPv2 report", "IGMPv2 leave"})

    def test_a_router_that_starts_anew_hears_of_the_members(self):
        self.proxy()
        self.meet()
        self.hosts["h0"].join("239.22.5.1")
        self.wait_until_known("239.22.5.1")
        self.router.restart()
        stream = self.router.source.stream("239.22.5.1")
        self.wait_until_known("239.22.5.1")
        self.assert_reaches(stream, 0)
