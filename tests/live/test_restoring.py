"""After its end the node leaves the switch as it found it."""

import json
import signal

from lab.state import snapshot
from live_test import LiveTest


class Restoring(LiveTest):
    runs = False

    def restores(self, how):
        before = snapshot(self.switch)
        self.node.start()
        stream = self.uplink.stream("239.7.1.1")
        self.hosts["h0"].join("239.7.1.1")
        self.hosts["h0"].join("ff1e::711")
        self.assert_reaches(stream, 0)
        self.assertNotEqual(snapshot(self.switch), before)
        status, _ = self.node.stop(how)
        self.assertEqual(status, 0)
        self.assertEqual(snapshot(self.switch), before)

    def test_a_plain_bridge_after_sigterm(self):
        self.restores(signal.SIGTERM)

    def test_a_plain_bridge_after_sigint(self):
        self.restores(signal.SIGINT)

    def test_a_plain_bridge_when_the_terminal_goes(self):
        self.restores(signal.SIGHUP)

    def test_settings_and_entries_of_others(self):
        self.switch.ip("link set br0 type bridge mcast_snooping 1 mcast_querier 0 mcast_hash_max 1024"
                       " mcast_query_interval 6000 mcast_membership_interval 20000")
        self.switch.must(["bridge", "mdb", "add", "dev", "br0", "port", "lan4", "grp", "239.7.2.1",
                          "permanent"])
        self.switch.must(["bridge", "link", "set", "dev", "lan3", "mcast_flood", "off"])
        self.switch.must(["bridge", "link", "set", "dev", "lan2", "mcast_router", "2"])
        self.switch.must(["nft", "add table bridge others; add chain bridge others c "
                          "{ type filter hook forward priority 0; }"])
        self.restores(signal.SIGTERM)

    def test_a_bridge_without_snooping(self):
        self.switch.ip("link set br0 type bridge mcast_snooping 0")
        self.restores(signal.SIGTERM)

    def test_the_summary_in_json(self):
        self.node = type(self.node)(self.home, [self.node.mc_node, self.node.mcctl], "--json")
        self.addCleanup(self.node.kill)
        self.node.start()
        self.hosts["h0"].join("239.7.3.1")
        self.wait_for(lambda: self.uplink.capture.frames(lambda f: "239.7.3.1" in f.groups),
                      "the report goes up")
        status, printed = self.node.stop()
        self.assertEqual(status, 0)
        self.assertIsInstance(json.loads(printed), dict)
