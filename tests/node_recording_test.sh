#!/usr/bin/env bash
# What --events and --timeline of a replay write: the same each time, frames by their number in the capture,
# and what becomes of a run whose files cannot be written.
#
#   tests/node_recording_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"

story=(--commands "$root/scenario/story/commands.txt" --until 300)

echo "equal replays write equal files"
for n in 1 2; do
    replay "$home" "${story[@]}" --events events.jsonl --timeline page.html
    expect_status 0 "replay $n"
    mv stdout "stdout$n"
    mv events.jsonl "events$n.jsonl"
    mv page.html "page$n.html"
done
cmp events1.jsonl events2.jsonl || fail "the events differ"
cmp page1.html page2.html || fail "the pages differ"
[[ $(wc -l <events1.jsonl) -gt 500 ]] || fail "there are $(wc -l <events1.jsonl) events"

echo "a run that is written down is the same run"
replay "$home" "${story[@]}"
diff <(grep -v "took\|replayed in" stdout) <(grep -v "took\|replayed in" stdout1) >difference || fail "$(head -5 difference)"

echo "frames are counted as in the capture"
python3 - "$home" <<'END' || fail "frames have other numbers"
import json, struct, sys
import pathlib

stamps = {}                                    # of the frames of a capture, in microseconds
for file in pathlib.Path(sys.argv[1]).glob("*.pcap"):
    data, at, all = file.read_bytes(), 24, []
    while at < len(data):
        seconds, micros, held, _ = struct.unpack_from("<4I", data, at)
        all.append(seconds * 10**6 + micros)
        at += 16 + held
    stamps[str(file)] = all
events = [json.loads(line) for line in open("events1.jsonl")]
framed = [event for event in events if "frame" in event]
assert len(framed) > 200
for event in framed:
    assert stamps[event["capture"]][event["frame"] - 1] == event["time_us"], event
assert [event["event"] for event in events][::len(events) - 1] == ["begin", "end"]
assert [event["time_us"] for event in events] == sorted(event["time_us"] for event in events)
END

echo "a disk that is full takes nothing else along"
replay "$home" "${story[@]}" --events /dev/full --timeline page.html
expect_status 1 "full disk"
[[ $(wc -l <stderr) -eq 1 ]] || fail "not one line: $(cat stderr)"
grep -q "^mc_node: /dev/full: the events are not whole: No space left on device$" stderr || fail "$(cat stderr)"
cmp page.html page1.html || fail "the page is another one"
diff <(grep -v "took\|replayed in" stdout) <(grep -v "took\|replayed in" stdout1) >difference || fail "$(head -5 difference)"

replay "$home" "${story[@]}" --events events.jsonl --timeline /dev/full
expect_status 1 "full disk for the page"
grep -q "^mc_node: /dev/full: the timeline cannot be written: No space left on device$" stderr || fail "$(cat stderr)"
[[ -c /dev/full ]] || fail "/dev/full is no device any more"
cmp events.jsonl events1.jsonl || fail "the events are others"

echo "a reader that goes away takes nothing else along"
mkfifo pipe
head -1 pipe >first &
replay "$home" "${story[@]}" --events pipe
wait
expect_status 1 "broken pipe"
grep -q "^mc_node: pipe: the events are not whole: Broken pipe$" stderr || fail "$(cat stderr)"
[[ -s stdout ]] || fail "no summary"

echo "files that cannot be opened are refused before the run"
for option in --events --timeline; do
    replay "$home" "$option" "none/$(printf 'odd\x1b')"
    expect_status 2 "$option"
    [[ $(wc -l <stderr) -eq 1 ]] || fail "not one line: $(cat stderr)"
    grep -qF 'mc_node: none/odd\x1b: cannot be written: No such file or directory' stderr || fail "$(cat -v stderr)"
    [[ ! -s stdout ]] || fail "something was replayed"
done

finish
