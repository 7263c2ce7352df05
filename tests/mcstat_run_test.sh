#!/usr/bin/env bash
# Runs mcstat against a node that holds after a replay: ports and groups come out as they are, a
# changed description changes what is shown, and one clear line says what is missing.
#
#   tests/mcstat_run_test.sh [EMULATOR ...] MCSTAT MC_NODE
set -euo pipefail

# The command queue and the status segment are the machine's: node and reader share a namespace that
# others are not in. Without one, what is tested on a machine without a node is left out.
goes_on_without_ipc=yes
. "$(dirname "$0")/support/own_ipc.sh" "$@"

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
work=$(mktemp -d)
player=
trap '[[ -z $player ]] || kill "$player" 2>/dev/null; rm -rf "$work"' EXIT
emulator=("${@:1:$#-2}")
mcstat=("${emulator[@]}" "$(realpath "${@: -2:1}")")
node=("${emulator[@]}" "$(realpath "${@: -1}")")
cd "$work"

# Runs mcstat; what it said and how it ended is in stdout, stderr and $status.
show() {
    status=0
    "${mcstat[@]}" "$@" >stdout 2>stderr </dev/null || status=$?
}

# One line with this in it, and nothing on standard output.
expect_complaint() {
    local what=$1 wanted_status=$2 text=$3
    expect_status "$wanted_status" "$what"
    [[ $(wc -l <stderr) -eq 1 && $(<stderr) == "mcstat: "*"$text"* ]] ||
        fail "$what: '$(head -c 500 stderr)' instead of '$text'"
    [[ ! -s stdout ]] || fail "$what: something on standard output"
}

expect_stdout() {
    grep -Eq -- "$1" stdout || fail "$2: no '$1' on standard output"
}

if [[ $TEST_HAS_OWN_IPC == yes ]]; then
    echo "no node"
    show
    expect_complaint "no node" 1 "no status segment (key 82)"
    ! grep -q . <(tail -n +2 /proc/sysvipc/shm /proc/sysvipc/msg | grep '^ ') ||
        fail "no node: mcstat made an object"
fi

echo "a node that holds"
cat >commands.txt <<'COMMANDS'
0 group-limit --port 5 7
1 fast-leave all on
COMMANDS
"${node[@]}" replay "$root/scenario/home" --commands commands.txt --json --hold \
    >summary.json 2>node.console </dev/null &
player=$!
for ((i = 0; i < 300; i++)); do
    if [[ $(tail -n 1 summary.json 2>/dev/null) == "}" ]]; then break; fi
    sleep 0.1
done

# Nobody asked for an export yet.
show --no-refresh --json
expect_status 0 "--no-refresh"
python3 -c 'import json; assert json.load(open("stdout"))["groups"] == []' ||
    fail "--no-refresh: groups that nobody exported"

show --json
expect_status 0 --json
[[ ! -s stderr ]] || fail "--json: something on standard error"
python3 - summary.json stdout <<'PYTHON' || fail "mcstat does not show what the node knows"
import json, sys

summary, status = (json.load(open(name)) for name in sys.argv[1:])
wrong = []
def check(what, got, wanted):
    if got != wanted:
        wrong.append(f"{what}: {got} instead of {wanted}")

known = [row for row in summary["memberships"] if row["protocol"] == "IGMP"]
check("groups", [(row["port"], row["vlan"], row["group"]) for row in status["groups"]],
      [(row["port"], row["vlan"], row["group"]) for row in known])
check("there are groups", len(known) > 5, True)
for shown, row in zip(status["groups"], known):
    name = f"{row['port']} {row['group']}"
    check(name + " version", shown["version"], row["version"])
    check(name + " filter", shown["filter"], row["filter"])
    check(name + " reporter", shown["last_reporter"] in row["reporters"], True)
    check(name + " age", shown["age"], int(row["age_s"]))
    check(name + " in switch", shown["in_switch"], row["in_switch"])
check("ports", [row["port"] for row in status["ports"]], [0, 1, 2, 3, 4, 5, 29])
for row in status["ports"]:
    count = sum(member["port"] == row["port"] for member in known)
    check(row["name"] + " groups", row["status"]["groups"], count)
    check(row["name"] + " limit", row["group_limit"], 7 if row["port"] == 5 else None)
check("core's limit", status["ports"][5]["status"]["core_limit"], 7)
check("mode", (status["mode"], status["mode_name"]), (1, "snooping"))
check("fast leave", status["fast_leave"], 2)
for line in wrong:
    print(line, file=sys.stderr)
sys.exit(len(wrong) > 0)
PYTHON

echo "tables"
show
expect_status 0 tables
for line in '^Mode +snooping' '^Fast leave  on \(2\)$' '^Ports$' '^  port5 +7 +2 +7 ' '^  uplink ' \
    '^IGMP groups$' '^  port3 +4088 +239\.2\.1\.1 .*192\.0\.2\.19 .* yes$'; do
    expect_stdout "$line" tables
done

echo "numbers for monitoring"
show --openmetrics
expect_status 0 --openmetrics
for line in '^mc_status_mode\{mode="snooping"\} 1$' '^mc_status_group_limit\{port="port5"\} 7$' \
    '^mc_status_groups\{port="port5"\} 2$' '^mc_status_port\{port="port5",field="core-limit"\} 7$'; do
    expect_stdout "$line" --openmetrics
done
[[ $(tail -n 1 stdout) == "# EOF" ]] || fail "--openmetrics: no end"
python3 - stdout <<'PYTHON' || fail "--openmetrics: a strict reader does not take it"
import sys
sys.path.append("/usr/lib/python3/dist-packages")  # where Debian has the reader
from prometheus_client.openmetrics import parser
assert len(list(parser.text_string_to_metric_families(open(sys.argv[1]).read()))) == 5
PYTHON
show --openmetrics --json
expect_complaint "--openmetrics --json" 2 "one of them"

echo "again and again"
status=0
timeout --signal=KILL 20 "${mcstat[@]}" --watch 0.1 > >(head -n 60 >watched) 2>stderr || status=$?
[[ $status -ne 0 ]] || fail "--watch: it ended by itself"
[[ $(grep -c '^Mode' watched) -ge 2 ]] || fail "--watch: shown once only"
! grep -q $'\x1b' watched || fail "--watch: escapes in a file"

echo "a terminal"
cat >on_terminal.py <<'PYTHON'
"""on_terminal.py COLUMNS LINES SECONDS COMMAND...: what it writes to a terminal of this size."""
import fcntl, os, pty, select, struct, sys, termios, time

columns, lines, seconds = int(sys.argv[1]), int(sys.argv[2]), float(sys.argv[3])
child, terminal = pty.fork()
if child == 0:
    time.sleep(0.2)
    os.execvp(sys.argv[4], sys.argv[4:])
fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", lines, columns, 0, 0))
end = time.monotonic() + seconds
while time.monotonic() < end and select.select([terminal], [], [], end - time.monotonic())[0]:
    try:
        sys.stdout.buffer.write(os.read(terminal, 65536).replace(b"\r\n", b"\n"))
    except OSError:
        break
os.kill(child, 9)
PYTHON
on_terminal() { python3 on_terminal.py "$@" >stdout; }
on_terminal 40 100 10 "${mcstat[@]}" --no-refresh
[[ $(wc -L <stdout) -le 40 ]] || fail "40 columns: a line of $(wc -L <stdout)"
# What does not fit stands below, each row with what it is about.
expect_stdout "^  port +vlan +group +version" "40 columns"
expect_stdout "^  port +vlan +group +last reporter" "40 columns"
[[ $(grep -c '^  port3 +4088 +239\.2\.1\.1 ' -E stdout) -ge 2 ]] || fail "40 columns: rows are not told"
on_terminal 200 100 10 "${mcstat[@]}" --no-refresh
[[ $(grep -c '^  port3 +4088 +239\.2\.1\.1 ' -E stdout) -eq 1 ]] || fail "200 columns: folded"
# The heading stays on the screen: what is written is never higher.
on_terminal 80 10 2 "${mcstat[@]}" --no-refresh --watch 0.2
python3 - <<'PYTHON' || fail "--watch in 10 lines: the heading is lost"
screens = open("stdout").read().split("\x1b[H\x1b[J")[1:]
whole = screens[:-1]
assert len(whole) >= 2, screens
for screen in whole:
    assert screen.startswith("Mode "), screen
    assert screen.count("\n") <= 9, screen
    assert screen.rstrip().splitlines()[-1].endswith("more lines)"), screen
PYTHON

echo "descriptions"
"${mcstat[@]}" --print-fields | cmp - "$root/tools/mcstat-fields.txt" ||
    fail "tools/mcstat-fields.txt is not the built-in description"
show --json
cp stdout built-in
show --json --fields "$root/tools/mcstat-fields.txt"
cmp stdout built-in || fail "the same description shows something else"
printf 'port\tfirst 0 4 hex # words may be apart by anything\n\ngroup address 4 4 hex\ngroup half 6 2 number\n' \
    >own.txt
show --fields own.txt
expect_status 0 "a description of one's own"
expect_stdout '^  port5 +7 +0x00000002$' "a description of one's own"
expect_stdout '^  0xef020101 +257$' "a description of one's own"

# A line that cannot be used.
expect_bad() {
    printf '# comment\n%s\n' "$1" >bad.txt
    show --fields bad.txt
    expect_complaint "$1" 2 "$2"
    [[ $(<stderr) == "mcstat: bad.txt:2: "* ]] || fail "$1: the complaint does not name the line"
}
expect_bad "port groups 0 4" "five words"
expect_bad "frame groups 0 4 number" "'frame' is no record"
expect_bad "port groups x 4 number" "the offset 'x'"
expect_bad "port groups 0 3 number" "the width is not"
expect_bad "port groups 16 1 number" "ends behind the record"
expect_bad "group tail 26 4 number" "ends behind the record"
expect_bad "group tail 99999999999 4 number" "the offset"
expect_bad "group address 4 2 ip" "an ip takes 4 bytes"
expect_bad "group address 4 4 colour" "no format 'colour'"
printf 'port a 0 4 hex\nport a 4 4 hex\n' >twice.txt
show --fields twice.txt
expect_complaint "a name twice" 2 "twice.txt:2: 'a' is there twice"
printf 'port a-b 0 4 hex\nport a_b 4 4 hex\n' >twice.txt
show --json --fields twice.txt
expect_complaint "two names that are one in JSON" 2 "twice.txt:2: 'a_b' is there twice"
expect_bad $'port a\x1b[2J 0 4 number' 'the name '\''a\x1b[2J'\'' holds a backslash or what cannot be printed'
expect_bad $'port a\xff 0 4 number' 'the name '\''a\xff'\'' holds'
show --fields absent.txt
expect_complaint "a missing description" 2 "absent.txt: cannot be read"
show --fields .
expect_complaint "a folder for a description" 2 "cannot be read"

echo "the command line"
for pause in x 0 -1 nan; do
    show --watch="$pause"
    expect_complaint "--watch=$pause" 2 "--watch"
done
show --loud
expect_status 2 "an unknown option"
show --help
expect_status 0 --help
expect_stdout --no-refresh --help

if [[ $EUID -eq 0 ]] && drop=(setpriv --reuid 65534 --clear-groups) &&
    "${drop[@]}" "${mcstat[@]}" --print-fields >/dev/null 2>&1; then
    echo "without privileges"
    status=0
    "${drop[@]}" "${mcstat[@]}" >stdout 2>stderr || status=$?
    expect_complaint "without privileges" 1 "takes root privileges"
fi

echo "a node that is gone"
kill -TERM "$player"
wait "$player" || fail "the node did not end well"
player=
if [[ $TEST_HAS_OWN_IPC == yes ]]; then
    show --json --no-refresh
    expect_status 0 "what is left"
    cmp stdout built-in || fail "what is left differs"
    show
    expect_complaint "nobody answers" 1 "nobody takes commands from the queue (key 81)"
fi

finish
