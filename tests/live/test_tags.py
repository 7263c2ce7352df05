"""Tags: what comes tagged, what rules make of it, and what control mode stamps."""

import struct

from lab import messages
from live_test import LiveTest

PCP = 5 << 13


def retagged(frame, *tcis):
    """The frame with these tags in place of those it has."""
    at = 12
    while frame[at:at + 2] == b"\x81\x00":
        at += 4
    return frame[:12] + b"".join(struct.pack("!HH", 0x8100, tci) for tci in tcis) + frame[at:]


class TaggedTest(LiveTest):
    def report(self, host, group, *tcis):
        """A report as the host might send it, IGMP or MLD by the group."""
        if ":" in group:
            packet, to = messages.mld_v1_report(host.link_local, group)
        else:
            packet, to = messages.igmp_v2_report(host.ip4, group)
        return messages.ethernet(host.mac, to, packet, tcis)

    def goes_up_as(self, host, frame, expected):
        """The frame of the host arrives at the uplink as expected, to the byte."""
        self.home.clear()
        host.send(frame)
        self.arrives(self.uplink.capture, host, expected)

    def comes_down_as(self, frame, port, expected):
        self.home.clear()
        self.uplink.send(frame)
        self.arrives(self.home.ports[port].wire, self.uplink, expected)

    def arrives(self, capture, sender, expected):
        """One trapped frame of the sender arrives, and it is the one expected."""
        def came():
            return [frame.data for frame in capture.frames(
                lambda frame: frame.trapped and frame.source_mac == sender.mac
                # The kernels' own reports, as of solicited-node groups, are not meant.
                and not any(group.startswith("ff02:") for group in frame.groups))]
        self.wait_for(came, "the frame arrives")
        self.assertEqual([data.hex(" ") for data in came()], [expected.hex(" ")])


class Tags(TaggedTest):
    def test_a_tagged_query_reaches_the_ports_with_its_tag(self):
        for packet, to in (messages.igmp_query(self.uplink.ip4, 2), messages.igmp_query(self.uplink.ip4, 3),
                           messages.mld_query(self.uplink.link_local, 1),
                           messages.mld_query(self.uplink.link_local, 2)):
            frame = messages.ethernet(self.uplink.mac, to, packet, [PCP | 100])
            for port in (0, 3, 5):
                self.comes_down_as(frame, port, frame)

    def test_an_untagged_query_stays_untagged(self):
        for packet, to in (messages.igmp_query(self.uplink.ip4, 3),
                           messages.mld_query(self.uplink.link_local, 2)):
            frame = messages.ethernet(self.uplink.mac, to, packet)
            self.comes_down_as(frame, 1, frame)

    def test_a_tagged_report_is_learnt_and_keeps_its_tag(self):
        host = self.hosts["h2"]
        for group, tags in (("239.5.1.1", [PCP | 100]), ("ff1e::511", [PCP | 100]),
                            ("239.5.1.2", [PCP | 200, 100]), ("ff1e::512", [PCP | 200, 100])):
            with self.subTest(group=group, tags=len(tags)):
                stream = self.uplink.stream(group)
                self.assert_reaches(stream)
                frame = self.report(host, group, *tags)
                self.goes_up_as(host, frame, frame)
                self.assert_reaches(stream, 2)

    def test_an_untagged_report_stays_untagged(self):
        host = self.hosts["h2"]
        for group in ("239.5.2.1", "ff1e::521"):
            frame = self.report(host, group)
            self.goes_up_as(host, frame, frame)


class Rules(TaggedTest):
    def test_a_rule_translates_the_tag_both_ways(self):
        host, query = self.hosts["h3"], messages.igmp_query(self.uplink.ip4, 3)
        self.node.ctl("vlan", "add", "--port", 3, "--mode", "translate", "--up-in", 100,
                      "--up-out", 4000, "--down-in", 4000, "--down-out", 100, "--data-in", 4000,
                      "--data-out", 100)
        for group in ("239.5.3.1", "ff1e::531"):
            frame = self.report(host, group, PCP | 100)
            self.goes_up_as(host, frame, retagged(frame, 4000))
        down = messages.ethernet(self.uplink.mac, query[1], query[0], [PCP | 4000])
        self.comes_down_as(down, 3, retagged(down, 100))
        self.comes_down_as(down, 1, down)          # a port without a rule

    def test_what_a_rule_on_one_port_does_to_others_is_said(self):
        self.node.ctl("vlan", "add", "--port", 3, "--mode", "translate", "--up-in", 100,
                      "--up-out", 4000, "--down-in", 4000, "--down-out", 100, "--data-in", 4000,
                      "--data-out", 100)
        own, network = self.node.complaints()
        self.assertIn("own queries for VLAN 4000 leave port 3 in VLAN 4000, not in 100", own)
        self.assertIn("leave ports without a rule for it (4, 5) as port 3 gets them", network)
        query = messages.igmp_query(self.uplink.ip4, 3)
        down = messages.ethernet(self.uplink.mac, query[1], query[0], [PCP | 4000])
        self.comes_down_as(down, 4, retagged(down, 100))
        # A member there is asked in a VLAN that its host does not hear.
        host = self.hosts["h3"]
        self.goes_up_as(host, self.report(host, "239.5.5.1", PCP | 100),
                        retagged(self.report(host, "239.5.5.1"), 4000))
        self.node.ctl("mode", "proxy")
        asked = self.wait_for(lambda: [frame for frame in self.at_port(3, "IGMPv3 general query")
                                       if frame.tags], "a tagged query of the node")
        self.assertEqual({vid for frame in asked for vid in frame.vids}, {4000})

    def test_a_rule_tags_what_comes_untagged_until_it_is_deleted(self):
        host, other = self.hosts["h1"], self.hosts["h2"]
        self.node.ctl("vlan", "add", "--port", 1, "--mode", "tag", "--up-in", "untagged",
                      "--up-out", 4000, "--down-in", 4000, "--down-out", "untagged",
                      "--data-in", 4000)
        for group in ("239.5.4.1", "ff1e::541"):
            frame = self.report(host, group)
            self.goes_up_as(host, frame, retagged(frame, 4000))
            same = self.report(other, group)
            self.goes_up_as(other, same, same)
        query = messages.igmp_query(self.uplink.ip4, 3)
        down = messages.ethernet(self.uplink.mac, query[1], query[0], [PCP | 4000])
        self.comes_down_as(down, 1, retagged(down))
        self.node.ctl("vlan", "delete", "--port", 1, "--mode", "tag", "--up-in", "untagged",
                      "--data-in", 4000)
        frame = self.report(host, "239.5.4.2")
        self.goes_up_as(host, frame, frame)

    def test_a_member_behind_a_rule_gets_its_stream(self):
        self.node.ctl("vlan", "add", "--port", 1, "--mode", "tag", "--up-in", "untagged",
                      "--up-out", 4000, "--down-in", 4000, "--down-out", "untagged",
                      "--data-in", 4000)
        stream = self.uplink.stream("239.5.5.1")
        self.hosts["h1"].speak(igmp=3)
        self.hosts["h1"].join("239.5.5.1")
        self.assert_reaches(stream, 1)


class ControlTest(TaggedTest):
    """In control mode a frame that goes up names the node and the port, each in a tag."""

    def stamps(self, *outer):
        self.node.ctl("mode", "control")
        for name, port in (("h0", 0), ("h4", 4), ("h5b", 5)):
            host, group = self.hosts[name], "239.5.6.%d" % (port + 1)
            untagged = self.report(host, group)
            self.goes_up_as(host, untagged, retagged(untagged, *outer, port + 1))
            tagged = self.report(host, group, PCP | 100)
            self.goes_up_as(host, tagged, retagged(tagged, *outer, port + 1))
        # A membership is learnt as in any other mode.
        stream = self.uplink.stream("239.5.6.1")
        self.assert_reaches(stream, 0)


class ControlOfNode7(ControlTest):
    options = ("--onu-id", "7")

    def test_the_outer_tag_is_the_onu_id(self):
        self.stamps(7)

    def test_back_in_snooping_mode_nothing_is_stamped(self):
        self.stamps(7)
        self.node.ctl("mode", "snooping")
        frame = self.report(self.hosts["h3"], "239.5.7.1")
        self.goes_up_as(self.hosts["h3"], frame, frame)


class ControlOfNode0(ControlTest):
    options = ("--onu-id", "0")

    def test_128_stands_in_for_the_onu_id_0(self):
        self.stamps(128)


class ControlWithoutId(ControlTest):
    options = ("--onu-id", "255")

    def test_without_an_onu_id_there_is_no_outer_tag(self):
        self.stamps()
