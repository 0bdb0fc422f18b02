#!/usr/bin/env bash
# Sends real files through the library and shows what came out: an engine to disk, then live to
# q7-standin in the renderer's place; a scene with a moving camera and lights, and the messages that
# arrived; a textured model as an archive; and a picture of each of the two.
#
#   scripts/demo.sh
#
# Leaves the model streams, the list of materials, the archive and the pictures in build/demo, what the
# stand-in received in build/demo/received. The last line is the path of a picture.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/jobs.sh
exec </dev/null

if (($#)); then
    echo "demo: unexpected argument $1 (scripts/demo.sh takes none)" >&2
    exit 2
fi

set_up --demo
mkdir -p build/demo
log=build/demo/build.log
echo "demo: building (the log is $log)"
# A build that is there already may be one with tests, which stays so.
build() {
    [ -e build/linux/build.ninja ] || cmake --preset linux-demo || return
    cmake --build build/linux --target q7-send q7-inspect q7-standin
}
if ! in_group build >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "demo: the build failed, see $log" >&2
    exit 1
fi

# The path of a file of the test models.
model_file() {
    local files
    files=$(dpkg-query --listfiles assimp-testmodels)
    grep --max-count=1 "/$1\$" <<<"$files" || {
        echo "demo: the package assimp-testmodels has no $1" >&2
        exit 1
    }
}
engine=$(model_file 2CylinderEngine.glb)
moving=$(model_file ASE/anim2.ASE)
textured=$(model_file Collada/duck.dae)
stream=build/demo/engine.q7mesh
materials=build/demo/engine.xml
archive=build/demo/duck.q7a
picture=build/demo/engine.png

# Shows a command as one would type it, then runs it.
run() {
    printf '\n$ %s\n' "$*"
    in_group "$@"
}

run build/linux/bin/q7-send "$engine" --stream "$stream" --materials "$materials"
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
trap 'end_standin; end_jobs' EXIT

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

# Shows a send and what it tells: before that the library tells how it links.
run_live() {
    printf '\n$ %s\n' "$*"
    in_group "$@" >"$live_log" || fail_live "the live send failed"
    grep -E '^messages: | -> ' "$live_log"
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
    in_group row "$form" "sent, $(basename "$saved")" "$saved" ""
    for model in "$@"; do
        verdict="the same scene"
        in_group build/linux/bin/q7-inspect --compare --link "$saved" "$model" >"$live_log" || {
            verdict="DIFFERENT"
            agree=
        }
        in_group row "" "arrived, $(basename "$model")" "$model" "$verdict"
    done
}

# await_messages KIND COUNT: a message may still be on its way when its sender has ended.
await_messages() {
    local tries=600
    until [ "$(find "$received" -name "*-$1.json" | wc -l)" -ge "$2" ]; do
        ((tries-- > 0)) || fail_live "the message $1 did not arrive"
        sleep 0.05
    done
}

start_standin
run_live build/linux/bin/q7-send "$engine" --live --raw
raw_models=("$received"/*-model.q7mesh)
run_live build/linux/bin/q7-send "$engine" --live --processed --stream "$processed"
all_models=("$received"/*-model.q7mesh)
await_messages scenes 2
told=$(wc -l <"$standin_log")
run_live build/linux/bin/q7-send "$moving" --live
await_messages camera-animations 1
standin_failed=
end_standin

echo "what arrived:"
# Without the time of each line, and how long its message took.
tail -n "+$((told + 1))" "$standin_log" | sed -n -E 's/^ +[0-9.]+  #[0-9]+  (word.*)  \([^)]*\)  -> /  \1  -> /p'

printf '\n%-9s  %-28s  %9s  %6s  %9s\n' form model instances meshes triangles
agree=1
rows raw "$stream" "${raw_models[@]}"
rows processed "$processed" "${all_models[@]:${#raw_models[@]}}"
tail -n 1 "$standin_log"
[ -z "$standin_failed" ] || fail_live "q7-standin found faults"
[ -n "$agree" ] || fail_live "what arrived is not what was sent"

run build/linux/bin/q7-send "$textured" --q7a "$archive"
run build/linux/bin/q7-inspect --validate "$archive"
entries() {
    build/linux/bin/q7-inspect "$archive" | sed -n '/^Entries/,/^$/p' | sed '$d'
}
in_group entries
unpacking() {
    unzip -t "$archive" | tail -n 1
}
printf '\n$ %s\n' "unzip -t $archive"
in_group unpacking
run build/linux/bin/q7-inspect "$archive" --preview build/demo/duck.png
run build/linux/bin/q7-inspect "$stream" --preview "$picture"
printf '\n%s\n' "$picture"
