#!/usr/bin/env bash
# Installs what is missing, builds, and keeps the program busy in a sandbox: neighbours that behave and some that do
# not, calls of the core, handshakes that fail. At the end a table says what was sent and what became of the program's
# memory and descriptors; growth, or an answer that should have been another one, exits with 1.
#
#   scripts/soak.sh [MINUTES]         for so long (default 1; fractions are fine)
#   scripts/soak.sh --datagrams N     until so many were sent
#
# With M2M_BUILD=DIR in the environment that build folder is used, and nothing is built.
set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

load=()
if [ "${1:-}" = --datagrams ] && [[ ${2:-} =~ ^[1-9][0-9]*$ ]] && [ $# -eq 2 ]; then
    load=(--datagrams "$2")
elif [ $# -le 1 ] && [[ ${1:-1} =~ ^[0-9]+(\.[0-9]+)?$ ]]; then
    load=(--minutes "${1:-1}")
else
    sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
    exit 2
fi

build=${M2M_BUILD:-}
if [ -z "$build" ]; then
    build=$project/build/dev
    "$project/scripts/build.sh" dev
fi
exec "$project/lab/sandbox" --build "$build" "$project/lab/soak.sh" "${load[@]}"
