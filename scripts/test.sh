#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests.
#
#   scripts/test.sh             all builds
#   scripts/test.sh --linux     the Linux builds: optimised, address and thread sanitizers
#   scripts/test.sh --windows   the Windows build, its tests under Wine
#   scripts/test.sh --host      the add-ons in the applications that they are for: Blender. No part of the
#                               other runs
#
# Tests run while the next build is made, which they leave most of the processor to: many wait. A build
# or a test that fails does not keep the others from running. The last line tells how many tests passed
# and failed, and the exit code is 0 only when none failed. Logs and reports are left in
# build/test-results.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/jobs.sh
exec </dev/null

linux=(linux-release linux-asan linux-tsan)
windows=(windows)
case "${1-}" in
# Windows before the sanitizers: its tests wait most, and their builds take longest.
"") presets=("${linux[0]}" "${windows[@]}" "${linux[@]:1}") ;;
--linux) presets=("${linux[@]}") ;;
--windows) presets=("${windows[@]}") ;;
--host) presets=(host) ;;
*)
    echo "test: unknown option $1 (use --linux, --windows or --host, or none for all builds)" >&2
    exit 2
    ;;
esac

results=$PWD/build/test-results
started=$SECONDS
say() { printf '== %4d s  %s\n' $((SECONDS - started)) "$1"; }

# step PRESET WHAT COMMAND...: runs a step with its output in a log. A failure is recorded where
# the count finds it, and shows the end of the log.
step() {
    local preset=$1 what=$2 log=$results/$1/$2.log
    shift 2
    say "$preset: $what"
    "$@" >"$log" 2>&1 && return 0
    echo "$what: see ${log#"$PWD/"}" >>"$results/$preset/failed-steps.txt"
    tail -n 60 "$log"
    say "$preset: $what FAILED, the whole log is ${log#"$PWD/"}"
    return 1
}

# Older sanitizer runtimes cannot place their shadow memory when addresses are fully randomised.
fixed_addresses() {
    if setarch --addr-no-randomize true 2>/dev/null; then
        setarch --addr-no-randomize "$@"
    else
        "$@"
    fi
}

# run_tests FOLDER PRESET OPTION...: the options are those of ctest.
run_tests() {
    local folder=$results/$1 preset=$2 reports=$results/$1/gtest run=()
    shift 2
    case $preset in
    windows) reports=Z:$reports ;;
    *san) run=(fixed_addresses) ;;
    esac
    # At once before the tests: the first two programs would each start Wine's services if none ran.
    if [[ $preset == windows ]]; then
        step "$preset" wine-prefix scripts/wine.sh --prepare || return
    fi
    say "${folder##*/}: tests"
    mkdir -p "$folder/gtest"
    ctest --preset "$preset" "$@" --show-only=json-v1 >"$folder/tests.json" 2>/dev/null
    {
        GTEST_BRIEF=1 GTEST_OUTPUT=xml:$reports/ "${run[@]}" ctest --preset "$preset" "$@" \
            --parallel "$(nproc)" --output-junit "$folder/ctest.xml" 2>&1 ||
            touch "$folder/ctest-failed"
    } | sed --unbuffered "s/^/${folder##*/}: /"
    say "${folder##*/}: tests done"
}

# The process that runs tests, in a group of its own.
testing=

# Runs tests beside what comes next, when the tests before have ended: a machine has one renderer.
run_tests_beside() {
    local before=$testing
    set -m
    {
        [[ -z $before ]] || tail --pid="$before" --sleep-interval=0.1 -f /dev/null
        run_tests "$@"
    } &
    testing=$!
    set +m
}

end() {
    end_jobs
    if [[ -e $results/windows ]]; then
        scripts/wine.sh --end >/dev/null 2>&1
    fi
}
trap end EXIT

# The add-ons need the optimised library, the stand-in and the inspector, and nothing else built.
run_host() {
    mkdir -p "$results/host"
    step host configure in_group cmake --preset linux-release &&
        step host build in_group cmake --build --preset linux-release \
            --target Q7Plugin q7-standin q7-inspect ||
        return
    run_tests_beside host linux-release --build-config host --tests-regex '^host_'
}

run_preset() {
    local preset=$1
    mkdir -p "$results/$preset"
    step "$preset" configure in_group cmake --preset "$preset" &&
        step "$preset" build in_group cmake --build --preset "$preset" || return
    run_tests_beside "$preset" "$preset"
}

say "packages"
if ! set_up "$@"; then
    # Without the packages the builds could only fail with messages that hide the reason.
    echo "0 passed, 1 failed"
    exit 1
fi
rm -rf "$results"
for preset in "${presets[@]}"; do
    case $preset in
    host) run_host ;;
    *) run_preset "$preset" ;;
    esac
done
wait
say "all done"
python3 scripts/tally.py "${presets[@]/#/$results/}"
