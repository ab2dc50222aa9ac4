#!/usr/bin/env bash
# In a Debian without anything else: installs the packages beside it one after the other and uses each.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

say() { printf '== %s\n' "$*"; }
fail() {
    printf 'not so: %s\n' "$*" >&2
    exit 1
}
install() {
    apt-get install -y -qq --no-install-recommends "$@" >install.log 2>&1 || {
        tail -n 20 install.log >&2
        fail "$* can be installed"
    }
}
# expect_ten COUNTED HOST: the frames that the host counted, whatever it says behind the number.
expect_ten() { [[ ${1%% *} == 10 ]] || fail "$2 reads ten frames: $1"; }

apt-get update -qq

say "the command-line host"
install ./libqmio3_*.deb ./qmio_*.deb
qmio --quiet make clip.mov vcodec=mpeg4,acodec=aac --frames 10
qmio info clip.mov | grep -q mpeg4 || fail "qmio info knows what qmio make wrote"

say "a host by pkg-config"
install ./libqmio-dev_*.deb gcc libc6-dev pkg-config
read -ra flags < <(pkg-config --cflags --libs qmio)
gcc -Wall -Werror read_frames.c "${flags[@]}" -o read_frames
expect_ten "$(./read_frames clip.mov)" read_frames

say "hosts by CMake"
install cmake g++ make
cmake -S consumer -B consumer-build >cmake.log || { cat cmake.log >&2; fail "CMake finds qmio"; }
cmake --build consumer-build >cmake.log || { cat cmake.log >&2; fail "the consumer builds"; }
consumer-build/consumer
consumer-build/consumer_cxx

say "Python"
install ./python3-qmio_*.deb
expect_ten "$(python3 -c 'import qmio; print(len(qmio.open("clip.mov")))')" Python
say "all packages work with what they ask for alone"
