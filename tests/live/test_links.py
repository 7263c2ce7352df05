"""Links: what becomes of the memberships of a port that has lost its own."""

from lab.state import groups_of
from live_test import LiveTest, until

LONG = 5             # seconds of the last member interval; nothing that is done at once takes that long
GROUPS = ("239.7.1.1", "ff1e::711")


class Links(LiveTest):
    def join_everywhere(self, *names):
        """Hosts that get a stream of each family; the streams."""
        streams = [self.uplink.stream(group) for group in GROUPS]
        for name in names:
            self.hosts[name].speak(3, 2)
            for stream in streams:
                self.hosts[name].join(stream.group)
        for stream in streams:
            self.assert_reaches(stream, *[int(name[1]) for name in names])
        return streams

    def wait_until_ended(self, interface, seconds):
        """The switch has none of the groups on the port any more."""
        until(lambda: not set(GROUPS) & set(groups_of(self.switch, interface)),
              "the groups on %s end" % interface, seconds)

    def test_memberships_end_with_the_link_of_their_port(self):
        streams = self.join_everywhere("h1", "h2")
        self.switch.ip("link set lan1 down")
        self.wait_until_ended("lan1", LONG)
        for stream in streams:
            self.assert_reaches(stream, 2)

    def test_with_fast_leave_they_end_at_once(self):
        self.node.ctl("fast-leave", "--port", "1", "on")
        self.node.ctl("last-member-interval", 60)
        self.join_everywhere("h1")
        self.switch.ip("link set lan1 down")
        self.wait_until_ended("lan1", LONG)

    def test_they_end_with_a_port_that_is_taken_out_of_the_bridge(self):
        self.node.ctl("fast-leave", "--port", "1", "on")
        self.node.ctl("last-member-interval", 60)
        streams = self.join_everywhere("h1", "h2")
        self.switch.ip("link set lan1 nomaster")
        until(lambda: self.node.said(r"lan1\) is in br0 no more"), "mc_node says that lan1 is out")
        self.hosts["h1"].rest()      # nobody who would answer when the port is asked
        self.switch.ip("link set lan1 master br0")
        until(lambda: self.node.said(r"lan1\) is back"), "mc_node says that lan1 is back")
        self.assertFalse(set(GROUPS) & set(groups_of(self.switch, "lan1")))
        for stream in streams:
            self.assert_reaches(stream, 2)
