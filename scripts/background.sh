# A simulated board in the background, and its logs; sourced by sim after board.sh.
# shellcheck shell=bash disable=SC2154 # emulator is sim's

: "${board:?}" "${daemon_log:?}" "${build_folder:?}"
# Stalled storage takes up to half a minute, a hung tool ten seconds before that.
readonly STOP_PATIENCE=50
# The first start of a build scans every plug-in of this machine.
readonly START_PATIENCE=60
readonly KEPT_LOGS=5

# Begins a new log. Older ones become vtrdc.log.1 (the latest) to vtrdc.log.5.
begin_log() {
    local number
    if [[ -s $daemon_log ]]; then
        for ((number = KEPT_LOGS; number > 1; --number)); do
            [[ ! -e $daemon_log.$((number - 1)) ]] || mv -fT -- "$daemon_log"{.$((number - 1)),".$number"}
        done
        mv -fT -- "$daemon_log" "$daemon_log.1"
    fi
    : >"$daemon_log"
}

# True once the daemon with that process id is ready.
is_ready() {
    grep -qs "\"pid\":$1," "$board/run/vtrdc.status"
}

is_ready_or_gone() {
    is_ready "$1" || [[ ! -e /proc/$1 ]]
}

is_gone() {
    [[ ! -e /proc/$1 ]]
}

# setsid: closing the terminal doesn't end it.
start_in_background() {
    local pid
    setsid "$VTRDC_SOURCE_DIR/scripts/sim" --in-background --no-build "$@" </dev/null >>"$daemon_log" 2>&1 &
    pid=$!
    await "$START_PATIENCE" is_ready_or_gone "$pid" >/dev/null || true
    if ! is_ready "$pid"; then
        tail -n 5 -- "$daemon_log" >&2
        die 1 "the daemon did not start (log: $daemon_log)"
    fi
    sed -n '/^[a-zA-Z ]*: /!q;p' "$daemon_log" # the description of the board
    echo "log:       $daemon_log"
    echo "stop:      $FRONT_DOOR --board $board stop"
}

verb_stop() {
    local pid
    pid=$(daemon_on_board) || die 1 "no daemon runs on this board"
    kill -TERM "$pid"
    await "$STOP_PATIENCE" is_gone "$pid" >/dev/null || die 1 "the daemon, process $pid, does not stop"
}

verb_status() {
    local pid
    pid=$(daemon_on_board) || die 1 "no daemon runs on this board"
    echo "daemon:    process $pid"
    VTRDC_SOCKET=$(socket_path) "${emulator[@]}" "$build_folder/vtrdcctl" status 2>/dev/null ||
        cat -- "$board/run/vtrdc.status"
}

verb_log() {
    [[ -e $daemon_log ]] || die 1 "no log at $daemon_log"
    case ${1:-} in
    '') cat -- "$daemon_log" ;;
    follow) exec tail -n +1 -F -- "$daemon_log" ;;
    *) bad_usage "log takes follow or nothing" ;;
    esac
}
