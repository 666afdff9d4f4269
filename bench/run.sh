#!/usr/bin/env bash
# Runs inside the sandbox: measures the program and the floors beside it over the transports named, one line of figures
# per scenario and round on standard output (bench_report makes the table). What it does is said on standard error.
#
#   bench/run.sh SECONDS plain|ecdsa|rsa...
set -euo pipefail

seconds=$1
shift
rounds=8 # of each scenario, so that what else the machine does hits program and floor alike
per_round=$(awk "BEGIN { print $seconds / $rounds }")
most=20000 # datagrams per round
work=/tmp/bench
mkdir -p "$work"
cd "$work"
program_port=20200 # below those that the kernel gives to outgoing connections
floor_port=20300
listen_port=45201

say() { echo "bench: $*" >&2; }
wait_for() { # COMMAND...: until it succeeds
    for _ in $(seq 200); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.05
    done
    say "gave up waiting for: $*"
    exit 1
}
settings() { home --database home.db sql "$1" >/dev/null; }

start_services() {
    dbmanager --database home.db --journal db.journal >dbmanager.out 2>&1 &
    wait_for grep -q listening dbmanager.out
    fsmcore --database home.db --no-runners >fsmcore.out 2>&1 &
    wait_for grep -q listening fsmcore.out
    # Groups of 10, 500 and 5,000 lights, IDs from 1010, 1500 and 6000.
    for group in 10:100000 500:200000 5000:300000; do
        count=${group%%:*} base=${group##*:}
        settings "INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, IS_VISIBLE, IS_DISCOVERABLE, IS_REMOTABLE, WITH_PERMISSION) \
            SELECT $base, 'Group of $count', TYPE, PHPCLASS, '1', '1', '1', '0' FROM KOVAD_OBJECT WHERE ID=10"
        settings "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<$count) \
            INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, OPTIONALP, RENDERING_ID, CURRENT_VALUE, ENABLE_FLAG, IS_VISIBLE, \
            IS_DISCOVERABLE, IS_REMOTABLE, WITH_PERMISSION) SELECT $base+i, 'Light '||i, TYPE, PHPCLASS, OPTIONALP, RENDERING_ID, \
            '1', '1', '1', '1', '1', '0' FROM n, KOVAD_OBJECT WHERE ID=20"
        settings "INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID) \
            SELECT $base, ID FROM KOVAD_OBJECT WHERE ID>$base AND ID<=$base+$count"
    done
}

start_program() { # OPTIONS...: sets pid, core_port, token
    m2mclientmanager --listen-for-attach-on-port $program_port --id 40 "$@" >program.out 2>&1 &
    pid=$!
    wait_for grep -q '^0,' program.out
    core_port=$(sed -n 's/^0,//p' program.out | head -n 1)
    local tls=()
    [ "${1:-}" != --noSSL ] || tls=(--plain)
    neighbour --port "$program_port" "${tls[@]}" attach --user anna --password sesame --listen-port $listen_port >&2
    settings "UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG='1'"
    token=$(home --database home.db sql "SELECT ACTION_VALUE FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'" | tail -n 1 | tr -d ' ')
}

datagram() { # FUNCTION REST
    printf '{"type":"request","function":"%s","source":"02:AA:BB:CC:DD:EE","target":"x","token":"%s","msg_id":"7"%s}' \
        "$1" "$token" "$2"
}

round() { # SCENARIO TRANSPORT PORT PID LOAD-OPTIONS...: one line of figures
    bench_load --name "$1;$2" --port "$3" --pid "$4" --request request --count $most --seconds "$per_round" "${@:5}" |
        sed "s/\$/,$(wc -l <statements)/"
}

# LOAD-OPTIONS...: what one answer is, which statements it takes and what it logs, into files of these names
record() {
    local load=(bench_load --name x --port "$program_port" --pid "$pid" --request request --count 1)
    local answers=6 # five to warm up and one counted
    "${load[@]}" --save-answer answer "$@" >/dev/null
    : >db.journal
    local logged
    logged=$(stat -c %s program.out)
    "${load[@]}" "$@" >/dev/null
    head -n $(($(wc -l <db.journal) / answers)) db.journal >statements
    tail -c +$((logged + 1)) program.out >lines
    head -n $(($(wc -l <lines) / answers)) lines >log
    : >db.journal
}

measure() { # SCENARIO TRANSPORT LOAD-OPTIONS...: the program alone
    say "$1, $2"
    record "${@:3}"
    for _ in $(seq $rounds); do
        round "$1" "$2" $program_port "$pid" "${@:3}"
    done
}

compare() { # SCENARIO TRANSPORT LOAD-OPTIONS...: program, floor and floor that logs, one after the other in each round
    say "$1 and its floors, $2"
    record "${@:3}"
    local floor=(bench_floor --statements statements --answer answer)
    [ "$2" = plain ] || floor+=(--certificate /web/key/m2mserver.pem --key /web/key/m2mserver.key)
    "${floor[@]}" --port $floor_port &
    local silent=$!
    "${floor[@]}" --port $((floor_port + 1)) --log log >floor.out &
    local logging=$!
    sleep 0.3
    for _ in $(seq $rounds); do
        round "$1" "$2" $program_port "$pid" "${@:3}"
        round "floor of $1" "$2" $floor_port $silent "${@:3}"
        round "logging floor of $1" "$2" $((floor_port + 1)) $logging "${@:3}"
    done
    kill $silent $logging
    wait $silent $logging 2>/dev/null || true
}

one_status() { datagram getstatus ',"objects":[{"id":20,"items":[]}]' >request; }

stop_program() {
    kill "$pid"
    wait "$pid" 2>/dev/null || true
}

plain() {
    start_program --noSSL
    datagram register ',"object_ids":[20]' >request
    bench_load --name x --port $program_port --pid "$pid" --request request --count 1 >/dev/null
    one_status
    compare "get-status" plain
    for group in 10:100000 500:200000 5000:300000; do
        datagram discovery ",\"context_id\":\"${group##*:}\"" >request
        compare "discovery of ${group%%:*}" plain
    done
    datagram doaction ',"objects":[{"id":20,"items":[{"name":"x","action":"turn-on","action_value":"1"}]}]' >request
    measure "do-action" plain
    printf 'Request: SERVICE_RUNONELEMENT\nParameter Count: 4\nParam000 Length: 3\nParam000: \n101\nParam001 Length: 8\nParam001: \nNO-VALUE\nParam002 Length: 12\nParam002: \nCHANGESTATUS\nParam003 Length: 2\nParam003: \n20\nWaittime: 5\n\n' >call
    say "change-status, plain"
    local core=(bench_load --name "change-status;plain" --port "$core_port" --pid "$pid" --request call --core
        --listen "$listen_port" --expect '"current_value"')
    : >db.journal
    "${core[@]}" --count 1 >/dev/null
    local statements=$(($(wc -l <db.journal) / 6)) # five to warm up and one counted
    "${core[@]}" --count $most --seconds "$seconds" | sed "s/\$/,$statements/"
    datagram attach ',"clienttag":"n","username":"anna","password":"sesame","manufacturertag":"l","softwareversion":"1","protocolversion":1,"ipaddress":"127.0.0.1","ipport":45201,"options":{},"communication_mode":1' >request
    measure "attach" plain
    stop_program
}

# A datagram that takes no statement, so that the handshake is what counts. The program knows no neighbour: it ends after
# a minute without an attach, and is started anew for each scenario.
refusals() { # ecdsa|rsa
    local token=none resume
    datagram nothing '' >request
    for resume in "" resume; do
        m2mclientmanager --listen-for-attach-on-port $program_port >program.out 2>&1 &
        pid=$!
        wait_for grep -q '^0,' program.out
        compare refusal "TLS 1.2 $1${resume:+ resumed}" --tls 1.2 --expect '"result":2' ${resume:+--resume}
        stop_program
    done
}

tls() { # ecdsa|rsa
    refusals "$1"
    start_program
    one_status
    for version in 1.2 1.3; do
        compare "get-status" "TLS $version $1" --tls $version
        compare "get-status" "TLS $version $1 resumed" --tls $version --resume
    done
    stop_program
}

idle_and_start() {
    start_program
    local before after
    before=$(cut -d' ' -f1 "/proc/$pid/schedstat")
    sleep 60
    after=$(cut -d' ' -f1 "/proc/$pid/schedstat")
    say "CPU while idle for 60 s: $(((after - before) / 1000)) us (six time-out wake-ups)"
    stop_program
    say "start to status line: $(bench_start m2mclientmanager --listen-for-attach-on-port $program_port --id 40) ms, an empty program with the same libraries: $(bench_start bench_empty) ms"
}

start_services
for transport in "$@"; do
    case $transport in
    plain) plain ;;
    idle) idle_and_start ;;
    *) tls "$transport" ;;
    esac
done
