#!/usr/bin/env bash
# Sends a real assembly, an engine in GLB, through the library and shows what came out: first to
# disk, then live to q7-standin in the renderer's place.
#
#   scripts/demo.sh
#
# Leaves the model streams and the list of materials in build/demo, what the stand-in received in
# build/demo/received.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
exec </dev/null

scripts/setup.sh --linux
mkdir -p build/demo
log=build/demo/build.log
echo "demo: building (the log is $log)"
if ! { cmake --preset linux-release &&
    cmake --build --preset linux-release --target q7-send q7-inspect q7-standin; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "demo: the build failed, see $log" >&2
    exit 1
fi

engine=$(dpkg-query --listfiles assimp-testmodels | grep --max-count=1 '/2CylinderEngine\.glb$') || {
    echo "demo: the package assimp-testmodels has no 2CylinderEngine.glb" >&2
    exit 1
}
stream=build/demo/engine.q7mesh
materials=build/demo/engine.xml

# Shows a command as one would type it, then runs it.
run() {
    printf '\n$ %s\n' "$*"
    "$@"
}

run build/linux/bin/q7-send "$engine" --stream "$stream" --materials "$materials"
# The summary whole, of each table only the first rows: one screen in all.
run build/linux/bin/q7-inspect "$stream" | awk '
    NF == 0 && NR > 1 { table = 1; line = 0 }
    { ++line }
    !table || line <= 4 { print }
    table && line == 5 { print "  ..." }'
run build/linux/bin/q7-inspect --validate "$stream"

received=build/demo/received
ready=build/demo/ready
standin_log=build/demo/standin.log
live_log=build/demo/live.log
processed=build/demo/engine-processed.q7mesh
standin=

end_standin() {
    [ -n "$standin" ] || return 0
    kill "$standin" 2>/dev/null || true
    wait "$standin" || standin_failed=1
    standin=
}
trap end_standin EXIT

fail_live() {
    cat "$standin_log" >&2
    echo "demo: $1" >&2
    exit 1
}

start_standin() {
    rm -rf "$received" "$ready"
    build/linux/bin/q7-standin --out "$received" --ready-file "$ready" --exit-after 120000 \
        >"$standin_log" 2>&1 &
    standin=$!
    until [ -s "$ready" ]; do
        kill -0 "$standin" 2>/dev/null || fail_live "q7-standin did not start"
        sleep 0.05
    done
}

# Shows a send and its last line: before it the library tells how it links.
run_live() {
    printf '\n$ %s\n' "$*"
    "$@" >"$live_log" || fail_live "the live send failed"
    tail -n 1 "$live_log"
}

# One row of the table; counts are those of the stream.
row() {
    build/linux/bin/q7-inspect --json "$3" | python3 -c '
import json, sys
stream = json.load(sys.stdin)
counts = len(stream["instances"]), len(stream["meshes"]), stream["placedTriangles"]
print(("%-9s  %-28s  %9d  %6d  %9d  %s" % (*sys.argv[1:3], *counts, sys.argv[3])).rstrip())' "$1" "$2" "$4"
}

# The saved stream of a form, then each model that arrived in that form.
rows() {
    local form=$1 saved=$2 model verdict
    shift 2
    row "$form" "sent, $(basename "$saved")" "$saved" ""
    for model in "$@"; do
        verdict="the same scene"
        build/linux/bin/q7-inspect --compare --link "$saved" "$model" >"$live_log" || {
            verdict="DIFFERENT"
            agree=
        }
        row "" "arrived, $(basename "$model")" "$model" "$verdict"
    done
}

start_standin
run_live build/linux/bin/q7-send "$engine" --live --raw
raw_models=("$received"/*-model.q7mesh)
run_live build/linux/bin/q7-send "$engine" --live --processed --stream "$processed"
all_models=("$received"/*-model.q7mesh)
standin_failed=
end_standin

printf '\n%-9s  %-28s  %9s  %6s  %9s\n' form model instances meshes triangles
agree=1
rows raw "$stream" "${raw_models[@]}"
rows processed "$processed" "${all_models[@]:${#raw_models[@]}}"
tail -n 1 "$standin_log"
[ -z "$standin_failed" ] || fail_live "q7-standin found faults"
[ -n "$agree" ] || fail_live "what arrived is not what was sent"
