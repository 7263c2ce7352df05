"""What a demonstration shows: headings, tables, and claims that are checked as they are shown."""

import sys


class Shown:
    def __init__(self):
        self.claims = 0
        self.wrong = []

    def heading(self, text):
        self.line("\n%s" % text)

    def line(self, text):
        print(text, flush=True)

    def claim(self, holds, text):
        """Shows what is claimed and whether it holds."""
        self.claims += 1
        if not holds:
            self.wrong.append(text)
        self.line("  %-5s  %s" % ("ok" if holds else "WRONG", text))

    def table(self, rows):
        """Rows of words, the first one a heading, the first column to the left."""
        widths = [max(len(str(row[at])) for row in rows) for at in range(len(rows[0]))]
        for row in rows:
            first, *others = zip(row, widths)
            self.line("  " + first[0].ljust(first[1]) + "".join(
                "  " + str(word).rjust(width) for word, width in others))

    def conclude(self):
        """The exit status: 0 when every claim held, otherwise one line says which did not."""
        self.line("\n%d claims shown, %d wrong" % (self.claims, len(self.wrong)))
        if not self.wrong:
            return 0
        print("live: not so: %s" % "; ".join(self.wrong), file=sys.stderr)
        return 1
