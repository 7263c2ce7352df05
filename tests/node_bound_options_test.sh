#!/usr/bin/env bash
# The options of mc_node for what the core keeps: each reaches the core, is counted in the summary,
# said once for a port, and refused in one line when it is no bound.
#
#   tests/node_bound_options_test.sh [EMULATOR ...] MC_NODE
set -euo pipefail

. "$(dirname "$0")/support/replay.sh"

count() {
    python3 -c 'import json, sys; print(json.load(open("stdout"))["drops"]["core"][sys.argv[1]])' "$1"
}

echo "no bound is met by itself"
replay "$home" --json
[[ $status -eq 0 ]] || fail "home: status $status"
for of in "sources of a host" "sources of a group" "hosts of a group" "groups of a port" \
          "addresses of a port"; do
    [[ $(count "bound on $of") -eq 0 ]] || fail "the bound on $of is met"
done

echo "each option reaches the core"
while read -r option of; do
    replay "$home" --json "$option" 1
    [[ $status -eq 0 ]] || fail "$option: status $status"
    [[ $(count "bound on $of") -gt 0 ]] || fail "$option: nothing is refused"
    lines=$(grep -c "^port .*: the bound on $of is met (1)" stderr || true)
    ports=$(grep "the bound on $of is met" stderr | sort -u | wc -l)
    [[ $lines -gt 0 && $lines -eq $ports ]] || fail "$option: $lines lines for $ports ports"
done <<END
--most-groups groups of a port
--most-addresses addresses of a port
END

echo "what is no bound"
for option in --most-sources --most-group-sources --most-hosts --most-groups --most-addresses \
              --most-ranges; do
    for value in 0 -1 many 100000001; do
        replay "$home" "$option=$value"
        [[ $status -eq 2 ]] || fail "$option $value: status $status"
        [[ $(wc -l <stderr) -eq 1 ]] || fail "$option $value: not one line: $(cat stderr)"
        grep -q "^mc_node: $option: '$value' is no bound" stderr || fail "$(cat stderr)"
    done
done
