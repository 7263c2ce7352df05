#!/usr/bin/env bash
# Runs mc_node with a neighbour that means ill: messages that are no records, signals to its tasks, a
# queue that is taken away. Every record runs once, one line says what happened, and no processor is
# burnt.
#
#   tests/node_queue_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/own_ipc.sh" "$@"

. "$(dirname "$0")/support/replay.sh"
# Without a namespace of its own: the process that is started is the node, or its emulator.
node=("$@")

# neighbour CALL ARGUMENT...: works on the queue and the node from outside.
#   post CODE LENGTH ...   posts messages of so many bytes
#   remove                 removes the queue
#   signal PID NUMBER      sends a signal to every thread but the first
neighbour() {
    python3 - "$@" <<'PYTHON'
import ctypes, os, struct, sys

libc = ctypes.CDLL(None, use_errno=True)
libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]
what, words = sys.argv[1], [int(word) for word in sys.argv[2:]]

def check(result):
    if result < 0:
        sys.exit(os.strerror(ctypes.get_errno()))

if what == "signal":
    process, signal = words
    for thread in os.listdir(f"/proc/{process}/task"):
        if int(thread) != process:
            check(libc.tgkill(process, int(thread), signal))
    sys.exit()
queue = libc.msgget(81, 0)
check(queue)
if what == "remove":
    check(libc.msgctl(queue, 0, None))
for code, length in zip(words[::2], words[1::2]):
    check(libc.msgsnd(queue, struct.pack("@l", code) + bytes(length), length, 0))
PYTHON
}

# wait_for COMMAND...: until it succeeds, ten seconds at most.
wait_for() {
    local i
    for ((i = 0; i < 100; i++)); do
        if "$@"; then return 0; fi
        sleep 0.1
    done
    return 1
}
has_summary() { [[ $(tail -n 1 stdout 2>/dev/null) == "}" ]]; }
is_gone() { ! kill -0 "$held" 2>/dev/null; }
is_empty() { [[ $(ipcs -q | awk 'tolower($1) ~ /^0x0*51$/ {print $6}') == 0 ]]; }

# A node that holds after a short replay. What the library prints is in stderr.
start_node() {
    rm -f stdout stderr
    "${node[@]}" replay "$home" --debug errors --json --hold >stdout 2>stderr </dev/null &
    held=$!
    wait_for has_summary || fail "the node does not hold: $(head -c 500 stderr)"
}

# The status of the node, which is about to end.
end_of_node() {
    wait_for is_gone || { fail "$1: the node does not end"; kill -KILL "$held"; }
    status=0
    wait "$held" || status=$?
    held=
}

# Records of codes that no command has: the library prints a line each time that one runs.
expect_runs() {
    local what=$1 code times
    shift
    for code in "$@"; do
        times=$(grep -c "msgid($code) is not missing" stderr || true)
        [[ $times -eq 1 ]] || fail "$what: record $code ran $times times instead of once"
    done
}

expect_lines() {
    local what=$1 times=$2 text=$3
    [[ $(grep -c "^mc_node: $text" stderr || true) -eq $times ]] ||
        fail "$what: not $times lines '$text': $(grep '^mc_node' stderr | head -n 5)"
}

# Ticks of the processor that the node has used.
ticks() { awk '{print $14 + $15}' "/proc/$held/stat" 2>/dev/null || echo 0; }
expect_quiet() {
    local before
    ! is_gone || { fail "$1: the node is gone"; return; }
    before=$(ticks)
    sleep 1
    [[ $(($(ticks) - before)) -le 20 ]] ||
        fail "$1: $(($(ticks) - before)) ticks of the processor in a second"
}

too_long='took a message of more than 128 bytes off queue 81, number'

echo "messages that are too long"
start_node
# In front of, between and behind records, and to a task that waits.
neighbour post 1001 129 2001 8 1002 8000 2002 128
neighbour post 1003 129
wait_for is_empty || fail "too long: messages are left on the queue"
neighbour post 2003 4
wait_for grep -q "msgid(2003)" stderr || true
expect_quiet "too long"
expect_runs "too long" 2001 2002 2003
! grep -qE 'msgid\(100|msgrcv interface' stderr || fail "too long: the library saw one"
expect_lines "too long" 1 "$too_long 1\$"
expect_lines "too long" 2 "$too_long"
# Many of them are said with ever fewer lines.
neighbour post 1001 129 1001 129 1001 129 1001 129 1001 129
wait_for is_empty || fail "too long: messages are left on the queue"
neighbour post 2004 4
wait_for grep -q "msgid(2004)" stderr || true
expect_lines "eight too long" 4 "$too_long"
expect_runs "eight too long" 2003 2004
kill -TERM "$held"
end_of_node "too long"
expect_status 0 "too long"

echo "signals"
start_node
neighbour post 2005 4
wait_for grep -q "msgid(2005)" stderr || fail "signals: the record did not run"
# To the process: one that ends nothing, and being stopped. Then to each task alone.
for signal in WINCH STOP CONT; do kill -"$signal" "$held"; sleep 0.1; done
for signal in 2 15 10; do
    neighbour signal "$held" "$signal" || fail "signals: the node is gone before signal $signal"
    sleep 0.3
done
neighbour post 2006 4
wait_for grep -q "msgid(2006)" stderr || true
expect_quiet signals
expect_runs signals 2005 2006
for status_file in /proc/"$held"/task/*/status; do
    # An emulator has a mask of its own.
    [[ $# -eq 1 && -e $status_file && $status_file != */task/"$held"/* ]] || continue
    # Of the first 31 all can be blocked but KILL and STOP, and five are left to faults.
    [[ $(awk '/^SigBlk/ {print $2}' "$status_file") == *7ffbfa27 ]] ||
        fail "signals: a task blocks only $(awk '/^SigBlk/ {print $2}' "$status_file")"
done
kill -INT "$held" || true
end_of_node signals
expect_status 0 signals

echo "a queue that is removed"
start_node
neighbour post 2007 4
wait_for grep -q "msgid(2007)" stderr || fail "removed: the record did not run"
neighbour remove
end_of_node removed
expect_status 3 removed
expect_runs removed 2007
expect_lines removed 1 "queue 81 was removed: no command can come, the node ends"
python3 -m json.tool stdout >/dev/null || fail "removed: no summary"

echo "a queue that is removed under a replay"
# One frame and no end.
mkfifo endless
exec {feed}<>endless
printf '%b' '\xd4\xc3\xb2\xa1\x02\x00\x04\x00\x00\x00\x00\x00\x00\x00\x00\x00' \
    '\xff\xff\x00\x00\x01\x00\x00\x00' '\xe8\x03\x00\x00\x00\x00\x00\x00\x2a\x00\x00\x00\x2a\x00\x00\x00' \
    '\x01\x00\x5e\x01\x02\x03\x02\x00\x00\x00\x00\x07\x08\x00' \
    '\x45\x00\x00\x1c\x00\x00\x00\x00\x01\x02\x07\x2d\xc0\xa8\x01\x07\xef\x01\x02\x03' \
    '\x16\x00\xf8\xfa\xef\x01\x02\x03' >&"$feed"
"${node[@]}" replay --port 2=endless --ipc shared --json >stdout 2>stderr </dev/null &
held=$!
wait_for neighbour post 2008 4 2>/dev/null || fail "under a replay: no queue"
neighbour remove
end_of_node "under a replay"
exec {feed}>&-
expect_status 3 "under a replay"
expect_lines "under a replay" 1 "queue 81 was removed"
python3 -c 'import json; assert json.load(open("stdout"))["interrupted"]' ||
    fail "under a replay: the summary does not say that it was interrupted"

finish
