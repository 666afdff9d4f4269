#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets and runs each for a while, two at a time; then a table says what each
# has done. Exits with 1 when one has found something; its input is kept.
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]   SECONDS for each target (default 20), all targets unless some are named
#
# A target begins with what earlier runs left in build/fuzz/work, and fuzz/corpus. To run it with a finding again:
#   build/fuzz/fuzz/fuzz_TARGET FILE        (session: in lab/sandbox --build build/fuzz)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=$PWD/build/fuzz
work=$build/work

dictionary_of() {
    case $1 in
    core*) echo core ;;
    db* | option* | elementtag) echo database ;;
    *) echo datagram ;;
    esac
}

# Runs one target; all that it says goes to its log. For xargs, so a command of this script.
run_target() {
    local target=$1 seconds=$2 world=() place=$work/$1
    mkdir -p "$place/corpus" "$place/findings"
    if [ "$target" = session ]; then
        world=(lab/sandbox --build "$build" --output "$place")
        place=/output
    fi
    local status=0
    "${world[@]}" nice "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=20 \
        -print_final_stats=1 -dict="$PWD/fuzz/$(dictionary_of "$target").dict" -artifact_prefix="$place/findings/" \
        "$place/corpus" "$PWD/fuzz/corpus/$target" >"$work/$target/log" 2>&1 || status=$?
    echo "$status" >"$work/$target/status"
}

if [ "${1:-}" = --one ]; then
    run_target "$2" "$3"
    exit
fi

seconds=20
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in fuzz/targets/*.cpp; do targets+=("$(basename "$source" .cpp)"); done
fi
for target in "${targets[@]}"; do
    [ -f "fuzz/targets/$target.cpp" ] || {
        sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
        echo "There is no target $target." >&2
        exit 2
    }
done

scripts/dependencies.sh fuzz
cmake --preset fuzz >"$build.log" 2>&1 || { cat "$build.log" >&2; exit 1; }
cmake --build "$build"

echo "Running ${#targets[@]} targets for $seconds s each, two at a time"
printf '%s\0' "${targets[@]}" | xargs -0 -P 2 -I '{}' scripts/fuzz.sh --one '{}' "$seconds"

failed=0
printf '\n%-14s %12s %10s %8s  %s\n' TARGET EXECUTIONS COVERAGE CORPUS FINDINGS
for target in "${targets[@]}"; do
    log=$work/$target/log
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    coverage=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
    corpus=$(sed -n 's/.* corp: \([0-9]*\).*/\1/p' "$log" | tail -n 1)
    findings=none
    if [ "$(cat "$work/$target/status")" -ne 0 ]; then
        failed=1
        # What libFuzzer wrote (inside the sandbox it is /output), or that it did not get as far as running.
        findings=$(sed -n 's/.*Test unit written to \(.*\)/\1/p' "$log" | tail -n 1)
        findings=$work/$target/findings/${findings##*/}
        [ -f "$findings" ] || findings="none, but it failed: $log"
    fi
    printf '%-14s %12s %10s %8s  %s\n' "$target" "${runs:--}" "${coverage:--}" "${corpus:--}" "$findings"
done
exit "$failed"
