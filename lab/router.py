"""A router of a provider at the uplink: FRR's zebra and pimd, with the streams' source behind it.

            FRR, at the uplink                 a host
    switch ---- eth0    net0 ------------------ eth0

What members report at eth0 decides which streams of the host it lets through.  IPv4: the pimd of Debian 12
comes without its IPv6 twin.
"""

import contextlib
import json
import os

from lab.beyond import WIRE, Beyond
from lab.contained import Contained, Program
from lab.host import DEVICE

DAEMONS = "/usr/lib/frr/"
RUN, SETTINGS = "/run/frr", "/etc/frr"
USER, GROUP = "frr", "frrvty"

# The rendezvous point is the router itself: it needs no other one.
CONFIGURATION = """
hostname router
log stdout
ip pim rp %(rendezvous)s 224.0.0.0/4
interface lo
 ip pim
interface %(uplink)s
 ip pim
 ip igmp
 ip igmp version %(version)d
 ip igmp query-max-response-time %(response)d
 ip igmp query-interval %(interval)d
 ip igmp last-member-query-interval %(last_member)d
 ip igmp last-member-query-count 2
interface %(behind)s
 ip pim
"""
RENDEZVOUS = "203.0.113.1"


def missing():
    """Why there is no such router here; nothing if there is."""
    if not os.access(DAEMONS + "pimd", os.X_OK):
        return "FRR is not installed (scripts/install-packages programs)"
    return None


class Router:
    """version: of IGMP; times in seconds, response and last_member in tenths of them."""

    def __init__(self, home, version=3, interval=4, response=10, last_member=5):
        uplink = home.uplink
        self.beyond = Beyond(uplink)
        self.source = self.beyond.far
        uplink.namespace.ip("address add %s/32 dev lo" % RENDEZVOUS)
        self.place = Contained(uplink.namespace, (SETTINGS,))
        self.programs = []
        try:
            self.settle(CONFIGURATION % {
                "rendezvous": RENDEZVOUS, "uplink": DEVICE, "behind": WIRE, "version": version,
                "interval": interval, "response": response, "last_member": last_member})
            self.begin()
        except BaseException:
            self.close()
            raise

    def begin(self):
        self.start("zebra", RUN + "/zserv.api")
        self.start("pimd", RUN + "/pimd.vty")

    def end(self):
        for program in reversed(self.programs):
            program.close()
        self.programs = []

    def restart(self):
        """It forgets whom it knew."""
        self.end()
        self.begin()

    def settle(self, configuration):
        self.place.must(["install", "-d", "-o", USER, "-g", GROUP, RUN])
        self.place.write(SETTINGS + "/zebra.conf", "hostname router\nlog stdout\n")
        self.place.write(SETTINGS + "/pimd.conf", configuration)
        self.place.write(SETTINGS + "/vtysh.conf", "")
        self.place.must(["chown", "-R", "%s:%s" % (USER, GROUP), SETTINGS])

    def start(self, daemon, socket):
        ready = self.place.path(socket)
        with contextlib.suppress(FileNotFoundError):
            os.unlink(ready)          # of the one before
        command = [DAEMONS + daemon, "-f", SETTINGS + "/%s.conf" % daemon, "-A", "127.0.0.1", "-P", "0"]
        self.programs.append(Program(self.place, command, lambda: os.path.exists(ready)))

    def shows(self, *words):
        """What a command of its own shows, as it says it for programs."""
        return json.loads(self.place.must(["vtysh", "-c", " ".join(["show", *words, "json"])]))

    def groups(self):
        """The groups that it takes to have members at the uplink: what is kept of each, by address."""
        return {entry["group"]: entry
                for entry in self.shows("ip igmp groups").get(DEVICE, {}).get("groups", [])}

    def close(self):
        self.end()
        self.place.close()
        self.beyond.close()
