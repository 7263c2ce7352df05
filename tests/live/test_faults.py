"""Faults: one clear line each, and the rest works on."""

import os
import re
import select
import shutil
import signal
import socket
import subprocess
import tempfile

from lab.state import entries, groups_of, rules, snapshot
from live_test import LiveTest, programs, until

NOBODY = 65534
RTMGRP_LINK = 1
SAID_AGAIN = 0.3     # seconds in which news of a fault that are taken twice would show


class FaultTest(LiveTest):
    def assert_works(self, port, group):
        """A new member on the port gets its stream, and gives it up."""
        self.node.ctl("fast-leave", "all", "on")
        stream = self.uplink.stream(group)
        host = self.home.ports[port].hosts[0]
        host.speak(3, 2)
        member = host.join(group)
        self.assert_reaches(stream, port)
        member.leave()
        self.wait_for_stop(port, stream)
        stream.close()

    def wait_until_heeded(self):
        """A bridge that is new takes a moment until it keeps to its database."""
        for group in ("239.6.0.1", "ff1e::601"):
            probe = self.uplink.stream(group)
            self.wait_for_stop(0, probe)
            probe.close()

    def wait_until_said(self, pattern):
        until(lambda: self.node.said(pattern), "mc_node says: " + pattern)

    def one_complaint(self, word):
        """Exactly one line of the node itself names it."""
        def lines():
            return [line for line in self.node.complaints() if word in line]
        until(lines, "mc_node says something of %s" % word)
        self.never(lambda: lines()[1:], SAID_AGAIN, "more than one line")
        self.assertTrue(self.node.alive())


class Faults(FaultTest):
    def test_a_port_that_goes_down_and_comes_back(self):
        self.uplink.query(interval=1)
        streams = [self.uplink.stream(group) for group in ("239.6.1.1", "239.6.1.2")]
        self.hosts["h1"].speak(3, 2)
        self.hosts["h1"].join("239.6.1.1")
        self.hosts["h2"].join("239.6.1.2")
        self.assert_reaches(streams[0], 1)
        self.assert_reaches(streams[1], 2)
        self.switch.ip("link set lan1 down")
        self.one_complaint("lan1")
        self.assert_reaches(streams[1], 2)
        self.assert_works(3, "239.6.1.3")
        self.switch.ip("link set lan1 up")
        self.wait_until_said(r"lan1\) is up again")
        # The membership that was there comes back with the answer to the next query.
        self.assert_reaches(streams[0], 1)
        self.assert_works(1, "ff1e::611")

    def test_a_port_that_is_deleted_and_made_again(self):
        stream = self.uplink.stream("239.6.2.1")
        self.hosts["h2"].join("239.6.2.1")
        self.assert_reaches(stream, 2)
        self.home.take_away(1)
        self.one_complaint("lan1")
        self.assert_reaches(stream, 2)
        self.assert_works(0, "239.6.2.2")
        self.home.put_back(1)
        self.wait_until_said(r"lan1\) is (back|up again)")
        self.assert_works(1, "239.6.2.3")
        self.assert_works(1, "ff1e::623")
        self.assert_reaches(stream, 2)

    def test_a_bridge_that_is_deleted_and_made_again(self):
        self.uplink.query(interval=1)
        self.home.take_bridge_away()
        self.one_complaint("br0")
        self.home.put_bridge_back()
        self.wait_until_said("br0 is back")
        self.wait_until_heeded()
        self.assert_works(0, "239.6.3.1")
        self.assert_works(4, "ff1e::631")

    def test_what_was_joined_is_put_back_with_the_bridge(self):
        streams = self.watched("239.6.8.1", "ff1e::681")
        self.home.take_bridge_away()
        self.one_complaint("br0")
        self.home.put_bridge_back()
        self.assert_as_before(streams)

    def test_a_bridge_that_is_put_back_in_steps(self):
        streams = self.watched("239.6.11.1", "ff1e::6b1")
        self.home.take_bridge_away()
        self.one_complaint("br0")
        self.home.put_bridge_back(off_for=0.5)
        self.assert_as_before(streams)

    def test_a_bridge_that_is_switched_off_and_on(self):
        streams = self.watched("239.6.9.1", "ff1e::691")
        self.home.switch_off()
        self.one_complaint("br0 is down")
        self.home.switch_on()
        self.assert_as_before(streams)

    def watched(self, *groups):
        """Streams that one port gets. Nobody asks, so it is the node that remembers."""
        streams = [self.uplink.stream(group) for group in groups]
        for stream in streams:
            self.hosts["h0"].join(stream.group)
            self.assert_reaches(stream, 0)
        return streams

    def assert_as_before(self, streams):
        """The port gets them again, and no other port has got anything of them at any time."""
        first = [stream.sent for stream in streams]
        for stream, since in zip(streams, first):
            until(lambda: self.numbers(0, stream, since), "%s leaves port 0 again" % stream.group)
            self.assert_reaches(stream, 0)
            for port in (1, 2, 3, 4, 5):
                self.assertEqual(self.numbers(port, stream), [], "flooded meanwhile")

    def test_the_uplink_goes_down_and_comes_back(self):
        self.switch.ip("link set wan0 down")
        self.one_complaint("wan0")
        self.switch.ip("link set wan0 up")
        self.wait_until_said(r"wan0\) is up again")
        self.assert_works(0, "239.6.4.1")
        frame_of = self.hosts["h3"].join("239.6.4.2")
        self.wait_for(lambda: self.at_uplink("IGMPv3 report", "239.6.4.2", self.hosts["h3"]),
                      "the report goes up")
        frame_of.leave()

    def test_a_node_that_is_killed_leaves_nothing_stale_to_the_next_one(self):
        before = snapshot(self.switch)      # of a running node without members
        streams = [self.uplink.stream(group) for group in ("239.6.5.1", "ff1e::651")]
        members = [self.hosts["h1"].join(stream.group) for stream in streams]
        for stream in streams:
            self.assert_reaches(stream, 1)
        self.node.process.send_signal(signal.SIGKILL)
        self.node.wait()
        for member in members:
            member.leave()                  # nobody hears it
        self.node.start()
        for stream in streams:
            self.assert_reaches(stream)
        self.assertEqual(snapshot(self.switch), before)
        self.assert_works(1, "239.6.5.2")
        self.assertEqual(self.node.stop()[0], 0)
        self.assertEqual(entries(self.switch), [])
        self.assertEqual(rules(self.switch), [])


class NoLinkLocalAddress(FaultTest):
    """Without one the bridge cannot ask for IPv6 groups, and does not heed its IPv6 entries."""
    runs = False

    def test_it_is_said_and_over_when_there_is_one(self):
        self.switch.set_knob("ipv6/conf/br0/disable_ipv6", 1)
        self.node.start()
        self.one_complaint("no link-local")
        self.assert_works(1, "239.6.10.1")
        self.switch.set_knob("ipv6/conf/br0/disable_ipv6", 0)
        self.wait_until_said("has a link-local IPv6 address now")
        probe = self.uplink.stream("ff1e::6a1")
        self.wait_for_stop(2, probe)
        self.assert_works(1, "ff1e::6a2")


class FullDatabase(FaultTest):
    runs = False
    # Some of it goes to groups that the kernel has learnt before the node runs.
    ROOM, GROUPS = 24, 32

    def test_a_full_multicast_database(self):
        self.switch.ip("link set br0 type bridge mcast_hash_max %d" % self.ROOM)
        self.node.start()
        news = self.link_news()
        self.hosts["h0"].speak(igmp=3)
        streams = [self.uplink.stream("239.6.6.%d" % n, 50) for n in range(self.GROUPS)]
        members = []
        for stream in streams:
            members.append(self.hosts["h0"].join(stream.group))
            self.wait_for(lambda: self.at_uplink("IGMPv3 report", stream.group, self.hosts["h0"]),
                          "the report goes up")
        self.one_complaint("full")
        # It did not come so far that the kernel gave up snooping and the node had to set it again.
        self.assertFalse(b"br0\0" in news(), "settings of br0 have changed")
        # What fitted in goes on, and nobody gets what he did not ask for.
        served = [stream for stream in streams if stream.group in groups_of(self.switch, "lan0")]
        self.assertIn(streams[0], served)
        for stream in (served[0], served[-1]):
            self.assert_reaches(stream, 0)
        for stream in streams:
            self.assertEqual(self.numbers(1, stream), [], stream.group)
        # There is room again after a leave.
        self.node.ctl("fast-leave", "all", "on")
        for stream, member in zip(streams, members):
            member.leave()
        until(lambda: not groups_of(self.switch, "lan0"), "the entries are gone")
        self.assert_works(1, "239.6.6.100")


    def link_news(self):
        """What gives, as the kernel wrote it, all that changed at interfaces of the switch from now on."""
        with self.switch.entered():
            subscribed = socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, socket.NETLINK_ROUTE)
        self.addCleanup(subscribed.close)
        subscribed.bind((0, RTMGRP_LINK))
        subscribed.setblocking(False)

        def news():
            messages = b""
            while select.select([subscribed], [], [], 0)[0]:
                messages += subscribed.recv(1 << 16)
            return messages
        return news


class NoProtocolNames(LiveTest):
    """A small system has no /etc/protocols."""

    runs = False
    HIDING = 'mount --bind /dev/null /etc/protocols && exec "$@"'

    def test_the_node_runs_without_names_of_protocols(self):
        if os.path.exists("/etc/protocols"):
            hidden = ["unshare", "--mount", "sh", "-c", self.HIDING, "sh", *self.node.arguments()]
            self.node.arguments = lambda: hidden
        self.node.start()
        stream = self.uplink.stream("239.1.1.9")
        self.hosts["h1"].join("239.1.1.9")
        self.assert_reaches(stream, 1)


class BadStarts(LiveTest):
    runs = False

    def refuses(self, command, *words):
        """One line that has these words, a status of 2, and a switch as it was."""
        before = snapshot(self.switch)
        done = self.switch.run(command)
        self.assertEqual(done.returncode, 2, done)
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        self.assertTrue(done.stderr.startswith("mc_node: "), done.stderr)
        for word in words:
            self.assertIn(word, done.stderr)
        self.assertEqual(done.stdout, "")
        self.assertEqual(snapshot(self.switch), before)

    def command(self, **changes):
        """The usual command with some words changed."""
        return [changes.get(word.replace("=", "_"), word) for word in self.node.arguments()]

    def test_without_privileges(self):
        with tempfile.TemporaryDirectory() as place:
            # Where the programs were built need not be open to everybody.
            os.chmod(place, 0o755)
            program = shutil.copy(programs[0], place)
            needed = subprocess.run(["ldd", program], capture_output=True, text=True).stdout
            shutil.copy(re.search(r"(/\S*libmc_hal\S*)", needed)[1], place)
            self.refuses(["setpriv", "--reuid", NOBODY, "--regid", NOBODY, "--clear-groups",
                          "env", "LD_LIBRARY_PATH=" + place, program, *self.node.arguments()[1:]],
                         "CAP_NET_")

    def test_an_uplink_that_does_not_exist(self):
        self.refuses(self.command(wan0="wan9"), "wan9")

    def test_a_port_that_does_not_exist(self):
        self.refuses([word.replace("=lan3", "=lan9") for word in self.node.arguments()], "lan9")

    def test_a_bridge_that_does_not_exist(self):
        self.refuses(self.command(br0="br9"), "br9")

    def test_a_bridge_that_is_none(self):
        self.refuses(self.command(br0="lan0"), "lan0")

    def test_a_port_of_no_bridge(self):
        self.switch.ip("link set lan2 nomaster")
        self.refuses(self.node.arguments(), "lan2")

    def test_one_interface_twice(self):
        self.refuses([word.replace("=lan3", "=lan1") for word in self.node.arguments()], "lan1")

    def test_a_port_number_out_of_range(self):
        self.refuses([word.replace("3=lan3", "6=lan3") for word in self.node.arguments()], "6")

    def test_a_second_node_on_the_same_bridge(self):
        self.node.start()
        self.refuses(self.node.arguments())
        stream = self.uplink.stream("239.6.7.1")
        self.hosts["h0"].join("239.6.7.1")
        self.assert_reaches(stream, 0)
