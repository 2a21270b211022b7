# shellcheck shell=bash disable=SC2034 # the variables are for those who source this
# A simulated router for the length of a command. Sourced by those that need one.

# start_simulator OPTION... : starts it on a free port, in a session of its own, where Ctrl-C on the
# terminal does not reach it. Its lines come from the descriptor simulator_output, its commands from
# the file simulator_input. The command must call stop_simulator when it ends; one that is killed
# takes it along.
simulator_input=/dev/null
start_simulator() {
    exec {simulator_output}< <(exec setsid setpriv --pdeathsig TERM \
        build/release/router_simulator --port 0 "$@" <"$simulator_input")
    simulator=$!
}

simulator=
stop_simulator() {
    [ -n "$simulator" ] || return 0
    kill "$simulator" 2>/dev/null || true
    wait "$simulator" 2>/dev/null || true
}
