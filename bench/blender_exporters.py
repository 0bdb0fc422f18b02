"""Times Blender's own exporters on the two scenes that exporters.cpp hands to the library.

    blender -b --factory-startup --python-exit-code 1 -P bench/blender_exporters.py -- OUTPUT [--smoke]

Each row of OUTPUT tells a job, its items, their unit, the milliseconds and who took them.
"""

import math
import statistics
import sys
import tempfile
import time
from pathlib import Path

import bpy
import numpy

REPETITIONS = 3


def grid_mesh(name, triangles, materials):
    """A wavy grid of that many triangles, with uvs, its faces dealt out to the materials in turn."""
    rows = math.isqrt(triangles // 2)
    while (triangles // 2) % rows:
        rows -= 1
    columns = triangles // 2 // rows
    y, x = numpy.mgrid[0 : rows + 1, 0 : columns + 1].reshape(2, -1).astype(numpy.float32)
    points = numpy.stack([x, y, numpy.sin(x) + numpy.cos(y)], 1)
    corner = (numpy.arange(rows)[:, None] * (columns + 1) + numpy.arange(columns)).reshape(-1)
    right, above = corner + 1, corner + columns + 1
    first, second = numpy.stack([corner, right, above], 1), numpy.stack([right, above + 1, above], 1)
    corners = numpy.stack([first, second], 1).reshape(-1).astype(numpy.int32)

    mesh = bpy.data.meshes.new(name)
    mesh.vertices.add(len(points))
    mesh.vertices.foreach_set("co", points.reshape(-1))
    mesh.loops.add(len(corners))
    mesh.loops.foreach_set("vertex_index", corners)
    mesh.polygons.add(triangles)
    mesh.polygons.foreach_set("loop_start", numpy.arange(0, len(corners), 3, dtype=numpy.int32))
    mesh.polygons.foreach_set("loop_total", numpy.full(triangles, 3, dtype=numpy.int32))
    uvs = points[corners, :2] / numpy.float32(max(rows, columns))
    mesh.uv_layers.new().data.foreach_set("uv", uvs.reshape(-1))
    for material in materials:
        mesh.materials.append(material)
    slots = numpy.arange(triangles, dtype=numpy.int32) * len(materials) // triangles
    mesh.polygons.foreach_set("material_index", slots)
    mesh.update(calc_edges=True)
    return mesh


def place(name, data, x=0.0, y=0.0):
    thing = bpy.data.objects.new(name, data)
    thing.location = (x, y, 0)
    bpy.context.scene.collection.objects.link(thing)
    return thing


def textured(material, folder):
    size = 256
    image = bpy.data.images.new("texture", size, size)
    shades = numpy.linspace(0, 1, size * size * 4, dtype=numpy.float32)
    image.pixels.foreach_set(shades)
    image.filepath_raw = str(folder / "texture.png")
    image.file_format = "PNG"
    image.save()
    material.use_nodes = True
    nodes, links = material.node_tree.nodes, material.node_tree.links
    node = nodes.new("ShaderNodeTexImage")
    node.image = bpy.data.images.load(str(folder / "texture.png"))
    links.new(node.outputs["Color"], nodes["Principled BSDF"].inputs["Base Color"])


def add_animated_camera():
    camera = place("camera", bpy.data.cameras.new("camera"))
    for second in range(10):
        camera.location.x = second
        camera.keyframe_insert("location", frame=24 * second + 1)
    bpy.context.scene.camera = camera


def mesh_in_many_places(folder, smoke):
    triangles, places = (500, 5) if smoke else (500_000, 200)
    materials = [bpy.data.materials.new(f"material{i}") for i in range(3)]
    textured(materials[0], folder)
    mesh = grid_mesh("large", triangles, materials)
    for i in range(places):
        place(f"node{i}", mesh, x=1000.0 * i)
    place("light", bpy.data.lights.new("light", "POINT"))
    add_animated_camera()
    return triangles * places


def distinct_meshes(_folder, smoke):
    triangles, meshes = 192, 50 if smoke else 5000
    materials = [bpy.data.materials.new(f"material{i}") for i in range(20)]
    for i in range(meshes):
        mesh = grid_mesh(f"mesh{i}", triangles, [materials[i % 20]])
        place(f"node{i}", mesh, x=20.0 * (i % 100), y=20.0 * (i // 100))
    return triangles * meshes


def export_glb(folder):
    bpy.ops.export_scene.gltf(filepath=str(folder / "scene.glb"), export_format="GLB")


def export_fbx(folder):
    bpy.ops.export_scene.fbx(filepath=str(folder / "scene.fbx"))


SCENES = {
    "export of one mesh in many places": mesh_in_many_places,
    "export of many distinct meshes": distinct_meshes,
}
EXPORTERS = {"Blender's GLB exporter": export_glb, "Blender's FBX exporter": export_fbx}


def milliseconds(export, folder):
    start = time.perf_counter()
    export(folder)
    return (time.perf_counter() - start) * 1000


def main(output, smoke):
    repetitions = 1 if smoke else REPETITIONS
    with tempfile.TemporaryDirectory() as name, open(output, "w", encoding="utf-8") as rows:
        folder = Path(name)
        for job, build in SCENES.items():
            bpy.ops.wm.read_factory_settings(use_empty=True)
            triangles = build(folder, smoke)
            for exporter, export in EXPORTERS.items():
                times = [milliseconds(export, folder) for _ in range(repetitions)]
                took = statistics.median(times)
                rows.write(f"{job}\t{triangles}\ttriangles\t{took:.4f}\t{exporter}\n")


if __name__ == "__main__":
    arguments = sys.argv[sys.argv.index("--") + 1 :] if "--" in sys.argv else []
    if len(arguments) not in (1, 2) or arguments[1:] not in ([], ["--smoke"]):
        sys.exit("usage: blender ... -P blender_exporters.py -- OUTPUT [--smoke]")
    main(arguments[0], arguments[1:] == ["--smoke"])
