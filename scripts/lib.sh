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
    say "${0##*/}: $*"
    exit "$status"
}

# Ends the script, whose function `usage` says what it takes instead.
bad_usage() {
    say "${0##*/}: $*"
    usage >&2
    exit 2
}

# Runs a command as root, by sudo for anybody else.
as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

# The build folder of a preset, for instance release or asan. VTRDC_BUILD_DIR puts another in its place.
build_dir() {
    local folder=$VTRDC_SOURCE_DIR/build
    [[ $1 == release ]] || folder=$folder-$1
    printf '%s\n' "${VTRDC_BUILD_DIR:-$folder}"
}
