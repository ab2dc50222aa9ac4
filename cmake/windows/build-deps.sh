#!/usr/bin/env bash
# Builds what qmio links on Windows (FFmpeg with codecs of other makers, pugixml, libyuv, GoogleTest) from Debian's own source
# packages, once per version, into a cache outside the checkout. The last line of its output is the folder.
#   build-deps.sh                 builds what is missing
#   build-deps.sh --print-prefix  only tells the folder
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cache=${QMIO_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/qmio}
triplet=x86_64-w64-mingw32
jobs=${QMIO_JOBS:-$(nproc)}

# Debian's source packages, in the order in which they are built; `build_NAME` builds each.
sources=(x264 x265 dav1d libvpx svt-av1 opus lame ffmpeg pugixml libyuv)

ffmpeg_options=(
    --arch=x86_64 --target-os=mingw32 --enable-cross-compile "--cross-prefix=$triplet-"
    "--cc=$triplet-gcc-posix" "--cxx=$triplet-g++-posix" --pkg-config=pkg-config
    --enable-shared --disable-static --disable-programs --disable-doc --disable-debug
    --disable-avfilter --disable-postproc --disable-autodetect --disable-pthreads --enable-w32threads --enable-zlib --enable-gpl
    --enable-libx264 --enable-libx265 --enable-libdav1d --enable-libvpx --enable-libsvtav1 --enable-libopus --enable-libmp3lame
    --enable-indev=dshow --pkg-config-flags=--static --extra-ldflags=-static-libgcc
)
x264_options=(
    "--host=$triplet" "--cross-prefix=$triplet-" --enable-static --enable-pic --enable-strip
    --disable-cli --disable-opencl --disable-avs --disable-swscale --disable-lavf --disable-ffms --disable-gpac --disable-lsmash
)

say() { printf '%s\n' "$*" >&2; }
fail() { say "$*"; exit 1; }

# ---- which versions, and so which folder ----

# The libraries of the same source packages are installed here for the Linux build; both builds use the same versions.
package_of() {
    case $1 in
        ffmpeg) echo libavcodec-dev ;;
        pugixml) echo libpugixml-dev ;;
        libyuv) echo libyuv-dev ;;
        x264) echo 'libx264-*' ;;
        x265) echo 'libx265-*' ;;
        dav1d) echo 'libdav1d[0-9]*' ;;
        libvpx) echo 'libvpx[0-9]*' ;;
        svt-av1) echo 'libsvtav1enc[0-9]*' ;;
        opus) echo libopus0 ;;
        lame) echo libmp3lame0 ;;
    esac
}

source_version() {
    local version
    version=$(dpkg-query -W -f '${db:Status-Status} ${source:Version}\n' "$(package_of "$1")" 2>/dev/null |
        awk '$1 == "installed" { print $2; exit }') || true
    [[ -n $version ]] || fail "The package $(package_of "$1") is not installed. Run: ./dev windows deps"
    echo "$version"
}

installed_version() { dpkg-query -W -f '${Package} ${Version}\n' "$@" 2>/dev/null || true; }

describe() {
    local name version
    for name in "${sources[@]}"; do
        version=$(source_version "$name") || exit 1
        echo "$name $version"
    done
    installed_version googletest libz-mingw-w64-dev libcli11-dev libstb-dev g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev \
        meson
    printf '%s\n' "${ffmpeg_options[*]}" "${x264_options[*]}"
    # The steps are part of what it is; what is printed on the way is not.
    for name in "${sources[@]}" googletest; do
        declare -f "build_$name"
    done
    declare -f build_with_cmake copy_runtime copy_headers copy_licences make_relocatable
}

# ---- Debian's sources, through an apt of our own ----

# shellcheck source=/dev/null
release_name() { (source /etc/os-release && echo "$VERSION_CODENAME"); }

# Entries in one line: the same words with deb-src for deb. Of a machine's further archives only Debian's own suites count,
# as others often carry no sources.
sources_one_line() {
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
        awk -v release="$1" '
            $1 == "deb" && / main( |$)/ && $0 ~ "[ ]" release "(-updates|-security)?/? " { sub(/^[ \t]*deb/, "deb-src"); print }' || true
}

# Entries in paragraphs.
sources_paragraphs() {
    cat /dev/null /etc/apt/sources.list.d/*.sources 2>/dev/null |
        awk -v release="$1" '
            function flush_paragraph() {
                if (ours && text != "" && text !~ /(^|\n)Enabled:[ \t]*no/) printf "%s\n", text
                text = ""; ours = 0
            }
            /^[ \t]*$/ { flush_paragraph(); next }
            /^#/ { next }
            /^Types:/ { $0 = "Types: deb-src" }
            /^Suites:/ && ($0 ~ "[ \t]" release "(-updates|-security)?/?([ \t]|$)") { ours = 1 }
            { text = text $0 "\n" }
            END { flush_paragraph() }' || true
}

write_apt_configuration() {
    local apt=$1 release
    release=$(release_name)
    mkdir -p "$apt"/{state/lists/partial,cache/archives/partial,sources.list.d}
    sources_one_line "$release" >"$apt/sources.list"
    sources_paragraphs "$release" >"$apt/sources.list.d/debian.sources"
    [[ -s $apt/sources.list || -s $apt/sources.list.d/debian.sources ]] ||
        fail "apt on this machine names no Debian archive for $release; the sources cannot be fetched."
    cat >"$apt/apt.conf" <<END
Dir::Etc::SourceList "$apt/sources.list";
Dir::Etc::SourceParts "$apt/sources.list.d";
Dir::State "$apt/state";
Dir::State::status "/var/lib/dpkg/status";
Dir::Cache "$apt/cache";
Acquire::Languages "none";
Acquire::Retries "3";
APT::Sandbox::User "";
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
END
}

# Leaves the unpacked source, Debian's changes applied, in ./NAME.
fetch_source() {
    local apt=$1 name=$2 version
    version=$(source_version "$name")
    say "  fetching the source of $name $version"
    if ! apt-get -qq -c "$apt/apt.conf" source --only-source --download-only "$name=$version" >&2; then
        # An update has replaced it in the archive; the newer one of the same Debian release is compatible.
        say "  $name $version is no longer in the archive, taking the newest"
        apt-get -qq -c "$apt/apt.conf" source --only-source --download-only "$name" >&2
    fi
    dpkg-source --no-check -x "$name"_*.dsc "$name" >/dev/null
}

fetch_all() {
    local apt=$PWD/apt name
    write_apt_configuration "$apt"
    apt-get -qq -c "$apt/apt.conf" update >&2 || say "  apt could not read every list; going on with what it has"
    for name in "${sources[@]}"; do
        fetch_source "$apt" "$name"
    done
    cp -r /usr/src/googletest googletest
}

# ---- one function per library; each runs in the folder of its source ----

build_x264() {
    ./configure --prefix="$1" "${x264_options[@]}"
    make -j"$jobs"
    make install
}

# Pictures of 10 bits are a library of their own, which the one of 8 bits takes in.
build_x265() {
    local options=(-DENABLE_SHARED=OFF -DENABLE_CLI=OFF)
    cd source
    build_with_cmake "$1" -B build-deep "${options[@]}" -DHIGH_BIT_DEPTH=ON -DEXPORT_C_API=OFF
    cmake --build build-deep -j "$jobs"
    build_with_cmake "$1" "${options[@]}" -DLINKED_10BIT=ON -DEXTRA_LIB="$PWD/build-deep/libx265.a"
    cmake --build build-windows -j "$jobs" --target install
    "$triplet-ar" -M <<END
CREATE $1/lib/libx265.a
ADDLIB build-windows/libx265.a
ADDLIB build-deep/libx265.a
SAVE
END
    # Linked by a C compiler, which takes its own runtime as it is told to.
    sed -i 's/-lgcc_s//g' "$1/lib/pkgconfig/x265.pc"
}

build_dav1d() {
    meson setup build-windows --cross-file package/crossfiles/$triplet.meson --prefix="$1" --libdir=lib \
        --buildtype=release --default-library=static -Denable_tools=false -Denable_tests=false
    ninja -C build-windows -j "$jobs" install
}

build_libvpx() {
    CROSS=$triplet- ./configure --target=x86_64-win64-gcc --prefix="$1" --as=nasm --enable-vp9-highbitdepth \
        --disable-examples --disable-tools --disable-docs --disable-unit-tests
    make -j"$jobs"
    make install
}

build_svt-av1() {
    build_with_cmake "$1" -DBUILD_APPS=OFF -DBUILD_DEC=OFF -DBUILD_TESTING=OFF
    cmake --build build-windows -j "$jobs" --target install
}

# The system's C library has no checked functions.
build_opus() {
    ./configure --host=$triplet --prefix="$1" --disable-shared --disable-doc --disable-extra-programs \
        --disable-stack-protector CFLAGS='-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=0'
    make -j"$jobs"
    make install
}

build_lame() {
    ./configure --host=$triplet --prefix="$1" --disable-shared --disable-frontend
    make -j"$jobs"
    make install
}

build_ffmpeg() {
    PKG_CONFIG_LIBDIR=$1/lib/pkgconfig ./configure --prefix="$1" "${ffmpeg_options[@]}" \
        --extra-cflags="-I$1/include" --extra-ldflags="-L$1/lib" || { tail -50 ffbuild/config.log; return 1; }
    make -j"$jobs"
    make install
}

build_with_cmake() {
    local prefix=$1
    shift
    QMIO_WINDOWS_PREFIX=$prefix cmake -G Ninja -S . -B build-windows -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
        -DBUILD_SHARED_LIBS=OFF "$@"
}

build_pugixml() {
    build_with_cmake "$1"
    cmake --build build-windows -j "$jobs" --target install
}

# Its own install step wants the shared library and a tool, too.
build_libyuv() {
    build_with_cmake "$1"
    cmake --build build-windows -j "$jobs" --target yuv
    cp build-windows/libyuv.a "$1/lib/"
    cp -r include/. "$1/include/"
}

# Windows' own threads: with pthreads the headers would have to be told so in every test.
build_googletest() {
    build_with_cmake "$1" -Dgtest_disable_pthreads=ON
    cmake --build build-windows -j "$jobs" --target install
}

# Static ones in front of the shared ones spare hosts their DLLs.
copy_runtime() {
    cp /usr/$triplet/lib/lib{z,pthread,winpthread}.a "$1/lib/"
    cp "$("$triplet-g++-posix" -print-file-name=libstdc++.a)" "$1/lib/"
}

# Compiled for no system in particular, so the machine's own copies do.
copy_headers() {
    cp -r /usr/include/CLI /usr/include/stb "$1/include/"
    mkdir -p "$1/share/cmake"
    cp -r /usr/share/cmake/CLI11 "$1/share/cmake/"
}

# ---- what the licences ask for ----

copy_licences() {
    local target=$1/licences name file
    mkdir -p "$target"
    for name in "${sources[@]}"; do
        cp "$name/debian/copyright" "$target/$name.txt"
    done
    cp ffmpeg/COPYING.GPLv2 "$target/GPL-2.txt"
    for name in libz-mingw-w64-dev libcli11-dev libstb-dev g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev; do
        file=/usr/share/doc/$name/copyright
        [[ ! -e $file ]] || cp -L "$file" "$target/$name.txt"
    done
    {
        echo "Built from these Debian source packages:"
        for name in "${sources[@]}"; do
            echo "  $name $(awk '$1 == "Version:" { print $2; exit }' "$name"_*.dsc)"
        done
        echo "FFmpeg was configured with:"
        echo "  ${ffmpeg_options[*]}"
    } >"$target/built-from.txt"
}

# The folder is moved when it is complete, so its .pc files find their way from where they lie.
make_relocatable() {
    sed -i -e "s|^prefix=.*|prefix=\${pcfiledir}/../..|" -e "s|$1|\${prefix}|g" "$1"/lib/pkgconfig/*.pc
}

# ---- the whole of it ----

build_one() {
    local name=$1 prefix=$2 log=$PWD/$1.log start=$SECONDS status
    say "  building $name"
    # Not in a condition, where bash would go on after the first step that fails.
    set +e
    (
        set -e
        cd "$name"
        "build_$name" "$prefix"
    ) >"$log" 2>&1
    status=$?
    set -e
    [[ $status -eq 0 ]] || { tail -40 "$log" >&2; fail "$name did not build."; }
    say "  $name took $((SECONDS - start)) s"
}

build_all() {
    local prefix=$1 name
    cd "$scratch"
    mkdir -p stage/{bin,lib/pkgconfig,include}
    fetch_all
    copy_runtime stage
    for name in "${sources[@]}" googletest; do
        build_one "$name" "$scratch/stage"
    done
    copy_headers stage
    copy_licences stage
    make_relocatable "$scratch/stage"
    mv stage "$prefix"
}

build_if_missing() {
    local prefix=$1
    mkdir -p "$cache"
    exec 9>"$cache/windows.lock"
    flock 9
    [[ -d $prefix ]] && return
    say "Building the libraries for Windows into $prefix. This is done once and takes about a quarter of an hour."
    rm -rf "$cache"/building.* # left by a run that was killed
    scratch=$(mktemp -d "$cache/building.XXXXXX")
    trap 'rm -rf "$scratch"' EXIT
    (build_all "$prefix")
}

# The path keeps spaces out, which configure scripts do not stand.
prefix=$cache/windows-$(describe | sha256sum | cut -c1-16)
[[ ${1:-} == --print-prefix ]] || build_if_missing "$prefix"
echo "$prefix"
