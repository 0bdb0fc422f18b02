#!/usr/bin/env bash
# What a script starts ends with the script. Sourced, not run.

# end_jobs [SIGNAL]: ends what this shell started, each with its process group where it has one of its own.
end_jobs() {
    local job
    for job in $(jobs -p); do
        kill -s "${1-TERM}" -- "-$job" 2>/dev/null || kill -s "${1-TERM}" "$job" 2>/dev/null || true
    done
}
trap end_jobs EXIT

# in_group COMMAND...: runs a command in a process group of its own, so that what the command starts ends,
# too. It is waited for in the background: a foreground command would hold back SIGINT until its end. The
# terminal stops what writes from there if it was told to (stty tostop): the command ignores that signal.
in_group() {
    set -m
    trap '' TTOU
    "$@" &
    trap - TTOU
    set +m
    wait $!
}

# set_up OPTION...: calls scripts/setup.sh in the group of the caller, since sudo asks for a password only in
# the group that has the terminal. setup.sh ends its own jobs. The shell ignores SIGINT in such a command.
set_up() {
    env --default-signal=INT scripts/setup.sh "$@" &
    wait $!
}
