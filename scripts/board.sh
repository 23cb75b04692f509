# The folder that stands for a board, and acts on its hardware; sourced by sim, after lib.sh and with the
# folder in `board`. What every start goes through starts few programs: tests start hundreds of daemons.
# shellcheck shell=bash

# Most characters of a socket's path: sun_path of the kernel's sockaddr_un less its terminator.
readonly SOCKET_PATH_MAX=107
readonly FOOTAGE=/usr/share/doc/opencv-doc/examples/data/vtest.avi
# Names in the board's folder footage.
readonly STOCK_FOOTAGE=pedestrians.avi
readonly DRAWN_SCENE=drawn-scene
readonly STOCK_SCENE=/opt/okr/osd_okr/qml/main.qml
readonly STOCK_SCENE_FILE=$VTRDC_SOURCE_DIR/sim/board$STOCK_SCENE
readonly PANEL_BYTES=$((1024 * 768 * 4))

: "${board:?}" "${build_folder:?}"
camera=$board/dev/video0
fifo=$board/dev/input/event1
cable_state=$board/sys/devices/soc0/soc/20e0000.hdmi_video/cable_state

# Where on this machine a path of the daemon's settings leads: KEY and the path that holds without.
configured_path() {
    local configured=
    if [[ -f $board/etc/vtrdc.conf && -r $board/etc/vtrdc.conf ]]; then
        configured=$(sed -n "s/^$1=//p" "$board/etc/vtrdc.conf" | tail -n 1)
    fi
    configured=${configured:-$2}
    # A relative path is the daemon's own affair: no folder comes in front of it.
    [[ $configured != /* ]] || configured=$board$configured
    printf '%s\n' "$configured"
}

socket_path() {
    configured_path socket_file /run/vtrdc.socket
}

refuse_unusable_folder() {
    local path LC_ALL=C # bytes, not characters
    [[ $board != / ]] || die 2 "this machine's own root is no board"
    [[ $board != *:* ]] || die 2 "the board folder's path has a colon, which PATH can't hold: $board"
    path=$(socket_path)
    [[ ${#path} -le $SOCKET_PATH_MAX ]] ||
        die 2 "the board folder's path is too long: $path has more than $SOCKET_PATH_MAX bytes"
}

# True also for a link that leads nowhere: somebody put it there.
is_there() {
    [[ -e $1 || -L $1 ]]
}

# Prints the process id of a daemon that runs on this board, whatever started it; fails without one. It has
# the folder in its environment, as the tools that it starts have, but also a file named vtrdc mapped:
# even where its executable is an emulator, or valgrind, and when that file was built again meanwhile.
daemon_on_board() {
    local environments environment
    # Of processes that end meanwhile, or are somebody else's, it can't read them: that is no failure.
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

# Two daemons would draw on one panel and take each other's socket.
refuse_board_in_use() {
    local pid
    ! pid=$(daemon_on_board) || die_of_use "its daemon has process id $pid"
}

# Opens what a daemon's keeper holds locked as long as the daemon lives, as descriptor `hold`, and locks it:
# of two that start at the same moment neither sees the other's daemon yet. The keeper of a daemon that has
# just ended lets go a little later.
take_hold() {
    local patience=10
    exec {hold}<"$board/run"
    until flock --timeout 1 "$hold"; do
        refuse_board_in_use
        ((--patience > 0)) || die_of_use "another daemon is on its way"
    done
}

# For the process that starts the daemon: the keeper still holds.
let_go_of_hold() {
    exec {hold}<&-
}

# Lets one at a time put files in place on this board, until the shell ends.
take_turns() {
    local turn
    exec {turn}<"$board"
    flock "$turn"
}

# Sees to it that a file which is on its way to its place doesn't stay behind when something fails.
remove_at_end() {
    leftover=$1
    trap 'rm -f -- "$leftover"' EXIT
}

# Renames NEW over OLD, which there is at any moment; what OLD was is kept with a number.
replace_keeping() {
    local number=1
    while is_there "$2" && ! ln -P -- "$2" "$2.~$number~" 2>/dev/null; do
        is_there "$2.~$number~" || die 1 "$2 can't be kept with a number, and stays"
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
    make_empty_files "$folder/$DRAWN_SCENE" # nothing to play: the camera draws a scene of its own
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
        die 1 "$camera.unplugged, set aside before, is in the way"
    fi
    mv -- "$camera" "$camera.unplugged"
}

make_empty_files() {
    local file
    for file in "$@"; do
        is_there "$file" || : >"$file"
    done
}

# Copies, so that a person can change them on the board.
copy_missing_files() {
    local file missing=()
    cd "$VTRDC_SOURCE_DIR/sim/board" || exit
    shopt -s dotglob globstar
    for file in **; do
        [[ -d $file ]] || is_there "$board/$file" || missing+=("$file")
    done
    [[ ${#missing[@]} -eq 0 ]] || cp --parents -t "$board" -- "${missing[@]}"
}

# In turns, since of two at once each would make what the other doesn't see yet.
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
    # The daemon detaches onto it.
    is_there "$board/dev/null" || ln -s /dev/null "$board/dev/null"
    make_footage
    # A camera whose cable was pulled stays without it.
    is_there "$camera.unplugged" || plug_camera
)

# Lets the thermal core forget what was asked of it: the sight powers it up along with the daemon, which
# relies on its being at rest. A fault that somebody set stays.
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
    *) bad_usage "camera on or off?" ;;
    esac
}

# True when FILE is OTHER, or a link that leads there by way of others.
leads_to() {
    local file=$1 target
    while [[ ${file##*/} != "${2##*/}" || ! ${file%/*} -ef ${2%/*} ]]; do
        [[ -L $file ]] || return 1
        IFS= read -r -d '' target < <(readlink -z -- "$file")
        [[ $target == /* ]] || target=${file%/*}/$target
        file=$target
    done
}

# What plays stays when the next can't be played. An empty file is not a video: the camera draws a scene.
try_footage() {
    local trial=$build_folder/sim/tools/vtrdc-sim-footage-trial why
    [[ -f $1 && -s $1 && -x $trial ]] || return 0
    why=$(board_environment && become_tool "$trial" "$1" 2>&1) ||
        die 1 "${1##*/} can't be played: ${why##*$'\n'}"
}

# Where the cable is pulled it stays so: what was set aside is replaced.
verb_footage() {
    local file=$1 link shown=$camera passing=$board/dev/.video0.$$
    take_turns
    [[ $file == */* || ! -r $board/footage/$file ]] || file=$board/footage/$file
    [[ $file == */* ]] || file=./$file
    [[ -r $file && (-f $file || -c $file) ]] || die 1 "there is no footage $1 that can be read"
    try_footage "$file"
    is_there "$camera" || shown=$camera.unplugged
    ! leads_to "$file" "$shown" || die 1 "$1 is the camera's own place, not footage"
    if [[ ${file%/*} -ef $board/footage ]]; then
        link=../footage/${file##*/}
    else
        IFS= read -r -d '' link < <(realpath -sz -- "$file")
    fi
    remove_at_end "$passing"
    ln -sfT -- "$link" "$passing"
    [[ -e $passing ]] || die 1 "there is no way from $board/dev to $link"
    if [[ -s $shown && ! -L $shown ]]; then
        replace_keeping "$passing" "$shown" # somebody's own video
    else
        mv -fT -- "$passing" "$shown"
    fi
}

verb_core() {
    local marker=$board/var/lib/vtrcore/fail
    case $1 in
    fail)
        echo 1 >"$marker.$$"
        mv -fT -- "$marker.$$" "$marker"
        ;;
    work) rm -f -- "$marker" ;;
    *) bad_usage "core fail or work?" ;;
    esac
}

verb_scene() {
    local from=$1 scene passing
    take_turns
    scene=$(configured_path qml_file "$STOCK_SCENE")
    [[ $from != stock ]] || from=$STOCK_SCENE_FILE
    [[ -f $from && -r $from ]] || die 1 "there is no scene $1 that can be read"
    ! cmp -s -- "$from" "$scene" || return 0
    passing=$(dirname -- "$scene")/.scene.$$
    remove_at_end "$passing"
    cp --no-preserve=mode -- "$from" "$passing" # a page's upload is for its owner alone
    replace_keeping "$passing" "$scene"
}

verb_hdmi() {
    case $1 in
    on) : >"$cable_state" ;;
    off) rm -f -- "$cable_state" ;;
    *) bad_usage "hdmi on or off?" ;;
    esac
}
