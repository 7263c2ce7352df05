#!/usr/bin/env bash
# Plays the story of the ONU ids and reads the uplink capture with a standard dissector: in control
# mode each frame of a user port goes up behind the tags that name the node and the port, and the
# message behind them is the one that the host sent.
#
#   tests/onu_id_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"

# One line a frame: when, from whom, behind which VLANs, and what the dissector makes of it.
dissect() {
    local field fields=(frame.time_epoch eth.src vlan.id igmp.type igmp.maddr igmp.num_grp_recs
        icmpv6.type icmpv6.mldr.nb_mcast_records icmpv6.mldr.mar.multicast_address
        icmpv6.mld.multicast_address ip.checksum.status icmpv6.checksum.status _ws.malformed)
    local wanted=()
    for field in "${fields[@]}"; do wanted+=(-e "$field"); done
    tshark -r "$1" -o ip.check_checksum:TRUE -n -T fields "${wanted[@]}" \
        -Y 'igmp or icmpv6.type in {130, 131, 132, 143}' 2>tshark-stderr ||
        fail "tshark: $(head -c 500 tshark-stderr)"
}

replay "$home" --commands "$root/scenario/story/onu-id.txt" --out sent --json
expect_status 0 "the story"
for port in 0 1 2 3 4 5; do dissect "$home/port$port.pcap" >"in$port"; done
dissect sent/uplink.pcap >up

python3 - <<'PYTHON' || fail "the uplink capture does not tell the story"
import json, sys

first = json.load(open("stdout"))["time"]["first_us"]
OWN_VID = {3: "100", 4: "200"}
wrong = []

def rows(name):
    for line in open(name):
        time, mac, vids, *message = line.rstrip("\n").split("\t")
        second, fraction = time.split(".")
        yield int(second) * 10**6 + int(fraction[:6]) - first, mac, vids, tuple(message)

def expected_vids(at_us, port, is_igmp):
    if at_us >= 57_000_000:
        return OWN_VID.get(port, "")
    if at_us >= 45_000_000:
        return f"{port + 1}" if is_igmp else f"255,{port + 1}"
    return f"{7 if at_us < 25_000_000 else 128},{port + 1}"

wanted = []
for port in range(6):
    for at_us, mac, vids, message in rows(f"in{port}"):
        if vids != OWN_VID.get(port, ""):
            wrong.append(f"port {port} is recorded behind VLANs '{vids}'")
        wanted.append((at_us, mac, expected_vids(at_us, port, message[0] != ""), message))

# The core's own frames carry the node's address, not that of a host.
hosts = {mac for _, mac, _, _ in wanted}
seen = [row for row in rows("up") if row[1] in hosts]
for row in sorted(set(wanted) - set(seen))[:5]:
    wrong.append(f"not sent: {row}")
for row in sorted(set(seen) - set(wanted))[:5]:
    wrong.append(f"sent, but not as it should be: {row}")
if len(seen) != len(wanted):
    wrong.append(f"{len(seen)} frames went up, {len(wanted)} came in")

# Each chapter has frames of both kinds, or the story says nothing of it.
chapters = {(vids.split(",")[0] if "," in vids else "inner alone", message[0] != "")
            for at_us, _, vids, message in wanted if at_us < 57_000_000}
for chapter in [(vid, igmp) for vid in ("7", "128") for igmp in (True, False)] + [
        ("inner alone", True), ("255", False)]:
    if chapter not in chapters:
        wrong.append(f"no frame shows {chapter}")
if any(row[3][-1] for row in seen):
    wrong.append("the dissector calls a frame malformed")
if any("Bad" in status or status == "0" for row in seen for status in row[3][-3:-1]):
    wrong.append("the dissector finds a wrong checksum")

print(f"{len(seen)} frames went up")
for line in wrong:
    print(line, file=sys.stderr)
sys.exit(len(wrong) > 0)
PYTHON

finish
