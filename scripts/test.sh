#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests. Arguments go to ctest, for example: scripts/test.sh -R Attach
#   PRESET=sanitize scripts/test.sh   the same under ASan, UBSan and LeakSanitizer
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${PRESET:-dev}
scripts/build.sh "$preset"
# Most tests wait for sockets and processes rather than compute: four at a time keep two cores busy.
exec ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j "${JOBS:-4}" "$@"
