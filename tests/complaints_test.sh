#!/usr/bin/env bash
# Whatever a word or a file holds, a complaint about it is one line without control bytes: of mcctl,
# mcstat and mc_node, about words, numbers, options, file names and lines of files.
#
#   tests/complaints_test.sh [EMULATOR ...] MCCTL MCSTAT MC_NODE
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/tests/support/checks.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
emulator=("${@:1:$#-3}")
mcctl=("${emulator[@]}" "$(realpath "${@: -3:1}")")
mcstat=("${emulator[@]}" "$(realpath "${@: -2:1}")")
node=("${emulator[@]}" "$(realpath "${@: -1}")")
cd "$work"

# expect WHAT COMMAND ...: status $wanted and one printable line on standard error, which has $odd_shown.
odd=$'a\nb\x1b[31m\tc\r\x7f\xff'
wanted=2
odd_shown='a\nb\x1b[31m\tc\r\x7f\xff'
expect() {
    local what=$1
    shift
    status=0
    "$@" >stdout 2>stderr </dev/null || status=$?
    expect_status "$wanted" "$what"
    [[ $(wc -l <stderr) -eq 1 && $(tail -c 1 stderr | od -An -tx1) == " 0a" ]] ||
        fail "$what: not one line: $(od -c stderr | head)"
    ! LC_ALL=C grep -q $'[\x01-\x09\x0b-\x1f\x7f-\xff]' stderr ||
        fail "$what: a control byte: $(od -c stderr | head)"
    grep -qF -- "$odd_shown" stderr || fail "$what: said '$(<stderr)'"
    [[ $wanted -ne 2 || ! -s stdout ]] || fail "$what: something on standard output"
}

echo "mcctl"
expect "unknown command" "${mcctl[@]}" "$odd"
expect "unknown second word" "${mcctl[@]}" vlan "$odd"
expect "help of an unknown command" "${mcctl[@]}" "$odd" --help
expect "number" "${mcctl[@]}" version "$odd"
expect "word of an option" "${mcctl[@]}" fast-leave --port "$odd" on
expect "unknown option" "${mcctl[@]}" fast-leave --port 1 on "--$odd"
expect "one word too many" "${mcctl[@]}" show groups "$odd"
expect "code" "${mcctl[@]}" raw "$odd"
odd_shown='\x1b'
expect "digit" "${mcctl[@]}" raw 1 $'\x1b'
odd_shown='a\nb\x1b[31m\tc\r\x7f\xff'

echo "mcstat"
expect "unknown option" "${mcstat[@]}" "--$odd"
expect "seconds" "${mcstat[@]}" --watch "$odd"
expect "shell" "${mcstat[@]}" --completion "$odd"
expect "name of a file" "${mcstat[@]}" --fields "$odd"
# White space parts the words of a line, so the odd one has none.
printf 'port groups 0 4 number\nport groups \x1b[31m\x7f\xff 4 number\n' >"$odd"
expect "the file is named" "${mcstat[@]}" --fields "$odd"
odd_shown="'\\x1b[31m\\x7f\\xff'"
for line in $'\x1b[31m\x7f\xff groups 0 4 number' $'port groups \x1b[31m\x7f\xff 4 number' \
    $'port groups 0 \x1b[31m\x7f\xff number' $'port groups 0 4 \x1b[31m\x7f\xff' \
    $'port \x1b[31m\x7f\xff 0 4 number\nport \x1b[31m\x7f\xff 4 4 number'; do
    printf '%s\n' "$line" >fields.txt
    expect "fields: ${line@Q}" "${mcstat[@]}" --fields fields.txt
done
odd_shown='a\nb\x1b[31m\tc\r\x7f\xff'

echo "mc_node"
home=$root/scenario/home
expect "shell" "${node[@]}" --completion "$odd"
expect "sub-command" "${node[@]}" replay "$home" "--$odd"
expect "folder" "${node[@]}" replay "$odd-absent"
expect "capture" "${node[@]}" replay --uplink "$odd-absent"
expect "port" "${node[@]}" replay --port "$odd"
expect "number of a port" "${node[@]}" replay --port "$odd=file"
expect "id" "${node[@]}" replay "$home" --onu-id "$odd"
expect "mask" "${node[@]}" replay "$home" --debug "$odd"
expect "seconds" "${node[@]}" replay "$home" --until "$odd"
expect "commands" "${node[@]}" replay "$home" --commands "$odd-absent"
mkdir empty "empty/$odd"
expect "empty folder" "${node[@]}" replay "empty/$odd"
expect "bridge" "${node[@]}" live --bridge "$odd" --uplink eth0
expect "interface" "${node[@]}" live --bridge br0 --port "1=$odd"
odd_shown="'\\x1b[31m\\x7f\\xff'"
for line in $'\x1b[31m\x7f\xff show groups' $'1 \x1b[31m\x7f\xff' $'1 vlan \x1b[31m\x7f\xff' \
    $'1 version \x1b[31m\x7f\xff' $'1 onu-id \x1b[31m\x7f\xff' $'1 mld-mode \x1b[31m\x7f\xff' \
    $'1 raw \x1b[31m\x7f\xff'; do
    printf '%s\n' "$line" >commands.txt
    expect "commands: ${line@Q}" "${node[@]}" replay "$home" --commands commands.txt
done
for missing in "Give --uplink: --port 1=eth1" "Give --port: --uplink eth0"; do
    odd_shown=${missing%%:*}
    expect "half a node" "${node[@]}" live --bridge br0 ${missing#*:}
done
# In the middle of a replay.
odd_shown='a\nb\x1b[31m\tc\r\x7f\xff'
wanted=1
head -c 200 "$home/port0.pcap" >"$odd.pcap"
expect "a broken capture" "${node[@]}" replay --port "0=$odd.pcap"
wanted=2
# In quotes a word holds what parts words elsewhere.
odd_shown="'a\\tb\\rc'"
printf '1 "a\tb\rc"\n' >commands.txt
expect "a quoted word" "${node[@]}" replay "$home" --commands commands.txt

finish
