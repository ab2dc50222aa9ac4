#!/usr/bin/env bash
# compare_speed.sh NATIVE_PROGRAM VIDEO NAME COMMAND...: reads the video with the program and by the command, in turns so that
# whatever else the machine does strikes both alike, and ends with the speed of the command as a part of the program's. Both
# print what sequential_speed prints.
set -euo pipefail

native_program=$1
video=$2
name=$3
other=("${@:4}")
rounds=7

run_native() { "$native_program" "$video"; }
run_other() { "${other[@]}" | tr -d '\r'; }

median() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }

# FRAMES SECONDS PROCESSOR_SECONDS of both programs, one round a line.
measure() {
    local round native theirs
    run_other >/dev/null # It starts and the file gets into memory before anything counts.
    for ((round = 1; round <= rounds; round++)); do
        native=$(run_native)
        theirs=$(run_other)
        echo "$native $theirs"
        echo "$native $theirs" |
            awk -v name="$name" '{ printf "native %6.1f frames/s   %s %6.1f frames/s\n", $1 / $2, name, $4 / $5 }' >&2
    done
}

results=$(measure)
awk '$1 != $4 || $1 == 0 { wrong = 1 } END { exit wrong }' <<<"$results" || {
    echo "the two did not deliver the same number of pictures" >&2
    exit 1
}
printf '%s has %.2f of the native speed (median of %d rounds), %.2f by processor time\n' "$name" \
    "$(awk '{ print $2 / $5 }' <<<"$results" | median)" "$rounds" "$(awk '{ print $3 / $6 }' <<<"$results" | median)"
