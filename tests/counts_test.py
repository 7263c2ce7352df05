#!/usr/bin/env python3
"""scripts/counts: a figure that has grown is named, one that has shrunk is not."""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "counts"
loader = importlib.machinery.SourceFileLoader("counts", str(SCRIPT))
counts = importlib.util.module_from_spec(importlib.util.spec_from_loader("counts", loader))
loader.exec_module(counts)


def figures(report=400, text=50_000, stack=4_000):
    return {"instructions": {"report": {"x86-64": report}}, "sections": {".text": text},
            "stacks": {"tMCCmd": stack}}


def complaints(measured, table):
    with contextlib.redirect_stdout(io.StringIO()):
        return counts.compare(measured, table)


class Compare(unittest.TestCase):
    def test_what_has_grown_by_more_than_two_percent_is_named(self):
        self.assertEqual(complaints(figures(report=409), figures()),
                         ["instructions of report, x86-64: 409, in the table 400: +2.2%"])
        self.assertEqual(complaints(figures(text=51_001), figures()),
                         ["bytes of .text, MIPS: 51001, in the table 50000: +2.0%"])
        self.assertEqual(complaints(figures(stack=4_100), figures()),
                         ["stack of tMCCmd, MIPS: 4100, in the table 4000: +2.5%"])

    def test_two_percent_and_less_pass(self):
        self.assertEqual(complaints(figures(report=408, text=51_000), figures()), [])
        self.assertEqual(complaints(figures(report=300, text=40_000, stack=0), figures()), [])

    def test_a_figure_is_in_both_or_it_is_named(self):
        table = figures()
        table["instructions"]["query"] = {"x86-64": 800}
        self.assertEqual(complaints(figures(), table),
                         ["instructions of query, x86-64: in the table, but not measured"])
        self.assertEqual(complaints(table, figures()),
                         ["instructions of query, x86-64: not in the table"])


if __name__ == "__main__":
    unittest.main()
