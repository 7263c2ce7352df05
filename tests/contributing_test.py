#!/usr/bin/env python3
"""CONTRIBUTING.md is about this tree: its rooms are the folders, its tools the scripts, its files are there; and what
its recipes want in a place that no build asks for is there.

    contributing_test.py
"""
import importlib.machinery
import importlib.util
import json
import os
import pathlib
import re
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = (ROOT / "CONTRIBUTING.md").read_text(encoding="utf-8")
# What is made, see .gitignore.
MADE = ("build*", "out", ".*", "__pycache__")
SOURCES = (".h", ".c", ".cpp", ".py")
# Tasks of a core that has none: there is nothing to see.
DO_NOTHING = {"igmp_task_init", "mld_task_init"}


def section(title, page=PAGE):
    """The text below a heading, up to the next one of its level."""
    level = re.search(rf"^(#+) {re.escape(title)}$", page, re.M)
    return re.split(rf"^#{{1,{len(level[1])}}} ", page[level.end():], maxsplit=1, flags=re.M)[0]


def rooms_of(page):
    """The folders that the first column of the table names."""
    return {name.rstrip("/") for row in re.findall(r"^\| (`[^|]*) \|", section("The rooms", page), re.M)
            for name in re.findall(r"`([^`]+)`", row)}


def layers():
    """scripts/check-layers, as a module."""
    loader = importlib.machinery.SourceFileLoader("check_layers", str(ROOT / "scripts/check-layers"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


def folders(root):
    """The folders at the top that something is kept in."""
    return {path.name for path in root.iterdir() if path.is_dir() and not any(map(path.match, MADE))
            and not all(found.is_dir() or found.parent.name == "__pycache__" for found in path.rglob("*"))}


def programs(root):
    """What scripts/ and bench/ offer: files that can be run, by their names from the root."""
    return {path.relative_to(root).as_posix() for folder in ("scripts", "bench") for path in (root / folder).rglob("*")
            if path.is_file() and os.access(path, os.X_OK) and path.suffix not in SOURCES}


def read(*names):
    return "".join(path.read_text(encoding="utf-8") for name in names for path in sorted(ROOT.glob(name)))


class TheRooms(unittest.TestCase):
    def test_are_the_folders_of_the_tree(self):
        self.assertEqual({room.partition("/")[0] for room in rooms_of(PAGE)}, folders(ROOT))

    def test_are_there(self):
        self.assertEqual([room for room in sorted(rooms_of(PAGE)) if not (ROOT / room).is_dir()], [])

    def test_have_a_row_for_each_room_of_the_law(self):
        check_layers = layers()
        rooms = {room for room in check_layers.ROOMS if room not in check_layers.FLOORS}
        self.assertEqual(rooms - rooms_of(PAGE), set())


class TheTools(unittest.TestCase):
    def test_are_all_that_can_be_run(self):
        named = set(re.findall(r"\b((?:scripts|bench)/[\w/-]+)", section("All tools")))
        self.assertEqual(named, programs(ROOT))

    def test_name_the_rounds(self):
        every = re.search(r"^every=\((.*)\)$", read("scripts/test"), re.M)[1]
        self.assertIn("some of %s\n" % every.replace(" ", ", "), section("All tools"))

    def test_name_the_presets(self):
        presets = json.loads(read("CMakePresets.json"))["configurePresets"]
        named = re.search(r"`cmake --preset ([\w|-]+)`", section("All tools"))[1]
        self.assertEqual(set(named.split("|")), {preset["name"] for preset in presets if not preset.get("hidden")})


class TheRecipes(unittest.TestCase):
    def test_name_files_that_are_there(self):
        files = set(re.findall(r"`([\w.-]+/[\w./-]+)`", PAGE)) - programs(ROOT)
        self.assertEqual([name for name in sorted(files) if not (ROOT / name).exists() and name[:6] != "build/"], [])

    def test_of_a_call_reach_the_fuzzer_and_a_test_of_the_core(self):
        calls = set(re.findall(r"^int32_t (\w+)\(", read("platform/protocol_core.h"), re.M))
        fuzzed = set(re.findall(r"\w+", read("tests/fuzz/core.cpp")))
        tested = set(re.findall(r"\w+", read("tests/node_core*_test.cpp", "tests/support/core_fixture.h")))
        self.assertEqual(calls - fuzzed, set(), "tests/fuzz/core.cpp does not call it")
        self.assertEqual(calls - tested - DO_NOTHING, set(), "no test of the multicast core calls it")

    def test_of_a_command_reach_the_words_that_fuzzers_know(self):
        commands = re.findall(r"^## (.*)\n\n.* Code \d+,(?:.*\n)*?```text\n(.*)\n```$", read("docs/commands.md"), re.M)
        self.assertTrue(commands)
        known = re.findall(r'^"(.+)"$', read("tests/fuzz/words.dict"), re.M)
        words = {word for path, line in commands for word in path.split() + re.findall(r"--[\w-]+", line)}
        # "--word0" and its like are known as "--word".
        self.assertEqual({word for word in words if word not in known and word.rstrip("01234") not in known}, set(),
                         "missing from tests/fuzz/words.dict")

    def test_of_a_command_reach_the_codes_that_streams_draw(self):
        last = max(map(int, re.findall(r" Code (\d+), record of", read("docs/commands.md"))))
        drawn = int(re.search(r"STREAM_CODES = (\d+)", read("tests/streams/steps.h"))[1])
        self.assertLess(last, drawn, "STREAM_CODES of tests/streams/steps.h")


class TheCheck(unittest.TestCase):
    PAGE = "## The rooms\n\n| folder | what |\n| --- | --- |\n| `a/`, `b/c/` | two |\n\n## Recipes\n\n| `d/` | none |\n"

    def test_takes_the_folders_of_the_first_column_of_the_rooms_alone(self):
        self.assertEqual(rooms_of(self.PAGE), {"a", "b/c"})

    def test_takes_programs_and_no_modules_for_tools(self):
        with tempfile.TemporaryDirectory() as name:
            root = pathlib.Path(name)
            for file, mode in (("scripts/go", 0o755), ("scripts/go.py", 0o755), ("bench/notes", 0o644)):
                (root / file).parent.mkdir(exist_ok=True)
                (root / file).touch(mode)
            self.assertEqual(programs(root), {"scripts/go"})

    def test_takes_folders_that_hold_something_for_rooms(self):
        with tempfile.TemporaryDirectory() as name:
            root = pathlib.Path(name)
            for file in ("room/source.c", "build-mine/source.c", "gone/__pycache__/module.pyc", ".hidden/file"):
                (root / file).parent.mkdir(parents=True)
                (root / file).touch()
            self.assertEqual(folders(root), {"room"})


if __name__ == "__main__":
    unittest.main()
