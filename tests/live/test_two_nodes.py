"""A second node leaves the queue and the segment of the first one alone."""

import os
import re

from live_test import ROOT, LiveTest, until

REPLAY = ["replay", os.path.join(ROOT, "scenario/home"),
          "--commands", os.path.join(ROOT, "scenario/story/commands.txt")]


class TwoNodes(LiveTest):
    def objects(self):
        """Queue and segment: who made and used them last, and what waits there."""
        return self.switch.must(["cat", "/proc/sysvipc/shm", "/proc/sysvipc/msg"])

    def test_a_replay_leaves_a_live_node_its_commands(self):
        self.node.ctl("fast-leave", "all", "on")
        before = self.objects()
        done = self.switch.run([self.node.mc_node, *REPLAY])
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.objects(), before)
        self.node.ctl("fast-leave", "all", "off")
        self.assertEqual(self.node.complaints(), [])

    def test_a_second_live_node_is_refused_even_in_another_network(self):
        done = self.switch.run(["unshare", "--net", *self.node.arguments()])
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertEqual(done.stderr, "mc_node: queue 81 is that of process %d (mc_node): give this node "
                         "one of its own with --ipc private, or start it under unshare --ipc\n"
                         % self.node.process.pid)
        self.node.ctl("fast-leave", "all", "on")


class PrivateCommands(LiveTest):
    options = ("--ipc", "private")

    def test_the_line_at_the_start_says_how_commands_get_in(self):
        way, = [re.search(r"; commands by (nsenter --ipc -t \d+) mcctl \.\.\.$", line)[1].split()
                for line in self.node.said("live on")]
        self.assertEqual(self.switch.run([self.node.mcctl, "fast-leave", "all", "on"]).returncode, 1)
        self.switch.must([*way, self.node.mcctl, "fast-leave", "all", "on"])
        until(lambda: self.switch.must([*way, "ipcs", "-q"]).split()[-1] == "0", "the command is taken")
