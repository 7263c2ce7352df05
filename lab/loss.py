"""Frames that get lost on a wire, by nftables at the interface that sends them.

Packet sockets at the far end see what has arrived, as a receiver there does.  What a program sends by a packet
socket of its own is lost like all the rest.
"""

import itertools
import json

# IGMP and MLD; of the rest nothing is lost.
WHAT = ("ip protocol 2", "icmpv6 type { 130, 131, 132, 143 }")
RULES = """
table netdev %(table)s {
    counter lost {}
    chain wire {
        type filter hook egress device "%(device)s" priority 0;
%(rules)s
    }
}
"""
number = itertools.count(1)


class Loss:
    """which: what of nft's numbers is lost.  To be used with "with"."""

    def __init__(self, namespace, device, which):
        self.namespace = namespace
        self.table = "lab_loss_%d" % next(number)
        rules = "\n".join("        %s numgen %s counter name lost drop" % (what, which) for what in WHAT)
        namespace.must(["nft", "-f", "-"], RULES % {"table": self.table, "device": device, "rules": rules})

    def lost(self):
        shown = self.namespace.must(["nft", "-j", "list", "counter", "netdev", self.table, "lost"])
        return next(part["counter"]["packets"] for part in json.loads(shown)["nftables"]
                    if "counter" in part)

    def close(self):
        self.namespace.must(["nft", "delete table netdev " + self.table])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def some(namespace, device, percent):
    """So many of a hundred, by chance."""
    return Loss(namespace, device, "random mod 100 < %d" % percent)


def every_other(namespace, device):
    """The first, the third and so on, of IGMP and of MLD each: what is said once does not arrive."""
    return Loss(namespace, device, "inc mod 2 0")
