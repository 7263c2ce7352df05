"""What is measured of a switch in one round: each run gives values by the name of a row."""

import ipaddress
import itertools
import struct
import time

from lab import loss, messages
from lab.home import UPLINK
from lab.host import DEVICE
from lab.waiting import holds_within

# Report, what a host is told, and the base of its groups.
VERSIONS = {"IGMPv1": ({"igmp": 1}, "239.40.0.0"), "IGMPv2": ({"igmp": 2}, "239.41.0.0"),
            "IGMPv3": ({"igmp": 3}, "239.42.0.0"), "MLDv1": ({"mld": 1}, "ff1e::41:0"),
            "MLDv2": ({"mld": 2}, "ff1e::42:0")}
LEAVING = [version for version in VERSIONS if version != "IGMPv1"]     # which has no leaves
FAST, SLOW = 500, 50          # datagrams a second: while a moment is looked for, and otherwise
PATIENCE = 6.0                # seconds for a stream to come or to end, longer than the router's interval
QUIET = 0.3                   # seconds without a datagram, behind which a stream has ended
LOST = 30                     # of a hundred
ARRIVING = 1.0                # seconds in which reports arrive if they do
OUT = 0.3                     # seconds for which a port or the bridge is switched off
GROUPS_AT_ONCE = 50           # in a report
BETWEEN_REPORTS = 0.001       # seconds, so that everybody sleeps when one comes
NOTICED = 2.0                 # seconds behind a leave, in which a host that was cut off is asked and answers
REPEATED = 0.25               # seconds in which a host has repeated itself, see lab.host
SPREAD = 0.1                  # between two joins, of different hosts
LAST_ANSWERS = 0.7            # seconds behind a query


class Round:
    """plan: how much of each; results: lists of values by row."""

    def __init__(self, switch, plan, results):
        self.switch, self.home, self.plan, self.results = switch, switch.home, plan, results
        self.hosts = self.home.hosts
        self.numbers = itertools.count(1)

    def add(self, row, *values):
        self.results.setdefault(row, []).extend(values)

    def group(self, version):
        """One that nobody had before."""
        return str(ipaddress.ip_address(VERSIONS[version][1]) + next(self.numbers))

    def arrivals(self, port, stream, since=0.0):
        """When its datagrams left the port."""
        return [frame.when for frame in self.home.ports[port].wire.frames(stream.seen_in)
                if frame.when >= since]

    def run_all(self, say):
        for run in (self.versions, self.strangers, self.sources, self.second_host, self.lossy_hosts,
                    self.lossy_router, self.port_flap, self.restart, self.bridge_off, self.memory, self.cpu):
            say(run.__name__.replace("_", " "))
            run()
            self.end_of_run()

    def end_of_run(self):
        for host in self.hosts.values():
            host.rest()
            host.speak(0, 0)
        self.home.uplink.rest()
        self.switch.router = None
        self.switch.ask()
        time.sleep(LAST_ANSWERS)
        self.home.clear()

    # ---- Joins and leaves -----------------------------------------------------------------------

    def versions(self):
        """A version after the other; meanwhile no report may reach another user port."""
        joined = []
        for port, version in enumerate(VERSIONS):
            self.hosts["h%d" % port].speak(**VERSIONS[version][0])
            joined += [(version, port, *self.join(version, port)) for _ in range(self.plan["joins"])]
        self.add("joins that bring the stream", *(member is not None for *_, member in joined))
        self.leave_all([entry for entry in joined if entry[0] in LEAVING])
        for version, port, stream, _ in joined:
            if version in LEAVING:
                self.leave_fast(version, port, stream)
        self.add("reports that reach other user ports", sum(
            len(port.wire.frames(lambda frame: frame.kind.endswith("report"))) for port in self.home.ports))

    def join(self, version, port):
        """A stream and a membership; None where nothing comes of it."""
        stream = self.home.uplink.stream(self.group(version), rate=FAST)
        before, member = time.time(), self.hosts["h%d" % port].join(stream.group)
        came = holds_within(PATIENCE, lambda: self.arrivals(port, stream))
        stream.pause = 1 / SLOW
        if not came:
            return stream, None
        for row in ("join, " + version, "join, worst"):
            self.add(row, came[0] - before)
        return stream, member

    def leave_all(self, joined):
        """At once, as each takes seconds: the last members are asked."""
        left = [(version, port, stream, member.leave()[0]) for version, port, stream, member in joined
                if member]
        for version, port, stream, when in left:
            end = self.end_of(port, stream)
            for row in ("leave, " + version, "leave, worst"):
                self.add(row, end - when)

    def end_of(self, port, stream, patience=PATIENCE):
        """When its last datagram left the port; now, if it does not end."""
        def ended():
            came = self.arrivals(port, stream)
            return not came or time.time() - came[-1] > max(QUIET, 10 * stream.pause)
        holds_within(patience, ended)
        return (self.arrivals(port, stream) or [time.time()])[-1]

    def leave_fast(self, version, port, stream):
        self.switch.fast_leave(port, True)
        stream.pause = 1 / FAST
        again = time.time()
        member = self.hosts["h%d" % port].join(stream.group)
        if holds_within(PATIENCE, lambda: self.arrivals(port, stream, again)):
            # The join is said twice; a leave between may wait for that.
            time.sleep(2 * REPEATED)
            when = member.leave()[0]
            for row in ("fast leave, " + version, "fast leave, worst"):
                self.add(row, max(self.end_of(port, stream) - when, 0.0))
        stream.close()
        self.switch.fast_leave(port, False)

    # ---- Streams to those who have not asked -----------------------------------------------------

    def strangers(self):
        for version in ("IGMPv3", "MLDv2"):
            wanted, unwanted = (self.home.uplink.stream(self.group(version)) for _ in range(2))
            self.hosts["h0"].join(wanted.group)
            holds_within(PATIENCE, lambda: self.arrivals(0, wanted))
            time.sleep(1)
            self.add("datagrams to ports without a member",
                     sum(len(self.arrivals(port, wanted)) for port in range(1, 6))
                     + sum(len(self.arrivals(port, unwanted)) for port in range(6)))

    def sources(self):
        for version, family in (("IGMPv3", "ip4"), ("MLDv2", "ip6")):
            group = str(ipaddress.ip_address("232.1.0.0" if family == "ip4" else "ff3e::8000:0")
                        + next(self.numbers))
            wanted, other = self.home.uplink.stream(group), self.hosts["h3"].stream(group)
            address = getattr(self.hosts["h3"], family)
            self.hosts["h0"].join(group, source=getattr(self.home.uplink, family))
            holds_within(PATIENCE, lambda: self.arrivals(0, wanted))
            first, since = other.sent, time.time()
            time.sleep(1)
            sent, leaked = other.sent - first, self.home.ports[0].wire.frames(
                lambda frame: wanted.seen_in(frame) and frame.source == address and frame.when >= since)
            self.add("datagrams of a source not asked for, " + version, len(leaked) / sent)

    # ---- Interruptions ----------------------------------------------------------------------------

    def second_host(self):
        """Behind a hub two hosts have a stream; one leaves, with fast leave."""
        self.switch.fast_leave(5, True)
        for versions in (("IGMPv2", "MLDv1"), ("IGMPv3", "MLDv2")):
            for version in versions:
                self.hosts["h5a"].speak(**VERSIONS[version][0])
                self.hosts["h5b"].speak(**VERSIONS[version][0])
            streams = [self.home.uplink.stream(self.group(version)) for version in versions]
            for stream in streams:
                self.hosts["h5a"].join(stream.group)
            time.sleep(2 * REPEATED)      # else one host keeps silent as the other one has reported
            leaving = [self.hosts["h5b"].join(stream.group) for stream in streams]
            time.sleep(2 * REPEATED)
            since = time.time()
            for member in leaving:
                member.leave()
            time.sleep(NOTICED)
            for version, stream in zip(versions, streams):
                self.add("gap as a second host leaves, " + version, self.gap(5, stream, since))

    def gap(self, port, stream, since):
        """The longest time between two datagrams, from then to now."""
        now = time.time()        # it takes a while to look through what has come
        moments = [since, *(when for when in self.arrivals(port, stream, since) if when < now), now]
        return max(later - earlier for earlier, later in itertools.pairwise(moments))

    def streaming(self):
        """A host with a stream."""
        stream = self.home.uplink.stream(self.group("IGMPv3"))
        self.hosts["h0"].join(stream.group)
        holds_within(PATIENCE, lambda: self.arrivals(0, stream))
        time.sleep(2 * REPEATED)
        return stream

    def port_flap(self):
        stream = self.streaming()
        device = self.home.ports[0].device
        self.home.switch.ip("link set %s down" % device)
        time.sleep(OUT)
        self.home.switch.ip("link set %s up" % device)
        self.home.wait_for_links()
        self.outage("outage after a port was down", stream, time.time())

    def outage(self, row, stream, since):
        came = holds_within(PATIENCE, lambda: self.arrivals(0, stream, since))
        self.add(row, came[0] - since if came else PATIENCE)

    def restart(self):
        stream = self.streaming()
        since = time.time()
        self.switch.restart()
        done = time.time()
        holds_within(PATIENCE, lambda: self.arrivals(0, stream, done))
        self.add("outage when what snoops is restarted", self.gap(0, stream, since))
        self.add("datagrams to ports without a member as it is restarted", self.astray(stream, since))

    def astray(self, stream, since):
        """What has left all ports but the member's."""
        return sum(len(self.arrivals(port, stream, since)) for port in range(1, 6))

    def bridge_off(self):
        stream = self.streaming()
        since = time.time()
        self.home.switch_off()
        time.sleep(OUT)
        self.home.switch_on()
        self.home.wait_for_links()
        self.outage("outage after the bridge was off", stream, time.time())
        time.sleep(NOTICED)
        self.add("datagrams to ports without a member after the bridge was off", self.astray(stream, since))

    # ---- Loss -------------------------------------------------------------------------------------

    def join_spread(self):
        """So many groups, no two in one report: ports, streams and memberships."""
        joined = []
        for at in range(self.plan["lost joins"]):
            port = at % 4
            stream = self.home.uplink.stream(self.group("MLDv2" if at % 8 > 3 else "IGMPv3"), rate=SLOW)
            joined.append((port, stream, self.hosts["h%d" % port].join(stream.group)))
            time.sleep(SPREAD)
        time.sleep(ARRIVING)
        return joined

    def leave_spread(self, joined):
        for *_, member in joined:
            member.leave()
            time.sleep(SPREAD)
        time.sleep(ARRIVING)

    def lossy_hosts(self):
        """The wires of the hosts lose reports on the way to the switch; nobody asks meanwhile."""
        self.switch.ask(interval=60)
        time.sleep(LAST_ANSWERS)
        for host in list(self.hosts.values())[:4]:
            loss.some(host.namespace, DEVICE, LOST)
        joined = self.join_spread()
        came = [entry for entry in joined if self.arrivals(*entry[:2])]
        self.add("joins that arrive, %d %% of reports lost" % LOST, *(entry in came for entry in joined))
        for port in range(4):
            self.switch.fast_leave(port, True)
        self.leave_spread(came)
        now = time.time()
        self.add("leaves that end the stream, %d %% of reports lost" % LOST,
                 *(not self.arrivals(port, stream, now - QUIET) for port, stream, _ in came))
        for port in range(4):
            self.switch.fast_leave(port, False)
            self.hosts["h%d" % port].namespace.must(["nft", "flush ruleset"])

    def lossy_router(self):
        """The wire to the router loses reports; nobody asks meanwhile."""
        self.switch.ask(interval=60)
        time.sleep(LAST_ANSWERS)
        with loss.some(self.home.switch, UPLINK, LOST):
            joined = self.join_spread()
            heard = [group for frame in self.home.uplink.capture.frames() for group in frame.groups]
            self.add("joins that arrive at the router, %d %% lost" % LOST,
                     *(stream.group in heard for _, stream, _ in joined))
            self.leave_spread(joined)
            left = [group for frame in self.home.uplink.capture.frames() for group in frame.leaves()]
            self.add("leaves that arrive at the router, %d %% lost" % LOST,
                     *(stream.group in left for _, stream, _ in joined))

    # ---- What it takes ----------------------------------------------------------------------------

    def memory(self):
        before = kernel_memory() + self.switch.memory()
        host = self.hosts["h1"]
        groups = [str(ipaddress.ip_address("239.50.0.0") + at) for at in range(self.plan["groups"])]
        for at in range(0, len(groups), GROUPS_AT_ONCE):
            host.send(report(host, groups[at:at + GROUPS_AT_ONCE]))
            time.sleep(0.01)
        time.sleep(1)
        self.add("memory of a group", (kernel_memory() + self.switch.memory() - before) / len(groups))

    def cpu(self):
        """Of the sender too: the kernel works for it, and in the kernel's case all is done there."""
        host = self.hosts["h1"]
        frames = [report(host, [str(ipaddress.ip_address("239.51.0.0") + at)]) for at in range(100)]
        for frame in frames:
            host.send(frame)
        time.sleep(1)
        reports = self.plan["reports"]
        before = time.thread_time() + self.switch.cpu()
        for at in range(reports):
            host.send(frames[at % len(frames)])
            time.sleep(BETWEEN_REPORTS)
        time.sleep(0.1)
        self.add("CPU of a report", (time.thread_time() + self.switch.cpu() - before) / reports)


def report(host, groups):
    """All sources of each of the groups, by IGMPv3."""
    message = struct.pack("!BBHHH", 0x22, 0, 0, 0, len(groups)) + b"".join(
        struct.pack("!BBH4s", 4, 0, 0, ipaddress.IPv4Address(group).packed) for group in groups)
    return messages.ethernet(host.mac, "224.0.0.22",
                             messages.igmp_packet(host.ip4, "224.0.0.22", message))


def kernel_memory():
    with open("/proc/meminfo") as table:
        return next(int(line.split()[1]) * 1024 for line in table if line.startswith("Slab:"))
