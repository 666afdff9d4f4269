#!/usr/bin/env bash
# The story that scripts/demo.sh plays, inside lab/sandbox: a controller and its neighbour, from the first attach to the
# last detach. Every scene says what it expects; the first thing that comes out otherwise ends the demo with status 1.
set -u
if ! { [ -S /dev/log ] && [ -f /tmp/system.log ]; }; then
    echo "lab/demo.sh is played inside lab/sandbox: run scripts/demo.sh" >&2
    exit 2
fi
cd /tmp || exit 2

bold='' dim='' plain=''
if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
    bold=$'\e[1m' dim=$'\e[2m' plain=$'\e[0m'
fi
number=0
width=118
patience=10 # seconds; what is waited for usually takes milliseconds

fail() {
    printf '\nThe demo failed in scene %d: expected %s\n' "$number" "$*" >&2
    echo "What FSMCore and the runner said last:" >&2
    tail -q -n 5 core.out runner.log | sed 's/\x1b\[[0-9;]*m//g' >&2
    exit 1
}

# Tries a command until it succeeds; false when it never does.
eventually() { # COMMAND...
    local end=$((SECONDS + patience))
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.02
    done
}

# What the story changes in the database, a line per row, so that diff can tell before from after.
rows_now() {
    home sql "
        SELECT printf('KOVAD_NEIGHBOUR %d: HOST_UID=%s HOST_STATUS=%s ENABLE_FLAG=%d',
                      ID, HOST_UID, HOST_STATUS, ENABLE_FLAG) AS R FROM KOVAD_NEIGHBOUR
        UNION ALL SELECT printf('KOVAD_OBJECT %d: %s, CURRENT_VALUE=%s', ID, NAME, CURRENT_VALUE)
            FROM KOVAD_OBJECT WHERE RENDERING_ID > 0
        UNION ALL SELECT printf('KOVAD_OBJECT %d: %s, OPTIONALP=%s', ID, TYPE, OPTIONALP)
            FROM KOVAD_OBJECT WHERE TYPE IN ('CLIENTBROWSER', 'CSCMD')
        UNION ALL SELECT printf('KOVAD_OBJECT_RELATION %d: %d to %d, %s, ACTION=%s ACTION_VALUE=%s ENABLE_FLAG=%d',
                      ID, PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY, ACTION, ACTION_VALUE, ENABLE_FLAG)
            FROM KOVAD_OBJECT_RELATION
            WHERE RELATION_WEB_TIPOLOGY IN ('USER_RELATION', 'REMOTABLE_LOGIC_IMPLICIT_RELATION')
        ORDER BY R;" | tail -n +2
}

# A file without terminal escapes, from the line where the scene began.
since() { # FILE FIRST-LINE
    tail -n "+$2" "$1" | sed 's/\x1b\[[0-9;]*m//g'
}

scene() { # TITLE SENTENCE
    number=$((number + 1))
    printf '\n%s%2d. %s%s\n    %s\n' "$bold" "$number" "$1" "$plain" "$2"
    log_mark=$(($(wc -l <runner.log) + 1))
    core_mark=$(($(wc -l <core.out) + 1))
    before=$(rows_now)
}

# Prints its input, indented, with a label in front when there is one. What holds a datagram is folded behind a comma,
# other lines are cut when they are long.
show() { # [LABEL]
    awk -v width="$width" -v label="${1:+$dim$(printf '%-6s' "${1:-}")|$plain }" '
        function put(line) { print "    " label line }
        /\{"/ {
            while (length($0) > width) {
                cut = width
                while (cut > 1 && substr($0, cut, 1) != ",") cut--
                if (cut == 1) break
                put(substr($0, 1, cut))
                $0 = "    " substr($0, cut + 1)
            }
        }
        length($0) > width + 14 { $0 = substr($0, 1, width + 10) " ..." }
        { put($0) }'
}

# Runs a command as a person would type it, shows what it prints and checks its exit status.
try() { # STATUS COMMAND...
    local status=0 expected=$1
    shift
    printf '\n  %s$ %s%s\n' "$bold" "$*" "$plain"
    said=$("$@" 2>&1) || status=$?
    show <<<"$said"
    [ "$status" -eq 0 ] || echo "    (exit status $status)"
    [ "$status" -eq "$expected" ] || fail "exit status $expected of '$*', got $status"
}

# The last command printed this line, or one that matches this pattern.
says() { # PATTERN
    grep -q -e "$1" <<<"$said" || fail "'$1' in what the command printed"
}

found() { # FILE FIRST-LINE PATTERN
    since "$1" "$2" | grep -q -e "$3"
}

# Waits for a line of this scene in the runner's log, and shows it.
runner_logs() { # PATTERN
    eventually found runner.log "$log_mark" "$1" || fail "a line '$1' in the runner's log"
    since runner.log "$log_mark" | grep -m 1 -e "$1" | sed 's/^\[runner [0-9]*\] *//' | show log
}

# The same for what FSMCore says.
core_says() { # PATTERN
    eventually found core.out "$core_mark" "$1" || fail "a line '$1' from fsmcore"
    since core.out "$core_mark" | grep -m 1 -e "$1" | sed 's/^fsmcore: //' | show core
}

changed_rows() {
    diff <(echo "$before") <(rows_now) | sed -n 's/^< /- /p; s/^> /+ /p'
}

rows_match() { # PATTERN...
    local pattern
    mapfile -t changes < <(changed_rows)
    [ ${#changes[@]} -eq $# ] || return 1
    for pattern in "$@"; do
        any_matches "$pattern" "${changes[@]}" || return 1
    done
}

any_matches() { # PATTERN TEXT...
    local pattern=$1 text
    shift
    for text in "$@"; do
        # shellcheck disable=SC2053 # the right side is a pattern
        [[ $text != $pattern ]] || return 0
    done
    return 1
}

# The rows that this scene took away (-) and wrote (+) are these and no others; shows them.
rows() { # PATTERN...
    eventually rows_match "$@" ||
        fail "these rows to change:$(printf '\n  %s' "$@")"$'\n'"but it was these:$(printf '\n  %s' "${changes[@]}")"
    printf '%s\n' "${changes[@]}" | show rows
}

no_rows() {
    [ -z "$(changed_rows)" ] || fail "no row to change, but: $(changed_rows)"
    echo "nothing changed" | show rows
}

heard_lines() { # COUNT
    [ "$(wc -l <heard.out)" -ge "$1" ]
}

# The listening neighbour prints this as its next line.
hears() { # LINE
    heard=$((heard + 1))
    eventually heard_lines "$heard" || fail "the neighbour to hear: $1"
    local line
    line=$(sed -n "${heard}p" heard.out)
    [ "$line" = "$1" ] || fail "the neighbour to hear: $1, but it heard: $line"
    show hears <<<"$line"
}

start_listening() {
    printf '\n  %s$ neighbour listen &%s\n' "$bold" "$plain"
    heard=0
    neighbour listen >heard.out 2>heard.err &
    listener=$!
    eventually grep -qs listening heard.err || fail "the neighbour to listen, but: $(cat heard.err)"
    show <heard.err
}

stop_listening() {
    printf '\n  %s$ kill %%neighbour%s\n' "$bold" "$plain"
    kill "$listener"
    wait "$listener" 2>/dev/null
    [ "$(wc -l <heard.out)" -eq "$heard" ] || fail "the neighbour to hear nothing more, but: $(tail -n 1 heard.out)"
}

token_now() {
    home sql "SELECT ACTION_VALUE FROM KOVAD_OBJECT_RELATION WHERE ACTION='ISLOGGEDAS'" | tail -n 1
}

touch core.out runner.log
neighbour="KOVAD_NEIGHBOUR 1: HOST_UID=02:AA:BB:CC:DD:EE HOST_STATUS"
browser="KOVAD_OBJECT 101: CLIENTBROWSER, OPTIONALP=neighbour_id=1"
login="KOVAD_OBJECT_RELATION *: 4 to 101, USER_RELATION, ACTION=ISLOGGEDAS ACTION_VALUE"
follows="to 101, REMOTABLE_LOGIC_IMPLICIT_RELATION, ACTION=M2M_CHANGESTATUS ACTION_VALUE"

echo "A controller with its two services, and a neighbour that wants to see and drive the home."
echo "Marks: \$ a command, > a request, < its answer; rows: - before, + after; log: the program's; core: FSMCore's."

dbmanager --database home.db --journal db.journal >db.out 2>&1 &
dbmanager=$!
eventually grep -qs listening db.out || fail "dbmanager to listen, but: $(cat db.out)"

scene "The controller starts" "DBManager serves the home's database; FSMCore starts the runner that waits for a neighbour."
printf '\n  %s$ dbmanager --database home.db &%s\n' "$bold" "$plain"
show <db.out
printf '\n  %s$ fsmcore --database home.db --runner-log runner.log &%s\n' "$bold" "$plain"
fsmcore --database home.db --runner-log runner.log >core.out 2>&1 &
fsmcore=$!
core_says 'listening on'
core_says 'runner 40 started'
# FSMCore read the runner's status line, 0 and the port of its commands endpoint.
core_says 'runner 40 is running and takes calls on port [1-9][0-9]*$'
try 0 home runners
says '^40 .* running '

scene "A stranger is refused" "The neighbour attaches as anna with a wrong password: its record is kept, the answer is 29."
try 29 neighbour --show attach --user anna --password knock-knock
core_says 'login of anna refused'
runner_logs '"password":"<NOT PRINTED>"'
runner_logs 'username <anna> and password <NOT PRINTED> are invalid'
rows "+ $neighbour=ONLINE ENABLE_FLAG=0"

scene "The neighbour attaches" "With the right password it is given a token, and the runner is bound to it from now on."
try 0 neighbour --show attach --user anna --password sesame
core_says 'login of anna accepted'
first_token=$(token_now)
says "token $first_token\$"
rows "- KOVAD_OBJECT 40: CSCMD, *" "+ KOVAD_OBJECT 40: CSCMD, *|neighbour_id=1" "+ $browser" \
    "+ $login=$first_token ENABLE_FLAG=1"

scene "It is not served yet" "A new neighbour is stored disabled: someone at the controller has to enable it."
try 29 neighbour discovery
runner_logs 'neighbour with ID <1> is not valid or not enabled'
try 0 home neighbour enable 1
try 0 home neighbours
rows "- $neighbour=ONLINE ENABLE_FLAG=0" "+ $neighbour=ONLINE ENABLE_FLAG=1"

scene "It attaches again" "Each attach draws a new token; the old one opens nothing any more."
try 0 neighbour attach --user anna --password sesame
token=$(token_now)
[ "$token" != "$first_token" ] || fail "a token other than $first_token"
says "token $token\$"
rows "- $login=$first_token ENABLE_FLAG=1" "+ $login=$token ENABLE_FLAG=1"
try 29 neighbour --token "$first_token" discovery
try 0 neighbour discovery
says '^Ground floor .* 10 '

scene "It looks around" "Group by group it discovers the home. Anna may not see the cellar, and the siren is for no neighbour."
try 0 neighbour --show discovery --context 11
try 0 neighbour discovery --tree
says '├─ Kitchen light  *20 .* 0 (Off) '
says '   ├─ Setpoint  *31 .* 20.5 .* 5 to 30, step 0.5 '
! grep -qE 'Cellar|Boiler|siren' <<<"$said" || fail "neither the cellar nor the siren"
no_rows

scene "It registers" "For a light, a shutter and the thermostat: what it may act on, and is told about."
try 0 neighbour --show register 20 22 30
rows "+ KOVAD_OBJECT_RELATION *: 20 $follows=20 ENABLE_FLAG=1" \
    "+ KOVAD_OBJECT_RELATION *: 22 $follows=22 ENABLE_FLAG=1" \
    "+ KOVAD_OBJECT_RELATION *: 30 $follows=30 ENABLE_FLAG=1"

scene "It reads" "Whole objects, or named parts of a complex one."
try 0 neighbour --show getstatus 20 22 30:Setpoint,Mode
says '^Living room shutter  22 .* 100$'
says '─ Setpoint  *31 .* 20.5$'

scene "It acts" "Three actions: warmer, the shutter beyond its end, light. The second is refused, so the third is skipped."
try 42 neighbour --show doaction 30 Setpoint set 22.5 22 - set 110 20 - turn-on 1
core_says 'M2MCLIENT: set 22.5 on object 31: value is 22.5'
core_says 'M2MCLIENT: set 110 on object 22: value outside'
runner_logs 'returned error code <42>. Skipping next operations!'
rows "- KOVAD_OBJECT 31: Setpoint, CURRENT_VALUE=20.5" "+ KOVAD_OBJECT 31: Setpoint, CURRENT_VALUE=22.5"
# Nobody listens yet: this first notification ends in the log.
core_says 'told runner 40 that object 30 changed'

scene "It reads again" "The setpoint is done, shutter and light are as they were."
try 0 neighbour getstatus 20 22 30
says '^Kitchen light  *20 .* 0$'
says '^Living room shutter  *22 .* 100$'
says '─ Setpoint  *31 .* 22.5$'

scene "Someone turns the light on" "At the controller, by hand. FSMCore tells the runner, the runner tells the neighbour."
start_listening
try 0 home object set 20 1
core_says 'told runner 40 that object 20 changed: FSMC-000'
hears 'object 20 "Kitchen light" is now 1'
rows "- KOVAD_OBJECT 20: Kitchen light, CURRENT_VALUE=0" "+ KOVAD_OBJECT 20: Kitchen light, CURRENT_VALUE=1"

scene "The neighbour lowers the shutter" "And hears of its own deed like of any other change."
try 0 neighbour doaction 22 - set 50
core_says 'M2MCLIENT: set 50 on object 22: value is 50'
hears 'object 22 "Living room shutter" is now 50'
rows "- KOVAD_OBJECT 22: *=100" "+ KOVAD_OBJECT 22: *=50"

scene "The neighbour is away" "Switched off, it misses a change: the runner says so in the log and serves on."
stop_listening
try 0 home object set 20 0
runner_logs 'changeStatus error opening socket to address <127.0.0.1> and port <45201>'
core_says 'told runner 40 that object 20 changed'
rows "- KOVAD_OBJECT 20: *=1" "+ KOVAD_OBJECT 20: *=0"

scene "The neighbour is back" "It hears of the next change as if nothing had been."
start_listening
try 0 home object "do" 22 up
core_says 'told runner 40 that object 22 changed: FSMC-000'
hears 'object 22 "Living room shutter" is now 55'
rows "- KOVAD_OBJECT 22: *=50" "+ KOVAD_OBJECT 22: *=55"
stop_listening

scene "It unregisters" "Light and shutter are no longer its business: acting on them is refused. The thermostat stays."
try 0 neighbour --show unregister 20 22
rows "- KOVAD_OBJECT_RELATION *: 20 $follows=20 ENABLE_FLAG=1" \
    "- KOVAD_OBJECT_RELATION *: 22 $follows=22 ENABLE_FLAG=1"
try 10 neighbour doaction 22 - set 0
core_heard=$(since core.out "$core_mark")
[ -z "$core_heard" ] || fail "the core to hear nothing of that, but: $core_heard"

scene "It detaches" "Softly: it is offline, logged out and registered for nothing, but its record stays."
try 0 neighbour --show detach
rows "- $neighbour=ONLINE ENABLE_FLAG=1" "+ $neighbour=OFFLINE ENABLE_FLAG=1" \
    "- $login=$token ENABLE_FLAG=1" "+ $login= ENABLE_FLAG=1" \
    "- KOVAD_OBJECT_RELATION *: 30 $follows=30 ENABLE_FLAG=1"
try 29 neighbour --token "$token" discovery

scene "It comes back" "Still enabled, so it is served at once."
try 0 neighbour attach --user anna --password sesame
token=$(token_now)
try 0 neighbour register 30
rows "- $neighbour=OFFLINE ENABLE_FLAG=1" "+ $neighbour=ONLINE ENABLE_FLAG=1" \
    "- $login= ENABLE_FLAG=1" "+ $login=$token ENABLE_FLAG=1" \
    "+ KOVAD_OBJECT_RELATION *: 30 $follows=30 ENABLE_FLAG=1"

scene "It leaves for good" "A clear-all detach deletes all that is known of it; its runner is done and ends with status 0."
try 0 neighbour --show detach --clear-all
runner_logs 'detach request with clear all flag set. Killing this runner!'
core_says 'runner 40 ended with status 0: not started again'
rows "- KOVAD_NEIGHBOUR 1: *" "- KOVAD_OBJECT 40: CSCMD, *" "- $browser" "- $login=$token ENABLE_FLAG=1" \
    "- KOVAD_OBJECT_RELATION *: 30 $follows=30 ENABLE_FLAG=1"
try 0 home runners
says '^(none)$'
try 121 neighbour attach --user anna --password sesame

kill "$fsmcore" "$dbmanager"
wait "$fsmcore" || fail "fsmcore to end with status 0 when asked to"
wait "$dbmanager" || fail "dbmanager to end with status 0 when asked to"
[ "$(wc -l <system.log)" -gt 50 ] || fail "more than 50 lines in the system log"
! grep -lE 'sesame|knock-knock' runner.log system.log || fail "no password in any log"

printf '\n%sAll %d scenes came out as expected: login, tokens, discovery, reading and acting, notifications, detach; %s%s\n' \
    "$bold" "$number" "no password is in any log." "$plain"
