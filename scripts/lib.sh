# What the front doors share; sourced by them.
# shellcheck shell=bash

VTRDC_SOURCE_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Says a line on standard error, so that standard output stays the program's own.
say() {
    printf '%s\n' "$*" >&2
}

# Ends the script: status, then the message.
die() {
    local status=$1
    shift
    say "$(basename "$0"): $*"
    exit "$status"
}

# The build folder of a kind of build: none (the daily one) or sanitize.
build_dir() {
    if [[ -n ${VTRDC_BUILD_DIR:-} ]]; then
        printf '%s\n' "$VTRDC_BUILD_DIR"
    elif [[ ${1:-} == sanitize ]]; then
        printf '%s\n' "$VTRDC_SOURCE_DIR/build-asan"
    else
        printf '%s\n' "$VTRDC_SOURCE_DIR/build"
    fi
}
