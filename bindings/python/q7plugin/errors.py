"""What this package raises beside TypeError, ValueError and OSError.

The library itself reports next to nothing, and its C++ exceptions cannot pass through ctypes: they
would end the process. So what would throw is found out before the call.
"""

from __future__ import annotations

from .enums import ConnectRet, LinkResult


class Q7Error(Exception):
    """The base of the classes below."""


class LibraryNotFoundError(Q7Error, OSError):
    """No shared library could be loaded. The text names each place that was tried, and why it failed."""


class SessionClosedError(Q7Error, ValueError):
    """A method was called of a session that was closed."""


class NodeError(Q7Error, ValueError):
    """A node cannot be moved or renamed: it is unknown or open, or its new name is empty or in use.

    Nothing was changed.
    """


class VersionError(Q7Error, ValueError):
    """The version of the installed renderer is no version, so that the library cannot connect."""


class ConnectError(Q7Error, ConnectionError):
    """The renderer refused the model, or did not answer. `result` tells which."""

    def __init__(self, result: ConnectRet) -> None:
        super().__init__(f"the renderer did not accept the model: {result.name} ({result.value})")
        self.result = result


class SendError(Q7Error, ConnectionError):
    """A model may not have arrived, or only in part. Raised by connections that were opened with verify=True."""


class LinkError(Q7Error, ConnectionError):
    """No link to the renderer came about. `result` tells why."""

    def __init__(self, result: LinkResult) -> None:
        super().__init__(f"no link to the renderer: {result.name} ({result.value})")
        self.result = result


class ArchiveError(Q7Error, OSError):
    """An archive was not made, or not whole, and what was at its place before is there as it was.

    Where a step of the library failed, the library printed one line on standard error that names the step.
    """

    def __init__(self, path: str, reason: str = "") -> None:
        super().__init__(
            f"{path}: the archive was not made"
            + (f": {reason}" if reason else "; see standard error for the step that failed")
        )
        self.path = path
