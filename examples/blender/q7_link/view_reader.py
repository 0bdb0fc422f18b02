"""Cameras, lights and the ways of cameras, told as q7-send tells them."""

import math

import numpy as np
from mathutils import Euler, Matrix, Quaternion, Vector

from .names import clean
from .records import Camera, CameraPath, Light, Pose

_POINT, _DIRECTIONAL, _SPOT, _AREA = "Point", "Directional", "Spot", "Area"
_LIGHT_TYPES = {"POINT": _POINT, "SUN": _DIRECTIONAL, "SPOT": _SPOT, "AREA": _AREA}


def pose_of(matrix):
    """Cameras and lights look along their own -Z, and up is their own Y."""
    turn = matrix.to_3x3()
    direction = (turn @ Vector((0, 0, -1))).normalized()
    up = (turn @ Vector((0, 1, 0))).normalized()
    return Pose(tuple(matrix.translation), tuple(direction), tuple(up))


def _aspect(render):
    width = render.resolution_x * render.pixel_aspect_x
    height = render.resolution_y * render.pixel_aspect_y
    return width / height


def _width_by_sensor_side(camera, aspect):
    """How much wider the view is than the side that Blender's numbers are for."""
    if camera.sensor_fit == "VERTICAL" or (camera.sensor_fit == "AUTO" and aspect < 1):
        return aspect
    return 1.0


def read_camera(thing, camera, matrix, scale, render):
    aspect = _aspect(render)
    wider = _width_by_sensor_side(camera, aspect)
    is_orthographic = camera.type == "ORTHO"
    side = camera.sensor_height if camera.sensor_fit == "VERTICAL" else camera.sensor_width
    angle = 2 * math.atan(wider * side / (2 * camera.lens))
    return Camera(
        name=clean(thing.name_full),
        pose=pose_of(matrix),
        field_of_view=0.0 if is_orthographic else math.degrees(angle),
        aspect_ratio=aspect,
        near_plane=scale * camera.clip_start,
        far_plane=scale * camera.clip_end,
        orthographic_width=scale * wider * camera.ortho_scale if is_orthographic else 0.0,
    )


def read_light(name, thing, light, matrix):
    color = [light.energy * part for part in light.color]
    intensity = max(color)
    kind = _LIGHT_TYPES[light.type]
    record = Light(
        name=name,
        type=kind,
        pose=pose_of(matrix),
        color=tuple(part / intensity for part in color) if intensity > 0 else tuple(color),
        intensity=intensity,
        attenuation=(1, 0, 0) if kind == _DIRECTIONAL else (0, 0, 1),
        group=clean(thing.parent.original.name_full) if thing.parent is not None else None,
    )
    if kind == _SPOT:
        record.outer_angle = math.degrees(light.spot_size)
        record.inner_angle = record.outer_angle * (1 - light.spot_blend)
    if kind == _AREA:
        scale = matrix.to_scale()
        has_height = light.shape in ("RECTANGLE", "ELLIPSE")
        record.width = light.size * scale.x
        record.height = (light.size_y if has_height else light.size) * scale.y
    return record


_CHANNELS = ("location", "rotation_euler", "rotation_quaternion", "rotation_axis_angle", "scale")


def _action(thing):
    data = thing.animation_data
    return data.action if data is not None else None


def _curves(thing, action):
    """The curves of an action that move this object. Actions have slots since 4.4."""
    slot = getattr(thing.animation_data, "action_slot", None)
    if slot is None:
        return list(action.fcurves) if hasattr(action, "fcurves") else []
    found = []
    for layer in action.layers:
        for strip in layer.strips:
            bag = strip.channelbag(slot) if strip.type == "KEYFRAME" else None
            if bag is not None:
                found.extend(bag.fcurves)
    return found


def _chain(thing):
    while thing is not None:
        yield thing
        thing = thing.parent


def _is_animated(thing):
    data = thing.animation_data
    return data is not None and (
        data.action is not None
        or len(data.drivers) > 0
        or any(not track.mute for track in data.nla_tracks)
    )


def _moves(thing):
    return any(_is_animated(link) or len(link.constraints) > 0 for link in _chain(thing))


def _moves_by_curves_alone(thing):
    """Whether its curves tell all, so that the scene need not be set to each frame."""
    data = thing.animation_data
    if data is None or data.action is None or len(thing.constraints) > 0:
        return False
    if len(data.drivers) > 0 or any(not track.mute for track in data.nla_tracks):
        return False
    if thing.parent is not None and (thing.parent_type != "OBJECT" or _moves(thing.parent)):
        return False
    used = [curve for curve in _curves(thing, data.action) if not curve.mute]
    return bool(used) and all(not curve.data_path.startswith("delta_") for curve in used)


def _curve_frames(curves):
    """The first and the last frame of the keys."""
    bounds = [curve.range() for curve in curves if len(curve.keyframe_points) > 0]
    if not bounds:
        return None
    return min(first for first, _ in bounds), max(last for _, last in bounds)


class _Channels:
    """The place of an object in its parent at any frame, from its curves."""

    def __init__(self, thing, curves):
        self.mode = thing.rotation_mode
        self.values = {name: list(getattr(thing, name)) for name in _CHANNELS}
        self.curves = [curve for curve in curves if curve.data_path in _CHANNELS and not curve.mute]
        delta = Matrix.LocRotScale(
            thing.delta_location, thing.delta_rotation_euler, thing.delta_scale
        )
        self.has_delta = delta != Matrix.Identity(4)

    def matrix_at(self, frame):
        for curve in self.curves:
            self.values[curve.data_path][curve.array_index] = curve.evaluate(frame)
        return Matrix.LocRotScale(
            Vector(self.values["location"]), self._rotation(), Vector(self.values["scale"])
        )

    def _rotation(self):
        if self.mode == "QUATERNION":
            return Quaternion(self.values["rotation_quaternion"]).normalized()
        if self.mode == "AXIS_ANGLE":
            angle, *axis = self.values["rotation_axis_angle"]
            return Quaternion(axis, angle)
        return Euler(self.values["rotation_euler"], self.mode)


def _frames(scene, bounds):
    first = max(scene.frame_start, math.floor(bounds[0]))
    last = min(scene.frame_end, math.ceil(bounds[1]))
    return range(first, last + 1)


def _matrices_from_curves(thing, scene):
    curves = _curves(thing, thing.animation_data.action)
    channels = _Channels(thing, curves)
    bounds = _curve_frames(channels.curves)
    if bounds is None or channels.has_delta:
        return None
    above = Matrix.Identity(4)
    if thing.parent is not None:
        above = thing.parent.matrix_world @ thing.matrix_parent_inverse
    return {frame: above @ channels.matrix_at(frame) for frame in _frames(scene, bounds)}


def _matrices_from_scene(things, scene):
    """Sets the scene to each of its frames: right for whatever moves a camera, and slow."""
    frame, subframe = scene.frame_current, scene.frame_subframe
    matrices = {thing: {} for thing in things}
    try:
        for number in range(scene.frame_start, scene.frame_end + 1):
            scene.frame_set(number)
            for thing in things:
                matrices[thing][number] = thing.matrix_world.copy()
    finally:
        scene.frame_set(frame, subframe=subframe)
    return matrices


def _path(name, thing, matrices, scene, root):
    per_second = scene.render.fps / scene.render.fps_base
    times = np.array([(frame - scene.frame_start) / per_second for frame in matrices])
    poses = [pose_of(root @ matrix) for matrix in matrices.values()]
    arrays = np.array([(pose.position, pose.direction, pose.up) for pose in poses])
    return CameraPath(name, clean(thing.name_full), times, arrays)


class CameraPaths:
    """The ways of a scene's cameras. Those that only the whole scene tells are kept till told otherwise."""

    def __init__(self):
        self._slow = {}

    def forget(self):
        self._slow = {}

    def read(self, things, scene, root):
        """things: the camera objects, as in the file"""
        moving = [thing for thing in things if _moves(thing)]
        matrices, slow = {}, []
        for thing in moving:
            fast = _matrices_from_curves(thing, scene) if _moves_by_curves_alone(thing) else None
            if fast is None:
                slow.append(thing)
            else:
                matrices[thing] = fast
        key = tuple(thing.as_pointer() for thing in slow)
        if slow and key not in self._slow:
            self._slow = {key: _matrices_from_scene(slow, scene)}
        matrices.update(self._slow[key] if slow else {})
        return [
            _path(self._name(thing, len(things)), thing, matrices[thing], scene, root)
            for thing in moving
        ]

    @staticmethod
    def _name(thing, cameras):
        action = _action(thing)
        name = clean((action or thing).name_full)
        return name if cameras == 1 or action is None else f"{name} - {clean(thing.name_full)}"


def is_light(thing):
    return thing.type == "LIGHT" and thing.data.type in _LIGHT_TYPES
