# Runs the steps of the package check; sourced by its parts after lib.sh.
# shellcheck shell=bash

# Output of the current step; set by the script that sources this.
check_log=${check_log:-/dev/null}

# Runs a step: SENTENCE COMMAND... Prints the sentence, which says what is expected, and the output
# on failure.
expect() {
    local sentence=$1
    shift
    logged "$check_log" "NOT SO: $sentence" "$@"
    printf 'ok  %s\n' "$sentence"
}
