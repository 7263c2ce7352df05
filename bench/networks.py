"""Three networks: the switch, the home behind its user ports, and what is behind its uplink.

Port eth1 of the switch leads to h1 at home and so on, eth0 to "up" behind the uplink.  All of it is
gone when this process is, however it ends.
"""

from lab.namespaces import Namespace

PORTS = 6
BRIDGE = "br0"
UPLINK, BEHIND_UPLINK = "eth0", "up"
USER_PORTS = ["eth%d" % (number + 1) for number in range(PORTS)]
HOSTS = ["h%d" % (number + 1) for number in range(PORTS)]


class Networks:
    def __init__(self):
        # The node and mcctl meet in the IPC namespace of the switch.
        self.switch = Namespace("the switch", ipc=True)
        self.home = Namespace("the home")
        self.uplink = Namespace("the uplink")
        self.cable(UPLINK, self.uplink, BEHIND_UPLINK)
        for number, (port, host) in enumerate(zip(USER_PORTS, HOSTS)):
            self.cable(port, self.home, host)
            self.home.ip("address add 192.0.2.%d/24 dev %s" % (101 + number, host))
            self.home.set_knob("ipv4/conf/%s/rp_filter" % host, 0)

    def cable(self, port, namespace, far_end):
        self.switch.ip("link add %s type veth peer name %s netns %s"
                       % (port, far_end, namespace.path()))
        self.switch.set_knob("ipv6/conf/%s/disable_ipv6" % port, 1)
        self.switch.ip("link set dev %s up" % port)
        without_address_check(namespace, far_end)
        namespace.ip("link set dev %s up" % far_end)

    def close(self):
        for namespace in (self.switch, self.home, self.uplink):
            namespace.close()


def without_address_check(namespace, interface):
    """IPv6 addresses that can be used at once."""
    namespace.set_knob("ipv6/conf/%s/accept_dad" % interface, 0)
    namespace.set_knob("ipv6/conf/%s/router_solicitations" % interface, 0)


def place(namespace, interface):
    """How the probes are told of an interface."""
    return "%s,%s" % (namespace.path(), interface)
