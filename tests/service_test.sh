#!/usr/bin/env bash
# Asks systemd what it thinks of packaging/mc_node.service: a unit that it understands, and one that may
# do little.
#
#   tests/service_test.sh MC_NODE MCCTL
set -euo pipefail

if ! command -v systemd-analyze >/dev/null; then
    echo "systemd-analyze is not installed" >&2
    exit 77
fi
unit="$(dirname "$0")/../packaging/mc_node.service"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# The programs of this build stand for those that are installed.
sed "s|/usr/local/bin/mc_node|$1|; s|/usr/local/bin/mcctl|$2|" "$unit" >"$folder/mc_node.service"

status=0
said=$(systemd-analyze verify --man=no "$folder/mc_node.service" 2>&1) || status=1
[[ -z $said ]] || status=1
[[ $status -eq 0 ]] || echo "verify: $said"

# Of 100, where 0 is a service that may do nothing; the network is what it is there for.
systemd-analyze security --offline=true --threshold=30 "$folder/mc_node.service" >"$folder/security" || {
    echo "security: $(tail -n 1 "$folder/security")"
    status=1
}

# All that it needs, and nothing else.
for setting in AmbientCapabilities CapabilityBoundingSet; do
    grep -qx "$setting=CAP_NET_ADMIN CAP_NET_RAW CAP_SYS_NICE" "$unit" || {
        echo "$setting is another one"
        status=1
    }
done
exit "$status"
