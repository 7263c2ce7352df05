"""The two that are held side by side: the kernel bridge's own snooping, and the node; each in a fresh home.

Hosts, streams and the router at the uplink are the same.  What one of them needs to be told is told here.
"""

import glob
import time

from lab.home import BRIDGE, Home
from lab.node import Node

# The router's, in seconds.  A real one asks every 125 s: what waits for its next query waits that much longer.
QUERY_INTERVAL, QUERY_RESPONSE = 2.0, 0.5
LAST_MEMBER_INTERVAL = 1.0     # as the RFCs have it, and the node by default
SETTLING = 1.5           # until the first reports are over, and the kernel heeds its database


class Switch:
    """In a with statement; inside it, it switches, and the router asks."""

    name = None

    def __init__(self, programs):
        self.programs = programs
        self.home = self.router = None

    def __enter__(self):
        self.home = Home()
        try:
            self.begin()
            self.ask()
            time.sleep(SETTLING)
            self.home.clear()
        except BaseException:
            self.home.close()
            raise
        return self

    def __exit__(self, *_):
        try:
            self.end()
        finally:
            self.home.close()

    def ask(self, interval=QUERY_INTERVAL):
        """The router asks now, and then at this interval."""
        if self.router:
            self.router.close()
        self.router = self.home.uplink.query(interval=interval, response=QUERY_RESPONSE,
                                             last_member_interval=LAST_MEMBER_INTERVAL)

    def begin(self):
        pass

    def end(self):
        pass

    def memory(self):
        """Bytes of its own process."""
        return 0

    def cpu(self):
        """Seconds of its own process."""
        return 0.0


class Kernel(Switch):
    name = "kernel"

    def begin(self):
        # Only in these versions does it tell sources, and the hosts behind a port, apart.
        self.home.switch.ip("link set %s type bridge mcast_snooping 1 mcast_igmp_version 3 mcast_mld_version 2"
                            % BRIDGE)

    def fast_leave(self, port, on):
        self.home.switch.must(["bridge", "link", "set", "dev", self.home.ports[port].device,
                               "fastleave", "on" if on else "off"])

    def restart(self):
        for value in (0, 1):
            self.home.switch.ip("link set %s type bridge mcast_snooping %d" % (BRIDGE, value))


class WithNode(Switch):
    name = "node"

    def begin(self):
        self.node = Node(self.home, [self.programs["mc_node"], self.programs["mcctl"]])
        self.node.start()

    def end(self):
        self.node.kill()

    def fast_leave(self, port, on):
        self.node.ctl("fast-leave", "--port", port, "on" if on else "off")

    def restart(self):
        self.node.stop()
        self.node.start()

    def memory(self):
        with open("/proc/%d/status" % self.node.process.pid) as status:
            line = next(line for line in status if line.startswith("RssAnon:"))
        return int(line.split()[1]) * 1024

    def cpu(self):
        nanoseconds = 0
        for path in glob.glob("/proc/%d/task/*/schedstat" % self.node.process.pid):
            with open(path) as task:
                nanoseconds += int(task.read().split()[0])
        return nanoseconds / 1e9


BOTH = [Kernel, WithNode]
