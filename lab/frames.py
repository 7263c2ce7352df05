"""Frames, told apart: tags, IGMP, MLD and UDP."""

import ipaddress
import struct

from lab.checksum import checksum

RECORDS = {1: "IS_IN", 2: "IS_EX", 3: "TO_IN", 4: "TO_EX", 5: "ALLOW", 6: "BLOCK"}
TAG_TYPES = (0x8100, 0x88A8)
TRAPPED_ICMPV6 = (130, 131, 132, 143)
ROUTER_DISCOVERY = (151, 152, 153)


class Frame:
    """One frame.  Anything not understood stays 'other', what contradicts itself is 'broken'."""

    def __init__(self, data, when=None):
        self.data = data
        self.when = when        # seconds of the real-time clock
        self.tags = []          # (PCP, VID), the outer one first
        self.family = None
        self.kind = "other"
        self.trapped = False
        self.general_query = False
        self.groups = []        # groups asked for or reported
        self.records = []       # (type, group, number of sources)
        self.intact = True
        self.destination = None  # of the IP packet
        self.source = None
        self.port = None        # that UDP goes to
        self.payload = b""      # of UDP
        self.source_mac = data[6:12].hex(":")
        try:
            self.ethernet(data)
        except (struct.error, IndexError, ValueError):
            self.kind, self.trapped = "broken", False

    def __repr__(self):
        tags = "".join(" VID %d" % vid for _, vid in self.tags)
        return "<%s %s%s>" % (self.kind, " ".join(self.groups) or self.destination, tags)

    @property
    def vids(self):
        return [vid for _, vid in self.tags]

    def ethernet(self, data):
        at = 12
        kind, = struct.unpack_from("!H", data, at)
        while kind in TAG_TYPES:
            tci, kind = struct.unpack_from("!HH", data, at + 2)
            self.tags.append((tci >> 13, tci & 0xFFF))
            at += 4
        rest = data[at + 2:]
        if kind == 0x0800:
            self.ipv4(rest)
        elif kind == 0x86DD:
            self.ipv6(rest)
        elif kind == 0x0806:
            self.kind = "ARP"

    def udp(self, datagram):
        self.port, = struct.unpack_from("!H", datagram, 2)
        self.payload = datagram[8:]
        self.kind = "UDP port %d" % self.port

    def ipv4(self, data):
        header = (data[0] & 15) * 4
        total, = struct.unpack_from("!H", data, 2)
        if total > len(data) or header > total:
            raise ValueError
        self.source, self.destination = (str(ipaddress.IPv4Address(data[at:at + 4]))
                                         for at in (12, 16))
        body = data[header:total]       # the padding behind it does not count
        if data[9] == 17:
            self.udp(body)
        if data[9] == 2:
            self.intact = checksum(data[:header]) == 0 and checksum(body) == 0
            self.igmp(body)

    def igmp(self, body):
        self.trapped, self.family = True, "IGMP"
        group = str(ipaddress.IPv4Address(body[4:8]))
        if body[0] == 0x11:
            version = "v3" if len(body) >= 12 else "v2" if body[1] else "v1"
            self.query("IGMP" + version, group, len(body) >= 12 and body[10:12] != b"\0\0")
        elif body[0] in (0x12, 0x16, 0x17):
            self.kind = {0x12: "IGMPv1 report", 0x16: "IGMPv2 report", 0x17: "IGMPv2 leave"}[body[0]]
            self.groups = [group]
        elif body[0] == 0x22:
            self.kind = "IGMPv3 report"
            self.report_records(body, 4)
        else:
            self.kind = "IGMP, other"

    def ipv6(self, data):
        length, following = struct.unpack_from("!HB", data, 4)
        if 40 + length > len(data):
            raise ValueError
        self.source, self.destination = (str(ipaddress.IPv6Address(data[at:at + 16]))
                                         for at in (8, 24))
        at = 40
        while following in (0, 43, 60):
            following, size = data[at], 8 + 8 * data[at + 1]
            at += size
        body = data[at:40 + length]
        if following == 17:
            self.udp(body)
        if following != 58:
            return
        self.kind = {133: "router solicitation", 135: "neighbour solicitation",
                     136: "neighbour advertisement"}.get(body[0], "ICMPv6, other")
        if body[0] in ROUTER_DISCOVERY:
            self.trapped, self.family, self.kind = True, "MLD", "router discovery"
        if body[0] in TRAPPED_ICMPV6:
            pseudo_header = data[8:40] + struct.pack("!II", len(body), 58)
            self.intact = checksum(pseudo_header + body) == 0
            self.mld(body)

    def mld(self, body):
        self.trapped, self.family = True, "MLD"
        if body[0] == 143:
            self.kind = "MLDv2 report"
            self.report_records(body, 16)
            return
        group = str(ipaddress.IPv6Address(body[8:24]))
        if body[0] == 130:
            self.query("MLDv2" if len(body) >= 28 else "MLDv1", group,
                       len(body) >= 28 and body[26:28] != b"\0\0")
        else:
            self.kind = "MLDv1 report" if body[0] == 131 else "MLDv1 done"
            self.groups = [group]

    def query(self, version, group, sources):
        self.general_query = ipaddress.ip_address(group).is_unspecified
        self.kind = version + (" general query" if self.general_query
                               else " group and source query" if sources else " group query")
        self.groups = [] if self.general_query else [group]

    def report_records(self, body, size):
        count, = struct.unpack_from("!H", body, 6)
        at = 8
        for _ in range(count):
            kind, extra, sources = struct.unpack_from("!BBH", body, at)
            group = str(ipaddress.ip_address(body[at + 4:at + 4 + size]))
            self.records.append((kind, group, sources))
            self.groups.append(group)
            at += 4 + size * (1 + sources) + 4 * extra
        if at > len(body):
            raise ValueError

    def leaves(self):
        """The groups that the frame gives up as a whole."""
        if self.kind in ("IGMPv2 leave", "MLDv1 done"):
            return list(self.groups)
        return [group for kind, group, sources in self.records if RECORDS.get(kind) == "TO_IN"
                and not sources]
