#!/usr/bin/env bash
# Runs inside the sandbox: measures the program and the floor beside it over the transports named, one line of figures per
# scenario on standard output (bench_report makes the table). What it does is said on standard error.
#
#   bench/run.sh SECONDS plain|ecdsa|rsa...
set -euo pipefail

seconds=$1
shift
most=20000 # datagrams per scenario
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

# SCENARIO TRANSPORT OPTIONS...: one line for the program, and, when there is a floor, one for that
measure() {
    local scenario=$1 transport=$2
    shift 2
    say "$scenario, $transport"
    : >db.journal
    bench_load --name x --port $program_port --pid "$pid" --request request --count 1 --save-answer answer "$@" >/dev/null
    : >db.journal
    bench_load --name x --port $program_port --pid "$pid" --request request --count 1 "$@" >/dev/null
    local lines
    lines=$(wc -l <db.journal)
    local statements=$((lines / 6)) # five to warm up and one counted
    # shellcheck disable=SC2094  # statements is a number here and a file there
    head -n "$statements" db.journal >statements
    bench_load --name "$scenario;$transport" --port $program_port --pid "$pid" --request request \
        --count $most --seconds "$seconds" "$@" | sed "s/\$/,$statements/"
}
measure_floor() { # SCENARIO TRANSPORT LOAD-OPTIONS...: with the statements and the answer that measure left
    local scenario=$1 transport=$2
    shift 2
    local identity=()
    [ "$transport" = plain ] || identity=(--certificate /web/key/m2mserver.pem --key /web/key/m2mserver.key)
    bench_floor --port $floor_port --statements statements --answer answer "${identity[@]}" &
    local floor=$!
    sleep 0.3
    bench_load --name "floor of $scenario;$transport" --port $floor_port --pid $floor --request request \
        --count $most --seconds "$seconds" "$@" | sed "s/\$/,$(wc -l <statements)/"
    kill $floor
    wait $floor 2>/dev/null || true
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
    measure "get-status" plain
    measure_floor "get-status" plain
    for group in 10:100000 500:200000 5000:300000; do
        datagram discovery ",\"context_id\":\"${group##*:}\"" >request
        measure "discovery of ${group%%:*}" plain
        measure_floor "discovery of ${group%%:*}" plain
    done
    datagram doaction ',"objects":[{"id":20,"items":[{"name":"x","action":"turn-on","action_value":"1"}]}]' >request
    measure "do-action" plain
    printf 'Request: SERVICE_RUNONELEMENT\nParameter Count: 4\nParam000 Length: 3\nParam000: \n101\nParam001 Length: 8\nParam001: \nNO-VALUE\nParam002 Length: 12\nParam002: \nCHANGESTATUS\nParam003 Length: 2\nParam003: \n20\nWaittime: 5\n\n' >call
    say "change-status, plain"
    bench_load --name "change-status;plain" --port "$core_port" --pid "$pid" --request call --core --listen $listen_port \
        --expect '"current_value"' --count $most --seconds "$seconds" | sed 's/$/,1/'
    datagram attach ',"clienttag":"n","username":"anna","password":"sesame","manufacturertag":"l","softwareversion":"1","protocolversion":1,"ipaddress":"127.0.0.1","ipport":45201,"options":{},"communication_mode":1' >request
    measure "attach" plain
    stop_program
}

tls() { # ecdsa|rsa
    start_program
    one_status
    for version in 1.2 1.3; do
        measure "get-status" "TLS $version $1" --tls $version
        measure_floor "get-status" "TLS $version $1" --tls $version
        measure "get-status" "TLS $version $1 resumed" --tls $version --resume
        measure_floor "get-status" "TLS $version $1 resumed" --tls $version --resume
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
