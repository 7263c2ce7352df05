"""IGMP and MLD messages as frames, for what no kernel sends by itself."""

import ipaddress
import struct

from lab.checksum import checksum

ALL_SYSTEMS, ALL_NODES6 = "224.0.0.1", "ff02::1"
ALL_SNOOPERS, ALL_SNOOPERS6 = "224.0.0.106", "ff02::6a"
ROUTER_ALERT = bytes([0x94, 4, 0, 0])
HOP_BY_HOP = bytes([58, 0, 5, 2, 0, 0, 1, 0])    # router alert, padded to 8 bytes
QUERY_ROBUSTNESS = 2


def group_mac(group):
    """The MAC address that frames to a multicast group carry."""
    packed = ipaddress.ip_address(group).packed
    if len(packed) == 4:
        return bytes([1, 0, 0x5E, packed[1] & 0x7F]) + packed[2:]
    return b"\x33\x33" + packed[12:]


def ethernet(source_mac, group, packet, tags=()):
    """A frame to the group; tags are TCIs, the outer one first."""
    kind = 0x0800 if packet[0] >> 4 == 4 else 0x86DD
    return (group_mac(group) + bytes.fromhex(source_mac.replace(":", ""))
            + b"".join(struct.pack("!HH", 0x8100, tci) for tci in tags)
            + struct.pack("!H", kind) + packet)


def igmp_packet(source, destination, message):
    message = message[:2] + struct.pack("!H", checksum(message)) + message[4:]
    header = struct.pack("!BBHHHBBH4s4s", 0x46, 0xC0, 24 + len(message), 0, 0x4000, 1, 2, 0,
                         ipaddress.IPv4Address(source).packed,
                         ipaddress.IPv4Address(destination).packed) + ROUTER_ALERT
    return header[:10] + struct.pack("!H", checksum(header)) + header[12:] + message


def mld_packet(source, destination, message):
    addresses = ipaddress.IPv6Address(source).packed + ipaddress.IPv6Address(destination).packed
    pseudo_header = addresses + struct.pack("!II", len(message), 58)
    message = message[:2] + struct.pack("!H", checksum(pseudo_header + message)) + message[4:]
    return (struct.pack("!IHBB", 6 << 28, len(HOP_BY_HOP) + len(message), 0, 1)
            + addresses + HOP_BY_HOP + message)


def igmp_query(source, version, group=None, response_s=1.0):
    """A query to all, or about one group, as a packet and the group it goes to."""
    message = struct.pack("!BBH4s", 0x11, min(round(response_s * 10), 127) if version > 1 else 0, 0,
                          ipaddress.IPv4Address(group or 0).packed)
    if version >= 3:
        message += struct.pack("!BBH", QUERY_ROBUSTNESS, 0, 0)
    to = group or ALL_SYSTEMS
    return igmp_packet(source, to, message), to


def mld_query(source, version, group=None, response_s=1.0):
    message = struct.pack("!BBHHH16s", 130, 0, 0, min(round(response_s * 1000), 32767), 0,
                          ipaddress.IPv6Address(group or 0).packed)
    if version >= 2:
        message += struct.pack("!BBH", QUERY_ROBUSTNESS, 0, 0)
    to = group or ALL_NODES6
    return mld_packet(source, to, message), to


def router_advertisement(source, interval_s):
    """A multicast router says that it is there (RFC 4286, 3.2), in the family of its address."""
    if ":" in source:
        message = struct.pack("!BBHHH", 151, interval_s, 0, 0, QUERY_ROBUSTNESS)
        return mld_packet(source, ALL_SNOOPERS6, message), ALL_SNOOPERS6
    message = struct.pack("!BBHHH", 0x30, interval_s, 0, 0, QUERY_ROBUSTNESS)
    return igmp_packet(source, ALL_SNOOPERS, message), ALL_SNOOPERS


def igmp_v2_report(source, group):
    message = struct.pack("!BBH4s", 0x16, 0, 0, ipaddress.IPv4Address(group).packed)
    return igmp_packet(source, group, message), group


def mld_v1_report(source, group):
    message = struct.pack("!BBHHH16s", 131, 0, 0, 0, 0, ipaddress.IPv6Address(group).packed)
    return mld_packet(source, group, message), group
