#!/usr/bin/env bash
# Runs each fuzzer for a while, two at a time, and tells what it did and found:
#   run.sh BUILD_FOLDER SECONDS [TARGET...]
# Inputs are drawn by a seed that is printed; QMIO_TEST_SEED sets it, and with the same corpus the same inputs are tried.
# What a target learns stays in BUILD_FOLDER/fuzz/corpus for the next run. Inputs that crash, hang or take too much memory
# lie in BUILD_FOLDER/fuzz/findings, each with its report beside it. Fails when one of them is the library's own: a crash
# whose innermost frame is in one of FFmpeg's libraries or below it is FFmpeg's and is only counted.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
seconds=$2
shift 2
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:handle_abort=1 UBSAN_OPTIONS=print_stacktrace=1
# Configuration beside the program would be the fuzzers', and they do not write a log.
export QMIO_LOG=/dev/null

seed=${QMIO_TEST_SEED:-$((RANDOM + 1))}

# Of one target, before it is left alone.
most_findings=20

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    for program in "$build"/bin/fuzz_*; do
        # A log of the library's may lie beside it.
        [[ $program == *.* ]] || targets+=("${program##*/fuzz_}")
    done
fi

fuzz_one() {
    local target=$1 corpus=$build/fuzz/corpus/$1 findings=$build/fuzz/findings/$1 dictionary=()
    local try=0 words=$here/$1.dict found=()
    [[ ! -d $here/found/$target ]] || found=("$here/found/$target")
    [[ ! -f $words ]] || dictionary=("-dict=$words")
    rm -rf "$findings"
    mkdir -p "$corpus" "$findings"
    local end=$((SECONDS + seconds)) left TIMEFORMAT='processor %U %S'
    : >"$build/fuzz/$target.log"
    # libFuzzer ends with the first finding; what is left of the time belongs to a new one.
    while left=$((end - SECONDS)) && [[ $left -gt 0 && $(find "$findings" -type f | wc -l) -lt $most_findings ]]; do
        { time "$build/bin/fuzz_$target" -seed="$((seed + try++))" -max_total_time="$left" -timeout=20 \
            -rss_limit_mb=3000 -max_len=70000 -print_final_stats=1 "${dictionary[@]}" -artifact_prefix="$findings/" \
            "$corpus" "$build/fuzz/seeds/$target" "${found[@]}"; } >>"$build/fuzz/$target.log" 2>&1 || true
    done
}

# The innermost frame that is neither the sanitizer's nor the C library's: "lib" where it lies in a shared library.
owner_of() {
    local report=$1
    if grep -Eq "LeakSanitizer|libFuzzer: (timeout|out-of-memory)" "$report"; then
        echo ours
        return
    fi
    awk '/^ *#[0-9]+ 0x/ {
             # The C library by its name, or where its symbols are installed by its sources: nptl/./nptl/pthread_kill.c.
             if (/compiler-rt|libc\.so|libpthread|libm\.so|__interceptor|__asan|__sanitizer| [a-z]+\/\.\.?\//) next
             in_ffmpeg = /\/lib(av|sw|x264|x265|vpx|mp3lame|opus|vorbis|theora|aom|dav1d|SvtAv1|gsm|speex|snappy|rav1e)[^ ]*\.so/
             print in_ffmpeg ? "FFmpeg" : "ours"
             exit
         }' "$report"
}

count_findings() {
    local target=$1 artifact owner
    ours=0 ffmpegs=0
    for artifact in "$build/fuzz/findings/$target"/{crash,leak,oom,timeout}-*; do
        [[ -f $artifact && $artifact != *.txt ]] || continue
        timeout 60 "$build/bin/fuzz_$target" -timeout=20 -rss_limit_mb=3000 "$artifact" >"$artifact.txt" 2>&1 || true
        owner=$(owner_of "$artifact.txt")
        if [[ $owner == FFmpeg ]]; then
            ffmpegs=$((ffmpegs + 1))
        else
            ours=$((ours + 1))
            printf 'finding: %s (%s)\n' "$artifact" "$(grep -m 1 -E 'ERROR|SUMMARY|runtime error' "$artifact.txt" || echo "does not come again")"
            # Whoever reads this may not have the folder.
            base64 -w 0 "$artifact" | head -c 2000 | sed 's/^/  input: /' || true
            grep -m 16 -E '^ *#[0-9]+ |leak of|ERROR|runtime error' "$artifact.txt" | cut -c1-200 | sed 's/^/  /' || true
        fi
    done
}

mkdir -p "$build/fuzz"
echo "seed $seed"
for target in "${targets[@]}"; do
    while [[ $(jobs -rp | wc -l) -ge 2 ]]; do
        wait -n || true
    done
    fuzz_one "$target" &
done
wait

all_ours=0
printf '%-16s %12s %12s %10s %9s %9s\n' target executions 'per second' 'processor' findings "FFmpeg's"
for target in "${targets[@]}"; do
    count_findings "$target"
    all_ours=$((all_ours + ours))
    # Per second of processor time, as another process may have the processor.
    awk -v target="$target" -v ours="$ours" -v ffmpegs="$ffmpegs" '
        /^stat::number_of_executed_units:/ { executions += $2 }
        /^processor / { time += $2 + $3 }
        END { printf "%-16s %12d %12d %8d s %9d %9d\n", target, executions, (time > 0 ? executions / time : 0), time, ours, ffmpegs }
    ' "$build/fuzz/$target.log"
done
[[ $all_ours -eq 0 ]]
