"""What arrives at an interface, with its tags: a packet socket read by the pump."""

import socket
import struct

from lab.frames import Frame

ETH_P_ALL = 3
SOL_PACKET, PACKET_AUXDATA, PACKET_IGNORE_OUTGOING = 263, 8, 23
SO_TIMESTAMPNS, SO_RCVBUFFORCE = 35, 33
TP_STATUS_VLAN_VALID, TP_STATUS_VLAN_TPID_VALID = 0x10, 0x40
RECEIVE_BUFFER = 4 << 20
LONGEST = 2048
AT_A_TIME = 256


class Capture:
    """frames() is all that came since the last clear(), in order."""

    def __init__(self, pump, namespace, device):
        self.pump = pump
        self.raw = []
        self.parsed = []
        self.listeners = []      # called with each frame, in the pump
        with namespace.entered():
            # With its protocol 0 it stays deaf until it is bound to the one interface.
            self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0)
            self.socket.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, RECEIVE_BUFFER)
            self.socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
            self.socket.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
            self.socket.setsockopt(SOL_PACKET, PACKET_IGNORE_OUTGOING, 1)
            self.socket.bind((device, ETH_P_ALL))
        self.socket.setblocking(False)
        pump.watch(self.socket, self.read)

    def read(self):
        for _ in range(AT_A_TIME):
            try:
                data, extras, _, _ = self.socket.recvmsg(LONGEST, 128)
            except OSError:       # nothing more, or the interface has gone down
                return
            self.raw.append(whole(data, extras))
            for hear in self.listeners:
                hear(Frame(self.raw[-1][0]))

    def frames(self, wanted=None):
        """The frames, or those of them for which wanted(frame) holds."""
        with self.pump.lock:
            self.read()       # what has arrived counts, whether the pump was there or not
            fresh, self.raw = self.raw, []
            self.parsed += [Frame(data, when) for data, when in fresh]
            everything = list(self.parsed)
        return everything if wanted is None else [f for f in everything if wanted(f)]

    def clear(self):
        with self.pump.lock:
            self.read()
            self.raw, self.parsed = [], []

    def send(self, frame):
        """A frame out of the same interface, byte for byte."""
        self.socket.send(frame)

    def close(self):
        self.pump.forget(self.socket)
        self.socket.close()


def whole(data, extras):
    """The frame with the outer tag, which the kernel keeps beside it, and when it came."""
    when = None
    for level, kind, content in extras:
        if level == socket.SOL_SOCKET and kind == SO_TIMESTAMPNS:
            seconds, nanoseconds = struct.unpack_from("@ll", content)
            when = seconds + nanoseconds / 1e9
        elif level == SOL_PACKET and kind == PACKET_AUXDATA:
            status, tci, tpid = struct.unpack_from("@I12xHH", content)
            if status & TP_STATUS_VLAN_VALID:
                known = status & TP_STATUS_VLAN_TPID_VALID
                data = data[:12] + struct.pack("!HH", tpid if known else 0x8100, tci) + data[12:]
    return data, when
