"""Triangles of a mesh, and their way into one part for each material. Needs numpy, and no Blender."""

import numpy as np

from .records import Part


class Corners:
    """Which corners of a mesh's faces make its triangles.

    `index` is None when they are all the corners in their order, which is so for most meshes of
    triangles and spares three copies.
    """

    def __init__(self, index, face_of_triangle, corner_count):
        """face_of_triangle: None when each triangle is the face of its number"""
        flat = index.reshape(-1)
        self.index = None if len(flat) == corner_count and _is_running(flat) else flat
        self.face = face_of_triangle

    def of_corners(self, values):
        """Values that each corner of a face has, for each corner of a triangle."""
        return values if self.index is None else np.take(values, self.index, axis=0)

    def of_points(self, values, point_of_corner):
        points = self.of_corners(point_of_corner)
        return np.take(values, points, axis=0)

    def of_faces(self, values):
        """Values that each face has, for each triangle."""
        return values if self.face is None else np.take(values, self.face, axis=0)


def _is_running(numbers):
    """Whether they are 0, 1, 2 and so on."""
    return numbers[-1] == len(numbers) - 1 and bool((numbers == _running(len(numbers))).all())


_numbers = np.arange(3 * 1024, dtype=np.uint32)


def _running(count):
    # Small meshes come by the thousands.
    return _numbers[:count] if count <= len(_numbers) else np.arange(count, dtype=np.uint32)


def normals_by_face(corners, is_smooth, face_normals, point_normals):
    """Normals where each face is either flat or smooth. The last two are functions: either is costly."""
    if not is_smooth.any():
        return np.repeat(corners.of_faces(face_normals()), 3, axis=0)
    smooth = point_normals()
    if is_smooth.all():
        return smooth
    flat = np.repeat(corners.of_faces(face_normals()), 3, axis=0)
    mask = np.repeat(corners.of_faces(is_smooth), 3)
    return np.where(mask[:, None], smooth, flat)


def finite(values):
    """The array with zeroes in the place of what is no finite number."""
    if np.isfinite(values).all():
        return values
    return np.nan_to_num(values, nan=0.0, posinf=0.0, neginf=0.0)


def split_by_material(slot_of_triangle, materials, positions, normals, uvs):
    """One part for each material that triangles have, in the order of the slots.

    slot_of_triangle: a slot for each triangle, or None when all have the first
    materials: the material of each slot. Several slots may have one; a slot beyond counts as the last.
    """
    triangles = len(positions) // 3
    if triangles == 0:
        return []
    if slot_of_triangle is None or len(materials) == 1:
        return [Part(materials[0], positions, normals, uvs)]
    distinct = list(dict.fromkeys(materials))
    number = np.array([distinct.index(material) for material in materials], np.int32)
    of_triangle = number[np.clip(slot_of_triangle, 0, len(materials) - 1)]
    if (of_triangle[1:] < of_triangle[:-1]).any():
        order = np.argsort(of_triangle, kind="stable")
        of_triangle = of_triangle[order]
        positions, normals, uvs = (
            None if array is None else array.reshape(triangles, -1)[order]
            for array in (positions, normals, uvs)
        )
    bounds = np.searchsorted(of_triangle, np.arange(len(distinct) + 1))
    return [
        Part(
            material, *(_rows(array, start, end, triangles) for array in (positions, normals, uvs))
        )
        for material, start, end in zip(distinct, bounds[:-1], bounds[1:])
        if start < end
    ]


def _rows(array, start, end, triangles):
    if array is None:
        return None
    width = array.size // (3 * triangles)
    return array.reshape(triangles, 3 * width)[start:end].reshape(-1, width)


def mirrored(part):
    """The part mirrored in x, with the corners of each triangle in the other order: its front stays outside."""
    turned = part.positions.shape[0] // 3, 3, -1
    mirror = np.array((-1, 1, 1), np.float32)
    positions, normals, uvs = (
        None if array is None else array.reshape(turned)[:, ::-1].reshape(array.shape)
        for array in (part.positions, part.normals, part.uvs)
    )
    return Part(
        part.material, positions * mirror, None if normals is None else normals * mirror, uvs
    )
