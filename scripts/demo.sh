#!/usr/bin/env bash
# Shows the program at work: installs what is missing, builds, and plays a story of a controller and its neighbour in a
# sandbox, with a transcript. Works from any directory, as often as one likes, and leaves nothing behind but build/dev.
#
#   scripts/demo.sh          the exit status is 0 when every scene came out as expected
#
# With M2M_BUILD=DIR in the environment the story is played with that build folder, and nothing is built.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
if [ $# -gt 0 ]; then
    sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    case $1 in -h | --help) exit 0 ;; *) exit 2 ;; esac
fi

build=${M2M_BUILD:-}
if [ -z "$build" ]; then
    build=$project/build/dev
    if [ -e "$build/bin" ] && [ ! -w "$build" ]; then
        echo "$build belongs to someone else: playing with what is built there."
    else
        echo "Building in $build; packages of Debian that are missing are installed first."
        "$project/scripts/build.sh" dev m2mclientmanager dbmanager fsmcore home neighbour systemlog
    fi
fi
echo "Playing in a sandbox: own network, own files; nothing outside of it is touched."
echo
exec "$project/lab/sandbox" --build "$build" "$project/lab/demo.sh"
