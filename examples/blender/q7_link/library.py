"""The Python package of the library: where it is, and what its errors mean to an artist."""

import importlib
import os
import sys

# Beside the add-on's own files in an installed add-on, and in a copy of the project's sources.
_HERE = os.path.dirname(os.path.abspath(__file__))
_PLACES = (
    os.path.join(_HERE, "bundled"),
    os.path.normpath(os.path.join(_HERE, "..", "..", "..", "bindings", "python")),
)


class LinkFault(Exception):
    """Something that the artist is told as it stands."""


def package():
    """The module q7plugin. Raises LinkFault when it is nowhere."""
    if "q7plugin" in sys.modules:
        return sys.modules["q7plugin"]
    for place in _PLACES:
        if os.path.isdir(os.path.join(place, "q7plugin")) and place not in sys.path:
            sys.path.append(place)
    try:
        return importlib.import_module("q7plugin")
    except ImportError as error:
        raise LinkFault(
            "The Python package q7plugin was not found: install the add-on from the zip file that "
            "package.py makes"
        ) from error


def load(path=""):
    """The package with its library loaded. path: the library or its folder; empty to search for it."""
    q7plugin = package()
    try:
        q7plugin.load(path or None)
    except q7plugin.LibraryNotFoundError as error:
        raise LinkFault(f"{error}\nIts place can be set in the add-on's preferences.") from error
    except q7plugin.Q7Error as error:
        raise LinkFault(f"{error}; restart Blender to change it") from error
    return q7plugin


_LINK_FAULTS = {
    1: "Q7 Render does not run, and no installation of it was found",
    3: "The installed Q7 Render is too old: its version must be above 1.7.1",
    4: "Q7 Render takes no link",
    5: "Q7 Render is being updated",
    6: "Q7 Render refused the link",
    7: "The link to Q7 Render failed, in two attempts",
    8: "Q7 Render has no port, or cannot be connected to",
}
_CONNECT_FAULTS = {
    2: "Q7 Render refused the scene with its reply 3",
    4: "Q7 Render refused the scene with its reply 2",
    6: "Q7 Render refused the scene with its reply 1",
    7: "Q7 Render gave no answer to the connection, or an unknown one",
}


def text_of(error):
    """What to show of an exception."""
    if isinstance(error, LinkFault):
        return str(error)
    q7plugin = sys.modules.get("q7plugin")
    if q7plugin is not None:
        if isinstance(error, q7plugin.LinkError):
            return _LINK_FAULTS.get(int(error.result), str(error))
        if isinstance(error, q7plugin.ConnectError):
            return _CONNECT_FAULTS.get(int(error.result), str(error))
        if isinstance(error, q7plugin.Q7Error):
            return str(error)
    if isinstance(error, OSError):
        reason = error.strerror or str(error)
        return f"{error.filename}: {reason}" if error.filename else reason
    if isinstance(error, MemoryError):
        return "There is not enough memory"
    return f"{type(error).__name__}: {error}"
