#!/usr/bin/env python3
"""The examples as a porter has them: installed with the library, copied out, and built there by CMake, by make with
pkg-config, and by one command of the compiler.

    installed_examples_test.py BUILD_DIR C_COMPILER TOOLCHAIN_FILE [EMULATOR ...]

The toolchain file is "" for this machine.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "support"))
from processes import output  # noqa: E402

EXAMPLES = ("host", "sender", "status")


def setUpModule():
    global folder, prefix, libraries, environment
    folder = pathlib.Path(tempfile.mkdtemp())
    installed_at, prefix = folder / "first", folder / "prefix"
    for component in ("runtime", "development"):
        output("cmake", "--install", BUILD, "--component", component, "--prefix", installed_at)
    installed_at.rename(prefix)
    libraries = next(prefix.rglob("libmc_hal.so")).parent
    # In place of what pkg-config knows of this machine.
    environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(libraries / "pkgconfig"))


def tearDownModule():
    shutil.rmtree(folder)


class TheExamples(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(dir=folder)
        self.addCleanup(place.cleanup)
        self.place = pathlib.Path(place.name)

    def copies(self):
        """Each example in a folder with nothing else beside it."""
        for example in EXAMPLES:
            copy = self.place / example / example
            shutil.copytree(prefix / "share/multicast_adaptation/examples" / example, copy)
            yield example, copy

    def runs(self, program):
        """Its main is reached, which complains of words or of a segment; a loader's complaint is another status."""
        there = [*EMULATOR, "-E", f"LD_LIBRARY_PATH={libraries}"] if EMULATOR else []
        done = subprocess.run([*there, program, *"12345"], text=True, capture_output=True, check=False,
                              env=dict(os.environ) if EMULATOR else dict(os.environ, LD_LIBRARY_PATH=str(libraries)))
        self.assertIn(done.returncode, (0, 1, 2), done.stderr)

    def test_are_built_by_cmake(self):
        where = f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}" if TOOLCHAIN else f"-DCMAKE_C_COMPILER={COMPILER}"
        for example, copy in self.copies():
            # The folder of the package itself: a toolchain file may keep find_package from every other.
            output("cmake", "-S", copy, "-B", copy / "build", where, "-DCMAKE_C_FLAGS=-Werror",
                   f"-DMulticastAdaptation_DIR={libraries}/cmake/MulticastAdaptation")
            output("cmake", "--build", copy / "build")
            self.runs(copy / "build" / example)

    def test_are_built_by_make_with_what_pkg_config_says(self):
        for example, copy in self.copies():
            output("make", f"CC={COMPILER}", "CFLAGS=-O2 -Werror", cwd=copy, env=environment)
            self.runs(copy / example)

    def test_are_built_by_one_command(self):
        for example, copy in self.copies():
            # -rdynamic, -pthread and -ldl are for the host; the others do without.
            output("sh", "-c", f'"$0" -Werror -D_GNU_SOURCE -rdynamic -o {example} *.c '
                               "$(pkg-config --cflags --libs multicast-adaptation) -pthread -ldl",
                   COMPILER, cwd=copy, env=environment)
            self.runs(copy / example)


if __name__ == "__main__":
    BUILD, COMPILER, TOOLCHAIN, EMULATOR = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    unittest.main(argv=sys.argv[:1])
