"""A multicast router at the end of the uplink: asks who is there, and again after a leave."""

import time

from lab import messages


class Querier:
    """Answers leaves with queries about the group, as a router does, unless answer_leaves is off."""

    def __init__(self, pump, host, igmp=3, mld=2, interval=2.0, response=0.5, tags=(),
                 answer_leaves=True, last_member_interval=0.5, last_member_count=2):
        self.pump = pump
        self.host = host
        self.igmp = igmp          # versions; None: does not ask
        self.mld = mld
        self.interval = interval
        self.response = response
        self.tags = tags          # TCIs
        self.answer_leaves = answer_leaves
        self.last_member_interval = last_member_interval
        self.last_member_count = last_member_count
        self.asked = 0            # general queries of each family
        self.running = True
        host.capture.listeners.append(self.take)
        pump.at(time.monotonic(), self.ask)

    def send(self, packet, to):
        try:
            self.host.capture.send(messages.ethernet(self.host.mac, to, packet, self.tags))
        except OSError:
            pass       # the interface is down

    def ask(self):
        if not self.running:
            return
        if self.igmp:
            self.send(*messages.igmp_query(self.host.ip4, self.igmp, None, self.response))
        if self.mld:
            self.send(*messages.mld_query(self.host.link_local, self.mld, None, self.response))
        self.asked += 1
        self.pump.at(time.monotonic() + self.interval, self.ask)

    def take(self, frame):
        if not self.running or not self.answer_leaves:
            return
        for group in frame.leaves():
            for turn in range(self.last_member_count):
                self.pump.at(time.monotonic() + turn * self.last_member_interval,
                             lambda family=frame.family, group=group: self.ask_about(family, group))

    def ask_about(self, family, group):
        if not self.running:
            return
        if family == "IGMP" and self.igmp:
            self.send(*messages.igmp_query(self.host.ip4, max(self.igmp, 2), group,
                                           self.last_member_interval))
        elif family == "MLD" and self.mld:
            self.send(*messages.mld_query(self.host.link_local, self.mld, group,
                                          self.last_member_interval))

    def close(self):
        with self.pump.lock:
            if self.running:
                self.host.capture.listeners.remove(self.take)
            self.running = False
