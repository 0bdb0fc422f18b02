"""Text as the library takes it: zero-terminated UTF-16, in which any code unit but zero may stand.

The units are wchar_t on Windows and char16_t elsewhere; both are 2 bytes in the machine's order, so
that one encoding serves everywhere.
"""

from __future__ import annotations

import ctypes
import os
import sys
from typing import Any, Union

CODEC = "utf-16-le" if sys.byteorder == "little" else "utf-16-be"
UNIT = 2
_END = b"\0\0"

Path = Union[str, "os.PathLike[str]"]


def encode(text: str, what: str) -> bytes:
    """The text with its terminator. Unpaired surrogates stay what they are."""
    if not isinstance(text, str):
        raise TypeError(f"{what}: str is wanted, not {type(text).__name__}")
    if "\0" in text:
        raise ValueError(f"{what}: there is a zero character at index {text.index(chr(0))}")
    return text.encode(CODEC, "surrogatepass") + _END


def decode(units: bytes) -> str:
    """What a buffer holds up to its terminator."""
    text = units.decode(CODEC, "surrogatepass")
    return text[: text.find("\0")] if "\0" in text else text


def path_text(path: Path, what: str) -> str:
    """A path that the library and Python take for the same file."""
    text = os.fspath(path)
    if not isinstance(text, str):
        raise TypeError(f"{what}: a path as str is wanted, not {type(text).__name__}")
    if os.name != "nt" and any("\ud800" <= character <= "\udfff" for character in text):
        raise ValueError(
            f"{what}: {text!r} is no Unicode text, so the library cannot name that file"
        )
    return text


class Text(ctypes.c_void_p):
    """The type of a text argument of a raw function: str, or bytes that `encode` made."""

    @classmethod
    def from_param(cls, value: Any) -> Any:
        if type(value) is bytes:
            if value[-2:] != _END or len(value) % UNIT:
                raise ValueError("bytes given as text must be UTF-16 with a terminator")
            return value
        if isinstance(value, str):
            return encode(value, "text")
        raise TypeError(f"str is wanted, not {type(value).__name__}")


class OptionalText(Text):
    """The same where the library allows a null pointer: None."""

    @classmethod
    def from_param(cls, value: Any) -> Any:
        return None if value is None else Text.from_param(value)
