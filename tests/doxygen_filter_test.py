#!/usr/bin/env python3
"""scripts/doxygen-filter on a small header: which comments become descriptions.

    doxygen_filter_test.py
"""
import pathlib
import subprocess
import tempfile
import unittest

FILTER = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "doxygen-filter"

HEADER = """\
/*
 * What the file is for.
 */
#pragma once

MC_C_BEGIN

/* ---- One part ------------ */

/* Goes up. */
int up(void);
int down(void); /* goes down */
/*
 * Has two
 * lines.
 */
int both(void);

/* Stands alone. */

enum { ONE = 1, /* first */ TWO };

/* ---- Another part ---- */

struct Pair { int a; int b; }; /* two of them */

MC_C_END
"""


def filtered(header):
    with tempfile.NamedTemporaryFile("w", suffix=".h") as file:
        file.write(header)
        file.flush()
        return subprocess.run([FILTER, file.name], check=True, text=True, stdout=subprocess.PIPE).stdout.splitlines()


class TheFilter(unittest.TestCase):
    def setUp(self):
        self.lines = filtered(HEADER)

    def test_keeps_each_line_in_its_place(self):
        self.assertEqual(len(self.lines), len(HEADER.splitlines()))
        self.assertEqual(self.lines.index("int both(void);"), HEADER.splitlines().index("int both(void);"))

    def test_takes_the_first_comment_for_that_of_the_file(self):
        self.assertEqual(self.lines[0], "/** @file")
        self.assertEqual(filtered("/* Short. */\n#pragma once\n")[:2], ["/** @file", " Short. */"])

    def test_takes_a_comment_right_above_and_one_behind_for_descriptions(self):
        self.assertIn("/** Goes up. */", self.lines)
        self.assertIn("int down(void); /**< goes down */", self.lines)
        self.assertEqual(self.lines[self.lines.index(" * Has two") - 1], "/**")

    def test_leaves_a_comment_that_stands_alone(self):
        self.assertIn("/* Stands alone. */", self.lines)

    def test_makes_sections_of_lines_of_dashes_and_ends_each(self):
        first = self.lines.index("/** @name One part")
        self.assertEqual(self.lines[first + 1], "@{ */")
        self.assertIn("/** @} */ /** @name Another part", self.lines)
        self.assertEqual(self.lines[-1], "/** @} */ MC_C_END")


if __name__ == "__main__":
    unittest.main()
