#!/usr/bin/env bash
# Measures the program beside a floor that makes only the system calls which the same work cannot do without, prints one
# table with the ratios and draws it.
#
#   scripts/bench.sh [SECONDS [SVG]]    seconds per scenario (default 3), drawing (default docs/performance.svg)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1:-3}
drawing=${2:-docs/performance.svg}
build=build/bench
scripts/dependencies.sh bench
cmake --preset bench >/dev/null
cmake --build $build | tail -n 1

figures=$(mktemp)
trap 'rm -f "$figures"' EXIT
lab/sandbox --build "$PWD/$build" bash "$PWD/bench/run.sh" "$seconds" plain ecdsa idle >>"$figures"
lab/sandbox --build "$PWD/$build" --rsa bash "$PWD/bench/run.sh" "$seconds" rsa >>"$figures"
$build/bin/bench_report "$drawing" <"$figures"
echo
# The pure pieces; parsers log what they miss, so their output goes nowhere.
$build/bin/bench_micro --benchmark_min_time=0.05 --benchmark_out=$build/micro.json --benchmark_out_format=json 2>/dev/null |
    grep -E '^(Benchmark|[a-z_<>A-Z0-9]+/)' || true
