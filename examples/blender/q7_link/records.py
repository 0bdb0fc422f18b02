"""A scene between Blender and the library: plain values and numpy arrays, nothing of Blender's own."""

from dataclasses import dataclass, field
from typing import Any, List, NamedTuple, Optional, Tuple

NO_MATERIAL = 0
"""In the place of a material's id: a slot without a material."""


class Part(NamedTuple):
    """The triangles of one material, as float32 arrays of rows: 3, 3 and 2 values a corner."""

    material: int
    positions: Any
    normals: Any
    uvs: Any

    def triangles(self):
        return len(self.positions) // 3


class Placement(NamedTuple):
    """One object or duplicate of a scene."""

    id: tuple  # stays the same for as long as the object does
    geometry: tuple  # the key of what stands there; equal keys share it
    path: str


class Source(NamedTuple):
    """Where a geometry comes from."""

    owners: frozenset  # ids of the data whose change changes it
    read: Any  # a function without arguments that gives its parts
    name: str = ""


@dataclass
class Pose:
    """Where something stands in the world and looks to. Both directions have the length 1."""

    position: Tuple[float, float, float]
    direction: Tuple[float, float, float]
    up: Tuple[float, float, float]


@dataclass
class Camera:
    name: str
    pose: Pose
    field_of_view: float  # from left to right, in degrees
    aspect_ratio: float  # width by height
    near_plane: float
    far_plane: float
    orthographic_width: float  # of the whole view; 0 when it shows perspective


@dataclass
class Light:
    name: str
    type: str  # Point, Directional, Spot or Area
    pose: Pose
    color: Tuple[float, float, float]  # its brightest part is 1
    intensity: float
    attenuation: Tuple[float, float, float]
    inner_angle: float = 0  # of a spot's cone, in degrees
    outer_angle: float = 0
    width: float = 0  # of an area
    height: float = 0
    group: Optional[str] = None  # the object above it


@dataclass
class CameraPath:
    """How a camera moves: times in seconds, and for each the place and the two directions."""

    name: str
    camera: str
    times: Any  # (n,) float64
    poses: Any  # (n, 3, 3) float64: position, direction, up

    def __eq__(self, other):
        return (
            (self.name, self.camera) == (other.name, other.camera)
            and self.times.tobytes() == other.times.tobytes()
            and self.poses.tobytes() == other.poses.tobytes()
        )


@dataclass
class Scene:
    placements: List[Placement] = field(default_factory=list)
    transforms: Any = None  # (n, 4, 4) float32, one for each placement; points are row vectors
    sources: dict = field(default_factory=dict)  # of each geometry's key
    cameras: List[Camera] = field(default_factory=list)
    lights: List[Light] = field(default_factory=list)
    camera_paths: List[CameraPath] = field(default_factory=list)
    left_out: List[str] = field(default_factory=list)  # names of objects that Blender would render
