#!/usr/bin/env bash
# Runs mc_node as a process over captures and looks at all that a user of it sees: exit status, both
# forms of the summary, the captures of what was sent, and one clear line for each thing that can be
# wrong. Equal replays must be equal to the byte.
#
#   tests/node_replay_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"

expect_stdout() {
    grep -q -- "$1" stdout || fail "$2: no '$1' on standard output"
}

expect_one_line() {
    [[ $(wc -l <stderr) -eq 1 ]] || fail "$1: not one line on standard error: $(head -c 500 stderr)"
    grep -q '^mc_node: ' stderr || fail "$1: the line does not name the program"
}

# Refused before anything runs: one line, status 2, nothing on standard output.
expect_refusal() {
    local what=$1
    shift
    replay "$@"
    expect_status 2 "$what"
    expect_one_line "$what"
    [[ ! -s stdout ]] || fail "$what: something on standard output"
}

octets() { printf '%b' "$(printf '\\x%s' "$@")"; }

# A pcap file header of microseconds, little-endian; the argument is the link type.
file_header() { octets d4 c3 b2 a1 02 00 04 00 00 00 00 00 00 00 00 00 ff ff 00 00 "$1" 00 00 00; }

# One untagged IGMPv2 report of 239.1.2.3, 42 bytes, at second 1000 of the epoch.
report_frame() {
    octets e8 03 00 00 00 00 00 00 2a 00 00 00 2a 00 00 00
    octets 01 00 5e 01 02 03 02 00 00 00 00 07 08 00
    octets 45 00 00 1c 00 00 00 00 01 02 07 2d c0 a8 01 07 ef 01 02 03
    octets 16 00 f8 fa ef 01 02 03
}

report_frame >frame
file_header 01 >empty.pcap
cat empty.pcap frame >report.pcap
# The same to the MAC address of a single host.
{ cat empty.pcap; head -c 16 frame; octets 02; tail -c +18 frame; } >unicast.pcap
{ cat report.pcap; head -c 30 frame; } >broken.pcap
{ cat empty.pcap; head -c 30 frame; } >damaged.pcap
{ file_header 71; cat frame; } >cooked.pcap
echo "this is no capture" >text.pcap

echo "the home scenario, twice"
replay "$home" --out first --json
expect_status 0 home
[[ ! -s stderr ]] || fail "home: something on standard error: $(head -c 500 stderr)"
mv stdout first.json
mv first once
replay "$home" --out first --json
expect_status 0 "home again"
cmp stdout first.json || fail "two replays print different objects"
diff -r once first || fail "two replays send different frames"

echo "a capture whose name holds control bytes"
odd=$'a\x1b[31m\nb.pcap'
cp "$home/port0.pcap" "$odd"
replay --port 0="$odd" --out $'o\x1b'
expect_status 0 "an odd name"
expect_stdout 'a\\x1b\[31m\\nb.pcap' "an odd name"
expect_stdout 'o\\x1b/port0.pcap to' "an odd folder"
! grep -q $'\x1b' stdout || fail "an odd name: a control byte on standard output"

echo "a report of which the library makes nothing"
replay --port 0=unicast.pcap
expect_status 0 unicast
expect_stdout '^  port0 *1 *0 *0 *0 *1$' unicast
expect_stdout '^  library *IGMP to a MAC address of no IPv4 group *1$' unicast
replay --port 0=unicast.pcap --json
grep -q '"IGMP to a MAC address of no IPv4 group": 1' stdout || fail "unicast: no reason in the JSON"

echo "the network's queries alone"
replay --uplink "$home/uplink.pcap"
expect_status 0 "uplink alone"
expect_stdout '^  sent on only: in snooping' "uplink alone"

echo "the summary against the captures"
python3 - "$home" once first.json <<'PYTHON' || fail "the summary does not fit the captures"
import json, os, struct, sys

home, out, text = sys.argv[1:]
summary = json.load(open(text))

def records(path):
    data = open(path, "rb").read()
    order = "<" if data[:4] in (b"\xd4\xc3\xb2\xa1", b"\x4d\x3c\xb2\xa1") else ">"
    stamps, at = [], 24
    while at < len(data):
        second, fraction, captured, _ = struct.unpack_from(order + "IIII", data, at)
        stamps.append(second * 1000000 + fraction)
        at += 16 + captured
    return stamps

wrong = []
def check(what, got, wanted):
    if got != wanted:
        wrong.append(f"{what}: {got} instead of {wanted}")

captured = {}
for row in summary["frames_in"]:
    path = os.path.join(home, row["name"] + ".pcap")
    captured[row["name"]] = records(path) if os.path.exists(path) else []
    check(row["name"], row["total"], len(captured[row["name"]]))
    kinds = ("igmp", "mld", "not_trapped", "too_long", "truncated", "refused")
    check(row["name"] + " kinds", sum(row[kind] for kind in kinds), row["total"])
    check(row["name"] + " taken", sum(row["taken"].values()), row["igmp"] + row["mld"])
    # Snooping: hosts' frames go both ways, the network's are kept from the core.
    way = "sent_only" if row["name"] == "uplink" else "core_and_sent"
    check(row["name"] + " " + way, row["taken"][way], row["igmp"] + row["mld"])
    # Only port 5 saw frames that the switch keeps to itself.
    check(row["name"] + " not trapped", row["not_trapped"] > 0, row["name"] == "port5")
check("ports", len(captured), 7)

stamps = [stamp for list in captured.values() for stamp in list]
check("first stamp", summary["time"]["first_us"], min(stamps))
check("last stamp", summary["time"]["last_us"], max(stamps))

for row in summary["frames_out"]:
    sent = records(os.path.join(out, row["name"] + ".pcap"))
    check(row["name"] + " sent", row["sent"], len(sent))
    check(row["name"] + " in order", sent, sorted(sent))
check("frames out at all", all(row["sent"] > 0 for row in summary["frames_out"]), True)
check("failures", summary["failures"], [])
check("interrupted", summary["interrupted"], False)

# What the story of the scenario leaves joined (scenario/README.md).
held = {0: ["239.1.1.2"], 1: ["239.1.1.3", "ff1e::101"], 2: ["239.1.1.5"], 3: ["239.2.1.1"],
        4: ["239.3.1.3", "ff1e::403", "ff3e::8000:4"], 5: ["239.5.1.1", "239.5.1.2", "ff1e::501"]}
members = {(row["port"], row["group"]) for row in summary["memberships"]}
for port, groups in held.items():
    for group in groups:
        check(f"port {port} holds {group}", (port, group) in members, True)
check("switch entries", len(summary["switch"]["entries"]) > 0, True)
check("drops", isinstance(summary["drops"]["driver"]["not trapped"], int), True)
check("MLD at the core", summary["core"]["received"]["MLDv2 report"] > 0, True)

for line in wrong:
    print(line, file=sys.stderr)
sys.exit(len(wrong) > 0)
PYTHON

echo "the summary to be read"
replay "$home" --port 3=report.pcap 2>/dev/null
expect_status 2 "port 3 twice"
replay --port 3=report.pcap --port 4=empty.pcap --out out
expect_status 0 "one report"
for title in "Captures" "Frames in" "Frames out" "Received by the core" "Drops" "Memberships" \
    "Switch entries" "239.1.2.3" "01:00:5e:01:02:03" "1970-01-01 00:16:40"; do
    expect_stdout "$title" "one report"
done
[[ -f out/port0.pcap && -f out/uplink.pcap ]] || fail "one report: outputs are missing"
replay --port 0=empty.pcap
expect_status 0 "no frames at all"
replay --uplink report.pcap --until 600
expect_status 0 "timers after the last frame"

echo "diagnostics"
replay --port 3=report.pcap --debug all
expect_stdout MC_DBG_DBG "--debug"
replay --port 3=report.pcap --debug 0x10 --json
expect_status 0 "--debug with --json"
python3 -m json.tool stdout >/dev/null || fail "--json: diagnostics on standard output"
grep -q 'Pkt recv from port 3' stderr || fail "--debug: no diagnostics on standard error"

echo "a capture that breaks in its middle"
replay --port 1=broken.pcap --port 2=report.pcap
expect_status 1 broken
expect_one_line broken
expect_stdout "Frames in" broken

echo "an interrupt"
mkfifo endless
exec {feed}<>endless  # open at both ends, so that neither side waits for the other
cat report.pcap frame >&"$feed"
# A job that bash starts in the background ignores SIGINT unless job control is on. With --hold what
# the library prints comes at once: a frame received shows that the replay is under way.
rm -f stdout
set -m
"${node[@]}" replay --port 2=endless --hold --debug rx >stdout 2>stderr </dev/null &
player=$!
set +m
for ((i = 0; i < 300; i++)); do
    if [[ -s stdout ]]; then break; fi
    sleep 0.1
done
kill -INT "$player"
status=0
wait "$player" || status=$?
exec {feed}>&-
expect_status 130 interrupt
expect_stdout "interrupted" interrupt

echo "what is refused"
expect_refusal "no captures at all"
expect_refusal "a port given twice" --port 2=report.pcap --port 2=empty.pcap
expect_refusal "an uplink given twice" --uplink report.pcap --port 29=empty.pcap
for port in 6 28 30 -1 256 x ""; do
    expect_refusal "port '$port'" --port "$port=report.pcap"
done
expect_refusal "no file name" --port 2=
expect_refusal "a missing file" --port 2=absent.pcap
expect_refusal "a missing folder" absent
expect_refusal "a folder without captures" "$root/tests"
expect_refusal "a folder for a file" --port 2=.
expect_refusal "an empty file" --port 2=/dev/null
expect_refusal "text" --port 2=text.pcap
expect_refusal "a damaged first frame" --port 2=damaged.pcap
expect_refusal "another link type" --port 2=cooked.pcap
expect_refusal "a file in the place of the output folder" --port 2=report.pcap --out text.pcap
expect_refusal "an ONU id that is no byte" --port 2=report.pcap --onu-id 256
expect_refusal "an unknown category" --port 2=report.pcap --debug noise
expect_refusal "time that runs back" --port 2=report.pcap --until -1
expect_refusal "an unknown option" --port 2=report.pcap --loud
mkdir same
cp report.pcap same/port0.pcap
expect_refusal "output over input" same --out same
cmp report.pcap same/port0.pcap || fail "the input was overwritten"

echo "help"
status=0
"${node[@]}" >stdout 2>stderr || status=$?
expect_status 2 "no arguments"
expect_stdout replay "no arguments"
"${node[@]}" --port 2=report.pcap >stdout 2>stderr || status=$?
expect_status 2 "no sub-command"
expect_stdout replay "no sub-command"
replay --help
expect_status 0 "replay --help"
expect_stdout SCENARIO_DIR "replay --help"

finish
