#!/usr/bin/env python3
"""Each relative link of README.md, CONTRIBUTING.md and docs/*.md leads to a file, and to a heading in it where it
names one; each page of docs/ is in its index.

    doc_links_test.py
"""
import pathlib
import re
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
FENCED = re.compile(r"^```.*?^```", re.M | re.S)
INDENTED = re.compile(r"^    .*$", re.M)
CODE = re.compile(r"`[^`\n]+`")
HEADING = re.compile(r"^#{1,6} (.+?)\s*$", re.M)


def links_of(text):
    """Where a page leads to; what stands in code is no link."""
    prose = INDENTED.sub("", FENCED.sub("", text))
    # A link's words may be code, its target is none.
    return LINK.findall(CODE.sub("code", prose))


def anchors_of(text):
    """The anchors that GitHub gives the headings of a page."""
    anchors = set()
    for heading in HEADING.findall(FENCED.sub("", text)):
        words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        anchor = plain = re.sub(r"[^\w\- ]", "", words).replace(" ", "-")
        number = 0
        while anchor in anchors:
            number += 1
            anchor = "%s-%d" % (plain, number)
        anchors.add(anchor)
    return anchors


def dead_links(page):
    """The links of a page that lead nowhere."""
    dead = []
    for link in links_of(page.read_text()):
        if re.match(r"\w+:", link):
            continue
        name, _, anchor = link.partition("#")
        target = page.parent / name if name else page
        if not target.exists() or anchor and anchor not in anchors_of(target.read_text()):
            dead.append(link)
    return dead


def not_in_index(folder):
    """The pages of a folder that its index.md does not lead to."""
    listed = {link.partition("#")[0] for link in links_of((folder / "index.md").read_text())}
    return sorted(page.name for page in folder.glob("*.md") if page.name not in listed | {"index.md"})


class ThePages(unittest.TestCase):
    def test_lead_somewhere(self):
        pages = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").glob("*.md"))]
        self.assertEqual({page.name: dead for page in pages if (dead := dead_links(page))}, {})

    def test_are_all_in_the_index(self):
        self.assertEqual(not_in_index(ROOT / "docs"), [])

    def test_are_reached_from_the_readme(self):
        self.assertIn("docs/index.md", links_of((ROOT / "README.md").read_text()))


class TheCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def page(self, name, text):
        (self.folder / name).write_text(text)
        return self.folder / name

    def test_finds_a_link_to_no_file_and_one_to_no_heading(self):
        self.page("b.md", "# Two `words`, and more\n")
        page = self.page("a.md", "[b](b.md) [b](b.md#two-words-and-more) [b](b.md#three) [c](c.md) [d](#here)\n")
        self.assertEqual(dead_links(page), ["b.md#three", "c.md", "#here"])

    def test_follows_a_link_whose_words_are_code_and_none_that_is_code(self):
        page = self.page("a.md", "[`b`](b.md), `[c](c.md)`\n\n    [d](d.md)\n\n```\n[e](e.md)\n```\n")
        self.assertEqual(dead_links(page), ["b.md"])

    def test_leaves_the_addresses_of_others_alone(self):
        self.assertEqual(dead_links(self.page("a.md", "[x](https://example.org/x#y)\n")), [])

    def test_counts_headings_of_the_same_words(self):
        self.page("b.md", "# One\n\n## One\n")
        self.assertEqual(dead_links(self.page("a.md", "[b](b.md#one-1) [b](b.md#one-2)\n")), ["b.md#one-2"])

    def test_finds_a_page_that_the_index_leaves_out(self):
        for name in ("a.md", "b.md"):
            self.page(name, "")
        self.page("index.md", "[a](a.md#top)\n")
        self.assertEqual(not_in_index(self.folder), ["b.md"])


if __name__ == "__main__":
    unittest.main()
