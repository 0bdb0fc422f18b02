"""Arrays of the caller, checked and handed over by their address, without a copy.

Anything with a buffer will do: numpy arrays, array.array, ctypes arrays, bytes, memoryview; whether
it can be written to plays no part. A check that fails raises before the library is called: TypeError
for something without a buffer or of another kind of number, ValueError for another shape, size or
layout.
"""

from __future__ import annotations

import ctypes
import sys
from typing import TYPE_CHECKING, Any, Dict, FrozenSet, List, Optional, Sequence, Tuple, Union

from ._numbers import real

if TYPE_CHECKING:
    from typing import Protocol

    from _typeshed import ReadableBuffer

    class _ArrayInterface(Protocol):
        @property
        def __array_interface__(self) -> Dict[str, Any]:
            ...

    Buffer = Union[ReadableBuffer, _ArrayInterface]
else:
    Buffer = Any

Floats = Union[Buffer, Sequence[float], Sequence[Sequence[float]]]
"""Few floats: a buffer of float32, or numbers in any sequence, which are copied."""

_LARGEST_COUNT = 2**31 - 1
_NATIVE_ORDERS = "@=<" if sys.byteorder == "little" else "@=>!"
_NAMES = {
    "e": "float16",
    "f": "float32",
    "d": "float64",
    "g": "long double",
    "?": "bool",
    "O": "object",
}
_NAMES.update({"Zf": "complex64", "Zd": "complex128", "c": "char"})


class _Kind:
    """A kind of number: its name, its size, and the codes that stand for it in buffers."""

    __slots__ = ("name", "size", "formats")

    def __init__(self, name: str, size: int, codes: str) -> None:
        self.name = name
        self.size = size
        formats = [order + code for code in codes for order in ("", *_NATIVE_ORDERS)]
        self.formats: FrozenSet[str] = frozenset(formats)


# "l" and "L" are the 32-bit ones on Windows; their size tells.
FLOAT32 = _Kind("float32", 4, "f")
FLOAT64 = _Kind("float64", 8, "d")
INT32 = _Kind("int32", 4, "iIlL")
BYTE = _Kind("uint8", 1, "Bbc")


def _name_of(view: memoryview) -> str:
    code = view.format.lstrip("@=<>!")
    if code in _NAMES:
        name = _NAMES[code]
    elif len(code) == 1 and code in "bhilqn":
        name = f"int{8 * view.itemsize}"
    elif len(code) == 1 and code in "BHILQN":
        name = f"uint{8 * view.itemsize}"
    else:
        return f"the format {view.format!r}"
    swapped = view.format[0] in "<>!" and view.format[0] not in _NATIVE_ORDERS
    return f"{name} of the other byte order ({view.format!r})" if swapped else name


class _PyBuffer(ctypes.Structure):
    """Py_buffer, as the stable ABI has it."""

    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_void_p),
        ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p),
        ("suboffsets", ctypes.c_void_p),
        ("internal", ctypes.c_void_p),
    ]


# Functions of their own: those of ctypes.pythonapi are shared with all other users of ctypes.
_get_buffer = ctypes.PYFUNCTYPE(
    ctypes.c_int, ctypes.py_object, ctypes.POINTER(_PyBuffer), ctypes.c_int
)(("PyObject_GetBuffer", ctypes.pythonapi))
_release_buffer = ctypes.PYFUNCTYPE(None, ctypes.POINTER(_PyBuffer))(
    ("PyBuffer_Release", ctypes.pythonapi)
)


def _address_of(view: memoryview) -> int:
    """Where the view's memory is. The view keeps it there."""
    buffer = _PyBuffer()
    _get_buffer(view, buffer, 0)
    address: Optional[int] = buffer.buf
    _release_buffer(buffer)
    return address or 0


def _checked(view: memoryview, what: str, kind: _Kind) -> memoryview:
    if view.format not in kind.formats or view.itemsize != kind.size:
        raise TypeError(f"{what}: {kind.name} is wanted, not {_name_of(view)}")
    if not view.c_contiguous:
        raise ValueError(
            f"{what}: the array is not C-contiguous (shape {view.shape}, strides {view.strides}); "
            "numpy.ascontiguousarray makes one that is"
        )
    return view


class Array:
    """Memory of the caller, which stays where it is for as long as this object lives."""

    __slots__ = ("view", "shape", "address", "count")

    def __init__(self, value: Any, what: str, kind: _Kind) -> None:
        try:
            view = memoryview(value)
        except (TypeError, ValueError, BufferError) as error:
            raise TypeError(
                f"{what}: an array of {kind.name} with a buffer is wanted (numpy.ndarray, "
                f"array.array), not {type(value).__name__} ({error})"
            ) from None
        self.view = _checked(view, what, kind)
        self.shape: Tuple[int, ...] = view.shape or ()
        self.address = _address_of(view)
        self.count = view.nbytes // kind.size
        if self.count and self.address % kind.size:
            raise ValueError(f"{what}: the array is not aligned to {kind.size} bytes")
        if self.count > _LARGEST_COUNT:
            raise ValueError(f"{what}: {self.count} values are more than {_LARGEST_COUNT}")


def _check_rows(array: Array, what: str, width: int) -> None:
    shape = array.shape
    dimensions = len(shape)
    if dimensions == 1 or (dimensions == 2 and shape[1] in (width, 3 * width)):
        return
    if dimensions == 3 and shape[1:] == (3, width):
        return
    raise ValueError(
        f"{what}: shape (v, {width}), (n, {3 * width}), (n, 3, {width}) or a flat array is wanted, "
        f"not {shape}"
    )


def _check_multiple(array: Array, what: str, width: int, of: str) -> None:
    if array.count % width:
        raise ValueError(f"{what}: {width} values {of} are wanted, but there are {array.count}")


def vertices(value: Buffer, what: str, width: int) -> Array:
    """An array with so many floats for each vertex."""
    array = Array(value, what, FLOAT32)
    _check_rows(array, what, width)
    _check_multiple(array, what, width, "a vertex")
    return array


def triangle_vertices(value: Buffer) -> Array:
    """Positions of vertices that come by threes."""
    array = Array(value, "positions", FLOAT32)
    _check_rows(array, "positions", 3)
    if array.count % 9:
        raise ValueError(
            "positions: 9 values a triangle are wanted, vertices in threes, but there are "
            f"{array.count}; shared vertices are padded to a multiple of three"
        )
    return array


def matching(value: Buffer, what: str, width: int, count: int) -> Array:
    """An array with so many floats for each vertex of an array of positions."""
    array = Array(value, what, FLOAT32)
    _check_rows(array, what, width)
    if array.count != count:
        raise ValueError(
            f"{what}: {count} values are wanted, {width} for each vertex of the positions, "
            f"but there are {array.count}"
        )
    return array


def corners(value: Buffer, what: str = "indices") -> Array:
    """Indices, three a triangle."""
    array = Array(value, what, INT32)
    shape = array.shape
    if len(shape) != 1 and not (len(shape) == 2 and shape[1] == 3):
        raise ValueError(f"{what}: shape (n, 3) or a flat array is wanted, not {shape}")
    _check_multiple(array, what, 3, "a triangle")
    return array


def byte_values(value: Buffer, what: str, count: Optional[int] = None) -> Array:
    """Bytes, of any number of dimensions but none."""
    array = Array(value, what, BYTE)
    if not array.shape:
        raise ValueError(f"{what}: an array is wanted, not a single value")
    if count is not None and array.count != count:
        raise ValueError(f"{what}: {count} bytes are wanted, but there are {array.count}")
    return array


def _numbers_of(value: Any, what: str) -> Tuple[List[float], Tuple[int, ...]]:
    """The numbers of a sequence, or of a sequence of sequences, and its shape."""
    if isinstance(value, str):
        raise TypeError(f"{what}: floats are wanted, not str")
    try:
        rows = list(value)
    except TypeError:
        raise TypeError(f"{what}: floats are wanted, not {type(value).__name__}") from None
    # Arrays of numpy have __float__, too.
    if not rows or not hasattr(rows[0], "__len__"):
        return [real(number, what) for number in rows], (len(rows),)
    lists = [_numbers_of(row, what) for row in rows]
    if any(shape != lists[0][1] for _, shape in lists):
        raise ValueError(f"{what}: the rows differ in length")
    return [number for row, _ in lists for number in row], (len(lists), *lists[0][1])


FloatArray = ctypes.Array  # of ctypes.c_float
Shapes = Tuple[Tuple[int, ...], ...]


def few_floats(value: Any, what: str, shapes: Shapes = ()) -> "FloatArray[ctypes.c_float]":
    """A copy of a few floats in one of the shapes; without any, of a flat sequence."""
    shape: Tuple[int, ...]
    try:
        view = memoryview(value)
    except TypeError:
        numbers, shape = _numbers_of(value, what)
        copy = (ctypes.c_float * len(numbers))(*numbers)
    else:
        if view.format == "d":
            # It is copied anyway.
            numbers, shape = _numbers_of(view.tolist(), what)
            copy = (ctypes.c_float * len(numbers))(*numbers)
        else:
            shape = _checked(view, what, FLOAT32).shape or ()
            copy = (ctypes.c_float * (view.nbytes // FLOAT32.size)).from_buffer_copy(view)
    if shapes and shape not in shapes:
        wanted = " or ".join(str(allowed) for allowed in shapes)
        raise ValueError(f"{what}: shape {wanted} is wanted, not {shape}")
    if not shapes and len(shape) != 1:
        raise ValueError(f"{what}: a flat sequence is wanted, not one of shape {shape}")
    return copy
