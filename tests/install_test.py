#!/usr/bin/env python3
"""What `cmake --install` puts there serves from wherever it is moved to: a program in C is built against it with
pkg-config and with CMake, and the programs run, with their manual pages and completions.

    install_test.py SOURCE_DIR BUILD_DIR C_COMPILER CXX_COMPILER VERSION
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "support"))
from processes import output             # noqa: E402
from public_headers_test import HEADERS  # noqa: E402

PROGRAMS = ("mc_node", "mcctl", "mcstat")
HOST = '#include "adapt/adapt.h"\nint main(void) { return IgmpInit == 0; }\n'
HOST_PROJECT = """cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES C)
find_package(MulticastAdaptation {version} REQUIRED)
add_executable(host host.c neighbours.c)
target_link_libraries(host PRIVATE MulticastAdaptation::mc_hal)
"""
# In place of what a shell brings for completion: they say what they are asked to show.
ZSH = """
compdef() {{ : }}
compadd() {{ shift; print -r -- "$*" }}
_describe() {{ local entry; for entry in "${{(@P)2}}"; do print -r -- "${{entry%%:*}}"; done }}
_files() {{ print FILES }}
words=("$@") CURRENT=$#
{load}
_$1
"""
BASH = 'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _$1; printf "%s\\n" "${COMPREPLY[@]}"'

source, build, compiler, cxx_compiler, version = None, None, None, None, None


def setUpModule():
    global folder, prefix, installed_at
    folder = pathlib.Path(tempfile.mkdtemp())
    installed_at = folder / "first"
    output("cmake", "--install", build, "--prefix", installed_at)
    prefix = folder / "moved here"
    installed_at.rename(prefix)


def tearDownModule():
    shutil.rmtree(folder)


def library_dir():
    return next(prefix.rglob("libmc_hal.so")).parent


class TheLibrary(unittest.TestCase):
    def test_has_a_soname_with_the_major_version(self):
        said = output("readelf", "-d", library_dir() / "libmc_hal.so")
        self.assertIn(f"Library soname: [libmc_hal.so.{version.split('.', maxsplit=1)[0]}]", said)
        self.assertEqual((library_dir() / "libmc_hal.so").resolve().name, f"libmc_hal.so.{version}")

    def test_comes_with_a_check_of_its_neighbours_that_can_be_preloaded(self):
        # LD_PRELOAD takes no path with a blank in it.
        environment = dict(os.environ, LD_PRELOAD="libmc_check.so",
                           LD_LIBRARY_PATH=str(library_dir() / "multicast_adaptation"))
        said = output(prefix / "bin/mc_node", "replay", source / "scenario/home", env=environment)
        self.assertRegex(said, r"(?m)^mc_check: no breach in \d+ calls$")

    def test_comes_with_every_header_for_c_and_no_other(self):
        place = prefix / "include/multicast_adaptation"
        there = {path.relative_to(place).as_posix() for path in place.rglob("*") if path.is_file()}
        self.assertEqual(there, set(HEADERS))

    def test_has_headers_that_need_nothing_else(self):
        text = "".join(f'#include "{name}"\n' for name in HEADERS) + "int nothing;\n"
        for words in ((compiler, "-x", "c", "-std=c99"), (cxx_compiler, "-x", "c++", "-std=c++11")):
            output(*words, "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
                   f"-I{prefix / 'include/multicast_adaptation'}", "-", input=text)

    def host(self, place):
        (place / "host.c").write_text(HOST, encoding="utf-8")
        shutil.copy(source / "bench/paths/neighbours.c", place)

    def test_is_found_by_pkg_config(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(library_dir() / "pkgconfig"))
        said = output("pkg-config", "--modversion", "multicast-adaptation", env=environment)
        self.assertEqual(said.strip(), version)
        with tempfile.TemporaryDirectory() as name:
            self.host(pathlib.Path(name))
            output("sh", "-c", 'eval "$0 -o host host.c neighbours.c $(pkg-config --cflags --libs multicast-adaptation)"',
                   compiler, cwd=name, env=environment)
            output(f"{name}/host", env=dict(os.environ, LD_LIBRARY_PATH=str(library_dir())))

    def test_is_found_by_cmake(self):
        with tempfile.TemporaryDirectory() as name:
            self.host(pathlib.Path(name))
            text = HOST_PROJECT.format(version=version)
            (pathlib.Path(name) / "CMakeLists.txt").write_text(text, encoding="utf-8")
            output("cmake", "-S", name, "-B", f"{name}/build", f"-DCMAKE_PREFIX_PATH={prefix}",
                   f"-DCMAKE_C_COMPILER={compiler}")
            output("cmake", "--build", f"{name}/build")
            output(f"{name}/build/host")

    def test_is_not_taken_for_another_major_version(self):
        with tempfile.TemporaryDirectory() as name:
            text = HOST_PROJECT.format(version=f"{int(version.split('.', maxsplit=1)[0]) + 1}.0")
            (pathlib.Path(name) / "CMakeLists.txt").write_text(text, encoding="utf-8")
            with self.assertRaisesRegex(AssertionError, "compatible with requested"):
                output("cmake", "-S", name, "-B", f"{name}/build", f"-DCMAKE_PREFIX_PATH={prefix}")


class ThePrograms(unittest.TestCase):
    def test_run_where_they_are_and_say_their_version(self):
        environment = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
        for program in PROGRAMS:
            said = output(prefix / "bin" / program, "--version", env=environment)
            self.assertEqual(said, f"{program} {version}\n")
        said = output(prefix / "bin/mc_node", "replay", source / "scenario/home", env=environment)
        self.assertRegex(said, r"(?m)^ *all +380 ")

    def test_look_for_the_library_beside_them_only(self):
        for program in ("mc_node", "mcctl"):
            said = output("readelf", "-d", prefix / "bin" / program)
            self.assertRegex(said, r"runpath: \[\$ORIGIN/\.\./lib[^:\]]*\]")

    def test_are_those_that_the_service_starts(self):
        unit = (prefix / "lib/systemd/system/mc_node.service").read_text(encoding="utf-8")
        for key in ("ExecStart", "ExecReload"):
            program = re.search(f"(?m)^{key}=(\\S+)", unit)[1]
            self.assertTrue((prefix / pathlib.Path(program).relative_to(installed_at)).is_file(), program)
        self.assertTrue((prefix / "share/multicast_adaptation/mc_node.conf").is_file())
        self.assertTrue((prefix / "share/multicast_adaptation/grafana/mc_node.json").is_file())

    def test_have_manual_pages_with_every_option(self):
        for program, commands in (("mc_node", ("", "live", "replay")), ("mcctl", ("", "vlan add", "auth add")),
                                  ("mcstat", ("",))):
            page = (prefix / f"share/man/man1/{program}.1").read_text(encoding="utf-8").replace("\\-", "-")
            self.assertTrue(page.startswith(f'.TH "{program}" 1 "" "{version}"'))
            for command in commands:
                said = output(prefix / "bin" / program, *command.split(), "--help")
                for option in re.findall(r"(?m)^ +(?:-h,)?(--[a-z-]+)", said):
                    self.assertIn(f"\\fB{option}\\fR", page, f"{program} {command}")

    def test_have_manual_pages_that_man_takes(self):
        if shutil.which("man") is None:
            self.skipTest("man is not installed")
        for program in PROGRAMS:
            said = subprocess.run(["man", "--warnings", "-l", prefix / f"share/man/man1/{program}.1"], check=True,
                                  text=True, capture_output=True, env=dict(os.environ, MANPAGER="cat"))
            self.assertEqual(said.stderr, "")
            self.assertIn("SYNOPSIS", said.stdout)


# The last word is the one that is completed.
OFFERS = (
    (("mcctl", "vlan", ""), ("add", "delete", "web-set", "service-set", "service-remove")),
    (("mcctl", "vlan", "add", "--mode", ""), ("untag", "tag", "translate")),
    (("mcctl", "--dry-run", "auth", "private", ""), ("add", "delete", "clear")),
    (("mcctl", "fast-leave", "--port", ""), ("0", "1", "2", "3", "4", "5", "uplink")),
    (("mc_node", "replay", "--ipc", ""), ("private", "shared")),
    (("mc_node", "--completion", ""), ("bash", "zsh", "fish")),
    (("mc_node", "live", "--met"), ("--metrics",)),
    (("mcstat", "--openm"), ("--openmetrics",)),
)
# For the word there is a file of this name.
FILES = (("mcstat", "--fields", "a-fi"), ("mc_node", "replay", "--commands", "a-fi"), ("mc_node", "replay", "a-fi"))


class Completion(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        (pathlib.Path(self.place.name) / "a-file").touch()

    def tearDown(self):
        self.place.cleanup()

    def check(self, shell, offers_of):
        if shutil.which(shell) is None:
            self.skipTest(f"{shell} is not installed")
        for words, wanted in OFFERS:
            offered = [word for word in offers_of(words) if word.startswith(words[-1]) and word != "--help"]
            self.assertEqual(sorted(offered), sorted(wanted), words)
        for words in FILES:
            self.assertTrue({"a-file", "FILES"} & set(offers_of(words)), words)

    def offers(self, *command):
        return output(*command, cwd=self.place.name).split()

    def test_in_bash(self):
        scripts = prefix / "share/bash-completion/completions"
        self.check("bash", lambda words: self.offers("bash", "-c", BASH, scripts / words[0], *words))

    def test_in_zsh(self):
        scripts = prefix / "share/zsh/site-functions"
        for load in ('source "$0"/_$1', "fpath=($0); autoload -Uz _$1"):
            self.check("zsh", lambda words, load=load: self.offers(
                "zsh", "-f", "-c", ZSH.format(load=load), scripts, *words))

    def test_in_fish(self):
        scripts = prefix / "share/fish/vendor_completions.d"

        def offers(words):
            line = " ".join(words)
            said = output("fish", "--no-config", "-c",
                          f"source '{scripts}/{words[0]}.fish'; complete -C '{line}'", cwd=self.place.name)
            return [entry.partition("\t")[0] for entry in said.splitlines()]

        self.check("fish", offers)


if __name__ == "__main__":
    source, build = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
    compiler, cxx_compiler, version = sys.argv[3:6]
    unittest.main(argv=sys.argv[:1])
