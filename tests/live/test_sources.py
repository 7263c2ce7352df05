"""The switch forwards by source: a port gets the sources that its members want, of each group.

One test for IGMPv3 and MLDv2.  There are two sources: the uplink host, and host h2 behind port 2.  Their
streams are told apart by the UDP port."""

import json

from live_test import LiveTest, until

OTHER_PORT = 5001
ANSWER_TIME = 15       # seconds; a host takes ten at most


class Sources:
    group = None
    runs = True

    def setUp(self):
        super().setUp()
        for name in ("h0", "h1", "h3"):
            self.hosts[name].speak(igmp=3, mld=2)
        self.one, self.other = self.address(self.uplink), self.address(self.hosts["h2"])

    def streams(self):
        return self.uplink.stream(self.group), self.hosts["h2"].stream(self.group, port=OTHER_PORT)

    def join(self, name, source=None):
        return self.hosts[name].join(self.group, source=source)

    def test_a_member_of_one_source_does_not_get_the_others(self):
        wanted, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(wanted, 0)
        self.assert_reaches(other)

    def test_one_port_wants_all_and_others_one_source(self):
        stream, other = self.streams()
        self.join("h1")
        one_of_two, two_of_two = self.join("h0", self.one), self.join("h3", self.one)
        self.assert_reaches(stream, 0, 1, 3)
        self.assert_reaches(other, 1)
        # One who gives the source up takes it from nobody else, though the kernel would.
        since = stream.sent
        two_of_two.leave()
        self.wait_for_stop(3, stream)
        self.assert_reaches(stream, 0, 1)
        self.assert_reaches(other, 1)
        self.assert_whole(0, stream, since)
        one_of_two.leave()
        self.wait_for_stop(0, stream)
        self.assert_reaches(stream, 1)
        self.assert_reaches(other, 1)

    def test_one_source_comes_and_goes_without_a_gap_in_another(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        since = stream.sent
        added = self.join("h0", self.other)
        self.assert_reaches(other, 0)
        added.leave()
        self.wait_for_stop(0, other)
        self.assert_reaches(other)
        self.assert_reaches(stream, 0)
        self.assert_whole(0, stream, since)

    def test_all_sources_and_back_to_one(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        everything = self.join("h0")
        self.assert_reaches(other, 0)
        everything.leave()
        self.wait_for_stop(0, other)
        self.assert_reaches(stream, 0)

    def test_hosts_behind_one_port_get_what_any_of_them_wants(self):
        stream, other = self.streams()
        for name, source in [("h5a", self.one), ("h5b", self.other)]:
            self.hosts[name].speak(igmp=3, mld=2)
            member = self.join(name, source)
        self.assert_reaches(stream, 5)
        self.assert_reaches(other, 5)
        member.leave()
        self.wait_for_stop(5, other)
        self.assert_reaches(stream, 5)

    def wait_for_both(self, stream):
        since = stream.sent
        for port in (0, 1):
            until(lambda: self.numbers(port, stream, since), "port %d gets the stream again" % port)

    def test_a_bridge_that_is_made_again_forwards_by_source_again(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.join("h1")
        self.assert_reaches(stream, 0, 1)
        self.home.take_bridge_away()
        self.wait_for(lambda: self.node.said("br0"), "the node misses the bridge")
        self.home.put_bridge_back()
        self.wait_for_both(stream)
        self.assert_reaches(stream, 0, 1)
        self.assert_reaches(other, 1)

    def test_more_sources_than_the_kernel_takes_are_all_sources(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        self.assert_reaches(other)
        for number in range(100, 131):
            self.join("h0", self.nobody(number))
        self.assert_reaches(other, 0)
        self.assert_reaches(stream, 0)

    def test_sources_without_room_in_the_database_are_all_sources(self):
        self.node.stop()
        self.switch.ip("link set br0 type bridge mcast_hash_max 32")
        self.node.start()
        stream, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        self.assert_reaches(other)
        # With the group itself and what the kernel has learnt of other groups that is too much.
        for number in range(100, 129):
            self.join("h0", self.nobody(number))
        self.assert_reaches(other, 0)
        self.assert_reaches(stream, 0)
        self.assertLess(len(self.entries()), 32)
        self.assertEqual(self.node.complaints(), [])

    def test_sources_that_nothing_can_come_from_are_left_out(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.join("h0", self.nowhere)
        self.assert_reaches(stream, 0)
        self.assert_reaches(other)

    def entries(self):
        shown = self.switch.run(["bridge", "mdb", "show"]).stdout
        return [entry for entry in shown.splitlines() if self.group in entry]

    def test_the_node_leaves_no_entry_of_a_source_behind(self):
        stream, _ = self.streams()
        self.join("h0", self.one)
        self.join("h1")
        self.assert_reaches(stream, 0, 1)
        self.node.stop()
        # What the bridge itself learns from then on is temporary.
        self.assertEqual([entry for entry in self.entries() if "permanent" in entry], [])

    def test_an_entry_of_a_source_that_somebody_has_made_stays(self):
        made = ["dev", "br0", "port", "lan0", "grp", self.group, "src", self.one, "permanent"]
        self.switch.must(["bridge", "mdb", "add", *made])
        before = self.entries()
        stream, _ = self.streams()
        self.join("h0", self.one)
        self.join("h1", self.one)
        self.assert_reaches(stream, 0, 1)
        self.assertEqual(self.node.complaints(), [])
        self.node.stop()
        self.assertEqual([entry for entry in self.entries() if "permanent" in entry], before)

    def test_an_entry_of_all_sources_that_somebody_has_made_keeps_them(self):
        made = ["dev", "br0", "port", "lan4", "grp", self.group, "permanent"]
        self.switch.must(["bridge", "mdb", "add", *made])
        before = self.entries()
        stream, other = self.streams()
        self.join("h0", self.one)
        gone = self.join("h3", self.one)
        self.assert_reaches(stream, 0, 3, 4)
        gone.leave()
        self.wait_for_stop(3, stream)
        self.assert_reaches(stream, 0, 4)
        self.assert_reaches(other, 4)
        self.node.stop()
        self.assertEqual([entry for entry in self.entries() if "permanent" in entry], before)

    def test_the_next_node_takes_the_entries_of_one_that_was_killed(self):
        stream, other = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        self.node.kill()
        self.node.start()
        since = stream.sent
        until(lambda: self.numbers(0, stream, since), "the member is heard of again", ANSWER_TIME)
        self.assert_reaches(stream, 0)
        self.assert_reaches(other)

    def test_the_summary_shows_the_sources(self):
        stream, _ = self.streams()
        self.join("h0", self.one)
        self.assert_reaches(stream, 0)
        _, printed = self.node.stop()
        table = printed.split("Groups for the multicast database")[1]
        self.assertRegex(table, r"port0 +%s +include \{%s\}" % (self.group, self.one))


class IgmpSources(Sources, LiveTest):
    group = "239.8.1.1"
    nowhere = "224.0.1.1"

    @staticmethod
    def address(host):
        return host.ip4

    @staticmethod
    def nobody(number):
        return "192.0.2.%d" % number


class MldSources(Sources, LiveTest):
    group = "ff1e::811"
    nowhere = "ff1e::1"

    @staticmethod
    def address(host):
        return host.ip6

    @staticmethod
    def nobody(number):
        return "2001:db8::%x" % number


class Json(LiveTest):
    options = ("--json",)

    def test_the_sources_of_an_entry(self):
        self.hosts["h0"].speak(igmp=3)
        stream = self.uplink.stream("239.8.2.1")
        self.hosts["h0"].join("239.8.2.1", source=self.uplink.ip4)
        self.hosts["h1"].join("239.8.2.1")
        self.assert_reaches(stream, 0, 1)
        _, printed = self.node.stop()
        shown = {entry["port"]: (entry["filter"], entry["sources"])
                 for entry in json.loads(printed)["live"]["entries"] if entry["group"] == "239.8.2.1"}
        self.assertEqual(shown, {0: ("include", [self.uplink.ip4]), 1: ("exclude", [])})
