"""Where the commands of a page run: a scratch copy of the tree with one shell in it, in namespaces of its own, where
the programs of a build are found, and the bridge and the captures that the pages speak of are there.

What runs is bounded: a command ends in time, and what a block leaves running ends with it.
"""

import contextlib
import os
import pathlib
import select
import shutil
import struct
import subprocess
import tempfile
import time

PATIENCE = 120      # seconds, for one command, a build of the library being the longest
HOLDS = 20          # seconds until a node takes commands
NOT_COPIED = shutil.ignore_patterns(".git", "build", "out", "corpus", "__pycache__")
PROGRAM_FOLDERS = ("node", "tools", "bench/paths")
CAPTURES = {"stb.pcap": "port0", "stb2.pcap": "port2", "pc.pcap": "port3", "olt.pcap": "uplink"}

NAMESPACES = ["unshare", "--ipc", "--net", "--mount", "--pid", "--fork", "--kill-child"]
# As root, or as root of a user namespace, where users may make one.
ENTRANCES = (NAMESPACES, [*NAMESPACES, "--user", "--map-root-user"])

# What the pages write to outside of the tree is gone with the namespace; the rest of the machine is not written to.
MOUNTS = """
mount -t proc proc /proc && mount -t tmpfs none /opt && mount -t tmpfs none /var/lib &&
mkdir -p /var/lib/prometheus/node-exporter && ip link set lo up &&
mount --bind "$SCRATCH" "$SCRATCH" && cd "$SCRATCH" && mount -o remount,bind,ro /"""
BRIDGE = """
ip link add br0 type bridge && ip link set br0 up && for number in 0 1 2; do
    ip link add eth$number type veth peer name far$number && ip link set eth$number master br0 up &&
        ip link set far$number up || break
done && ip link show eth2 && nft add table bridge tried && nft delete table bridge tried
"""


class Died(Exception):
    """The shell is gone, or a command did not end in time."""


def entrance():
    """The words that lead into the namespaces; nothing where none are to be had."""
    with tempfile.TemporaryDirectory() as folder:
        for words in ENTRANCES if shutil.which("unshare") else ():
            tried = subprocess.run([*words, "sh", "-c", MOUNTS], env={**os.environ, "SCRATCH": folder}, check=False,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            if tried.returncode == 0:
                return words
    return None


def one_wire(home):
    """The captures of a folder in one, as a mirror port has it: by stamp, then by port, the uplink last."""
    records = []
    for slot, name in enumerate(["port%d" % port for port in range(6)] + ["uplink"]):
        data, at = (home / (name + ".pcap")).read_bytes(), 24
        while at < len(data):
            second, fraction, size, _ = struct.unpack_from("<IIII", data, at)
            records.append((second, fraction, slot, data[at:at + 16 + size]))
            at += 16 + size
    records.sort(key=lambda record: record[:3])
    return data[:24] + b"".join(record[3] for record in records)


def add_captures(tree):
    """Under the names that the pages give them."""
    home = tree / "scenario/home"
    for name, port in CAPTURES.items():
        shutil.copyfile(home / (port + ".pcap"), tree / name)
    (tree / "mirror.pcap").write_bytes(one_wire(home))
    with open(tree / "stb.pcap", "rb") as plain:
        compressed = subprocess.run(["gzip", "-nc"], stdin=plain, stdout=subprocess.PIPE, check=True).stdout
    (tree / "stb.pcap.gz").write_bytes(compressed)


def add_host(tree):
    """A host process in one file, as the pages have it."""
    sources = sorted((tree / "examples/host").glob("*.c"))
    (tree / "host.c").write_text("#define _GNU_SOURCE\n" + "".join('#include "%s"\n' % path for path in sources))


def link_programs(build, there):
    """The programs alone, so that a command that built there would find no build; the folders."""
    folders = [there / name for name in PROGRAM_FOLDERS]
    for name, folder in zip(PROGRAM_FOLDERS, folders):
        folder.mkdir(parents=True)
        for program in (build / name).glob("*"):
            if program.is_file() and os.access(program, os.X_OK):
                (folder / program.name).symlink_to(program)
    return [str(folder) for folder in folders]


def add_build(tree, build):
    """What scripts/build-node would make: the programs under test."""
    link_programs(build, tree / "build/node")
    (tree / "scripts/build-node").write_text("#!/bin/sh\n")


class Place:
    def __init__(self, source, build, words):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        try:
            self.make(source, build)
            self.enter(words, link_programs(build, self.tree / "build/native"))
        except BaseException:
            shutil.rmtree(self.folder, ignore_errors=True)
            raise
        self.has_bridge = self.run(BRIDGE) == 0

    def make(self, source, build):
        self.tree = self.folder / "tree"
        shutil.copytree(source, self.tree, ignore=NOT_COPIED, symlinks=True)
        for name in ("home", "tmp", "run"):
            (self.folder / name).mkdir()
        if (self.tree / "scenario/home").is_dir():
            add_captures(self.tree)
            add_host(self.tree)
            add_build(self.tree, build)

    def enter(self, words, path):
        """Starts the shell."""
        self.run_number = 0
        self.statuses, theirs = os.pipe()
        self.shell = subprocess.Popen([*words, "sh", "-c", MOUNTS + " && cd tree && exec bash --norc"],
                                      env=self.environment(path, theirs),
                                      pass_fds=[theirs], stdin=subprocess.PIPE, start_new_session=True)
        os.close(theirs)

    def environment(self, path, statuses):
        return {**os.environ, "PATH": os.pathsep.join([*path, os.environ["PATH"], "/usr/sbin", "/sbin"]),
                "HOME": str(self.folder / "home"), "TMPDIR": str(self.folder / "tmp"),
                "RUNTIME_DIRECTORY": str(self.folder / "run"), "SCRATCH": str(self.folder),
                "CMAKE_BUILD_PARALLEL_LEVEL": str(os.cpu_count()), "STATUSES": str(statuses)}

    def run(self, text, patience=PATIENCE):
        """Runs lines in the shell; their status. What they said is in output()."""
        # Files of their own, for what goes on in the background goes on writing.
        self.run_number += 1
        wrapped = ("{ %s\n} </dev/null >%s 2>%s {STATUSES}>&-; echo $? >&$STATUSES\n"
                   % (text, self.said_file("stdout", self.run_number), self.said_file("stderr", self.run_number)))
        self.shell.stdin.write(wrapped.encode())
        self.shell.stdin.flush()
        deadline, answer = time.monotonic() + patience, b""
        while not answer.endswith(b"\n"):
            ready, _, _ = select.select([self.statuses], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise Died("did not end within %d s" % patience)
            part = os.read(self.statuses, 64)
            if not part:
                raise Died("ended the shell")
            answer += part
        return int(answer)

    def said_file(self, stream, number):
        return self.folder / "tmp" / ("%s.%d" % (stream, number))

    def output(self, stream="stdout", number=None):
        """Of the last run, or another one."""
        return self.said_file(stream, number or self.run_number).read_text(errors="replace")

    def wait_for_node(self):
        """Until the node that the last line has started takes commands; whether it does."""
        return self.run("until mcctl show groups; do kill -0 $! && sleep 0.05 || break; done; mcctl show groups",
                        HOLDS) == 0

    def end_what_runs(self):
        # The list forgets those that have ended when it is asked for here, not in a substitution.
        self.run("jobs; kill $(jobs -p); wait; jobs", HOLDS)

    def close(self):
        self.shell.kill()
        with contextlib.suppress(BrokenPipeError):
            self.shell.stdin.close()
        self.shell.wait()
        os.close(self.statuses)
        shutil.rmtree(self.folder, ignore_errors=True)
