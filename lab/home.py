"""The whole lab: a switch, an uplink host, and hosts behind six user ports."""

import json
import os
import time

from lab.capture import Capture
from lab.failure import LabError
from lab.host import DEVICE, Host, quicken
from lab.namespaces import Namespace
from lab.pump import Pump
from lab.waiting import until

BRIDGE = "br0"
UPLINK = "wan0"
PORTS = 6
UPLINK_BYTE, FIRST_BYTE = 0x01, 0x10     # of the addresses
BRIDGE_IP4 = "192.0.2.254"


class Port:
    """A user port and the far end of its wire, where all that leaves the port arrives."""

    def __init__(self, number):
        self.number = number
        self.device = "lan%d" % number
        self.hosts = []
        self.junction = None     # a namespace with a dumb switch, if there are several hosts
        self.wire = None         # the capture there

    def close(self):
        for host in self.hosts:
            host.close()
        if self.junction:
            self.wire.close()
            self.junction.close()


class Home:
    """hosts: how many there are behind each port.  To be used with "with"."""

    def __init__(self, hosts=(1, 1, 1, 1, 1, 2)):
        if os.geteuid() != 0:
            raise LabError("network namespaces need root")
        self.pump = Pump()
        self.switch = self.uplink = None
        self.ports = [Port(number) for number in range(PORTS)]
        try:
            self.build(hosts)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    # ---- Building -----------------------------------------------------------------------------

    def build(self, hosts):
        self.switch = Namespace("switch", ipc=True)
        quicken(self.switch)
        # Its ports are no hosts: their own reports would stand between those of the hosts.
        self.switch.set_knob("ipv6/conf/default/disable_ipv6", 1)
        self.make_bridge()
        self.uplink = Host(self.pump, "uplink", UPLINK_BYTE)
        self.wire_up(UPLINK, self.uplink.namespace)
        self.uplink.plug_in()
        number = FIRST_BYTE
        for port, count in zip(self.ports, hosts):
            for place in range(count):
                letter = "abcdefgh"[place] if count > 1 else ""
                port.hosts.append(Host(self.pump, "h%d%s" % (port.number, letter), number))
                number += 1
            self.populate(port)
        self.wait_for_links()

    def make_bridge(self, on=True):
        # Like that of any machine it has an address to be managed by, and a link-local one.
        self.switch.ip("link set lo up", "link add %s type bridge" % BRIDGE,
                       "address add %s/24 dev %s" % (BRIDGE_IP4, BRIDGE))
        self.switch.set_knob("ipv6/conf/%s/disable_ipv6" % BRIDGE, 0)
        if on:
            self.switch_on()

    def switch_on(self):
        self.switch.ip("link set %s up" % BRIDGE)

    def switch_off(self):
        self.switch.ip("link set %s down" % BRIDGE)

    def wire_up(self, device, namespace):
        """A wire from an interface of the switch to eth0 of a namespace."""
        self.switch.ip("link add %s type veth peer name %s netns %s"
                       % (device, DEVICE, namespace.path()), *enslaving(device))

    def populate(self, port):
        """Connects the hosts of a port, through a dumb switch if there are several."""
        if len(port.hosts) == 1:
            host, = port.hosts
            self.wire_up(port.device, host.namespace)
            host.plug_in()
            port.wire = host.capture
            return
        port.junction = Namespace("junction%d" % port.number)
        port.junction.set_knob("ipv6/conf/default/disable_ipv6", 1)
        port.junction.ip("link add %s type bridge mcast_snooping 0" % BRIDGE,
                         "link set %s up" % BRIDGE)
        self.wire_up(port.device, port.junction)
        port.junction.ip(*enslaving(DEVICE))
        for host in port.hosts:
            port.junction.ip("link add %s type veth peer name %s netns %s"
                             % (host.name, DEVICE, host.namespace.path()), *enslaving(host.name))
            host.plug_in()
        port.wire = Capture(self.pump, port.junction, DEVICE)

    def wait_for_links(self):
        until(lambda: forwards(self.switch, PORTS + 1), "all ports of the bridge forward")
        for port in self.ports:
            if port.junction:
                until(lambda: forwards(port.junction, len(port.hosts) + 1),
                      "the dumb switch at port %d forwards" % port.number)

    # ---- What tests do to it --------------------------------------------------------------------

    @property
    def hosts(self):
        """All user hosts by name: h0 ... h4, h5a, h5b."""
        return {host.name: host for port in self.ports for host in port.hosts}

    def take_away(self, number):
        """Deletes the interface of a port with one host."""
        self.switch.ip("link delete " + self.ports[number].device)

    def put_back(self, number):
        """Makes it again under its name, as a port of the bridge."""
        self.populate(self.ports[number])
        self.wait_for_links()

    def take_bridge_away(self):
        self.switch.ip("link delete " + BRIDGE)

    def put_bridge_back(self, off_for=0):
        """Makes the bridge again, with the same ports, and lets it be off for some seconds."""
        self.make_bridge(on=not off_for)
        for device in [UPLINK] + [port.device for port in self.ports]:
            self.switch.ip(*enslaving(device))
        if off_for:
            time.sleep(off_for)
            self.switch_on()
        self.wait_for_links()

    def captures(self):
        return [self.uplink.capture] + [port.wire for port in self.ports]

    def clear(self):
        """Forgets the frames seen so far."""
        for capture in self.captures():
            capture.clear()

    def rest(self):
        """Ends what the hosts do; the home is as it was built."""
        self.pump.check()
        for host in [self.uplink, *self.hosts.values()]:
            host.rest()
        self.clear()

    def close(self):
        try:
            for port in self.ports:
                port.close()
            if self.uplink:
                self.uplink.close()
            if self.switch:
                self.switch.close()
        finally:
            self.pump.close()


def enslaving(device):
    """Lines for ip that make the interface a port of the bridge and switch it on."""
    return "link set %s master %s" % (device, BRIDGE), "link set %s up" % device


def forwards(switch, ports):
    """Whether its bridge is up and so many ports of it forward."""
    links = json.loads(switch.must(["ip", "-j", "-d", "link", "show"]))
    used = [link for link in links if link["ifname"] == BRIDGE or link.get("master") == BRIDGE]
    states = [link["linkinfo"].get("info_slave_data", {}).get("state") for link in used]
    return states.count("forwarding") == ports and all(link["operstate"] == "UP" for link in used)
