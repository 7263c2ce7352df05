"""A membership as an application has it: a socket that joins a group and counts what it gets."""

import ipaddress
import socket
import struct
import time

from lab.capture import AT_A_TIME, LONGEST

MCAST_JOIN_SOURCE_GROUP, MCAST_LEAVE_SOURCE_GROUP = 46, 47
IPV6_JOIN_GROUP, IPV6_LEAVE_GROUP = 20, 21


def storage(address):
    """The address as a sockaddr_storage, the form the group requests want."""
    ip = ipaddress.ip_address(address)
    if ip.version == 4:
        raw = struct.pack("=HH4s", socket.AF_INET, 0, ip.packed)
    else:
        raw = struct.pack("=HHI16sI", socket.AF_INET6, 0, 0, ip.packed, 0)
    return raw.ljust(128, b"\0")


def change_membership(sock, index, group, source, join):
    """Joins or leaves a group on the interface of that index, for one source or for all."""
    ip = ipaddress.ip_address(group)
    level = socket.IPPROTO_IP if ip.version == 4 else socket.IPPROTO_IPV6
    if source:
        sock.setsockopt(level, MCAST_JOIN_SOURCE_GROUP if join else MCAST_LEAVE_SOURCE_GROUP,
                        struct.pack("=I4x", index) + storage(group) + storage(source))
    elif ip.version == 4:
        sock.setsockopt(level, socket.IP_ADD_MEMBERSHIP if join else socket.IP_DROP_MEMBERSHIP,
                        struct.pack("=4s4si", ip.packed, bytes(4), index))
    else:
        sock.setsockopt(level, IPV6_JOIN_GROUP if join else IPV6_LEAVE_GROUP,
                        struct.pack("=16si", ip.packed, index))


class Membership:
    def __init__(self, pump, namespace, device, group, port, source=None):
        self.pump = pump
        self.group = group
        self.source = source
        self.received = 0
        version = ipaddress.ip_address(group).version
        with namespace.entered():
            self.index = socket.if_nametoindex(device)
            self.socket = socket.socket(socket.AF_INET if version == 4 else socket.AF_INET6,
                                        socket.SOCK_DGRAM)
        # Several memberships of a host may listen to the same group.
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        # Bound to the group, so that it hears of no group that another socket has joined.
        self.socket.bind((group, port) if version == 4 else (group, port, 0, self.index))
        self.socket.setblocking(False)
        pump.watch(self.socket, self.read)
        change_membership(self.socket, self.index, group, source, join=True)

    def read(self):
        for _ in range(AT_A_TIME):
            try:
                self.socket.recv(LONGEST)
            except BlockingIOError:
                return
            self.received += 1

    def leave(self):
        """Gives the group up; the moments before and after, as a busy kernel lets that wait."""
        before = time.time()
        change_membership(self.socket, self.index, self.group, self.source, join=False)
        return before, time.time()

    def close(self):
        """An application that ends: the kernel leaves the group for it."""
        self.pump.forget(self.socket)
        self.socket.close()
