# A small Debian in a folder, made from where this machine's apt has its own packages from; sourced by
# those who need one, after lib.sh. Making one and installing into it needs root: as_root.
# shellcheck shell=bash

# Where this machine's apt gets its own release from, with the release's name.
this_machines_release() {
    local codename
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    # shellcheck disable=SC2016 # apt's own variables
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
        awk -v release="$codename" '$2 == release && $3 == "main" { print $1, $2; exit }'
}

# debootstrap fetches by itself, and asks apt for no proxy but an automatic one.
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

# Makes a folder with what Debian can't be without: FOLDER [SUITE [DEBOOTSTRAP OPTIONS]]. Without a
# suite it is the release that runs here.
bootstrap_folder() {
    local mirror release
    read -r mirror release < <(this_machines_release) ||
        die 1 "apt on this machine knows no source of the release that runs here"
    pass_proxies_on
    as_root env ${http_proxy:+"http_proxy=$http_proxy"} ${https_proxy:+"https_proxy=$https_proxy"} \
        debootstrap --variant=minbase "${@:3}" "${2:-$release}" "$1" "$mirror"
}

# Services shall not start: they would run on this machine.
forbid_services() {
    printf '#!/bin/sh\nexit 101\n' | as_root tee "$1/usr/sbin/policy-rc.d" >/dev/null
    as_root chmod 755 "$1/usr/sbin/policy-rc.d"
}

# Runs a command that sees the folder's own /proc, with no process of this machine in it, and with
# network=none no network: FOLDER COMMAND...
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

# Sets apt up for FOLDER where it stands, for these ARCHITECTURES: this machine's apt, with its own
# configuration, proxies and logins, working on the folder. It knows no source but the one that
# debootstrap used: with another beside it, such as one for security, two processors' versions of a
# library would have to agree there as well. What this machine's apt calls around an installation is
# not in the folder.
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

# Removes FOLDERS. An interrupted debootstrap leaves a half-made one, and mounts in it.
remove_folders() {
    local folder mounted mounts
    # All are read before one is taken away: the list changes with each.
    mapfile -t mounts < <(awk '{ print $2 }' /proc/mounts)
    for folder in "$@"; do
        for mounted in "${mounts[@]}"; do
            [[ $mounted != "$folder"/* ]] || as_root umount -l "$mounted"
        done
        as_root rm -rf --one-file-system "$folder"
    done
}
