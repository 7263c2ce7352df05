"""A network behind a host, which has become a router: one more host, at the end of a wire."""

from lab.host import DEVICE, Host

WIRE = "net0"
NETWORK = "198.51.100.%d"
NETWORK6 = "2001:db8:1::%x"
ROUTER_BYTE, FAR_BYTE = 1, 2


class Beyond:
    """far: the host there, wired to the interface net0 of near."""

    def __init__(self, near):
        self.near = near
        self.address = NETWORK % ROUTER_BYTE
        self.far = Host(near.pump, "beyond " + near.name, 0x80 + ROUTER_BYTE)
        self.far.ip4 = NETWORK % FAR_BYTE
        self.far.ip6 = NETWORK6 % FAR_BYTE
        near.namespace.ip("link add %s type veth peer name %s netns %s"
                          % (WIRE, DEVICE, self.far.namespace.path()),
                          "address add %s/24 dev %s" % (self.address, WIRE),
                          "link set %s up" % WIRE)
        self.far.plug_in()
        self.far.namespace.ip("route add default via " + self.address)

    def close(self):
        self.near.namespace.ip("link delete " + WIRE)
        self.far.close()
