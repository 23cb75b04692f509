# Shared functions of the scripts in this folder; sourced by them.
# shellcheck shell=bash

VTRDC_SOURCE_DIR=$(cd "${BASH_SOURCE[0]%/*}/.." && pwd)

# Prints a line to standard error, since standard output is for the program that the script runs.
say() {
    printf '%s\n' "$*" >&2
}

# Prints the message and exits with the status: STATUS MESSAGE...
die() {
    local status=$1
    shift
    say "${0##*/}: $*"
    exit "$status"
}

# Prints the message with a hint at --help and exits with status 2: MESSAGE...
bad_usage() {
    die 2 "$* (see --help)"
}

# Runs a command as root, with sudo if needed.
as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Prints the build folder of a preset such as release or asan: PRESET. VTRDC_BUILD_DIR overrides it.
build_dir() {
    local folder=$VTRDC_SOURCE_DIR/build
    [[ $1 == release ]] || folder=$folder-$1
    printf '%s\n' "${VTRDC_BUILD_DIR:-$folder}"
}

# Runs a command or function and writes its output to a file: LOG COMPLAINT COMMAND... On failure,
# shows the end of the file and exits with the complaint.
logged() {
    local log=$1 complaint=$2 status
    shift 2
    # Not "if (...)": as a condition it would run without errexit, also inside functions.
    set +e
    (
        set -e
        "$@"
    ) >"$log" 2>&1
    status=$?
    set -e
    if [[ $status -ne 0 ]]; then
        tail -n 30 "$log" >&2
        die 1 "$complaint (log: $log)"
    fi
}

# Repeats a command until it succeeds, for at most so many seconds; fails then: SECONDS COMMAND...
await() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        if ((SECONDS >= deadline)); then
            printf 'timed out waiting for: %s\n' "$*"
            return 1
        fi
        sleep 0.1
    done
}

# Prints the names of the elements in a folder of GStreamer plug-ins, one a line: FOLDER
elements_in() {
    local registry
    registry=$(mktemp -d)
    GST_REGISTRY=$registry/bin GST_PLUGIN_PATH=$1 GST_PLUGIN_SYSTEM_PATH='' gst-inspect-1.0 |
        sed -n -e '/^staticelements:/d' -e 's/^[^ ]*:  \([^ :]*\): .*/\1/p'
    rm -r -- "$registry"
}

# Makes daemons started from here use the plug-ins in a folder instead of the stand-ins of the same
# names: FOLDER. These stand-ins are hidden, so that the search order doesn't matter.
replace_stand_ins() {
    VTRDC_SIM_ELEMENTS=$(realpath -e -- "$1" 2>/dev/null) || die 2 "no folder $1"
    VTRDC_SIM_WITHOUT=$(elements_in "$VTRDC_SIM_ELEMENTS")
    [[ -n $VTRDC_SIM_WITHOUT ]] || die 2 "no GStreamer elements in $1"
    export VTRDC_SIM_ELEMENTS VTRDC_SIM_WITHOUT
}

# Prints the name of an LLVM tool's program, if its version is that of Debian 12; fails otherwise: TOOL. Other
# versions format differently and find other faults.
llvm_tool() {
    local version=14 name
    for name in "$1-$version" "$1"; do
        if [[ $("$name" --version 2>&1) == *" version $version."* ]]; then
            printf '%s\n' "$name"
            return 0
        fi
    done
    say "skipped: $1 $version is not installed"
    return 1
}
