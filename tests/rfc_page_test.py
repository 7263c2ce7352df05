#!/usr/bin/env python3
"""Checks docs/rfc.md: each row has its cells, and each test that it names is there.

    tests/rfc_page_test.py ROOT
"""

import pathlib
import re
import sys

GTEST = re.compile(r"^(?:TYPED_)?TEST(?:_[FP])?\(\s*(\w+)\s*,\s*(\w+)", re.M)
CELLS = 4
NODE = re.compile(r"^(does not|does|in part)\b")


def tests_of(root):
    """Names as the page has them: "Suite.Test" and "test_file.py: test_name"."""
    names = set()
    for path in root.glob("tests/**/*_test.cpp"):
        names |= {"%s.%s" % found for found in GTEST.findall(path.read_text())}
    for path in root.glob("tests/live/test_*.py"):
        found = re.findall(r"^    def (test_\w+)", path.read_text(), re.M)
        names |= {"%s: %s" % (path.name, name) for name in found} | {path.name}
    return names


def rows_of(page):
    """Each row of a table that is no heading, with its line."""
    for number, line in enumerate(page.splitlines(), 1):
        if line.startswith("| ") and not line.startswith(("| what |", "| --- |")):
            yield number, [cell.strip() for cell in line.strip("|").split("|")]


def faults(page, names):
    for number, cells in rows_of(page):
        if len(cells) != CELLS:
            yield number, "has %d cells" % len(cells)
            continue
        what, clause, node, shown = cells
        if not re.search(r"\b\d{4}\b", clause):
            yield number, "names no RFC"
        if not NODE.match(node):
            yield number, "says neither 'does' nor 'does not' nor 'in part'"
        tests = re.findall(r"`([^`]+)`", shown)
        if not tests and not node.startswith("does not"):
            yield number, "is shown by nothing"
        for test in tests:
            if test not in names:
                yield number, "names %s, which is no test" % test


def main(arguments):
    root = pathlib.Path(arguments[0])
    page = (root / "docs/rfc.md").read_text()
    found = list(faults(page, tests_of(root)))
    for number, what in found:
        print("docs/rfc.md:%d: %s" % (number, what))
    rows = len(list(rows_of(page)))
    print("%d rows, %d faults" % (rows, len(found)))
    return 1 if found or not rows else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
