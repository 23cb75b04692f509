# What the front doors share; sourced by them.
# shellcheck shell=bash

VTRDC_SOURCE_DIR=$(cd "${BASH_SOURCE[0]%/*}/.." && pwd)

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

# Ends the script with the complaint, below the first lines of what its function `usage` says.
bad_usage() {
    usage | awk '!/^Usage:/ && !/^       / { is_over = 1 } !is_over' >&2
    die 2 "$*"
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

# Runs a command or function with its output in a file: LOG COMPLAINT COMMAND... When it fails, the file's
# end is shown and the script ends with the complaint.
logged() {
    local log=$1 complaint=$2 status
    shift 2
    # In a condition, errexit would be off in all that a function calls: a failure in the middle would pass.
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

# Waits until a command succeeds: SECONDS COMMAND...
await() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        if ((SECONDS >= deadline)); then
            printf 'waited in vain for: %s\n' "$*"
            return 1
        fi
        sleep 0.1
    done
}

# The names of the elements that the GStreamer plug-ins in a folder bring, one a line.
elements_in() {
    local registry
    registry=$(mktemp -d)
    GST_REGISTRY=$registry/bin GST_PLUGIN_PATH=$1 GST_PLUGIN_SYSTEM_PATH='' gst-inspect-1.0 |
        sed -n -e '/^staticelements:/d' -e 's/^[^ ]*:  \([^ :]*\): .*/\1/p'
    rm -r -- "$registry"
}

# Lets the plug-ins in a folder take the place of the stand-ins, for the daemons that are started from here:
# the stand-ins of those names give way, so that no order decides.
replace_stand_ins() {
    VTRDC_SIM_ELEMENTS=$(realpath -e -- "$1" 2>/dev/null) || die 2 "there is no folder $1"
    VTRDC_SIM_WITHOUT=$(elements_in "$VTRDC_SIM_ELEMENTS")
    [[ -n $VTRDC_SIM_WITHOUT ]] || die 2 "no plug-in in $1 brings an element"
    export VTRDC_SIM_ELEMENTS VTRDC_SIM_WITHOUT
}
