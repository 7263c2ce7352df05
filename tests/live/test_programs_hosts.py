"""Hosts of every version: kernels that are held to IGMPv1, v2 or v3, MLDv1 or v2."""

from live_test import LiveTest, SAMPLE, until

# What a host of the version says first and last, what its kernel is told, and a group.
VERSIONS = [("IGMPv1 report", None, {"igmp": 1}, "239.25.%d.1"),
            ("IGMPv2 report", "IGMPv2 leave", {"igmp": 2}, "239.25.%d.2"),
            ("IGMPv3 report", "IGMPv3 report", {"igmp": 3}, "239.25.%d.3"),
            ("MLDv1 report", "MLDv1 done", {"mld": 1}, "ff1e::25:%d:1"),
            ("MLDv2 report", "MLDv2 report", {"mld": 2}, "ff1e::25:%d:2")]
# Seconds, short enough to be waited for: a membership that nobody keeps up ends after twice the first and
# once the second.
INTERVAL, RESPONSE = 1, 1
# A host of IGMPv1 takes up to ten seconds to answer, whatever the query says, so it is not there where
# memberships are that short.


class HostTest(LiveTest):
    def all_join(self, number, versions=VERSIONS):
        """A host of each version at a port of its own: port, stream and membership by its first word."""
        joined = {}
        for port, (report, _, version, group) in enumerate(versions):
            host = self.hosts["h%d" % port]
            host.speak(**version)
            stream = self.uplink.stream(group % number)
            joined[report] = (port, stream, host.join(group % number))
        return joined

    def assert_all_reached(self, joined):
        for report, (port, stream, member) in joined.items():
            with self.subTest(report=report):
                self.assert_reaches(stream, port)
                until(lambda: member.received >= SAMPLE, "the socket gets it")

    def said(self, kind, port, group):
        """What the host of a port has said of a group, as the network hears it in snooping mode."""
        return self.at_uplink(kind, group, self.hosts["h%d" % port])

    def shorten(self):
        self.node.ctl("parameters", "--robustness", 2, "--query-interval", INTERVAL,
                      "--response-interval", RESPONSE, "--last-member-interval", 1,
                      "--last-member-count", 2)


class Hosts(HostTest):
    def test_each_version_joins(self):
        joined = self.all_join(1)
        self.assert_all_reached(joined)
        for report, (port, stream, _) in joined.items():
            with self.subTest(report=report):
                self.wait_for(lambda: self.said(report, port, stream.group), "it spoke that version")

    def test_each_version_that_can_leave_leaves(self):
        joined = self.all_join(2)
        self.assert_all_reached(joined)
        leaving = [(report, leave, *joined[report]) for report, leave, *_ in VERSIONS if leave]
        for *_, member in leaving:
            member.leave()
        for report, leave, port, stream, _ in leaving:
            with self.subTest(report=report):
                self.wait_for_stop(port, stream)
                self.assertTrue(self.said(leave, port, stream.group), "it took its leave")
        port, stream, _ = joined["IGMPv1 report"]
        self.assert_reaches(stream, port)

    def test_a_host_of_igmpv1_ages(self):
        self.shorten()
        self.hosts["h0"].speak(igmp=1)
        stream = self.uplink.stream("239.25.3.1")
        member = self.hosts["h0"].join("239.25.3.1")
        self.assert_reaches(stream, 0)
        _, left = member.leave()
        # Nothing was said; the last report may have come up to the time of the repeated one after the join.
        self.assertGreater(self.wait_for_stop(0, stream) - left, RESPONSE)

    def test_each_version_answers_the_queries_of_the_proxy(self):
        self.shorten()
        self.node.ctl("mode", "proxy")
        joined = self.all_join(4, VERSIONS[1:])
        self.assert_all_reached(joined)
        starts = {report: stream.sent for report, (_, stream, _) in joined.items()}
        asked = len(self.at_port(0, "IGMPv3 general query"))
        until(lambda: len(self.at_port(0, "IGMPv3 general query")) > asked + 2 * INTERVAL + RESPONSE,
              "queries for longer than a membership lives without an answer")
        for report, (port, stream, _) in joined.items():
            with self.subTest(report=report):
                self.assert_whole(port, stream, starts[report])

    def test_each_version_answers_the_queries_of_a_router(self):
        self.shorten()
        router = self.uplink.query(interval=INTERVAL, response=0.1)
        joined = self.all_join(5, VERSIONS[1:])
        self.assert_all_reached(joined)
        starts = {report: stream.sent for report, (_, stream, _) in joined.items()}
        asked = router.asked
        until(lambda: router.asked > asked + 2 * INTERVAL + RESPONSE,
              "queries for longer than a membership lives without an answer")
        for report, (port, stream, _) in joined.items():
            with self.subTest(report=report):
                self.assert_whole(port, stream, starts[report])
