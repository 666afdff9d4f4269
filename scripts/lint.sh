#!/usr/bin/env bash
# clang-tidy over the program and the lab (all sources, or those given), two at a time. Needs a configured dev build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [ $# -eq 0 ]; then
    mapfile -t sources < <(git ls-files -- 'src/*.cpp' 'lab/*.cpp')
else
    sources=("$@")
fi
# GCC's own warning names are unknown to clang.
printf '%s\n' "${sources[@]}" |
    xargs -P "$(nproc)" -n 4 clang-tidy -p build/dev --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
echo "clang-tidy: ${#sources[@]} sources clean"
