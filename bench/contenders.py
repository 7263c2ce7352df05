"""The three that switch streams: the kernel's own snooping, the bare loop and the node.

Each works on a bridge of the same settings, made anew for it.  A contender is used in a with statement;
inside it, it switches, behind it its summary is there.
"""

import glob
import json
import os
import select
import signal
import subprocess
import time

from bench.networks import BRIDGE, UPLINK, USER_PORTS, without_address_check
from lab.namespaces import end as kill

START_LIMIT = 30.0
END_LIMIT = 10.0
RESPONSE_INTERVAL = 0.5  # the database has no effect before it is over; the kernel's own value is 10 s

CONTROL_FRAMES = """
table netdev bench {
    chain control {
        type filter hook ingress devices = { %s } priority 0;
        ip protocol 2 drop
        icmpv6 type { 130, 131, 132, 143 } drop
    }
}
"""


class ContenderFailed(Exception):
    """One line that says which contender does not do its work."""


def make_bridge(switch):
    # Its queries are of the versions that hosts start with, so that they stay with them.
    switch.ip("link add %s type bridge mcast_snooping 1 mcast_igmp_version 3 mcast_mld_version 2 "
              "mcast_query_response_interval %d" % (BRIDGE, RESPONSE_INTERVAL * 100))
    without_address_check(switch, BRIDGE)
    for port in [UPLINK] + USER_PORTS:
        switch.ip("link set dev %s master %s" % (port, BRIDGE))
    switch.ip("link set dev %s up" % BRIDGE)
    # MLD queries come from a link-local address, so the querier has to wait for it.
    end = time.monotonic() + 5
    while "fe80:" not in switch.must(["ip", "-6", "address", "show", "dev", BRIDGE, "-tentative"]):
        if time.monotonic() > end:
            raise ContenderFailed("the bridge does not get a link-local address")
        time.sleep(0.02)
    switch.ip("link set dev %s type bridge mcast_querier 1" % BRIDGE)
    time.sleep(2 * RESPONSE_INTERVAL)


class Contender:
    """What the three have in common: a bridge of its own and, but for one, a process."""

    def __init__(self, networks, programs, cpus):
        self.switch = networks.switch
        self.programs = programs
        self.cpus = cpus
        self.process = None
        self.summary = {}

    def __enter__(self):
        try:
            make_bridge(self.switch)
            self.begin()
        except BaseException:
            self.abandon()
            raise
        return self

    def __exit__(self, kind, *_):
        if kind:
            self.abandon()
        else:
            if self.process:
                self.end_process()
            self.end()
            self.switch.ip("link delete %s" % BRIDGE)

    def abandon(self):
        """After a failure; the namespaces go with all the rest."""
        if self.process:
            kill(self.process)
            self.process = None

    def begin(self):
        pass

    def end(self):
        pass

    def summarise(self, output):
        """Takes from the process's last words what the tables show."""

    def cpu_seconds(self):
        """User and system time of the process so far."""
        if not self.process:
            return None
        with open("/proc/%d/stat" % self.process.pid) as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def wake_ups(self):
        """How often threads of the process have gone to sleep so far."""
        if not self.process:
            return None
        lines = []
        for status in glob.glob("/proc/%d/task/*/status" % self.process.pid):
            with open(status) as lines_of_thread:
                lines += lines_of_thread
        return sum(int(line.split()[1]) for line in lines
                   if line.startswith("voluntary_ctxt_switches:"))

    def memberships(self):
        """What the database holds, as pairs of port and group."""
        dump = json.loads(self.switch.must(["bridge", "-j", "mdb", "show"]))
        return {(entry["port"], entry["grp"]) for part in dump for entry in part.get("mdb", [])}

    def start_process(self, words, stream, ready):
        """Waits for a line on "stdout" or "stderr" that starts with the text."""
        bound = ["taskset", "--cpu-list", ",".join(map(str, self.cpus))] + words
        # In a process group of its own, so that Ctrl-C is this process's to handle.
        self.process = self.switch.start(bound, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                         text=True, process_group=0)
        pipe = getattr(self.process, stream)
        heard, limit = "", time.monotonic() + START_LIMIT
        while not any(line.startswith(ready) for line in heard.splitlines()):
            if select.select([pipe], [], [], 0.1)[0]:
                heard += os.read(pipe.fileno(), 4096).decode()
            if self.process.poll() is not None or time.monotonic() > limit:
                self.process.kill()
                said = heard if stream == "stderr" else self.process.stderr.read()
                self.abandon()
                raise ContenderFailed("%s did not start: %s" % (self.name, last_line(said)))

    def end_process(self):
        process, self.process = self.process, None
        process.send_signal(signal.SIGTERM)
        try:
            output, said = process.communicate(timeout=END_LIMIT)
        except subprocess.TimeoutExpired:
            raise ContenderFailed("%s did not end when asked to" % self.name)
        finally:
            kill(process)
        if process.returncode:
            raise ContenderFailed("%s ended with status %d: %s"
                                  % (self.name, process.returncode, last_line(said)))
        self.summarise(output)


def last_line(text):
    return (text.strip().splitlines() or ["it said nothing"])[-1]


class Kernel(Contender):
    name = "kernel"

    def begin(self):
        for port in USER_PORTS:
            self.switch.must(["bridge", "link", "set", "dev", port, "fastleave", "on"])
        # Reports go up as those of the others do.
        self.switch.must(["bridge", "link", "set", "dev", UPLINK, "mcast_router", "2"])


class BareLoop(Contender):
    name = "bare"

    def begin(self):
        self.switch.must(["nft", CONTROL_FRAMES % ", ".join([UPLINK] + USER_PORTS)])
        self.start_process([self.programs["bare_loop"], BRIDGE, UPLINK] + USER_PORTS,
                           "stdout", "ready")

    def end(self):
        self.switch.must(["nft", "delete table netdev bench"])

    def summarise(self, output):
        words = output.splitlines()[-1].split()
        self.summary = {"dropped": int(words[words.index("dropped") + 1])}


class Node(Contender):
    name = "node"

    def begin(self):
        ports = [word for number, port in enumerate(USER_PORTS)
                 for word in ("--port", "%d=%s" % (number, port))]
        self.start_process([self.programs["mc_node"], "live", "--bridge", BRIDGE,
                            "--uplink", UPLINK] + ports + ["--json"], "stderr", "mc_node: live on")
        for number in range(len(USER_PORTS)):
            self.switch.must([self.programs["mcctl"], "fast-leave", "--port", number, "on"])

    def summarise(self, output):
        try:
            ports = json.loads(output)["live"]["ports"]
            ports = ports.values() if isinstance(ports, dict) else ports
            self.summary = {"dropped": sum(port["socket_dropped"] for port in ports)}
        except (ValueError, KeyError, TypeError) as problem:
            raise ContenderFailed("the node's summary lacks the ports' socket_dropped (%s %s)"
                                  % (type(problem).__name__, problem))


ALL = [Kernel, BareLoop, Node]
