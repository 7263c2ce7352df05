"""A wire to the router that loses reports: joins and leaves arrive all the same."""

import time

from lab import loss
from lab.home import UPLINK
from lab.waiting import holds_within
from live_test import LiveTest, until
import test_programs_router

LOST = 30            # of a hundred
GROUPS = 5           # at each of so many hosts
HOSTS = ("h0", "h1", "h2", "h3")
LONG = 20            # seconds, in which a router asks often
INTERVAL = 1         # of the router's queries, seconds
SILENCE = 0.8        # seconds, longer than a host waits to repeat itself
ANSWERED = 10.5      # seconds: by then every host has answered what the node asks at its start


class Heard:
    """What a router at the uplink takes to have members, by all that has arrived there."""

    def __init__(self, uplink):
        self.capture = uplink.capture

    def now(self, family):
        members = set()
        for frame in self.capture.frames(lambda frame: frame.family == family and "query" not in frame.kind):
            members |= set(frame.groups)
            members -= set(frame.leaves())
        return members


class LossTest(LiveTest):
    def setUp(self):
        super().setUp()
        self.heard = Heard(self.uplink)

    def wait_for_groups(self, family, groups, what):
        until(lambda: set(groups) & self.heard.now(family) == set(what),
              "the router knows %s" % (what or "none"))

    def groups(self, number):
        return {"IGMP": ["239.26.%d.%d" % (number, at) for at in range(GROUPS * len(HOSTS))],
                "MLD": ["ff1e::26:%x:%x" % (number, at) for at in range(GROUPS * len(HOSTS))]}

    def join_all(self, groups):
        return [self.hosts[HOSTS[at % len(HOSTS)]].join(group) for at, group in enumerate(groups)]


class ByChance(LossTest):
    """What is lost twice is said again when the router asks again."""

    def joins_arrive(self, number, *families):
        self.uplink.query(interval=INTERVAL, response=0.2)
        with loss.some(self.switch, UPLINK, LOST) as wire:
            groups = {family: self.groups(number)[family] for family in families}
            for family in groups:
                self.join_all(groups[family])
            for family in groups:
                self.wait_for_groups(family, groups[family], groups[family])
            until(wire.lost, "something was lost")

    def test_all_joins_arrive_in_snooping_mode(self):
        self.joins_arrive(1, "IGMP", "MLD")

    def test_all_joins_arrive_in_proxy_mode(self):
        self.node.ctl("mode", "proxy")
        self.joins_arrive(2, "IGMP")

    def test_streams_of_joins_that_were_lost_flow(self):
        with loss.some(self.switch, UPLINK, LOST):
            stream = self.uplink.stream("239.26.3.1")
            for name in HOSTS:
                self.hosts[name].join("239.26.3.1")
            self.assert_reaches(stream, *range(len(HOSTS)))


class ByChanceToARouter(test_programs_router.RouterTest):
    """FRR asks again, and forgets in the end whose leave it did not hear."""

    def assert_known_and_forgotten(self, third):
        self.meet(interval=2)
        groups = {"239.26.%d.%d" % (third, at) for at in range(GROUPS * len(HOSTS))}
        with loss.some(self.switch, UPLINK, LOST) as wire:
            members = [self.hosts[HOSTS[at % len(HOSTS)]].join(group) for at, group in enumerate(groups)]
            until(lambda: groups <= set(self.router.groups()), "all joins arrive", LONG)
            # While it asks and members answer: what leaves is said once or twice.
            until(wire.lost, "something was lost", LONG)
            for member in members:
                member.leave()
            until(lambda: not groups & set(self.router.groups()), "all leaves arrive, or are missed", LONG)

    def test_joins_and_leaves_arrive_in_snooping_mode(self):
        self.assert_known_and_forgotten(4)

    def test_joins_and_leaves_arrive_in_proxy_mode(self):
        self.proxy()
        self.assert_known_and_forgotten(5)


class OfTwo(LossTest):
    """The first of two is lost, so what is said once does not arrive; nobody asks."""

    def hear_it(self, groups):
        host = self.hosts["h0"]
        host.speak(3, 2)
        for family, group in groups.items():
            with self.subTest(family=family, what="join"):
                self.wait_for_silence()
                with loss.every_other(self.switch, UPLINK) as wire:
                    member = host.join(group)
                    self.wait_for_groups(family, [group], [group])
                    self.assertGreaterEqual(wire.lost(), 1)
            with self.subTest(family=family, what="leave"):
                self.wait_for_silence()
                with loss.every_other(self.switch, UPLINK) as wire:
                    member.leave()
                    self.wait_for_groups(family, [group], [])
                    self.assertGreaterEqual(wire.lost(), 1)

    def wait_for_silence(self):
        """Nobody says what would be the one of two that is lost."""
        def quiet():
            heard = len(self.uplink.capture.frames(lambda frame: frame.trapped))
            return not holds_within(
                SILENCE, lambda: len(self.uplink.capture.frames(lambda frame: frame.trapped)) > heard)
        until(quiet, "all hosts have said what they had to say")

    # RFC 3376, 5.1, and RFC 3810, 6.1: a change is reported [Robustness Variable] times.
    def test_a_host_that_repeats_itself_is_heard_in_snooping_mode(self):
        time.sleep(ANSWERED)
        self.hear_it({"IGMP": "239.27.1.1", "MLD": "ff1e::27:1:1"})

    # As it is a host at its uplink.
    def test_the_proxy_repeats_itself(self):
        self.node.ctl("mode", "proxy")
        self.hear_it({"IGMP": "239.27.2.1", "MLD": "ff1e::27:2:1"})
