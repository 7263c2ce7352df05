"""Builds the programs that a benchmark runs, and says meanwhile how far it is."""

import os
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

PROGRAMS = {"join_probe": "bench", "report_load": "bench", "bare_loop": "bench",
            "mc_node": "node", "mcctl": "tools"}


class Failure(Exception):
    """Ends the run with one line and a non-zero status."""


class Progress:
    """One line on a terminal that says what is going on."""

    def __init__(self):
        self.wanted = sys.stderr.isatty()
        self.last = 0.0

    def say(self, text, hurry=True):
        now = time.monotonic()
        if self.wanted and (hurry or now - self.last > 0.1):
            self.last = now
            sys.stderr.write("\r\x1b[K" + text)
            sys.stderr.flush()

    def erase(self):
        if self.wanted:
            sys.stderr.write("\r\x1b[K")
            sys.stderr.flush()


def run_build_step(words, title, progress):
    process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True, process_group=0)
    said = []
    try:
        for line in process.stdout:
            said.append(line)
            progress.say("%s: %s" % (title, line.strip()[:60]), hurry=False)
        if process.wait():
            progress.erase()
            sys.stderr.write("".join(said))
            raise Failure(title + ": failed")
    finally:
        if process.poll() is None:  # interrupted: the compilers end with it
            os.killpg(process.pid, signal.SIGTERM)
            process.wait()


def build(wanted, progress):
    directory = os.path.join(ROOT, "build", "bench")
    run_build_step([os.path.join(ROOT, "scripts", "install-packages"), "live"],
                   "Installing what is missing", progress)
    run_build_step(["cmake", "-S", ROOT, "-B", directory, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                    "-DMC_BUILD_NODE=ON", "-DMC_BUILD_BENCH=ON"], "Configuring", progress)
    run_build_step(["cmake", "--build", directory, "--parallel", str(os.cpu_count()),
                    "--target", *wanted], "Building", progress)
    return directory


def find_programs(directory, wanted):
    paths = {name: os.path.join(directory, folder, name) for name, folder in PROGRAMS.items()}
    for name in wanted:
        if not os.access(paths[name], os.X_OK):
            raise Failure("no %s in %s" % (name, os.path.dirname(paths[name])))
    return paths
