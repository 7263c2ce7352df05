# Sourced with the arguments of a test: the test goes on in an IPC namespace that others are not in. Queue, segment and
# console belong to the namespace. Where none is to be had the test is skipped, or with goes_on_without_ipc=yes goes on
# and finds TEST_HAS_OWN_IPC to be no.
if [[ ${TEST_HAS_OWN_IPC-} != yes ]]; then
    export TEST_HAS_OWN_IPC=yes
    if unshare --ipc true 2>/dev/null; then
        exec unshare --ipc "$0" "$@"
    elif unshare --user --map-root-user --ipc true 2>/dev/null; then
        exec unshare --user --map-root-user --ipc "$0" "$@"
    fi
    echo "no IPC namespace is to be had" >&2
    [[ ${goes_on_without_ipc-} == yes ]] || exit 77
    TEST_HAS_OWN_IPC=no
fi
