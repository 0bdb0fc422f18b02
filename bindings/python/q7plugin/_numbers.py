"""Numbers that must fit the library's: ctypes alone would cut them off without a word."""

from __future__ import annotations

import ctypes
import operator
from typing import Any, SupportsFloat, SupportsIndex, Union

Real = Union[SupportsFloat, SupportsIndex]

_INT32 = (-(2**31), 2**31 - 1)
_UINT32 = (0, 2**32 - 1)


def _whole(value: SupportsIndex, what: str, lowest: int, highest: int) -> int:
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{what}: int is wanted, not {type(value).__name__}") from None
    if not lowest <= number <= highest:
        raise ValueError(f"{what}: {number} is not within {lowest} to {highest}")
    return number


def int32(value: SupportsIndex, what: str) -> int:
    return _whole(value, what, *_INT32)


def uint32(value: SupportsIndex, what: str) -> int:
    return _whole(value, what, *_UINT32)


def real(value: Any, what: str) -> float:
    try:
        return ctypes.c_double(value).value
    except TypeError:
        raise TypeError(f"{what}: float is wanted, not {type(value).__name__}") from None
