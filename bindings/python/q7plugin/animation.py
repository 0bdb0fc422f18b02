"""Points of animation curves."""

from __future__ import annotations

import ctypes
from typing import Any, NamedTuple, Sequence, Tuple, Union

from ._arrays import FLOAT64, Array, Buffer
from ._exports import Q7AnimProperty
from ._numbers import real


class AnimProperty(NamedTuple):
    """One point of an animation curve: its value, and the time and value of its two tangents.

    The library passes points on unread: in which unit times are, and whether tangents are absolute,
    is a matter between the host and the renderer.
    """

    v: float
    """value of the point"""
    lt: float = 0.0
    """time of the left tangent"""
    lv: float = 0.0
    """value of the left tangent"""
    rt: float = 0.0
    """time of the right tangent"""
    rv: float = 0.0
    """value of the right tangent"""


AnyPoint = Union[AnimProperty, Tuple[float, float, float, float, float]]
AnyPoints = Union[Buffer, Sequence[AnyPoint]]


def point(value: Any, what: str) -> Q7AnimProperty:
    try:
        numbers = tuple(value)
    except TypeError:
        raise TypeError(f"{what}: AnimProperty is wanted, not {type(value).__name__}") from None
    if len(numbers) != 5:
        raise ValueError(f"{what}: a point has 5 numbers (v, lt, lv, rt, rv), not {len(numbers)}")
    return Q7AnimProperty(*(real(number, what) for number in numbers))


def points(values: Any, what: str) -> Tuple[Any, int, int]:
    """What holds the points, their address, and their number."""
    try:
        memoryview(values)
    except TypeError:
        copies = [point(value, what) for value in values]
        block = (Q7AnimProperty * len(copies))(*copies)
        return block, ctypes.addressof(block), len(copies)
    array = Array(values, what, FLOAT64)
    shape = array.shape
    if len(shape) != 2 or shape[1] != 5:
        raise ValueError(f"{what}: shape (n, 5) is wanted, not {shape}")
    return array, array.address, shape[0]
