"""The commands of a management process, as the node takes them."""

from lab.home import Home
from lab.node import READY, Node
from live_test import LiveTest, programs

TIMES = 10


class Commands(LiveTest):
    runs = False

    def test_there_is_a_queue_from_the_moment_the_node_is_ready(self):
        for _ in range(TIMES):
            # A queue outlives its node, so each time takes a home of its own.
            with Home() as home:
                node = Node(home, programs)
                self.addCleanup(node.kill)
                node.launch(node.arguments())
                while node.alive() and not node.said(READY):
                    pass                    # any pause would give it time
                self.assertEqual(node.queued(), 0, node.lines)
                self.assertEqual(node.stop()[0], 0)
