#!/usr/bin/env bash
# Runs mc_node with timed commands: the story of scenario/story takes effect at its times and comes
# out the same twice; a file that cannot be used is refused before anything runs; --hold keeps the
# node until it is told to end.
#
#   tests/node_commands_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"
story=$root/scenario/story/commands.txt

expect_stdout() {
    grep -qF -- "$1" stdout || fail "$2: no '$1' on standard output"
}

# A file of commands with these lines is refused: status 2, one line with this beginning, and not
# even the output folder is there.
expect_refusal() {
    local beginning=$1
    shift
    printf '%s\n' "$@" >bad.txt
    replay "$home" --commands bad.txt --out refused
    expect_status 2 "$*"
    [[ $(wc -l <stderr) -eq 1 ]] || fail "$*: not one line on standard error: $(head -c 500 stderr)"
    [[ $(<stderr) == "mc_node: $beginning"* ]] || fail "$*: '$(<stderr)' instead of '$beginning'"
    [[ ! -s stdout && ! -e refused ]] || fail "$*: something ran"
}

# The commands that ran, "SECONDS WORDS" a line, from the JSON in stdout.
commands_run() {
    python3 -c '
import json, sys
for row in json.load(sys.stdin)["commands"]:
    print("%g" % row["at_s"], row["command"])' <stdout
}

echo "the story, twice"
replay "$home" --commands "$story" --out first --json
expect_status 0 story
mv stdout first.json
mv first once
mv stderr first.console
replay "$home" --commands "$story" --out first --json
cmp stdout first.json || fail "two replays print different objects"
cmp stderr first.console || fail "two replays show different things"
diff -r once first || fail "two replays send different frames"
for line in '[21.000 s] show groups' 'IGMP memberships' '[39.500 s] mode control'; do
    grep -qF "$line" stderr || fail "story: no '$line' on standard error"
done

python3 - "$story" once first.json <<'PYTHON' || fail "the story did not come to pass"
import json, os, re, struct, sys

story, out, text = sys.argv[1:]
summary = json.load(open(text))
first_us = summary["time"]["first_us"]
wrong = []

def check(what, got, wanted=True):
    if got != wanted:
        wrong.append(f"{what}: {got} instead of {wanted}")

planned = []
for line in open(story):
    words = line.split("#")[0].split()
    if words:
        planned.append((float(words[0]), " ".join(words[1:])))
check("commands", [(row["at_s"], row["command"]) for row in summary["commands"]], planned)
check("not run", summary["commands_not_run"], 0)

def frames(name):
    data, at = open(os.path.join(out, name + ".pcap"), "rb").read(), 24
    order = "<" if data[:4] in (b"\xd4\xc3\xb2\xa1", b"\x4d\x3c\xb2\xa1") else ">"
    while at < len(data):
        second, fraction, size, _ = struct.unpack_from(order + "IIII", data, at)
        yield (second * 10**6 + fraction - first_us) / 1e6, data[at + 16:at + 16 + size]
        at += 16 + size

def tags(frame):
    vids, at = [], 12
    while frame[at:at + 2] == b"\x81\x00":
        vids.append(struct.unpack_from(">H", frame, at + 2)[0] & 0xFFF)
        at += 4
    return vids, frame[at:at + 2]

# What IGMP goes up of the hosts on ports 3 and 4, in each chapter of the story. The core's frames
# carry other addresses.
chapters = {"rule": (0, 39.5), "control": (39.5, 43), "rule again": (43, 62), "no rule": (62, 99)}
for host, own, port in ((0x13, 100, 3), (0x14, 200, 4)):
    mac = bytes((2, 0, 0, 0, 0, host))
    seen = {name: set() for name in chapters}
    for second, frame in frames("uplink"):
        vids, kind = tags(frame)
        if frame[6:12] != mac or kind != b"\x08\x00":
            continue
        for name, (begin, end) in chapters.items():
            if begin <= second < end:
                seen[name].add(tuple(vids))
    check(f"port {port}, rule", seen["rule"], {(4000,)})
    check(f"port {port}, control", seen["control"], {(1, port + 1)})
    check(f"port {port}, rule again", seen["rule again"], {(4000,)})
    check(f"port {port}, no rule", seen["no rule"], {(own,)})
doubled = [second for second, frame in frames("uplink") if len(tags(frame)[0]) == 2]
check("two tags outside of control mode", [s for s in doubled if not 39.5 <= s < 43], [])

# Queries in VID 4000 come down to ports 3 and 4 in the VID of the host.
querier = bytes((2, 0, 0, 0, 0, 2))
for name, own in (("port3", 100), ("port4", 200), ("port2", 4000)):
    down = {tuple(tags(frame)[0]) for second, frame in frames(name)
            if second < 62 and frame[6:12] == querier and tags(frame)[1] == b"\x08\x00"}
    check(f"{name}, down", down, {(own,)})

# The second group of port 5 had to wait for the end of the limit.
late = [row for row in summary["memberships"] if (row["port"], row["group"]) == (5, "239.5.1.2")]
check("239.5.1.2 joined after second 60", [row["age_s"] < 5.5 for row in late], [True])
check("drops by the limit", summary["drops"]["core"]["group limit of the port"] > 0)

for line in wrong:
    print(line, file=sys.stderr)
sys.exit(len(wrong) > 0)
PYTHON

echo "the story to be read"
replay "$home" --commands "$story"
expect_status 0 "story as text"
for line in '[21.000 s] show groups' 'IGMP memberships' 'Commands' '  23.500  group-limit --port 5 1'; do
    expect_stdout "$line" "story as text"
done
[[ ! -s stderr ]] || fail "story as text: something on standard error"

echo "MLD follows IGMP into proxy mode and back"
printf '%s\n' '0.5 mld-mode control' '1 mode proxy' '30 show mld' '40 mode snooping' \
    '41 show mld' '42 mld-mode proxy' '43 show mld' >modes.txt
replay "$home" --commands modes.txt --json
expect_status 0 "modes of MLD"
[[ $(grep -A1 '^MLD settings' stderr | awk '$1 == "mode" { printf "%s ", $2 }') == 'proxy control proxy ' ]] ||
    fail "modes of MLD: $(grep -A1 '^MLD settings' stderr)"
python3 -c '
import json, sys
summary = json.load(sys.stdin)
assert summary["core"]["sent"]["MLD report"] > 0, "no MLD report"
assert {row["protocol"] for row in summary["upstream"]} == {"MLD"}, "IGMP upstream after the mode"' <stdout ||
    fail "MLD in proxy mode: $(tail -1 stderr)"

echo "where commands come from, and when they run"
mkdir folder
cp "$home"/*.pcap folder
printf '# late first\n\n2 show timers\r\n  1.5\tshow memory  # blanks\n1.5 show statistics\n0 export groups\n' \
    >folder/commands.txt
replay folder --json
expect_status 0 "commands of the folder"
printf '0 export groups\n1.5 show memory\n1.5 show statistics\n2 show timers\n' >wanted
commands_run | cmp - wanted || fail "commands of the folder: not in the order of their times"
echo '3 show mld' >other.txt
replay folder --json --commands other.txt
[[ $(commands_run) == '3 show mld' ]] || fail "--commands does not replace the folder's"
replay folder --json --commands /dev/null
[[ -z $(commands_run) ]] || fail "no commands: some ran"

printf '1 show mld\n500 show memory\n' >late.txt
replay "$home" --commands late.txt
expect_stdout "not run: 1, behind the end" "a command behind the end"
replay "$home" --commands late.txt --json --until 600
[[ $(commands_run | wc -l) -eq 2 ]] || fail "--until: the late command did not run"

echo "what is refused"
expect_refusal "bad.txt:2: " "0 show groups" "1 no such command"
expect_refusal "bad.txt:1: " "x show groups"
expect_refusal "bad.txt:1: " "-1 show groups"
expect_refusal "bad.txt:1: " "1e3 show groups"
expect_refusal "bad.txt:1: " ". show groups"
expect_refusal "bad.txt:1: " "10000000000 show groups"
expect_refusal "bad.txt:3: " "# nothing" "" "5"
expect_refusal "bad.txt:1: " "5 mode 'control"
expect_refusal "bad.txt:1: " "5 mode sideways"
expect_refusal "bad.txt:1: " "5 group-limit --port 9 1"
expect_refusal "bad.txt:1: " "5 onu-id"
expect_refusal "bad.txt:1: " "5 onu-id 256"
expect_refusal "bad.txt:1: " "5 mld-mode sideways"
replay "$home" --commands absent.txt
expect_status 2 "a missing file"
[[ $(<stderr) == "mc_node: absent.txt: cannot be read" ]] || fail "a missing file: $(<stderr)"
replay "$home" --commands .
expect_status 2 "a folder for a file"

echo "--hold"
for signal in TERM INT; do
    rm -f stdout
    "${node[@]}" replay "$home" --json --hold >stdout 2>stderr </dev/null &
    held=$!
    # The object is complete, so the replay is over.
    for ((i = 0; i < 300; i++)); do
        if [[ $(tail -n 1 stdout 2>/dev/null) == "}" ]]; then break; fi
        sleep 0.1
    done
    python3 -m json.tool stdout >/dev/null || fail "--hold: no summary before the end"
    kill -0 "$held" || fail "--hold: the node did not stay"
    kill -"$signal" "$held"
    status=0
    wait "$held" || status=$?
    held=
    expect_status 0 "--hold, SIG$signal"
done

finish
