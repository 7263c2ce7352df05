#!/usr/bin/env python3
"""Each command line of the docs runs as it stands, names what is there, or says why it is not run.

    doc_commands_test.py BUILD_DIR [UNITTEST ARGUMENT ...]

Needs namespaces, of root or of a user; without them the status is 77.
"""
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

build, way_in = None, None
left_out = []


def pages():
    found = [page for pattern in ("*.md", "docs/*.md", "*/README.md", "*/*/README.md") for page in ROOT.glob(pattern)]
    return sorted(page for page in set(found) if page.relative_to(ROOT).parts[0] not in ("build", "out"))


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
    if any(block.commands for block in blocks):
        place = Place(source, build, way_in)
        try:
            run_page(blocks, place, report)
        finally:
            place.close()
    return report


class ThePages(unittest.TestCase):
    def test_have_commands_that_run_as_they_stand(self):
        for page in pages():
            with self.subTest(page=str(page.relative_to(ROOT))):
                report = tried(page.relative_to(ROOT), page.read_text(encoding="utf-8"), ROOT)
                left_out.extend(report.left_out)
                self.assertEqual(report.failures, [], "\n".join(report.failures))


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
