"""Waiting for a condition instead of sleeping."""

import time

from lab.failure import LabError

LOOK = 0.01       # seconds between two looks
PATIENCE = 10     # the machine may be busy


def holds_within(seconds, condition):
    """Whether the condition comes true in time; what it gave."""
    deadline = time.monotonic() + seconds
    while True:
        found = condition()
        if found or time.monotonic() > deadline:
            return found
        time.sleep(LOOK)


def until(condition, what, seconds=PATIENCE):
    """Waits for the condition and gives what it gave; an error that names it when it does not come."""
    found = holds_within(seconds, condition)
    if not found:
        raise LabError("waited %g s in vain: %s" % (seconds, what))
    return found
