#!/usr/bin/env python3
"""Each command line of the docs runs as it stands, names what is there, or says why it is not run.

    doc_commands_test.py BUILD_DIR [UNITTEST ARGUMENT ...]

Needs namespaces, of root or of a user; without them the status is 77.
"""
import concurrent.futures
import contextlib
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/support"))

from doc_pages import Unclear, read_page            # noqa: E402
from doc_place import PROGRAM_FOLDERS, Place, entrance  # noqa: E402
from doc_run import Report, hold_names, run_page    # noqa: E402

AT_A_TIME = 4

build, way_in = None, None
left_out = []


def pages():
    found = [page for pattern in ("*.md", "docs/*.md", "*/README.md", "*/*/README.md") for page in ROOT.glob(pattern)]
    names = {page.relative_to(ROOT) for page in found}
    return sorted(name for name in names if name.parts[0] not in ("build", "out"))


def find(program):
    return shutil.which(program, path=os.pathsep.join(str(build / folder) for folder in PROGRAM_FOLDERS))


def tried(page, text, source):
    """What there is to say of a page, in a tree."""
    report = Report(page)
    try:
        blocks = read_page(text)
    except Unclear as problem:
        report.failures.append("%s:%s" % (page, problem))
        return report
    hold_names(blocks, source, find, report)
    if any(block.output_of or any(not command.not_run for command in block.commands) for block in blocks):
        with contextlib.closing(Place(source, build, way_in)) as place:
            run_page(blocks, place, report)
    return report


class ThePages(unittest.TestCase):
    def test_have_commands_that_run_as_they_stand(self):
        # Several at a time, for much of it is waiting.
        with concurrent.futures.ThreadPoolExecutor(AT_A_TIME) as pool:
            reports = list(pool.map(lambda page: tried(page, (ROOT / page).read_text(encoding="utf-8"), ROOT), pages()))
        for report in reports:
            left_out.extend(report.left_out)
            with self.subTest(page=str(report.page)):
                self.assertEqual(report.failures, [], "\n".join(report.failures))


class TheCheck(unittest.TestCase):
    """Small pages over a tree that has nothing but a script or two."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        (self.tree / "scripts").mkdir()
        self.script("greet", "echo hello $1", "# --loud: as loud as may be")

    def script(self, name, *lines):
        path = self.tree / "scripts" / name
        path.write_text("\n".join(["#!/bin/sh", *lines]) + "\n")
        path.chmod(0o755)

    def report(self, *lines):
        return tried("page.md", "\n".join(lines) + "\n", self.tree)

    def refused(self, *lines):
        """What the only failure of a page says."""
        failures = self.report(*lines).failures
        self.assertEqual(len(failures), 1, failures)
        return failures[0]

    def passed(self, *lines):
        report = self.report(*lines)
        self.assertEqual(report.failures, [])
        return report

    def test_finds_a_script_that_is_gone(self):
        self.assertIn("page.md:3: scripts/gone is no program",
                      self.report("Now", "", "    scripts/gone").failures[0])
        self.assertIn("page.md:3: scripts/gone is no program",
                      self.refused("<!-- not run: long -->", "", "    scripts/gone"))
        (self.tree / "scripts/greet").chmod(0o644)
        self.assertIn("scripts/greet is no program", self.refused("<!-- not run: long -->", "", "    scripts/greet"))

    def test_finds_a_command_that_fails(self):
        self.script("fail", "echo what a pity >&2", "exit 3")
        self.assertIn("page.md:2: status 3: what a pity", self.refused("    scripts/greet", "    scripts/fail"))

    def test_finds_an_option_that_is_gone_whether_the_line_is_run_or_not(self):
        self.assertIn("mc_node has no --quietly",
                      self.report("    mc_node replay --quietly scenario/home").failures[0])
        for line in ("mc_node live --bridge br0 --quietly", "mcctl vlan add --colour 7", "mcstat --colour",
                     "scripts/greet --quietly", "scripts/greet    # --quietly: without a word"):
            self.assertIn("has no --", self.refused("<!-- not run: long -->", "", "    " + line))
        self.passed("<!-- not run: long -->", "", "    scripts/greet --loud", "    mcctl vlan add --port 1",
                    "    mc_node live --bridge br0")

    def test_finds_a_preset_a_target_and_a_setting_that_are_gone(self):
        (self.tree / "CMakePresets.json").write_text('{"name": "native"}')
        (self.tree / "CMakeLists.txt").write_text("option(MC_NEW) add_library(mc_hal)")
        for line in ("cmake --preset old", "cmake --build b --target mc_old", "cmake -S . -B b -DMC_OLD=ON"):
            self.assertIn("there is no", self.refused("<!-- not run: long -->", "", "    " + line))
        self.passed("<!-- not run: long -->", "", "    cmake --preset native -DMC_NEW=ON",
                    "    cmake --build b --target mc_hal")

    def test_wants_to_know_what_a_block_is(self):
        self.assertIn("page.md:1: neither commands nor", self.refused("    a drawing"))
        self.assertIn("page.md:2: neither commands nor", self.refused("```", "a drawing", "```"))
        self.assertIn("page.md:2: no command that is known", self.refused("    scripts/greet", "    hello"))
        self.assertIn("page.md:2: no command that is known", self.refused("```sh", "a drawing", "```"))
        self.passed("<!-- text -->", "", "    a drawing", "", "<!-- output -->", "", "    hello",
                    "```text", "don't", "```", "- An item", "", "    and more words of it")

    def test_takes_no_marker_that_marks_nothing(self):
        for marker in ("output", "text", "file: x", "not run: long", "output of: scripts/greet"):
            self.assertIn("page.md:1: the marker stands before no block",
                          self.refused("<!-- %s -->" % marker, "", "Words.", "", "    scripts/greet"))
            self.assertIn("page.md:1: the marker stands before no block", self.refused("<!-- %s -->" % marker))
        self.assertIn("page.md:1: no marker that is known", self.refused("<!-- ouput -->", "", "    hello"))
        self.assertIn("page.md:3: no command begins with scripts/gone",
                      self.refused("<!-- not run (scripts/gone): long -->", "", "    scripts/greet"))

    def test_does_not_let_commands_pass_for_text(self):
        self.assertIn("page.md:3: commands that are said to be something else",
                      self.refused("<!-- text -->", "", "    scripts/greet", "    scripts/gone"))

    def test_does_not_run_what_a_marker_keeps_from_it_and_says_so(self):
        self.script("fail", "exit 1")
        report = self.passed("<!-- not run (scripts/fail, mcctl): no need -->", "", "    scripts/greet",
                             "    scripts/fail x", "    mcctl show groups")
        self.assertEqual(report.left_out, ["page.md:4: scripts/fail x: no need",
                                           "page.md:5: mcctl show groups: no need"])

    def test_leaves_out_what_needs_a_bridge_where_none_is_to_be_had(self):
        report = Report("page.md")
        with contextlib.closing(Place(self.tree, build, way_in)) as place:
            place.has_bridge = False
            run_page(read_page("    scripts/greet\n    mc_node live --bridge br0 &\n    scripts/gone\n"), place, report)
        self.assertEqual(report.failures, [])
        self.assertEqual([line.partition(": no bridge")[0] for line in report.left_out],
                         ["page.md:2: mc_node live --bridge br0 &", "page.md:3: scripts/gone"])

    def test_runs_a_page_in_one_shell(self):
        self.script("check", '[ "$(cat made)" = "hello you" ]')
        self.passed("    export NAME=you", "", "and", "", "    scripts/greet \\", "        $NAME >made    # a file",
                    "", "1. Then", "", "       scripts/check")

    def test_holds_a_session_against_what_is_printed(self):
        self.passed("```console", "$ scripts/greet you", "hello you", "$ scripts/greet", "hello", "```")
        self.assertIn("page.md:2: prints something else", self.refused("```console", "$ scripts/greet", "hallo", "```"))

    def test_holds_what_a_page_shows_against_what_is_printed(self):
        self.script("count", "seq 9")
        shown = ["    scripts/count    # to nine", "", "<!-- output of: scripts/count -->", ""]
        self.passed(*shown, "    2", "    3", "    ...", "    8")
        self.assertIn("page.md:6: scripts/count does not print: 4", self.refused(*shown, "    2", "    4"))
        self.assertIn("page.md:7: scripts/count does not print: 2", self.refused(*shown, "    3", "    ...", "    2"))
        self.assertIn("no such command was run",
                      self.report("    scripts/greet", "", *shown[2:], "    2").failures[0])

    def test_has_the_files_that_a_page_shows(self):
        self.script("check", '[ "$(cat x.conf)" = "mode proxy" ]')
        self.passed("    scripts/check", "", "<!-- file: x.conf -->", "```", "mode proxy", "```")

    def test_ends_what_does_not_end(self):
        shutil.copytree(ROOT / "scenario", self.tree / "scenario")
        self.passed("    mcstat --watch", "    mcctl console")
        self.assertIn("page.md:1: ended within 1 s, status 2", self.refused("    mcstat --watch often"))

    def test_wants_the_node_of_a_page_to_take_commands(self):
        self.assertIn("the node takes no commands: mc_node: ",
                      self.report("    mc_node replay --port 2=nothing.pcap --hold &").failures[0])

    def test_has_a_node_for_those_who_speak_with_one(self):
        shutil.copytree(ROOT / "scenario", self.tree / "scenario")
        self.passed("    mcctl fast-leave --port 2 on", "    mcctl show config", "", "Its own:", "",
                    "    mc_node replay --port 2=stb2.pcap --hold &", "    mcctl show groups >groups",
                    "    mcstat --json")

    def test_says_where_a_page_broke_off(self):
        self.script("leave", "exit 0")
        failures = self.report("    source scripts/leave", "    scripts/greet").failures
        self.assertIn("page.md:1: ended the shell", failures[0])
        self.assertIn("page.md: what follows was not run", failures[1])

    def test_leaves_tree_and_machine_alone(self):
        elsewhere = tempfile.TemporaryDirectory()
        self.addCleanup(elsewhere.cleanup)
        touched = [self.tree / "made", pathlib.Path(elsewhere.name) / "made"]
        self.script("harm", "rm -f scripts/greet", *("touch %s && exit 0" % path for path in touched), "exit 7")
        self.assertIn("status 7", self.refused("    scripts/harm"))
        self.assertEqual([path.exists() for path in (*touched, self.tree / "scripts/greet")], [False, False, True])

    def test_leaves_nothing_running(self):
        self.script("stay", "exec sleep 1000.25 &")
        self.passed("    scripts/stay")
        running = [path.read_bytes() for path in pathlib.Path("/proc").glob("[0-9]*/cmdline")]
        self.assertNotIn(b"sleep\0001000.25\0", running)


def main():
    global build, way_in
    build, way_in = pathlib.Path(sys.argv[1]).resolve(), entrance()
    if not way_in:
        print("doc_commands_test: skipped: no namespaces are to be had", file=sys.stderr)
        return 77
    result = unittest.main(argv=[sys.argv[0], *sys.argv[2:]], exit=False).result
    print("%d command lines were not run:" % len(left_out), *left_out, sep="\n")
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
