#!/usr/bin/env python3
"""scripts/check-layers on small trees: what goes uphill, in a circle or nowhere is reported."""
import pathlib
import subprocess
import tempfile
import unittest

CHECK = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "check-layers"


def check(files):
    """Status and lines of the check on a tree: names of files, each with what it includes."""
    with tempfile.TemporaryDirectory() as tree:
        for name, includes in files.items():
            path = pathlib.Path(tree, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("".join(f'#include "{include}"\n' for include in includes))
        done = subprocess.run([CHECK, tree], capture_output=True, text=True)
    return done.returncode, (done.stdout + done.stderr).splitlines()


class CheckLayers(unittest.TestCase):
    def test_passes_what_goes_downhill(self):
        files = {
            "common/bytes.h": [],
            "adapt/records.h": ["common/bytes.h"],
            "mld/record.h": ["adapt/records.h"],
            "vlan/rules.cpp": ["mld/record.h", "common/bytes.h"],
            "node/live/live.cpp": ["adapt/records.h"],
        }
        self.assertEqual(check(files), (0, ["layers: 5 files, every include goes downhill"]))

    def test_reports_what_goes_uphill(self):
        files = {
            "mld/record.h": [],
            "mld/mld.h": [],
            "common/text.cpp": ["mld/record.h"],
            "vlan/rules.cpp": ["mld/record.h", "mld/mld.h"],
            "node/main.cpp": [],
            "node/live/live.cpp": ["node/main.cpp"],
        }
        self.assertEqual(
            check(files),
            (1, ["common/text.cpp: include of mld/record.h goes uphill",
                 "node/live/live.cpp: include of node/main.cpp goes uphill",
                 "vlan/rules.cpp: include of mld/mld.h goes uphill"]))

    def test_reports_a_circle_within_a_room(self):
        files = {
            "packet/a.h": ["packet/b.h"],
            "packet/b.h": ["packet/c.h"],
            "packet/c.h": ["packet/b.h"],
        }
        self.assertEqual(check(files), (1, ["a circle: packet/b.h -> packet/c.h -> packet/b.h"]))

    def test_a_door_is_open_to_its_room_alone_and_not_kept_for_nobody(self):
        files = {
            "command/dumps.h": [],
            "vlan/rules.cpp": ["command/dumps.h"],
            "adapt/adapt.h": [],
            "settings/mode.cpp": ["adapt/adapt.h", "command/dumps.h"],
            "igmp/transmit.cpp": ["adapt/adapt.h"],
        }
        self.assertEqual(
            check(files),
            (1, ["settings/mode.cpp: include of command/dumps.h goes uphill",
                 "scripts/check-layers: nothing in command uses the door to adapt/adapt.h"]))

    def test_reports_a_path_from_elsewhere_and_a_folder_that_is_no_room(self):
        files = {"bench/frames.h": [], "bench/probe.cpp": ["frames.h"], "attic/old.cpp": []}
        self.assertEqual(
            check(files),
            (1, ["attic/old.cpp: stands in no room that scripts/check-layers knows",
                 "bench/probe.cpp: include of frames.h, which is not there, seen from the root"]))


if __name__ == "__main__":
    unittest.main()
