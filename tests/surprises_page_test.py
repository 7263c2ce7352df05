#!/usr/bin/env python3
"""docs/surprises.md quotes every comment of the sources that says "on purpose", and nothing that is not there.

    surprises_page_test.py
"""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
ROOMS = ("adapt", "command", "common", "igmp", "mld", "packet", "platform", "settings", "vlan", "node", "tools")
COMMENT = re.compile(r"(?:^[ \t]*//[^\n]*\n)+|//[^\n]*|/\*.*?\*/", re.M | re.S)
MARKS = re.compile(r"^\s*(//|/\*+|\*/|\*)|\*/\s*$")
QUOTE = re.compile(r'\[([^\]]+)\]\(\.\./[^)]+\) "([^"]+)"')


def comments_of(source):
    """Each comment in one line, without its marks."""
    for found in COMMENT.finditer(source):
        yield " ".join(" ".join(MARKS.sub("", line) for line in found.group().splitlines()).split())


def quotes_of(page):
    return [(path, quote) for path, quote in QUOTE.findall(" ".join(page.split()))]


def not_quoted(comments, quotes):
    """The comments on a purpose that no quote stands for: {file: [comment]} and [(file, quote)] in."""
    return [(path, comment) for path, texts in comments.items() for comment in texts
            if "on purpose" in comment and not any(at == path and quote in comment for at, quote in quotes)]


def not_there(comments, quotes):
    return [(path, quote) for path, quote in quotes
            if not any(quote in comment for comment in comments.get(path, []))]


def comments_of_tree(root):
    files = [path for room in ROOMS for path in sorted((root / room).rglob("*.[ch]*"))]
    return {str(path.relative_to(root)): list(comments_of(path.read_text())) for path in files}


class ThePage(unittest.TestCase):
    def setUp(self):
        self.comments = comments_of_tree(ROOT)
        self.quotes = quotes_of((ROOT / "docs/surprises.md").read_text())

    def test_quotes_each_comment_on_what_is_kept_on_purpose(self):
        self.assertEqual(not_quoted(self.comments, self.quotes), [])

    def test_quotes_nothing_that_is_not_there(self):
        self.assertEqual(not_there(self.comments, self.quotes), [])
        self.assertGreater(len(self.quotes), 30)


class TheCheck(unittest.TestCase):
    COMMENTS = {"a.h": list(comments_of("int a;  // odd, kept\n// One that goes on\n    // and on, on purpose.\n"
                                        "int b;\n/*\n * Two, on purpose.\n */\n"))}

    def test_reads_comments_of_both_kinds_over_lines(self):
        self.assertEqual(self.COMMENTS["a.h"], ["odd, kept", "One that goes on and on, on purpose.",
                                                "Two, on purpose."])

    def test_finds_what_is_not_quoted_and_what_is_not_there(self):
        quotes = quotes_of('Where: [a.h](../a.h) "goes\non and on"; [a.h](../a.h) "Three"')
        self.assertEqual(not_quoted(self.COMMENTS, quotes), [("a.h", "Two, on purpose.")])
        self.assertEqual(not_there(self.COMMENTS, quotes), [("a.h", "Three")])


if __name__ == "__main__":
    unittest.main()
