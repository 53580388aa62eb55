# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Completes the command line of ostrel-simulator in bash.
# shellcheck shell=bash

_ostrel_simulator() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --catalogue | --scenario)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
        ;;
    --rootfs)
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        compopt -o filenames 2>/dev/null
        ;;
    --address | --kill-after) ;;
    *)
        mapfile -t COMPREPLY < <(compgen -W '--help --version --session --system --address
            --catalogue --print-catalogue --scenario --kill-after --rootfs' -- "$current")
        ;;
    esac
}

complete -F _ostrel_simulator ostrel-simulator
