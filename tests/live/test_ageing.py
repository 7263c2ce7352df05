"""Memberships live as long as queries are answered, and no longer."""

import time

from lab.host import UNSOLICITED_MS
from live_test import LiveTest, until

# Robustness, query interval and response interval in seconds, small enough to wait for.
ROBUSTNESS, INTERVAL, RESPONSE = 2, 1, 1
AGEING = ROBUSTNESS * INTERVAL + RESPONSE
ANSWER = 0.1         # seconds that the network gives for an answer; a busy machine has the rest
DEAF = "add table netdev deaf; " \
       "add chain netdev deaf in { type filter hook ingress device eth0 priority 0; }; " \
       "add rule netdev deaf in ip protocol 2 drop; " \
       "add rule netdev deaf in ether daddr 33:33:00:00:00:01 drop"


class Ageing(LiveTest):
    def shorten(self):
        self.node.ctl("parameters", "--robustness", ROBUSTNESS, "--query-interval", INTERVAL,
                      "--response-interval", RESPONSE, "--last-member-interval", 1,
                      "--last-member-count", 2)

    def receiver(self, *groups):
        """A host on port 0 with its streams, while the network asks."""
        self.shorten()
        self.uplink.query(igmp=3, mld=2, interval=INTERVAL, response=ANSWER)
        host = self.hosts["h0"]
        host.speak(3, 2)
        streams = [self.uplink.stream(group) for group in groups]
        for stream in streams:
            host.join(stream.group)
            self.assert_reaches(stream, 0)
        return host, streams

    def outlast_the_joins(self):
        """Without another report the memberships end meanwhile."""
        time.sleep(AGEING + UNSOLICITED_MS / 1000)

    def deafen(self, host):
        """The host does not get queries any more, its port still does."""
        host.namespace.must(["nft", DEAF])

    def hear(self, host):
        host.namespace.must(["nft", "delete table netdev deaf"])

    def test_a_stream_runs_past_the_ageing_time_while_the_proxy_asks(self):
        self.shorten()
        self.node.ctl("mode", "proxy")
        self.hosts["h0"].speak(igmp=3)
        self.hosts["h1"].speak(igmp=2)
        stream = self.uplink.stream("239.3.1.1")
        for name in ("h0", "h1"):
            self.hosts[name].join("239.3.1.1")
        self.assert_reaches(stream, 0, 1)
        first = stream.sent
        self.outlast_the_joins()
        for port in (0, 1):
            self.assert_whole(port, stream, first)
            asked = self.at_port(port, "IGMPv3 general query")
            self.assertGreaterEqual(len(asked), 3, "queries of the proxy on port %d" % port)
            self.assertEqual([frame.vids for frame in asked], [[]] * len(asked))

    def test_a_stream_runs_past_the_ageing_time_while_the_network_asks(self):
        self.shorten()
        self.uplink.query(igmp=2, mld=1, interval=INTERVAL, response=ANSWER)
        for name, igmp, mld in (("h0", 2, 1), ("h1", 3, 1)):
            self.hosts[name].speak(igmp, mld)
        streams = {group: self.uplink.stream(group) for group in ("239.3.2.1", "ff1e::321")}
        for group in streams:
            for name in ("h0", "h1"):
                self.hosts[name].join(group)
            self.assert_reaches(streams[group], 0, 1)
        first = {group: stream.sent for group, stream in streams.items()}
        self.outlast_the_joins()
        for group, stream in streams.items():
            for port in (0, 1):
                self.assert_whole(port, stream, first[group])

    def test_one_unanswered_query_does_not_end_a_stream(self):
        host, streams = self.receiver("239.3.3.1", "ff1e::331")
        self.wait_for_answers(host, streams)
        self.deafen(host)
        first = [stream.sent for stream in streams]
        unanswered = self.queries_seen(0)
        until(lambda: self.queries_seen(0) > unanswered, "a query that the host does not get")
        self.hear(host)
        time.sleep(AGEING)
        for stream, since in zip(streams, first):
            self.assert_whole(0, stream, since)

    def queries_seen(self, port):
        return min(len(queries) for queries in self.queries(port))

    def queries(self, port):
        return [self.at_port(port, kind) for kind in ("IGMPv3 general query", "MLDv2 general query")]

    def wait_for_answers(self, host, streams):
        """Until it has just answered queries of both families: there is an interval to the next ones."""
        def answered():
            latest = max(queries[-1].when for queries in self.queries(0))
            return all(self.uplink.capture.frames(
                lambda frame: stream.group in frame.groups and frame.source_mac == host.mac
                and frame.when > latest) for stream in streams)
        asked = self.queries_seen(0)
        until(lambda: self.queries_seen(0) > asked, "a query")
        until(answered, "%s answers" % host.name)

    def test_a_host_that_vanishes_loses_its_streams_after_the_ageing_time(self):
        host, streams = self.receiver("239.3.4.1", "ff1e::341")
        self.deafen(host)
        vanished = time.time()
        for stream in streams:
            stopped = self.wait_for_stop(0, stream, 3 * AGEING)
            # The last report came before it went deaf, at most one interval and an answer earlier.
            self.assertGreater(stopped - vanished, AGEING - INTERVAL - RESPONSE)
