#!/usr/bin/env bash
# Runs ./dev in a Debian of its own, on which there is nothing but what ./dev itself installs there.
#   root.sh RELEASE VERB [ARG...]      as root; RELEASE is a name that debootstrap knows, VERB and ARG go to ./dev
#   root.sh RELEASE packages           tries the packages that ./dev package left: in a Debian that has only what they ask for
# That Debian is made once and kept, with what was installed and built in it: remove its folder to begin anew. The archive,
# proxies and certificates are those of this machine's apt, or the archive is that of QMIO_DEBIAN_MIRROR. Each run works on
# a new copy of the checkout, so going on with the checkout does not disturb it. Where CCACHE_DIR names a cache it is used.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cache=${QMIO_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/qmio}
release=$1
root=$cache/root-$release
trial=$project/cmake/debian/try_packages.sh
media=${QMIO_MEDIA_DIR:-$project/../shared/media}
passed_on=(
    http_proxy https_proxy ftp_proxy no_proxy HTTP_PROXY HTTPS_PROXY FTP_PROXY NO_PROXY
    QMIO_SWEEP QMIO_TEST_SEED CTEST_PARALLEL_LEVEL
)

say() { printf '%s\n' "$*" >&2; }
fail() {
    say "root: $*"
    exit 1
}

# ---- what this machine's apt knows ----

# The archive that apt takes Debian itself from, or with "-security" that of its security updates; nothing without one.
archive() {
    local format=$'$(COMPONENT)\t$(RELEASE)\t$(REPO_URI)'
    apt-get indextargets --format "$format" 'Created-By: Packages' 2>/dev/null | awk -F '\t' -v behind="$1" '
        BEGIN { releases = "^(bullseye|bookworm|trixie|forky|sid|oldoldstable|oldstable|stable|testing|unstable)" behind "/?$" }
        $1 == "main" && $2 ~ releases && $3 ~ /debian/ && !found { found = 1; print $3 }'
}

mirror() {
    local found=${QMIO_DEBIAN_MIRROR:-}
    [[ -n $found ]] || found=$(archive "")
    [[ -n $found ]] || fail "apt on this machine names no Debian archive; name one: QMIO_DEBIAN_MIRROR=URL ./dev root ..."
    printf '%s\n' "$found"
}

write_apt_sources() {
    local main=$1 security
    security=$(archive -security)
    {
        printf 'deb %s %s main\n' "$main" "$release" "$main" "$release-updates"
        [[ -z $security ]] || printf 'deb %s %s main\n' "$security" "$release-security"
    } >"$root/etc/apt/sources.list"
}

copy_network() {
    local bundle=etc/ssl/certs/ca-certificates.crt own=usr/local/share/ca-certificates
    cp -L /etc/resolv.conf /etc/hosts "$root/etc/"
    apt-config dump 2>/dev/null | grep -E '^Acquire::(https?|Check-Valid-Until|Check-Date|Retries)\b' \
        >"$root/etc/apt/apt.conf.d/00of-the-host" || true
    mkdir -p "$root/${bundle%/*}" "$root/$own"
    [[ ! -e /$bundle ]] || cp -L "/$bundle" "$root/$bundle"
    [[ ! -d /$own ]] || cp -a "/$own/." "$root/$own/"
}

# ---- the root ----

use_proxy_of_apt() {
    [[ -n ${http_proxy:-} ]] || eval "$(apt-config shell http_proxy Acquire::http::Proxy 2>/dev/null)"
    [[ -z ${http_proxy:-} ]] || export http_proxy
}

# Services are not started, and nothing is synced to the disk that a new root could not be made for.
quieten() {
    printf '#!/bin/sh\nexit 101\n' >"$1/usr/sbin/policy-rc.d"
    chmod +x "$1/usr/sbin/policy-rc.d"
    echo force-unsafe-io >"$1/etc/dpkg/dpkg.cfg.d/unsafe-io"
}

# Below its name it is whole.
make_root() {
    [[ ! -d $root ]] || return 0
    say "== a minimal Debian $release in $root, from $1"
    rm -rf "$root.making"
    (use_proxy_of_apt && debootstrap --variant=minbase "$release" "$root.making" "$1") >"$root.log" 2>&1 || {
        tail -n 20 "$root.log" >&2
        fail "debootstrap made no root; all that it told is in $root.log"
    }
    quieten "$root.making"
    mv "$root.making" "$root"
}

copy_tree() {
    local tree=$root/work/qmio
    rm -rf "$tree.making"
    mkdir -p "$tree.making"
    find "$project" -mindepth 1 -maxdepth 1 ! -name build ! -name dist ! -name .git -exec cp -a -t "$tree.making" {} +
    [[ ! -d $tree/build ]] || mv "$tree/build" "$tree.making/"
    rm -rf "$tree"
    mv "$tree.making" "$tree"
}

# Seen by this process and its children alone: the system takes them away with the last of them, whatever ended it.
mount_all() {
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t sysfs -o ro sysfs "$root/sys"
    bind_media
    [[ -z ${CCACHE_DIR:-} ]] || bind "$CCACHE_DIR" "$root/ccache"
}

bind() {
    mkdir -p "$1" "$2"
    mount --bind "$1" "$2"
}

bind_media() {
    local place=$root/work/shared/media
    if [[ -d $media ]]; then
        bind "$media" "$place"
        mount -o remount,bind,ro "$place"
    elif [[ -d $place ]]; then
        rmdir "$place"
    fi
}

inside() {
    local name environment=(HOME=/root TERM="${TERM:-dumb}" PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin)
    for name in "${passed_on[@]}"; do
        [[ -z ${!name+set} ]] || environment+=("$name=${!name}")
    done
    [[ -z ${CCACHE_DIR:-} ]] || environment+=(CCACHE_DIR=/ccache)
    chroot "$root" /usr/bin/env -i "${environment[@]}" "$@"
}

use_ccache() {
    [[ -n ${CCACHE_DIR:-} && ! -x $root/usr/bin/ccache ]] || return 0
    inside apt-get update -qq
    inside DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends ccache >/dev/null 2>&1
}

# Where ./dev package left them: here, where this is the same release, or in the root of that release.
packages() {
    local folder=$cache/root-$release/work/qmio/dist
    # shellcheck source=/dev/null
    [[ $(source /etc/os-release && echo "${VERSION_CODENAME:-}") != "$release" ]] || folder=$project/dist
    compgen -G "$folder/libqmio3_*.deb" >/dev/null ||
        fail "there are no packages in $folder; make them first: ./dev package, or ./dev root $release package"
    printf '%s\n' "$folder"
}

# Made for this one run: what is installed there shows what the packages forgot to ask for.
try_packages() {
    local main folder
    main=$(mirror)
    folder=$(packages)
    root=$cache/root-$release-bare
    rm -rf "$root"
    make_root "$main"
    copy_network
    write_apt_sources "$main"
    mkdir "$root/packages"
    cp "$folder"/*.deb "$root/packages/"
    cp -r "$project/tests/package/consumer" "$project/examples/read_frames.c" "$trial" "$root/packages/"
    mount_all
    inside DEBIAN_FRONTEND=noninteractive "/packages/${trial##*/}"
}

run() {
    local main
    main=$(mirror)
    make_root "$main"
    copy_network
    write_apt_sources "$main"
    copy_tree
    find "$root/tmp" -mindepth 1 -delete
    mount_all
    use_ccache
    inside /work/qmio/dev "$@"
    say "What it left lies in $root/work/qmio."
}

# ---- start ----

# All of it is one process tree with mounts and process numbers of its own, which ends whole: when this script is
# interrupted, ended or killed.
start_apart() {
    local child=
    command -v debootstrap >/dev/null || fail "there is no debootstrap on this machine; install it first"
    mkdir -p "$cache"
    exec 9>"$root.lock"
    flock -n 9 || {
        say "Waiting for another run in $root."
        flock 9
    }
    set -m # a child that is not in the foreground would ignore interrupts, and so would the tests
    trap '[[ -z $child ]] || kill -KILL "$child" 2>/dev/null; exit 130' INT TERM HUP
    setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child \
        "${BASH_SOURCE[0]}" "$@" --apart <&0 &
    child=$!
    wait "$child" || exit
    # Its mounts have ended with it.
    rm -rf "$cache/root-$release-bare"
}

if [[ ${*: -1} == --apart ]]; then
    set -- "${@:2:$#-2}"
    exec 9>&-
    if [[ $1 == packages ]]; then try_packages; else run "$@"; fi
else
    start_apart "$@"
fi
