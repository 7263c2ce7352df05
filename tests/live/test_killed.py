"""A node that is killed gives nothing back: the next one does, or "mc_node live --restore"."""

import glob
import os
import re
import signal

from lab.state import entries, rules, snapshot
from live_test import LiveTest


class Killed(LiveTest):
    runs = False

    def setUp(self):
        super().setUp()
        self.switch.ip("link set br0 type bridge mcast_snooping 0 mcast_query_response_interval 700")
        self.switch.must(["bridge", "link", "set", "dev", "lan2", "mcast_router", "2"])
        self.before = snapshot(self.switch)

    def kill(self):
        """A node that has members, killed; what it has recorded."""
        self.node.start()
        stream = self.uplink.stream("239.10.1.1")
        self.hosts["h0"].join("239.10.1.1")
        self.assert_reaches(stream, 0)
        stream.close()
        self.die()

    def die(self):
        self.node.process.send_signal(signal.SIGKILL)
        self.node.wait()
        self.assertNotEqual(snapshot(self.switch), self.before)

    def records(self):
        return glob.glob(os.path.join(self.node.runtime.name, "*"))

    def end(self):
        self.assertEqual(self.node.stop()[0], 0)

    def restore(self):
        """What "mc_node live --restore" says."""
        done = self.switch.run(["env", "RUNTIME_DIRECTORY=" + self.node.runtime.name, self.node.mc_node,
                                "live", "--restore", "--bridge", "br0"])
        self.assertEqual((done.returncode, done.stdout), (0, ""), done)
        return done.stderr.splitlines()

    # ---- The next node --------------------------------------------------------------------------------

    def test_the_next_node_gives_back_what_the_killed_one_had_found(self):
        self.kill()
        self.node.start()
        self.assertEqual(len(self.node.said("a node was killed")), 1, self.node.lines)
        self.end()
        self.assertEqual(snapshot(self.switch), self.before)
        self.assertEqual(self.records(), [])

    def test_so_does_the_one_after_two_that_were_killed(self):
        for _ in range(2):
            self.node.start()
            self.die()
        self.node.start()
        self.end()
        self.assertEqual(snapshot(self.switch), self.before)

    def test_what_somebody_has_changed_since_is_kept(self):
        self.kill()
        self.switch.ip("link set br0 type bridge mcast_query_response_interval 800")
        self.switch.must(["bridge", "link", "set", "dev", "lan4", "mcast_router", "1"])
        self.node.start()
        self.end()
        wanted = [line.replace('"mcast_query_response_intvl": 700', '"mcast_query_response_intvl": 800')
                  for line in self.before]
        self.assertNotEqual(wanted, self.before)
        self.assertEqual(snapshot(self.switch), wanted)

    def test_a_bridge_that_was_made_anew_has_its_own(self):
        self.kill()
        self.home.take_bridge_away()
        self.home.put_bridge_back()
        before = snapshot(self.switch)
        self.node.start()
        self.assertEqual(self.node.complaints(), [])
        self.end()
        # The dead node's tables are not part of it.
        self.assertEqual([line for line in snapshot(self.switch) if "mcast" in line],
                         [line for line in before if "mcast" in line])

    def test_a_port_that_the_next_node_does_not_have_is_given_back_at_once(self):
        self.kill()
        self.assertEqual(self.router_of("lan5"), 0)
        words = self.node.arguments()[:-2]
        self.node.arguments = lambda: words
        self.node.start()
        self.assertEqual(self.router_of("lan5"), 1)
        self.end()
        self.assertEqual(snapshot(self.switch), self.before)

    def router_of(self, device):
        with self.switch.entered():
            return int(self.switch.must(["bridge", "-d", "link", "show", "dev", device])
                       .split("mcast_router ")[1].split()[0])

    def test_a_record_that_cannot_be_made_out_is_said_and_passed_over(self):
        self.kill()
        record, = self.records()
        with open(record, "a") as file:
            file.write("mcast_snooping 0\n")
        self.node.start()
        self.assertEqual(self.node.complaints(),
                         ["mc_node: %s: cannot be made out, and is passed over" % record])

    def is_none_after(self, change):
        """The record is nobody's when it is changed so."""
        self.kill()
        record, = self.records()
        with open(record) as file:
            text = file.read()
        with open(record, "w") as file:
            file.write(change(text))
        self.node.start()
        self.assertEqual(self.node.complaints(), [])
        self.end()
        self.assertNotEqual(snapshot(self.switch), self.before)

    def test_a_record_from_before_the_last_boot_is_none(self):
        self.is_none_after(lambda text: text.replace("boot ", "boot 1"))

    def test_a_record_of_another_network_namespace_is_none(self):
        # That had the same number, and another cookie.
        self.is_none_after(lambda text: re.sub(r"(netns \d+ )", r"\g<1>1", text))

    def test_a_record_that_cannot_be_written_is_said_and_the_node_runs(self):
        words = ["env", "RUNTIME_DIRECTORY=/proc/nowhere", *self.node.arguments()]
        self.node.arguments = lambda: words
        self.node.start()
        self.assertEqual(len(self.node.complaints()), 1, self.node.lines)
        self.assertIn("cannot be written: ", self.node.complaints()[0])
        self.end()
        self.assertEqual(snapshot(self.switch), self.before)

    # ---- Without another node -------------------------------------------------------------------------

    def test_restoring_without_a_node(self):
        self.kill()
        self.assertEqual(self.restore(),
                         ["mc_node: br0: given back as the node that was killed had found it"])
        self.assertEqual(snapshot(self.switch), self.before)
        self.assertEqual(self.records(), [])

    def test_restoring_without_a_record(self):
        self.kill()
        os.remove(*self.records())
        self.assertEqual(self.restore(), ["mc_node: br0: rules and entries of a node are gone; settings "
                                          "stay, as there is no record of what they were"])
        self.assertEqual((entries(self.switch), rules(self.switch)), ([], []))

    def test_rules_go_even_where_the_bridge_has_gone(self):
        self.kill()
        self.home.take_bridge_away()
        done = self.switch.run([self.node.mc_node, "live", "--restore", "--bridge", "br0"])
        self.assertEqual((done.returncode, done.stderr), (2, "mc_node: br0: there is no such interface\n"))
        self.assertEqual(rules(self.switch), [])

    def test_no_restoring_beside_a_node(self):
        self.node.start()
        done = self.switch.run([self.node.mc_node, "live", "--restore", "--bridge", "br0"])
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("another node is live", done.stderr)
