"""Numbers for monitoring, as a collector gets them and reads them."""

import json
import os
import re
import sys
import urllib.error
import urllib.request

# Where Debian has the reader, whatever python3 this is.
sys.path.append("/usr/lib/python3/dist-packages")
from prometheus_client import parser as prometheus                  # noqa: E402
from prometheus_client.openmetrics import parser as openmetrics     # noqa: E402

from lab.messages import ethernet, igmp_v2_report, mld_v1_report    # noqa: E402
from lab.state import groups_of                                      # noqa: E402
import live_test                                                     # noqa: E402
from live_test import ROOT, LiveTest                                 # noqa: E402

DASHBOARD = os.path.join(ROOT, "packaging/grafana/mc_node.json")
GROUP, GROUP6 = "239.8.1.1", "ff1e::811"


class Metrics(LiveTest):
    options = ("--metrics", "127.0.0.1:0")

    def setUp(self):
        super().setUp()
        line, = self.wait_for(lambda: self.node.said("^mc_node: metrics at "), "the address is said")
        self.url = line.split()[-1]

    def get(self, path="", method="GET"):
        with self.switch.entered():
            request = urllib.request.Request(self.url + path, method=method)
            with urllib.request.urlopen(request, timeout=5) as answer:
                return answer.headers["Content-Type"], answer.read().decode()

    def samples(self):
        """Each sample by its name and labels, as the strict reader of OpenMetrics gives them."""
        _, text = self.get()
        return {(sample.name, tuple(sorted(sample.labels.items()))): sample.value
                for family in openmetrics.text_string_to_metric_families(text)
                for sample in family.samples}

    def value(self, name, **labels):
        return self.samples().get((name, tuple(sorted(labels.items()))))

    def report(self, host, group):
        make = mld_v1_report if ":" in group else igmp_v2_report
        packet, to = make(host.link_local if ":" in group else host.ip4, group)
        host.send(ethernet(host.mac, to, packet))

    def is_in_switch(self, group):
        return group in groups_of(self.switch, self.home.ports[1].device)

    def test_a_join_is_seen_in_the_numbers(self):
        before = self.samples()
        for group in (GROUP, GROUP6):
            self.report(self.hosts["h1"], group)
            self.wait_for(lambda: self.is_in_switch(group), "%s is in the switch" % group)
        after = self.samples()

        def grown(name, **labels):
            key = (name, tuple(sorted(labels.items())))
            return after[key] - before.get(key, 0)
        self.assertGreaterEqual(grown("mc_messages_received_total", kind="IGMPv2 report"), 1)
        self.assertGreaterEqual(grown("mc_messages_received_total", kind="MLDv1 report"), 1)
        self.assertGreaterEqual(grown("mc_memberships", port="port1", protocol="IGMP", version="2"), 1)
        self.assertGreaterEqual(grown("mc_memberships", port="port1", protocol="MLD", version="1"), 1)
        self.assertGreaterEqual(
            grown("mc_switch_entry_changes_total", change="add", result="done"), 2)
        # Each entry that a report made has its time, in one of the buckets.
        self.assertGreaterEqual(grown("mc_switch_entry_latency_seconds_count"), 2)
        self.assertGreater(grown("mc_switch_entry_latency_seconds_sum"), 0)
        self.assertEqual(after["mc_switch_entry_latency_seconds_bucket", (("le", "+Inf"),)],
                         after["mc_switch_entry_latency_seconds_count", ()])
        # What has been taken has gone somewhere.
        taken = sum(value for (name, _), value in after.items() if name == "mc_frames_taken_total")
        received = sum(value for (name, _), value in after.items()
                       if name == "mc_frames_received_total")
        self.assertIn(received - taken, (0, 1))     # one may be in hand

    def test_a_join_that_is_refused_has_its_reason(self):
        self.node.ctl("group-limit", "--port", "1", "1")
        reason = "group limit of the port"
        for group in (GROUP, "239.8.1.2"):
            self.report(self.hosts["h1"], group)
        self.wait_for(lambda: self.value("mc_joins_refused_total", reason=reason), "it is counted")
        self.assertEqual(self.value("mc_drops_total", by="core", reason=reason),
                         self.value("mc_joins_refused_total", reason=reason))
        self.assertEqual(self.value("mc_port_group_limit", port="port1"), 1)
        self.assertIsNone(self.value("mc_port_group_limit", port="port2"))

    def test_mcstat_has_them_for_text_files(self):
        mcstat = os.path.join(os.path.dirname(live_test.programs[1]), "mcstat")
        text = self.switch.must([mcstat, "--openmetrics"])
        names = {sample.name for family in openmetrics.text_string_to_metric_families(text)
                 for sample in family.samples}
        self.assertLessEqual({"mc_status_mode", "mc_messages_received_total"}, names)

    def test_old_readers_understand_it_too(self):
        kind, text = self.get()
        self.assertTrue(kind.startswith("application/openmetrics-text"))
        names = {sample.name for family in prometheus.text_string_to_metric_families(text)
                 for sample in family.samples}
        self.assertIn("mc_switch_entry_latency_seconds_bucket", names)

    def test_nothing_else_is_served(self):
        for path, method, status in (("/../../etc/passwd", "GET", 404), ("s", "GET", 404),
                                     ("", "POST", 405)):
            with self.assertRaises(urllib.error.HTTPError) as refused:
                self.get(path, method)
            self.assertEqual(refused.exception.code, status, path)
            refused.exception.close()

    def test_the_dashboard_asks_for_what_there_is(self):
        with open(DASHBOARD, encoding="utf-8") as file:
            dashboard = json.load(file)
        asked = {name for panel in dashboard["panels"] for target in panel.get("targets", [])
                 for name in re.findall(r"\bmc_\w+", target["expr"])}
        self.assertGreater(len(asked), 10)
        self.node.ctl("group-limit", "--port", "1", "7")
        self.node.ctl("bandwidth-limit", "--port", "1", "9")
        self.report(self.hosts["h1"], GROUP)
        self.wait_for(lambda: self.is_in_switch(GROUP), "the group is in the switch")
        self.assertLessEqual(asked, {name for name, _ in self.samples()})


class Address(LiveTest):
    runs = False

    def test_one_that_cannot_be_served_is_refused_before_the_bridge_is_touched(self):
        for address, why in (("127.0.0.1", "is no address and port"), ("nowhere:9550", "nowhere"),
                             ("198.51.100.1:9550", "cannot be served")):
            with self.subTest(address):
                self.node.options = ("--metrics", address)
                self.node.launch(self.node.arguments())
                self.assertEqual(self.node.wait(), 2)
                line, = self.node.lines
                self.assertIn(why, line)
                self.assertNotIn("mc_node", self.switch.run(["nft", "list", "tables"]).stdout)
