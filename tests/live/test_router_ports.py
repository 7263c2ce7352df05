"""A router behind a user port gets every stream and every report, for as long as it is heard."""

import json

from lab import messages
from lab.state import snapshot
from live_test import LiveTest, until

# In seconds, small enough to wait for; the router's queries say nothing else.
INTERVAL, RESPONSE = 1, 1
ADVERTISED = 3 * 4 + 5       # three of the shortest intervals, on a busy machine
SIDES = [("239.9.1.1", "IGMPv3 report"), ("ff1e::911", "MLDv2 report")]


class RouterPorts(LiveTest):
    def setUp(self):
        super().setUp()
        self.node.ctl("parameters", "--robustness", 2, "--query-interval", INTERVAL,
                      "--response-interval", RESPONSE, "--last-member-interval", 1,
                      "--last-member-count", 2)

    def test_streams_and_reports_flow_to_a_router_until_it_falls_silent(self):
        streams = [self.uplink.stream(group) for group, _ in SIDES]
        for stream in streams:
            self.assert_reaches(stream)
        router = self.hosts["h2"].query(interval=INTERVAL, response=0.1)
        for stream in streams:
            self.assert_reaches(stream, 2)
        for group, report in SIDES:
            self.hosts["h4"].join(group)
            until(lambda: self.at_port(2, report, group), "the router hears the %s" % report)
            self.assertEqual(self.at_port(1, report, group), [], "other hosts do not")
        self.hosts["h4"].rest()
        router.close()
        for stream in streams:
            self.wait_for_stop(2, stream)
        until(lambda: self.node.said("has no router behind it any more"), "the node says so")

    def test_a_router_that_advertises_itself_gets_streams_without_asking(self):
        for number, ((group, _), address) in enumerate(zip(SIDES, ("ip4", "link_local")), 2):
            router, stream = self.hosts["h%d" % number], self.uplink.stream(group)
            self.assert_reaches(stream)
            packet, to = messages.router_advertisement(getattr(router, address), 4)
            router.send(messages.ethernet(router.mac, to, packet))
            self.assert_reaches(stream, number)
            self.wait_for_stop(number, stream, ADVERTISED)
            stream.close()

    def test_a_router_with_a_lower_address_asks_in_place_of_the_proxy(self):
        self.node.ctl("mode", "proxy")
        router = self.hosts["h2"]
        router.ip4, router.link_local = "10.0.0.1", "fe80::1"     # what its queries come from
        kinds = "IGMPv3 general query", "MLDv2 general query"
        for kind in kinds:
            until(lambda: len(self.asked_by_node(2, kind)) >= 2, "the proxy asks everywhere")
        querier = router.query(interval=INTERVAL, response=0.1)
        until(lambda: self.node.said("has a router behind it"), "the router is heard")
        until(lambda: querier.asked >= 2, "in both families")
        self.home.clear()
        for kind in kinds:
            until(lambda: len(self.asked_by_node(1, kind)) >= 3, "the proxy asks elsewhere")
            self.assertEqual(self.asked_by_node(2, kind), [])
        querier.close()
        for kind in kinds:
            until(lambda: self.asked_by_node(2, kind), "the proxy takes over")

    def asked_by_node(self, port, kind):
        router = self.hosts["h%d" % port]
        return [frame for frame in self.at_port(port, kind) if frame.source_mac != router.mac]

    def test_the_bridge_is_given_back_while_there_is_a_router(self):
        self.node.stop()
        self.switch.must(["bridge", "link", "set", "dev", "lan3", "mcast_router", "0"])
        before = snapshot(self.switch)
        self.node = type(self.node)(self.home, [self.node.mc_node, self.node.mcctl], "--json")
        self.addCleanup(self.node.kill)
        self.node.start()
        for name in ("h2", "h3"):
            self.hosts[name].query(mld=None)
        until(lambda: len(self.node.said("has a router behind it")) == 2, "both are heard")
        _, printed = self.node.stop()
        self.assertEqual(snapshot(self.switch), before)
        routers = json.loads(printed)["router_ports"]
        self.assertEqual([(router["port"], router["address"], router["known_by"])
                          for router in routers],
                         [(2, self.hosts["h2"].ip4, "query"), (3, self.hosts["h3"].ip4, "query")])
        self.assertTrue(all(0 < router["left_s"] <= 256 for router in routers), routers)


class Asking(LiveTest):
    """The node asks where it cannot know who listens."""

    def test_a_restart_in_snooping_cuts_viewers_no_longer_than_their_answers_take(self):
        groups = ["239.9.2.1", "ff1e::921"]
        streams = [self.uplink.stream(group) for group in groups]
        for stream in streams:
            self.hosts["h0"].join(stream.group)
            self.assert_reaches(stream, 0)
        self.assertEqual(self.node.stop()[0], 0)
        self.home.clear()
        self.node.start()
        answered = 10 + 2      # seconds: the response time that the query gives, on a busy machine
        for stream in streams:
            until(lambda: self.at_port(0, "IGMPv3 general query"), "the node asks")
            since = stream.sent
            until(lambda: self.numbers(0, stream, since), "%s comes back" % stream.group, answered)
        query, = self.at_port(0, "IGMPv3 general query")
        self.assertEqual(query.source, "0.0.0.0", "no router gives way to it")

    def test_who_is_behind_a_link_that_has_come_up_is_asked(self):
        kinds = "IGMPv3 general query", "MLDv2 general query"
        for kind in kinds:
            until(lambda: self.at_port(1, kind) and self.at_port(2, kind), "the node's first queries")
        self.home.clear()
        self.switch.ip("link set lan1 down")
        until(lambda: self.node.said("lan1.* is down"), "the node sees it")
        self.switch.ip("link set lan1 up")
        for kind in kinds:
            until(lambda: self.at_port(1, kind), "%s on port 1" % kind)
            self.assertEqual(self.at_port(2, kind), [])
