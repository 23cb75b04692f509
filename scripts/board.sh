# The board folder and its simulated hardware; sourced by sim after lib.sh, with the folder in
# `board`. Code that every start runs avoids starting programs: tests start hundreds of daemons.
# shellcheck shell=bash

# Maximum length of a socket path: sun_path of the kernel's sockaddr_un without its terminator.
readonly SOCKET_PATH_MAX=107
readonly FOOTAGE=/usr/share/doc/opencv-doc/examples/data/vtest.avi
# Names in the board's folder "footage".
readonly STOCK_FOOTAGE=pedestrians.avi
readonly DRAWN_SCENE=drawn-scene
readonly STOCK_SCENE=/opt/okr/osd_okr/qml/main.qml
readonly STOCK_SCENE_FILE=$VTRDC_SOURCE_DIR/sim/board$STOCK_SCENE
# In grey levels; the pattern is back some three minutes after a correction.
readonly THERMAL_SENSOR='seed 1
noise 1.5
pattern 4
drift 0.02'
readonly PANEL_BYTES=$((1024 * 768 * 4))

: "${board:?}" "${build_folder:?}"
camera=$board/dev/video0
fifo=$board/dev/input/event1
sensor=$board/var/lib/vtrcore/sensor
clock=$board/var/lib/clock
clock_library=$build_folder/sim/clock/libvtrdc-sim-clock.so
cable_state=$board/sys/devices/soc0/soc/20e0000.hdmi_video/cable_state

# Prints where a path of the daemon's settings is on this machine: KEY DEFAULT
configured_path() {
    local configured=
    if [[ -f $board/etc/vtrdc.conf && -r $board/etc/vtrdc.conf ]]; then
        configured=$(sed -n "s/^$1=//p" "$board/etc/vtrdc.conf" | tail -n 1)
    fi
    configured=${configured:-$2}
    # The daemon uses a relative path unchanged.
    [[ $configured != /* ]] || configured=$board$configured
    printf '%s\n' "$configured"
}

socket_path() {
    configured_path socket_file /run/vtrdc.socket
}

refuse_unusable_folder() {
    local path LC_ALL=C # bytes, not characters
    [[ $board != / ]] || die 2 "the board folder can't be this machine's root"
    [[ $board != *:* ]] || die 2 "the board folder's path must not contain a colon, which separates PATH: $board"
    path=$(socket_path)
    [[ ${#path} -le $SOCKET_PATH_MAX ]] ||
        die 2 "the board folder's path is too long: $path has more than $SOCKET_PATH_MAX bytes"
}

# Also true for a dangling link: it was put there on purpose.
is_there() {
    [[ -e $1 || -L $1 ]]
}

# Prints the process id of the daemon on this board, however it was started; fails without one.
# Finds processes that have the folder in their environment, as the daemon's tools do too, and that
# map a file named vtrdc: this works under an emulator or valgrind, and after a rebuild.
daemon_on_board() {
    local environments environment
    # Unreadable processes, such as those that just ended, don't matter.
    environments=$(grep -lzxF -- "VTRDC_SYSROOT=$board" /proc/[0-9]*/environ 2>/dev/null) || true
    for environment in $environments; do
        if grep -qE '/vtrdc( \(deleted\))?$' "${environment%/environ}/maps" 2>/dev/null; then
            environment=${environment#/proc/}
            printf '%s\n' "${environment%/environ}"
            return
        fi
    done
    return 1
}

die_of_use() {
    die 1 "this board is in use: $1 (another board: --board DIR)"
}

# Two daemons would share the panel and take each other's socket.
refuse_board_in_use() {
    local pid
    ! pid=$(daemon_on_board) || die_of_use "its daemon has process id $pid"
}

# Opens and locks, as descriptor `hold`, the folder that a daemon's keeper keeps locked while the
# daemon lives. Of two daemons that start at the same moment, neither sees the other's process yet.
# The keeper of a daemon that has just ended unlocks a little later.
take_hold() {
    local patience=10
    exec {hold}<"$board/run"
    until flock --timeout 1 "$hold"; do
        refuse_board_in_use
        ((--patience > 0)) || die_of_use "another daemon is starting"
    done
}

# The process that starts the daemon closes it; the keeper still has it.
let_go_of_hold() {
    exec {hold}<&-
}

# Locks the board until the shell ends, so that one process at a time installs files.
take_turns() {
    local turn
    exec {turn}<"$board"
    flock "$turn"
}

# Removes a temporary file when the shell ends.
remove_at_end() {
    leftover=$1
    trap 'rm -f -- "$leftover"' EXIT
}

# Renames NEW over OLD, which exists at any moment; keeps the old file with a number.
replace_keeping() {
    local number=1
    while is_there "$2" && ! ln -P -- "$2" "$2.~$number~" 2>/dev/null; do
        is_there "$2.~$number~" || die 1 "can't keep $2 as $2.~$number~, so it was not replaced"
        number=$((number + 1))
    done
    mv -fT -- "$1" "$2"
}

make_footage() {
    local folder=$board/footage
    [[ -d $folder ]] || mkdir -p "$folder"
    if [[ -r $FOOTAGE ]] && ! is_there "$folder/$STOCK_FOOTAGE"; then
        ln -s "$FOOTAGE" "$folder/$STOCK_FOOTAGE"
    fi
    make_empty_files "$folder/$DRAWN_SCENE" # empty: the camera draws a scene
}

plug_camera() {
    if is_there "$camera"; then
        return
    elif is_there "$camera.unplugged"; then
        mv -- "$camera.unplugged" "$camera"
        return
    fi
    make_footage
    local shown=$STOCK_FOOTAGE
    [[ -r $board/footage/$shown ]] || shown=$DRAWN_SCENE
    ln -s "../footage/$shown" "$camera"
}

unplug_camera() {
    is_there "$camera" || return 0
    if is_there "$camera.unplugged"; then
        die 1 "$camera.unplugged is in the way"
    fi
    mv -- "$camera" "$camera.unplugged"
}

make_empty_files() {
    local file
    for file in "$@"; do
        is_there "$file" || : >"$file"
    done
}

# Copies rather than links, so that they can be edited on the board.
copy_missing_files() {
    local file missing=()
    cd "$VTRDC_SOURCE_DIR/sim/board" || exit
    shopt -s dotglob globstar
    for file in **; do
        [[ -d $file ]] || is_there "$board/$file" || missing+=("$file")
    done
    [[ ${#missing[@]} -eq 0 ]] || cp --parents -t "$board" -- "${missing[@]}"
}

# Locked: two at once would interfere.
layout() (
    [[ -d $board ]] || mkdir -p "$board"
    take_turns
    panel=$board/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024
    mkdir -p "$board"/{dev/input,etc,home/root,media,run,tmp,usr/bin} \
        "$board"/var/{run,log,lib/vtrcore} "$panel" "${cable_state%/*}"
    copy_missing_files
    make_empty_files "$panel"/attr_{luminance,display_on,pon,pattern}
    is_there "$board/dev/fb0" || truncate -s "$PANEL_BYTES" "$board/dev/fb0"
    is_there "$fifo" || mkfifo "$fifo"
    # The daemon opens it when it detaches.
    is_there "$board/dev/null" || ln -s /dev/null "$board/dev/null"
    make_footage
    # An unplugged camera stays unplugged.
    is_there "$camera.unplugged" || plug_camera
)

# Resets the thermal core's state: the sight powers it up together with the daemon, which relies on
# the core's default state. Keeps a simulated fault.
power_core_up() {
    local file asked=()
    for file in "$board"/var/lib/vtrcore/{zoom,pip,origin,nuc,shutter}; do
        ! is_there "$file" || asked+=("$file")
    done
    [[ ${#asked[@]} -eq 0 ]] || rm -f -- "${asked[@]}"
}

verb_camera() {
    take_turns
    case $1 in
    on) plug_camera ;;
    off) unplug_camera ;;
    *) bad_usage "camera takes on or off" ;;
    esac
}

# Writes TEXT to FILE atomically: FILE TEXT
put_text() {
    printf '%s\n' "$2" >"$1.$$"
    mv -fT -- "$1.$$" "$1"
}

# Turns the thermal look on unless a choice was made before.
choose_sensor() {
    is_there "$sensor" || put_text "$sensor" "$THERMAL_SENSOR"
}

verb_sensor() {
    case $1 in
    thermal) put_text "$sensor" "$THERMAL_SENSOR" ;;
    plain) put_text "$sensor" '' ;;
    *) bad_usage "sensor takes thermal or plain" ;;
    esac
}

# A daemon that was started with the PC's clock keeps it.
verb_clock() {
    local pid now
    if [[ $1 == right ]]; then
        rm -f -- "$clock"
        return
    fi
    now=$(date -d "$1" +%s 2>/dev/null) || bad_usage "clock takes right, or a time as date -d does"
    if pid=$(daemon_on_board) && ! grep -q "/${clock_library##*/}" "/proc/$pid/maps"; then
        die 1 "the daemon has the PC's clock: set the board's before the start"
    fi
    put_text "$clock" $((now - $(date +%s)))
}

# True when FILE is OTHER or a chain of links to it.
leads_to() {
    local file=$1 target
    while [[ ${file##*/} != "${2##*/}" || ! ${file%/*} -ef ${2%/*} ]]; do
        [[ -L $file ]] || return 1
        IFS= read -r -d '' target < <(readlink -z -- "$file")
        [[ $target == /* ]] || target=${file%/*}/$target
        file=$target
    done
}

# Unplayable footage must not replace the current one. An empty file is valid: the camera draws a
# scene.
try_footage() {
    local trial=$build_folder/sim/tools/vtrdc-sim-footage-trial why
    [[ -f $1 && -s $1 && -x $trial ]] || return 0
    why=$(board_environment && become_tool "$trial" "$1" 2>&1) ||
        die 1 "${1##*/} can't be played: ${why##*$'\n'}"
}

# While the cable is pulled, replaces the camera that was set aside.
verb_footage() {
    local file=$1 link shown=$camera passing=$board/dev/.video0.$$
    take_turns
    [[ $file == */* || ! -r $board/footage/$file ]] || file=$board/footage/$file
    [[ $file == */* ]] || file=./$file
    [[ -r $file && (-f $file || -c $file) ]] || die 1 "no readable footage $1"
    try_footage "$file"
    is_there "$camera" || shown=$camera.unplugged
    ! leads_to "$file" "$shown" || die 1 "$1 is the camera device itself, not footage"
    if [[ ${file%/*} -ef $board/footage ]]; then
        link=../footage/${file##*/}
    else
        IFS= read -r -d '' link < <(realpath -sz -- "$file")
    fi
    remove_at_end "$passing"
    ln -sfT -- "$link" "$passing"
    [[ -e $passing ]] || die 1 "no path from $board/dev to $link"
    if [[ -s $shown && ! -L $shown ]]; then
        replace_keeping "$passing" "$shown" # the user's own video
    else
        mv -fT -- "$passing" "$shown"
    fi
}

verb_core() {
    local marker=$board/var/lib/vtrcore/fail
    case $1 in
    fail) put_text "$marker" 1 ;;
    work) rm -f -- "$marker" ;;
    *) bad_usage "core takes fail or work" ;;
    esac
}

verb_scene() {
    local from=$1 scene passing
    take_turns
    scene=$(configured_path qml_file "$STOCK_SCENE")
    [[ $from != stock ]] || from=$STOCK_SCENE_FILE
    [[ -f $from && -r $from ]] || die 1 "no readable scene $1"
    ! cmp -s -- "$from" "$scene" || return 0
    passing=$(dirname -- "$scene")/.scene.$$
    remove_at_end "$passing"
    cp --no-preserve=mode -- "$from" "$passing" # an upload from the page has mode 0600
    replace_keeping "$passing" "$scene"
}

verb_hdmi() {
    case $1 in
    on) : >"$cable_state" ;;
    off) rm -f -- "$cable_state" ;;
    *) bad_usage "hdmi takes on or off" ;;
    esac
}
