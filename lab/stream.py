"""A stream: numbered UDP datagrams to a multicast group at a steady rate."""

import ipaddress
import socket
import struct
import time

UDP_PORT = 5000
HOPS = 8
MARK = b"lab stream"
MOST_AT_ONCE = 20     # a late sender catches up, but not with an avalanche


class Stream:
    def __init__(self, pump, namespace, device, group, rate, port=UDP_PORT):
        self.pump = pump
        self.group = group
        self.port = port
        self.pause = 1 / rate
        self.sent = 0
        self.running = True
        version = ipaddress.ip_address(group).version
        with namespace.entered():
            index = socket.if_nametoindex(device)
            self.socket = socket.socket(socket.AF_INET if version == 4 else socket.AF_INET6,
                                        socket.SOCK_DGRAM)
        if version == 4:
            self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF,
                                   struct.pack("=4s4si", bytes(4), bytes(4), index))
            self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, HOPS)
            self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_LOOP, 0)
        else:
            self.socket.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, index)
            self.socket.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_HOPS, HOPS)
            self.socket.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_LOOP, 0)
        self.target = (group, port) if version == 4 else (group, port, 0, index)
        self.socket.setblocking(False)
        self.next = time.monotonic()
        pump.at(self.next, self.send)

    def send(self):
        now = time.monotonic()
        for _ in range(MOST_AT_ONCE):
            if not self.running or self.next > now:
                break
            try:
                self.socket.sendto(MARK + struct.pack("!I", self.sent), self.target)
                self.sent += 1
            except OSError:
                pass       # the interface is down or full: lost, as on a wire
            self.next += self.pause
        self.next = max(self.next, now)
        if self.running:
            self.pump.at(self.next, self.send)

    def seen_in(self, frame):
        """Whether the frame is a datagram of this stream."""
        return (frame.destination == self.group and frame.port == self.port
                and frame.payload.startswith(MARK))

    def close(self):
        with self.pump.lock:
            self.running = False
            self.socket.close()


def number(frame):
    """The number of a datagram in its stream."""
    return struct.unpack_from("!I", frame.payload, len(MARK))[0]
