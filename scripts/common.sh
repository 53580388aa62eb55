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

# planned COMMAND...: succeeds if this command of apt-get has nothing to do. Prints what it would
# install. Needs no root.
planned() {
    local scratch status=0
    scratch=$(mktemp -d) # apt-get leaves a file there
    TMPDIR=$scratch LC_ALL=C "$@" --assume-no -o Debug::NoLocking=true 2>&1 | sed -nE \
        -e 's/.* ([0-9]+) newly installed.*/\1 packages/p' \
        -e 's/^Need to get (.*) of archives.*/, \1 to download/p' \
        -e 's/^After this operation, (.*) of additional.*/, \1 on the disk/p' | tr -d '\n' || status=$?
    rm -r "$scratch"
    return "$status"
}

# need [OPTION...]: installs the packages that debian/control lists and that are missing. The options
# are those of apt-get build-dep. Prints nothing if none is missing. Where there are no packages, or
# OSTREL_INSTALL=no in the environment says that all is there, what fails says what is missing.
advice=''
need() {
    local get=(apt-get build-dep --no-install-recommends "$@" "$root") as_root=() plan
    if [ "${OSTREL_INSTALL-}" = no ] || ! command -v apt-get >/dev/null; then
        advice="; Build-Depends in debian/control names what is needed, as packages of Debian"
        return 0
    fi
    ! plan=$(planned "${get[@]}") || return 0
    if [ "$(id -u)" != 0 ]; then
        as_root=(sudo)
        # In a terminal, sudo may ask for a password.
        { sudo -n true || { [ -t 0 ] && sudo -v; }; } 2>/dev/null ||
            fail "packages are missing${plan:+: $plan}; as root, run this first:
    apt-get update && ${get[*]}"
    fi
    quietly "updating the lists of packages" "${as_root[@]}" apt-get update
    plan=$(planned "${get[@]}") || true
    quietly "installing ${plan:-what is missing}" \
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${get[@]}" -y
}

# interruptible COMMAND...: runs a command so that a signal to this script ends the command and all
# processes that it has started.
running='' each_second=true
interruptible() {
    local status=0
    set -m # a process group of its own
    "$@" </dev/null &
    running=$!
    set +m
    $each_second
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

# Shows the time and the end of the output of what quietly() runs, in a line that is overwritten.
show_progress() {
    local columns last line
    columns=$(stty size <&4 2>/dev/null | cut -d' ' -f2)
    while kill -0 "$running" 2>/dev/null; do
        last=$(tail -c 1000 /dev/fd/3 | tail -n 1 | tr -cd '[:print:]')
        line="== $what: $((SECONDS - start)) s  $last"
        printf '\r%s\033[K' "${line:0:${columns:-80}-1}" >&4
        sleep 0.5
    done
    printf '\r\033[K== %s: ' "$what" >&4
}

# quietly WHAT COMMAND...: runs a command, and shows how long it took. Shows how far it is if that is
# a terminal, and its output if it fails.
quietly() {
    local what=$1 start=$SECONDS status=0 each_second=true log
    shift
    printf '== %s: ' "$what"
    [ ! -t 1 ] || each_second=show_progress
    # Opened and removed at once, so that nothing is left behind.
    log=$(mktemp)
    exec 3<>"$log" 4>&1
    rm -f "$log"
    interruptible "$@" >&3 2>&1 || status=$?
    printf '%s s\n' $((SECONDS - start))
    if [ "$status" != 0 ]; then
        cat /dev/fd/3
        fail "$what failed$advice"
    fi
    exec 3>&- 4>&-
}

# copy_tree FOLDER: copies the tree into the new folder, without what git does not know.
copy_tree() {
    mkdir -p "$1"
    {
        git -C "$root" -c safe.directory='*' ls-files --cached --others --exclude-standard 2>/dev/null ||
            (cd "$root" && find . -type f -not -path './build/*' -not -path './.git/*')
    } | tar --create --directory="$root" --files-from=- --ignore-failed-read |
        tar --extract --directory="$1"
}

# build PRESET [OPTION...]: configures in build/PRESET with the options in the array configure, and
# builds there with the given options.
configure=()
build() {
    local preset=$1 foreign
    shift
    mkdir -p "$root/build" 2>/dev/null || fail "cannot create $root/build"
    foreign=$(find "$root/build" -maxdepth 2 -type d ! -writable -printf '%p belongs to %u' -quit)
    [ -z "$foreign" ] ||
        fail "cannot write to the build folder: $foreign; remove it: sudo rm -r $root/build"
    cd "$root" || exit 1
    quietly "configuring build/$preset" cmake --preset "$preset" "${configure[@]}"
    quietly "building build/$preset" cmake --build --preset "$preset" "$@"
}
