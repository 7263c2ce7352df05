"""What the code blocks of a page are: commands, sessions with what they print, files, or text.

A block, indented or fenced, is of commands when each of its lines begins with a program of the project, a file of the
tree or one of the tools below. The language of a fence says it too: `sh` is commands, `console` a session ("$ command",
then what it prints), any other is text. What neither says a comment in the source of the page does, before the block:

    <!-- output -->                  what a program printed
    <!-- output of: COMMAND -->      what this one of the page does, with a line of "..." for lines left out
    <!-- text -->                    a drawing, a file, a part of one
    <!-- file: NAME -->              a file of that name, for the commands of the page
    <!-- not run: WHY -->            commands that are not run
    <!-- not run (A, B): WHY -->     of these commands not those that begin with the words A or B
"""

import dataclasses
import re
import shlex

PROGRAMS = {"mc_node", "mcctl", "mcstat"}
TOOLS = {"cc", "cmake", "ctest", "curl", "doxygen", "export", "man", "mv", "paths_count", "pkg-config", "source", "ssh", "sudo",
         "systemctl", "tcpdump", "tshark"}

FENCE = re.compile(r"^( *)```(\w*)\s*$")
COMMENT = re.compile(r"^ *<!--")
MARKER = re.compile(r"^ *<!-- (?:(output|text)|output of: (.+)|file: (\S+)|not run(?: \(([^)]+)\))?: (.+))"
                    r" -->\s*$")
LIST_ITEM = re.compile(r"^([-*+]|\d+\.) +")
# Behind one of these another command begins, inside a substitution, too.
BETWEEN = re.compile(r"^[|&;()]+$|^[<>$]*\($")
REDIRECTION = re.compile(r"^[<>]+&?$")


@dataclasses.dataclass
class Command:
    line: int
    text: str
    not_run: str = ""        # why
    prints: str = None       # in a session


@dataclasses.dataclass
class Block:
    line: int
    lines: list
    language: str = ""
    marker: re.Match = None
    file: str = None
    output_of: str = None
    commands: list = dataclasses.field(default_factory=list)


class Unclear(Exception):
    """A page does not say what a block is; the words begin with the line."""


def simple_commands(text):
    """The words of each command in a line of a shell, without redirections; none when it is no such line."""
    lexer = shlex.shlex(text, posix=True, punctuation_chars=True)
    lexer.whitespace_split = True
    try:
        tokens = list(lexer)
    except ValueError:
        return []
    commands, is_target = [[]], False
    for token in tokens:
        if is_target:
            is_target = False
        elif REDIRECTION.match(token):
            is_target = True
        elif BETWEEN.match(token):
            commands.append([])
        elif commands[-1] or not re.match(r"^\w+=", token):
            commands[-1].append(token)
    return [without_user(words) for words in commands if words and words != ["$"]]


def without_user(words):
    """What sudo runs."""
    if words[0] != "sudo":
        return words
    return words[3:] if words[1:2] == ["-u"] else words[1:]


def is_path(word):
    return re.match(r"^[a-z][\w.-]*(/[\w.-]+)+$", word) is not None


def is_command(text):
    commands = simple_commands(text)
    return bool(commands) and all(words and (words[0] in PROGRAMS | TOOLS or is_path(words[0])) for words in commands)


def logical_lines(block):
    """Number and text of each line, those that end with a backslash together with the next; comments left out."""
    lines, begun = [], None
    for number, text in enumerate(block.lines, block.line):
        begun = (begun[0], begun[1] + "\n" + text) if begun else (number, text)
        if not text.endswith("\\"):
            lines.append(begun)
            begun = None
    if begun:
        lines.append(begun)
    return [(number, text) for number, text in lines if text.strip() and not text.lstrip().startswith("#")]


def blocks_of(page):
    """The blocks of a page as they stand, each with the marker before it."""
    blocks, lines = [], page.split("\n")
    number, offset, comment = 0, 0, None
    is_after_blank = True
    while number < len(lines):
        line = lines[number]
        indent = len(line) - len(line.lstrip())
        fence = FENCE.match(line)
        if fence:
            end = next((n for n in range(number + 1, len(lines)) if lines[n].strip() == "```"), len(lines))
            blocks.append(marked(Block(number + 2, [text[len(fence[1]):] for text in lines[number + 1:end]],
                                       fence[2]), comment))
            number, comment = end, None
        elif line.strip() and is_after_blank and indent >= offset + 4:
            end = number
            while end < len(lines) and (not lines[end].strip() or lines[end].startswith(" " * (offset + 4))):
                end += 1
            text = "\n".join(text[offset + 4:] for text in lines[number:end]).rstrip()
            blocks.append(marked(Block(number + 1, text.split("\n")), comment))
            number, comment = end - 1, None
        elif line.strip():
            if comment and MARKER.match(comment[1]):
                raise Unclear("%d: the marker stands before no block" % comment[0])
            comment = (number + 1, line) if COMMENT.match(line) else None
            if not indent and not comment:
                item = LIST_ITEM.match(line)
                offset = item.end() if item else 0
        # The end of a block is as good as a blank line.
        is_after_blank = not lines[number].strip() or fence or comment
        number += 1
    if comment and MARKER.match(comment[1]):
        raise Unclear("%d: the marker stands before no block" % comment[0])
    return blocks


def marked(block, comment):
    if comment:
        block.marker = MARKER.match(comment[1])
        if not block.marker:
            raise Unclear("%d: no marker that is known, before a block" % comment[0])
    return block


def session(block):
    """The commands behind "$ ", each with what follows it."""
    commands = []
    for number, text in enumerate(block.lines, block.line):
        if text.startswith("$ "):
            commands.append(Command(number, text[2:], prints=""))
        elif not commands:
            raise Unclear("%d: a session begins with a command" % number)
        else:
            commands[-1].prints += text + "\n"
    return commands


def commands_of(block):
    commands = [Command(*line) for line in logical_lines(block)]
    unknown = [command for command in commands if not is_command(command.text)]
    if not unknown:
        return commands
    if block.language or block.marker or len(unknown) < len(commands):
        raise Unclear("%d: no command that is known, in a block of commands: %s"
                      % (unknown[0].line, unknown[0].text.strip()))
    raise Unclear("%d: neither commands nor said to be something else: %s" % (block.line, block.lines[0].strip()))


def leave_out(block, names, why):
    """Notes at the commands that the marker means that they are not run."""
    if names is None:
        meant = block.commands
    else:
        names = [name.strip() for name in names.split(",")]
        meant = [command for command in block.commands if begins_with(command, names)]
        for name in names:
            if not any(begins_with(command, [name]) for command in meant):
                raise Unclear("%d: no command begins with %s" % (block.line, name))
    for command in meant:
        command.not_run = why


def begins_with(command, names):
    return any((command.text.strip() + " ").startswith(name + " ") for name in names)


def understand(block):
    """Fills in what a block is."""
    is_text, block.output_of, block.file, names, why = block.marker.groups() if block.marker else [None] * 5
    if is_text or block.output_of:
        lines = logical_lines(block)
        if lines and all(is_command(text) for _, text in lines):
            raise Unclear("%d: commands that are said to be something else" % block.line)
    elif block.language == "console":
        block.commands = session(block)
    elif block.language in ("", "sh", "bash") and not block.file:
        block.commands = commands_of(block)
    if why:
        if not block.commands:
            raise Unclear("%d: the marker is for commands" % block.line)
        leave_out(block, names, why)
    return block


def read_page(text):
    """The blocks of a page; Unclear when it does not say what one is."""
    return [understand(block) for block in blocks_of(text)]
