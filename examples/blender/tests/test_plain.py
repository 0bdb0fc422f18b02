"""What of the add-on needs no Blender. Needs numpy and the library; see bindings/python/tests/support.py."""

import struct
import sys
import tempfile
import threading
import unittest
import zipfile
import zlib
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent.parent
for folder in (HERE.parent, ROOT / "bindings/python", ROOT / "bindings/python/tests"):
    sys.path.insert(0, str(folder))

import numpy as np  # noqa: E402
import package  # noqa: E402
import q7plugin  # noqa: E402
from q7_link.calls import Call, Job, Progress  # noqa: E402
from q7_link.names import UniqueNames, clean, distinct  # noqa: E402
from q7_link.png import png_bytes  # noqa: E402
from q7_link.records import NO_MATERIAL, CameraPath, Part, Placement, Scene, Source  # noqa: E402
from q7_link.sender import Model, curve_points  # noqa: E402
from q7_link.triangles import (  # noqa: E402
    Corners,
    finite,
    mirrored,
    normals_by_face,
    split_by_material,
)
from support import LIMIT, Reader, needed  # noqa: E402


def triangles(count, first=0.0):
    return (first + np.arange(9 * count, dtype=np.float32)).reshape(-1, 3)


class Names(unittest.TestCase):
    def test_control_characters_become_blanks(self):
        self.assertEqual(clean("a\nb\x1fc"), "a b c")

    def test_what_would_become_one_gets_numbers(self):
        names = UniqueNames("_", "@")
        claimed = [names.claim(name, "Node") for name in ("a_b", "a@b", "a_b", "", "")]
        self.assertEqual(claimed, ["a_b", "a@b (2)", "a_b (3)", "Node", "Node (2)"])

    def test_a_name_that_was_given_back(self):
        names = UniqueNames("_", "@")
        names.claim("a", "")
        names.claim("a", "")
        names.release("a")
        self.assertEqual(names.claim("a", ""), "a")
        names.release("a (2)")
        self.assertEqual([names.claim("a", "") for _ in range(2)], ["a (2)", "a (3)"])

    def test_names_by_what_there_is(self):
        wanted = {3: "a_b", 1: "a@b", 2: "c", 4: "a_b", 5: "a@b (2)"}
        names = {1: "a@b", 2: "c", 3: "a_b (3)", 4: "a_b (4)", 5: "a@b (2)"}
        self.assertEqual(distinct(wanted, "_", "@"), names)
        self.assertEqual(distinct(dict(reversed(wanted.items())), "_", "@"), names)


class Triangles(unittest.TestCase):
    def test_running_corners_are_no_copies(self):
        corners = Corners(np.arange(6, dtype=np.uint32), None, 6)
        values = np.zeros((6, 2), np.float32)
        self.assertIs(corners.of_corners(values), values)

    def test_a_quadrangle(self):
        index = np.array([0, 1, 2, 0, 2, 3], np.uint32)
        corners = Corners(index, np.array([0, 0], np.uint32), 4)
        points = corners.of_points(np.float32([[5], [6], [7], [8]]), np.uint32([3, 2, 1, 0]))
        self.assertEqual(points.ravel().tolist(), [8, 7, 6, 8, 6, 5])
        self.assertEqual(corners.of_faces(np.array([4])).tolist(), [4, 4])

    def test_flat_and_smooth_faces(self):
        corners = Corners(np.arange(6, dtype=np.uint32), None, 6)
        faces = np.float32([[1, 0, 0], [0, 1, 0]])
        points = np.full((6, 3), 9, np.float32)

        def normals(*smooth):
            return normals_by_face(corners, np.array(smooth), lambda: faces, lambda: points)[
                ::3, 0
            ].tolist()

        self.assertEqual(normals(False, False), [1, 0])
        self.assertEqual(normals(True, True), [9, 9])
        self.assertEqual(normals(False, True), [1, 9])

    def test_numbers_that_are_not_finite(self):
        self.assertEqual(finite(np.float32([1, np.nan, np.inf])).tolist(), [1, 0, 0])

    def test_parts_by_material(self):
        positions = triangles(4)
        slots = np.array([1, 0, 7, 1], np.int32)
        parts = split_by_material(slots, (5, 6, 5), positions, None, positions[:, :2].copy())
        self.assertEqual([part.material for part in parts], [5, 6])
        whole = positions.reshape(4, 9)
        # A slot beyond the last counts as the last, which has the first one's material.
        self.assertEqual(parts[0].positions.reshape(-1, 9).tolist(), whole[[1, 2]].tolist())
        self.assertEqual(parts[1].positions.reshape(-1, 9).tolist(), whole[[0, 3]].tolist())
        self.assertEqual([part.uvs.shape for part in parts], [(6, 2), (6, 2)])
        self.assertTrue(all(part.normals is None for part in parts))
        self.assertTrue(all(part.positions.flags.c_contiguous for part in parts))

    def test_sorted_faces_are_no_copies(self):
        positions = triangles(3)
        parts = split_by_material(np.int32([0, 0, 1]), (1, 2), positions, positions, None)
        self.assertTrue(all(np.shares_memory(part.normals, positions) for part in parts))

    def test_a_mirrored_part(self):
        values = triangles(2)
        for normals, uvs in ((None, None), (values + 1, values[:, :2].copy())):
            part = mirrored(Part(7, values, normals, uvs))
            order = [2, 1, 0, 5, 4, 3]
            self.assertEqual(part.material, 7)
            self.assertEqual(part.positions.tolist(), (values[order] * (-1, 1, 1)).tolist())
            if uvs is not None:
                self.assertEqual(part.normals.tolist(), (normals[order] * (-1, 1, 1)).tolist())
                self.assertEqual(part.uvs.tolist(), uvs[order].tolist())
            for array in part[1:]:
                self.assertTrue(array is None or array.flags.c_contiguous)
                self.assertTrue(array is None or array.dtype == np.float32)

    def test_no_triangles(self):
        self.assertEqual(split_by_material(None, (1,), triangles(0), None, None), [])


class Png(unittest.TestCase):
    def test_rows_from_above(self):
        pixels = [1, 0, 0, 1, 0, 1, 0, 1] + [0, 0, 1, 0.5, float("nan"), 2, -1, 1]
        data = png_bytes(pixels, 2, 2)
        self.assertEqual(struct.unpack(">II", data[16:24]), (2, 2))
        size = struct.unpack(">I", data[33:37])[0]
        rows = zlib.decompress(data[41 : 41 + size])
        self.assertEqual(
            rows, bytes([0, 0, 0, 255, 128, 0, 255, 0, 255, 0, 255, 0, 0, 255, 0, 255, 0, 255])
        )


class ModelTest(unittest.TestCase):
    def setUp(self):
        needed("Q7PLUGIN_LIBRARY")
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        self.properties = {1: {"BaseColor": "#FF0000", "Roughness": 0.5}, 2: {}}
        self.names = {1: "Red", 2: "Blue"}
        self.model = Model(q7plugin, lambda id: dict(self.properties[id]))
        self.addCleanup(self.model.close)
        self.scene = Scene()
        self.places = []
        self.read = []

    def add(self, id, key="mesh", x=0.0, parts=((1, 1),), path=None):
        """parts: material and number of triangles of each"""
        self.scene.placements.append(Placement((id,), (key,), path or f"/{id}"))
        place = np.eye(4, dtype=np.float32)
        place[3, 0] = x
        self.places.append(place)
        made = [Part(material, triangles(count), None, None) for material, count in parts]

        def read():
            self.read.append(key)
            return made

        name = self.scene.sources[(key,)].name if (key,) in self.scene.sources else id
        self.scene.sources[(key,)] = Source(frozenset({key}), read, name)

    def clear(self):
        self.scene, self.places, self.read = Scene(), [], []

    def update(self):
        self.scene.transforms = np.array(self.places, np.float32).reshape(-1, 4, 4)
        return list(self.model.update(self.scene, self.names))

    def sent(self):
        """The model as a renderer gets it, which is without what was deleted."""
        with self.model.session.connect_raw() as connection:
            connection.send()
        file = self.folder / "model.q7mesh"
        self.model.session.save_raw_to_file(file)
        return Reader(file.read_bytes())

    def places_of(self, stream):
        return sorted((i["mesh"], i["transform"][12]) for i in stream.instances)


class ModelUpdate(ModelTest):
    def test_each_geometry_is_read_once(self):
        self.add("A")
        self.add("B", x=2)
        self.add("C", key="other", parts=((1, 1), (2, 3), (NO_MATERIAL, 1)))
        self.assertEqual(self.update(), [1 / 3, 2 / 3, 1])
        self.assertEqual(self.read, ["mesh", "other"])
        stream = self.sent()
        self.assertEqual(
            self.places_of(stream),
            [("A_Red", 0), ("A_Red", 2), ("C_", 0), ("C_Blue", 0), ("C_Red", 0)],
        )
        self.assertEqual(list(stream.materials), ["Red", "Blue", "No Material"])
        self.assertEqual(self.model.node_count(), 3)
        self.assertEqual(self.model.triangle_count(), 7)

    def test_moving_reads_nothing(self):
        for id in "AB":
            self.add(id)
        self.update()
        self.sent()
        self.model.changed = False
        self.clear()
        self.add("A", x=7, path="/renamed")
        self.add("B")
        self.update()
        self.assertEqual(self.read, [])
        self.assertTrue(self.model.changed)
        self.assertEqual(self.places_of(self.sent()), [("A_Red", 0), ("A_Red", 7)])

    def test_nothing_changed(self):
        self.add("A")
        self.update()
        self.model.changed = False
        self.update()
        self.assertFalse(self.model.changed)
        self.assertEqual(self.read, ["mesh"])

    def test_the_first_of_several_goes(self):
        for id in "AB":
            self.add(id)
        self.update()
        self.clear()
        self.add("B")
        self.add("C", x=3)
        self.update()
        self.assertEqual(self.read, [])
        self.assertEqual(self.places_of(self.sent()), [("A_Red", 0), ("A_Red", 3)])

    def test_a_duplicate_of_what_goes(self):
        self.add("A")
        self.update()
        self.clear()
        self.add("A", key="new")
        self.add("B")
        self.update()
        self.assertEqual(self.read, ["new"])
        self.assertEqual(self.places_of(self.sent()), [("A (2)_Red", 0), ("A_Red", 0)])

    def test_new_geometry(self):
        for id in "AB":
            self.add(id)
        self.add("C", key="other")
        self.update()
        self.sent()
        self.clear()
        self.model.forget_geometry({"mesh"})
        self.assertEqual(self.model.known_geometries(), {("other",)})
        for id in "AB":
            self.add(id, parts=((2, 5),))
        self.add("C", key="other")
        self.update()
        self.assertEqual(self.read, ["mesh"])
        stream = self.sent()
        self.assertEqual(self.places_of(stream), [("A_Blue", 0), ("A_Blue", 0), ("C_Red", 0)])
        self.assertEqual(len(stream.meshes["A_Blue"]["positions"]), 45)
        self.assertNotIn("A_Red", stream.meshes)

    def test_all_goes(self):
        self.add("A")
        self.update()
        self.clear()
        self.assertEqual(self.update(), [])
        self.assertEqual(self.model.node_count(), 0)
        self.assertEqual(self.model.known_geometries(), set())
        self.add("A")
        self.update()
        self.assertEqual(self.places_of(self.sent()), [("A_Red", 0)])

    def test_objects_without_triangles(self):
        self.add("A", key="empty", parts=())
        self.add("B", key="empty", parts=())
        self.update()
        self.assertEqual(self.model.node_count(), 0)
        self.assertFalse(self.model.changed)
        self.clear()
        self.add("A", key="empty", parts=(), x=1)
        self.update()
        self.assertEqual(self.read, [])

    def test_names_that_the_library_would_take_for_one(self):
        self.add("a_b", key="1")
        self.add("a@b", key="2")
        self.update()
        self.assertEqual(self.places_of(self.sent()), [("a@b (2)_Red", 0), ("a@b_Red", 0)])

    def test_an_update_that_was_broken_off(self):
        self.add("A")
        self.add("B", key="other")
        steps = self.model.update(self.scene, self.names)
        self.scene.transforms = np.array(self.places)
        next(steps)
        steps.close()
        self.update()
        self.assertEqual(self.places_of(self.sent()), [("A_Red", 0), ("B_Red", 0)])


class ModelMaterials(ModelTest):
    def setUp(self):
        super().setUp()
        self.add("A")
        self.add("B", key="other", parts=((2, 1),))
        self.update()
        self.model.changed = False

    def test_a_property_changes(self):
        self.properties[1] = {"BaseColor": "#00FF00"}
        self.model.update_materials(self.names)
        self.assertTrue(self.model.changed)
        text = self.sent().materials["Red"]
        self.assertIn("<BaseColor>#00FF00</BaseColor>", text)
        self.assertNotIn("Roughness", text)

    def test_nothing_changes(self):
        self.model.update_materials(self.names)
        self.assertFalse(self.model.changed)

    def test_another_name(self):
        self.names[1] = "Pink"
        self.model.update_materials(self.names)
        self.read = []
        self.update()
        self.assertEqual(self.read, ["mesh"])
        self.assertEqual(self.places_of(self.sent()), [("A_Pink", 0), ("B_Blue", 0)])

    def test_two_exchange_their_names(self):
        self.names = {1: "Blue", 2: "Red"}
        self.model.update_materials(self.names)
        self.update()
        stream = self.sent()
        self.assertEqual(self.places_of(stream), [("A_Blue", 0), ("B_Red", 0)])
        self.assertIn("BaseColor", stream.materials["Blue"])
        self.assertNotIn("BaseColor", stream.materials["Red"])


class Curves(unittest.TestCase):
    def test_straight_between_frames(self):
        path = CameraPath("walk", "camera", np.array([0.0, 3.0, 9.0]), np.zeros((3, 3, 3)))
        path.poses[:, 0, 0] = 0, 3, 0
        points = curve_points(path)
        self.assertEqual(points.shape, (3, 3, 3, 5))
        self.assertEqual(points[0, 0, 0].tolist(), [0, 0, 0, 1, 1])
        self.assertEqual(points[1, 0, 0].tolist(), [3, 2, 2, 5, 2])
        self.assertEqual(points[2, 0, 0].tolist(), [0, 7, 1, 9, 0])


class Jobs(unittest.TestCase):
    def test_a_job_tells_its_progress_and_its_result(self):
        def steps():
            yield Progress(0.5, "half")
            return 7

        job = Job(steps())
        self.assertFalse(job.advance(0))
        self.assertEqual((job.fraction, job.text), (0.5, "half"))
        self.assertTrue(job.advance(0))
        self.assertEqual(job.result, 7)

    def test_a_cancelled_job_lets_go(self):
        ended = []

        def steps():
            try:
                yield Progress(0, "")
            finally:
                ended.append(True)

        job = Job(steps())
        job.advance(0)
        job.cancel()
        self.assertEqual(ended, [True])
        self.assertTrue(job.advance(0))

    def test_a_job_waits_without_blocking(self):
        release = threading.Event()
        call = Call(lambda: release.wait(LIMIT))
        ended = []

        def steps():
            call.start()
            while not call.is_over():
                yield Progress(1, "waiting", call)
            return call.result()

        job = Job(steps())
        self.assertFalse(job.advance(LIMIT))
        self.assertFalse(job.advance(LIMIT))
        call.at_end(lambda: ended.append(True))
        self.assertEqual(ended, [])
        release.set()
        self.assertEqual(job.run(), True)
        call.join(LIMIT)
        self.assertEqual(ended, [True])
        call.at_end(lambda: ended.append(2))
        self.assertEqual(ended, [True, 2])

    def test_an_error_in_a_call(self):
        call = Call(lambda: 1 / 0)
        call.start()
        with self.assertRaises(ZeroDivisionError):
            call.result()


class Packaging(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def test_what_is_inside(self):
        library = Path(needed("Q7PLUGIN_LIBRARY"))
        file = self.folder / "addon.zip"
        self.assertEqual(package.main([str(library), str(file)]), 0)
        names = zipfile.ZipFile(file).namelist()
        for name in (
            "__init__.py",
            "bundled/q7plugin/session.py",
            f"bundled/q7plugin/{library.name}",
        ):
            self.assertIn(f"q7_link/{name}", names)
        self.assertFalse([name for name in names if "__pycache__" in name or "test" in name])

    def test_wrong_arguments(self):
        file = str(self.folder / "addon.zip")
        self.assertEqual(package.main([file]), 2)
        self.assertEqual(package.main([str(self.folder / "libQ7Plugin.so"), file]), 1)
        self.assertEqual(package.main([__file__, file]), 1)
        self.assertEqual(list(self.folder.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
