#!/usr/bin/env bash
# compare_systems.sh NATIVE_PROGRAM WINDOWS_PROGRAM VIDEO: reads the video with both, in turns so that whatever else the
# machine does strikes both alike, and ends with the speed of the DLL under Wine as a part of the native library's.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
native_program=$1
windows_program=$2
video=$3
rounds=7

run_native() { "$native_program" "$video"; }
run_windows() { "$project/cmake/windows/wine" "$QMIO_WINDOWS_PREFIX/bin" "$windows_program" "Z:$video" | tr -d '\r'; }

median() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }

# FRAMES SECONDS PROCESSOR_SECONDS of both programs, one round a line.
measure() {
    local round native windows
    run_windows >/dev/null # Wine starts and the file gets into memory before anything counts.
    for ((round = 1; round <= rounds; round++)); do
        native=$(run_native)
        windows=$(run_windows)
        echo "$native $windows"
        echo "$native $windows" | awk '{ printf "native %6.1f frames/s   Wine %6.1f frames/s\n", $1 / $2, $4 / $5 }' >&2
    done
}

results=$(measure)
awk '$1 != $4 || $1 == 0 { wrong = 1 } END { exit wrong }' <<<"$results" || {
    echo "the two libraries did not deliver the same number of pictures" >&2
    exit 1
}
printf 'The DLL under Wine has %.2f of the native speed (median of %d rounds), %.2f by processor time\n' \
    "$(awk '{ print $2 / $5 }' <<<"$results" | median)" "$rounds" "$(awk '{ print $3 / $6 }' <<<"$results" | median)"
