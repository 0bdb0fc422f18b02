"""The exports as they are: `raw.Q7EndNode(session.handle)`.

Every name of the header is here. The members of Q7AnimProperty are Q7AnimProperty_construct,
Q7AnimProperty_copy and Q7AnimProperty_move; what they work on is the ctypes.Structure Q7AnimProperty.

A text argument takes str. A pointer takes an address, a ctypes array or ctypes.byref, or None for
null; of anything else, do not count on an error: a str would be taken for its memory. Nothing is
checked, nothing is kept alive, numbers that do not fit are cut off, and an exception of the library
ends the process.
"""

from __future__ import annotations

from typing import Any, List

from . import _library
from ._exports import EXPORTS, Q7AnimProperty, export_named

__all__ = ["Q7AnimProperty", *(export.name for export in EXPORTS)]


def __getattr__(name: str) -> Any:
    if export_named(name) is None:
        raise AttributeError(f"the library exports no function {name!r}")
    function = getattr(_library.functions(), name)
    globals()[name] = function
    return function


def __dir__() -> List[str]:
    return sorted(__all__)
