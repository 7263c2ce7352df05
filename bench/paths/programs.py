"""Builds what bench/paths measures with, and runs it: programs for this machine and for MIPS."""

import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
NATIVE_BUILD = os.path.join(ROOT, "build", "release")
MIPS_BUILD = os.path.join(ROOT, "build", "release-mips")
MIPS_LIBRARIES = "/usr/mips-linux-gnu"

NATIVE, MIPS = "x86-64", "MIPS"


class Failure(Exception):
    """Ends the run with one line and a non-zero status."""


def say(text):
    if sys.stderr.isatty():
        print("%s ..." % text, file=sys.stderr, flush=True)


def run(words, **options):
    """What a program prints, on both its outputs.  It must end well."""
    options.setdefault("stdin", subprocess.DEVNULL)
    try:
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              cwd=ROOT, check=False, **options)
    except OSError as why:
        raise Failure("%s: %s" % (words[0], why.strerror)) from why
    if done.returncode:
        sys.stderr.write(done.stdout + done.stderr)
        raise Failure("%s: status %d" % (os.path.basename(words[0]), done.returncode))
    return done.stdout, done.stderr


def build(job="bench"):
    """Both builds, as a device and as this machine would have them.  job: scripts/install-packages'"""
    say("Installing what is missing")
    run(["scripts/install-packages", job])
    for preset in ("release", "release-mips"):
        say("Building build/" + preset)
        run(["cmake", "--preset", preset])
        run(["cmake", "--build", "--preset", preset, "--parallel", str(os.cpu_count())])


def program(directory, name):
    path = os.path.join(directory, "bench", "paths", name)
    if not os.access(path, os.R_OK):
        raise Failure("no %s in %s" % (name, os.path.dirname(path)))
    return path


# --------------------------------------------------------------------------
# Instructions
# --------------------------------------------------------------------------

class Counter:
    """The instructions between the marks of paths_count, without those of the measurement itself."""

    def __init__(self):
        self.nothing = self.between_marks(["nothing"])

    def __call__(self, words):
        return self.between_marks(words) - self.nothing


class NativeCounter(Counter):
    """By callgrind."""

    # The C library copies memory in ways that depend on the processor.  This one all have.
    PLAIN_COPY = "glibc.cpu.hwcaps=-AVX2,-AVX_Fast_Unaligned_Load,-ERMS"

    def between_marks(self, words):
        _, said = run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                       "--toggle-collect=paths_counted", program(NATIVE_BUILD, "paths_count"), *words],
                      env=dict(os.environ, GLIBC_TUNABLES=self.PLAIN_COPY))
        collected = re.search(r"^==\d+== Collected : (\d+)$", said, re.M)
        if not collected:
            raise Failure("callgrind has counted nothing for paths_count " + " ".join(words))
        return int(collected[1])


class MipsCounter(Counter):
    """By a plugin of QEMU's.  Marks are addresses there, the same in every run."""

    def __init__(self):
        self.path = program(MIPS_BUILD, "paths_count")
        symbols, _ = run(["mips-linux-gnu-nm", self.path])
        marks = {name: "0x" + address
                 for address, name in re.findall(r"^(\w+) T (paths_\w+)$", symbols, re.M)}
        self.plugin = "%s,begin=%s,end=%s" % (program(NATIVE_BUILD, "paths_instructions.so"),
                                              marks["paths_counted"], marks["paths_over"])
        super().__init__()

    def between_marks(self, words):
        _, said = run(["qemu-mips", "-L", MIPS_LIBRARIES, "-plugin", self.plugin, self.path, *words])
        if not said.strip().isdecimal():
            raise Failure("QEMU has counted nothing for paths_count " + " ".join(words))
        return int(said)


def counters():
    return {NATIVE: NativeCounter(), MIPS: MipsCounter()}


def listed(*words):
    """The names that paths_count lists."""
    said, _ = run([program(NATIVE_BUILD, "paths_count"), *words])
    return [line.split()[0] for line in said.splitlines()]


# --------------------------------------------------------------------------
# Times
# --------------------------------------------------------------------------

def timed(*options):
    """The runs of paths_bench, by name, each repetition of it."""
    said, _ = run([program(NATIVE_BUILD, "paths_bench"), "--benchmark_format=json",
                   "--benchmark_enable_random_interleaving=true", *options])
    runs = {}
    for entry in json.loads(said)["benchmarks"]:
        if entry.get("error_occurred"):
            raise Failure("%s: %s" % (entry["name"], entry["error_message"]))
        if entry["run_type"] == "iteration":
            runs.setdefault(entry["run_name"], []).append(entry)
    return runs


# --------------------------------------------------------------------------
# Tables
# --------------------------------------------------------------------------

def table(head, rows):
    """Rows of texts, the first column to the left and the others to the right."""
    rows = [[str(cell) for cell in row] for row in rows]
    widths = [max(len(row[i]) for row in [head, *rows]) for i in range(len(head))]

    def line(cells):
        first, *others = zip(cells, widths)
        return "| %s |" % " | ".join([first[0].ljust(first[1]),
                                      *(text.rjust(width) for text, width in others)])

    rule = "| %s |" % " | ".join(["-" * widths[0], *("-" * (width - 1) + ":" for width in widths[1:])])
    return "\n".join([line(head), rule, *(line(row) for row in rows)])
