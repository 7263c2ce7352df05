#!/usr/bin/env python3
"""scripts/abi on libraries that are not as the checked-in interface says: what it notices, and what it passes. The
library of build/abi is linked anew, with one thing changed.

    abi_test.py             after scripts/abi
"""
import json
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/abi"
ROOMS = ("adapt", "command", "common", "igmp", "mld", "packet", "platform", "settings", "vlan")
COMMANDS = {pathlib.Path(entry["file"]).relative_to(ROOT).as_posix(): entry["command"]
            for entry in json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8"))}
COMPATIBLE = (0, "abi: compatible")
INCOMPATIBLE = (1, "abi: incompatible")


class TheCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for room in ROOMS:
            shutil.copytree(ROOT / room, self.root / room)
        self.exports = (ROOT / "cmake/exports.map").read_text(encoding="utf-8")
        self.objects = {name: re.search(r" -o (\S+)", command)[1] for name, command in COMMANDS.items()}

    def change(self, name, old, new):
        text = (self.root / name).read_text(encoding="utf-8")
        self.assertEqual(text.count(old), 1, f"{name}: {old}")
        (self.root / name).write_text(text.replace(old, new), encoding="utf-8")

    def compile_anew(self, source):
        """A source of the copy, in place of the library's own."""
        self.objects[source] = str(self.root / "changed.o")
        words = shlex.split(COMMANDS[source].replace(str(ROOT), str(self.root)))
        words[words.index("-o") + 1] = self.objects[source]
        subprocess.run(words, check=True, cwd=BUILD)

    def held(self):
        """The status of scripts/abi, its verdict, and all that it says."""
        (self.root / "exports.map").write_text(self.exports, encoding="utf-8")
        library = self.root / "libmc_hal.so"
        subprocess.run(["cc", "-shared", f"-Wl,--version-script={self.root}/exports.map", "-Wl,-soname,libmc_hal.so.1",
                        "-Wl,--as-needed", "-o", library, *self.objects.values()], check=True, cwd=BUILD)
        done = subprocess.run([ROOT / "scripts/abi", "--of", library, self.root], text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        verdict = re.search(r"^abi: (in)?compatible", done.stdout, re.M)
        return (done.returncode, verdict and verdict[0]), done.stdout

    def test_passes_what_is_the_same(self):
        verdict, said = self.held()
        self.assertEqual(verdict, (0, None), said)

    def test_passes_a_function_more(self):
        self.change("adapt/adapt.h", "MC_EXPORT int32_t igmp_set_table_return(",
                    "MC_EXPORT int32_t mc_more(void);\nMC_EXPORT int32_t igmp_set_table_return(")
        self.change("adapt/switches.cpp", "std::int32_t igmp_set_table_return(",
                    "std::int32_t mc_more() { return 0; }\nstd::int32_t igmp_set_table_return(")
        self.compile_anew("adapt/switches.cpp")
        verdict, said = self.held()
        self.assertEqual(verdict, COMPATIBLE, said)
        self.assertIn("mc_more", said)

    def test_passes_a_record_more(self):
        self.change("command/message.h", "} McMessage;", "} McMessage;\ntypedef struct McMore {\n    int a;\n} McMore;")
        verdict, said = self.held()
        self.assertEqual(verdict, COMPATIBLE, said)

    def test_notices_a_function_that_is_gone(self):
        self.exports = self.exports.replace("local:", "local: igmp_set_table_return;")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("[D] 'function int32_t igmp_set_table_return(int32_t)'", said)

    def test_notices_an_argument_of_another_type(self):
        for name, integer in (("adapt/adapt.h", "int32_t"), ("adapt/switches.cpp", "std::int32_t")):
            self.change(name, f"{integer} igmp_set_table_return({integer} value)",
                        f"{integer} igmp_set_table_return({integer.replace('32', '16')} value)")
        self.compile_anew("adapt/switches.cpp")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("typedef name changed from int32_t to int16_t", said)

    # No exported function leads to the next two: one is for senders, the other for the core.
    def test_notices_a_field_of_another_size(self):
        self.change("command/message.h", "    long type;", "    int type;")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("'uint8_t text[128]' offset changed from 64 to 32", said)

    def test_notices_fields_that_change_places(self):
        self.change("platform/protocol_core.h", "uint8_t byte_a;", "uint8_t byte_c;")
        self.change("platform/protocol_core.h", "uint8_t byte_b;", "uint8_t byte_a;")
        self.change("platform/protocol_core.h", "uint8_t byte_c;", "uint8_t byte_b;")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("'uint8_t byte_a' offset changed from 32 to 40", said)

    def test_notices_an_argument_of_another_type_that_the_driver_is_given(self):
        self.change("platform/l2_multicast.h", "L2_multicast_send_msg(uint8_t* frame, uint8_t port",
                    "L2_multicast_send_msg(uint8_t* frame, uint16_t port")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("mc_imported_L2_multicast_send_msg", said)

    def test_notices_a_function_more_that_the_library_asks_for(self):
        self.change("platform/l2_multicast.h", "int32_t L2_multicast_init(",
                    "int32_t L2_multicast_more(void);\nint32_t L2_multicast_init(")
        self.change("adapt/switches.cpp", "std::int32_t igmp_set_table_return(std::int32_t value) {",
                    "std::int32_t igmp_set_table_return(std::int32_t value) {\n    L2_multicast_more();")
        self.change("adapt/switches.cpp", '#include "adapt/adapt.h"',
                    '#include "adapt/adapt.h"\n#include "platform/l2_multicast.h"')
        self.compile_anew("adapt/switches.cpp")
        verdict, said = self.held()
        self.assertEqual(verdict, INCOMPATIBLE, said)
        self.assertIn("mc_imported_L2_multicast_more", said)


if __name__ == "__main__":
    unittest.main()
