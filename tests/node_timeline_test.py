#!/usr/bin/env python3
"""The page that --timeline writes, in a browser: what it says of a run is held against the events of the
same run, which are read here in a way of their own.

    tests/node_timeline_test.py MC_NODE

Status 77 when there is no browser, as CTest's SKIP_RETURN_CODE wants it."""

import base64
import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/support"))

import browser    # noqa: E402

SKIPPED = 77
LABELS = 250      # pixels, left of the chart
EVERYDAY = {"link-local group", "group is no multicast address"}

node = None


def replay(*arguments):
    own_queue = ["unshare", "--ipc"] if os.geteuid() == 0 else ["unshare", "--user", "--map-root-user", "--ipc"]
    subprocess.run([*own_queue, node, "replay", *map(str, arguments)], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


class Run:
    """The events, as the test understands them."""

    def __init__(self, file):
        self.events = [json.loads(line) for line in file.read_text().splitlines()]

    @staticmethod
    def place(event):
        return event["port"], event["vlan"], event["group"]

    def of(self, *kinds):
        return [event for event in self.events if event["event"] in kinds]

    def groups(self):
        refused = [event for event in self.of("refused") if event["reason"] not in EVERYDAY]
        return {self.place(event) for event in self.of("joined", "entry_set") + refused}

    def bars(self):
        """How many there are of each version: a bar lasts until what is wanted changes, or whether anybody
        is known to want it."""
        bars, shown = collections.Counter(), {}
        for event in self.of("joined", "changed", "left"):
            state = (event.get("version"), event.get("filter"), str(event.get("sources")),
                     event.get("reporters") == [])
            if event["event"] == "left":
                shown.pop(self.place(event))
            elif shown.get(self.place(event)) != state:
                shown[self.place(event)] = state
                bars["%sv%d" % (event["protocol"], event["version"])] += 1
        return bars


class Timeline(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        events, cls.page = cls.folder / "events.jsonl", cls.folder / "page.html"
        replay(ROOT / "scenario/home", "--commands", ROOT / "scenario/story/commands.txt", "--until", 300,
               "--events", events, "--timeline", cls.page)
        cls.story = Run(events)
        cls.browser = browser.Browser()
        cls.addClassCleanup(cls.browser.close)
        cls.shown = None

    def setUp(self):
        self.browser.prefer("light")
        if self.shown != self.page:
            self.open(self.page)
        self.run_in_page("for (const name of ['port', 'vlan', 'group']) document.getElementById(name).value = '';"
                         "filter(); showWhole()")
        self.settle()

    def tearDown(self):
        self.assertEqual(self.browser.complaints(), [])

    # ---- Looking at the page --------------------------------------------------------------------

    def open(self, page):
        self.browser.open(page)
        type(self).shown = page
        self.run_in_page("document.getElementById('canvas').focus()")
        self.settle()

    def run_in_page(self, script, *arguments):
        return self.browser.run(script, *arguments)

    def settle(self):
        """Until what was asked for is drawn."""
        self.browser.ask("POST", "/execute/async", {"script": "requestAnimationFrame(() => "
                                                    "requestAnimationFrame(arguments[0]))", "args": []})

    def text(self, name):
        return self.run_in_page("return document.getElementById(arguments[0]).innerText", name)

    def totals(self):
        return dict(self.run_in_page("return [...document.querySelectorAll('#totals li')].map(li => "
                                     "[li.dataset.total, li.querySelector('b').textContent])"))

    def labels(self):
        return self.run_in_page("return [...document.querySelectorAll('.label')].map(l => "
                                "(l.querySelector('.group') ?? l).textContent)")

    def fill(self, name, value):
        self.run_in_page("const field = document.getElementById(arguments[0]); field.value = arguments[1];"
                         "field.dispatchEvent(new Event('input', {bubbles: true}))", name, value)
        self.settle()
        self.run_in_page("document.getElementById('canvas').focus()")

    def press(self, *keys):
        self.browser.press(*keys)
        self.settle()

    def chosen(self):
        """Where what the keyboard has chosen is drawn: left, top, width, height in the window."""
        return self.run_in_page("const box = document.getElementById('ring').getBoundingClientRect();"
                                "return [box.x + 3, box.y + 3, box.width - 6, box.height - 6]")

    def pixel(self, x, y):
        return self.run_in_page(
            "const canvas = document.getElementById('canvas'), box = canvas.getBoundingClientRect();"
            "const at = [arguments[0] - box.x, arguments[1] - box.y].map(v => v * devicePixelRatio);"
            "const copy = new OffscreenCanvas(1, 1).getContext('2d', {willReadFrequently: true});"
            "copy.drawImage(canvas, ...at.map(Math.floor), 1, 1, 0, 0, 1, 1);"
            "return [...copy.getImageData(0, 0, 1, 1).data].slice(0, 3)", x, y)

    def color(self, name):
        digits = self.run_in_page("return getComputedStyle(document.documentElement)"
                                  ".getPropertyValue('--' + arguments[0])", name).strip()
        return [int(digits[at:at + 2], 16) for at in (1, 3, 5)]

    def choose_group(self, group, port=""):
        """Puts the keyboard on the first thing of the only row of a group."""
        self.fill("port", str(port))
        self.fill("group", group)
        self.press("0", "down")
        while self.run_in_page("return view.chosen.row.group") != group:
            self.press("down")
        while self.run_in_page("return view.chosen.at") > 0:
            self.press("left")

    def walk(self):
        """The titles of all that is in the chosen row, in order of time."""
        return self.run_in_page(
            "const canvas = document.getElementById('canvas'), titles = [];"
            "for (let last = -1; last !== view.chosen.at;) {"
            "  last = view.chosen.at;"
            "  titles.push(document.querySelector('#tip h2').textContent);"
            "  canvas.dispatchEvent(new KeyboardEvent('keydown', {key: 'ArrowRight'}));"
            "}"
            "return titles")

    # ---- What is said of the run ----------------------------------------------------------------

    def test_it_has_a_row_for_each_port_vlan_and_group(self):
        self.assertEqual(self.totals()["rows"], str(len(self.story.groups())))
        self.assertEqual(self.totals()["events"], str(len(self.story.events)))
        labels = self.labels()
        self.assertEqual(labels[:3], ["Node", "Port 0", "232.1.1.1"])

    def test_it_has_a_bar_for_each_state_of_a_membership(self):
        bars = self.story.bars()
        totals = self.totals()
        self.assertEqual({name: int(totals[name]) for name in bars}, dict(bars))
        self.assertEqual(totals["bars"], str(sum(bars.values())))
        self.assertEqual(set(bars), {"IGMPv1", "IGMPv2", "IGMPv3", "MLDv1", "MLDv2"})

    def test_a_bar_says_what_was_wanted_by_whom_and_from_which_frame_on(self):
        joined = next(event for event in self.story.of("joined") if event["group"] == "232.1.1.1")
        self.choose_group("232.1.1.1")
        while not self.text("tip").startswith("IGMPv3"):
            self.press("right")
        said = self.text("tip")
        self.assertTrue(said.startswith("IGMPv3, only %s" % joined["sources"][0]), said)
        self.assertIn("frame %d of %s" % (joined["frame"], joined["capture"]), said)
        for word in (joined["group"], "Port 0, VLAN 4088", joined["reporters"][0]):
            self.assertIn(word, said)
        # The bytes of the frame, to the protocol behind the addresses and on.
        self.assertRegex(said, r"0000  01 00 5e .*\n0010 ")

    def test_a_bar_is_drawn_in_the_colour_of_its_version(self):
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            for group, port, version in (("232.1.1.1", 0, "IGMPv3"), ("ff1e::403", 4, "MLDv2")):
                self.choose_group(group, port)
                while not self.text("tip").startswith(version):
                    self.press("right")
                left, top, _, height = self.chosen()
                self.assertEqual(self.pixel(left + 4, top + 2), self.color(version), (scheme, group))
                self.assertNotEqual(self.pixel(left + 4, top + height + 8), self.color(version))

    def test_older_versions_are_striped(self):
        self.choose_group("239.1.1.4", 2)
        while not self.text("tip").startswith("IGMPv1"):
            self.press("right")
        left, top, width, height = self.chosen()
        seen = {tuple(self.pixel(left + width - 60 + step, top + height - 3)) for step in range(8)}
        self.assertGreater(len(seen), 1)

    def test_the_entry_is_a_thin_bar_beneath(self):
        self.choose_group("ff1e::403", 4)
        while not self.text("tip").startswith("Entry in the switch"):
            self.press("right")
        left, top, width, height = self.chosen()
        self.assertLess(height, 6)
        self.assertEqual(self.pixel(left + width - 20, top + 1), self.color("entry"))

    def test_a_row_tells_reports_leaves_queries_and_the_end(self):
        self.choose_group("239.1.1.1", 1)
        titles = self.walk()
        self.assertEqual(titles.count("IGMP group query sent"), 2)
        self.assertIn("IGMPv2 leave received", titles)
        self.assertEqual(titles[-1], "Membership over: left, no host answered")

    def test_a_membership_that_ages_ends_with_a_timeout(self):
        self.choose_group("239.1.1.3", 1)
        self.assertEqual(self.walk()[-1], "Membership over: aged")

    def test_a_refused_join_and_a_command_say_what_they_are(self):
        refused = next(event for event in self.story.of("refused") if event["reason"].startswith("group limit"))
        self.choose_group(refused["group"], refused["port"])
        self.assertIn("Join refused: group limit of the port", self.walk())
        self.fill("group", "")
        self.fill("port", "")
        self.press("escape", "down", "right", "right")
        self.assertEqual(self.text("tip").splitlines()[0], "Command: %s" % self.story.of("command")[2]["words"])

    # ---- What a user does -----------------------------------------------------------------------

    def test_pointing_at_a_bar_says_the_same_as_choosing_it(self):
        self.choose_group("ff1e::403", 4)
        while not self.text("tip").startswith("MLDv2"):
            self.press("right")
        said = self.text("tip")
        left, top, width, height = self.chosen()
        self.press("escape")
        self.assertTrue(self.run_in_page("return document.getElementById('tip').hidden"))
        self.browser.point(left + width / 2, top + height / 2)
        self.settle()
        self.assertEqual(self.text("tip"), said)

    def test_the_filter_narrows_the_rows(self):
        places = self.story.groups()
        for terms, wanted in ((("3", "", ""), lambda port, vlan, group: port == 3),
                              (("", "4000", ""), lambda port, vlan, group: vlan == 4000),
                              (("", "", "ff1e"), lambda port, vlan, group: "ff1e" in group),
                              (("4", "4000", "239.3.1.1"), lambda port, vlan, group:
                               (port, vlan) == (4, 4000) and "239.3.1.1" in group)):
            for name, value in zip(("port", "vlan", "group"), terms):
                self.fill(name, value)
            left = sum(wanted(*place) for place in places)
            self.assertGreater(left, 0)
            self.assertEqual(self.totals()["rows"], "%d of %d" % (left, len(places)), terms)
        self.fill("group", "no such group")
        self.assertEqual(self.labels(), ["Node"])
        self.assertIn("No row", self.text("nothing"))

    def test_wheel_keys_buttons_and_dragging_change_the_time_that_is_shown(self):
        whole = self.text("range")

        def changed(before):
            self.settle()
            self.assertNotEqual(self.text("range"), before)
            return self.text("range")
        self.browser.turn_wheel(600, 400, -400)
        nearer = changed(whole)
        self.browser.drag((800, 400), (700, 400))
        moved = changed(nearer)
        self.press("+")
        nearer = changed(moved)
        self.press("shift+right")
        moved = changed(nearer)
        self.run_in_page("document.getElementById('out').click()")
        changed(moved)
        self.run_in_page("document.getElementById('whole').click()")
        self.settle()
        self.assertEqual(self.text("range"), whole)

    def test_on_paper_there_is_the_whole_range_in_the_colours_of_the_light(self):
        self.browser.prefer("dark")
        self.press("+", "+")
        shown = self.run_in_page(
            "window.dispatchEvent(new Event('beforeprint'));"
            "const sheets = [...document.querySelectorAll('#paper canvas')];"
            "const ground = sheets[0].getContext('2d').getImageData(280 * devicePixelRatio, 2, 1, 1).data;"
            "const heights = sheets.map(sheet => sheet.height / devicePixelRatio);"
            "window.dispatchEvent(new Event('afterprint'));"
            "return [[...ground].slice(0, 3), heights, document.querySelectorAll('#paper canvas').length]")
        ground, heights, left = shown
        self.assertEqual(ground, [255, 255, 255])
        rows = self.run_in_page("return view.rows.length")
        self.assertEqual(sum(heights), rows * 36 + len(heights) * 26)
        self.assertEqual(left, 0)
        pdf = base64.b64decode(self.browser.tell("Page.printToPDF", printBackground=True)["data"])
        self.assertTrue(pdf.startswith(b"%PDF"))
        self.assertEqual(len(re.findall(rb"/Type /Page\b", pdf)), len(heights))

    # ---- What may stand in it -------------------------------------------------------------------

    def test_a_name_that_would_end_the_script_is_a_name(self):
        (self.folder / "odd<").mkdir()
        capture = self.folder / "odd<" / "script>.pcap"
        shutil.copy(ROOT / "scenario/home/port1.pcap", capture)
        replay("--port", "1=%s" % capture, "--timeline", self.folder / "odd.html")
        self.open(self.folder / "odd.html")
        self.choose_group("239.1.1.3")
        self.assertIn("odd</script>.pcap", self.text("tip"))


def main():
    global node
    node = os.path.abspath(sys.argv.pop(1))
    if browser.missing():
        print("node_timeline_test: skipped: there is no %s" % browser.missing(), file=sys.stderr)
        return SKIPPED
    return 0 if unittest.main(exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
