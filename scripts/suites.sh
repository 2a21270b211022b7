# shellcheck shell=bash
# Builds and runs suites of tests. None of them keeps the next from running; what has failed is told
# in the end. Sourced by ./test, behind command.sh.

failures=() # a line of text each

build() { # PRESET [TARGET...]
    local options='-DBUILD_TESTING=ON -DCMAKE_COMPILE_WARNING_AS_ERROR=ON'
    printf '\n'
    build_preset "$1" "$options" "${@:2}" && return
    failures+=("$1: cannot be built, see above")
    return 1
}

# print_log FILE : 200 lines at most, as what fails in a loop says so ten thousand times.
print_log() {
    local lines
    lines=$(wc -l <"$1")
    printf '\n---- %s (%s lines)\n' "$1" "$lines"
    if [ "$lines" -le 200 ]; then
        cat "$1"
    else
        head -n 100 "$1"
        printf '...\n'
        tail -n 99 "$1"
    fi
}

# split_logs BUILD : the log of each test that failed becomes a file in BUILD/failed.
split_logs() {
    awk -v folder="$1/failed/" '
        FILENAME ~ /LastTestsFailed/ {
            sub(/^[0-9]+:/, "")
            failed[$0] = 1
            next
        }
        /^[0-9]+\/[0-9]+ Testing: / {
            if (file != "") close(file)
            sub(/^[0-9]+\/[0-9]+ Testing: /, "")
            name = $0
            gsub(/[^A-Za-z0-9_.]/, "-", name)
            file = $0 in failed ? folder name ".log" : ""
        }
        file != "" { print >file }
    ' "$1/Testing/Temporary/LastTestsFailed.log" "$1/Testing/Temporary/LastTest.log"
}

run_tests() { # PRESET CTEST_OPTION...
    local build=build/$1 list=build/$1/Testing/Temporary/LastTestsFailed.log name log
    rm -rf "$build/failed" "$list"
    mkdir "$build/failed"
    ctest --test-dir "$build" --no-tests=error "${@:2}" && return
    if [ ! -f "$list" ]; then
        failures+=("$1: no tests were run, see above")
        return
    fi
    split_logs "$build"
    while IFS=: read -r _ name; do
        log=$build/failed/${name//[^A-Za-z0-9_.]/-}.log
        [ ! -f "$log" ] || print_log "$log"
        failures+=("$1: $name, see $log")
    done <"$list"
}

# tell_failures : prints them and returns whether there are none.
tell_failures() {
    if [ ${#failures[@]} -eq 0 ]; then
        printf '\nEverything passed.\n'
        return 0
    fi
    printf '\nFAILED, %s altogether:\n' "${#failures[@]}"
    printf '  %s\n' "${failures[@]}"
    return 1
}
