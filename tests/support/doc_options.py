"""Whether what a command line of the docs names is there: its program or script, and its options."""

import functools
import os
import re
import subprocess

from doc_pages import PROGRAMS, simple_commands

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z0-9-]*")


@functools.lru_cache(maxsize=None)
def said(*words):
    return subprocess.run(words, check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=30).stdout


def help_of(program, words):
    """All that a program says of its options."""
    if words[0] == "mc_node" and words[1:2] and not words[1].startswith("-"):
        return said(program, words[1], "--help")
    if words[0] == "mcctl":
        return said(program, "--help") + said(program, "--reference")
    return said(program, "--help")


def without(name, line, text):
    """What a line has of options that a text does not have."""
    known = set(OPTION.findall(text))
    return ["%s has no %s" % (name, option) for option in OPTION.findall(line) if option not in known]


def complaints_of_one(words, options, tree, find):
    """Of one command; options is the part of the line that has its options."""
    name = os.path.basename(words[0]) if words[0].startswith("build/") else words[0]
    if name in PROGRAMS:
        program = find(name)
        if not program:
            return ["%s is not there" % name]
        return without(name, options, help_of(program, [name, *words[1:]]))
    if "/" in name:
        path = tree / name
        if not path.is_file() or not os.access(path, os.X_OK):
            return ["%s is no program" % name]
        return without(name, options, path.read_text())
    if name in ("cmake", "ctest"):
        return unknown_settings(words, tree)
    return []


def unknown_settings(words, tree):
    """Presets, targets and settings that the project does not have."""
    presets = (tree / "CMakePresets.json").read_text()
    lists = "".join(path.read_text() for path in [tree / "CMakeLists.txt", *tree.glob("*/CMakeLists.txt"),
                                                  *tree.glob("cmake/*.cmake")])
    return (["there is no preset %s" % preset for before, preset in zip(words, words[1:])
             if before == "--preset" and '"name": "%s"' % preset not in presets]
            + ["there is no target %s" % target for before, target in zip(words, words[1:])
               if before == "--target" and not re.search(r"\b%s\b" % target, lists)]
            + ["there is no setting %s" % name for word in words for name in re.findall(r"^-D(MC_\w+)", word)
               if not re.search(r"\b%s\b" % name, lists)])


def complaints_of(line, tree, find):
    """What a line names and is not there. A comment behind a command has options of that command."""
    commands = simple_commands(line)
    complaints = []
    for number, words in enumerate(commands):
        options = " ".join(words)
        if number + 1 == len(commands):
            options += " " + line.partition(" #")[2]
        complaints += complaints_of_one(words, options, tree, find)
    return complaints
