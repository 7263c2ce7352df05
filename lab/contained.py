"""A place for programs of others that run as services: with directories and process numbers of their own.

They find /run, /var/log and the like empty and write there what they want; nothing of it is on the machine.
When the place is closed, or this process ends, all that runs in it is killed, even what has become a
background process or another user, whom the signal at the end of a parent does not reach.
"""

import contextlib
import os
import signal
import subprocess

from lab.failure import LabError
from lab.namespaces import end
from lab.waiting import PATIENCE, until

EMPTY = ("/run", "/var/log", "/var/tmp")
# The shell is number 1 in there: with it everything ends.  It ends with its own standard input.
FIRST = 'for room; do mount -t tmpfs contained "$room" || exit 1; done; echo ready; read -r _'


class Contained:
    """In a namespace; empty: further directories that the programs find empty."""

    def __init__(self, namespace, empty=()):
        self.namespace = namespace
        self.first = namespace.start(
            ["unshare", "--mount", "--propagation", "private", "--pid", "--fork", "--kill-child",
             "--mount-proc", "sh", "-c", FIRST, "sh", *EMPTY, *empty],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self.first.stdout.readline() != "ready\n":
            self.close()
            raise LabError("no place of their own for programs in " + namespace.name)
        self.way_in = ["nsenter", "--mount=/proc/%d/ns/mnt" % self.first.pid,
                       "--pid=/proc/%d/ns/pid_for_children" % self.first.pid, "--"]

    def path(self, inside):
        """How this process reads and writes a file of the place."""
        return "/proc/%d/root%s" % (self.first.pid, inside)

    def write(self, inside, text):
        with open(self.path(inside), "w") as file:
            file.write(text)

    def start(self, command, **options):
        return self.namespace.start(self.way_in + list(command), **options)

    def run(self, command, **options):
        return self.namespace.run(self.way_in + list(command), **options)

    def must(self, command):
        return self.namespace.must(self.way_in + list(command))

    def close(self):
        end(self.first)
        if self.first in self.namespace.processes:
            self.namespace.processes.remove(self.first)


class Program:
    """One of them, running in the foreground; ready: whether it does its work yet."""

    def __init__(self, place, command, ready):
        self.name = command[0].rpartition("/")[2]
        self.log = open(place.path("/var/log/%s.output" % self.name), "w+")
        self.process = place.start(command, stdout=self.log, stderr=self.log)
        try:
            until(lambda: ready() or self.process.poll() is not None, "%s is ready" % self.name)
            if self.process.poll() is not None:
                raise LabError("%s ended with status %d" % (self.name, self.process.returncode))
        except LabError as problem:
            said = self.said()
            self.close()
            raise LabError("%s; it said: %s" % (problem, " | ".join(said[-5:])))

    def said(self):
        with open(self.log.name) as log:
            return log.read().splitlines()

    def close(self):
        """As a service is stopped; what does not stop ends with its place."""
        if self.process.poll() is None:
            for number in children(self.process.pid):
                os.kill(number, signal.SIGTERM)
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.process.wait(PATIENCE)
        end(self.process)
        self.log.close()


def children(number):
    """The way in waits outside for the program that it has started."""
    with open("/proc/%d/task/%d/children" % (number, number)) as listed:
        return [int(word) for word in listed.read().split()]
