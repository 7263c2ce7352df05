# Sourced by the tests that run a program as a process: what it said is in the files stdout and stderr,
# how it ended in $status.

failures=0
fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

expect_status() {
    [[ $status -eq $1 ]] || fail "$2: status $status instead of $1: $(head -c 500 stderr)"
}

# The last thing that a test does.
finish() {
    [[ $failures -eq 0 ]] || { echo "$failures failed" >&2; exit 1; }
    echo "all passed"
}
