# The folder that stands for a board, and acts on its hardware; sourced by sim, after lib.sh and with the
# folder in `board`.
# shellcheck shell=bash

# Most characters of a socket's path: sun_path of the kernel's sockaddr_un less its terminator.
readonly SOCKET_PATH_MAX=107
readonly FOOTAGE=/usr/share/doc/opencv-doc/examples/data/vtest.avi
# Names in the board's folder footage.
readonly STOCK_FOOTAGE=pedestrians.avi
readonly DRAWN_SCENE=drawn-scene
readonly STOCK_SCENE=/opt/okr/osd_okr/qml/main.qml
readonly PANEL_BYTES=$((1024 * 768 * 4))

: "${board:?}"
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
    local path
    [[ $board != / ]] || die 2 "this machine's own root is no board"
    [[ $board != *:* ]] || die 2 "the board folder's path has a colon, which PATH can't hold: $board"
    path=$(socket_path)
    [[ $(printf %s "$path" | wc -c) -le $SOCKET_PATH_MAX ]] ||
        die 2 "the board folder's path is too long: $path has more than $SOCKET_PATH_MAX bytes"
}

# True also for a link that leads nowhere: somebody put it there.
is_there() {
    [[ -e $1 || -L $1 ]]
}

# Renames NEW over OLD, which there is at any moment; what OLD was is kept with a number.
replace_keeping() {
    local number=1
    while is_there "$2.~$number~"; do
        number=$((number + 1))
    done
    ! is_there "$2" || ln -P -- "$2" "$2.~$number~"
    mv -fT -- "$1" "$2"
}

make_footage() {
    local folder=$board/footage
    mkdir -p "$folder"
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
    local source=$VTRDC_SOURCE_DIR/sim/board file
    while IFS= read -r -d '' file; do
        if ! is_there "$board/$file"; then
            mkdir -p "$board/${file%/*}"
            cp "$source/$file" "$board/$file"
        fi
    done < <(find "$source" -type f -printf '%P\0')
}

layout() {
    local panel=$board/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024
    mkdir -p "$board"/{dev/input,etc,home/root,media,run,tmp,usr/bin} \
        "$board"/var/{run,log,lib/vtrcore} "$panel" "$(dirname "$cable_state")"
    copy_missing_files
    make_empty_files "$panel"/attr_{luminance,display_on,pon,pattern}
    is_there "$board/dev/fb0" || truncate -s "$PANEL_BYTES" "$board/dev/fb0"
    is_there "$fifo" || mkfifo "$fifo"
    # The daemon detaches onto it.
    is_there "$board/dev/null" || ln -s /dev/null "$board/dev/null"
    make_footage
    # A camera whose cable was pulled stays without it.
    is_there "$camera.unplugged" || plug_camera
}

verb_camera() {
    case $1 in
    on) plug_camera ;;
    off) unplug_camera ;;
    *) bad_usage "camera on or off?" ;;
    esac
}

# Where the cable is pulled it stays so: what was set aside is replaced.
verb_footage() {
    local file=$1 link shown=$camera
    [[ $file == */* || ! -r $board/footage/$file ]] || file=$board/footage/$file
    [[ -r $file && (-f $file || -c $file) ]] || die 1 "there is no footage $1 that can be read"
    if [[ $(dirname -- "$file") -ef $board/footage ]]; then
        link=../footage/$(basename -- "$file")
    else
        link=$(realpath -s -- "$file")
    fi
    is_there "$camera" || shown=$camera.unplugged
    ln -sfT -- "$link" "$board/dev/.video0.$$"
    if [[ -s $shown && ! -L $shown ]]; then
        replace_keeping "$board/dev/.video0.$$" "$shown" # somebody's own video
    else
        mv -fT -- "$board/dev/.video0.$$" "$shown"
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
    local from=$1 scene new
    scene=$(configured_path qml_file "$STOCK_SCENE")
    [[ $from != stock ]] || from=$VTRDC_SOURCE_DIR/sim/board$STOCK_SCENE
    [[ -f $from && -r $from ]] || die 1 "there is no scene $1 that can be read"
    ! cmp -s -- "$from" "$scene" || return 0
    new=$(dirname -- "$scene")/.scene.$$
    cp -- "$from" "$new"
    replace_keeping "$new" "$scene"
}

verb_hdmi() {
    case $1 in
    on) : >"$cable_state" ;;
    off) rm -f -- "$cable_state" ;;
    *) bad_usage "hdmi on or off?" ;;
    esac
}
