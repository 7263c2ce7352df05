"""Which addresses the node's own messages leave from: a router takes those of its subnet only."""

from lab.home import BRIDGE, BRIDGE_IP4, UPLINK
from live_test import LiveTest, until

REPORT = "IGMPv3 report"
OTHER_IP4 = "192.0.2.253"


class OwnAddress(LiveTest):
    runs = False

    def start_proxy(self):
        self.node.start()
        self.node.ctl("mode", "proxy")

    def address(self, what, address, interface):
        self.switch.ip("address %s %s/24 dev %s" % (what, address, interface))

    def wait_for_report(self, group, source):
        """Joins a group; the report of it leaves from that address."""
        self.home.clear()
        self.hosts["h0"].join(group)
        found = until(lambda: self.at_uplink(REPORT, group), "a report of %s" % group)
        self.assertEqual({frame.source for frame in found}, {source})

    def test_reports_leave_from_the_address_of_the_bridge(self):
        self.start_proxy()
        self.assertTrue(self.node.said("; IGMP from %s \\(%s\\)$" % (BRIDGE_IP4, BRIDGE)))
        self.wait_for_report("239.20.1.1", BRIDGE_IP4)

    def test_or_from_that_of_the_uplink(self):
        self.address("del", BRIDGE_IP4, BRIDGE)
        self.address("add", OTHER_IP4, UPLINK)
        self.start_proxy()
        self.assertTrue(self.node.said("; IGMP from %s \\(%s\\)$" % (OTHER_IP4, UPLINK)))
        self.wait_for_report("239.20.2.1", OTHER_IP4)

    def test_without_one_a_line_says_what_that_means_until_there_is_one(self):
        self.address("del", BRIDGE_IP4, BRIDGE)
        self.start_proxy()
        complaint, = self.node.complaints()
        self.assertIn("neither %s nor %s has an IPv4 address" % (BRIDGE, UPLINK), complaint)
        self.wait_for_report("239.20.3.1", "0.0.0.0")
        self.address("add", OTHER_IP4, BRIDGE)
        until(lambda: self.node.said("leave from %s" % OTHER_IP4), "the node takes the address")
        self.wait_for_report("239.20.3.2", OTHER_IP4)

    def test_an_address_that_a_command_sets_stays(self):
        self.start_proxy()
        self.node.ctl("proxy-address", "192.0.2.77")
        self.wait_for_report("239.20.4.1", "192.0.2.77")
        self.address("del", BRIDGE_IP4, BRIDGE)
        self.address("add", OTHER_IP4, BRIDGE)
        self.wait_for_report("239.20.4.2", "192.0.2.77")
        self.assertEqual(self.node.complaints(), [])

    def test_queries_of_ipv6_leave_from_the_link_local_address_of_the_bridge(self):
        self.node.start()
        own, = (word.split("/")[0] for word in
                self.switch.must(["ip", "-6", "-o", "addr", "show", BRIDGE]).split()
                if word.startswith("fe80:"))
        member = self.hosts["h1"].join("ff1e::2001")
        until(lambda: self.at_uplink("MLDv2 report", "ff1e::2001"), "the report goes up")
        member.leave()
        found = until(lambda: self.at_port(1, "MLDv2 group query", "ff1e::2001"), "a group query")
        self.assertEqual({frame.source for frame in found}, {own})
