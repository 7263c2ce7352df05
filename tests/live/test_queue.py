"""What a neighbour does to the command queue while the node is live."""

from lab.node import QUEUE
from lab.state import snapshot
from live_test import LiveTest


class Queue(LiveTest):
    runs = False

    def test_a_queue_that_is_removed_ends_the_node_and_gives_the_bridge_back(self):
        before = snapshot(self.switch)
        self.node.start()
        self.hosts["h0"].join("239.9.1.1")
        self.assert_reaches(self.uplink.stream("239.9.1.1"), 0)
        self.node.ctl("version", "3")        # the record that would run over and over
        self.switch.must(["ipcrm", "--queue-key", QUEUE])
        self.assertEqual(self.node.wait(), 3)
        self.assertEqual(self.node.complaints(), [
            "mc_node: queue 81 was removed: no command can come, the node ends"])
        self.assertIn("239.9.1.1", self.node.output())
        self.assertEqual(snapshot(self.switch), before)
