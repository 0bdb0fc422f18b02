"""The numbers that the interface knows."""

from __future__ import annotations

from enum import IntEnum


class CoordOrder(IntEnum):
    """Order of the axes in triples: the letters tell where each stored component comes from."""

    XYZ = 0
    """stored as given"""
    XZY = 1
    """(x, y, z) is stored as (x, z, y)"""
    YXZ = 2
    """(x, y, z) is stored as (y, x, z)"""
    YZX = 3
    """(x, y, z) is stored as (y, z, x)"""
    ZXY = 4
    """(x, y, z) is stored as (z, x, y)"""
    ZYX = 5
    """(x, y, z) is stored as (z, y, x)"""


class ConnectRet(IntEnum):
    """What a connect function gives."""

    ACCEPTED = 0
    """the renderer takes the model, or cannot be reached at all"""
    REFUSED_BY_REPLY_3 = 2
    """the renderer answered 3"""
    REFUSED_BY_REPLY_2 = 4
    """the renderer answered 2"""
    REFUSED_BY_REPLY_1 = 6
    """the renderer answered 1"""
    FAILED = 7
    """the renderer gave no answer, or another one"""


class LinkResult(IntEnum):
    """What linking to the renderer gives."""

    LINKED = 0
    NO_INSTALLATION = 1
    """no installation was found"""
    OLD_VERSION = 3
    """the installed version is not above 1.7.1"""
    TAKES_NO_LINK = 4
    """the renderer takes no link"""
    UPDATING = 5
    """its update runs"""
    REFUSED = 6
    """it refused the plug-in's file"""
    FAILED = 7
    """the link failed"""
    NO_PORT = 8
    """it has no port or cannot be connected to"""


class RenderStatus(IntEnum):
    """The renderer's status. Any other number is a renderer that is not ready."""

    NOT_AVAILABLE = 0
    WAITS_FOR_PLUGIN = 1
    TAKES_NO_LINK = 2
    LINKED = 4


class MaterialType(IntEnum):
    """Base materials of the renderer's catalogue, by their index in it."""

    BASE_9 = 0
    BASE_2 = 1
    BASE_5 = 2
    BASE_11 = 3
    BASE_6 = 4
    BASE_12 = 5
    BASE_13 = 6
    BASE_15 = 7
    BASE_17 = 8
    BASE_18 = 9


class EntityType(IntEnum):
    """Kinds of records that have properties."""

    CAMERA = 0
    """the session's camera; it has no name"""
    LIGHT = 1
    SCENE = 2
    METADATA = 3
    """the session's metadata; it has no name"""
    CAMERA_ANIMATION = 4
