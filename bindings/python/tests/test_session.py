import array
import gc
import json
import os
import struct
import unittest
import weakref
import zipfile

from support import HOME, PACKAGE, LibraryTest, Recorder, inspect, inspected

import q7plugin
from q7plugin import AnimProperty, CoordOrder, EntityType, MaterialType

MOVED = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1]
IDENTITY = (1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)
CORNERS = array.array("f", [0, 0, 0, 1, 0, 0, 0, 1, 0])


class Lifetime(LibraryTest):
    def test_the_end_of_the_block_ends_the_session(self):
        with q7plugin.Session() as session:
            self.assertFalse(session.closed)
            self.assertNotEqual(session.handle, 0)
            recorder = session._raw = Recorder(session._raw)
        self.assertTrue(session.closed)
        self.assertIn("DestroySession", recorder.names())
        session.close()
        self.assertEqual(recorder.names().count("DestroySession"), 1)

    def test_an_exception_ends_it_too(self):
        with self.assertRaises(ZeroDivisionError):
            with q7plugin.Session() as session:
                1 / 0
        self.assertTrue(session.closed)

    def test_a_forgotten_session_is_ended(self):
        session = q7plugin.Session()
        recorder = session._raw = Recorder(session._raw)
        gone = weakref.ref(session)
        del session
        gc.collect()
        self.assertIsNone(gone())
        self.assertIn("DestroySession", recorder.names())

    def test_every_method_of_a_closed_session_raises(self):
        session = q7plugin.Session()
        session.close()
        recorder = session._raw = Recorder(session._raw, passing=False)
        values = {"frame": 0, "time": 0, "version": 0, "fov": 0, "id": "x", "positions": CORNERS}
        values.update(scene_data=bytes(36), transform=bytes(36), value="x", values=[1.0], flag=True)
        values.update(type=1, path=str(self.folder / "x"))
        values["external_file"] = os.devnull
        methods = [name for name in dir(q7plugin.Session) if not name.startswith("_")]
        skipped = {"close", "closed", "handle", "node", "delete_instance"}
        for name in sorted(set(methods) - skipped):
            method = getattr(session, name)
            names = method.__code__.co_varnames[1 : method.__code__.co_argcount]
            required = names[: len(names) - len(method.__defaults__ or ())]
            arguments = {key: values.get(key, "x") for key in required}
            if "frame" in required and "value" in required:
                arguments["value"] = None
            if "values" in required and "frame" in required:
                arguments["values"] = []
            if name == "add_legacy_scene" or "int_prop" in name or "float_prop" in name:
                arguments["value"] = 1
            with self.assertRaises(q7plugin.SessionClosedError, msg=name):
                method(**arguments)
        with self.assertRaises(q7plugin.SessionClosedError):
            session.handle
        with self.assertRaises(q7plugin.SessionClosedError):
            with session:
                pass
        with self.assertRaises(q7plugin.SessionClosedError):
            with session.node("x"):
                pass
        # What the package asks first needs no session.
        self.assertLessEqual(set(recorder.names()), {"Q7GetRenderVersion"})

    def test_sessions_are_independent(self):
        with q7plugin.Session() as other:
            other.add_material("Red")
            self.assertEqual(self.saved().materials, {})

    def test_no_other_attributes(self):
        with self.assertRaises(AttributeError):
            self.session.no_such_method
        with self.assertRaises(AttributeError):
            self.session.no_such_value = 1


class Nodes(LibraryTest):
    def test_triangles_belong_inside_of_the_block(self):
        node = self.session.node("Node")
        with self.assertRaisesRegex(RuntimeError, "^node 'Node': not open; add triangles inside of"):
            node.add_triangles("Red", CORNERS)
        with node:
            node.add_triangles("Red", CORNERS)
        for add in (node.add_triangle, node.add_triangles, node.add_index_triangles):
            with self.assertRaises(RuntimeError):
                add("Red", CORNERS)
        self.assertEqual(self.session.instance_count(), 1)

    def test_transform_may_be_of_doubles(self):
        with self.session.node("Node", array.array("d", MOVED)) as node:
            node.add_triangles("Red", CORNERS)
        self.assertEqual(self.saved().instances[0]["transform"], tuple(MOVED))

    def test_a_node_is_ended_with_its_block(self):
        recorder = self.record()
        with self.session.node("Node", MOVED, "/path", 1) as node:
            self.assertEqual(node.name, "Node")
            node.add_triangles("Red", CORNERS)
            self.assertEqual(self.session.instance_count(), 0)
        self.assertEqual(self.session.instance_count(), 1)
        self.assertEqual(
            recorder.names(),
            [
                "Q7BeginNodeHint",
                "MaxAddTriangles",
                "Q7InstanceCount",
                "Q7EndNode",
                "Q7InstanceCount",
            ],
        )
        saved = self.saved()
        self.assertEqual(saved.meshes["Node_Red"]["positions"], tuple(CORNERS))
        self.assertEqual(saved.instances[0]["transform"], tuple(MOVED))

    def test_an_exception_ends_it_too(self):
        with self.assertRaises(ZeroDivisionError):
            with self.session.node("Node") as node:
                node.add_triangles("Red", CORNERS)
                1 / 0
        with self.session.node("Other") as node:
            node.add_triangles("Red", CORNERS)
        self.assertEqual(sorted(self.saved().meshes), ["Node_Red", "Other_Red"])

    def test_a_node_that_could_not_be_begun_is_not_open(self):
        with self.assertRaises(ValueError):
            with self.session.node("Node", [1, 2]):
                self.fail("begun")
        with self.session.node("Node"):
            pass

    def test_nodes_do_not_nest(self):
        with self.session.node("Outer") as outer:
            with self.assertRaisesRegex(RuntimeError, "'Inner': the session has another node open"):
                with self.session.node("Inner"):
                    self.fail("begun")
            outer.add_triangles("Red", CORNERS)
        self.assertEqual(list(self.saved().meshes), ["Outer_Red"])

    def test_a_session_may_be_closed_inside(self):
        with q7plugin.Session() as session:
            with session.node("Node"):
                session.close()

    def test_which_function_begins(self):
        for arguments, name in (
            ({}, "MaxBeginNode"),
            ({"hint": 5}, "MaxBeginNodeHint"),
            ({"path": ""}, "Q7BeginNode"),
            ({"path": "/", "hint": 5}, "Q7BeginNodeHint"),
        ):
            recorder = self.record()
            self.session.begin_node("Node", **arguments)
            self.session.end_node()
            self.assertEqual(recorder.names(), [name, "Q7EndNode"])

    def test_transforms(self):
        rows = [MOVED[i : i + 4] for i in range(0, 16, 4)]
        buffer = array.array("f", MOVED)
        square = memoryview(buffer).cast("B").cast("f", [4, 4])
        for transform in (MOVED, tuple(rows), buffer, square, memoryview(bytes(buffer)).cast("f")):
            with self.session.node("Node", transform):
                self.session.add_triangles("Red", CORNERS)
            self.assertEqual(self.saved().instances[-1]["transform"], tuple(MOVED))
        with self.session.node("Node"):
            self.session.add_triangles("Red", CORNERS)
        self.assertEqual(self.saved().instances[-1]["transform"], IDENTITY)

    def test_the_transform_lives_until_the_node_ends(self):
        transform = array.array("f", MOVED)
        self.session.begin_node("Node", transform)
        self.session.add_triangles("Red", CORNERS)
        for i in range(16):
            transform[i] = -1
        del transform
        gc.collect()
        trash = [array.array("f", [9.0] * 16) for _ in range(10_000)]
        self.session.end_node()
        # The last transform also counts for triangles that belong to no node.
        gc.collect()
        trash += [array.array("f", [8.0] * 16) for _ in range(10_000)]
        self.session.add_triangles("Blue", CORNERS)
        self.session.end_node()
        places = [instance["transform"] for instance in self.saved().instances]
        self.assertEqual(places, [tuple(MOVED)] * 2)
        self.assertEqual(len(trash), 20_000)

    def test_the_session_keeps_nothing_of_the_arrays(self):
        positions = bytearray(36)
        with self.session.node("Node") as node:
            node.add_triangles("Red", memoryview(positions).cast("f"))
            positions.append(0)

    def test_what_is_no_node(self):
        recorder = self.record()
        for arguments, error in (
            (("",), ValueError),
            ((5,), TypeError),
            (("a\0",), ValueError),
            (("a", MOVED, 5), TypeError),
            (("a", None, None, -1), ValueError),
            (("a", None, None, 2**32), ValueError),
            (("a", None, None, 1.5), TypeError),
            (("a", array.array("i", MOVED)), TypeError),
        ):
            with self.assertRaises(error):
                self.session.begin_node(*arguments)
        self.assertEqual(recorder.calls, [])

    def test_triangles(self):
        with self.session.node("Node") as node:
            node.add_triangle("Red", [[0, 1, 2], [3, 4, 5], [6, 7, 8]], range(9, 18), range(6))
            node.add_triangles(
                "Red", CORNERS, CORNERS, array.array("f", range(6)), order=CoordOrder.XZY
            )
        mesh = self.saved().meshes["Node_Red"]
        swapped = (0, 0, 0, 1, 0, 0, 0, 0, 1)
        self.assertEqual(mesh["positions"], (*range(9), *swapped))
        self.assertEqual(mesh["normals"], (*range(9, 18), *swapped))
        self.assertEqual(mesh["uvs"], (*range(6), *range(6)))
        self.assertEqual(mesh["indices"], (0, 1, 2, 3, 4, 5))

    def test_indexed_triangles(self):
        with self.session.node("Node") as node:
            node.add_index_triangles(
                "Red", array.array("f", range(18)), indices=array.array("i", [0, 1, 2, 2, 1, 3])
            )
            node.add_index_triangles("Blue", CORNERS, order=CoordOrder.ZYX)
        meshes = self.saved().meshes
        self.assertEqual(meshes["Node_Red"]["indices"], (0, 1, 2, 2, 1, 3))
        self.assertEqual(meshes["Node_Red"]["uvs"], 12 * (0,))
        self.assertEqual(meshes["Node_Blue"]["indices"], (0, 1, 2))

    def test_arrays_that_do_not_fit(self):
        recorder = self.record()
        six = array.array("f", range(6))
        for arguments in ((CORNERS, six), (CORNERS, None, CORNERS), (six,)):
            with self.assertRaises(ValueError):
                self.session.add_triangles("Red", *arguments)
        with self.assertRaises(ValueError):
            self.session.add_triangles("Red", CORNERS, order=6)
        with self.assertRaises(ValueError):
            self.session.add_triangle("Red", range(8))
        with self.assertRaises(ValueError):
            self.session.add_triangle("Red", range(9), uvs=range(9))
        self.assertEqual(recorder.calls, [])

    def test_duplicates_and_deletion(self):
        with self.session.node("Node") as node:
            node.add_triangles("Red", CORNERS)
        self.session.duplicate_node("Node", "Copy", MOVED)
        self.session.duplicate_node("Node", "Other", MOVED, "/other")
        self.session.duplicate_node("No such node", "New")
        self.assertEqual(self.session.instance_count(), 3)
        self.session.delete_node("Copy")
        self.session.delete_node("No such node")
        self.assertEqual(self.session.instance_count(), 3)
        archive = self.folder / "a.q7a"
        self.session.save_raw_to_q7a(archive)
        info = json.loads(zipfile.ZipFile(archive).read("info.json"))
        self.assertEqual(info["instanceIdArray"], ["/Red", "//Red", "/other/Red"])

    def places(self):
        """Where the saved instances of each path are; those that wait for a send are the first."""
        archive = self.folder / "places.q7a"
        self.session.save_raw_to_q7a(archive)
        info = json.loads(zipfile.ZipFile(archive).read("info.json"))
        pairs = zip(info["instanceIdArray"], self.saved().instances)
        return [(path, instance["transform"][12:15]) for path, instance in pairs]

    def two_nodes(self):
        for name in ("Node", "Other"):
            with self.session.node(name, path=f"/{name}") as node:
                node.add_triangles("Red", CORNERS)
                node.add_triangles("Blue", CORNERS)

    def test_moving(self):
        self.two_nodes()
        self.session.duplicate_node("Node", "Copy", None, "/Copy")
        meshes = self.saved().meshes
        self.session.move_node("Node", MOVED, "/place")
        # Two instances for each that was there: of the node aside, and of the node.
        moved = [("/place/Red", (5, 6, 7)), ("/place/Blue", (5, 6, 7))]
        self.assertEqual(self.places()[6:], 2 * moved)
        self.assertEqual(self.saved().meshes, meshes)
        # What is known as the node is one instance for each material, not the old ones too.
        before = self.session.instance_count()
        self.session.duplicate_node("Node", "Again")
        self.assertEqual(self.session.instance_count(), before + 2)
        self.session.move_node("Again", None, "")
        self.assertEqual(self.places()[-1], ("/Blue", (0, 0, 0)))

    def test_moving_beside_a_node_of_the_name_that_is_used_aside(self):
        recorder = self.record()
        self.two_nodes()
        self.session.move_node("Node", None, "/")
        aside = recorder.calls[-1][1][1].decode("utf-16-le")[:-1]
        for _ in range(2):
            self.session.duplicate_node("Other", aside)
            self.session.move_node("Node", None, "/")
            self.assertNotEqual(recorder.calls[-1][1][1].decode("utf-16-le")[:-1], aside)
            aside += "+"
        before = self.session.instance_count()
        self.session.duplicate_node(aside[:-1], "New")
        self.assertEqual(self.session.instance_count(), before + 2)

    def test_renaming(self):
        self.two_nodes()
        self.session.rename_node("Node", "New", MOVED, "/New")
        self.assertEqual(self.places()[4:], [("/New/Red", (5, 6, 7)), ("/New/Blue", (5, 6, 7))])
        self.assertEqual(
            sorted(self.saved().meshes), ["Node_Blue", "Node_Red", "Other_Blue", "Other_Red"]
        )
        before = self.session.instance_count()
        self.session.duplicate_node("Node", "Nothing")
        self.assertEqual(self.session.instance_count(), before)
        # The old name is free, also for a node that was deleted or is empty.
        self.session.delete_node("Node")
        self.session.rename_node("New", "Node", None, "/")
        self.session.delete_node("Other")
        self.session.rename_node("Node", "Other", None, "/")
        self.session.rename_node("Nothing", "Still nothing", None, "/")
        self.assertEqual(self.session.instance_count(), before + 4)

    def test_a_node_built_under_a_name_that_was_given_up_replaces_the_geometry(self):
        self.two_nodes()
        self.session.rename_node("Node", "New", MOVED, "/New")
        with self.session.node("Node") as node:
            node.add_triangles("Red", array.array("f", range(9)))
        saved = self.saved()
        renamed = [i for i in saved.instances if i["transform"][12:15] == (5, 6, 7)]
        shown = {i["material"]: saved.meshes[i["mesh"]]["positions"] for i in renamed}
        self.assertEqual(shown, {"Red": tuple(range(9)), "Blue": tuple(CORNERS)})

    def test_names_that_cannot_be_moved_or_renamed(self):
        s = self.session
        self.two_nodes()
        s.delete_node("Other")
        s.begin_node("Open")
        s.begin_node("Renamed")  # Open is known, and ends without triangles
        recorder = self.record()
        for name in ("", "No such node", "Other", "node", "Node ", "Renamed"):
            with self.assertRaises(q7plugin.NodeError):
                s.move_node(name, None, "/")
            with self.assertRaises(q7plugin.NodeError):
                s.rename_node(name, "New", None, "/")
        for new in ("", "Node", "Open", "Renamed"):
            with self.assertRaises(q7plugin.NodeError):
                s.rename_node("Node", new, None, "/")
        for arguments, error in (
            ((5, None, "/"), TypeError),
            (("Node\0", None, "/"), ValueError),
            (("Node", [1, 2], "/"), ValueError),
            (("Node", "x", "/"), TypeError),
            (("Node", None, None), TypeError),
            (("Node", None, "\0"), ValueError),
        ):
            with self.assertRaises(error):
                s.move_node(*arguments)
            with self.assertRaises(error):
                s.rename_node(arguments[0], "New", *arguments[1:])
        for new, error in ((5, TypeError), ("\0", ValueError)):
            with self.assertRaises(error):
                s.rename_node("Node", new, None, "/")
        self.assertEqual(recorder.calls, [])
        s.end_node()
        s.move_node("Renamed", None, "/")
        # A node that is deleted while it is open is there again at its end.
        s.begin_node("Renamed")
        s.delete_node("Renamed")
        s.end_node()
        s.move_node("Renamed", None, "/")

    def test_names_at_their_limits(self):
        long, pair = "x" * 100_000, "\U0001f600"
        self.two_nodes()
        before = self.session.instance_count()
        for old, new in (("Node", long), (long, "\ud83d"), ("\ud83d", pair), (pair, "Node")):
            self.session.rename_node(old, new, None, "/")
        # To the library these are one name: both are the same two units.
        self.session.rename_node("Node", "\ud83d\ude00", None, "/")
        with self.assertRaises(q7plugin.NodeError):
            self.session.rename_node("Other", pair, None, "/")
        self.session.move_node(pair, None, "/")
        self.assertEqual(self.session.instance_count(), before + 5 * 2 + 4)

    def test_deleting_instances(self):
        recorder = self.record()
        with self.assertRaisesRegex(IndexError, "no instance has the id 5"):
            self.session.delete_instance(5)
        self.assertEqual(recorder.calls, [])

    def test_meshes(self):
        uvs = array.array("f", range(6))
        indices = array.array("i", [2, 1, 0])
        self.session.add_mesh("mesh", CORNERS, CORNERS, uvs, b"\1\2\3", indices)
        self.session.add_mesh("empty")
        meshes = self.saved().meshes
        self.assertEqual(
            meshes["mesh"],
            {
                "positions": tuple(CORNERS),
                "normals": tuple(CORNERS),
                "uvs": tuple(uvs),
                "colors": (1, 2, 3),
                "indices": (2, 1, 0),
            },
        )
        self.assertEqual(set(meshes["empty"].values()), {()})
        recorder = self.record()
        for arguments in (
            (CORNERS,),
            (CORNERS, uvs, uvs),
            (CORNERS, None, CORNERS),
            (None, CORNERS),
        ):
            with self.assertRaises(ValueError):
                self.session.add_mesh("other", *arguments)
        self.assertEqual(recorder.calls, [])


class Settings(LibraryTest):
    def test_material_version(self):
        for version, names in ((0, ["Red"]), (1, ["Red"]), (2, [])):
            with q7plugin.Session() as session:
                session.set_material_version(version)
                with session.node("Node") as node:
                    node.add_triangles("Red", CORNERS)
                saved = self.saved(session)
                self.assertEqual(list(saved.materials), names)
                self.assertEqual(saved.header["materialVersion"], version + 1)
        with self.assertRaises(ValueError):
            self.session.set_material_version(-1)

    def test_the_version_of_the_package_is_that_of_the_library(self):
        self.assertEqual(q7plugin.__version__, q7plugin.get_plugin_version())
        project = (PACKAGE / "pyproject.toml").read_text()
        self.assertIn(f'version = "{q7plugin.__version__}"', project)


class Materials(LibraryTest):
    def test_properties(self):
        s = self.session
        s.add_material("a/b")
        s.set_material_type("a/b", MaterialType.BASE_5)
        s.set_material_property("a/b", "Int", -5)
        s.set_material_property("a/b", "Float", 0.5)
        s.set_material_property("a/b", "Text", "a<b")
        s.set_material_property("a/b", "Flag", True)
        s.set_material_int_property("a/b", "Gone", 1)
        s.remove_material_property("a/b", "Gone")
        s.add_material("empty")
        s.set_material_float_property("empty", "x", 1)
        s.reset_material("empty")
        file = self.folder / "saved.q7mesh"
        s.save_raw_to_file(file)
        first, second = inspected(file)["materials"]
        self.assertEqual((first["name"], first["kind"]), ("a@b", "typed"))
        texts = {row["element"]: row["text"] for row in first["properties"]}
        self.assertEqual(texts, {"Int": "-5", "Float": "0.5", "Text": "a<b", "Flag": "1"})
        self.assertIn("Base_5", first["type"])
        self.assertEqual(second["properties"], [])

    def test_wrong_values(self):
        recorder = self.record()
        for value, error in (
            (2**31, ValueError),
            (None, TypeError),
            ([1], TypeError),
            ("\0", ValueError),
        ):
            with self.assertRaises(error):
                self.session.set_material_property("a", "b", value)
        with self.assertRaises(TypeError):
            self.session.set_material_int_property("a", "b", 1.5)
        with self.assertRaises(TypeError):
            self.session.set_material_float_property("a", "b", "1")
        with self.assertRaises(ValueError):
            self.session.set_material_type("a", -1)
        self.assertEqual(recorder.calls, [])

    def test_text_materials(self):
        self.session.add_text_material("a/b", "<Mine/>")
        self.assertEqual(self.saved().materials, {"a@b": "<Mine/>"})
        file = self.folder / "materials.xml"
        self.session.save_material_to_file(file)
        self.assertIn("<Mine/>", file.read_text())


class Saving(LibraryTest):
    def setUp(self):
        super().setUp()
        for name in ("A", "B"):
            with self.session.node(name, MOVED) as node:
                node.add_triangles("Red", CORNERS)

    def test_streams(self):
        raw, processed = self.folder / "raw.q7mesh", str(self.folder / "processed.q7mesh")
        raw.write_bytes(b"older and longer" * 1000)
        self.session.save_raw_to_file(raw)
        self.session.save_processed_to_file(processed)
        self.assertEqual(len(inspected(raw)["instances"]), 2)
        self.assertEqual(len(inspected(processed)["instances"]), 1)
        for file in (raw, processed):
            self.assertEqual(inspect("--validate", file)[0], 0)

    def test_files_that_cannot_be_written(self):
        recorder = self.record()
        missing = self.folder / "no such folder" / "file"
        for save in (
            self.session.save_raw_to_file,
            self.session.save_processed_to_file,
            self.session.save_material_to_file,
        ):
            with self.assertRaises(FileNotFoundError):
                save(missing)
            with self.assertRaises(IsADirectoryError):
                save(self.folder)
            with self.assertRaises(TypeError):
                save(b"bytes")
        self.assertEqual(recorder.calls, [])

    def test_archives(self):
        texture = self.folder / "wood.png"
        texture.write_bytes(b"pixels")
        self.session.set_material_version(1)
        self.session.add_material("Wood")
        self.session.set_material_property("Wood", "Texture", str(texture))
        raw, processed, ext = (self.folder / f"{name}.q7a" for name in ("raw", "processed", "ext"))
        self.session.save_raw_to_q7a(raw)
        self.session.save_processed_to_q7a(processed)
        external = self.folder / "model.obj"
        external.write_bytes(b"v 0 0 0\n")
        self.session.save_ext_to_q7a(external, ext)
        self.assertEqual(inspect("--validate", raw)[0], 0)
        self.assertEqual(inspect("--validate", processed)[0], 0)
        self.assertEqual(zipfile.ZipFile(raw).read("textures/wood.png"), b"pixels")
        self.assertEqual(zipfile.ZipFile(ext).read("1.obj"), b"v 0 0 0\n")

    def test_an_archive_may_be_named_without_a_folder(self):
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(self.folder)
        self.session.save_raw_to_q7a("alone.q7a")
        self.assertTrue(zipfile.is_zipfile("alone.q7a"))

    def test_archives_that_cannot_be_made(self):
        (self.folder / "file").write_text("x")
        with self.assertRaises(q7plugin.ArchiveError) as caught:
            self.session.save_raw_to_q7a(self.folder / "file" / "a.q7a")
        self.assertEqual(caught.exception.path, str(self.folder / "file" / "a.q7a"))
        with self.assertRaises(FileNotFoundError):
            self.session.save_ext_to_q7a(self.folder / "none", self.folder / "a.q7a")


class Entities(LibraryTest):
    def test_wrong_arguments(self):
        recorder = self.record()
        s = self.session
        with self.assertRaisesRegex(TypeError, "only the camera and the metadata have no name"):
            s.set_entity_property(EntityType.LIGHT, None, "a", 1)
        with self.assertRaises(TypeError):
            s.set_entity_property(EntityType.CAMERA, None, "a", None)
        with self.assertRaises(ValueError):
            s.set_entity_property(-1, "x", "a", 1)
        with self.assertRaises(ValueError):
            s.add_legacy_scene("a", "b", bytes(35), 0)
        with self.assertRaises(ValueError):
            s.add_legacy_scene("a", "b", bytes(36), -1)
        with self.assertRaises(ValueError):
            s.send_camera_transform_fov(bytes(64), 1.0)
        self.assertEqual(recorder.calls, [])

    def test_camera_animations(self):
        s = self.session
        with self.assertRaisesRegex(KeyError, "there is no camera animation 'walk'"):
            s.add_anim_entity_frame("walk", 0)
        s.add_camera_anims("walk")
        self.assertEqual([s.add_anim_entity_frame("walk", time) for time in (0, 0.5, 1)], [0, 1, 2])
        self.assertEqual(s.find_anim_entity_frame("walk", 0.5), 1)
        self.assertIsNone(s.find_anim_entity_frame("walk", 7))
        self.assertIsNone(s.find_anim_entity_frame("run", 0))
        s.delete_anim_entity_frame("walk", 1)
        self.assertEqual(s.find_anim_entity_frame("walk", 1), 1)
        s.clear_anim_entity_frames("walk")
        self.assertIsNone(s.find_anim_entity_frame("walk", 1))

    def test_points(self):
        recorder = self.record(passing=False)
        s = self.session
        self.assertEqual(AnimProperty(1), (1, 0, 0, 0, 0))
        s.set_anim_property("a", "X", 0, AnimProperty(1, 2, 3, 4, 5))
        value = recorder.calls[-1][1][-1]
        self.assertEqual((value.V, value.LT, value.LV, value.RT, value.RV), (1, 2, 3, 4, 5))
        s.set_anim_array_property("a", "X", 0, [AnimProperty(1), (2, 0, 0, 0, 0)])
        self.assertEqual(recorder.calls[-1][1][-1], 2)
        values = array.array("d", range(10))
        s.set_anim_array_property("a", "X", 0, memoryview(values).cast("B").cast("d", [2, 5]))
        self.assertEqual(recorder.calls[-1][1][-2:], (values.buffer_info()[0], 2))
        count = len(recorder.calls)
        for wrong, error in (((1, 2), ValueError), (5, TypeError), ("abcde", TypeError)):
            with self.assertRaises(error):
                s.set_anim_property("a", "X", 0, wrong)
        for wrong, error in (
            (values, ValueError),
            ([1], TypeError),
            (5, TypeError),
            (CORNERS, TypeError),
        ):
            with self.assertRaises(error):
                s.set_anim_array_property("a", "X", 0, wrong)
        with self.assertRaises(ValueError):
            s.set_anim_property("a", "X", 2**31, None)
        self.assertEqual(len(recorder.calls), count)


class Environment(LibraryTest):
    def test_client_id(self):
        self.assertRegex(q7plugin.get_cid(), "^[0-9A-Fa-f]{32}$")
        self.assertEqual(
            q7plugin.get_cid(), (HOME / "q7_launcher" / "cid.dat").read_text().split()[0]
        )

    def test_log_folder(self):
        self.assertEqual(q7plugin.get_log_dir(), f"{HOME}/q7_engine/Saved/Logs/")

    def test_window(self):
        self.assertIsNone(q7plugin.render_window_size())

    def test_a_window_size_has_two_halves(self):
        from q7plugin import _library, renderer

        functions = _library.functions()
        self.addCleanup(setattr, functions, "Q7RenderWindowSize", functions.Q7RenderWindowSize)
        functions.Q7RenderWindowSize = lambda: 1920 << 16 | 1080
        self.assertEqual(renderer.render_window_size(), (1920, 1080))


class RawStructure(unittest.TestCase):
    def test_layout(self):
        import ctypes

        point = q7plugin.raw.Q7AnimProperty(1, 2, 3, 4, 5)
        self.assertEqual(bytes(point), struct.pack("=5d", 1, 2, 3, 4, 5))
        self.assertEqual(ctypes.sizeof(point), 40)


if __name__ == "__main__":
    unittest.main()
