"""Streams reach the ports that joined them, and no other."""

from live_test import LiveTest, SAMPLE, until


class Streams(LiveTest):
    def test_each_stream_reaches_exactly_the_ports_that_joined_it(self):
        for name, igmp, mld in [("h0", 2, 1), ("h1", 3, 2), ("h2", 2, 2), ("h3", 3, 1)]:
            self.hosts[name].speak(igmp, mld)
        members = {
            "239.1.1.1": ["h0"], "239.1.1.2": ["h1"], "239.1.1.3": ["h0", "h1", "h2"],
            "ff1e::11": ["h0"], "ff1e::12": ["h1"], "ff1e::13": ["h1", "h3"],
            "239.1.1.9": [], "ff1e::19": [],
        }
        streams = {group: self.uplink.stream(group) for group in members}
        joined = [self.hosts[name].join(group) for group, names in members.items() for name in names]
        for group, names in members.items():
            with self.subTest(group=group):
                self.assert_reaches(streams[group], *[int(name[1:]) for name in names])
        for member in joined:
            until(lambda: member.received >= SAMPLE, "the socket in %s gets its stream" % member.group)

    def test_a_group_and_source_join_gets_the_stream(self):
        streams = [self.uplink.stream("232.1.1.1"), self.uplink.stream("ff3e::8000:1")]
        self.hosts["h0"].speak(3, 2)
        self.hosts["h0"].join("232.1.1.1", source=self.uplink.ip4)
        self.hosts["h0"].join("ff3e::8000:1", source=self.uplink.ip6)
        for stream in streams:
            self.assert_reaches(stream, 0)

    def test_nothing_unregistered_reaches_a_user_port_from_the_first_moment(self):
        streams = [self.uplink.stream("239.1.2.1"), self.uplink.stream("ff1e::21")]
        for stream in streams:
            self.assert_reaches(stream)
            self.assertEqual([port.number for port in self.home.ports
                              if self.numbers(port.number, stream)], [])

    def test_streams_of_a_user_port_go_to_the_uplink(self):
        for group in ("239.1.3.1", "ff1e::31"):
            with self.subTest(group=group):
                stream = self.hosts["h2"].stream(group)
                until(lambda: len(self.uplink.capture.frames(stream.seen_in)) >= SAMPLE,
                      "%s arrives at the uplink" % group)
                self.assert_reaches(stream)

    def test_a_stream_of_a_user_port_reaches_a_member_on_another_one(self):
        stream = self.hosts["h2"].stream("239.1.3.2")
        self.hosts["h4"].speak(igmp=3)
        self.hosts["h4"].join("239.1.3.2")
        self.assert_reaches(stream, 4)
        until(lambda: self.uplink.capture.frames(stream.seen_in), "it arrives at the uplink too")
