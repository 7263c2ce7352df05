#!/usr/bin/env python3
"""Which headers of the C and C++ libraries the library may include, and that none of them brings
locales or wide characters along: a small C library for a device has neither.

    library_headers_test.py SOURCE_DIR COMPILER
"""
import pathlib
import re
import subprocess
import sys

ROOMS = ("adapt", "command", "common", "igmp", "mld", "packet", "platform", "settings", "vlan")
# What is here was built against a small C library. <iterator>, <string> or <functional> are not: behind
# them are streams, locales and wide characters.
ALLOWED = {
    "algorithm", "array", "cstddef", "cstdint", "cstdio", "cstring", "initializer_list", "span",
    "assert.h", "stddef.h", "stdint.h", "sys/ipc.h", "sys/msg.h", "sys/shm.h", "unistd.h",
}
NEVER_BEHIND = re.compile(r"/(clocale|cwchar|cwctype|iosfwd|iostream|locale|string|(?<!bits/)wchar\.h|wctype\.h"
                          r"|locale\.h|bits/locale\w*\.h|bits/postypes\.h)$")


def included_by(path):
    return re.findall(r"^\s*#\s*include\s*<([^>]+)>", path.read_text(encoding="utf-8"), re.M)


def headers_behind(compiler, root, source):
    rule = subprocess.run([compiler, "-std=c++20", "-I", root, "-M", source], check=True, text=True,
                          stdout=subprocess.PIPE).stdout
    return rule.replace("\\\n", " ").split()[1:]


def main(root, compiler):
    files = [path for room in ROOMS for path in sorted((root / room).iterdir())]
    sources = [path for path in files if path.suffix == ".cpp"]
    complaints = [f"{path.relative_to(root)}: <{header}>, which the library does without"
                  for path in files for header in included_by(path) if header not in ALLOWED]
    unused = ALLOWED - {header for path in files for header in included_by(path)}
    complaints += [f"nothing includes <{header}> any more: take it off the list"
                   for header in sorted(unused)]
    # Once for each set of headers: many sources include the same ones.
    for source in {frozenset(included_by(path)): path for path in sources}.values():
        complaints += [f"{source.relative_to(root)}: {behind} stands behind its headers"
                       for behind in headers_behind(compiler, root, source)
                       if NEVER_BEHIND.search(behind)]
    if not sources:
        complaints.append("no sources there")
    print("\n".join(complaints) or f"{len(files)} files, {len(sources)} sources: {len(ALLOWED)} headers")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2]))
