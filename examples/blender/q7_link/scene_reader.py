"""The evaluated scene as records. Geometry is read only when it is asked for."""

import os
from collections import deque
from functools import partial

import bpy
import numpy as np
from mathutils import Matrix

from .identity import identity
from .mesh_reader import read_mesh
from .names import clean, distinct
from .records import NO_MATERIAL, Placement, Scene, Source
from .triangles import mirrored
from .view_reader import CameraPaths, is_light, read_camera, read_light
from .visibility import Rendered

_UNUSED = 2**31 - 1  # in the place of a persistent id's further numbers
_PARENTS_THAT_DEFORM = {"ARMATURE", "LATTICE", "CURVE"}

_MIRROR = Matrix.Diagonal((-1, 1, 1, 1))
Y_UP = Matrix(((1, 0, 0, 0), (0, 0, 1, 0), (0, -1, 0, 0), (0, 0, 0, 1)))


def root_matrix(axes, scale):
    """What stands above the whole scene. Blender's axes are right-handed with Z up, and stay so."""
    root = Y_UP if axes == "Y" else Matrix.Identity(4)
    return Matrix.Scale(scale, 4) @ root


def _slots(thing):
    """The ids of an evaluated object's materials, one for each slot and at least one."""
    ids = [_id_of(slot.material) for slot in thing.material_slots]
    return tuple(ids) or (NO_MATERIAL,)


def _mesh_materials(mesh, slots):
    """Modifiers may give a mesh more materials than its object has slots."""
    if len(mesh.materials) <= len(slots):
        return slots
    return tuple(
        slots[i] if i < len(slots) and slots[i] != NO_MATERIAL else _id_of(material)
        for i, material in enumerate(mesh.materials)
    )


def _id_of(material):
    return NO_MATERIAL if material is None else identity(material.original)


class SceneReader:
    """Reads the scene of a view layer again and again, for a live link or once."""

    def __init__(self, axes="Z", scale=1.0, selected=False):
        self.root = root_matrix(axes, scale)
        self.scale = scale
        self.selected = selected
        self.camera_paths = CameraPaths()
        self.read_names = deque(maxlen=1000)  # of the objects whose geometry was read last

    def read(self, context, known=()):
        """The scene as it is now.

        known: the keys of geometries that are held already. Geometry that Blender made of something else,
            and which may not outlive this call, is read at once unless its key is among them.
        """
        depsgraph = context.evaluated_depsgraph_get()
        rendered = Rendered(context.view_layer)
        reading = _Reading(self, depsgraph, known, rendered)
        for instance in depsgraph.object_instances:
            reading.add(instance)
        scene = reading.finish(context.scene.camera)
        if not self.selected:
            scene.left_out = rendered.hidden_in_viewport(context.view_layer)
        scene.transforms = self._transforms(reading.matrices)
        self._read_cameras(reading.cameras, context.scene, scene)
        return scene

    def _transforms(self, matrices):
        if not matrices:
            return np.empty((0, 4, 4), np.float32)
        columns = np.array(matrices, np.float64)
        rooted = np.array(self.root, np.float64) @ columns
        rooted[~np.isfinite(rooted).all(axis=(1, 2))] = np.eye(4)
        return np.ascontiguousarray(rooted.transpose(0, 2, 1), np.float32)

    def _read_cameras(self, cameras, scene, records):
        """The scene's own camera is the first."""
        cameras.sort(key=lambda c: (c[0].original != scene.camera, c[0].original.name_full))
        for thing, matrix in cameras:
            placed = self.root @ matrix
            camera = read_camera(thing, thing.data, placed, self.scale, scene.render)
            records.cameras.append(camera)
        originals = [thing.original for thing, _ in cameras]
        records.camera_paths = self.camera_paths.read(originals, scene, self.root)

    def parts_of_mesh(self, mesh, materials, name, is_mirrored):
        self.read_names.append(name)
        parts = read_mesh(mesh, _mesh_materials(mesh, materials))
        return [mirrored(part) for part in parts] if is_mirrored else parts

    def parts_of_object(self, thing, materials, depsgraph, is_mirrored):
        """thing: as in the file"""
        evaluated = thing.evaluated_get(depsgraph)
        if _has_mesh_at_hand(thing):
            return self.parts_of_mesh(evaluated.data, materials, thing.name, is_mirrored)
        mesh = evaluated.to_mesh()
        try:
            return self.parts_of_mesh(mesh, materials, thing.name, is_mirrored)
        finally:
            evaluated.to_mesh_clear()


def _has_mesh_at_hand(thing):
    """Whether its evaluated data is a whole mesh: in edit mode, and with subdivision on the graphics
    card, it is not, and to_mesh makes one."""
    return thing.mode != "EDIT" and len(thing.modifiers) == 0


def _shows_itself(thing):
    return not thing.is_instancer or thing.show_instancer_for_render


def _shares_data(thing):
    """Whether nothing but its data makes its geometry."""
    return (
        len(thing.modifiers) == 0
        and thing.data.shape_keys is None
        and (thing.parent is None or thing.parent_type not in _PARENTS_THAT_DEFORM)
    )


class _Reading:
    """One walk through the scene. What Blender hands out on it is valid for one step alone."""

    def __init__(self, reader, depsgraph, known, rendered):
        self.reader = reader
        self.depsgraph = depsgraph
        self.known = known
        self.rendered = rendered
        self.scene = Scene()
        self.matrices = []
        self.cameras = []
        self._paths = {}
        self._keys = {}
        self._placed = []  # id and key of each placement
        self._wanted = {}  # the path of each id
        self._first = {}  # the least id of each key
        # Of each instance, by the object that makes it and its numbers: original, path, whether it is rendered.
        self._carriers = {}

    def finish(self, active):
        """The placements, with paths and names that depend on what there is alone.

        active: the scene's camera, as in the file. Blender renders with it even when it is hidden.
        """
        if active is not None and all(thing.original != active for thing, _ in self.cameras):
            camera = active.evaluated_get(self.depsgraph)
            if camera.type == "CAMERA":
                self.cameras.append((camera, camera.matrix_world.copy()))
        paths = distinct(self._wanted, "/", "/")
        self.scene.placements = [Placement(id, key, paths[id]) for id, key in self._placed]
        names = distinct({id: clean(id[0]) for id in self._first.values()}, "_", "@")
        for key, id in self._first.items():
            self.scene.sources[key] = self.scene.sources[key]._replace(name=names[id])
        return self.scene

    def add(self, instance):
        thing = instance.object
        id, path, is_made, is_rendered = self._identify(instance, thing.original)
        # Curves, texts and metaballs are followed by the mesh that was made of them.
        if thing.type == "MESH":
            if is_rendered and instance.show_self and self._is_wanted(instance):
                self._add_placement(instance, thing, id, path, is_made)
        elif thing.type == "CAMERA" and not instance.is_instance:
            self.cameras.append((thing, instance.matrix_world.copy()))
        elif is_rendered and is_light(thing):
            placed = self.reader.root @ instance.matrix_world
            name = path[1:] if instance.is_instance else clean(id[0])
            self.scene.lights.append(read_light(name, thing, thing.data, placed))

    def _is_wanted(self, instance):
        if not self.reader.selected:
            return True
        return (instance.parent if instance.is_instance else instance.object).original.select_get()

    def _identify(self, instance, original):
        """An id that is the same in another session too, the path that is wanted for it, whether its geometry
        was made anew of the original, and whether Blender renders it."""
        is_made = original.type != "MESH"
        if not instance.is_instance:
            is_rendered = self.rendered.has(original) and _shows_itself(original)
            return (original.name_full, "", ()), self._path(original), is_made, is_rendered
        parent = instance.parent.original
        numbers = tuple(number for number in instance.persistent_id if number != _UNUSED)
        carrier, above, is_rendered, told = self._carrier(parent, numbers)
        if carrier != original:
            name = _segment(original)
            if carrier.instance_type != "COLLECTION" or len(told) > 1:
                name += f" {_number(told)}"
            elif is_rendered:
                is_rendered = self.rendered.has_in(carrier.instance_collection, original)
            path = f"{above}/{name}"
        elif len(told) > 1:
            path = f"{above}/{_number(told)}"
        else:  # the mesh that was made of a curve
            path = above
        self._carriers[parent, numbers] = original, path, is_rendered
        id = (original.name_full, parent.name_full, numbers)
        return id, path, is_made or carrier == original, is_rendered

    def _carrier(self, parent, numbers):
        """The object that makes an instance, its path, whether Blender renders it, and which of the numbers are
        the instance's own.

        numbers: Blender's persistent id. The inner ones are the first; behind those of an instance are those of
            its carrier, which comes before it.
        """
        for own in range(1, len(numbers)):
            carrier = self._carriers.get((parent, numbers[own:]))
            if carrier is not None:
                return *carrier, numbers[:own]
        return parent, self._path(parent), self.rendered.has(parent), numbers

    def _add_placement(self, instance, thing, id, path, is_made):
        original = thing.original
        matrix = instance.matrix_world.copy()
        # Where the order of corners tells the front of a triangle, a mirroring turns objects inside out, and
        # the library turns normals with it when it merges meshes. So the geometry is mirrored instead.
        is_mirrored = matrix.is_negative
        key = (self._made if is_made else self._key)(thing, original, is_mirrored)
        if is_mirrored:
            matrix @= _MIRROR
        self._placed.append((id, key))
        self._wanted[id] = path
        self._first[key] = min(id, self._first.get(key, id))
        self.matrices.append(matrix)

    def _path(self, original):
        path = self._paths.get(original)
        if path is None:
            above = "" if original.parent is None else self._path(original.parent)
            path = self._paths[original] = f"{above}/{_segment(original)}"
        return path

    def _key(self, thing, original, is_mirrored):
        found = self._keys.get((original, is_mirrored))
        if found is not None:
            return found
        slots = _slots(thing)
        if _shares_data(original):
            data = identity(original.data)
            owners = {data}
            key = ("data", data, slots, is_mirrored)
        else:
            owners = {identity(original), identity(original.data)}
            key = ("object", identity(original), slots, is_mirrored)
        if key not in self.scene.sources:
            read = partial(
                self.reader.parts_of_object, original, slots, self.depsgraph, is_mirrored
            )
            self.scene.sources[key] = Source(frozenset(owners), read)
        self._keys[original, is_mirrored] = key
        return key

    def _made(self, thing, original, is_mirrored):
        """Geometry that Blender made of something else, and placed: by modifiers, or of a curve."""
        slots = _slots(thing)
        key = ("made", identity(original), thing.data.as_pointer(), slots, is_mirrored)
        if key not in self.scene.sources:
            owners = frozenset({identity(original), identity(original.data)})
            parts = []
            if key not in self.known:
                parts = self.reader.parts_of_mesh(thing.data, slots, original.name, is_mirrored)
            self.scene.sources[key] = Source(owners, lambda: parts)
        return key


def _number(numbers):
    return "#" + ".".join(map(str, reversed(numbers)))


def _segment(thing):
    return clean(thing.name_full).replace("/", "@")


def model_file():
    """The path by which the renderer knows the scene."""
    return bpy.data.filepath or os.path.join(bpy.app.tempdir, "untitled.blend")
