# shellcheck shell=bash
# Installs the Debian packages that the commands of this project need. Sourced by them.

# install_missing PACKAGE... : installs those that are not there; ends the script when it cannot.
install_missing() {
    if ! command -v dpkg-query >/dev/null; then
        printf 'No Debian system; assuming that the equivalents of these are here: %s\n' "$*"
        return
    fi
    local package missing=() as_root=()
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    local install=("${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}")
    printf 'Installing what is missing: %s\n' "${install[*]}"
    if ! "${as_root[@]}" apt-get update -q || ! DEBIAN_FRONTEND=noninteractive "${install[@]}"; then
        printf 'Cannot install packages here. Run this yourself, then start again:\n  %s\n' \
            "${install[*]}" >&2
        exit 1
    fi
}

install_build_packages() {
    install_missing g++ cmake ninja-build pkgconf libcli11-dev libedit-dev nlohmann-json3-dev \
        libsodium-dev libsqlite3-dev libsqlitecpp-dev libboost1.81-dev libssl-dev \
        libspdlog-dev libsystemd-dev libtomlplusplus-dev prometheus-cpp-dev
    install_node_packages # the panel is built with it
}

install_test_packages() {
    install_missing libgtest-dev libgmock-dev librapidcheck-dev libbenchmark-dev clang-format \
        clang-tidy libclang-14-dev llvm-14-dev cppcheck curl flake8 shellcheck procps python3 strace
}

# A Node.js that is new enough, unless there is one from elsewhere, which brings its npm.
install_node_packages() {
    command -v node >/dev/null && command -v npm >/dev/null &&
        printf 'v18.18.0\n%s\n' "$(node --version)" | sort -CV && return
    install_missing nodejs npm
}

# In which the panel is tried.
install_browser_packages() {
    install_missing chromium
}

# What draws the pictures of the bench and the soak.
install_picture_packages() {
    install_missing gnuplot-nox
}

# find_promtool FOLDER : prints where promtool is. When there is none, it is unpacked into the folder:
# to install its package would start a service.
find_promtool() {
    command -v promtool && return
    local unpacked=$1/usr/bin/promtool
    if [ ! -x "$unpacked" ]; then
        (cd "$1" && apt-get download -q prometheus && dpkg-deb -x prometheus_*.deb .) >&2
    fi
    printf '%s\n' "$unpacked"
}

install_coverage_packages() {
    install_missing gcovr
}

install_valgrind_packages() {
    install_missing valgrind
}

# The compiler that has libFuzzer, its runtime, and the check of what is compiled with them.
install_fuzz_packages() {
    install_missing clang-14 libclang-rt-14-dev clang-tidy
}

# The quickest linker: every mutant is linked anew.
install_mutation_packages() {
    install_missing lld
}
