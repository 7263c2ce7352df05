#!/usr/bin/env python3
"""scripts/coverage: what is below its floor is named, with the lines that no test reached."""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "coverage"
loader = importlib.machinery.SourceFileLoader("coverage", str(SCRIPT))
coverage = importlib.util.module_from_spec(importlib.util.spec_from_loader("coverage", loader))
loader.exec_module(coverage)


def line(number, count=1, branches=()):
    return {"line_number": number, "count": count, "branches": [{"count": taken} for taken in branches]}


def shown(**files):
    report = {"files": [{"file": name.replace("__", "/") + ".cpp", "lines": lines}
                        for name, lines in files.items()]}
    with contextlib.redirect_stdout(io.StringIO()) as out:
        complaints = coverage.show(coverage.read(report))
    return complaints, out.getvalue()


REACHED = [line(number, branches=(1, 1)) for number in range(1, 101)]


class Floors(unittest.TestCase):
    def test_what_is_reached_passes(self):
        complaints, table = shown(vlan__rules=REACHED, node__core__input=REACHED)
        self.assertEqual(complaints, [])
        self.assertIn("library                  100 of   100  100.0 %     200 of   200  100.0 %", table)

    def test_lines_that_no_test_reaches_are_named(self):
        missed = [line(number, count=0) for number in (101, 102, 103, 107)]
        complaints, table = shown(vlan__rules=REACHED + missed, igmp__receive=REACHED, node__main=REACHED)
        self.assertEqual(complaints, ["library: 98.04% of the lines, not 99%"])
        self.assertIn("vlan/rules.cpp:\n    lines 101-103 107\n", table)
        self.assertNotIn("igmp/receive.cpp", table)

    def test_branches_count_in_the_library_and_not_in_the_node(self):
        half = [line(number, branches=(1, 0)) for number in (101, 102, 103, 104, 105)]
        complaints, table = shown(vlan__rules=REACHED + half, node__main=REACHED + half)
        self.assertEqual(complaints, ["library: 97.62% of the branches, not 98%"])
        self.assertIn("vlan/rules.cpp:\n    branches of 101-105\n", table)
        self.assertNotIn("node/main.cpp", table)

    def test_of_the_node_nine_lines_in_ten_are_enough(self):
        missed = [line(number, count=0) for number in range(101, 112)]
        self.assertEqual(shown(vlan__rules=REACHED, node__main=REACHED + missed)[0], [])
        missed.append(line(112, count=0))
        self.assertEqual(shown(vlan__rules=REACHED, node__main=REACHED + missed)[0],
                         ["node: 89.29% of the lines, not 90%"])

    def test_counts_of_nothing_at_all_do_not_pass(self):
        self.assertEqual(shown(vlan__rules=REACHED)[0], ["node: nothing was counted"])


if __name__ == "__main__":
    unittest.main()
