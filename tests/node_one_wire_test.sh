#!/usr/bin/env bash
# Runs mc_node over the captures of scenario/home put together into one, as a mirror port would have it:
# split by a table that says what the folder does, they come to what the folder comes to. And over
# captures in gzip and from the standard input.
#
#   tests/node_one_wire_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"

expect_stdout() {
    grep -q -- "$1" stdout || fail "$2: no '$1' on standard output"
}

expect_line() {
    [[ $(<stderr) == "mc_node: $1" ]] || fail "$2: '$(head -c 500 stderr)' instead of '$1'"
}

# The same from the standard input, which is a pipe then.
replay_from() {
    local file=$1
    shift
    status=0
    cat "$file" | "${node[@]}" replay "$@" >stdout 2>stderr || status=$?
}

expect_refusal() {
    local line=$1
    shift
    replay "$@" --out refused
    expect_status 2 "$*"
    expect_line "$line" "$*"
    [[ ! -s stdout && ! -e refused ]] || fail "$*: something ran"
}

# Frames in the order in which the folder is replayed: by stamp, then by port, the uplink last. Of the
# other files one has those of the hosts alone, one those of the uplink.
python3 - "$home" <<'PYTHON'
import os, struct, sys

records = []
for slot, name in enumerate(["port%d" % port for port in range(6)] + ["uplink"]):
    data, at = open(os.path.join(sys.argv[1], name + ".pcap"), "rb").read(), 24
    while at < len(data):
        second, fraction, size, _ = struct.unpack_from("<IIII", data, at)
        records.append((second, fraction, slot, data[at:at + 16 + size]))
        at += 16 + size
records.sort(key=lambda record: record[:3])

def write(name, chosen):
    open(name, "wb").write(data[:24] + b"".join(record[3] for record in chosen))

write("wire.pcap", records)
write("hosts.pcap", [record for record in records if record[2] != 6])
write("uplink.pcap", [record for record in records if record[2] == 6])
PYTHON
gzip -nk wire.pcap
mv wire.pcap.gz wire-in-gzip  # its name says nothing

cat >table <<'TABLE'
# Who is where in scenario/home.
02:00:00:00:00:10 0
02-00-00-00-00-11 1
02:00:00:00:00:12 2
vlan 100 3
vlan 200 4   # p4
02:00:00:00:00:15 5
02:00:00:00:00:16 5
TABLE

# What is to be equal of two replays, from their summaries as JSON; the arguments map ports of the
# first to those of the second, 1=0 say, or leave out all but those given.
cat >compare.py <<'PYTHON'
import json, sys

one, other = json.load(open(sys.argv[1])), json.load(open(sys.argv[2]))
ports = dict(tuple(map(int, word.split("="))) for word in sys.argv[3:])
wrong = 0

def check(what, got, wanted):
    global wrong
    if got != wanted:
        wrong = 1
        print(f"{what}: {got} instead of {wanted}", file=sys.stderr)

if ports:
    def seen(summary, mapped):
        return sorted(json.dumps(dict(row, port=mapped[row["port"]]), sort_keys=True)
                      for row in summary["memberships"] if row["port"] in mapped)
    check("memberships", seen(one, ports), seen(other, {port: port for port in ports.values()}))
else:
    for part in one:
        if part not in ("captures", "split", "output"):
            check(part, one[part], other[part])
sys.exit(wrong)
PYTHON

echo "a table that says what the folder does"
replay "$home" --out folder --json
expect_status 0 "the folder"
mv stdout folder.json
replay --capture wire.pcap --hosts-from table --out wire --json
expect_status 0 "the wire"
[[ ! -s stderr ]] || fail "the wire: something on standard error: $(head -c 500 stderr)"
mv stdout wire.json
python3 compare.py wire.json folder.json || fail "one wire comes to something else than the folder"
diff -r folder wire || fail "one wire sends something else than the folder"
grep -q '"group": "239.1.1.2"' wire.json || fail "the wire: nobody is a member"

echo "by address"
replay --capture wire.pcap --json
expect_status 0 "by address"
mv stdout mac.json
python3 compare.py mac.json folder.json 0=0 1=1 2=2 3=3 4=4 5=5 || fail "by address: other memberships"
replay --capture wire.pcap --hosts-from mac --json
cmp stdout mac.json || fail "mac is not what stands for no --hosts-from"
replay --capture wire.pcap
expect_stdout '^Split, hosts by address$' "by address"
expect_stdout '^  02:00:00:00:00:01  .* 91  .*uplink  sent IGMP queries, MLD queries$' "by address"
expect_stdout '^  02:00:00:00:00:14  .* 57  .*port4   host$' "by address"
expect_stdout '^  02:00:00:00:00:16  .* 32  .*port5   host, shares the port$' "by address"

echo "by VLAN"
replay --capture wire.pcap --hosts-from vlan --json
expect_status 0 "by VLAN"
mv stdout vlan.json
python3 compare.py vlan.json folder.json 1=3 2=4 || fail "by VLAN: other memberships"

echo "the split as JSON"
python3 - mac.json vlan.json wire.json folder.json <<'PYTHON' || fail "the split is not in the JSON"
import json, sys

mac, vlan, table, folder = (json.load(open(name))["split"] for name in sys.argv[1:])
wrong = 0

def check(what, got, wanted):
    global wrong
    if got != wanted:
        wrong = 1
        print(f"{what}: {got} instead of {wanted}", file=sys.stderr)

check("folder", folder, None)
check("mac", (mac["hosts_from"], mac["table"], mac["only"]), ("mac", None, None))
check("vlan", (vlan["hosts_from"], vlan["table"], vlan["only"]), ("vlan", None, None))
check("table", (table["hosts_from"], table["table"], table["only"]), ("table", "table", None))
for split in (mac, vlan, table):
    check("frames", sum(row["frames"] for row in split["senders"]), 380)
check("a host", mac["senders"][0], {"address": "02:00:00:00:00:10", "vlan": None, "frames": 50,
                                    "igmp_mld": 50, "port": 0, "name": "port0", "why": "host"})
check("a VLAN", [row["port"] for row in vlan["senders"] if row["vlan"] == 100], [1])
check("no tag", [row["port"] for row in vlan["senders"] if row["vlan"] == 0], [0])
check("a line", [row["why"] for row in table["senders"] if row["vlan"] == 200], ["line 6 of the table"])
check("a router", [row["port"] for row in table["senders"] if row["why"].startswith("sent")], [29, 29])
sys.exit(wrong)
PYTHON

echo "one side alone"
replay --capture hosts.pcap
expect_status 0 "hosts alone"
expect_stdout "^  one side only: all frames are from hosts$" "hosts alone"
replay --capture uplink.pcap
expect_status 0 "queries alone"
expect_stdout "^  one side only: all frames are from routers$" "queries alone"
replay --capture wire.pcap
! grep -q "one side only" stdout || fail "both sides: one side only"
head -c 24 wire.pcap >empty.pcap
replay --capture empty.pcap
expect_status 0 "no frame"
expect_stdout "^Split, hosts by address$" "no frame"

echo "with what a replay takes besides"
printf '10 show groups\n' >commands
replay --capture wire.pcap --commands commands --until 300 --out with --debug errors
expect_status 0 "--commands, --until, --out"
expect_stdout "show groups" "--commands"
expect_stdout "timers ran on for 300" "--until"
[[ -f with/port5.pcap ]] || fail "--out: nothing is written"

echo "the standard input"
replay --port "0=$home/port0.pcap" --uplink "$home/uplink.pcap" --json
mv stdout files.json
replay_from wire.pcap --capture - --hosts-from table --json
expect_status 0 "-"
python3 compare.py stdout folder.json || fail "from the standard input: something else"
replay_from "$home/port0.pcap" --port 0=- --uplink "$home/uplink.pcap" --json
expect_status 0 "--port 0=-"
python3 compare.py stdout files.json || fail "--port 0=-: something else"
replay_from "$home/uplink.pcap" --uplink - --port "0=$home/port0.pcap" --json
expect_status 0 "--uplink -"
python3 compare.py stdout files.json || fail "--uplink -: something else"
mkdir same
cp wire.pcap same/port0.pcap
status=0
"${node[@]}" replay --capture - --out same <same/port0.pcap >stdout 2>stderr || status=$?
expect_status 2 "output over the standard input"
cmp wire.pcap same/port0.pcap || fail "the standard input was overwritten"

echo "gzip"
replay --capture wire-in-gzip --hosts-from table --json
if grep -q "this build cannot read" stderr; then
    expect_status 2 "gzip in a build without it"
    expect_line "wire-in-gzip: is in gzip, which this build cannot read" gzip
else
    expect_status 0 gzip
    python3 compare.py stdout folder.json || fail "in gzip: something else"
    replay_from wire-in-gzip --capture - --hosts-from table --json
    python3 compare.py stdout folder.json || fail "in gzip from the standard input: something else"
    gzip -nc "$home/port0.pcap" >port0
    replay --port 0=port0 --uplink "$home/uplink.pcap" --json
    expect_status 0 "gzip at a port"
    python3 compare.py stdout files.json || fail "gzip at a port: something else"
    head -c 3000 wire-in-gzip >broken
    replay --capture broken
    expect_status 1 "truncated gzip"
    [[ $(<stderr) == "mc_node: broken: breaks after frame "*": the gzip data end too early" ]] ||
        fail "truncated gzip: $(head -c 500 stderr)"
    expect_stdout "Frames in" "truncated gzip"
    if command -v editcap >/dev/null; then
        editcap -F pcapng wire.pcap wire.pcapng
        gzip -nc wire.pcapng >wire-ng
        for input in wire.pcapng wire-ng; do
            replay_from $input --capture - --hosts-from table --json
            expect_status 0 "$input"
            python3 compare.py stdout folder.json || fail "$input from the standard input: something else"
        done
    fi
fi

echo "what is refused"
alone="--capture holds all ports: not with a folder, --port or --uplink"
expect_refusal "$alone" --capture wire.pcap "$home"
expect_refusal "$alone" --capture wire.pcap --port 0=hosts.pcap
expect_refusal "$alone" --uplink uplink.pcap --capture wire.pcap
expect_refusal "--hosts-from goes with --capture" --port 0=hosts.pcap --hosts-from mac
expect_refusal "standard input can be one capture only" --port 0=- --uplink -
expect_refusal "absent: cannot be read" --capture wire.pcap --hosts-from absent
expect_refusal "absent.pcap: No such file or directory" --capture absent.pcap

# A table with this line behind a good one is refused, in a line that names it and says why.
expect_malformed() {
    printf '02:00:00:00:00:10 0\nvlan 100 3\n%s\n' "$1" >bad
    expect_refusal "bad:3: $2" --capture wire.pcap --hosts-from bad
}
for line in '02:00:00:00:00:11 1 2' '02:00:00:00:00:11' 'vlan 100' uplink '""'; do
    expect_malformed "$line" "neither MAC PORT nor vlan VID PORT nor uplink MAC"
done
for word in 02:00:00:00:00 02:00:00:00:00:011 02:00:00:00:00-11 02:00:00:00:00:1g; do
    expect_malformed "$word 1" "'$word' is no MAC address such as 02:00:00:00:00:10"
done
expect_malformed 'uplink eth0' "'eth0' is no MAC address such as 02:00:00:00:00:10"
expect_malformed 'uplink 01:00:5e:00:00:01' "'01:00:5e:00:00:01' is a group address, nobody sends it"
for word in 6 29 x; do
    expect_malformed "02:00:00:00:00:11 $word" "'$word' is no user port: a number from 0 to 5 is needed"
done
expect_malformed "vlan 200 6" "'6' is no user port: a number from 0 to 5 is needed"
for word in 0 4095 x; do
    expect_malformed "vlan $word 1" "'$word' is no VID: a number from 1 to 4094, or none, is needed"
done
expect_malformed '02-00-00-00-00-10 1' "'02-00-00-00-00-10' stands in line 1 already"
expect_malformed 'uplink 02:00:00:00:00:10' "'02:00:00:00:00:10' stands in line 1 already"
expect_malformed 'vlan 0x64 1' "'0x64' stands in line 2 already"
expect_malformed $'\x1b 1' "'\\x1b' is no MAC address such as 02:00:00:00:00:10"

finish
