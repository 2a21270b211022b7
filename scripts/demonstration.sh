# shellcheck shell=bash
# A script with what it must show. Sourced by those who play one.

LONGEST_WAIT=20 # seconds

# play_demonstration SCRIPT ROUTER COMMAND... : starts the command, types the script's lines at it
# and at the descriptor ROUTER, shows all that it says, and waits for each thing that it must show.
# Returns 0, or 2 when something was missing or it ended with another status, which is said.
play_demonstration() {
    local script=$1 router=$2 line from_console to_console console expected=0 status=0
    shift 2
    coproc CONSOLE { exec "$@" 2>&1; }
    console=$CONSOLE_PID
    exec {from_console}<&"${CONSOLE[0]}" {to_console}>&"${CONSOLE[1]}"
    eval "exec ${CONSOLE[0]}<&- ${CONSOLE[1]}>&-"
    while IFS= read -r line <&3; do
        case $line in
        '' | '#'*) ;;
        '> '*) await_shown "${line#> }" "$from_console" || return 2 ;;
        'status: '*) expected=${line#status: } ;;
        'router: '*) printf '%s\n' "${line#router: }" >&"$router" ;;
        *) printf '%s\n' "$line" >&"$to_console" || true ;; # one that has ended is noticed below
        esac
    done 3<"$script"
    exec {to_console}>&-
    cat <&"$from_console"
    wait "$console" || status=$?
    [ "$status" -ne "$expected" ] || return 0
    printf 'It ended with status %s, not %s\n' "$status" "$expected" >&2
    return 2
}

# await_shown TEXT DESCRIPTOR : shows the lines from there up to the one that has the text.
await_shown() {
    local line
    while IFS= read -r -t "$LONGEST_WAIT" line <&"$2"; do
        printf '%s\n' "$line"
        [[ $line != *"$1"* ]] || return 0
    done
    printf 'This was not shown: %s\n' "$1" >&2
    return 1
}
