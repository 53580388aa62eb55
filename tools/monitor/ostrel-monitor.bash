# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Completes the command line of ostrel-monitor in bash.
# shellcheck shell=bash

_ostrel_monitor() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --bus)
        mapfile -t COMPREPLY < <(compgen -W 'session system' -- "$current")
        ;;
    --open | --record | --screenshot)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
        ;;
    --size) ;;
    *)
        mapfile -t COMPREPLY < <(compgen -W '--help --version --bus --open --record --screenshot
            --size' -- "$current")
        ;;
    esac
}

complete -F _ostrel_monitor ostrel-monitor
