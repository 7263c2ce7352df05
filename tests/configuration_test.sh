#!/usr/bin/env bash
# Runs mc_node over captures with a configuration, and mcctl on the node that holds: what was configured
# is saved, what a file says is applied, and a file that is wrong changes nothing.
#
#   tests/configuration_test.sh [EMULATOR ...] MCCTL MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/own_ipc.sh" "$@"

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
work=$(mktemp -d)
held=
trap '[[ -z $held ]] || kill -KILL "$held" 2>/dev/null; rm -rf "$work"' EXIT
emulator=("${@:1:$#-2}")
mcctl=("${emulator[@]}" "$(realpath "${@: -2:1}")")
node=("${emulator[@]}" "$(realpath "${@: -1}")")
cd "$work"

run() {
    status=0
    timeout 30 "${mcctl[@]}" "$@" >stdout 2>stderr </dev/null || status=$?
}
expect_text() { [[ $(<"$1") == "$2" ]] || fail "$3: $1 is '$(<"$1")' instead of '$2'"; }
# What a file or an answer says, without comments and empty lines.
lines_of() { grep -v -e '^#' -e '^$' "$1" || true; }
takes_commands() { "${mcctl[@]}" memory reset >/dev/null 2>&1; }

cat >first.conf <<'LINES'
# The example.
bridge br0
onu-id 7
most-groups 512
mld-mode control
mode proxy
vlan add --port 1 --mode untag --up-in 5 --data-in 4000
control-list add --port 2 --start 239.1.1.0 --end 239.1.1.200 --vlan 4000
LINES

echo "a replay with a configuration"
"${node[@]}" replay "$root/scenario/home" --config first.conf --most-groups 600 --hold \
    >node.out 2>node.err </dev/null &
held=$!
for ((i = 0; i < 200; i++)); do
    ! { takes_commands && grep -q '\] control-list' node.out; } || break
    sleep 0.05
done
grep -qF '[0.000 s] mode proxy' node.out || fail "the commands do not run at the time 0"

echo "save"
cat >expected <<'LINES'
onu-id 7
most-groups 600
mld-mode control
mode proxy
vlan add --port 1 --mode untag --up-in 5 --data-in 4000
control-list add --port 2 --start 239.1.1.0 --end 239.1.1.200 --vlan 4000
LINES
run save saved.conf
expect_status 0 save
expect_text stdout "" save
[[ $(lines_of saved.conf) == "$(<expected)" ]] || fail "saved: $(lines_of saved.conf)"
run save
[[ $(lines_of stdout) == "$(<expected)" ]] || fail "saved to standard output: $(lines_of stdout)"
run save nowhere/saved.conf
expect_status 1 "save to a folder that is not there"
expect_text stderr "mcctl: nowhere/saved.conf: No such file or directory" "no folder"
run --dry-run save
expect_status 2 "a dry save"

echo "apply"
run apply saved.conf
expect_status 0 "apply what was saved"
expect_text stdout "nothing to change" "apply what was saved"
cat >second.conf <<'LINES'
onu-id 7
mode control
vlan add --port 1 --mode untag --up-in 5 --data-in 4000
control-list add --port 2 --start 239.1.1.100 --end 239.1.1.210 --vlan 4000
LINES
run apply --dry-run second.conf
expect_status 0 "a dry run"
mv stdout dry
cat >expected <<'LINES'
mode control
control-list add --port 2 --start 239.1.1.201 --end 239.1.1.210 --vlan 4000
control-list delete --port 2 --start 239.1.1.0 --end 239.1.1.99 --vlan 4000
LINES
expect_text dry "$(<expected)" "a dry run"
run apply second.conf
expect_text stdout "$(<expected)" apply
expect_text stderr "mcctl: note: 'mld-mode control' holds until the node ends" apply
run apply second.conf
expect_text stdout "nothing to change" "apply once more"
# What was posted is done before the node is asked what came of it.
{ cat second.conf; echo "fast-leave --port 2 on"; } >third.conf
for file in third.conf second.conf third.conf second.conf third.conf second.conf; do
    run apply "$file"
    expect_status 0 "$file"
    ! grep -q "is missing" stderr || fail "$file: $(<stderr)"
done

echo "files that are wrong"
cp second.conf wrong.conf
echo "  mode fast" >>wrong.conf
run save
mv stdout before
run apply wrong.conf
expect_status 2 "a wrong value"
expect_text stdout "" "a wrong value"
grep -q "^mcctl: wrong.conf:5:8: mode: MODE: 'fast' is not one of" stderr || fail "$(<stderr)"
run save
expect_text stdout "$(<before)" "after a wrong file"
run apply nowhere.conf
expect_status 2 "no file"
expect_text stderr "mcctl: nowhere.conf: cannot be read" "no file"
run apply
expect_status 2 "no name"
kill -INT "$held"
wait "$held" || fail "the node ends with $?"
held=
run apply second.conf
expect_status 1 "no node"
expect_text stderr "mcctl: no node tells us its configuration" "no node"

status=0
"${node[@]}" replay "$root/scenario/home" --config wrong.conf >stdout 2>stderr </dev/null || status=$?
expect_status 2 "a replay with a wrong file"
expect_text stdout "" "a replay with a wrong file"
grep -q "^mc_node: wrong.conf:5:8: mode: MODE: 'fast'" stderr || fail "$(<stderr)"

finish
