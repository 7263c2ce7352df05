#!/usr/bin/env bash
# Runs mcctl against the console of mc_node: each command gets its own answer, a console is followed
# byte for byte, and neither a client that does not read nor one that talks nonsense disturbs the node.
#
#   tests/console_test.sh [EMULATOR ...] MCCTL MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/own_ipc.sh" "$@"

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
work=$(mktemp -d)
chmod 755 "$work"
held=  # the node
other= # a client in the background
clean() {
    for process in $held $other; do kill -KILL "$process" 2>/dev/null || true; done
    rm -rf "$work"
}
trap clean EXIT
emulator=("${@:1:$#-2}")
mcctl=("${emulator[@]}" "$(realpath "${@: -2:1}")")
node=("${emulator[@]}" "$(realpath "${@: -1}")")
cd "$work"

# Waits until the command succeeds, ten seconds at most.
wait_for() {
    local i
    for ((i = 0; i < 200; i++)); do
        if "$@"; then return 0; fi
        sleep 0.05
    done
    return 1
}
has_text() { grep -qF -- "$2" "$1" 2>/dev/null; }
has_size() { [[ $(stat -c %s "$1") -ge $2 ]]; }

# A node that holds after a short replay; what it prints is in the file node.out, or goes where the
# first argument says.
start_node() {
    local out=$1
    shift
    rm -f node.err
    "${node[@]}" replay "$root/scenario/home" --hold "$@" >"$out" 2>node.err </dev/null &
    held=$!
    # The console is there before the queue is.
    wait_for takes_commands || fail "the node takes no commands: $(head -c 500 node.err)"
}
takes_commands() { "${mcctl[@]}" memory reset >/dev/null 2>&1; }
stop_node() {
    status=0
    kill -"$1" "$held"
    wait "$held" 2>/dev/null || status=$?
    held=
}

# Runs mcctl; what it said and how it ended is in stdout, stderr and $status.
run() {
    status=0
    timeout 20 "${mcctl[@]}" "$@" >stdout 2>stderr </dev/null || status=$?
}
# expect WHAT STATUS LINE ARGUMENT...: one line on standard error with this text, nothing else.
expect() {
    local what=$1 wanted=$2 line=$3
    shift 3
    run "$@"
    [[ $status -eq $wanted ]] || fail "$what: status $status instead of $wanted"
    [[ $(<stderr) == "${line:+mcctl: $line}" ]] || fail "$what: said '$(head -c 500 stderr)'"
    [[ ! -s stdout ]] || fail "$what: printed '$(head -c 500 stdout)'"
}

# Follows the console in the background into the files console.out and console.err. An interrupt ends
# what runs in the background only where it is asked for.
follow() {
    rm -f console.out console.err
    env --default-signal=INT "${mcctl[@]}" console >console.out 2>console.err </dev/null &
    other=$!
    # Whatever is printed from here on is on the console when this is.
    wait_for is_followed || fail "nothing comes on the console: $(<console.err)"
}
is_followed() {
    "${mcctl[@]}" show groups >/dev/null
    [[ -s console.out ]]
}
end_of_client() {
    status=0
    wait "$other" 2>/dev/null || status=$?
    other=
}

# client WHAT ...: speaks to the console itself.
#   say HEX            sends the bytes; what comes back until the node closes, at most a second long
#   hold N             N consoles; prints how many are ready and what the next one is told, then waits
#                      for its own standard input to end
#   sleep              a console that is read only when standard input ends; prints what it got
client() {
    python3 - "$@" 3<&0 <<'PYTHON'
import os, socket, struct, sys

NAME = "\0mc_node console " + os.readlink("/proc/self/ns/ipc")

def connect():
    made = socket.socket(socket.AF_UNIX)
    made.connect(NAME)
    return made

def request(text):
    return b"q" + struct.pack(">I", len(text)) + text

def follow():
    made = connect()
    try:
        made.sendall(request(b"console"))
    except BrokenPipeError:
        pass                    # the node has refused it unasked; why is to be read
    return made, made.recv(200)

what = sys.argv[1]
if what == "say":
    made = connect()
    made.settimeout(1)
    made.sendall(bytes.fromhex(sys.argv[2]))
    try:
        said = b""
        while more := made.recv(65536):
            said += more
        print(said.decode("latin-1"))
    except TimeoutError:
        print("silence")
    except ConnectionResetError:
        print(said.decode("latin-1"))
if what == "hold":
    all_made = [follow() for _ in range(int(sys.argv[2]))]
    print(sum(said == b"r\0\0\0\0" for _, said in all_made), follow()[1][5:].decode(), flush=True)
    os.read(3, 1)
if what == "sleep":
    made, said = follow()
    print("asleep", flush=True)
    os.read(3, 1)
    received = bytearray()
    while more := made.recv(1 << 20):
        received += more
    kinds, at = [], 0
    while at < len(received):
        size, = struct.unpack_from(">I", received, at + 1)
        kinds.append(chr(received[at]))
        last = bytes(received[at + 5:at + 5 + size])
        at += 5 + size
    print(len(received) > 4 << 20, set(kinds[:-1]), kinds[-1], last.decode())
PYTHON
}

is_answered() { [[ $("${mcctl[@]}" show config 2>/dev/null) == "$(<config.answer)" ]]; }

# repeat N COMMAND ...: posts the record of a command N times from outside; at a full queue it waits.
repeat() {
    local times=$1 record
    shift
    record=$("${mcctl[@]}" --dry-run "$@")
    python3 - "$times" "$record" <<'PYTHON'
import ctypes, struct, sys

libc = ctypes.CDLL(None, use_errno=True)
libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]
record = bytes.fromhex(sys.argv[2])
message = struct.pack("@l", int.from_bytes(record[:4], "big")) + record[4:]
for _ in range(int(sys.argv[1])):
    if libc.msgsnd(libc.msgget(81, 0), message, len(record) - 4, 0):
        sys.exit("msgsnd")
PYTHON
}

echo "answers"
start_node node.out
before=$(stat -c %s node.out)
run show config
[[ $status -eq 0 && ! -s stderr ]] || fail "show config: status $status, said '$(<stderr)'"
tail -c +$((before + 1)) node.out | cmp -s stdout || fail "show config: not what the node printed"
has_text stdout "MC HAL Version" || fail "show config: printed '$(head -c 300 stdout)'"
cp stdout config.answer
run show groups
has_text stdout "IGMP memberships" || fail "show groups: printed '$(head -c 300 stdout)'"
! has_text stdout "MC HAL Version" || fail "show groups: has the answer before it"
cp stdout groups.answer
expect "a command that prints nothing" 0 "" version 3
expect "a record that is none" 2 "version: VERSION: '4' is not one of 1 to 3" version 4
"${mcctl[@]}" --dry-run show config >dry
[[ $(<dry) == "00 00 00 27 00 00 00 08" ]] || fail "--dry-run: printed $(<dry)"
# When mcctl is back the command was run: what comes next sees it.
for version in 2 3 2 3; do
    run version "$version"
    run show igmpv3
    grep -qE "^  version +$version\$" stdout || fail "show igmpv3 after version $version: $(<stdout)"
done

echo "many at once"
for ((i = 0; i < 6; i++)); do
    for what in config groups; do
        "${mcctl[@]}" show "$what" >"$what.$i" 2>&1 &
        clients+=($!)
    done
done
wait "${clients[@]}" || fail "at once: a status"
for ((i = 0; i < 6; i++)); do
    for what in config groups; do
        cmp -s "$what.answer" "$what.$i" || fail "at once: $what $i: $(head -c 200 "$what.$i")"
    done
done

echo "a console that is followed"
follow
before=$(stat -c %s node.out)
begun=$(stat -c %s console.out)
repeat 50 show config
run show groups
wait_for has_size console.out $((begun + $(stat -c %s node.out) - before)) ||
    fail "console: something is missing"
cmp -s <(tail -c +$((before + 1)) node.out) <(tail -c +$((begun + 1)) console.out) ||
    fail "console: not what the node printed"
kill -INT "$other"
end_of_client
expect_status 130 "an interrupted console"
[[ ! -s console.err ]] || fail "an interrupted console: said '$(<console.err)'"

echo "a reader that has enough"
has_enough() {
    "${mcctl[@]}" show groups >/dev/null
    [[ -e head.status ]]
}
{
    status=0
    timeout 20 "${mcctl[@]}" console 2>head.err || status=$?
    echo "$status" >head.status
} | head -n 1 >head.out &
other=$!
wait_for has_enough || fail "head: the console goes on without a reader"
end_of_client
# A shell may let the pipe's own signal end it.
[[ $(<head.status) == 0 || $(<head.status) == 141 ]] || fail "head: status $(<head.status)"
[[ -s head.out && ! -s head.err ]] || fail "head: got '$(<head.out)', said '$(<head.err)'"

echo "clients that talk nonsense"
[[ $(client say 710000000462 2>&1) == silence ]] || fail "half a request: an answer"
[[ $(client say 7100000005626f677573 | tail -c +6) == "this node knows no such request" ]] ||
    fail "an unknown request: $(client say 7100000005626f677573)"
[[ -z $(client say "$(printf 'ff%.0s' {1..3000})") ]] || fail "a request without an end: an answer"
# Two requests on one connection: it is closed behind the first.
[[ $(client say 7100000007636f6e736f6c657100000007636f6e736f6c65) != *r*r* ]] ||
    fail "two requests: both are answered"
coproc holder { client hold 16; }
read -r -t 10 said <&"${holder[0]}" || said=nothing
[[ $said == "16 too many processes follow the console" ]] || fail "seventeen consoles: $said"
expect "no place for an answer" 0 "note: the answer is on the console of the node" show config
expect "no place for a console" 1 \
    "no console of a node is there for us: too many processes follow the console" console
[[ -z ${holder_PID-} ]] || { kill "$holder_PID"; wait "$holder_PID"; } 2>/dev/null || true
wait_for is_answered || fail "no answer after seventeen consoles"

echo "a client that does not read"
coproc sleeper { client sleep; }
read -r -t 10 said <&"${sleeper[0]}" || fail "no sleeper"
answer=$(stat -c %s config.answer)
before=$(stat -c %s node.out)
many=$((10000000 / answer))
repeat "$many" show config
run show groups
cmp -s stdout groups.answer || fail "beside a sleeper: $(head -c 200 stdout stderr)"
[[ $(stat -c %s node.out) -eq $((before + many * answer + $(stat -c %s groups.answer))) ]] ||
    fail "beside a sleeper: the node did not print everything"
exec {sleeper_in}>&"${sleeper[1]}"
exec {sleeper[1]}>&- {sleeper_in}>&-
read -r -t 20 said <&"${sleeper[0]}" || said=nothing
[[ $said == "True {'t'} n what the node prints was not read: the rest is left out" ]] ||
    fail "a sleeper is told: $said"
[[ -z ${sleeper_PID-} ]] || { kill "$sleeper_PID"; wait "$sleeper_PID"; } 2>/dev/null || true

echo "other users"
if [[ $(id -u) -ne 0 ]] || ! setpriv --reuid 65534 --clear-groups test -x "${mcctl[-1]}" 2>/dev/null; then
    echo "skipped: nobody may not run mcctl"
else
    ours=("${mcctl[@]}")
    mcctl=(setpriv --reuid 65534 --regid 65534 --clear-groups "${mcctl[@]}")
    expect "another user's console" 1 \
        "no console of a node is there for us: the console is for the node's own user" console
    mcctl=("${ours[@]}")
fi

echo "a node that ends"
follow
stop_node TERM
end_of_client
expect_status 0 "a console whose node ends"
[[ $(<console.err) == "mcctl: note: the node has ended" ]] || fail "end: said '$(<console.err)'"
expect "no console" 1 "no console of a node is there for us" console

echo "a node that prints to standard error"
start_node node.json --json
size=$(stat -c %s node.json)
run show config
cmp -s stdout config.answer || fail "--json: printed '$(head -c 300 stdout)'"
follow
[[ $(stat -c %s node.json) -eq $size ]] || fail "--json: the library's lines are in the summary"

echo "a node that is killed"
stop_node KILL
end_of_client
expect_status 1 "a console whose node is killed"
[[ $(<console.err) == "mcctl: the node is gone" ]] || fail "killed: said '$(<console.err)'"

echo "a node that does not come to it"
# Nobody reads what it prints: it waits in the middle of an answer.
mkfifo full
exec {unread}<>full
start_node full --debug 0
repeat 60 show config
expect "a node that waits" 1 \
    "the command was posted, but the node has not said a word for 5 seconds and is not done" show groups
"${mcctl[@]}" show groups >stdout 2>stderr </dev/null &
other=$!
sleep 0.5
stop_node KILL
end_of_client
expect_status 1 "a node killed in the middle"
[[ $(<stderr) == "mcctl: the command was posted, but the node was gone before it was done" ]] ||
    fail "killed in the middle: said '$(<stderr)'"
[[ ! -s stdout ]] || fail "killed in the middle: printed something"
exec {unread}>&-

echo "a name that is taken"
if [[ $(id -u) -eq 0 ]] && setpriv --reuid 65534 --clear-groups true 2>/dev/null; then
    ipcrm --queue-key 81
    coproc taker {
        # The interpreter may lie where nobody may not look: it becomes nobody itself.
        exec python3 -c '
import os, socket, sys
os.setresuid(65534, 65534, 65534)
taken = socket.socket(socket.AF_UNIX)
taken.bind("\0mc_node console " + os.readlink("/proc/self/ns/ipc"))
taken.listen()
print("taken", flush=True)
sys.stdin.read()'
    }
    read -r -t 10 said <&"${taker[0]}" || fail "the name is not taken"
    start_node node.out
    [[ $(grep -c '^mc_node: no console for other processes: another process has its name$' node.err) -eq 1 ]] ||
        fail "taken: the node said '$(head -c 300 node.err)'"
    expect "a console of nobody" 1 "no console of a node is there for us" console
    expect "an answer from nobody" 0 "note: the answer is on the console of the node" show config
    stop_node TERM
    expect_status 0 "a node whose name is taken"
    kill "$taker_PID" 2>/dev/null || true
fi

finish
