"""Namespaces without names, held open by descriptors of this process.

They go away with all that is in them when they are closed, or when this process ends, however it
ends: a process started in one is killed with its parent.  Sockets opened inside may be used from
outside, so no helper process has to live in them.
"""

import contextlib
import ctypes
import os
import subprocess
import threading

from lab.failure import LabError

CLONE_NEWNET, CLONE_NEWIPC = 0x40000000, 0x08000000
FLAGS = {"net": CLONE_NEWNET, "ipc": CLONE_NEWIPC}
# A command behind these words is killed when the process of that number ends.  If that one had ended
# before setpriv asked for the signal, none comes: the shell, started after it, has another parent then.
KILLED_WITH = ["setpriv", "--pdeathsig", "KILL", "--", "sh", "-c", '[ $PPID = $0 ] && exec "$@"']

# Nobody has to wait for the end of an output that nobody asked for.
UNHEARD = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.DEVNULL)

libc = ctypes.CDLL(None, use_errno=True)


def check(result, what):
    if result:
        raise LabError("%s: %s" % (what, os.strerror(ctypes.get_errno())))


def current(kind):
    return os.open("/proc/thread-self/ns/" + kind, os.O_RDONLY | os.O_CLOEXEC)


def new(kind):
    """A descriptor of a fresh namespace; this process stays where it is."""
    before = current(kind)
    try:
        check(libc.unshare(FLAGS[kind]), "no new %s namespace" % kind)
        try:
            return current(kind)
        finally:
            check(libc.setns(before, FLAGS[kind]), "no way back out of a namespace")
    finally:
        os.close(before)


class Namespace:
    """A network namespace, if wanted with an IPC namespace of its own."""

    def __init__(self, name, ipc=False):
        self.name = name
        self.descriptors = {}
        self.processes = []
        for kind in ["net", "ipc"] if ipc else ["net"]:
            self.descriptors[kind] = new(kind)

    @contextlib.contextmanager
    def entered(self):
        """What the calling thread opens or starts meanwhile belongs to the namespace."""
        with contextlib.ExitStack() as way_back:
            for kind, descriptor in self.descriptors.items():
                before = current(kind)
                way_back.callback(os.close, before)
                check(libc.setns(descriptor, FLAGS[kind]), "no way into " + self.name)
                way_back.callback(libc.setns, before, FLAGS[kind])
            yield

    def path(self):
        """How "ip" is told of it."""
        return "/proc/%d/fd/%d" % (os.getpid(), self.descriptors["net"])

    def start(self, command, **options):
        """A process in the namespace; it is killed when this one ends.  Its output is for options."""
        # The signal comes when the thread that started a process ends.
        if threading.current_thread() is not threading.main_thread():
            raise LabError("only the main thread starts processes in " + self.name)
        with self.entered():
            process = subprocess.Popen([*KILLED_WITH, *map(str, [os.getpid(), *command])],
                                       **{**UNHEARD, **options})
        self.processes.append(process)
        return process

    def run(self, command, text_in=None, timeout=20):
        """Runs a command to its end; its status and what it said."""
        where_from = subprocess.DEVNULL if text_in is None else subprocess.PIPE
        process = self.start(command, stdin=where_from, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
        try:
            out, err = process.communicate(text_in, timeout)
        except subprocess.TimeoutExpired:
            raise LabError("%s does not end" % command[0])
        finally:
            end(process)
            self.processes.remove(process)
        return subprocess.CompletedProcess(command, process.returncode, out, err)

    def must(self, command, text_in=None):
        """The same for a command that cannot fail; what it printed."""
        done = self.run(command, text_in)
        if done.returncode:
            said = (done.stderr.strip().splitlines() or ["status %d" % done.returncode])[0]
            raise LabError("%s: %s: %s" % (self.name, " ".join(map(str, command)), said))
        return done.stdout

    def ip(self, *lines):
        """Lines for the ip command, run at one go."""
        self.must(["ip", "-batch", "-"], "".join(line + "\n" for line in lines))

    def set_knob(self, path, value):
        with self.entered(), open("/proc/sys/net/" + path, "w") as knob:
            knob.write(str(value))

    def close(self):
        for process in self.processes:
            end(process)
        self.processes = []
        for descriptor in self.descriptors.values():
            os.close(descriptor)
        self.descriptors = {}


def end(process):
    if process.poll() is None:
        process.kill()
        process.wait()
    for stream in (process.stdin, process.stdout, process.stderr):
        if stream:
            stream.close()
