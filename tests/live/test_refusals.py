"""Frames that a switch does not forward, because they are damaged or come from the wrong side."""

import json

from lab.messages import ethernet, igmp_v2_report, mld_v1_report
from live_test import LiveTest

REPORTS = {"239.8.1.1": igmp_v2_report, "ff1e::811": mld_v1_report}
WHOLE = {"239.8.1.2": igmp_v2_report, "ff1e::812": mld_v1_report}


def address_of(host, group):
    return host.link_local if ":" in group else host.ip4


def about(capture, group):
    return capture.frames(lambda frame: group in frame.groups)


class Refusals(LiveTest):
    options = ("--json",)

    def send(self, host, reports, damage=0):
        for group, report in reports.items():
            packet, to = report(address_of(host, group), group)
            packet = packet[:-1] + bytes([packet[-1] ^ damage])
            host.send(ethernet(host.mac, to, packet))

    def test_a_damaged_report_does_not_go_up(self):
        host = self.hosts["h1"]
        self.send(host, REPORTS, damage=0x80)
        self.send(host, WHOLE)
        for group in WHOLE:
            self.wait_for(lambda: about(self.uplink.capture, group), "the whole report goes up")
        for group in REPORTS:
            self.assertFalse(about(self.uplink.capture, group), "a damaged report of " + group)
        self.assertEqual(self.refused("wrong checksum"), len(REPORTS))

    def test_a_report_of_the_uplink_does_not_go_down(self):
        self.send(self.uplink, REPORTS)
        router = self.uplink.query(interval=60)
        self.wait_for(lambda: self.at_port(1, "IGMPv3 general query")
                      and self.at_port(1, "MLDv2 general query"),
                      "the query that was sent behind them goes down")
        router.close()
        for group in REPORTS:
            for port in self.home.ports:
                self.assertFalse(about(port.wire, group),
                                 "a report of %s on port %d" % (group, port.number))
        # The uplink's kernel reports groups of its own.
        self.assertGreaterEqual(self.refused("report from the uplink"), len(REPORTS))

    def refused(self, reason):
        """How often the summary says so; the node ends."""
        _, printed = self.node.stop()
        return json.loads(printed)["drops"]["driver"][reason]
