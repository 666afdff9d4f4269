#!/usr/bin/env bash
# A soak inside the sandbox: brings up the controller's services and the program, then puts the load on it. Arguments go
# to the load tool (soak --help). Called by scripts/soak.sh.
set -euo pipefail

fail() {
    echo "soak: $*" >&2
    tail -n 5 /tmp/*.out >&2
    exit 2
}

# Waits until a file has a line with the words.
await() {
    local tries
    for ((tries = 0; tries < 200; ++tries)); do
        if grep -qs "$2" "$1"; then return; fi
        sleep 0.05
    done
    fail "no '$2' in $1"
}

dbmanager --database /tmp/home.db >/tmp/dbmanager.out 2>&1 &
await /tmp/dbmanager.out listening
fsmcore --database /tmp/home.db --runner-log /dev/null >/tmp/fsmcore.out 2>&1 &
await /tmp/fsmcore.out "takes calls on port"
program=$(sed -n 's/.*started with process ID \([0-9]*\):.*/\1/p' /tmp/fsmcore.out)
core_port=$(sed -n 's/.*takes calls on port \([0-9]*\).*/\1/p' /tmp/fsmcore.out)

# Someone at the controller lets the neighbour in, once it is known.
neighbour attach --user anna --password sesame >/tmp/neighbour.out 2>&1 || fail "the neighbour cannot attach"
home --database /tmp/home.db neighbour enable 1 >/tmp/home.out 2>&1 || fail "the neighbour cannot be enabled"

# The system log of a long soak would fill the memory: it lives there.
while sleep 2; do
    if [ "$(stat -c %s /tmp/system.log)" -gt 67108864 ]; then : >/tmp/system.log; fi
done &
cleaner=$!

status=0
soak --pid "$program" --core-port "$core_port" "$@" || status=$?
kill "$cleaner"
if [ "$status" -ne 0 ]; then
    echo "The last errors in the system log:"
    grep -a '\.err ' /tmp/system.log | tail -n 10 | cut -c 1-300
fi
exit "$status"
