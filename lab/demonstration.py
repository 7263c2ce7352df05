"""Shows mc_node at work on a bridge with hosts of this machine.

    python3 -m lab.demonstration MC_NODE MCCTL
"""

import signal
import sys
import time

from lab import messages
from lab.failure import LabError
from lab.home import BRIDGE, PORTS, UPLINK, Home
from lab.node import Node
from lab.shown import Shown
from lab.state import snapshot
from lab.stream import number
from lab.waiting import PATIENCE, holds_within, until

STOPPERS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
ONU_ID = 7
RATE = 200                 # datagrams a second of each stream
WINDOW = 0.5               # seconds in which they are counted
QUIET = RATE / 4           # datagrams that do not come, that a stream counts as stopped
SLOW = 1000                # milliseconds; a fast leave takes a few, on a busy machine more, others 2000
VERSIONS = {"h0": (2, 1), "h1": (3, 2), "h2": (3, 1), "h3": (2, 2), "h4": (2, 1), "h5a": (2, 1),
            "h5b": (3, 2)}
JOINS = {
    "239.1.1.1": ["h0", "h1"],
    "239.1.1.2": ["h1", "h2", "h3"],
    "239.1.1.3": ["h5a", "h5b"],
    "239.1.1.4": [],
    "ff1e::101": ["h0", "h1"],
    "ff1e::102": ["h3", "h4"],
    "ff1e::103": [],
}


class Interrupted(Exception):
    def __init__(self, number):
        super().__init__(number)
        self.number = number


class Demonstration:
    def __init__(self, home, node, shown):
        self.home, self.node, self.shown = home, node, shown
        self.streams = {}
        self.members = {}          # (host, group) -> membership

    def run(self):
        before = snapshot(self.home.switch)
        for name, versions in VERSIONS.items():
            self.home.hosts[name].speak(*versions)
        self.shown.heading("The node starts")
        self.node.start()
        self.shown.line("  " + self.node.said("live on")[0])
        self.home.uplink.query(igmp=3, mld=2, interval=2)
        self.streams = {group: self.home.uplink.stream(group, RATE) for group in JOINS}
        self.nobody_has_joined()
        self.hosts_join()
        self.hosts_leave()
        self.two_behind_a_port()
        self.a_rule_changes_the_tag()
        self.control_mode_stamps()
        self.the_node_ends(before)

    # ---- Streams --------------------------------------------------------------------------------

    def ports_of(self, group):
        return {int(name[1]) for name, joined in self.members if joined == group}

    def numbers(self, port, group):
        """The numbers of the datagrams of a stream that left a port since home.clear()."""
        return {number(frame) for frame in
                self.home.ports[port].wire.frames(self.streams[group].seen_in)}

    def show_streams(self):
        self.home.clear()
        first = {group: stream.sent + 1 for group, stream in self.streams.items()}
        start = time.monotonic()
        time.sleep(WINDOW)
        took = time.monotonic() - start
        sent = {group: set(range(first[group], self.streams[group].sent)) for group in first}

        rows = [["stream, datagrams/s"] + ["port %d" % port for port in range(PORTS)] + ["joined by"]]
        for group in self.streams:
            rates = [round(len(self.numbers(port, group) & sent[group]) / took)
                     for port in range(PORTS)]
            names = [name for name, joined in self.members if joined == group]
            rows.append([group] + [str(rate or "-") for rate in rates] + [" ".join(names) or "nobody"])
        self.shown.table(rows)
        whole = all(sent[group] <= self.numbers(port, group)
                    for group in self.streams for port in self.ports_of(group))
        stray = any(self.numbers(port, group) for group in self.streams
                    for port in set(range(PORTS)) - self.ports_of(group))
        self.shown.claim(whole and not stray, "each stream reaches exactly the ports that joined it")

    def join(self, name, group):
        self.members[name, group] = self.home.hosts[name].join(group)

    def leave(self, name, group):
        """The moment behind it."""
        return self.members.pop((name, group)).leave()[1]

    def settle(self):
        """Lets the latest joins take effect."""
        holds_within(PATIENCE, lambda: all(
            self.numbers(port, group) for group in self.streams for port in self.ports_of(group)))

    def nobody_has_joined(self):
        self.shown.heading("Streams arrive at the uplink, nobody has joined")
        self.show_streams()

    def hosts_join(self):
        self.shown.heading("Hosts join: " + ", ".join(
            "%s IGMPv%d MLDv%d" % (name, *versions) for name, versions in VERSIONS.items()))
        self.home.clear()
        for group, names in JOINS.items():
            for name in names:
                self.join(name, group)
        self.settle()
        self.show_streams()
        silent = [group for (_, group), member in self.members.items() if not member.received]
        self.shown.claim(not silent, "every socket that joined gets its stream")

    # ---- Leaves ---------------------------------------------------------------------------------

    def time_to_stop(self, name, group):
        """Milliseconds from the leave to the last datagram; nothing if it does not stop."""
        stream, port = self.streams[group], int(name[1])
        left = self.leave(name, group)

        def stopped():
            sent = stream.sent            # before the look at what has come of it
            return sent - max(self.numbers(port, group), default=0) > QUIET
        if not holds_within(PATIENCE, stopped):
            return None
        frames = self.home.ports[port].wire.frames(stream.seen_in)
        return round(max((frames[-1].when if frames else left) - left, 0) * 1000)

    def claim_stop(self, name, group, holds, how):
        milliseconds = self.time_to_stop(name, group)
        shown = "never" if milliseconds is None else "%d ms" % milliseconds
        self.shown.claim(milliseconds is not None and holds(milliseconds),
                         "%s leaves %s, %s: the stream stops after %s" % (name, group, how, shown))

    def hosts_leave(self):
        self.shown.heading("Hosts leave")
        self.claim_stop("h2", "239.1.1.2", lambda ms: ms > SLOW, "the last members being asked")
        self.node.ctl("fast-leave", "all", "on")
        self.shown.line("         mcctl fast-leave all on")
        for name, group in (("h0", "239.1.1.1"), ("h3", "239.1.1.2"), ("h4", "ff1e::102"),
                            ("h1", "ff1e::101")):
            self.claim_stop(name, group, lambda ms: ms < SLOW, "fast leave")
        self.show_streams()

    def two_behind_a_port(self):
        self.shown.heading("Two receivers behind port 5")
        group, stream = "239.1.1.3", self.streams["239.1.1.3"]
        first = stream.sent
        self.leave("h5b", group)
        until(lambda: stream.sent > first + QUIET, "the stream is sent")
        sent = set(range(first, stream.sent))
        self.shown.claim(sent <= self.numbers(5, group),
                         "h5b leaves %s fast, h5a goes on: none of the next %d datagrams is lost"
                         % (group, len(sent)))

    # ---- Tags -----------------------------------------------------------------------------------

    def report(self, host, group):
        """Sends an untagged report from a host and gives the VIDs that it has at the uplink."""
        self.home.clear()
        packet, to = messages.igmp_v2_report(host.ip4, group)
        host.send(messages.ethernet(host.mac, to, packet))

        def arrived():
            return self.home.uplink.capture.frames(
                lambda frame: group in frame.groups and frame.source_mac == host.mac)
        frames = holds_within(PATIENCE, arrived)
        return frames[0].vids if frames else None

    def claim_vids(self, name, group, expected):
        vids = self.report(self.home.hosts[name], group)
        seen = "nowhere" if vids is None else " ".join(map(str, vids)) or "none"
        self.shown.claim(vids == expected,
                         "a report of %s arrives at the uplink with VID: %s" % (name, seen))

    def a_rule_changes_the_tag(self):
        self.shown.heading("A VLAN rule on port 1")
        self.claim_vids("h1", "239.1.2.1", [])
        rule = ["vlan", "add", "--port", "1", "--mode", "tag", "--up-in", "untagged",
                "--up-out", "4000", "--down-in", "4000", "--down-out", "untagged", "--data-in", "4000"]
        self.node.ctl(*rule)
        self.shown.line("         mcctl " + " ".join(rule))
        self.claim_vids("h1", "239.1.2.2", [4000])
        self.claim_vids("h2", "239.1.2.3", [])

    def control_mode_stamps(self):
        self.shown.heading("Control mode: the outer tag is the ONU id, %d, the inner one the port + 1"
                           % ONU_ID)
        self.node.ctl("mode", "control")
        self.shown.line("         mcctl mode control")
        for name in ("h1", "h4"):
            self.claim_vids(name, "239.1.3.1", [ONU_ID, int(name[1]) + 1])

    # ---- End ------------------------------------------------------------------------------------

    def the_node_ends(self, before):
        self.shown.heading("The node ends")
        status, _ = self.node.stop(signal.SIGTERM)
        self.shown.claim(status == 0, "it ends with status %d" % status)
        self.shown.claim(snapshot(self.home.switch) == before, "the switch is as it was before")


def stop(number, _):
    raise Interrupted(number)


def main(arguments):
    if len(arguments) != 2:
        print("usage: python3 -m lab.demonstration MC_NODE MCCTL", file=sys.stderr)
        return 2
    for number in STOPPERS:
        signal.signal(number, stop)
    shown = Shown()
    started = time.monotonic()
    try:
        with Home() as home:
            shown.line("%s has the uplink %s and the ports lan0 to lan%d; a host behind each, "
                       "two behind port 5" % (BRIDGE, UPLINK, PORTS - 1))
            node = Node(home, arguments, "--onu-id", ONU_ID)
            try:
                Demonstration(home, node, shown).run()
            finally:
                node.kill()
    except Interrupted as why:
        print("live: interrupted, everything is taken down", file=sys.stderr)
        return 128 + why.number
    except (LabError, OSError) as problem:
        print("live: %s" % problem, file=sys.stderr)
        return 1
    shown.line("%.0f s" % (time.monotonic() - started))
    return shown.conclude()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
