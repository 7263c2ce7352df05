"""A host: a network stack of its own with one interface, eth0."""

import ipaddress

from lab.capture import Capture
from lab.membership import Membership
from lab.namespaces import Namespace
from lab.ping import ping
from lab.querier import Querier
from lab.stream import UDP_PORT, Stream

DEVICE = "eth0"
# A first report is repeated after a random time up to this; the kernel's, up to ten seconds, would make
# runs long.
UNSOLICITED_MS = 200


def quicken(namespace):
    """No waiting for duplicate addresses and routers on interfaces that come into being from now on."""
    for name, value in [("accept_dad", 0), ("dad_transmits", 0), ("accept_ra", 0),
                        ("router_solicitations", 0)]:
        namespace.set_knob("ipv6/conf/all/" + name, value)
        namespace.set_knob("ipv6/conf/default/" + name, value)


class Host:
    def __init__(self, pump, name, last_byte):
        self.pump = pump
        self.name = name
        self.mac = "02:00:00:00:00:%02x" % last_byte
        self.ip4 = "192.0.2.%d" % last_byte
        self.ip6 = "2001:db8::%x" % last_byte
        self.link_local = str(ipaddress.IPv6Address("fe80::ff:fe00:0") + last_byte)
        self.namespace = Namespace(name)
        quicken(self.namespace)
        self.capture = None
        self.busy = []       # memberships, streams and queriers to be closed

    def plug_in(self):
        """Takes its interface into use, which has just been put there."""
        if self.capture:
            self.capture.close()
        self.namespace.ip("link set %s address %s" % (DEVICE, self.mac),
                          "address add %s/24 dev %s" % (self.ip4, DEVICE),
                          "link set lo up", "link set %s up" % DEVICE,
                          "address add %s/64 dev %s nodad" % (self.ip6, DEVICE))
        for path in ("ipv4/conf/%s/igmpv2_unsolicited_report_interval",
                     "ipv4/conf/%s/igmpv3_unsolicited_report_interval",
                     "ipv6/conf/%s/mldv1_unsolicited_report_interval",
                     "ipv6/conf/%s/mldv2_unsolicited_report_interval"):
            self.namespace.set_knob(path % DEVICE, UNSOLICITED_MS)
        self.capture = Capture(self.pump, self.namespace, DEVICE)

    def speak(self, igmp=None, mld=None):
        """Holds the kernel to these versions; 0 leaves them to it."""
        if igmp is not None:
            self.namespace.set_knob("ipv4/conf/%s/force_igmp_version" % DEVICE, igmp)
        if mld is not None:
            self.namespace.set_knob("ipv6/conf/%s/force_mld_version" % DEVICE, mld)

    def join(self, group, source=None, port=UDP_PORT):
        return self.keep(Membership(self.pump, self.namespace, DEVICE, group, port, source))

    def stream(self, group, rate=200, port=UDP_PORT):
        return self.keep(Stream(self.pump, self.namespace, DEVICE, group, rate, port))

    def query(self, **how):
        """A querier on this host, see Querier."""
        return self.keep(Querier(self.pump, self, **how))

    def send(self, frame):
        self.capture.send(frame)

    def take_address(self, address):
        """Another IPv6 address, with a solicited-node group of its own."""
        self.namespace.ip("address add %s/64 dev %s nodad" % (address, DEVICE))

    def ping(self, address):
        """Whether the address answers, the neighbour being unknown before."""
        self.namespace.must(["ip", "neigh", "flush", "dev", DEVICE])
        return ping(self.namespace, DEVICE, address)

    def run(self, command):
        return self.namespace.run(command)

    def keep(self, what):
        self.busy.append(what)
        return what

    def rest(self):
        """Ends all that the host does."""
        for what in self.busy:
            what.close()
        self.busy = []

    def close(self):
        self.rest()
        if self.capture:
            self.capture.close()
        self.namespace.close()
