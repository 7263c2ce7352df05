#!/usr/bin/env python3
"""docs/console.md has every text of the library and its meaning; scripts/console-page on small trees.

    console_page_test.py
"""
import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCRIPT = ROOT / "scripts" / "console-page"

SOURCE = r"""
void a() {
    // std::printf("a comment\r\n");
    if (mc::igmp_says(mc::kErrors)) std::printf("\r\nbad %d\r\n", 1);
}
template <class Side> void b() {
    if (!Side::says(kFlow)) return;
    std::puts("b is in");
}
void c() { std::puts("always here"); }
int d() { return mld_checked_line(e(), "e fails"); }
"""
NOTES = r"""
All texts.

== Topic

@\r\nbad %d\r\n
It is bad.

@b is in
B is in.

@always here
shown: always
It is here.

@e fails
E failed.
"""


def run(mode, source=SOURCE, notes=NOTES, page=None):
    """Status, lines and page of the script on a tree with one source."""
    with tempfile.TemporaryDirectory() as name:
        tree = pathlib.Path(name)
        for folder in ("docs", "igmp"):
            (tree / folder).mkdir()
        (tree / "igmp/a.cpp").write_text(source)
        (tree / "docs/console-notes.txt").write_text(notes)
        (tree / "docs/console.md").write_text(page or "")
        done = subprocess.run([SCRIPT, mode, name], capture_output=True, text=True)
        return done.returncode, (done.stdout + done.stderr).splitlines(), (tree / "docs/console.md").read_text()


def complaints(source=SOURCE, notes=NOTES):
    status, lines, _ = run("", source, notes)
    assert (status != 0) == (lines != ["%d texts" % 4]), lines
    return lines


class ThePage(unittest.TestCase):
    def test_has_all_texts_of_the_library_and_is_what_the_script_makes(self):
        done = subprocess.run([SCRIPT, "--check"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


class TheScript(unittest.TestCase):
    def test_tells_text_mask_file_and_meaning(self):
        status, _, page = run("")
        self.assertEqual(status, 0)
        self.assertIn("- `\\r\\nbad %d\\r\\n`  \n"
                      "  *errors (4) of `mc_debug`; [igmp/a.cpp](../igmp/a.cpp)*  \n"
                      "  It is bad.\n", page)
        self.assertIn("`b is in`  \n  *flow (1) of `mc_debug` or `mld_debug`;", page)
        self.assertIn("`always here`  \n  *always;", page)
        self.assertIn("`e fails`  \n  *errors (4) of `mld_debug`;", page)
        self.assertNotIn("comment", page)

    def test_complains_of_a_text_without_a_note(self):
        self.assertEqual(complaints(notes=NOTES.replace("@b is in\nB is in.\n", "")),
                         ["docs/console-notes.txt: no note for a text of igmp/a.cpp: b is in"])

    def test_complains_of_a_note_without_a_text(self):
        self.assertIn("the library prints no such text: b is in",
                      complaints(source=SOURCE.replace("b is in", "b is out"))[0])

    def test_complains_of_a_note_without_a_meaning(self):
        self.assertIn("no meaning: b is in", complaints(notes=NOTES.replace("B is in.", ""))[0])

    def test_complains_of_a_note_that_stands_twice(self):
        self.assertIn("stands twice", complaints(notes=NOTES + "\n@b is in\nAgain.\n")[0])

    def test_asks_for_the_mask_where_the_source_does_not_tell_it(self):
        self.assertIn("'shown' is missing: always here",
                      complaints(notes=NOTES.replace("shown: always\n", ""))[0])

    def test_takes_the_mask_from_the_source_where_that_tells_it(self):
        self.assertIn("'shown' says it again: b is in",
                      complaints(notes=NOTES.replace("@b is in\n", "@b is in\nshown: always\n"))[0])

    def test_complains_of_a_text_that_it_does_not_see_printed(self):
        self.assertIn("a text that no known call prints", complaints(SOURCE + 'auto f = say("x\\r\\n");\n')[0])

    def test_complains_of_another_way_to_print(self):
        self.assertIn("prints by a call that is not looked at",
                      complaints(SOURCE + 'void f() { std::fputs("f is in", stdout); }\n')[0])

    def test_complains_of_a_page_that_it_did_not_make(self):
        page = run("")[2]
        self.assertEqual(run("--check", page=page)[:2], (0, ["4 texts"]))
        self.assertIn("docs/console.md is not what scripts/console-page makes",
                      run("--check", page=page + "more\n")[1][0])


if __name__ == "__main__":
    unittest.main()
