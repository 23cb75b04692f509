# How the package check speaks; sourced by its parts, after lib.sh.
# shellcheck shell=bash

# Where the output of a step stands until the next one; the script that sources this sets it.
check_log=${check_log:-/dev/null}

# Runs a step: SENTENCE COMMAND... The sentence says what is expected, and is what fails loudly.
expect() {
    local sentence=$1
    shift
    logged "$check_log" "NOT SO: $sentence" "$@"
    printf 'ok  %s\n' "$sentence"
}
