"""The commands of a management process, as the node takes them."""

import signal
import subprocess

from lab.node import QUEUE, READY
from live_test import LiveTest

TIMES = 5


class Commands(LiveTest):
    runs = False

    def test_there_is_a_queue_from_the_moment_the_node_is_ready(self):
        for _ in range(TIMES):
            node = self.switch.start(self.node.arguments(), stderr=subprocess.PIPE)
            said = node.stderr.readline().decode()       # here: any detour would give it time
            queued = self.node.queued()
            self.assertTrue(said.startswith(READY), said)
            self.assertEqual(queued, 0)
            node.send_signal(signal.SIGTERM)
            self.assertEqual(node.wait(), 0)
            # It outlives its node.
            self.switch.must(["ipcrm", "--queue-key", QUEUE])
            self.assertIsNone(self.node.queued())
