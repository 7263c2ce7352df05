"""An IPv6 echo, which needs neighbour discovery first."""

import os
import select
import socket
import struct
import time

ECHO_REQUEST, ECHO_REPLY = 128, 129
TRIES = 10           # the machine may be busy
PATIENCE = 1.0       # seconds a try


def ping(namespace, device, address):
    with namespace.entered():
        index = socket.if_nametoindex(device)
        echo = socket.socket(socket.AF_INET6, socket.SOCK_RAW, socket.IPPROTO_ICMPV6)
    with echo:
        identity = os.urandom(8)
        for number in range(TRIES):
            echo.sendto(struct.pack("!BBHHH", ECHO_REQUEST, 0, 0, 0, number) + identity,
                        (address, 0, 0, index))
            if answered(echo, identity):
                return True
    return False


def answered(echo, identity):
    deadline = time.monotonic() + PATIENCE
    while (left := deadline - time.monotonic()) > 0:
        if select.select([echo], [], [], left)[0]:
            message = echo.recv(2048)
            if message[0] == ECHO_REPLY and message[8:] == identity:
                return True
    return False
