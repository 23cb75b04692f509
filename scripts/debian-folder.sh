# A small Debian in a folder, made from this machine's apt sources; sourced after lib.sh. Making it
# and installing into it needs root: as_root.
# shellcheck shell=bash

# Prints where apt gets this machine's release from, and the release's name.
this_machines_release() {
    local codename
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    # shellcheck disable=SC2016 # apt's own variables
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
        awk -v release="$codename" '$2 == release && $3 == "main" { print $1, $2; exit }'
}

# debootstrap downloads by itself and doesn't read apt's proxy settings.
pass_proxies_on() {
    local scheme proxy
    for scheme in http https; do
        eval "$(apt-config shell proxy "Acquire::$scheme::Proxy")"
        if [[ -n ${proxy:-} && $proxy != DIRECT ]]; then
            export "${scheme}_proxy=$proxy"
        fi
        proxy=
    done
}

# Makes a minimal Debian: FOLDER [SUITE [DEBOOTSTRAP OPTIONS]]. The default suite is this machine's
# release.
bootstrap_folder() {
    local mirror release
    read -r mirror release < <(this_machines_release) ||
        die 1 "no apt source for this machine's release"
    pass_proxies_on
    as_root env ${http_proxy:+"http_proxy=$http_proxy"} ${https_proxy:+"https_proxy=$https_proxy"} \
        debootstrap --variant=minbase "${@:3}" "${2:-$release}" "$1" "$mirror"
}

# Keeps packages from starting services, which would run on this machine.
forbid_services() {
    printf '#!/bin/sh\nexit 101\n' | as_root tee "$1/usr/sbin/policy-rc.d" >/dev/null
    as_root chmod 755 "$1/usr/sbin/policy-rc.d"
}

# Runs a command with the folder's own /proc, without this machine's processes, and with
# network=none without network: FOLDER COMMAND...
beside_folder() {
    local folder=$1 spaces=(--mount --pid)
    shift
    [[ ${network:-} != none ]] || spaces+=(--net)
    as_root unshare "${spaces[@]}" --fork --kill-child --mount-proc="$folder/proc" "$@"
}

apt_configuration() {
    local folder=$1 architectures
    shift
    printf -v architectures '"%s"; ' "$@"
    cat <<TEXT
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Pre-Invoke;
#clear DPkg::Post-Invoke;
#clear DPkg::Pre-Install-Pkgs;
#clear APT::Architectures;
APT::Architectures { $architectures};
APT::Install-Recommends "false";
DPkg::Chroot-Directory "$folder";
Dir::Etc::sourcelist "$folder/etc/apt/sources.list";
Dir::Etc::sourceparts "/dev/null";
Dir::Etc::trustedparts "$folder/etc/apt/trusted.gpg.d";
Dir::State "$folder/var/lib/apt";
Dir::State::status "$folder/var/lib/dpkg/status";
Dir::Cache "$folder/var/cache/apt";
TEXT
}

# Configures this machine's apt, with its proxies and logins, to work on FOLDER for ARCHITECTURES.
# The only source is the one that debootstrap used: with a second one, such as security, a library's
# versions would have to agree for both processors. Clears this machine's hooks, which don't exist
# in the folder.
set_folder_apt_up() {
    apt_configuration "$@" | as_root tee "$1/etc/apt/from-outside.conf" >/dev/null
}

# apt-get on FOLDER: FOLDER ARGUMENTS...
folder_apt() {
    local folder=$1
    shift
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -y -c "$folder/etc/apt/from-outside.conf" "$@"
}

# Removes FOLDERS, including what an interrupted debootstrap leaves mounted there.
remove_folders() {
    local folder mounted mounts
    # Read all mounts first: the list changes with each umount.
    mapfile -t mounts < <(awk '{ print $2 }' /proc/mounts)
    for folder in "$@"; do
        for mounted in "${mounts[@]}"; do
            [[ $mounted != "$folder"/* ]] || as_root umount -l "$mounted"
        done
        as_root rm -rf --one-file-system "$folder"
    done
}
