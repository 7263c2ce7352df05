"""What somebody else changes at the bridge while the node runs is put back, with one line for each kind."""

import json
import socket
import struct
import time

from lab.state import entries, groups_of, rules, snapshot
from live_test import LiveTest, until

WITHIN = 1            # seconds in which the node has put back what was changed
SAID_AGAIN = 0.3      # in which a second line would show
RTM_DELMDB, MDBA_SET_ENTRY = 85, 1
REQUEST, ACK, BULK = 1, 4, 0x200      # NLM_F_
MDB_FLUSH = struct.calcsize("IBBHHxx16sHxx")


class OutsideChanges(LiveTest):
    def put_back(self, change, line):
        """What the change changes is as before within a second, and the node says so in one line."""
        before = snapshot(self.switch)
        said = len(self.node.complaints())
        change()
        until(lambda: snapshot(self.switch) == before and len(self.node.complaints()) > said,
              "what was changed is put back", WITHIN)
        self.never(lambda: self.node.complaints()[said + 1:], SAID_AGAIN, "a second line")
        self.assertEqual(self.node.complaints()[said:], ["mc_node: " + line])

    def member(self, port, group, source=None):
        self.hosts["h%d" % port].speak(igmp=3, mld=2)
        stream = self.uplink.stream(group)
        self.hosts["h%d" % port].join(group, source=source)
        self.assert_reaches(stream, port)
        return stream

    def change(self, *words):
        return lambda: self.switch.must(list(words))

    # ---- The multicast database ---------------------------------------------------------------------

    def flush(self):
        """As "bridge mdb flush" does, which needs a newer bridge program."""
        with self.switch.entered():
            kernel = socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, socket.NETLINK_ROUTE)
            bridge = socket.if_nametoindex("br0")
        entry = struct.pack("=HHIBBH16sHxx", 4 + 28, MDBA_SET_ENTRY, 0, 0, 0, 0, bytes(16), 0)
        body = struct.pack("=Bxxxi", socket.AF_BRIDGE, bridge) + entry
        kernel.send(struct.pack("=IHHII", 16 + len(body), RTM_DELMDB, REQUEST | ACK | BULK, 1, 0) + body)
        error, = struct.unpack_from("=i", kernel.recv(4096), 16)
        kernel.close()
        if error:
            self.skipTest("this kernel flushes no multicast database (error %d)" % -error)

    def test_a_multicast_database_that_is_flushed(self):
        streams = [self.member(port, "239.8.1.%d" % port) for port in (0, 1, 2)]
        streams.append(self.member(3, "ff1e::811"))
        self.put_back(self.flush, "put 4 groups back into the multicast database of br0: "
                                  "somebody has removed entries of the node")
        for port, stream in enumerate(streams):
            self.assert_reaches(stream, port)

    def test_an_entry_that_is_removed(self):
        stream = self.member(0, "239.8.2.1")
        other = self.member(1, "239.8.2.2")
        self.put_back(self.change("bridge", "mdb", "del", "dev", "br0", "port", "lan0", "grp", "239.8.2.1"),
                      "put 1 groups back into the multicast database of br0: "
                      "somebody has removed entries of the node")
        self.assert_reaches(stream, 0)
        self.assert_reaches(other, 1)

    def test_an_entry_of_one_source_that_is_removed(self):
        stream = self.member(0, "239.8.3.1", source=self.uplink.ip4)
        if "filter_mode" not in entries(self.switch)[0]:
            self.skipTest("this kernel does not forward by source")
        self.put_back(self.change("bridge", "mdb", "del", "dev", "br0", "port", "lan0", "grp", "239.8.3.1",
                                  "src", self.uplink.ip4),
                      "put 1 groups back into the multicast database of br0: "
                      "somebody has removed entries of the node")
        self.assert_reaches(stream, 0)

    def test_the_node_is_not_taken_for_somebody_else(self):
        self.node.ctl("fast-leave", "all", "on")
        for n in range(10):
            stream = self.uplink.stream("239.8.4.%d" % n)
            with_source = self.uplink.stream("239.8.5.%d" % n)
            self.hosts["h0"].speak(igmp=3, mld=2)
            members = [self.hosts["h0"].join(stream.group),
                       self.hosts["h0"].join(with_source.group, source=self.uplink.ip4)]
            until(lambda: {stream.group, with_source.group} <= set(groups_of(self.switch, "lan0")), "entries")
            for member in members:
                member.leave()
        until(lambda: not groups_of(self.switch, "lan0"), "the entries are gone")
        self.never(self.node.complaints, SAID_AGAIN, "a line")

    # ---- Settings -----------------------------------------------------------------------------------

    def test_snooping_that_is_switched_off(self):
        stream = self.member(2, "239.8.6.1")
        self.put_back(self.change("ip", "link", "set", "br0", "type", "bridge", "mcast_snooping", "0"),
                      "br0: somebody has changed mcast_snooping; the node has set it back")
        for port in (0, 1):
            self.wait_for_stop(port, stream)
        self.assert_reaches(stream, 2)

    def test_several_settings_in_one_line(self):
        self.put_back(self.change("ip", "link", "set", "br0", "type", "bridge", "mcast_querier", "0",
                                  "mcast_igmp_version", "2", "mcast_query_response_interval", "1000"),
                      "br0: somebody has changed mcast_igmp_version, mcast_query_response_interval, "
                      "mcast_querier; the node has set it back")

    def test_router_ports_that_are_set(self):
        def change():
            for device, router in (("lan0", 2), ("lan1", 1), ("wan0", 0)):
                self.switch.must(["bridge", "link", "set", "dev", device, "mcast_router", router])

        before = snapshot(self.switch)
        change()
        until(lambda: snapshot(self.switch) == before, "what was changed is put back", WITHIN)
        self.assertIn("somebody has changed mcast_router of ", self.node.complaints()[0])

    # ---- Rules --------------------------------------------------------------------------------------

    def test_rules_that_are_deleted(self):
        for words in (["delete table bridge mc_node"], ["delete table netdev mc_node"], ["flush ruleset"],
                      ["flush chain bridge mc_node trapped"]):
            with self.subTest(words=words):
                before = rules_without_handles(self.switch)
                self.switch.must(["nft", *words])
                until(lambda: rules_without_handles(self.switch) == before, "the rules are back", WITHIN)
        # The first, the second, and the fourth.
        until(lambda: len(self.node.said("nftables")) == 3, "the node says it")
        self.assertEqual([line.partition(": ")[2] for line in self.node.said("nftables")], [
            "somebody has changed the mc_node tables of nftables; the node has put them back" + times
            for times in ("", " (2 times by now)", " (4 times by now)")])

    def test_rules_of_others_are_none_of_the_nodes_business(self):
        self.switch.must(["nft", "add table bridge others; delete table bridge others"])
        self.never(self.node.complaints, SAID_AGAIN, "a line")

    # ---- Somebody who does not give up ----------------------------------------------------------------

    def test_somebody_who_does_it_again_and_again_is_named_less_and_less(self):
        for _ in range(10):
            self.switch.ip("link set br0 type bridge mcast_querier 0")
            until(lambda: self.querier() == 1, "the querier is on again", WITHIN)
        lines = [line.rpartition("; ")[2] for line in self.node.complaints()]
        self.assertEqual(lines, ["the node has set it back", "the node has set it back (2 times by now)",
                                 "the node has set it back (4 times by now)",
                                 "the node has set it back (8 times by now)"])

    def querier(self):
        link, = json.loads(self.switch.must(["ip", "-j", "-d", "link", "show", "br0"]))
        return link["linkinfo"]["info_data"]["mcast_querier"]


def rules_without_handles(switch):
    return json.dumps([{kind: {key: value for key, value in each.items() if key != "handle"}
                        for kind, each in rule.items()} for rule in rules(switch)], sort_keys=True)
