"""One thread that reads all sockets of the lab and sends what is due.

What happens in it is short: taking in a frame, sending a datagram.  Calls run one at a time, never
while forget() or a "with pump.lock" block runs in another thread.
"""

import heapq
import itertools
import os
import selectors
import threading
import time

from lab.failure import LabError


class Pump:
    def __init__(self):
        self.lock = threading.RLock()
        self.selector = selectors.DefaultSelector()
        self.waker, self.awaken = os.pipe2(os.O_CLOEXEC | os.O_NONBLOCK)
        self.selector.register(self.waker, selectors.EVENT_READ, None)
        self.due = []
        self.number = itertools.count()
        self.failure = None
        self.stopping = False
        self.thread = threading.Thread(target=self.run, name="pump", daemon=True)
        self.thread.start()

    def watch(self, readable, call):
        """Has call() run whenever there is something to read."""
        with self.lock:
            self.selector.register(readable, selectors.EVENT_READ, call)
        self.wake()

    def forget(self, readable):
        with self.lock:
            self.selector.unregister(readable)

    def at(self, when, call):
        """Has call() run at a time of the monotonic clock."""
        with self.lock:
            heapq.heappush(self.due, (when, next(self.number), call))
        self.wake()

    def wake(self):
        try:
            os.write(self.awaken, b"x")
        except BlockingIOError:
            pass       # it has been woken already

    def check(self):
        """Raises what went wrong in the thread, if anything."""
        if self.failure is not None:
            raise LabError("the lab's pump: %r" % self.failure) from self.failure

    def close(self):
        self.stopping = True
        self.wake()
        self.thread.join()
        self.selector.close()
        os.close(self.waker)
        os.close(self.awaken)

    def run(self):
        while not self.stopping:
            with self.lock:
                wait = max(self.due[0][0] - time.monotonic(), 0) if self.due else None
            ready = self.selector.select(wait)
            try:
                self.read(ready)
                self.send()
            except Exception as problem:      # the main thread has to say it, see check()
                self.failure = self.failure or problem

    def read(self, ready):
        for key, _ in ready:
            with self.lock:
                if key.data is None:
                    os.read(self.waker, 4096)
                elif self.selector.get_map().get(key.fd) == key:      # not forgotten meanwhile
                    key.data()

    def send(self):
        while True:
            with self.lock:
                if not self.due or self.due[0][0] > time.monotonic():
                    return
                heapq.heappop(self.due)[2]()
