# Sourced by the tests that run mc_node over captures: a scratch folder to work in, and what was said
# and how it ended after each replay.
#
#     . "$(dirname "$0")/support/replay.sh"      with the test's own arguments: [EMULATOR ...] MC_NODE

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$root/tests/support/checks.sh"
home=$root/scenario/home
work=$(mktemp -d)
held= # a node that the test leaves running
trap '[[ -z $held ]] || kill "$held" 2>/dev/null; rm -rf "$work"' EXIT
# The program may have been named from where we were.
set -- "${@:1:$#-1}" "$(realpath "${@: -1}")"
cd "$work"

# The command queue and the status segment are the machine's; a namespace keeps others out of them.
node=("$@")
if unshare --ipc true 2>/dev/null; then
    node=(unshare --ipc "$@")
elif unshare --user --map-root-user --ipc true 2>/dev/null; then
    node=(unshare --user --map-root-user --ipc "$@")
fi

# Runs mc_node; what it said and how it ended is in stdout, stderr and $status.
replay() {
    status=0
    "${node[@]}" replay "$@" >stdout 2>stderr </dev/null || status=$?
}
