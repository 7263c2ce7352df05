"""The commands of a management process, as the node takes them."""

from lab.node import QUEUE, READY
from live_test import LiveTest

TIMES = 10


class Commands(LiveTest):
    runs = False

    def test_there_is_a_queue_from_the_moment_the_node_is_ready(self):
        for _ in range(TIMES):
            self.node.launch(self.node.arguments())
            while self.node.alive() and not self.node.said(READY):
                pass                    # any pause would give it time
            self.assertEqual(self.node.queued(), 0, self.node.lines)
            self.assertEqual(self.node.stop()[0], 0)
            # It outlives its node.
            self.switch.must(["ipcrm", "--queue-key", QUEUE])
            self.assertIsNone(self.node.queued())
