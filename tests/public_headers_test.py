#!/usr/bin/env python3
"""Headers for programs of others: each one, alone, compiles as C99, C11 and C++, and so do all together,
without a warning. The list of them is whole, and the pages of Doxygen show them.

    public_headers_test.py SOURCE_DIR C_COMPILER CXX_COMPILER
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# What a host process or a program beside it includes, and what stands behind that; the rest is the library's own.
HEADERS = re.findall(r"^  (\S+\.h)$", (ROOT / "cmake/PublicHeaders.cmake").read_text(encoding="utf-8"), re.M)
# Marks for the compiler, of which a page would say nothing.
NOT_SHOWN = ("common/export.h", "common/static_assert.h")
ROOMS = ("adapt", "command", "common", "igmp", "mld", "packet", "platform", "settings", "vlan")
WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror", "-fsyntax-only")
C_WARNINGS = ("-Wstrict-prototypes", "-Wmissing-prototypes", "-Wsign-conversion")
CXX_WARNINGS = ("-Wold-style-cast", "-Wsign-conversion")


def compile_text(compiler, language, standard, root, text):
    """What the compiler says of a source."""
    more = C_WARNINGS if language == "c" else CXX_WARNINGS
    words = [compiler, "-x", language, f"-std={standard}", *WARNINGS, *more, "-I", str(root), "-"]
    return subprocess.run(words, input=text, text=True, stderr=subprocess.PIPE, check=False).stderr


def is_for_c(path):
    """Headers begin with a comment of C, or are C++."""
    text = path.read_text(encoding="utf-8")
    return text.startswith("/*") or "MC_C_BEGIN" in text


def shown_by_doxygen(root):
    """The headers of docs/Doxyfile, which says itself what it is called with."""
    text = (root / "docs/Doxyfile").read_text(encoding="utf-8")
    words = re.search(r"^INPUT +=((?:.*\\\n)*.*)", text, re.M)[1].replace("\\\n", " ").split()
    return [name for name in words if name.endswith(".h")]


def main(root, c_compiler, cxx_compiler):
    there = {path.relative_to(root).as_posix() for room in ROOMS for path in (root / room).glob("*.h")
             if is_for_c(path)}
    complaints = [f"{name}: for C, and not in cmake/PublicHeaders.cmake" for name in sorted(there - set(HEADERS))]
    complaints += [f"{name}: in one of cmake/PublicHeaders.cmake and docs/Doxyfile alone"
                   for name in sorted(set(HEADERS) - set(NOT_SHOWN) ^ set(shown_by_doxygen(root)))]
    everything = "".join(f'#include "{name}"\n' for name in HEADERS)
    sources = {name: f'#include "{name}"\n#include "{name}"\n' for name in HEADERS} | {"all": everything}
    for compiler, language, standard in ((c_compiler, "c", "c99"), (c_compiler, "c", "c11"),
                                         (cxx_compiler, "c++", "c++11"), (cxx_compiler, "c++", "c++20")):
        for name, text in sources.items():
            said = compile_text(compiler, language, standard, root, text + "int mc_nothing;\n")
            if said:
                complaints.append(f"{name} as {standard}:\n{said}")
    print("\n".join(complaints) or f"{len(HEADERS)} headers")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]))
