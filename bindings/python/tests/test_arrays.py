import array
import ctypes
import struct
import tracemalloc
import unittest

from support import LibraryTest, numpy_or_skip

from q7plugin import _arrays
from q7plugin._numbers import int32, real, uint32


def floats(count):
    return array.array("f", range(count))


class Numbers(unittest.TestCase):
    def test_limits(self):
        self.assertEqual(int32(-(2**31), "x"), -(2**31))
        self.assertEqual(uint32(2**32 - 1, "x"), 2**32 - 1)
        self.assertEqual(int32(True, "x"), 1)
        with self.assertRaisesRegex(
            ValueError, "^value: 2147483648 is not within -2147483648 to 2147483647$"
        ):
            int32(2**31, "value")
        with self.assertRaisesRegex(ValueError, "^hint: -1 is not within 0 to 4294967295$"):
            uint32(-1, "hint")

    def test_types(self):
        with self.assertRaisesRegex(TypeError, "^value: int is wanted, not float$"):
            int32(1.0, "value")
        with self.assertRaisesRegex(TypeError, "^value: float is wanted, not str$"):
            real("1", "value")
        self.assertEqual(real(3, "x"), 3.0)


class Buffers(unittest.TestCase):
    def test_what_has_a_buffer_is_taken_where_it_is(self):
        values = floats(9)
        taken = _arrays.triangle_vertices(values)
        self.assertEqual((taken.address, taken.count), (values.buffer_info()[0], 9))
        block = (ctypes.c_float * 9)()
        self.assertEqual(_arrays.triangle_vertices(block).address, ctypes.addressof(block))

    def test_read_only(self):
        data = struct.pack("=9f", *range(9))
        taken = _arrays.triangle_vertices(memoryview(data).cast("f"))
        self.assertEqual(ctypes.string_at(taken.address, 36), data)
        colors = _arrays.byte_values(b"\1\2\3", "colors")
        self.assertEqual(ctypes.string_at(colors.address, colors.count), b"\1\2\3")

    def test_memory_stays_while_it_is_in_use(self):
        values = bytearray(36)
        taken = _arrays.byte_values(values, "x")
        with self.assertRaises(BufferError):
            values.append(1)
        del taken
        values.append(1)

    def test_nothing_is_held_afterwards(self):
        for kind in (bytearray(36), array.array("f", range(9))):
            (
                _arrays.byte_values
                if isinstance(kind, bytearray)
                else lambda v, _: _arrays.vertices(v, "x", 3)
            )(kind, "x")
            kind.append(0)

    def test_empty(self):
        self.assertEqual(_arrays.triangle_vertices(array.array("f")).count, 0)
        self.assertEqual(_arrays.byte_values(b"", "x").count, 0)

    def test_no_buffer(self):
        for wrong, name in (([1.0] * 9, "list"), (None, "NoneType"), (1.0, "float"), ("a", "str")):
            with self.assertRaisesRegex(
                TypeError,
                rf"^positions: an array of float32 with a buffer is wanted .*, not {name} ",
            ):
                _arrays.triangle_vertices(wrong)

    def test_other_numbers(self):
        cases = (("d", "float64"), ("i", "int32"), ("B", "uint8"), ("h", "int16"), ("Q", "uint64"))
        for code, name in cases:
            with self.assertRaisesRegex(TypeError, f"^positions: float32 is wanted, not {name}$"):
                _arrays.triangle_vertices(array.array(code, range(9)))
        with self.assertRaisesRegex(TypeError, "^positions: float32 is wanted, not uint8$"):
            _arrays.triangle_vertices(bytes(36))
        with self.assertRaisesRegex(TypeError, "^indices: int32 is wanted, not float32$"):
            _arrays.corners(floats(3))
        swapped = (ctypes.c_float.__ctype_be__ * 9)()
        with self.assertRaisesRegex(
            TypeError, "^positions: float32 is wanted, not float32 of the other byte order"
        ):
            _arrays.triangle_vertices(swapped)

    def test_signed_and_unsigned_indices(self):
        for code in "iI":
            self.assertEqual(_arrays.corners(array.array(code, [0, 1, 2])).count, 3)
        with self.assertRaisesRegex(ValueError, "^indices: 3 values a triangle are wanted, .* 4$"):
            _arrays.corners(array.array("i", range(4)))

    def test_sizes(self):
        with self.assertRaisesRegex(
            ValueError, "^positions: 9 values a triangle .* 12; shared vert"
        ):
            _arrays.triangle_vertices(floats(12))
        with self.assertRaisesRegex(ValueError, "^normals: 9 values are wanted, 3 for each .* 6$"):
            _arrays.matching(floats(6), "normals", 3, 9)
        with self.assertRaisesRegex(ValueError, "^positions: 3 values a vertex are wanted, .* 4$"):
            _arrays.vertices(floats(4), "positions", 3)
        with self.assertRaisesRegex(ValueError, "^scene_data: 36 bytes are wanted, .* 35$"):
            _arrays.byte_values(bytes(35), "scene_data", 36)

    def test_shapes(self):
        view = memoryview(floats(36)).cast("B")
        for shape in ([36], [12, 3], [4, 9], [4, 3, 3]):
            self.assertEqual(_arrays.triangle_vertices(view.cast("f", shape)).count, 36)
        for shape in ([9, 4], [2, 18], [3, 4, 3], [2, 2, 3, 3]):
            with self.assertRaisesRegex(
                ValueError, r"^positions: shape \(v, 3\), \(n, 9\), \(n, 3, 3"
            ):
                _arrays.triangle_vertices(view.cast("f", shape))
        for shape in ([18, 2], [6, 6], [6, 3, 2]):
            self.assertEqual(_arrays.matching(view.cast("f", shape), "uvs", 2, 36).count, 36)
        with self.assertRaisesRegex(
            ValueError, r"^uvs: shape \(v, 2\), \(n, 6\), \(n, 3, 2\) or a fl"
        ):
            _arrays.matching(view.cast("f", [12, 3]), "uvs", 2, 36)
        scalar = memoryview(bytes(4)).cast("f", [])
        with self.assertRaisesRegex(ValueError, r"not \(\)$"):
            _arrays.vertices(scalar, "x", 3)
        with self.assertRaisesRegex(
            ValueError, r"^indices: shape \(n, 3\) or a flat array .* \(3, 2\)$"
        ):
            _arrays.corners(memoryview(bytes(24)).cast("i", [3, 2]))

    def test_strides(self):
        with self.assertRaisesRegex(ValueError, "^positions: the array is not C-contiguous"):
            _arrays.triangle_vertices(memoryview(floats(18))[::2])

    def test_alignment(self):
        with self.assertRaisesRegex(ValueError, "^x: the array is not aligned to 4 bytes$"):
            _arrays.vertices(memoryview(bytes(13))[1:].cast("f"), "x", 3)


class FewFloats(unittest.TestCase):
    SHAPES = ((4, 4), (16,))

    def test_any_sequence(self):
        rows = [[1, 2, 3, 4], (5, 6, 7, 8), range(9, 13), floats(4)]
        self.assertEqual(
            list(_arrays.few_floats(rows, "x", self.SHAPES)),
            [*map(float, range(1, 13)), 0, 1, 2, 3],
        )
        self.assertEqual(list(_arrays.few_floats(range(16), "x", self.SHAPES)), [*range(16)])
        self.assertEqual(list(_arrays.few_floats([], "x")), [])
        self.assertEqual(list(_arrays.few_floats(iter([1, 2.5]), "x")), [1, 2.5])
        self.assertEqual(list(_arrays.few_floats(array.array("f"), "x")), [])

    def test_buffers_are_copied(self):
        values = floats(16)
        copy = _arrays.few_floats(values, "x", self.SHAPES)
        values[0] = 99
        self.assertEqual(list(copy), [*range(16)])

    def test_wrong_ones(self):
        cases = (
            (range(12), ValueError, r"^t: shape \(4, 4\) or \(16,\) is wanted, not \(12,\)$"),
            ([[1, 2]] * 8, ValueError, r"not \(8, 2\)$"),
            ([[1] * 4] * 3 + [[1] * 3], ValueError, "^t: the rows differ in length$"),
            (array.array("i", range(16)), TypeError, "^t: float32 is wanted, not int32$"),
            (bytes(64), TypeError, "^t: float32 is wanted, not uint8$"),
            ("a" * 16, TypeError, "^t: floats are wanted, not str$"),
            (["a"] * 16, TypeError, "^t: floats are wanted, not str$"),
            (5, TypeError, "^t: floats are wanted, not int$"),
            ([1, "a"], TypeError, "^t: float is wanted, not str$"),
            ([1, None], TypeError, "^t: float is wanted, not NoneType$"),
        )
        for value, error, text in cases:
            with self.assertRaisesRegex(error, text):
                _arrays.few_floats(value, "t", self.SHAPES)
        with self.assertRaisesRegex(ValueError, "^t: a flat sequence is wanted"):
            _arrays.few_floats([[1, 2]], "t")


class Numpy(LibraryTest):
    def setUp(self):
        self.np = numpy_or_skip()
        super().setUp()

    def test_arrays_pass_by_their_address(self):
        np = self.np
        positions = np.arange(18, dtype=np.float32).reshape(2, 3, 3)
        normals = positions + 1
        normals.flags.writeable = False
        uvs = np.arange(12, dtype=np.float32).reshape(6, 2)
        indices = np.arange(6, dtype=np.uint32).reshape(2, 3)
        recorder = self.record()
        with self.session.node("Node"):
            self.session.add_index_triangles("Red", positions, normals, uvs, indices)
        passed = dict(recorder.calls)["MaxAddIndexTriangles"]
        self.assertEqual(
            passed[2:8],
            (2, *(a.ctypes.data for a in (positions, normals, uvs)), 6, indices.ctypes.data),
        )
        mesh = self.saved().meshes["Node_Red"]
        for name, values in (
            ("positions", positions),
            ("normals", normals),
            ("uvs", uvs),
            ("indices", indices),
        ):
            self.assertEqual(mesh[name], tuple(values.reshape(-1)), name)

    def test_a_large_array_is_not_copied(self):
        positions = self.np.zeros((2_900_000, 9), self.np.float32)
        self.assertGreater(positions.nbytes, 100_000_000)
        recorder = self.record(passing=False)
        tracemalloc.start()
        self.addCleanup(tracemalloc.stop)
        self.session.add_triangles("Red", positions)
        self.assertLess(tracemalloc.get_traced_memory()[1], 100_000)
        self.assertEqual(recorder.calls[0][1][2:4], (2_900_000, positions.ctypes.data))

    def test_wrong_arrays_do_not_reach_the_library(self):
        np = self.np
        good = np.zeros((2, 9), np.float32)
        swapped = good.astype(">f4" if _arrays.sys.byteorder == "little" else "<f4")
        cases = (
            (good.astype(np.float64), TypeError, "^positions: float32 is wanted, not float64$"),
            (good.astype(np.float16), TypeError, "^positions: float32 is wanted, not float16$"),
            (good.astype(np.int64), TypeError, "^positions: float32 is wanted, not int64$"),
            (good.astype(bool), TypeError, "^positions: float32 is wanted, not bool$"),
            (good.astype(complex), TypeError, "^positions: float32 is wanted, not complex128$"),
            (good.astype(object), TypeError, "^positions: float32 is wanted, not object$"),
            (
                swapped,
                TypeError,
                "^positions: float32 is wanted, not float32 of the other byte order",
            ),
            (good.astype("M8[s]"), TypeError, "^positions: an array of float32 with a buffer"),
            (np.zeros(2, "f4,i4"), TypeError, "^positions: float32 is wanted, not the format"),
            (good[:, ::-1], ValueError, "^positions: the array is not C-contiguous"),
            (
                np.zeros((9, 2), np.float32).T,
                ValueError,
                "^positions: the array is not C-contiguous",
            ),
            (np.broadcast_to(np.float32(0), (2, 9)), ValueError, "not C-contiguous"),
            (np.zeros((3, 6), np.float32), ValueError, r"^positions: shape .* not \(3, 6\)$"),
            (np.float32(1), ValueError, r"^positions: shape .* not \(\)$"),
        )
        recorder = self.record(passing=False)
        for value, error, text in cases:
            with self.assertRaisesRegex(error, text):
                self.session.add_triangles("Red", value)
        with self.assertRaisesRegex(TypeError, "^indices: int32 is wanted, not int64$"):
            self.session.add_index_triangles("Red", good, indices=np.arange(3))
        self.assertEqual(recorder.calls, [])

    def test_floats_of_numpy(self):
        np = self.np
        rows = [np.arange(4.0), np.arange(4), [np.float32(1)] * 4, np.arange(4, dtype=np.float16)]
        numbers = _arrays.few_floats(rows, "x", ((4, 4),))
        self.assertEqual(list(numbers), [0, 1, 2, 3, 0, 1, 2, 3, 1, 1, 1, 1, 0, 1, 2, 3])
        self.session.add_light("lamp")
        self.session.set_entity_property(1, "lamp", "a", self.np.float32(0.5))
        self.session.set_entity_property(1, "lamp", "b", self.np.int32(5))
        self.session.set_entity_property(1, "lamp", "c", self.np.zeros(3, self.np.float32))


if __name__ == "__main__":
    unittest.main()
