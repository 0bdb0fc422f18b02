"""Finding and loading the shared library. There is one of it for the process."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
import threading
from typing import Any, Dict, List, Optional

from ._exports import Functions
from ._text import Path
from .errors import LibraryNotFoundError, Q7Error

ENVIRONMENT = "Q7PLUGIN_LIBRARY"
WINDOWS = sys.platform == "win32"

_package = os.path.dirname(os.path.abspath(__file__))
_lock = threading.Lock()
_functions: Optional[Functions] = None
_path = ""


def file_name(windows: bool = WINDOWS) -> str:
    return "Q7Plugin.dll" if windows else "libQ7Plugin.so"


def _file_at(path: str, windows: bool) -> str:
    """The file that a path means: itself, or the library in that folder."""
    return os.path.join(path, file_name(windows)) if os.path.isdir(path) else path


def candidates(
    path: Optional[Path], environment: Optional[str], package: str, windows: bool = WINDOWS
) -> List[str]:
    """Where to look, in this order. A path that was named is the only one."""
    if path is not None:
        return [os.path.abspath(_file_at(os.fspath(path), windows))]
    if environment:
        return [os.path.abspath(_file_at(environment, windows))]
    name = file_name(windows)
    beside = [os.path.join(package, name), os.path.join(os.path.dirname(package), name)]
    # Windows' loader does not look into PATH for Python.
    return beside + [(ctypes.util.find_library("Q7Plugin") if windows else None) or name]


def _open(path: str) -> ctypes.CDLL:
    folder = os.path.dirname(path)
    if folder and not os.path.isfile(path):
        raise OSError("there is no such file")
    if sys.platform == "win32" and folder:
        # For the libraries that this one needs.
        with os.add_dll_directory(folder):
            return ctypes.CDLL(path)
    return ctypes.CDLL(path)


class _Exported(Dict[str, Any]):
    """The exports of a library by their symbols."""

    def __init__(self, library: ctypes.CDLL) -> None:
        super().__init__()
        self.library = library

    def __missing__(self, symbol: str) -> Any:
        try:
            return self.library[symbol]
        except AttributeError:
            raise OSError(f"it does not export {symbol}") from None


def _load(places: List[str]) -> None:
    global _functions, _path
    tried = []
    for place in places:
        try:
            _functions = Functions(_Exported(_open(place)), WINDOWS)
        except OSError as error:
            tried.append(f"  {place}: {error}")
        else:
            _path = place
            return
    raise LibraryNotFoundError(
        "the Q7Plugin library could not be loaded; tried:\n"
        + "\n".join(tried)
        + f"\nName it in the environment variable {ENVIRONMENT} or to q7plugin.load()."
    )


def load(path: Optional[Path] = None) -> str:
    """Loads the shared library, unless it is loaded already, and returns its path.

    path: the file, or the folder it is in. Without it, the environment variable Q7PLUGIN_LIBRARY names
        either; without that, the library is looked for in the package's folder, in the one above it,
        and then where the system looks.

    What is used first of the package loads it too, so that this need not be called.
    Raises LibraryNotFoundError when it cannot be loaded, and Q7Error when another one is loaded.
    """
    with _lock:
        places = candidates(path, os.environ.get(ENVIRONMENT), _package)
        if _functions is None:
            _load(places)
        elif path is not None and os.path.realpath(places[0]) != os.path.realpath(_path):
            raise Q7Error(f"{places[0]} cannot be loaded: {_path} is, and a process has one")
        return _path


def library_path() -> Optional[str]:
    """The path of the library, or None while it is not loaded."""
    return _path or None


def functions() -> Functions:
    if _functions is None:
        load()
    assert _functions is not None
    return _functions
