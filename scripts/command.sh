# shellcheck shell=bash disable=SC2034 # the variables are for those who source this
# What every command begins with: it defines usage, which prints how it is used, then sources this,
# reads its arguments and goes to the folder PROJECT.

PROJECT=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
# shellcheck source=scripts/packages.sh
. "$PROJECT/scripts/packages.sh"

# However a program that runs meanwhile takes Ctrl-C.
trap 'exit 130' INT

declare -A given=() # options and their values, "" for one that has none
operands=()         # all other arguments

# complain TEXT : ends the command because of wrong arguments.
complain() {
    printf '%s: %s\nRun with --help for more information.\n' "$0" "$1" >&2
    exit 1
}

# read_arguments OPTION... -- ARGUMENT... : reads the arguments into given and operands. Of the options
# those with "=" behind them take a value: "--seed 5" or "--seed=5".
read_arguments() {
    local -A kind=([--help]=flag)
    while [ "$1" != -- ]; do
        case $1 in *=) kind[${1%=}]=value ;; *) kind[$1]=flag ;; esac
        shift
    done
    shift
    while [ $# -gt 0 ]; do
        case $1:${kind[${1%%=*}]-} in
        -h:* | --help:*) usage; exit 0 ;;
        -*=*:value) given[${1%%=*}]=${1#*=} ;;
        -*:value)
            [ $# -ge 2 ] || complain "$1 needs a value"
            given[$1]=$2
            shift
            ;;
        -*=*:flag) complain "${1%%=*} takes no value" ;;
        -*:flag) given[$1]= ;;
        -*) complain "unknown option $1" ;;
        *) operands+=("$1") ;;
        esac
        shift
    done
}

# no_more_operands_than COUNT : complains of the first that is too many.
no_more_operands_than() {
    [ ${#operands[@]} -le "$1" ] || complain "unexpected argument ${operands[$1]}"
}

# seconds_of DURATION : prints it in seconds; 90, 90s, 10m and 1h are durations.
seconds_of() {
    [[ $1 =~ ^([1-9][0-9]{0,6})([smh]?)$ ]] || complain "$1 is no duration such as 90s, 10m or 1h"
    local -A unit=([s]=1 [m]=60 [h]=3600)
    printf '%s\n' $((BASH_REMATCH[1] * ${unit[${BASH_REMATCH[2]:-s}]}))
}

# build_preset PRESET CONFIGURE_OPTIONS [TARGET...] : returns whether it could; all targets of the
# preset unless some are given.
build_preset() {
    local preset=$1 options
    read -ra options <<<"$2"
    shift 2
    printf 'Building %s ...\n' "$preset"
    cmake --preset "$preset" "${options[@]}" >/dev/null &&
        cmake --build --preset "$preset" ${1:+--target "$@"}
}
