"""Runs the commands of a page as they stand, in their order, and says which failed and which were not run."""

import re

from doc_options import complaints_of
from doc_pages import TOOLS, simple_commands
from doc_place import Died

# What goes on until somebody ends it, and for how many seconds it does here.
ENDLESS = ((r"mc_node live (?!.*--restore)", 2), (r"mc_node replay .*--hold", 1), (r"mcctl console", 1),
           (r"mcstat --watch", 1))
NEEDS_BRIDGE = r"mc_node live "
# All others of these programs speak with a node.
NEEDS_NO_NODE = r"(mcctl|mcstat) (completion|.*--(help|man|version|dry-run|completion|reference)\b)"
A_NODE = "mc_node replay scenario/home --hold &"

STILL_RUNNING = 124     # of timeout, when it had to end the program


class Report:
    """Of one page: what is wrong, and what was left out, with the reason."""

    def __init__(self, page):
        self.page, self.failures, self.left_out = page, [], []

    def fail(self, command, why):
        self.failures.append("%s:%d: %s\n    %s" % (self.page, command.line, why, command.text.strip()))

    def leave_out(self, command, why):
        self.left_out.append("%s:%d: %s: %s" % (self.page, command.line, command.text.strip(), why))


def without_comment(text):
    return text.split(" #")[0].strip()


def runs_on(text):
    return without_comment(text).endswith("&")


def endless(text):
    """For how long a command is run that does not end."""
    if runs_on(text):
        return None
    return next((seconds for pattern, seconds in ENDLESS if re.match(pattern, text)), None)


def needs_node(text):
    return any(words[0] in ("mcctl", "mcstat") and not re.match(NEEDS_NO_NODE, " ".join(words))
               for words in simple_commands(text))


def unlike_in(shown, printed):
    """The number of the line that is shown and not printed where it should be. The first may stand anywhere, the others
    follow on each other, those behind a line of dots anywhere below."""
    at, may_skip = 0, True
    for number, line in enumerate(shown):
        if line.strip() == "...":
            may_skip = True
            continue
        while may_skip and at < len(printed) and printed[at] != line:
            at += 1
        if at >= len(printed) or printed[at] != line:
            return number
        at, may_skip = at + 1, False
    return None


class PageRun:
    """The commands of one page in one place."""

    def __init__(self, place, report):
        self.place, self.report = place, report
        self.has_node = False
        self.without = ""       # why something is not there that the rest of the block may need
        self.printed = {}

    def block(self, block):
        self.has_node, self.without = False, ""
        for command in block.commands:
            if not command.not_run:
                self.command(command)
        self.place.end_what_runs()
        if block.output_of:
            self.compare(block)

    def compare(self, block):
        """What a command has printed, with what the page shows of it."""
        output = self.printed.get(block.output_of)
        if output is None:
            self.report.failures.append("%s:%d: no such command was run before: %s"
                                        % (self.report.page, block.line, block.output_of))
            return
        unlike = unlike_in(block.lines, output.split("\n"))
        if unlike is not None:
            self.report.failures.append("%s:%d: %s does not print: %s" % (self.report.page, block.line + unlike,
                                                                          block.output_of, block.lines[unlike]))

    def command(self, command):
        why = self.without or self.obstacle(command.text)
        if why:
            self.report.leave_out(command, why)
            if runs_on(command.text):
                self.without = why
            return
        try:
            if needs_node(command.text) and not self.has_node:
                self.start_node(command, A_NODE)
            self.run(command)
        except Died as problem:
            self.report.fail(command, str(problem))
            raise

    def obstacle(self, text):
        if re.search(NEEDS_BRIDGE, text) and not self.place.has_bridge:
            return "no bridge is to be had here, root has one"
        for words in simple_commands(text):
            if words[0] in TOOLS and self.place.run("type " + words[0]) != 0:
                return "%s is not installed here" % words[0]
        return ""

    def start_node(self, command, text):
        status = self.place.run(text)
        number = self.place.run_number
        self.has_node = status == 0 and self.place.wait_for_node()
        if not self.has_node:
            self.report.fail(command, "the node takes no commands: " + self.said(number))

    def run(self, command):
        text = command.text.strip()
        seconds = endless(text)
        if runs_on(text) and text.startswith("mc_node "):
            self.start_node(command, text)
        elif seconds:
            status = self.place.run("timeout -k 5 %d %s" % (seconds, text))
            if status != STILL_RUNNING:
                self.report.fail(command, "ended within %d s, status %d: %s" % (seconds, status, self.said()))
        else:
            status = self.place.run(text)
            self.printed[without_comment(text)] = self.place.output()
            if status != 0:
                self.report.fail(command, "status %d: %s" % (status, self.said()))
            elif command.prints is not None and self.place.output() != command.prints:
                self.report.fail(command, "prints something else:\n" + self.place.output())

    def said(self, number=None):
        return self.place.output("stderr", number).strip()[-1000:]


def hold_names(blocks, tree, find, report):
    """Looks at the programs and options of all commands, and notes those that are not to be run."""
    for block in blocks:
        for command in block.commands:
            if command.not_run:
                report.leave_out(command, command.not_run)
            for complaint in complaints_of(command.text, tree, find):
                report.fail(command, complaint)


def run_page(blocks, place, report):
    for block in blocks:
        if block.file:
            (place.tree / block.file).write_text("\n".join(block.lines) + "\n")
    run = PageRun(place, report)
    try:
        for block in blocks:
            run.block(block)
    except Died as problem:
        report.failures.append("%s: what follows was not run: something %s" % (report.page, problem))
