"""A live node that is written down: its events as they happen, and a page whenever it is asked for one."""

import json
import os
import shutil
import signal
import tempfile
import time

from lab.node import Node
from live_test import LiveTest, programs, until

GROUP = "239.7.1.1"
GROUP6 = "ff1e::711"


class Timeline(LiveTest):
    runs = False

    def setUp(self):
        super().setUp()
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.events_file = os.path.join(self.folder, "events.jsonl")
        self.page = os.path.join(self.folder, "page.html")

    def begin(self, *options):
        self.node = Node(self.home, programs, *options)
        self.addCleanup(self.node.kill)
        self.node.start()

    def begin_recorded(self):
        self.begin("--events", self.events_file, "--timeline", self.page)

    def events(self, name=None, **fields):
        with open(self.events_file) as lines:
            found = [json.loads(line) for line in lines.read().splitlines(True) if line.endswith("\n")]
        return [event for event in found if name in (None, event["event"])
                and all(event.get(field) == value for field, value in fields.items())]

    def wait_for_event(self, name, **fields):
        return until(lambda: self.events(name, **fields), "%s %s is told" % (name, fields))[0]

    def page_is_asked_for(self):
        before = os.stat(self.page).st_mtime_ns
        self.node.process.send_signal(signal.SIGUSR1)
        until(lambda: os.stat(self.page).st_mtime_ns != before, "a page is written")
        with open(self.page) as page:
            return page.read()

    def test_what_happens_is_in_the_file_at_once(self):
        self.begin_recorded()
        self.hosts["h1"].speak(igmp=3, mld=2)
        for group, protocol in ((GROUP, "IGMP"), (GROUP6, "MLD")):
            stream = self.uplink.stream(group)
            self.hosts["h1"].join(group)
            joined = self.wait_for_event("joined", group=group)
            self.assertEqual((joined["port"], joined["protocol"], joined["interface"]), (1, protocol, "lan1"))
            received = self.events("received", interface="lan1", frame=joined["frame"])
            self.assertEqual([event["port"] for event in received], [1])
            self.assertTrue(self.wait_for_event("entry_set", group=group)["is_done"])
            self.assert_reaches(stream, 1)
        self.switch.ip("link set lan1 down")
        self.wait_for_event("link_down", port=1)
        for group in (GROUP, GROUP6):
            self.assertEqual(self.wait_for_event("left", group=group)["reason"], "lost with the link")
        times = [event["time_us"] for event in self.events()]
        self.assertEqual(times, sorted(times))

    def test_a_command_has_the_time_at_which_it_came(self):
        self.begin_recorded()
        time.sleep(1)        # nothing else happens that would move the clock
        before = time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000
        self.node.ctl("fast-leave", "--port", "1", "on")
        command = self.wait_for_event("command", words="fast-leave")
        self.assertGreater(command["time_us"], before)
        begin = self.events()[0]
        wall = begin["wall_offset_us"] + command["time_us"]
        self.assertLess(abs(wall - time.time_ns() // 1000), 10_000_000)

    def test_a_page_is_written_when_asked_for_and_at_the_end(self):
        self.begin_recorded()
        self.hosts["h1"].speak(igmp=3)
        self.hosts["h1"].join(GROUP)
        self.wait_for_event("joined", group=GROUP)
        page = self.page_is_asked_for()
        self.assertIn('"event":"joined"', page)
        self.assertNotIn('"event":"end"', page)
        self.assertTrue(self.node.alive())
        status, _ = self.node.stop()
        self.assertEqual(status, 0, self.node.complaints())
        with open(self.page) as page:
            self.assertIn('"event":"end"', page.read())
        self.assertEqual(self.events()[-1]["event"], "end")

    def test_a_node_without_a_page_survives_being_asked_for_one(self):
        self.begin()
        self.node.process.send_signal(signal.SIGUSR1)
        until(lambda: self.node.said("no timeline is written without --timeline"), "it says so")

    def test_a_file_that_takes_no_more_takes_nothing_else_along(self):
        self.begin("--events", "/dev/full")
        self.hosts["h1"].speak(igmp=3)
        stream = self.uplink.stream(GROUP)
        self.hosts["h1"].join(GROUP)
        self.assert_reaches(stream, 1)
        status, output = self.node.stop()
        self.assertEqual(status, 1)
        self.assertIn(GROUP, output)
        self.assertEqual(len(self.node.complaints()), 1, self.node.complaints())
