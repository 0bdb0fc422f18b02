#!/usr/bin/env bash
# Installs what is missing, builds the optimised library and its benchmarks, runs them one after the
# other and writes the report docs/performance.md. Leave the machine alone meanwhile.
#
#   scripts/bench.sh                   all benchmarks
#   scripts/bench.sh NAME...           some of them; the report takes the last rows of the others,
#                                      and says so
#   scripts/bench.sh --smoke [NAME...] tiny inputs, to try whether all works; the report goes into
#                                      build/bench/smoke
#
# The rows of each are left in build/bench.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/jobs.sh
# A program that asks must not wait for ever.
exec </dev/null

# blender is no program of the build: its exporters do the jobs of the program "exporters".
all=(live_send calls geometry merge save assembly archive load exporters blender)
rows=build/bench
report=docs
options=()
names=()
for argument in "$@"; do
    case $argument in
    --smoke)
        rows=build/bench/smoke
        report=$rows
        options=(--smoke)
        ;;
    *)
        [[ " ${all[*]} " == *" $argument "* ]] || {
            echo "bench: there is no benchmark $argument (there are: ${all[*]}, and the option --smoke)" >&2
            exit 2
        }
        names+=("$argument")
        ;;
    esac
done
if ((${#names[@]})); then
    report_options=("${options[@]}" --partial)
else
    report_options=("${options[@]}")
    names=("${all[@]}")
fi

started=$SECONDS
say() { printf '== %4d s  %s\n' $((SECONDS - started)) "$1"; }

fail() {
    echo "bench: $1" >&2
    exit 1
}

# quietly WHAT COMMAND...: shows the end of the output of a command that failed.
quietly() {
    local what=$1
    shift
    say "$what"
    in_group "$@" >"$rows/$what.log" 2>&1 && return
    tail -n 20 "$rows/$what.log" >&2
    fail "$what failed, the whole log is $rows/$what.log"
}

run_blender() {
    quietly blender blender -b --factory-startup --python-exit-code 1 \
        -P bench/blender_exporters.py -- "$rows/blender.new" "${options[@]}"
}

run_program() {
    local program=build/linux/bin/q7bench_$1
    say "$1"
    [[ -x $program ]] || fail "$program was not built; cmake --preset linux-release tells what it lacks"
    in_group "$program" "${options[@]}" >"$rows/$1.new" || fail "$program failed"
}

mkdir -p "$rows"
set_up --bench
quietly configure cmake --preset linux-release
quietly build cmake --build --preset linux-release --target q7benchmarks
for name in "${names[@]}"; do
    if [[ $name == blender ]]; then run_blender; else run_program "$name"; fi
    # Rows of a run that was broken off never get into the report.
    mv "$rows/$name.new" "$rows/$name.tsv"
done
say "report"
python3 -B bench/report.py "${report_options[@]}" "$report" "$rows"/*.tsv
say "done: $report/performance.md"
