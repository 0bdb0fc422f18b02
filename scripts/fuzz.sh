#!/usr/bin/env bash
# Looks for inputs that the tools cannot bear, with Clang's libFuzzer.
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]
#
# Builds the preset linux-fuzz and runs each target of fuzz/ for so many seconds (60 when none are
# told), one after the other, with bounds on memory and on the time of an input. What a run learns
# stays in build/fuzz/corpus/TARGET and is the start of the next one; the seeds in fuzz/corpus are never
# changed. Inputs that are findings go to build/fuzz/findings/TARGET. One line for each target at the end; the
# exit code is 1 when there was a finding. The target model_file is run only when it is named: most
# of what it finds is inside Assimp.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/jobs.sh

fail() {
    echo "fuzz: $1" >&2
    exit 2
}

known=(stream_file archive_file material_file standin_connection model_file)
seconds=60
if [[ ${1-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
((${#targets[@]})) || targets=(stream_file archive_file material_file standin_connection)
for target in "${targets[@]}"; do
    [[ " ${known[*]} " == *" $target "* ]] || fail "no target $target (there are ${known[*]})"
done

build=${Q7_FUZZ_BUILD:-build/linux-fuzz}
set_up --fuzz
in_group cmake --preset linux-fuzz -B "$build" >/dev/null
in_group cmake --build "$build" --target "${targets[@]/#/q7fuzz_}"

# The sanitizers' shadow memory does not fit every layout of the address space.
run=(setarch --addr-no-randomize)
export LSAN_OPTIONS=suppressions=$PWD/tests/corpus/lsan_suppressions.txt
lines=()
status=0
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target
    log=build/fuzz/$target.log
    mkdir -p "$corpus" "$findings"
    cp "fuzz/corpus/$target"/* "$corpus"
    echo "fuzz: $target for $seconds s"
    result=0
    in_group "${run[@]}" "$build/bin/q7fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
        -rss_limit_mb=1024 -malloc_limit_mb=256 -print_final_stats=1 \
        -artifact_prefix="$findings/" "$corpus" >"$log" 2>&1 || result=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    if ((result == 0)); then
        lines+=("$target: ${runs:-?} runs, no finding")
    else
        lines+=("$target: ${runs:-?} runs, a finding: $(ls -t "$findings" | head -n 1) in $findings, told in $log")
        status=1
    fi
done
printf '%s\n' "${lines[@]}"
exit "$status"
