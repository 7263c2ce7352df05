"""From the values of all rounds to a table: measure, unit, kernel, node, and who is better."""

import math
import statistics

from bench.runs import LOST

BETTER, EQUAL, WORSE = "better", "equal", "worse"


class Row:
    """How the values of a row are taken together, shown and compared."""

    def __init__(self, title, unit, scale, digits, together, tolerance, least=0.0, more_is_better=False):
        self.title, self.unit, self.scale, self.digits = title, unit, scale, digits
        self.together = together
        self.tolerance, self.least = tolerance, least      # a part of the kernel's figure, and in the unit
        self.more_is_better = more_is_better

    def figure(self, values):
        return self.together(values) * self.scale if values else None

    def slack(self, kernel, node, counts):
        """How much two figures differ that are the same."""
        if self.unit == "%" and min(counts) > 0 and self.more_is_better:
            # Of so many tries: two standard errors of the difference.
            shares = [figure / self.scale for figure in (kernel, node)]
            return 2 * self.scale * math.sqrt(sum(share * (1 - share) / count
                                                  for share, count in zip(shares, counts)))
        return max(self.tolerance * kernel, self.least)

    def verdict(self, kernel, node, counts):
        if kernel is None or node is None:
            return "-"
        ahead = (node - kernel) if self.more_is_better else (kernel - node)
        if abs(ahead) <= self.slack(kernel, node, counts):
            return EQUAL
        return BETTER if ahead > 0 else WORSE


def time_row(title, least, together=statistics.median, tolerance=0.1):
    """In milliseconds; what differs by less than least ms is the machine's doing."""
    return Row(title, "ms", 1e3, 1, together, tolerance, least)


def share_row(title, more_is_better=True):
    return Row(title, "%", 100, 0, statistics.mean, 0.0, 1.0, more_is_better)


IGMP_AND_MLD = ("IGMPv1", "IGMPv2", "IGMPv3", "MLDv1", "MLDv2")
LEAVING = IGMP_AND_MLD[1:]
ROWS = [
    share_row("joins that bring the stream"),
    *(time_row("join, " + version, 5) for version in IGMP_AND_MLD),
    time_row("join, worst", 20, max, 0.25),
    *(time_row("leave, " + version, 60) for version in LEAVING),
    time_row("leave, worst", 200, max),
    *(time_row("fast leave, " + version, 5) for version in LEAVING),
    time_row("fast leave, worst", 20, max, 0.25),
    share_row("joins that arrive, %d %% of reports lost" % LOST),
    share_row("leaves that end the stream, %d %% of reports lost" % LOST),
    share_row("joins that arrive at the router, %d %% lost" % LOST),
    share_row("leaves that arrive at the router, %d %% lost" % LOST),
    time_row("outage after a port was down", 20),
    time_row("outage after the bridge was off", 20),
    time_row("outage when what snoops is restarted", 20),
    *(time_row("gap as a second host leaves, " + version, 50) for version in LEAVING),
    *(share_row("datagrams of a source not asked for, " + version, False)
      for version in ("IGMPv3", "MLDv2")),
    *(Row("datagrams to ports without a member" + when, "datagrams", 1, 0, statistics.median, 0.1, 10)
      for when in ("", " as it is restarted", " after the bridge was off")),
    Row("reports that reach other user ports", "reports", 1, 0, statistics.median, 0.0),
    Row("memory of a group", "bytes", 1, 0, statistics.median, 0.1, 64),
    Row("CPU of a report", "us", 1e6, 1, statistics.median, 0.15, 1),
]


def table(kernel, node):
    """kernel, node: values by row; a row each as a dictionary."""
    rows = []
    for row in ROWS:
        figures = [row.figure(values.get(row.title)) for values in (kernel, node)]
        counts = [len(values.get(row.title, [])) for values in (kernel, node)]
        rows.append({"measure": row.title, "unit": row.unit, "kernel": figures[0], "node": figures[1],
                     "values": counts, "more_is_better": row.more_is_better,
                     "verdict": row.verdict(*figures, counts)})
    return rows


def shown(rows):
    """As they are printed."""
    digits = {row.title: row.digits for row in ROWS}

    def cell(row, name):
        return "-" if row[name] is None else "%.*f" % (digits[row["measure"]], row[name])
    return [[row["measure"], row["unit"], cell(row, "kernel"), cell(row, "node"), row["verdict"]]
            for row in rows]


HEADING = ["measure", "unit", "kernel", "node", "the node is"]


def markdown(rows):
    lines = [HEADING, ["---", "---", "---:", "---:", "---"], *shown(rows)]
    return "\n".join("| %s |" % " | ".join(line) for line in lines)


def text(rows):
    lines = [HEADING, *shown(rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADING))]
    return "\n".join("  ".join(cell.rjust(width) if column in (2, 3) else cell.ljust(width)
                               for column, (cell, width) in enumerate(zip(line, widths))).rstrip()
                     for line in lines)
