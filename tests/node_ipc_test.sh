#!/usr/bin/env bash
# Two nodes in one IPC namespace would share the command queue and the status segment: the second is
# refused, and a replay that takes no commands has a namespace of its own.
#
#   tests/node_ipc_test.sh [EMULATOR ...] MC_NODE MCCTL
set -euo pipefail

. "$(dirname "$0")/support/own_ipc.sh" "$@"

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
home=$root/scenario/home
emulator=("${@:1:$#-2}")
node=("${emulator[@]}" "$(realpath "${@: -2:1}")")
mcctl=("${emulator[@]}" "$(realpath "${@: -1}")")
work=$(mktemp -d)
cd "$work"
started=()
stop_all() {
    local each
    for each in "${started[@]}"; do
        kill -KILL "$each" 2>/dev/null || true
        wait "$each" 2>/dev/null || true
    done
    started=()
}
trap 'stop_all; rm -rf "$work"' EXIT

# wait_for COMMAND...: until it succeeds, ten seconds at most.
wait_for() {
    local i
    for ((i = 0; i < 100; i++)); do
        if "$@"; then return 0; fi
        sleep 0.1
    done
    return 1
}

# hold NAME OPTION...: a node that stays, its output in NAME.out and NAME.err, its process in $held.
hold() {
    local name=$1
    shift
    "${node[@]}" replay "$home" --json --hold "$@" >"$name.out" 2>"$name.err" </dev/null &
    held=$!
    started+=("$held")
}
holds() { [[ $(tail -n 1 "$1.out" 2>/dev/null) == "}" ]]; }

replay() {
    status=0
    timeout 20 "${node[@]}" replay "$@" >stdout 2>stderr </dev/null || status=$?
}

# One line that names the process, and neither queue nor segment is touched.
expect_refusal() {
    local what=$1 process=$2
    expect_status 2 "$what"
    [[ $(<stderr) == "mc_node: queue 81 is that of process $process ("*"): give this node one of its own with --ipc private, or start it under unshare --ipc" ]] ||
        fail "$what: '$(head -c 500 stderr)'"
    [[ ! -s stdout ]] || fail "$what: something on standard output"
}
# Without the number of messages, which the node may just be taking.
objects() { cat /proc/sysvipc/shm; awk '{print $1, $2, $3}' /proc/sysvipc/msg; }

echo "a second node"
hold first
first=$held
wait_for holds first || fail "the first node does not hold: $(<first.err)"
objects >before
replay "$home" --hold
expect_refusal "a second node" "$first"
replay "$home" --ipc shared
expect_refusal "a replay that wants to share" "$first"
objects | cmp -s - before || fail "a second node: queue or segment has been touched"

echo "replays beside commands"
cat >post.sh <<'POST'
while "$@" fast-leave all on && "$@" fast-leave all off && "$@" group-limit --port 1 1; do
    echo posted >>posted
done
POST
bash post.sh "${mcctl[@]}" >/dev/null 2>&1 &
started+=($!)
wait_for test -e posted || fail "no command can be posted"
for ((i = 0; i < 7; i++)); do
    replay "$home" --json
    expect_status 0 "replay $i"
    cp stdout "result$i"
    cmp -s result0 "result$i" || fail "replay $i has another result than replay 0"
done
objects | cmp -s - before || fail "replays: queue or segment of the first node has been touched"
kill -0 "$first" || fail "the first node is gone"
count=$(wc -l <posted)
wait_for eval '[[ $(wc -l <posted) -gt $count ]]' || fail "the first node takes no commands any more"
stop_all

echo "two that start at once"
for name in a b c d; do hold "$name"; done
wait_for eval '(holds a || holds b || holds c || holds d) && [[ $(cat [abcd].err | grep -c "queue 81 is that of") -eq 3 ]]' ||
    fail "of four nodes not three are refused: $(cat [abcd].err)"
stop_all

echo "one that has only just started"
# It has neither queue nor segment yet.
python3 -c "
import ctypes, time
libc = ctypes.CDLL(None, use_errno=True)
semaphore = libc.semget(81, 1, 0o1600)
assert libc.semop(semaphore, (ctypes.c_short * 6)(0, 0, 0o4000, 0, 1, 0o10000), 2) == 0  # IPC_NOWAIT, SEM_UNDO
print('taken', flush=True)
time.sleep(60)" >taken &
started+=($!)
wait_for grep -qs taken taken || fail "the semaphore cannot be taken"
replay "$home" --hold
expect_refusal "one that has only just started" "$!"
stop_all

echo "what a dead node leaves"
hold dead
wait_for holds dead || fail "after four nodes: $(<dead.err)"
kill -KILL "$held"
wait "$held" 2>/dev/null || true
hold next
wait_for holds next || fail "the queue of a dead node is not taken over: $(<next.err)"
stop_all

echo "who has the segment"
attach() { # FLAGS: has the status segment attached until it is killed
    python3 -c "
import ctypes, time
libc = ctypes.CDLL(None)
libc.shmat.restype = ctypes.c_void_p
libc.shmat(libc.shmget(82, 0, 0), None, $1)
print('attached', flush=True)
time.sleep(60)" >attached &
    attached=$!
    started+=("$attached")
    wait_for grep -qs attached attached
}
attach 0
replay "$home" --hold
expect_refusal "a program that knows no semaphore" "$attached"
stop_all
rm attached
attach 0o10000 # SHM_RDONLY
hold shown
wait_for holds shown || fail "a program that shows the segment keeps the node out: $(<shown.err)"
stop_all

echo "a namespace of its own"
hold first
wait_for holds first || fail "first: $(<first.err)"
hold second --ipc private --debug config
wait_for grep -qs 'holds; commands by' second.err || fail "--ipc private: $(<second.err)"
way=$(sed -n 's/^mc_node: holds; commands by \(.*\) mcctl \.\.\.$/\1/p' second.err)
[[ $way == "nsenter "*"--ipc -t "* ]] || fail "--ipc private: no way in"
$way "${mcctl[@]}" fast-leave all on || fail "--ipc private: no command gets in by '$way'"
wait_for eval '[[ $($way cat /proc/sysvipc/msg | awk "NR == 2 {print \$5}") == 0 ]]' ||
    fail "--ipc private: the command is not taken"
stop_all
replay "$home" --ipc own
expect_status 2 "--ipc own"
[[ $(<stderr) == "mc_node: --ipc: 'own' is neither private nor shared" ]] || fail "--ipc own: $(<stderr)"

if [[ $EUID -eq 0 ]] && setpriv --reuid 65534 --clear-groups unshare --user --ipc true 2>/dev/null; then
    echo "without privileges"
    chmod 755 "$work"
    hold first
    wait_for holds first || fail "first: $(<first.err)"
    # An emulator has threads of its own, and a process with threads gets no user namespace.
    if [[ ${#emulator[@]} -eq 0 ]]; then
        status=0
        setpriv --reuid 65534 --clear-groups "${node[@]}" replay "$home" --json >stdout 2>stderr \
            </dev/null || status=$?
        expect_status 0 "without privileges"
        cmp -s stdout result0 || fail "without privileges: another result"
    fi
    # It may neither use the semaphore nor look at the node.
    status=0
    setpriv --reuid 65534 --clear-groups "${node[@]}" replay "$home" --ipc shared >stdout 2>stderr \
        </dev/null || status=$?
    expect_refusal "sharing without privileges" "$held"
fi

finish
