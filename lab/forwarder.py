"""A forwarder behind a user port, such as a home gateway: igmpproxy or smcroute, with a host behind it.

             the host at a port           a host
    switch ---- eth0    net0 ------------- eth0

igmpproxy joins at the switch what hosts behind it join; smcroute what it has been told to.
"""

import shutil

from lab.beyond import WIRE, Beyond
from lab.contained import Contained, Program
from lab.host import DEVICE

PROXY_CONFIGURATION = """
quickleave
phyint %s upstream ratelimit 0 threshold 1
    altnet 0.0.0.0/0
phyint %s downstream ratelimit 0 threshold 1
phyint lo disabled
""" % (DEVICE, WIRE)


def missing(program):
    """Why it cannot be had; nothing if it is there."""
    if not shutil.which(program):
        return "%s is not installed (scripts/install-packages programs)" % program
    return None


class Forwarder:
    """What both have in common: a host of the home that has become a router."""

    def __init__(self, host):
        self.beyond = Beyond(host)
        self.member = self.beyond.far      # the host behind it
        self.host = host
        self.place = Contained(host.namespace)
        self.program = None
        try:
            self.begin()
        except BaseException:
            self.close()
            raise

    def forwards(self, interfaces):
        """Whether the kernel has been given so many interfaces to forward multicast between."""
        with self.host.namespace.entered(), open("/proc/self/net/ip_mr_vif") as table:
            return len(table.readlines()) - 1 >= interfaces

    def close(self):
        if self.program:
            self.program.close()
        self.place.close()
        self.beyond.close()


class Proxy(Forwarder):
    """igmpproxy."""

    def begin(self):
        self.place.write("/run/igmpproxy.conf", PROXY_CONFIGURATION)
        self.program = Program(self.place, ["igmpproxy", "-n", "-v", "/run/igmpproxy.conf"],
                               lambda: self.forwards(2))


class StaticRouter(Forwarder):
    """smcroute."""

    def begin(self):
        self.place.write("/run/smcroute.conf", "")
        self.program = Program(self.place, ["smcrouted", "-n", "-f", "/run/smcroute.conf"],
                               lambda: self.forwards(2))

    def ctl(self, *words):
        self.place.must(["smcroutectl", *words])

    def join(self, group):
        self.ctl("join", DEVICE, group)
        self.ctl("add", DEVICE, group, WIRE)

    def leave(self, group):
        self.ctl("remove", DEVICE, group)
        self.ctl("leave", DEVICE, group)
