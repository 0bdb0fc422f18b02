"""Q7Plugin: hand a scene to Q7 Render or to disk.

    import array
    import q7plugin

    corners = array.array("f", [0, 0, 0, 1, 0, 0, 0, 1, 0])
    with q7plugin.Session() as session:
        with session.node("Node", path="/Node") as node:
            node.add_triangles("Red", corners)
        session.save_raw_to_file("triangle.q7mesh")

`Session` has what belongs to a model, the functions here what belongs to the process, and
`q7plugin.raw` every export as it is. Importing loads nothing: the first use does, or `load`.
"""

from __future__ import annotations

from . import raw
from ._library import library_path, load
from ._link import Connection
from ._nodes import Node
from .animation import AnimProperty
from .enums import ConnectRet, CoordOrder, EntityType, LinkResult, MaterialType, RenderStatus
from .errors import (
    ArchiveError,
    ConnectError,
    LibraryNotFoundError,
    LinkError,
    NodeError,
    Q7Error,
    SendError,
    SessionClosedError,
    VersionError,
)
from .renderer import (
    get_cid,
    get_log_dir,
    get_plugin_version,
    get_render_status,
    get_render_version,
    render_window_size,
    set_dcc_plugin_info,
    set_render_path,
    start_link_render,
    take_render_flag,
)
from .session import Session

__version__ = "0.5.7.0"

__all__ = [
    "AnimProperty",
    "ArchiveError",
    "ConnectError",
    "ConnectRet",
    "Connection",
    "CoordOrder",
    "EntityType",
    "LibraryNotFoundError",
    "LinkError",
    "LinkResult",
    "MaterialType",
    "Node",
    "NodeError",
    "Q7Error",
    "RenderStatus",
    "SendError",
    "Session",
    "SessionClosedError",
    "VersionError",
    "get_cid",
    "get_log_dir",
    "get_plugin_version",
    "get_render_status",
    "get_render_version",
    "library_path",
    "load",
    "raw",
    "render_window_size",
    "set_dcc_plugin_info",
    "set_render_path",
    "start_link_render",
    "take_render_flag",
]
