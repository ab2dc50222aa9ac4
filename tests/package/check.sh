#!/usr/bin/env bash
# check.sh CASE: one of the functions below, by its name without "case_". CMakeLists.txt beside it says what they are given.
set -euo pipefail

fail() {
    printf 'not so: %s\n' "$*" >&2
    exit 1
}
skip() {
    printf 'skipped: %s\n' "$*"
    exit 77
}
expect_file() { [[ -s $1 ]] || fail "$1 is there"; }
expect_same() { [[ $1 == "$2" ]] || fail "'$1' is '$2'"; }

tree=$QMIO_WORK/tree
consumer=$QMIO_SOURCE/tests/package/consumer

case_install() {
    rm -rf "$tree"
    "$CMAKE" --install "$QMIO_BUILD" --prefix "$tree" >/dev/null
}

case_contents() {
    local file
    for file in lib/libqmio.so lib/libqmio.so.3 "lib/libqmio.so.$VERSION" include/qmio.h lib/pkgconfig/qmio.pc \
        lib/cmake/qmio/qmioConfig.cmake lib/cmake/qmio/qmioConfigVersion.cmake bin/qmio share/man/man1/qmio.1 \
        share/bash-completion/completions/qmio share/doc/qmio/libqmio.cfx.sample share/doc/qmio/examples/read_frames.c; do
        expect_file "$tree/$file"
    done
    expect_same "$(objdump -p "$tree/lib/libqmio.so" | awk '$1 == "SONAME" { print $2 }')" libqmio.so.3
}

# Nothing but the path within the tree can lead to the library: there is no other of that name where the system looks.
case_moved() {
    local elsewhere=$QMIO_WORK/elsewhere
    rm -rf "$elsewhere"
    cp -a "$tree" "$elsewhere"
    [[ $(env -u LD_LIBRARY_PATH ldd "$elsewhere/bin/qmio") == *"$elsewhere/bin/../lib/libqmio.so.3"* ]] ||
        fail "the host takes the library beside it"
    expect_same "$("$elsewhere/bin/qmio" --version | cut -d, -f1)" "$VERSION"
    rm -rf "$elsewhere"
}

run_consumer() {
    expect_same "$(LD_LIBRARY_PATH=$tree/lib "$1")" "built for $VERSION, runs with $VERSION"
}

case_cmake() {
    local build=$QMIO_WORK/consumer
    rm -rf "$build"
    "$CMAKE" -S "$consumer" -B "$build" -G "$GENERATOR" -DCMAKE_PREFIX_PATH="$tree" >/dev/null
    "$CMAKE" --build "$build" >/dev/null
    run_consumer "$build/consumer"
    run_consumer "$build/consumer_cxx"
    ! "$CMAKE" -S "$consumer" -B "$build/newer" -G "$GENERATOR" -DCMAKE_PREFIX_PATH="$tree" -DWANTED=99.0 &>/dev/null ||
        fail "a version that is not installed is refused"
}

case_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$tree/lib/pkgconfig pkg-config --cflags --libs "qmio >= $VERSION")
    read -ra flags <<<"$flags"
    "$CC" -Wall -Werror "$consumer/consumer.c" "${flags[@]}" -o "$QMIO_WORK/consumer_pc"
    run_consumer "$QMIO_WORK/consumer_pc"
}

case_manual() {
    local page=$tree/share/man/man1/qmio.1 completion=$tree/share/bash-completion/completions/qmio verb verbs
    mapfile -t verbs < <("$tree/bin/qmio" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p')
    [[ ${#verbs[@]} -ge 13 ]] || fail "--help lists the verbs"
    # shellcheck source=/dev/null
    source "$completion"
    for verb in "${verbs[@]}"; do
        grep -qx ".SS $verb" "$page" || fail "the man page has a section on $verb"
        expect_completion "$verb" qmio "${verb:0:3}"
    done
    expect_completion --channels qmio audio --cha
    expect_completion s24 qmio audio --format s2
}

# expect_completion EXPECTED WORD...: the last word, which is being typed, may become the expected one.
expect_completion() {
    local expected=$1
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _qmio
    [[ " ${COMPREPLY[*]} " == *" $expected "* ]] || fail "'$*' is completed to $expected, not to '${COMPREPLY[*]}'"
}

# The packages are unpacked into one tree, as they are on a machine, and not installed.
case_deb() {
    command -v dpkg-deb >/dev/null || skip "there is no dpkg-deb"
    local packages=$QMIO_WORK/packages root=$QMIO_WORK/root package tool
    rm -rf "$packages" "$root"
    mkdir -p "$packages" "$root"
    (cd "$packages" && "$CPACK" -G DEB --config "$QMIO_BUILD/CPackConfig.cmake" -B "$packages" >/dev/null)
    for package in libqmio3 libqmio-dev qmio python3-qmio; do
        dpkg-deb -x "$packages/${package}_${VERSION}_"*.deb "$root"
        expect_same "$(dpkg-deb -f "$packages/${package}_${VERSION}_"*.deb Version)" "$VERSION"
    done
    dpkg-deb -f "$packages"/libqmio3_*.deb Depends | grep -q libavcodec || fail "the library's package needs FFmpeg's"
    dpkg-deb -f "$packages"/libqmio-dev_*.deb Depends | grep -qF "libqmio3 (= $VERSION)" || fail "libqmio-dev needs libqmio3"
    dpkg-deb -f "$packages"/qmio_*.deb Depends | grep -q libqmio3 || fail "qmio needs libqmio3"
    tool=$root/usr/bin/qmio
    "$tool" --quiet make "$root/clip.avi" vcodec=mpeg4,acodec=pcm_s16le --frames 10
    "$tool" info "$root/clip.avi" | grep -q mpeg4 || fail "the unpacked host reads what it wrote"
    expect_file "$root/usr/include/qmio.h"
    [[ $(LD_LIBRARY_PATH=$root/usr/lib PYTHONPATH=$root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 \
        /usr/bin/python3 -c "import qmio; print(len(qmio.open('$root/clip.avi')))") == 10 ]] ||
        fail "the unpacked Python package reads it, too"
    rm -rf "$root"
}

"case_$1"
