"""What the tests of this folder share: a fresh home with a fresh node for each of them."""

import os
import signal
import sys
import unittest

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
if ROOT not in sys.path:
    sys.path.insert(0, ROOT)

from lab.home import Home                       # noqa: E402
from lab.node import Node                       # noqa: E402
from lab.stream import number                   # noqa: E402
from lab.waiting import PATIENCE, holds_within, until     # noqa: E402

# mc_node and mcctl; tests/live/run sets them, python3 -m unittest takes them from here.
programs = [os.environ.get("MC_NODE", os.path.join(ROOT, "build/node/node/mc_node")),
            os.environ.get("MCCTL", os.path.join(ROOT, "build/node/tools/mcctl"))]

SAMPLE = 20          # datagrams, to say who gets a stream
QUIET = 40           # datagrams that do not come, that a stream counts as stopped


class LiveTest(unittest.TestCase):
    """A home with a node that runs, unless runs is False."""

    options = ()
    runs = True

    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.switch, self.uplink = self.home.switch, self.home.uplink
        self.hosts = self.home.hosts
        self.node = Node(self.home, programs, *self.options)
        self.addCleanup(self.node.kill)
        if self.runs:
            self.node.start()

    def tearDown(self):
        # Whatever a test did, the node survives it and ends when it is told to.
        if self.node.process and self.node.alive():
            status, _ = self.node.stop(signal.SIGTERM)
            self.assertEqual(status, 0, "the node's status on SIGTERM: %s" % self.node.lines[-5:])
        self.home.pump.check()

    # ---- Streams --------------------------------------------------------------------------------

    def numbers(self, port, stream, since=0):
        """The numbers of the datagrams of a stream that left a port, in order of arrival."""
        seen = (number(frame) for frame in self.home.ports[port].wire.frames(stream.seen_in))
        return [n for n in seen if n >= since]

    def assert_reaches(self, stream, *ports):
        """The stream reaches these ports, whole and in order, and no other."""
        for port in ports:
            until(lambda: self.numbers(port, stream), "%s leaves port %d" % (stream.group, port))
        # Ports that lost it just now may still be named in frames under way.
        first = stream.sent + 1
        until(lambda: stream.sent >= first + SAMPLE, "the stream is sent")
        for port in ports:
            until(lambda: self.numbers(port, stream, first)[SAMPLE - 1:],
                  "%d datagrams of %s leave port %d" % (SAMPLE, stream.group, port))
        for port in self.home.ports:
            got = self.numbers(port.number, stream, first)
            expected = list(range(first, first + SAMPLE)) if port.number in ports else []
            self.assertEqual(got[:SAMPLE], expected, "%s on port %d" % (stream.group, port.number))

    def assert_whole(self, port, stream, since, until_now=None):
        """Nothing of the stream is missing on the port from datagram since on."""
        last = stream.sent if until_now is None else until_now
        until(lambda: self.numbers(port, stream, last - 1), "the stream comes to datagram %d" % last)
        got = [n for n in self.numbers(port, stream, since) if n < last]
        self.assertEqual(got, list(range(since, last)))

    def wait_for_stop(self, port, stream, seconds=PATIENCE):
        """Waits until the stream does not leave the port any more; when its last datagram did."""
        start = stream.sent

        def quiet():
            sent = stream.sent            # before the look at what has come of it
            return sent - max([start, *self.numbers(port, stream)[-1:]]) > QUIET
        until(quiet, "%s stops on port %d" % (stream.group, port), seconds)
        frames = self.home.ports[port].wire.frames(stream.seen_in)
        return frames[-1].when if frames else None

    # ---- Frames ---------------------------------------------------------------------------------

    def at_uplink(self, kind, group=None, source=None):
        return self.at(self.uplink.capture, kind, group, source)

    def at_port(self, port, kind, group=None):
        return self.at(self.home.ports[port].wire, kind, group, None)

    @staticmethod
    def at(capture, kind, group, source):
        """Frames of a kind seen there, about a group, from a host."""
        return capture.frames(lambda frame: frame.kind == kind
                              and (group is None or group in frame.groups)
                              and (source is None or frame.source_mac == source.mac))

    def wait_for(self, find, what):
        return until(find, what)

    def never(self, find, seconds, what):
        """What must not come, within so many seconds."""
        found = holds_within(seconds, find)
        self.assertFalse(found, "%s: %s" % (what, found))
