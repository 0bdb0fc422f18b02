"""What all methods of a session stand on."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional, Set

from . import _library
from ._exports import Functions
from .errors import SessionClosedError


class SessionBase:
    """A session's handle and the library's functions.

    A closed session has no handle: a method that asks for it ends up in `__getattr__`, so that a live
    one pays nothing for the test.
    """

    __slots__ = ("_raw", "_session", "_transform", "_node", "_nodes", "_open", "__weakref__")

    _raw: Functions
    _session: int
    _transform: Any  # the 64 bytes that the library knows by their address
    _node: Optional[object]  # the node whose `with` block runs
    _nodes: Set[bytes]  # what the library knows as nodes and cannot be asked for, as UTF-16
    _open: Optional[bytes]  # the one between begin_node and end_node

    def __init__(self) -> None:
        self._raw = _library.functions()
        self._transform = None
        self._node = None
        self._nodes = set()
        self._open = None
        self._session = self._raw.CreateSession()

    @property
    def closed(self) -> bool:
        """Whether the session was closed."""
        try:
            self._session
        except ValueError:
            return True
        return False

    if not TYPE_CHECKING:

        def __getattr__(self, name: str) -> Any:
            if name == "_session":
                raise SessionClosedError("the session is closed")
            raise AttributeError(f"{type(self).__name__!r} object has no attribute {name!r}")
