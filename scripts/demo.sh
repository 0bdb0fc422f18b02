#!/usr/bin/env bash
# Sends a real assembly, an engine in GLB, through the library and shows what came out.
#
#   scripts/demo.sh
#
# Leaves the model stream and the list of materials in build/demo.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
exec </dev/null

scripts/setup.sh --linux
mkdir -p build/demo
log=build/demo/build.log
echo "demo: building (the log is $log)"
if ! { cmake --preset linux-release &&
    cmake --build --preset linux-release --target q7-send q7-inspect; } >"$log" 2>&1; then
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
    !table || line <= 6 { print }
    table && line == 7 { print "  ..." }'
run build/linux/bin/q7-inspect --validate "$stream"
printf '\nThe first material of %s:\n' "$materials"
sed -n '/<Material/,/<\/Material/p;/<\/Material/q' "$materials"
