"""What belongs to the process and not to a session: the renderer, the environment, the library.

The link to the renderer is one for the process. A renderer that is not there, or goes away, shows in no
function but those that return something: what is sent then goes nowhere.
"""

from __future__ import annotations

import ctypes
import re
from typing import Callable, Optional, Tuple

from . import _library
from ._text import UNIT, Path, decode, encode, path_text
from .enums import LinkResult, RenderStatus
from .errors import LinkError, VersionError

_FIRST_ROOM = 512
_VERSION_WITH_PATHS = (2, 4)
_NUMBER = re.compile(r"[ \t\n\v\f\r]*([+-]?[0-9]+)")


def get_plugin_version() -> str:
    """The version of the library, such as "0.5.7.0"."""
    version: bytes = _library.functions().Q7GetPluginVersion()
    return version.decode("ascii")


def set_dcc_plugin_info(info: str) -> None:
    """Sets the text by which the host's plug-in names itself in the stream's header.

    It replaces the text of the whole process, which starts empty.
    """
    _library.functions().Q7SetDccPluginInfo(encode(info, "info"))


def set_render_path(path: Path) -> bool:
    """Tells the library where the renderer is installed. Returns whether a folder is known afterwards.

    path: the folder; kept when launcher, viewer and engine can be read in it. Otherwise the registered
        installation takes its place, if there is one.
    """
    return bool(_library.functions().SetQ7RenderPath(encode(path_text(path, "path"), "path")))


def start_link_render(plugin_file: Path) -> None:
    """Links to the renderer: starts it when it does not run, waits until it is ready, and hands a file over.

    plugin_file: the plug-in's file; also the launcher's parameter, unquoted, so that a path with blanks
        reaches the launcher as several arguments

    The version is that of the registered installation, also where set_render_path named another one,
    and it is compared with 1.7.1 as a text: 1.10.0 is refused.

    Blocks its caller for as long as the renderer needs to start, without a limit and without regard to
    Ctrl+C, and prints the renderer's status on standard output at each of its polls, 0.3 seconds apart.
    Other threads of Python run meanwhile.
    Raises LinkError, whose `result` is a LinkResult, when no link came about.
    """
    file = encode(path_text(plugin_file, "plugin_file"), "plugin_file")
    result = LinkResult(_library.functions().StartLinkQ7Render(file))
    if result != LinkResult.LINKED:
        raise LinkError(result)


def _status(number: int) -> int:
    try:
        return RenderStatus(number)
    except ValueError:
        return number


def get_render_status() -> int:
    """The renderer's status as it is now: a RenderStatus, or another number while it is not ready."""
    return _status(_library.functions().GetQ7RenderStatus(None))


def take_render_flag() -> Tuple[int, int]:
    """The renderer's status, and the low byte of its flag, which is then cleared.

    So the flag is shown once, and a start_link_render that runs meanwhile may miss it. Without a
    renderer it is the last value.
    """
    flag = ctypes.c_uint8()
    status = _status(_library.functions().GetQ7RenderStatus(ctypes.byref(flag)))
    return status, flag.value


def _text_of(function: Callable[..., int]) -> str:
    """The text that a function stores in a buffer of the size that it is told, in characters."""
    room = _FIRST_ROOM
    while True:
        # One more than is told: one of these functions wants it.
        buffer = (ctypes.c_uint16 * (room + 1))()
        needed = function(buffer, room)
        if needed <= room:
            return decode(bytes(buffer)[: (needed - 1) * UNIT])
        room = needed


def get_render_version() -> str:
    """The version of the registered installation, read anew at each call; empty without one."""
    return _text_of(_library.functions().Q7GetRenderVersion)


def get_log_dir() -> str:
    """The folder of the rendering application's logs, with a separator behind it.

    The folder is made when it is missing, also when the application was never installed; where it
    cannot be made, the path is empty.
    """
    return _text_of(_library.functions().Q7GetLogDir)


def get_cid() -> str:
    """The id by which the rendering application knows this user, usually 32 hexadecimal digits.

    It is kept in a file, which is made when there is none; where it cannot be written, each process
    gets another id. It stays the same until the process ends, and any thread may ask for it.
    """
    function = _library.functions().Q7GetCid
    size: int = function(None, 0)
    buffer = ctypes.create_string_buffer(size)
    function(buffer, size)
    return buffer.value.decode("utf-8", "surrogateescape")


def render_window_size() -> Optional[Tuple[int, int]]:
    """Width and height of the renderer's viewport in pixels, as its window is on the screen now.

    None when there is no such window, in the first call after it was closed, and always on systems
    other than Windows. For one thread at a time.
    """
    size: int = _library.functions().Q7RenderWindowSize()
    return (size >> 16, size & 0xFFFF) if size else None


def version_fault(version: str) -> Optional[str]:
    """Why the library cannot read a version when it asks whether it is at least 2.4; None if it can."""
    parts = version.split(".")
    # It looks at no more parts than the text has characters.
    for part, wanted in zip(parts[: len(version)], _VERSION_WITH_PATHS):
        number = _NUMBER.match(part)
        if number is None:
            return f"{part!r} is no number"
        if not -(2**31) <= int(number[1]) < 2**31:
            return f"{part!r} is too large"
        if int(number[1]) != wanted:
            return None
    return None


def check_version() -> None:
    """Raises VersionError where the library would throw, which would end the process."""
    version = get_render_version()
    fault = version_fault(version)
    if fault is not None:
        raise VersionError(f"the version of the installed renderer is {version!r}: {fault}")
