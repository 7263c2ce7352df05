"""Runs the probes against a contender that switches, and keeps what they say."""

import os
import subprocess
import time

from bench.networks import BEHIND_UPLINK, HOSTS, USER_PORTS, place
from lab.namespaces import end

KINDS = ["IGMPv2", "IGMPv3", "MLDv1", "MLDv2"]
SOCKET_KINDS = ["IGMPv3", "MLDv2"]  # what an ordinary host sends

PATIENCE = 2.0           # for a stream to come or to stop
LONGEST_PAUSE = 250e-6   # of the sender; a delay seen in a longer one may be the sender's own
DATABASE_LIMIT = 5.0     # for what waits in the node after the last report


class ProbeFailed(Exception):
    """One line of a probe that could not measure."""


class Joins:
    """The joins of one contender and kind; times in seconds."""

    def __init__(self):
        self.joined, self.left = [], []
        self.lost = self.stayed = self.set_aside = 0

    def add(self, line):
        _, joined, left, pause = line.split()
        if joined == "-":
            self.lost += 1
        elif int(pause) / 1e9 > LONGEST_PAUSE:
            self.set_aside += 1
        else:
            self.joined.append(int(joined) / 1e9)
        if left == "-":
            self.stayed += 1
        else:
            self.left.append(int(left) / 1e9)


class Load:
    """What a load of reports did to one contender."""

    def __init__(self, sent, seconds, forwarded, missing, expected, cpu):
        self.sent, self.seconds, self.forwarded = sent, seconds, forwarded
        self.missing, self.expected = missing, expected
        self.cpu = cpu
        self.dropped = None  # known when the contender has ended


class Idle:
    """What a contender does while nothing comes."""

    def __init__(self, seconds, wake_ups, cpu):
        self.seconds, self.wake_ups, self.cpu = seconds, wake_ups, cpu


class Probes:
    def __init__(self, networks, programs, rate, pause_ms, cpus):
        """The last CPU is the world outside; contenders and probes have the others."""
        self.networks, self.programs = networks, programs
        self.period = 1 / rate
        self.pause_ms = pause_ms
        self.outside_cpu = cpus[-1] if len(cpus) > 1 else -1
        self.probe_cpu = cpus[0] if len(cpus) > 1 else -1
        self.group = 1000    # every join has a group that nobody had before; below are the load's

    def lines(self, words):
        """The probe's lines, as they come."""
        process = self.networks.switch.start(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                             text=True, process_group=0)
        try:
            yield from process.stdout
            said = process.stderr.read()
            if process.wait():
                raise ProbeFailed(said.strip())
        finally:
            end(process)

    def join(self, kind, count, joins, sockets=False, progress=lambda done: None):
        """Adds so many joins of one kind."""
        networks = self.networks
        words = [self.programs["join_probe"], "--kind", kind, "--joins", count,
                 "--host", place(networks.home, HOSTS[0]),
                 "--port", place(networks.switch, USER_PORTS[0]),
                 "--uplink", place(networks.uplink, BEHIND_UPLINK),
                 "--first-group", self.group, "--period-ns", int(self.period * 1e9),
                 "--patience-ms", int(PATIENCE * 1000), "--pause-ms", self.pause_ms,
                 "--sockets", int(sockets),
                 "--probe-cpu", self.probe_cpu, "--sender-cpu", self.outside_cpu]
        self.group += count
        for done, line in enumerate(self.lines(words), 1):
            joins.add(line)
            progress(done)

    def load(self, contender, groups, rate, seconds):
        networks = self.networks
        hosts = [word for host in HOSTS for word in ("--host", place(networks.home, host))]
        words = [self.programs["report_load"], *hosts, "--groups", groups, "--rate", rate,
                 "--uplink", place(networks.uplink, BEHIND_UPLINK),
                 "--seconds", seconds, "--cpu", self.outside_cpu]
        cpu = contender.cpu_seconds()
        expected = set()
        sent = duration = forwarded = 0
        for line in self.lines(words):
            first, *rest = line.split()
            if first == "member":
                expected.add((USER_PORTS[int(rest[0])], rest[1]))
            else:
                sent, duration, forwarded = map(int, rest)
        end_of_wait = time.monotonic() + DATABASE_LIMIT
        missing = expected - contender.memberships()
        while missing and time.monotonic() < end_of_wait:
            time.sleep(0.2)
            missing = expected - contender.memberships()
        if cpu is not None:
            cpu = contender.cpu_seconds() - cpu
        return Load(sent, duration / 1e9, forwarded, missing, len(expected), cpu)

    def idle(self, contender, seconds):
        """None for a contender without a process."""
        before = contender.cpu_seconds(), contender.wake_ups()
        time.sleep(seconds)
        after = contender.cpu_seconds(), contender.wake_ups()
        if None in before:
            return None
        return Idle(seconds, after[1] - before[1], after[0] - before[0])


def cpus():
    return sorted(os.sched_getaffinity(0))
