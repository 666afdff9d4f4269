#!/usr/bin/env bash
# Builds the project; the first time it installs what is missing and configures. Works from any directory.
#
#   scripts/build.sh [PRESET [TARGET...]]    a preset of CMakePresets.json: dev (default), sanitize or release;
#                                            all targets unless some are named
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
preset=${1:-dev}
targets=()
[ $# -lt 2 ] || targets=(--target "${@:2}")
build=$project/build/$preset
case $preset in
dev | sanitize | release) ;;
*)
    echo "Usage: scripts/build.sh [dev|sanitize|release [TARGET...]]" >&2
    exit 2
    ;;
esac

"$project/scripts/dependencies.sh"
cd "$project"
# Ninja runs cmake again by itself when a CMakeLists.txt changes; the presets and an interrupted first time are ours.
if [ ! -f "$build/build.ninja" ] || [ CMakePresets.json -nt "$build/build.ninja" ]; then
    cmake --preset "$preset"
    touch "$build/build.ninja"
fi
cmake --build "$build" "${targets[@]}"
echo "Built: $build/src/m2mclientmanager"
