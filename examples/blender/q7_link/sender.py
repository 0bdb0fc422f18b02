"""A scene's records into a session of the library, and again only what differs from the last time."""

import numpy as np

from .names import UniqueNames
from .records import NO_MATERIAL

_LARGEST_COUNT = 2**31 - 1


class _Geometry:
    """What the library holds of a geometry."""

    __slots__ = ("name", "materials", "triangles", "owners", "nodes", "users")

    def __init__(self, name, parts, owners):
        self.name = name  # of the node that it was begun as, from which its meshes have their names
        self.materials = {part.material for part in parts}
        self.triangles = sum(part.triangles() for part in parts)
        self.owners = owners
        self.nodes = {}  # of the library that have it, in order; a dict for its keys
        self.users = 0  # placements


class _Placed:
    __slots__ = ("node", "geometry", "matrix", "path")

    def __init__(self, node, geometry, matrix, path):
        self.node = node
        self.geometry = geometry
        self.matrix = matrix
        self.path = path


class Model:
    """A session, and what was put into it.

    Geometry is asked for when the session does not hold it: once for each key, and again only after
    `forget_geometry`. What moves is placed again by duplicating it, which touches no geometry.
    """

    def __init__(self, q7plugin, read_material):
        """read_material: gives the properties of a material, by its id"""
        self._q7 = q7plugin
        self._read_material = read_material
        self.session = q7plugin.Session()
        self.session.set_material_version(1)
        self._node_names = UniqueNames("_", "@")
        self._material_names = UniqueNames("/", "@")
        # What the library calls the material of a slot without one.
        self._material_names.claim("No Material", "")
        self._geometries = {}
        self._placed = {}
        self._materials = {}  # id: (source name, name in the library, properties)
        self._held_materials = set()  # all that the library has; it forgets none
        self._stale = set()
        self._leaving = []  # geometries, and nodes that are to be deleted
        self._serial = 0
        self.changed = False  # since the last send

    def close(self):
        self.session.close()

    @property
    def closed(self):
        return self.session.closed

    # -- what is there ---------------------------------------------------------------------------

    def known_geometries(self):
        return self._geometries.keys() - self._stale

    def node_count(self):
        return sum(1 for placed in self._placed.values() if placed.node is not None)

    def triangle_count(self):
        return sum(self._geometries[p.geometry].triangles for p in self._placed.values())

    def material_count(self):
        """How many are sent: with the one of slots without a material, and with those no longer used."""
        return len(self._held_materials)

    # -- what changed ----------------------------------------------------------------------------

    def forget_geometry(self, owners=None):
        """Geometry of these owners, or all, is asked for again."""
        for key, geometry in self._geometries.items():
            if owners is None or geometry.owners & owners:
                self._stale.add(key)

    def update_materials(self, names):
        """Reads all materials again. names: those of the materials that there are, by their ids."""
        for id, (source, name, before) in list(self._materials.items()):
            if names.get(id) == source:
                properties = self._read_material(id)
                if properties != before:
                    self._set_properties(name, before, properties)
                    self._materials[id] = (source, name, properties)
                    self.changed = True
                continue
            # Gone or renamed: the library knows a material by its name for good.
            del self._materials[id]
            self._material_names.release(name)
            for key, geometry in self._geometries.items():
                if id in geometry.materials:
                    self._stale.add(key)

    def update(self, scene, names):
        """Makes the session hold this scene. A generator, which yields how much is done, from 0 to 1.

        names: those of the materials, by their ids
        """
        wanted = {placement.id for placement in scene.placements}
        self._stale |= self._geometries.keys() - scene.sources.keys()
        for id in [id for id, placed in self._placed.items() if placed.geometry in self._stale]:
            self._remove(id)
        self._delete_leaving()
        self._forget_stale()
        for done, (placement, matrix) in enumerate(zip(scene.placements, scene.transforms)):
            self._update_placement(placement, matrix, scene.sources, names)
            yield (done + 1) / len(wanted)
        for id in [id for id in self._placed if id not in wanted]:
            self._remove(id)
        self._delete_leaving()

    def _forget_stale(self):
        """Their meshes leave the library at the next send, and what is begun by their names before then
        takes their places."""
        for key in self._stale:
            self._node_names.release(self._geometries.pop(key).name)
        self._stale = set()

    def _update_placement(self, placement, matrix, sources, names):
        before = self._placed.get(placement.id)
        bytes = matrix.tobytes()
        if before is not None and before.geometry == placement.geometry:
            if before.matrix != bytes or before.path != placement.path:
                self._move(before, matrix, placement.path)
            return
        if before is not None:
            self._remove(placement.id)
        geometry = self._geometries.get(placement.geometry)
        if geometry is None:
            node = self._begin(placement, matrix, sources[placement.geometry], names)
        else:
            node = self._repeat(geometry, matrix, placement.path)
        self._placed[placement.id] = _Placed(node, placement.geometry, bytes, placement.path)
        geometry = self._geometries[placement.geometry]
        geometry.users += 1
        if node is not None:
            geometry.nodes[node] = None
            self.changed = True

    def _begin(self, placement, matrix, source, names):
        parts = source.read()
        for part in parts:
            self._need_material(part.material, names)
            self._held_materials.add(self._material_name(part.material))
        name = self._node_names.claim(source.name, "Node")
        self._geometries[placement.geometry] = _Geometry(name, parts, source.owners)
        if not parts:
            return None
        hint = parts[0].triangles() if len(parts) == 1 else 0
        with self.session.node(name, matrix, placement.path, hint) as node:
            for part in parts:
                material = self._material_name(part.material)
                node.add_triangles(material, part.positions, part.normals, part.uvs)
        return name

    def _repeat(self, geometry, matrix, path):
        """A further placement. None when the geometry has no triangles."""
        existing = next(iter(geometry.nodes), None)
        if existing is None:
            return None
        node = self._fresh_name()
        self.session.duplicate_node(existing, node, matrix, path)
        return node

    def _move(self, placed, matrix, path):
        placed.matrix, placed.path = matrix.tobytes(), path
        if placed.node is None:
            return
        nodes = self._geometries[placed.geometry].nodes
        node = self._fresh_name()
        self.session.duplicate_node(placed.node, node, matrix, path)
        self.session.delete_node(placed.node)
        del nodes[placed.node]
        nodes[node] = None
        placed.node = node
        self.changed = True

    def _remove(self, id):
        placed = self._placed.pop(id)
        geometry = self._geometries[placed.geometry]
        geometry.users -= 1
        if placed.node is not None:
            self._leaving.append((geometry, placed.node))

    def _delete_leaving(self):
        """At the end of an update: till then duplicates may be made of them."""
        for geometry, node in self._leaving:
            self.session.delete_node(node)
            del geometry.nodes[node]
            self.changed = True
        self._leaving.clear()

    def _fresh_name(self):
        """Duplicates show their nodes' names nowhere; no object's cleaned name has this character."""
        self._serial += 1
        return f"\x1f{self._serial}"

    # -- materials -------------------------------------------------------------------------------

    def _material_name(self, id):
        return "" if id == NO_MATERIAL else self._materials[id][1]

    def _need_material(self, id, names):
        if id == NO_MATERIAL or id in self._materials:
            return
        name = self._material_names.claim(names[id], "Material")
        properties = self._read_material(id)
        self.session.add_material(name)
        # One of that name may have been there before, with properties.
        self.session.reset_material(name)
        self._set_properties(name, {}, properties)
        self._materials[id] = (names[id], name, properties)

    def _set_properties(self, name, before, properties):
        for property in before.keys() - properties.keys():
            self.session.remove_material_property(name, property)
        for property, value in properties.items():
            if before.get(property) != value:
                self.session.set_material_property(name, property, value)

    # -- records ---------------------------------------------------------------------------------

    def set_header(self, model_file, texture_folder, program):
        self._q7.set_dcc_plugin_info(program)
        self.session.set_model_file_path(model_file)
        self.session.set_texture_folder(texture_folder)

    def set_metadata(self, name, program, scene):
        session, type = self.session, self._q7.EntityType.METADATA
        counts = {
            "Nodes": self.node_count(),
            "Materials": self.material_count(),
            "Triangles": self.triangle_count(),
            "Cameras": len(scene.cameras),
            "Lights": len(scene.lights),
        }
        session.set_entity_property(type, None, "Name", name)
        session.set_entity_property(type, None, "Generator", program)
        for property, count in counts.items():
            session.set_entity_property(type, None, property, min(count, _LARGEST_COUNT))

    def set_cameras(self, cameras):
        """The first is the camera; each is a scene, since renderers know scenes as views with a name."""
        session, types = self.session, self._q7.EntityType
        session.reset_entity_property(types.CAMERA, None)
        if cameras:
            self._set_record(types.CAMERA, None, _camera_properties(cameras[0]))
        session.clear_scenes()
        names = UniqueNames("/", "/")
        for camera in cameras:
            name = names.claim(camera.name, "Scene")
            session.add_scene(name)
            self._set_record(types.SCENE, name, _camera_properties(camera))

    def set_lights(self, lights):
        session = self.session
        session.clear_lights()
        session.clear_path_element_names()
        names = UniqueNames("/", "/")
        for light in lights:
            name = names.claim(light.name, "Light")
            session.add_light(name)
            self._set_record(self._q7.EntityType.LIGHT, name, _light_properties(light))
            if light.group is not None:
                session.set_path_element_name(light.group, light.group)

    def _set_record(self, type, name, properties):
        for property, value in properties.items():
            self.session.set_entity_property(type, name, property, value)

    def set_camera_paths(self, paths):
        session = self.session
        session.clear_camera_anims()
        names = UniqueNames("/", "/")
        for path in paths:
            name = names.claim(path.name, "Animation")
            session.add_camera_anims(name)
            type = self._q7.EntityType.CAMERA_ANIMATION
            session.set_entity_property(type, name, "Camera", path.camera)
            for time, (position, direction, up) in zip(path.times, curve_points(path)):
                frame = session.add_anim_entity_frame(name, float(time))
                session.set_anim_array_property(name, "Position", frame, position)
                session.set_anim_array_property(name, "Direction", frame, direction)
                session.set_anim_array_property(name, "Up", frame, up)


def curve_points(path):
    """Points of curves, (frames, 3, 3, 5): for each frame the x, y and z of position, direction and up.

    They are straight between two frames: the handle on each side lies a third of the way to the
    neighbour.
    """
    count = len(path.times)
    left = np.maximum(np.arange(count) - 1, 0)
    right = np.minimum(np.arange(count) + 1, count - 1)
    points = np.empty((count, 3, 3, 5))
    values = points[..., 0] = path.poses
    points[..., 1] = (path.times + (path.times[left] - path.times) / 3)[:, None, None]
    points[..., 2] = values + (values[left] - values) / 3
    points[..., 3] = (path.times + (path.times[right] - path.times) / 3)[:, None, None]
    points[..., 4] = values + (values[right] - values) / 3
    return points


def _pose_properties(pose):
    return {"Position": pose.position, "Direction": pose.direction, "Up": pose.up}


def _camera_properties(camera):
    properties = {
        "Name": camera.name,
        **_pose_properties(camera.pose),
        "NearPlane": float(camera.near_plane),
        "FarPlane": float(camera.far_plane),
    }
    if camera.aspect_ratio > 0:
        properties["AspectRatio"] = float(camera.aspect_ratio)
    if camera.orthographic_width > 0:
        properties["OrthographicWidth"] = float(camera.orthographic_width)
    else:
        properties["FieldOfView"] = float(camera.field_of_view)
    return properties


def _light_properties(light):
    properties = {
        "Name": light.name,
        "Type": light.type,
        **_pose_properties(light.pose),
        "Color": light.color,
        "Intensity": float(light.intensity),
        "Attenuation": tuple(map(float, light.attenuation)),
    }
    if light.type == "Spot":
        properties["InnerAngle"] = float(light.inner_angle)
        properties["OuterAngle"] = float(light.outer_angle)
    if light.type == "Area":
        properties["Size"] = (float(light.width), float(light.height))
    if light.group is not None:
        properties["Group"] = light.group
    return properties
