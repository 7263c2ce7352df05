#!/usr/bin/env bash
# Runs mcctl as a process against no queue, a queue that nobody reads, one that is full and one that
# is not ours, and looks at exit status, standard error and the messages on the queue. At last
# mc_node takes what mcctl posts.
#
#   tests/mcctl_run_test.sh [EMULATOR ...] MCCTL MC_NODE
set -euo pipefail

# The queue is the machine's: what needs one is tested in a namespace of its own, or not at all.
goes_on_without_ipc=yes
. "$(dirname "$0")/support/own_ipc.sh" "$@"
queue_is_ours=$TEST_HAS_OWN_IPC

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
work=$(mktemp -d)
node_process=
clean() {
    [[ -z $node_process ]] || kill "$node_process" 2>/dev/null || true
    rm -rf "$work"
}
trap clean EXIT

# The programs may have been named from where we were.
programs=("$(realpath "${@: -2:1}")" "$(realpath "${@: -1}")")
emulator=("${@:1:$#-2}")
mcctl=("${emulator[@]}" "${programs[0]}")
node=("${emulator[@]}" "${programs[1]}")
cd "$work"

# Runs mcctl; what it said and how it ended is in stdout, stderr and $status.
run() {
    status=0
    "${mcctl[@]}" "$@" >stdout 2>stderr </dev/null || status=$?
}

# expect WHAT STATUS LINE ARGUMENT...: one line on standard error with this text, and nothing else.
expect() {
    local what=$1 wanted=$2 line=$3
    shift 3
    run "$@"
    [[ $status -eq $wanted ]] || fail "$what: status $status instead of $wanted"
    [[ $(<stderr) == "${line:+mcctl: $line}" ]] || fail "$what: said '$(head -c 500 stderr)'"
    [[ ! -s stdout ]] || fail "$what: something on standard output"
}

# queue CALL ARGUMENT...: creates, fills, reads and removes the queue from outside.
queue() {
    python3 - "$@" <<'PYTHON'
import ctypes, struct, sys

libc = ctypes.CDLL(None, use_errno=True)
libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]
libc.msgrcv.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_long, ctypes.c_int]
CREATE, NOWAIT, REMOVE = 0o1000, 0o4000, 0
what = sys.argv[1]
if what == "create":
    sys.exit(libc.msgget(81, CREATE | int(sys.argv[2], 8)) < 0)
queue = libc.msgget(81, 0)
if what == "exists":
    sys.exit(queue < 0)
if what == "remove":
    sys.exit(libc.msgctl(queue, REMOVE, None) != 0)
if what == "fill":
    message = struct.pack("@l128s", 1, b"")
    for size in (128, 1):
        while libc.msgsnd(queue, message, size, NOWAIT) == 0:
            pass
if what == "take":
    buffer = ctypes.create_string_buffer(256)
    got = libc.msgrcv(queue, buffer, 128, 0, NOWAIT)
    if got < 0:
        sys.exit("the queue is empty")
    word = struct.calcsize("@l")
    print(struct.unpack_from("@l", buffer)[0], buffer.raw[word:word + got].hex(" "))
PYTHON
}

# Has the status segment attached, as the library has while it runs.
attach() {
    python3 -c '
import ctypes, sys
libc = ctypes.CDLL(None, use_errno=True)
libc.shmat.restype = ctypes.c_void_p
libc.shmat.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_int]
segment = libc.shmget(82, 14492, 0o1000)
assert libc.shmat(segment, None, 0) not in (None, ctypes.c_void_p(-1).value)
print("attached", flush=True)
sys.stdin.read()'
}

# The next message on the queue: its type word and its text.
expect_message() {
    local got
    got=$(queue take 2>/dev/null) || got="nothing"
    [[ $got == "$2" ]] || fail "$1: '$got' on the queue instead of '$2'"
}

echo "what needs no queue"
run --dry-run vlan delete --port 1 --up-in 100 --data-in 4000
[[ $status -eq 0 && ! -s stderr ]] || fail "--dry-run: status $status"
[[ $(<stdout) == "00 00 00 33 00 00 00 1c 01 01 00 64 00 00 00 00 ff ff ff ff 00 00 0f a0 00 00 00 00" ]] ||
    fail "--dry-run: printed $(<stdout)"
run version 3 --dry-run
[[ $(<stdout) == "00 00 00 1b 00 00 00 09 03" ]] || fail "--dry-run at the end: $(<stdout)"
expect "a port that is none" 2 "fast-leave: --port: '6' is not one of 0 to 5, uplink (29)" \
    fast-leave --port 6 on
expect "an unknown command" 2 "unknown command 'vlna'" vlna
expect "half a command" 2 "'ssm' is followed by one of range, map" ssm
expect "another shell" 2 "completion is followed by one of bash, zsh, fish" completion csh
expect "a console with words" 2 "console stands alone" console now
expect "a console that is not posted" 2 "console posts no record for --dry-run to print" console --dry-run
expect "no arguments" 2 "no command: --help lists them"
run --help
[[ $status -eq 0 ]] || fail "--help: status $status"
grep -q "vlan add" stdout || fail "--help: no list of commands"
cp stdout list
run help
[[ $status -eq 0 ]] || fail "help: status $status"
cmp stdout list || fail "help: another list of commands"
expect "an option that is none" 2 "vlan add: '--prot' is not an option" vlan add --prot 2
run help vlan add
grep -q -- "--data-in" stdout || fail "help vlan add: no options"
run vlan add --port 1 --help
[[ $status -eq 0 ]] || fail "--help: status $status"
grep -q -- "--data-in" stdout || fail "--help: no options"
run --reference
cmp stdout "$root/docs/commands.md" || fail "--reference is not docs/commands.md"

echo "completion"
run completion bash
cp stdout completion.bash
# complete WORD...: what the script offers for the last word, in one line.
offers() {
    bash -c '
        source completion.bash
        COMP_WORDS=("$@")
        COMP_CWORD=$(($# - 1))
        _mcctl
        echo "${COMPREPLY[*]}"' bash mcctl "$@"
}
expect_offer() {
    local wanted=$1
    shift
    [[ $(offers "$@") == "$wanted" ]] || fail "completion of '$*': '$(offers "$@")'"
}
expect_offer "vlan version" v
expect_offer "control-list console" con
expect_offer "add delete web-set service-set service-remove --help" vlan ""
expect_offer "--data-mode --data-in --data-out" vlan add --port 1 --da
expect_offer "untag tag translate" vlan add --mode ""
expect_offer "private" auth p
expect_offer "add delete clear --help" --dry-run auth private ""
expect_offer "0 1 2 3 4 5 uplink" fast-leave --port ""
expect_offer "errors" debug e

if [[ $queue_is_ours == yes ]]; then
    echo "no queue"
    expect "no console" 1 "no console of a node is there for us" console
    expect "no queue" 1 "no node is running: queue 81 is not there" version 3
    queue exists && fail "mcctl created the queue"

    echo "a queue that nobody reads"
    queue create 666
    expect "nobody" 1 "no node is running: queue 81 is there, but nobody reads it" version 3
    expect_message "what nobody reads" "nothing"

    echo "a queue that is read"
    coproc reader { attach; }
    read -r <&"${reader[0]}"
    expect "post" 0 "" version 3
    # Nobody offers a console here: the answer would be missed, the command is posted nevertheless.
    expect "post without a payload" 0 "note: the answer is on the console of the node" show config
    expect "post a rule" 0 "" vlan delete --port 1 --up-in 100 --data-in 4000
    expect "post raw" 0 "" raw 0x12345678 0a 0b
    expect "a wrong value" 2 "version: VERSION: '4' is not one of 1 to 3" version 4
    run --dry-run version 3
    ipcs -q | grep -qi '^0x0*51 ' || fail "ipcs does not show the queue"
    [[ $(ipcs -q | awk 'tolower($1) ~ /^0x0*51$/ {print $6}') == 4 ]] || fail "not four messages"
    expect_message "version" "27 00 00 00 09 03"
    expect_message "show config" "39 00 00 00 08"
    expect_message "vlan delete" \
        "51 00 00 00 1c 01 01 00 64 00 00 00 00 ff ff ff ff 00 00 0f a0 00 00 00 00"
    expect_message "raw" "305419896 00 00 00 0a 0a 0b"
    expect_message "the end" "nothing"

    echo "a full queue"
    queue fill
    expect "a full queue" 1 "the queue is full: the node does not take commands" version 3
    queue remove

    echo "a queue that is not ours"
    queue create 0
    if [[ $(id -u) -eq 0 ]] && ! setpriv --reuid 65534 --clear-groups test -x "${programs[0]}"; then
        echo "skipped: nobody may not run mcctl"
    elif [[ $(id -u) -eq 0 ]]; then
        touch stdout stderr
        ours=("${mcctl[@]}")
        mcctl=(setpriv --reuid 65534 --regid 65534 --clear-groups "${mcctl[@]}")
        expect "no permission" 1 "queue 81 is not ours to write" version 3
        mcctl=("${ours[@]}")
    fi
    queue remove
    exec {reader[1]}>&-
    wait "$reader_PID" || true
    ipcrm --shmem-key 82

    echo "a node"
    # A capture without an end keeps the node alive.
    mkfifo endless
    exec {feed}<>endless
    printf '%b' '\xd4\xc3\xb2\xa1\x02\x00\x04\x00\x00\x00\x00\x00\x00\x00\x00\x00' \
        '\xff\xff\x00\x00\x01\x00\x00\x00' >&"$feed"
    # One frame, so that the replay begins: an untagged report of 239.1.2.3.
    printf '%b' '\xe8\x03\x00\x00\x00\x00\x00\x00\x2a\x00\x00\x00\x2a\x00\x00\x00' \
        '\x01\x00\x5e\x01\x02\x03\x02\x00\x00\x00\x00\x07\x08\x00' \
        '\x45\x00\x00\x1c\x00\x00\x00\x00\x01\x02\x07\x2d\xc0\xa8\x01\x07\xef\x01\x02\x03' \
        '\x16\x00\xf8\xfa\xef\x01\x02\x03' >&"$feed"
    "${node[@]}" replay --port 2=endless --ipc shared >node.out 2>node.err </dev/null &
    node_process=$!
    for ((i = 0; i < 200; i++)); do
        if queue exists || ! kill -0 "$node_process" 2>/dev/null; then break; fi
        sleep 0.1
    done
    if ! queue exists; then
        fail "the node opened no queue: $(head -c 500 node.err)"
    else
        expect "post to the node" 0 "" debug config
        expect "post to the node again" 0 "" version 3
        for ((i = 0; i < 100; i++)); do
            messages=$(ipcs -q | awk 'tolower($1) ~ /^0x0*51$/ {print $6}')
            if [[ $messages == 0 ]]; then break; fi
            sleep 0.1
        done
        [[ $messages == 0 ]] || fail "the node took no commands: $messages left"
    fi
    exec {feed}>&-
    kill "$node_process" 2>/dev/null || true
    wait "$node_process" 2>/dev/null || true
    node_process=
fi

finish
