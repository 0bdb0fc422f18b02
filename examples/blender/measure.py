"""Times the add-on against Blender's own GLB exporter, on the two scenes of bench/blender_exporters.py.

    blender -b --factory-startup --python-exit-code 1 -P examples/blender/measure.py [-- OPTION...]

    --repetitions N   of each send, 5 if not given; the exporter runs once
    --no-exporter     leave Blender's exporter out
    --scene A|B       only one of the scenes

The library and the stand-in are those of build/linux, unless Q7PLUGIN_LIBRARY and Q7_STANDIN name others.
Each send is one call of the operator, from its start to the last acknowledgement, with the stand-in in
the renderer's place. The scene is evaluated before, for both. The stand-in does not look into the arrays.
"""

import argparse
import os
import statistics
import sys
import tempfile
import time
from pathlib import Path

import bpy

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
for folder in (HERE, ROOT / "bench", ROOT / "bindings/python/tests"):
    sys.path.insert(0, str(folder))
os.environ.setdefault("Q7PLUGIN_LIBRARY", str(ROOT / "build/linux/libQ7Plugin.so"))
os.environ.setdefault("Q7_STANDIN", str(ROOT / "build/linux/bin/q7-standin"))

import blender_exporters as exporters  # noqa: E402
import q7_link  # noqa: E402
from support import Standin  # noqa: E402

SCENES = {
    "A": ("500,000 triangles in 200 places", exporters.mesh_in_many_places),
    "B": ("5,000 meshes of 192 triangles", exporters.distinct_meshes),
}


def build(make, folder):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    triangles = make(folder, False)
    bpy.context.view_layer.update()
    return triangles


def seconds(run):
    start = time.perf_counter()
    if run() != {"FINISHED"}:
        raise SystemExit("the operator failed")
    return time.perf_counter() - start


def timed_sends(merged, repetitions):
    bpy.context.scene.q7_link.merged = merged
    standin = Standin("--status", "4", "--unchecked", "--quiet")
    try:
        return [seconds(bpy.ops.q7.send) for _ in range(repetitions)]
    finally:
        # One that is killed leaves its blocks behind.
        standin.process.terminate()
        standin.process.wait()
        standin.close()


def row(name, times):
    spread = f"{min(times):.2f} to {max(times):.2f}"
    print(
        f"  {name:30} {statistics.median(times):7.2f} s   ({spread}, {len(times)} runs)", flush=True
    )
    return statistics.median(times)


def measure(scene, options, folder):
    title, make = SCENES[scene]
    triangles = build(make, folder)
    print(f"{scene}: {title}, {triangles} triangles placed", flush=True)
    raw = row("sent", timed_sends(False, options.repetitions))
    row("sent merged", timed_sends(True, options.repetitions))
    if options.exporter:
        glb = row(
            "Blender's GLB exporter",
            [seconds(lambda: exporters.export_glb(folder) or {"FINISHED"})],
        )
        print(f"  {'sent / GLB':30} {raw / glb:7.3f}", flush=True)


def main(arguments):
    parser = argparse.ArgumentParser(prog="measure.py")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--no-exporter", dest="exporter", action="store_false")
    parser.add_argument("--scene", choices=list(SCENES))
    options = parser.parse_args(arguments)
    q7_link.register()
    print(f"load before: {os.getloadavg()[0]:.2f}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        for scene in [options.scene] if options.scene else SCENES:
            measure(scene, options, Path(folder))
    print(f"load after: {os.getloadavg()[0]:.2f}", flush=True)


if __name__ == "__main__":
    main(sys.argv[sys.argv.index("--") + 1 :] if "--" in sys.argv else [])
