"""From measured times to percentiles, ratios and goals, as a table for people or JSON for programs."""

import math

from bench.measure import KINDS, SOCKET_KINDS

# What the node is held to: contender, percentile, highest ratio.
GOALS = [("bare", "p50", 1.15)]     # what a library in between may cost


def percentile(values, share):
    """The smallest value that so large a share of the values does not exceed."""
    ordered = sorted(values)
    return ordered[max(0, math.ceil(share * len(ordered)) - 1)] if ordered else None


def spread(values):
    return {"count": len(values), "p50": percentile(values, 0.50), "p95": percentile(values, 0.95),
            "max": max(values, default=None)}


def joins_figures(kinds):
    """kinds: Joins by kind, of one contender."""
    figures = {}
    for kind, joins in kinds.items():
        figures[kind] = {"join": spread(joins.joined), "leave": spread(joins.left),
                         "lost": joins.lost, "not_stopped": joins.stayed,
                         "set_aside": joins.set_aside}
    figures["all"] = {"join": spread([time for joins in kinds.values() for time in joins.joined])}
    return figures


def load_figures(load):
    return {"reports": load.sent, "seconds": load.seconds, "forwarded": load.forwarded,
            "memberships": load.expected, "missing": len(load.missing), "dropped": load.dropped,
            "cpu_per_report": None if load.cpu is None else load.cpu / load.sent}


def idle_figures(idle):
    return {"seconds": idle.seconds, "wake_ups_per_second": idle.wake_ups / idle.seconds,
            "cpu_share": idle.cpu / idle.seconds}


def ratio(figures, other, share, wait=0.0):
    """Node to another, of times that hold a wait which is nobody's."""
    node, against = (figures[name]["all"]["join"][share] for name in ("node", other))
    return (node - wait) / (against - wait) if node and against and against > wait else None


def all_ratios(raw, period):
    ratios = {}
    for other in ("kernel", "bare"):
        if "node" in raw and other in raw:
            shares = ratios["node/" + other] = {
                share: ratio(raw, other, share) for share in ("p50", "p95")}
            shares["p50_without_wait"] = ratio(raw, other, "p50", period / 2)
    return ratios


def all_goals(raw):
    goals = []
    for other, share, limit in GOALS:
        if "node" in raw and other in raw:
            value = ratio(raw, other, share)
            goals.append({"goal": "node %s <= %.2f x %s %s" % (share, limit, other, share),
                          "ratio": value, "met": value is not None and value <= limit})
    return goals


def all_figures(measured, period):
    """measured: for each contender's name its raw joins, socket joins, idle time and load."""
    figures = {"stream_period": period, "raw": {}, "sockets": {}, "idle": {}, "load": {}}
    for name, (raw, sockets, idle, load) in measured.items():
        figures["raw"][name] = joins_figures(raw)
        figures["sockets"][name] = joins_figures(sockets)
        if idle:
            figures["idle"][name] = idle_figures(idle)
        figures["load"][name] = load_figures(load)
    figures["ratios"] = all_ratios(figures["raw"], period)
    figures["goals"] = all_goals(figures["raw"])
    figures["failures"] = failures(figures)
    return figures


def failures(figures):
    """What must not happen however slow the machine is; one sentence a thing."""
    found = []
    for part in ("raw", "sockets"):
        for name, kinds in figures[part].items():
            for kind, one in kinds.items():
                if one.get("lost"):
                    found.append("%s, %s: %d joins without a stream" % (name, kind, one["lost"]))
                if one.get("not_stopped"):
                    found.append("%s, %s: %d streams did not stop after the leave"
                                 % (name, kind, one["not_stopped"]))
    for name, load in figures["load"].items():
        if load["missing"]:
            found.append("%s, load: %d of %d memberships are not in the database"
                         % (name, load["missing"], load["memberships"]))
        if load["dropped"]:
            found.append("%s, load: %d frames dropped" % (name, load["dropped"]))
    return found


# --------------------------------------------------------------------------
# For people
# --------------------------------------------------------------------------

def milliseconds(seconds, digits=3):
    return "-" if seconds is None else "%.*f" % (digits, seconds * 1e3)


def times_row(name, kind, one, digits):
    cells = [name, kind, str(one["join"]["count"])]
    cells += [milliseconds(one["join"][share], digits) for share in ("p50", "p95", "max")]
    if "leave" in one:
        cells += [milliseconds(one["leave"][share], digits) for share in ("p50", "p95")]
        cells += [str(one[what]) for what in ("lost", "not_stopped", "set_aside")]
    return cells


def times_table(figures, kinds, digits):
    rows = [["", "report", "joins", "p50", "p95", "max", "leave p50", "p95",
             "lost", "not stopped", "set aside"]]
    for kind in kinds + ["all"]:
        rows += [times_row(name, kind, by_kind[kind], digits) for name, by_kind in figures.items()]
    return rows


def idle_table(figures):
    rows = [["", "s", "wake-ups/s", "CPU %"]]
    rows += [[name, "%d" % idle["seconds"], "%.1f" % idle["wake_ups_per_second"],
              "%.2f" % (idle["cpu_share"] * 100)] for name, idle in figures.items()]
    return rows


def load_table(figures):
    rows = [["", "reports", "s", "forwarded", "in database", "of", "dropped", "CPU us/report"]]
    for name, load in figures.items():
        cpu = load["cpu_per_report"]
        rows.append([name, str(load["reports"]), "%.1f" % load["seconds"], str(load["forwarded"]),
                     str(load["memberships"] - load["missing"]), str(load["memberships"]),
                     "-" if load["dropped"] is None else str(load["dropped"]),
                     "-" if cpu is None else "%.1f" % (cpu * 1e6)])
    return rows


def aligned(rows):
    columns = max(len(row) for row in rows)
    rows = [row + [""] * (columns - len(row)) for row in rows]
    widths = [max(len(row[column]) for row in rows) for column in range(columns)]
    return "\n".join("  " + "  ".join(
        cell.ljust(width) if column < 2 else cell.rjust(width)
        for column, (cell, width) in enumerate(zip(row, widths))).rstrip() for row in rows)


def text(figures):
    period = figures["stream_period"] * 1e3
    parts = ["From the report's entry to the first stream frame out of the port, ms\n"
             "(the stream has a frame every %.3f ms, so %.3f ms of each time is waiting, on average)"
             % (period, period / 2),
             aligned(times_table(figures["raw"], KINDS, 3)), "",
             "From an ordinary socket's join to its first datagram, ms",
             aligned(times_table(figures["sockets"], SOCKET_KINDS, 1)), "",
             "While nothing comes", aligned(idle_table(figures["idle"])), "",
             "Load of reports", aligned(load_table(figures["load"]))]
    if figures["ratios"]:
        parts += ["", "Ratios of all raw joins"]
        for pair, shares in figures["ratios"].items():
            cells = ["-" if value is None else "%.2f" % value for value in shares.values()]
            parts.append("  %-11s  p50 %s  p95 %s  p50 without the stream's mean wait %s"
                         % (pair, *cells))
    for goal in figures["goals"]:
        parts.append("  %s: %s" % (goal["goal"], "met" if goal["met"] else "missed"))
    parts += ["", "Failures"] * bool(figures["failures"])
    parts += ["  " + failure for failure in figures["failures"]]
    return "\n".join(parts)
