"""Blender's meshes as arrays. What Blender changed since 3.4 is guarded here."""

import numpy as np

from .triangles import Corners, finite, normals_by_face, split_by_material


def values(collection, name, shape, kind):
    """A property of all items at once. With Blender's own type of number it is one copy of memory."""
    array = np.empty(shape, kind)
    collection.foreach_get(name, array.reshape(-1))
    return array


def _vectors(collection, name="vector", width=3):
    return values(collection, name, (len(collection), width), np.float32)


def _material_slots(mesh, corners):
    """The material slot of each triangle, or None when all have the first."""
    attribute = mesh.attributes.get("material_index")
    if attribute is None:
        return None
    if attribute.domain == "FACE" and attribute.data_type == "INT":
        slots = values(attribute.data, "value", len(mesh.polygons), np.int32)
    else:
        slots = values(mesh.polygons, "material_index", len(mesh.polygons), np.int32)
    return corners.of_faces(slots)


def _uvs(mesh, corners):
    layers = mesh.uv_layers
    layer = next((layer for layer in layers if layer.active_render), None) or layers.active
    if layer is None:
        return None
    # "uv" of a layer came with 3.5, and "data" became its slower twin.
    if hasattr(layer, "uv"):
        return corners.of_corners(finite(_vectors(layer.uv, "vector", 2)))
    return corners.of_corners(finite(_vectors(layer.data, "uv", 2)))


def _normals(mesh, corners, point_of_corner):
    def of_points():
        return corners.of_points(_vectors(mesh.vertex_normals), point_of_corner)

    def of_faces():
        return _vectors(mesh.polygon_normals)

    if hasattr(mesh, "normals_domain"):  # since 4.1
        if mesh.normals_domain == "POINT":
            return of_points()
        if mesh.normals_domain == "FACE":
            return np.repeat(corners.of_faces(of_faces()), 3, axis=0)
        return corners.of_corners(_vectors(mesh.corner_normals))
    if mesh.use_auto_smooth:
        mesh.calc_normals_split()
        normals = _vectors(mesh.loops, "normal")
        mesh.free_normals_split()
        return corners.of_corners(normals)
    is_smooth = values(mesh.polygons, "use_smooth", len(mesh.polygons), bool)
    return normals_by_face(corners, is_smooth, of_faces, of_points)


def read_mesh(mesh, materials):
    """The parts of a mesh. `materials` has an id for each material slot, at least one."""
    mesh.calc_loop_triangles()
    triangles = mesh.loop_triangles
    count = len(triangles)
    if count == 0:
        return []
    corners = Corners(
        values(triangles, "loops", (count, 3), np.uint32),
        None
        if count == len(mesh.polygons)
        else values(triangles, "polygon_index", count, np.uint32),
        len(mesh.loops),
    )
    point_of_corner = values(mesh.loops, "vertex_index", len(mesh.loops), np.uint32)
    points = finite(_vectors(mesh.vertices, "co"))
    return split_by_material(
        _material_slots(mesh, corners) if len(materials) > 1 else None,
        materials,
        corners.of_points(points, point_of_corner),
        finite(_normals(mesh, corners, point_of_corner)),
        _uvs(mesh, corners),
    )
