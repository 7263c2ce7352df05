"""mc_node on the switch, and the commands that mcctl sends it."""

import os
import re
import signal
import subprocess
import tempfile
import threading

from lab.failure import LabError
from lab.home import BRIDGE, UPLINK
from lab.waiting import until

READY = "mc_node: live on "
LONG_ENOUGH = 15       # seconds for start and end on a busy machine
QUEUE = 81
# Does nothing that shows; it only has to stand behind the command that is waited for.
LAST_IN_QUEUE = ["memory", "reset"]


class Node:
    """The programs: where mc_node and mcctl are."""

    def __init__(self, home, programs, *options):
        self.home = home
        self.mc_node, self.mcctl = programs
        self.options = options
        self.process = None
        self.lines = []          # of standard error, in order
        self.out = None
        self.reader = None
        self.runtime = None      # in place of the machine's /run; a node that is killed leaves its record

    # ---- Process --------------------------------------------------------------------------------

    def arguments(self):
        ports = [word for port in self.home.ports
                 for word in ("--port", "%d=%s" % (port.number, port.device))]
        return [self.mc_node, "live", "--bridge", BRIDGE, "--uplink", UPLINK, *ports, *self.options]

    def start(self):
        """Starts it and waits until it is ready."""
        self.launch(self.arguments())
        try:
            until(lambda: self.said(READY) or self.process.poll() is not None,
                  "mc_node is ready", LONG_ENOUGH)
        except LabError as late:
            self.kill()
            raise LabError("%s; it said: %s" % (late, " | ".join(self.lines)))
        if not self.said(READY):
            raise LabError("mc_node ended with status %d: %s" % (self.wait(), " | ".join(self.lines)))

    def launch(self, command):
        self.lines = []
        if self.out:
            self.out.close()
        self.out = tempfile.TemporaryFile("w+")
        self.process = self.home.switch.start(command, stdout=self.out, stderr=subprocess.PIPE,
                                              text=True, errors="replace", env=self.environment())
        self.reader = threading.Thread(target=self.read, args=(self.process.stderr, self.lines),
                                       daemon=True)
        self.reader.start()

    def environment(self):
        self.runtime = self.runtime or tempfile.TemporaryDirectory()
        return {**os.environ, "RUNTIME_DIRECTORY": self.runtime.name}

    @staticmethod
    def read(stream, lines):
        for line in stream:
            lines.append(line.rstrip("\n"))

    def wait(self):
        """Waits for its end; the status."""
        status = self.process.wait(LONG_ENOUGH)
        self.reader.join()
        return status

    def stop(self, how=signal.SIGTERM):
        """Ends it as an operator does; the status and what it printed."""
        self.process.send_signal(how)
        try:
            status = self.wait()
        except subprocess.TimeoutExpired:
            raise LabError("mc_node does not end on %s" % signal.Signals(how).name)
        return status, self.output()

    def kill(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.wait()
        if self.out:
            self.out.close()
            self.out = None
        if self.runtime:
            self.runtime.cleanup()
            self.runtime = None

    def output(self):
        self.out.seek(0)
        return self.out.read()

    def alive(self):
        return self.process.poll() is None

    def said(self, pattern):
        """The lines of standard error that match."""
        return [line for line in list(self.lines) if re.search(pattern, line)]

    def complaints(self):
        """What it said itself, without the line of being ready."""
        return [line for line in self.said("^mc_node: ") if not line.startswith(READY)]

    # ---- Commands -------------------------------------------------------------------------------

    def post(self, *words):
        done = self.home.switch.run([self.mcctl, *words])
        if done.returncode:
            raise LabError("mcctl %s: %s" % (" ".join(map(str, words)), done.stderr.strip()))

    def ctl(self, *words):
        """Sends a command and waits until the node has carried it out."""
        self.post(*words)
        # Commands are taken in turn: when the second one has been taken, the first one is done.
        self.post(*LAST_IN_QUEUE)
        until(lambda: self.queued() == 0, "mc_node takes 'mcctl %s'" % " ".join(map(str, words)))

    def queued(self):
        """How many commands wait in the queue; None when there is no queue."""
        with self.home.switch.entered(), open("/proc/sysvipc/msg") as table:
            heading, *rows = [line.split() for line in table]
        for row in rows:
            fields = dict(zip(heading, row))
            if int(fields["key"]) == QUEUE:
                return int(fields["qnum"])
        return None
