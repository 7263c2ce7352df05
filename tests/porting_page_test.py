#!/usr/bin/env python3
"""What docs/porting.md says in numbers is what the sources and the table of figures say.

    porting_page_test.py
"""
import json
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = (ROOT / "docs/porting.md").read_text(encoding="utf-8")
HEADERS = "".join(path.read_text(encoding="utf-8") for path in sorted((ROOT / "platform").glob("*.h")))


def number(text):
    return int(text.replace(",", ""))


class ThePortingPage(unittest.TestCase):
    def test_has_the_tasks_as_they_are_started_and_what_they_take(self):
        source = (ROOT / "adapt/startup.cpp").read_text(encoding="utf-8")
        started = re.findall(r'\{"(tMC\w+)", (\d+), (\d+), ', source)
        stacks = json.loads((ROOT / "bench/paths/figures.json").read_text(encoding="utf-8"))["stacks"]
        rows = re.findall(r"^\| `(tMC\w+)` \| (\d+) \| ([\d,]+) \| ([\d,]+) \|$", PAGE, re.M)
        self.assertEqual([(name, *map(number, numbers)) for name, *numbers in rows],
                         [(name, int(priority), int(asked), stacks[name]) for name, priority, asked in started])

    def test_counts_what_the_library_imports(self):
        functions = re.findall(r"^int32_t (\w+)\(", HEADERS, re.M)
        self.assertIn("%d functions" % len(set(functions)), PAGE)
        for variable in re.findall(r"^extern \w+ (\w+);", HEADERS, re.M):
            self.assertIn("`%s`" % variable, PAGE)

    def test_says_of_the_driver_and_the_tasks_layer_what_each_function_must_do(self):
        for header in ("l2_multicast", "pal"):
            text = (ROOT / "platform" / (header + ".h")).read_text(encoding="utf-8")
            rows = "".join(re.findall(r"^\| (`[^|]*) \| [SPC]", PAGE, re.M))
            for function in re.findall(r"^int32_t (\w+)\(", text, re.M):
                self.assertIn("`%s`" % function, rows)


if __name__ == "__main__":
    unittest.main()
