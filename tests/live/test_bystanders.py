"""What is no stream keeps flowing: neighbour discovery, and the groups that every host listens to."""

from live_test import LiveTest, SAMPLE, until

DHCP_SERVER = 547


class Bystanders(LiveTest):
    def test_neighbours_find_each_other(self):
        user, distant = self.hosts["h1"], self.hosts["h5b"]
        for number, (asking, asked) in enumerate([(user, self.uplink), (self.uplink, user),
                                                  (distant, self.uplink), (self.uplink, distant),
                                                  (distant, user)]):
            with self.subTest(asking=asking.name, asked=asked.name):
                # The bridge may have learnt of the groups of older addresses before the node ran.
                fresh = "2001:db8::aa:%x" % number
                asked.take_address(fresh)
                self.assertTrue(asking.ping(fresh))
                self.assertTrue(asking.ping(asked.link_local))

    def test_neighbours_find_each_other_while_queries_and_memberships_come_and_go(self):
        self.uplink.query(interval=0.5)
        user, fresh = self.hosts["h1"], "2001:db8::bb:1"
        user.take_address(fresh)
        stream = self.uplink.stream("ff1e::411")
        member = user.join("ff1e::411")
        self.assert_reaches(stream, 1)
        self.assertTrue(self.uplink.ping(fresh))
        member.leave()
        self.assertTrue(self.uplink.ping(fresh))
        self.assertTrue(user.ping(self.uplink.ip6))

    def test_what_goes_to_all_nodes_reaches_all_ports(self):
        for group in ("ff02::1", "224.0.0.1", "224.0.0.251", "224.0.0.5"):
            with self.subTest(group=group):
                self.assert_reaches(self.uplink.stream(group), *range(6))

    def test_link_local_groups_that_a_host_joins_reach_it(self):
        for name, version in (("h0", 1), ("h1", 2)):
            self.hosts[name].speak(mld=version)
            for group in ("ff02::fb", "ff02::1:2"):
                with self.subTest(host=name, group=group):
                    stream = self.uplink.stream(group)
                    member = self.hosts[name].join(group)
                    until(lambda: member.received >= SAMPLE, "%s gets %s" % (name, group))
                    stream.close()

    def test_a_user_reaches_servers_at_the_uplink(self):
        for name in ("h0", "h5a"):
            for group in ("ff02::1:2", "ff02::2", "224.0.0.251", "224.0.0.2"):
                with self.subTest(host=name, group=group):
                    stream = self.hosts[name].stream(group, port=DHCP_SERVER)
                    until(lambda: len(self.uplink.capture.frames(stream.seen_in)) >= SAMPLE,
                          "%s of %s arrives" % (group, name))
                    stream.close()

    def test_the_bridge_itself_asks_nobody(self):
        # It makes queries all the time, so that it keeps to its database.  Of an older version than
        # the network's they would turn every host back to it.  The node's own are there once, when
        # it starts, in the newest version.
        def asked():
            return [frame for capture in self.home.captures() for frame in capture.frames()
                    if "query" in frame.kind]
        startup = 2 * len(self.home.ports)
        until(lambda: len(asked()) >= startup, "the node asks")
        self.assertEqual({frame.kind for frame in asked()},
                         {"IGMPv3 general query", "MLDv2 general query"})
        self.home.clear()
        self.never(asked, 0.5, "a query, though nobody in the network asks")
