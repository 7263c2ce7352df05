"""Leaves: who loses a stream, and when."""

from live_test import LiveTest, QUIET, SAMPLE, until

VERSIONS = [("IGMPv2", 2, 1, "239.2.1.1"), ("IGMPv3", 3, 2, "239.2.1.2"),
            ("MLDv1", 2, 1, "ff1e::211"), ("MLDv2", 3, 2, "ff1e::212")]

LONG = 5             # seconds of the last member interval; nothing that is done at once takes that long


class LeaveTest(LiveTest):
    def receive(self, name, group, igmp, mld):
        """A host that gets a stream; the stream and the membership."""
        host = self.hosts[name]
        host.speak(igmp, mld)
        stream = self.uplink.stream(group)
        member = host.join(group)
        self.assert_reaches(stream, int(name[1]))
        return stream, member

    def asked(self, port, group):
        """The queries about the group that left the port."""
        return self.home.ports[port].wire.frames(
            lambda frame: frame.kind.endswith("group query") and group in frame.groups)

    def reports(self, group, host):
        return self.uplink.capture.frames(
            lambda frame: frame.kind.endswith("report") and group in frame.groups
            and frame.source_mac == host.mac)

    def wait_until_all_is_said(self, group, host):
        """A report of a join is repeated once: behind that the host is silent until it is asked."""
        until(lambda: len(self.reports(group, host)) >= 2, "%s has repeated itself" % host.name)

    def wait_for_leave(self, group, host):
        """Until the network hears it leave."""
        self.wait_for(lambda: self.uplink.capture.frames(
            lambda frame: group in frame.leaves() and frame.source_mac == host.mac), "the leave goes up")


class Leaves(LeaveTest):
    def test_with_fast_leave_a_leave_stops_the_stream_at_once(self):
        self.node.ctl("fast-leave", "--port", "0", "on")
        # Asking the last members would take twice as long.
        self.node.ctl("last-member-interval", LONG)
        for version, igmp, mld, group in VERSIONS:
            with self.subTest(version=version):
                stream, member = self.receive("h0", group, igmp, mld)
                _, left = member.leave()
                self.assertLess(self.wait_for_stop(0, stream) - left, LONG)
                self.assertFalse(self.asked(0, group), "nobody is asked")

    def test_without_fast_leave_the_last_members_are_asked_first(self):
        self.uplink.query(interval=60)
        received = {}
        for port, (version, igmp, mld, group) in enumerate(VERSIONS):
            received[version] = (port, group, *self.receive("h%d" % port, group, igmp, mld))
        left = {version: member.leave()[0] for version, (*_, member) in received.items()}
        for version, (port, group, stream, _) in received.items():
            with self.subTest(version=version):
                stopped = self.wait_for_stop(port, stream)
                asked = [frame.when for frame in self.asked(port, group)]
                self.assertGreaterEqual(len(asked), 2, "the last member queries")
                self.assertLess(left[version], asked[0])
                self.assertLess(asked[1], stopped)
                # Two queries a second apart, and a second for the last answer.
                self.assertGreater(stopped - left[version], 1.5)

    def test_no_router_is_needed_to_ask(self):
        streams = []
        for port, (version, igmp, mld, group) in enumerate(VERSIONS):
            stream, member = self.receive("h%d" % port, group, igmp, mld)
            streams.append(stream)
            member.leave()
        for port, (version, *_, group) in enumerate(VERSIONS):
            with self.subTest(version=version):
                self.wait_for_stop(port, streams[port])
                asked = self.asked(port, group)
                self.assertEqual(len(asked), 2, "the node's own queries")
                self.assertEqual([frame.tags for frame in asked], [[], []])

    def test_the_last_receiver_of_a_source_is_asked_for_it(self):
        for port, (version, group, source) in enumerate([
                ("IGMPv3", "232.2.1.1", self.uplink.ip4), ("MLDv2", "ff3e::8000:211", self.uplink.ip6)]):
            with self.subTest(version=version):
                host = self.hosts["h%d" % port]
                host.speak(3, 2)
                stream = self.uplink.stream(group)
                stays, leaves = host.join(group, source), host.join(group, "%s99" % source[:-1])
                self.assert_reaches(stream, port)
                leaves.leave()
                until(lambda: self.asked_for_source(port, group)[1:], "the last member queries")
                self.assert_reaches(stream, port)
                self.assertEqual(len(self.asked_for_source(port, group)), 2)
                stays.leave()
                self.wait_for_stop(port, stream)
                self.assertFalse(self.asked(port, group), "nobody is asked about the group")

    def asked_for_source(self, port, group):
        return self.home.ports[port].wire.frames(
            lambda frame: frame.kind.endswith("group and source query") and group in frame.groups)

    def test_a_change_to_include_nothing_is_a_leave(self):
        self.node.ctl("fast-leave", "--port", "2", "on")
        stream, member = self.receive("h2", "239.2.3.1", 3, 2)
        member.leave()
        self.wait_for_stop(2, stream)
        reports = self.at_uplink("IGMPv3 report", "239.2.3.1", self.hosts["h2"])
        self.assertIn((3, "239.2.3.1", 0), [record for frame in reports for record in frame.records])

    def test_a_fast_leave_does_not_cut_the_other_receiver_behind_the_port(self):
        self.node.ctl("fast-leave", "--port", "5", "on")
        for version, igmp, mld, group in VERSIONS:
            with self.subTest(version=version):
                stays, leaves = self.hosts["h5a"], self.hosts["h5b"]
                stream, staying = self.receive("h5a", group, igmp, mld)
                # Hosts of the old versions leave silently unless theirs was the last report, and do
                # not report what they hear another one report.
                self.wait_until_all_is_said(group, stays)
                leaves.speak(igmp, mld)
                leaving = leaves.join(group)
                self.wait_until_all_is_said(group, leaves)
                first = stream.sent
                leaving.leave()
                self.wait_for_leave(group, leaves)
                before = staying.received
                until(lambda: stream.sent >= first + 2 * SAMPLE, "the stream goes on")
                self.assert_whole(5, stream, first + 1)
                self.assertGreater(staying.received, before)
                # The one that stays answers the next query, so that its own leave is no silent one.
                self.home.clear()
                router = self.uplink.query(interval=60)
                self.wait_for(lambda: self.reports(group, stays), "it answers")
                router.close()
                staying.leave()
                self.wait_for_leave(group, stays)
                self.wait_for_stop(5, stream)

    def test_a_leave_on_one_port_leaves_the_stream_of_another_alone(self):
        self.node.ctl("fast-leave", "all", "on")
        for version, igmp, mld, group in VERSIONS:
            with self.subTest(version=version):
                stream, _ = self.receive("h3", group, igmp, mld)
                self.hosts["h4"].speak(igmp, mld)
                other = self.hosts["h4"].join(group)
                self.assert_reaches(stream, 3, 4)
                first = stream.sent
                other.leave()
                # In snooping mode the network hears of it and has to ask itself.
                self.wait_for_leave(group, self.hosts["h4"])
                self.wait_for_stop(4, stream)
                self.assert_whole(3, stream, first)
                self.assert_reaches(stream, 3)


class MixedVersions(LeaveTest):
    def test_behind_one_port(self):
        self.mix("h5a", "h5b", 5, 5)

    def test_on_two_ports(self):
        self.mix("h0", "h1", 0, 1)

    def mix(self, old_name, new_name, old_port, new_port):
        """A host of IGMPv2 and one of IGMPv3 in one group: either gets on without the other."""
        self.node.ctl("fast-leave", "all", "on")
        old, new = self.hosts[old_name], self.hosts[new_name]
        old.speak(igmp=2)
        new.speak(igmp=3)
        for number, (first, second) in enumerate([(old, new), (new, old)]):
            group = "239.2.6.%d" % (number + 1)
            port, other_port = (old_port, new_port) if first is old else (new_port, old_port)
            stream = self.uplink.stream(group)
            memberships = {first: first.join(group)}
            self.assert_reaches(stream, port)
            memberships[second] = second.join(group)
            self.assert_reaches(stream, *{port, other_port})
            # A silent leave of the old version would prove nothing.
            self.wait_until_all_is_said(group, second)
            start = stream.sent
            memberships[second].leave()
            if port != other_port:
                self.wait_for_stop(other_port, stream)
            self.wait_for_leave(group, second)
            until(lambda: stream.sent >= start + QUIET, "the stream is sent")
            self.assert_whole(port, stream, start)
            self.assert_reaches(stream, port)
            memberships[first].leave()
            self.wait_for_stop(port, stream)


class LeavesInProxyMode(LiveTest):
    def test_nothing_goes_up_before_the_last_member_leaves(self):
        self.node.ctl("mode", "proxy")
        self.node.ctl("fast-leave", "all", "on")
        group = "239.2.7.1"
        stream = self.uplink.stream(group)
        members = []
        for name, igmp in (("h0", 2), ("h1", 3), ("h2", 3)):
            self.hosts[name].speak(igmp=igmp)
            members.append(self.hosts[name].join(group))
        self.assert_reaches(stream, 0, 1, 2)
        self.wait_for(lambda: self.about(group), "the proxy reports the group")
        self.assertFalse([frame for frame in self.about(group) if frame.leaves()])
        for port, member in enumerate(members[:2]):
            member.leave()
            self.wait_for_stop(port, stream)
            self.assert_reaches(stream, *range(port + 1, 3))
            self.assertFalse([frame for frame in self.about(group) if frame.leaves()],
                             "a leave goes up while port 2 holds the group")
        members[2].leave()
        self.wait_for(lambda: [frame for frame in self.about(group) if group in frame.leaves()],
                      "the proxy leaves the group")
        self.wait_for_stop(2, stream)
        # The hosts themselves were not heard upstream at any time.
        macs = {self.hosts[name].mac for name in ("h0", "h1", "h2")}
        self.assertFalse([frame for frame in self.about(group) if frame.source_mac in macs])
        self.assertFalse([frame for frame in self.about(group) if frame.tags], "the default VLAN")

    def about(self, group):
        return self.uplink.capture.frames(lambda frame: frame.family == "IGMP" and group in frame.groups)
