#!/usr/bin/env bash
# The check of the library's neighbours, see mc_check_test.py, where queue and segment are the test's own.
#
#   tests/mc_check_test.sh HOSTS_DIR MC_CHECK MC_HAL MC_NODE [EMULATOR ...]      MC_NODE: may be empty
set -euo pipefail

. "$(dirname "$0")/support/own_ipc.sh" "$@"
exec python3 -B "$(dirname "$0")/mc_check_test.py" "$@"
