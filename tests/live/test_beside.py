"""bench/beside: its table is made, and says who is better, equal or worse."""

import json
import os
import subprocess
import sys
import unittest

from bench import verdicts
from live_test import ROOT
import live_test

BEFORE_IT_HANGS = 240        # seconds; a busy machine is slow


def build():
    """The directory that the programs are in."""
    return os.path.dirname(os.path.dirname(live_test.programs[0]))


def is_slowed_down():
    """Whether they are built to watch themselves, so that their times say nothing."""
    with open(os.path.join(build(), "CMakeCache.txt")) as cache:
        return any(line.startswith("MC_SANITIZE:") and line.strip().partition("=")[2] for line in cache)


class Beside(unittest.TestCase):
    def test_a_quick_run_fills_every_row(self):
        if is_slowed_down():
            self.skipTest("a build with sanitizers is not timed")
        done = subprocess.run([sys.executable, os.path.join(ROOT, "bench", "beside"), "--quick", "--json",
                               "--build", build()], capture_output=True, text=True, timeout=BEFORE_IT_HANGS)
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = json.loads(done.stdout)["rows"]
        self.assertEqual([row["measure"] for row in rows], [row.title for row in verdicts.ROWS])
        for row in rows:
            with self.subTest(measure=row["measure"]):
                self.assertIsInstance(row["kernel"], (int, float))
                self.assertIsInstance(row["node"], (int, float))
                self.assertIn(row["verdict"], ("better", "equal", "worse"))


class Verdicts(unittest.TestCase):
    def verdict(self, title, kernel, node):
        rows = verdicts.table({title: kernel}, {title: node})
        return next(row for row in rows if row["measure"] == title)["verdict"]

    def test_a_shorter_time_is_better(self):
        self.assertEqual(self.verdict("leave, IGMPv2", [2.0, 2.0, 9.0], [1.0, 1.0, 9.0]), "better")
        self.assertEqual(self.verdict("leave, IGMPv2", [1.0], [2.0]), "worse")

    def test_times_that_differ_by_the_machine_are_equal(self):
        self.assertEqual(self.verdict("join, IGMPv2", [0.010], [0.012]), "equal")
        self.assertEqual(self.verdict("leave, IGMPv2", [1.00], [1.05]), "equal")

    def test_the_worst_counts_where_the_row_says_so(self):
        self.assertEqual(self.verdict("join, worst", [0.01, 0.02], [0.01, 0.10]), "worse")

    def test_more_joins_that_arrive_are_better_if_they_are_enough_to_tell(self):
        row = "joins that arrive at the router, 30 % lost"
        self.assertEqual(self.verdict(row, 60 * [True] + 40 * [False], 100 * [True]), "better")
        self.assertEqual(self.verdict(row, 100 * [True], 60 * [True] + 40 * [False]), "worse")
        self.assertEqual(self.verdict(row, 7 * [True] + [False], 8 * [True]), "equal")

    def test_fewer_datagrams_that_nobody_asked_for_are_better(self):
        row = "datagrams of a source not asked for, IGMPv3"
        self.assertEqual(self.verdict(row, [1.0], [0.0]), "better")
        self.assertEqual(self.verdict(row, [0.0], [1.0]), "worse")
        self.assertEqual(self.verdict(row, [0.0], [0.0]), "equal")

    def test_what_was_not_measured_has_no_verdict(self):
        self.assertEqual(self.verdict("join, IGMPv2", [0.01], []), "-")

    def test_a_table_for_a_document(self):
        lines = verdicts.markdown(verdicts.table({}, {"join, IGMPv2": [0.0123]})).splitlines()
        self.assertIn("| join, IGMPv2 | ms | - | 12.3 | - |", lines)
