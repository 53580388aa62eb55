# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Completes the command line of ostrelctl in bash.
# shellcheck shell=bash

# Words are compared and added one by one: what comes from the service must not reach anything that
# would expand it.
_ostrelctl_offer() {
    local word
    for word; do
        if [[ $word == "$current"* ]]; then
            COMPREPLY+=("$word")
        fi
    done
}

# What is running, as "APPLICATION SERVICE PID STATE KIND INSTANCE ..." lines. A service that does not
# reply must not hold up the shell.
_ostrelctl_ps() { timeout 1 "$program" ps 2>/dev/null | tail -n +2 | head -n 100; }

_ostrelctl_offer_running() {
    local application service pid instance
    while read -r application service pid _ _ instance _; do
        [[ $pid =~ ^[0-9]+$ && $application =~ ^[A-Za-z0-9._-]+$ ]] || continue
        case $1 in
        applications) [[ $service != - ]] || _ostrelctl_offer "$application" ;;
        processes) _ostrelctl_offer "$pid" ;;
        instances)
            [[ $service == - && $instance != - && $instance =~ ^[A-Za-z0-9._-]+$ ]] && _ostrelctl_offer "$instance"
            ;;
        esac
    done < <(_ostrelctl_ps)
}

_ostrelctl_offer_files() {
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    compopt -o filenames 2>/dev/null
}

# A hint's name, and, behind the "=", its value.
_ostrelctl_offer_hints() {
    case $1 in
    '')
        _ostrelctl_offer Autostart= CPULimit= Conditions= DBusService= Homeless= Permissions= \
            Priority= RunningTime= User= Weight=
        compopt -o nospace 2>/dev/null
        ;;
    Autostart) _ostrelctl_offer default enabled disabled ;;
    Homeless) _ostrelctl_offer true false ;;
    esac
}

_ostrelctl_offer_options() {
    case $1 in
    '') _ostrelctl_offer --help --version ;;
    task) _ostrelctl_offer --help ;;
    start) _ostrelctl_offer --help --json --timeout --timings --repeat ;;
    debug)
        _ostrelctl_offer --help --json --timeout --wrapper --param --env --firejail-param \
            --no-sandbox --stdout --stderr
        ;;
    'task start')
        _ostrelctl_offer --help --json --system --timeout --param --env --hint --cgroup
        ;;
    'task stop') _ostrelctl_offer --help --json --system --timeout ;;
    task*) _ostrelctl_offer --help --json --system ;;
    wait) _ostrelctl_offer --help --json --timeout --state --terminated ;;
    trace) _ostrelctl_offer --help --output --for --from ;;
    watch | which) _ostrelctl_offer --help --json ;;
    *) _ostrelctl_offer --help --json --timeout ;;
    esac
}

_ostrelctl_offer_arguments() {
    case $1 in
    '') _ostrelctl_offer start debug terminate wait ps watch trace which task window ;;
    # The tasks of a type are not asked for: that would register an invoker of the type.
    task) _ostrelctl_offer list start stop watch ;;
    start | debug) _ostrelctl_offer_running applications ;;
    terminate | wait) _ostrelctl_offer_running instances ;;
    which) _ostrelctl_offer_running processes ;;
    esac
}

_ostrelctl() {
    local program=$1 current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()

    # Bash takes a "=" for a word of its own.
    local option=${COMP_WORDS[COMP_CWORD - 1]} name=''
    if [[ $current == = ]]; then
        current='' name=$option option=${COMP_WORDS[COMP_CWORD - 2]-}
    elif [[ $option == = ]]; then
        name=${COMP_WORDS[COMP_CWORD - 2]-} option=${COMP_WORDS[COMP_CWORD - 3]-}
    fi
    case $option in
    --stdout | --stderr | -o | --output | --from)
        _ostrelctl_offer_files
        return
        ;;
    --hint)
        _ostrelctl_offer_hints "$name"
        return
        ;;
    --timeout | --repeat | --state | --for | --wrapper | --param | --env | --firejail-param | \
        --cgroup)
        return
        ;;
    esac

    # What is there already, without the options and their values.
    local i words=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        --stdout | --stderr | -o | --output | --from | --for | --hint | --timeout | --repeat | \
            --state | --wrapper | --param | --env | --firejail-param | --cgroup | =)
            ((i++))
            ;;
        -*) ;;
        *) words+=("${COMP_WORDS[i]}") ;;
        esac
    done
    local command=${words[0]-} arguments=1
    if [[ $command == task && ${#words[@]} -gt 1 ]]; then
        command="task ${words[1]}" arguments=2
    fi

    if [[ $current == -* ]]; then
        _ostrelctl_offer_options "$command"
    elif [[ -z $command || ${#words[@]} -eq $arguments ]]; then
        _ostrelctl_offer_arguments "$command"
    fi
}

complete -F _ostrelctl ostrelctl
