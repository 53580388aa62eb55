#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# What ./demo and ./check share: messages, needed packages, and building.
# Before sourcing, set $root (the top of the tree) and $me (the name of the command).
# shellcheck shell=bash disable=SC2034,SC2154

say() { printf '== %s\n' "$*"; }

fail() {
    printf '%s: %s\n' "$me" "$*" >&2
    exit 1
}

# The needs, one per line: Debian package, what it provides, and a command that succeeds if it is
# installed.
# shellcheck disable=SC2016 # a probe is expanded when it runs
build_needs='
g++|a C++ compiler|command -v c++
cmake|CMake 3.21|printf "3.21\n%s\n" "$(cmake --version | sed -n "s/^cmake version //p")" | sort -CV
ninja-build|Ninja|command -v ninja
pkgconf|pkg-config|command -v pkg-config
qtbase5-dev|Qt 5.15 with Core, DBus and Test|pkg-config --atleast-version=5.15 Qt5Core Qt5DBus Qt5Test
dbus-daemon|the D-Bus daemon|command -v dbus-daemon
libdbus-1-dev|libdbus, for tests|pkg-config --exists dbus-1
libexpected-dev|tl::expected, for the tools|echo "#include <tl/expected.hpp>" | c++ -std=c++17 -fsyntax-only -x c++ -
'
# shellcheck disable=SC2016 # a probe is expanded when it runs
check_needs='
make|make|command -v make
qt5-qmake|qmake|test -x "$(pkg-config --variable=host_bins Qt5Core)/qmake"
systemd|busctl|command -v busctl
libglib2.0-bin|gdbus|command -v gdbus
libglib2.0-dev|GIO|pkg-config --exists gio-unix-2.0
libglib2.0-dev-bin|gdbus-codegen|command -v gdbus-codegen
libsdbus-c++-bin|sdbus-c++-xml2cpp|command -v sdbus-c++-xml2cpp
libsdbus-c++-dev|sdbus-c++|pkg-config --exists sdbus-c++
clang|Clang|command -v clang++
libclang-rt-dev|libFuzzer for Clang|echo "extern \"C\" int LLVMFuzzerTestOneInput() { return 0; }" | clang++ -fsanitize=fuzzer,address,undefined -x c++ - -o /dev/null
doxygen|Doxygen|command -v doxygen
xsltproc|xsltproc|command -v xsltproc
qhelpgenerator-qt5|qhelpgenerator|test -x "$(pkg-config --variable=host_bins Qt5Core)/qhelpgenerator"
qtbase5-doc-dev|tag files of Qt|test -e /usr/share/qt5/doc/qtcore/qtcore.tags
abigail-tools|abidiff|command -v abidiff
clang-format|clang-format|command -v clang-format
clang-tidy|clang-tidy|command -v clang-tidy
clangd|clangd|command -v clangd
clazy|clazy|command -v clazy-standalone
'
# For comparing the cost of the library with others.
cost_needs='
libbenchmark-dev|Google Benchmark|pkg-config --exists benchmark
libsystemd-dev|sd-bus|pkg-config --exists libsystemd
python3|Python 3.9|python3 -c "import sys; sys.exit(sys.version_info < (3, 9))"
valgrind|Valgrind|command -v valgrind
'
bench_needs='
python3-matplotlib|Matplotlib|/usr/bin/python3 -c "import matplotlib"
libglib2.0-dev|GDBus|pkg-config --exists gio-2.0
libsdbus-c++-dev|sdbus-c++|pkg-config --exists sdbus-c++
'
# shellcheck disable=SC2016 # a probe is expanded when it runs
package_needs='
build-essential|what every package is built with|dpkg-query --show --showformat "\${Status}" build-essential | grep -qx "install ok installed"
debhelper|debhelper 13|command -v dh
doxygen|Doxygen|command -v doxygen
dpkg-dev|dpkg-buildpackage|command -v dpkg-buildpackage
lintian|lintian|command -v lintian
qhelpgenerator-qt5|qhelpgenerator|test -x "$(pkg-config --variable=host_bins Qt5Core)/qhelpgenerator"
xsltproc|xsltproc|command -v xsltproc
'

# missing NEEDS: prints the lines of the needs that are not met.
missing() {
    local package what probe
    while IFS='|' read -r package what probe; do
        if [ -n "$package" ] && ! bash -c "$probe" >/dev/null 2>&1; then
            printf '%s|%s\n' "$package" "$what"
        fi
    done <<<"$1"
}

# join SEPARATOR ITEM...
join() {
    local separator=$1 result=$2
    shift 2
    local item
    for item in "$@"; do result+=$separator$item; done
    printf '%s' "$result"
}

# need NEEDS: installs the missing needs, or fails with one line. Prints nothing if none is missing.
need() {
    local lines line package what packages=() whats=()
    lines=$(missing "$1")
    [ -n "$lines" ] || return 0
    while IFS='|' read -r package what; do
        packages+=("$package")
        whats+=("$what")
    done <<<"$lines"

    local list as_root=()
    list=$(join ', ' "${whats[@]}")
    command -v apt-get >/dev/null ||
        fail "missing: $list; install it with your system's package manager (in Debian: ${packages[*]})"
    if [ "$(id -u)" != 0 ]; then
        if command -v sudo >/dev/null && { sudo -n true 2>/dev/null || [ -t 0 ]; }; then
            as_root=(sudo)
        else
            fail "missing: $list; installing needs root; run this as root first: apt-get install ${packages[*]}"
        fi
    fi

    say "installing ${packages[*]}"
    local log
    log=$(mktemp)
    if ! "${as_root[@]}" apt-get update >"$log" 2>&1 ||
        ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y --no-install-recommends "${packages[@]}" >>"$log" 2>&1; then
        line=$(grep -m 1 '^E:' "$log" || tail -n 1 "$log")
        rm -f "$log"
        fail "missing: $list; installing failed: ${line:-apt-get gave no reason}"
    fi
    rm -f "$log"

    lines=$(missing "$1")
    [ -z "$lines" ] || fail "still missing after installing: $(cut -d'|' -f2 <<<"$lines" | paste -sd, -)"
}

# interruptible COMMAND...: runs a command so that a signal to this script ends the command and all
# processes that it has started.
running=''
interruptible() {
    local status=0
    set -m # a process group of its own
    "$@" </dev/null &
    running=$!
    set +m
    wait "$running" || status=$?
    running=''
    return "$status"
}
on_signal() {
    [ -z "$running" ] || kill -- "-$running" 2>/dev/null || true
    exit "$1"
}
trap 'on_signal 130' INT
trap 'on_signal 143' TERM

# quietly WHAT COMMAND...: runs a command, and shows its output only if it fails.
quietly() {
    local what=$1 log
    shift
    say "$what"
    # Opened and removed at once, so that nothing is left behind.
    log=$(mktemp)
    exec 3<>"$log"
    rm -f "$log"
    if ! interruptible "$@" >&3 2>&1; then
        cat /dev/fd/3
        exec 3>&-
        fail "$what failed"
    fi
    exec 3>&-
}

# build PRESET [OPTION...]: configures in build/PRESET with the options in the array configure, and
# builds there with the given options.
configure=()
build() {
    local preset=$1
    shift
    mkdir -p "$root/build" 2>/dev/null || fail "cannot create $root/build"
    [ -w "$root/build" ] || fail "cannot write to $root/build"
    cd "$root" || exit 1
    quietly "configuring build/$preset" cmake --preset "$preset" "${configure[@]}"
    quietly "building build/$preset" cmake --build --preset "$preset" "$@"
}
