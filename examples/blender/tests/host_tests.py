"""The add-on in Blender, against q7-standin and q7-inspect. Run by Blender:

    blender -b --factory-startup --python-exit-code 1 -P examples/blender/tests/host_tests.py [-- TEST...]

with the environment that bindings/python/tests/support.py names. With GTEST_OUTPUT=xml:FOLDER/ it leaves a
report there that scripts/tally.py counts. What arrives is compared with what Blender itself tells of
its objects, by other means than the add-on's.
"""

import contextlib
import json
import math
import os
import re
import subprocess
import sys
import tempfile
import time
import types
import unittest
import unittest.mock
import zipfile
import xml.etree.ElementTree as ET
from pathlib import Path

import bpy
import numpy as np
from mathutils import Euler, Vector

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent.parent
for folder in (HERE.parent, ROOT / "bench", ROOT / "bindings/python/tests"):
    sys.path.insert(0, str(folder))

import blender_exporters as scenes  # noqa: E402
import package  # noqa: E402
import q7_link  # noqa: E402
from q7_link import identity, link, live, operators, panel, scene_reader  # noqa: E402
from support import LIMIT, Reader, Standin, inspect, needed  # noqa: E402

TOLERANCE = 1e-5


class Stream(Reader):
    """The same with numpy's arrays: those of the large scene have millions of values."""

    def numbers(self, kind, count):
        data = self.take(count * (1 if kind == "B" else 4))
        return np.frombuffer(data, {"f": "<f4", "i": "<i4", "B": "u1"}[kind])

    def placed(self):
        """For each instance its material, number of triangles, and the box around it in the world."""
        boxes = {name: _box(mesh["positions"].reshape(-1, 3)) for name, mesh in self.meshes.items()}
        return [
            (
                instance["material"],
                len(self.meshes[instance["mesh"]]["positions"]) // 9,
                _moved(boxes[instance["mesh"]], instance["transform"].reshape(4, 4)),
            )
            for instance in self.instances
        ]

    def corners(self, mesh, what, width=3):
        return self.meshes[mesh][what].reshape(-1, width)


def _box(points):
    low, high = points.min(0), points.max(0)
    return np.array(
        [[x, y, z] for x in (low[0], high[0]) for y in (low[1], high[1]) for z in (low[2], high[2])]
    )


def _moved(box, transform):
    """The eight corners of a box, moved: row vectors."""
    return box @ transform[:3, :3] + transform[3, :3]


def expected(scale=1.0):
    """What Blender itself tells of its objects: the same as Stream.placed, but for all materials together."""
    depsgraph = bpy.context.evaluated_depsgraph_get()
    found, counts = [], {}
    for instance in depsgraph.object_instances:
        thing = instance.object
        if thing.type != "MESH" or not instance.show_self:
            continue
        key = thing.data.as_pointer()
        if key not in counts:
            counts[key] = sum(len(face.vertices) - 2 for face in thing.data.polygons)
        box = np.array([instance.matrix_world @ Vector(corner) for corner in thing.bound_box])
        found.append((counts[key], scale * box))
    return found


def bounds(boxes):
    points = np.concatenate(boxes)
    return np.concatenate([points.min(0), points.max(0)])


class HostTest(unittest.TestCase):
    def setUp(self):
        bpy.ops.wm.read_factory_settings(use_empty=True)
        live.stop()
        live.status.show("")
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        self.addCleanup(live.stop)

    # -- making scenes ---------------------------------------------------------------------------

    def place(self, name, data, location=(0, 0, 0), collection=None):
        thing = bpy.data.objects.new(name, data)
        thing.location = location
        (collection or bpy.context.scene.collection).objects.link(thing)
        return thing

    def mesh(self, name, materials=(), faces=None, points=None):
        """A pyramid over a square, its faces dealt out to the materials in turn."""
        mesh = bpy.data.meshes.new(name)
        points = points or [(-1, -1, 0), (1, -1, 0), (1, 1, 0), (-1, 1, 0), (0, 0, 2)]
        faces = faces or [(3, 2, 1, 0), (0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4)]
        mesh.from_pydata(points, [], faces)
        for material in materials:
            mesh.materials.append(material)
        for face in mesh.polygons:
            face.material_index = face.index % max(1, len(materials))
        mesh.update()
        return mesh

    def cubes_on_points(self):
        """What makes a modifier place a cube on each point: of a mesh that is in no object."""
        tree = bpy.data.node_groups.new("tree", "GeometryNodeTree")
        if hasattr(tree, "interface"):  # since 4.0
            tree.interface.new_socket("in", in_out="INPUT", socket_type="NodeSocketGeometry")
            tree.interface.new_socket("out", in_out="OUTPUT", socket_type="NodeSocketGeometry")
        else:
            tree.inputs.new("NodeSocketGeometry", "in")
            tree.outputs.new("NodeSocketGeometry", "out")
        first, last = tree.nodes.new("NodeGroupInput"), tree.nodes.new("NodeGroupOutput")
        cube = tree.nodes.new("GeometryNodeMeshCube")
        instance = tree.nodes.new("GeometryNodeInstanceOnPoints")
        tree.links.new(first.outputs[0], instance.inputs["Points"])
        tree.links.new(cube.outputs["Mesh"], instance.inputs["Instance"])
        tree.links.new(instance.outputs[0], last.inputs[0])
        return tree

    def points(self, name, collection=None):
        """An object with a cube on each of its points, by a modifier."""
        thing = self.place(name, self.mesh(name), collection=collection)
        thing.modifiers.new("", "NODES").node_group = self.cubes_on_points()
        return thing

    def material(self, name, **inputs):
        material = bpy.data.materials.new(name)
        material.use_nodes = True
        for socket, value in inputs.items():
            self.principled(material).inputs[socket.replace("_", " ")].default_value = value
        return material

    def principled(self, material):
        return material.node_tree.nodes["Principled BSDF"]

    def image_node(self, material, image):
        node = material.node_tree.nodes.new("ShaderNodeTexImage")
        node.image = image
        return node

    def wire(self, material, source, socket):
        material.node_tree.links.new(source, self.principled(material).inputs[socket])

    def image(self, name, saved=True):
        image = bpy.data.images.new(name, 4, 4)
        if saved:
            image.filepath_raw = str(self.folder / f"{name}.png")
            image.file_format = "PNG"
            image.save()
            bpy.data.images.remove(image)
            image = bpy.data.images.load(str(self.folder / f"{name}.png"))
        return image

    # -- sending and looking ---------------------------------------------------------------------

    def exported(self, **settings):
        """The scene through a file."""
        for name, value in settings.items():
            setattr(bpy.context.scene.q7_link, name, value)
        file = self.folder / "scene.q7mesh"
        self.assertEqual(bpy.ops.q7.export_stream(filepath=str(file)), {"FINISHED"})
        code, out = inspect("--validate", file)
        self.assertEqual(code, 0, out)
        return Stream(file.read_bytes())

    def standin(self, *options):
        standin = Standin("--status", "4", *options)
        self.addCleanup(self.stop, standin)
        return standin

    def stop(self, standin):
        """Ends a stand-in so that nothing of it stays: blocks of one that is killed do."""
        if standin.process.poll() is None:
            standin.process.terminate()
            standin.process.wait(LIMIT)
        standin.close()

    @contextlib.contextmanager
    def renderer(self, *options):
        """A stand-in for the time of a block."""
        standin = self.standin(*options)
        yield standin
        self.stop(standin)

    def models(self, standin):
        return [file for file in standin.received() if file.suffix == ".q7mesh"]

    def stream(self, standin):
        """The last model that arrived."""
        return Stream(self.models(standin)[-1].read_bytes())

    def settle(self):
        """Waits until the stand-in has taken all that was sent: it answers one after the other."""
        with sys.modules["q7plugin"].Session() as session:
            session.get_meta_data()

    def texts(self, standin):
        """The last message of each kind."""
        self.settle()
        return {
            "-".join(file.stem.split("-")[1:]): json.loads(file.read_text())
            for file in standin.received()
            if file.suffix == ".json"
        }

    def sent(self, *options):
        """The scene over the link: the model in both its forms, and the other messages."""
        standin = self.standin(*options)
        self.assertEqual(bpy.ops.q7.send(), {"FINISHED"})
        texts = self.texts(standin)
        code, out = self.ended(standin)
        self.assertEqual(code, 0, out)
        return self.stream(standin), texts, self.models(standin)

    def ended(self, standin):
        """Exit code and output of a stand-in that is told to end, when it has taken all that was sent."""
        self.settle()
        standin.process.terminate()
        return standin.finish()

    def expect_placed(self, stream, scale=1.0):
        """Every object with its triangles where Blender has it."""
        wanted = expected(scale)
        placed = stream.placed()
        self.assertEqual(sum(count for _, count, _ in placed), sum(count for count, _ in wanted))
        np.testing.assert_allclose(
            bounds([box for _, _, box in placed]),
            bounds([box for _, box in wanted]),
            atol=1e-4,
            rtol=TOLERANCE,
        )
        return placed, wanted

    def fails(self, run, text):
        """Runs an operator that must fail with this text, in the report and in the panel."""
        with self.assertRaisesRegex(RuntimeError, text):
            run()
        self.assertRegex(live.status.error, text)
        shown = [line for line, icon in panel.messages(live.status, False) if icon == "ERROR"]
        self.assertEqual(shown, [live.status.error])


class LargeScenes(HostTest):
    def send(self, make):
        make(self.folder, False)
        bpy.context.view_layer.update()
        start = time.perf_counter()
        stream, texts, models = self.sent()
        print(f"  {make.__name__}: {time.perf_counter() - start:.2f} s with the stand-in's checks")
        return stream, texts, models

    def test_one_mesh_in_many_places(self):
        stream, texts, models = self.send(scenes.mesh_in_many_places)
        self.assertEqual(len(models), 2)
        placed, wanted = self.expect_placed(stream)
        self.assertEqual(len(stream.meshes), 3)
        self.assertEqual(len(placed), 600)
        self.assertEqual(sum(count for _, count, _ in placed), 100_000_000)
        self.assertEqual(
            {material for material, _, _ in placed}, {f"material{i}" for i in range(3)}
        )
        self.assertEqual(stream.header["triangleCount"], 100_000_000)
        # Each place has the box that Blender tells.
        boxes = sorted(
            (bounds([box for _, _, box in placed[i : i + 3]]).tolist() for i in range(0, 600, 3))
        )
        np.testing.assert_allclose(
            boxes, sorted(bounds([box]).tolist() for _, box in wanted), rtol=1e-5, atol=1e-3
        )
        texture = re.search(
            "<BaseColorTexture>(.*)</BaseColorTexture>", stream.materials["material0"]
        )
        self.assertEqual(texture[1], str(self.folder / "texture.png"))
        self.assertEqual(texts["lights"]["lights"][0]["Type"], "Point")
        frames = texts["camera-animations"]["CameraAnimations"][0]["FrameData"]
        self.assertEqual(len(frames), 217)
        for frame in (1, 40, 217):
            bpy.context.scene.frame_set(frame)
            at = frames[frame - 1]
            self.assertAlmostEqual(at["T"], (frame - 1) / 24)
            np.testing.assert_allclose(
                [point["V"] for point in at["Position"]],
                bpy.data.objects["camera"].matrix_world.translation,
                atol=1e-5,
            )

    def test_many_distinct_meshes(self):
        stream, _, models = self.send(scenes.distinct_meshes)
        self.assertEqual(len(models), 2)
        placed, wanted = self.expect_placed(stream)
        self.assertEqual(len(stream.meshes), 5000)
        self.assertEqual({count for _, count, _ in placed}, {192})
        self.assertEqual(len({material for material, _, _ in placed}), 20)
        np.testing.assert_allclose(
            sorted(bounds([box]).tolist() for _, _, box in placed),
            sorted(bounds([box]).tolist() for _, box in wanted),
            rtol=1e-5,
            atol=1e-4,
        )
        for instance in stream.instances[::500]:
            number = int(instance["mesh"][4:].split("_")[0])
            self.assertEqual(instance["material"], f"material{number % 20}")

    def test_many_distinct_meshes_merged(self):
        scenes.distinct_meshes(self.folder, False)
        bpy.context.scene.q7_link.merged = True
        stream, _, models = self.sent()
        self.assertEqual((len(models), len(stream.meshes)), (1, 20))
        self.expect_placed(stream)


class Geometry(HostTest):
    def test_linked_duplicates_share_their_mesh(self):
        mesh = self.mesh("pyramid")
        for x in range(3):
            self.place(f"p{x}", mesh, (5 * x, 0, 0))
        stream = self.exported()
        self.assertEqual(list(stream.meshes), ["p0_"])
        self.assertEqual([i["transform"][12] for i in stream.instances], [0, 5, 10])
        self.expect_placed(stream)

    def test_transforms_are_those_of_row_vectors(self):
        thing = self.place("p", self.mesh("pyramid"), (1, 2, 3))
        thing.rotation_euler = Euler((0.3, -0.4, 1.1))
        thing.scale = (1, 2, 3)
        parent = self.place("parent", None, (7, 0, 0))
        parent.rotation_euler = Euler((0, 0.5, 0))
        thing.parent = parent
        bpy.context.view_layer.update()
        stream = self.exported()
        matrix = np.array(thing.matrix_world.transposed(), np.float32).ravel()
        np.testing.assert_allclose(stream.instances[0]["transform"], matrix, rtol=1e-6)
        self.expect_placed(stream)

    def test_y_up_and_scale(self):
        self.place("p", self.mesh("pyramid"), (1, 2, 3))
        stream = self.exported(axes="Y", scale=10.0)
        np.testing.assert_allclose(
            stream.instances[0]["transform"],
            [10, 0, 0, 0, 0, 0, -10, 0, 0, 10, 0, 0, 10, 30, -20, 1],
        )

    def test_collection_instances_in_collection_instances(self):
        inner, outer = bpy.data.collections.new("inner"), bpy.data.collections.new("outer")
        mesh = self.mesh("pyramid")
        self.place("leaf", mesh, (1, 0, 0), inner)
        for x in (0, 10):
            twig = self.place(f"twig{x}", None, (x, 0, 0), outer)
            twig.instance_type, twig.instance_collection = "COLLECTION", inner
        for y in (0, 100):
            tree = self.place(f"tree{y}", None, (0, y, 0))
            tree.instance_type, tree.instance_collection = "COLLECTION", outer
            tree.rotation_euler.z = 0.5
        bpy.context.view_layer.update()
        stream = self.exported()
        self.assertEqual(len(stream.meshes), 1)
        placed, wanted = self.expect_placed(stream)
        self.assertEqual((len(placed), len(wanted)), (4, 4))
        np.testing.assert_allclose(
            sorted(box.mean(0).tolist() for _, _, box in placed),
            sorted(box.mean(0).tolist() for _, box in wanted),
            atol=1e-4,
        )

    def test_paths_tell_objects_apart(self):
        collection = bpy.data.collections.new("inner")
        self.place("leaf", self.mesh("pyramid"), (1, 0, 0), collection)
        for name in ("a", "b"):
            thing = self.place(name, None)
            thing.instance_type, thing.instance_collection = "COLLECTION", collection
        self.place("child/1", self.mesh("other")).parent = thing
        file = self.folder / "scene.q7a"
        bpy.ops.q7.export_archive(filepath=str(file))
        with zipfile.ZipFile(file) as archive:
            info = json.loads(archive.read("info.json"))
        self.assertEqual(
            sorted(info["instanceIdArray"]),
            ["/a/leaf/No Material", "/b/child@1/No Material", "/b/leaf/No Material"],
        )

    def test_modifiers_and_shape_keys(self):
        mesh = self.mesh("pyramid")
        self.place("plain", mesh)
        thick = self.place("thick", mesh, (10, 0, 0))
        thick.modifiers.new("", "SUBSURF").levels = 2
        thick.modifiers.new("", "ARRAY").count = 3
        shaped = self.place("shaped", self.mesh("shaped"), (0, 10, 0))
        shaped.shape_key_add(name="Basis")
        shaped.shape_key_add(name="Up").data[4].co.z = 9
        shaped.data.shape_keys.key_blocks["Up"].value = 0.5
        bpy.context.view_layer.update()
        stream = self.exported()
        self.assertEqual(len(stream.meshes), 3)
        self.expect_placed(stream)
        self.assertAlmostEqual(stream.corners("shaped_", "positions")[:, 2].max(), 5.5, 4)

    def test_curves_texts_and_metaballs(self):
        curve = bpy.data.curves.new("curve", "CURVE")
        curve.bevel_depth = 0.1
        spline = curve.splines.new("POLY")
        spline.points.add(1)
        spline.points[1].co = (5, 0, 0, 1)
        text = bpy.data.curves.new("text", "FONT")
        text.body = "Q7"
        ball = bpy.data.metaballs.new("ball")
        ball.elements.new()
        for name, data in (("curve", curve), ("curve2", curve), ("text", text), ("ball", ball)):
            self.place(name, data)
        bpy.context.view_layer.update()
        stream = self.exported()
        self.assertEqual(set(stream.meshes), {"curve_", "curve2_", "text_", "ball_"})
        self.assertEqual(len(stream.instances), 4)
        for name in ("curve", "text", "ball"):
            evaluated = bpy.data.objects[name].evaluated_get(bpy.context.evaluated_depsgraph_get())
            mesh = evaluated.to_mesh()
            count = sum(len(face.vertices) - 2 for face in mesh.polygons)
            evaluated.to_mesh_clear()
            self.assertEqual(len(stream.corners(f"{name}_", "positions")), 3 * count)

    def test_geometry_nodes(self):
        """Instances that a modifier makes: of a mesh that is in no object, on the points of one that is."""
        thing = self.place("points", self.mesh("pyramid"))
        thing.modifiers.new("", "NODES").node_group = self.cubes_on_points()
        bpy.context.view_layer.update()
        stream = self.exported()
        self.assertEqual(len(stream.meshes), 1)
        self.assertEqual([count for _, count, _ in stream.placed()], [12] * 5)
        self.assertEqual(
            sorted(tuple(i["transform"][12:15].tolist()) for i in stream.instances),
            sorted(tuple(vertex.co) for vertex in thing.data.vertices),
        )

    def test_normals_and_uvs_are_blenders(self):
        """Flat, smooth, mixed, and with sharp edges by angle, of faces of three to five corners."""
        points = [(0, 0, 0), (2, 0, 0), (3, 1, 1), (1, 2, 0), (0, 1, 0.5), (1, 1, 3), (4, 4, 1)]
        faces = [(0, 1, 2, 3, 4), (1, 0, 5), (2, 1, 5, 6), (4, 3, 5)]
        cases = {"flat": [False] * 4, "smooth": [True] * 4, "mixed": [True, False, True, False]}
        cases["auto"] = [True] * 4
        for name, smooth in cases.items():
            mesh = self.mesh(name, faces=faces, points=points)
            mesh.polygons.foreach_set("use_smooth", smooth)
            layer = mesh.uv_layers.new()
            for i, corner in enumerate(layer.data):
                corner.uv = (i / 7, i * i / 50)
            if name == "auto" and hasattr(mesh, "use_auto_smooth"):
                mesh.use_auto_smooth, mesh.auto_smooth_angle = True, 0.9
            self.place(name, mesh)
        stream = self.exported()
        for name in cases:
            mesh = bpy.data.meshes[name]
            mesh.calc_loop_triangles()
            if hasattr(mesh, "calc_normals_split"):
                mesh.calc_normals_split()
            corners = [corner for triangle in mesh.loop_triangles for corner in triangle.loops]
            split = [
                normal for triangle in mesh.loop_triangles for normal in triangle.split_normals
            ]
            with self.subTest(name):
                np.testing.assert_allclose(
                    stream.corners(f"{name}_", "normals"), [tuple(n) for n in split], atol=1e-4
                )
                np.testing.assert_allclose(
                    stream.corners(f"{name}_", "positions"),
                    [tuple(mesh.vertices[mesh.loops[c].vertex_index].co) for c in corners],
                )
                np.testing.assert_allclose(
                    stream.corners(f"{name}_", "uvs", 2),
                    [tuple(mesh.uv_layers[0].data[c].uv) for c in corners],
                )

    def test_the_uv_map_for_rendering(self):
        mesh = self.mesh("pyramid")
        for number in (1, 2):
            layer = mesh.uv_layers.new(name=str(number))
            layer.data.foreach_set("uv", [float(number)] * (2 * len(mesh.loops)))
        mesh.uv_layers["2"].active_render = True
        self.place("p", mesh)
        self.assertEqual(set(self.exported().meshes["p_"]["uvs"]), {2.0})

    def test_edit_mode(self):
        thing = self.place("p", self.mesh("pyramid"))
        bpy.context.view_layer.objects.active = thing
        bpy.ops.object.mode_set(mode="EDIT")
        self.addCleanup(bpy.ops.object.mode_set, mode="OBJECT")
        self.assertEqual([count for _, count, _ in self.exported().placed()], [6])

    def test_coordinates_that_are_not_finite(self):
        mesh = self.mesh("pyramid")
        mesh.vertices[4].co = (float("nan"), float("nan"), 2)
        self.place("p", mesh)
        points = self.exported().corners("p_", "positions")
        self.assertIn([0, 0, 2], points.tolist())

    def test_hidden_and_empty_objects(self):
        self.place("hidden", self.mesh("a")).hide_viewport = True
        self.place("empty", bpy.data.meshes.new("empty"))
        points = self.mesh("edges", faces=[(0, 1, 2)])
        points.clear_geometry()
        points.from_pydata([(0, 0, 0), (1, 0, 0)], [(0, 1)], [])
        self.place("edge", points)
        self.assertEqual(self.exported().instances, [])

    def expect_fronts_outside(self, stream):
        """Corners run counter-clockwise seen from outside, in the world, and normals point there."""
        inside = {"p": (0, 0, 0.5), "q": (5, 0, 0.5), "r": (20, 0, 1)}
        for instance in stream.instances:
            mesh = stream.meshes[instance["mesh"]]
            transform = instance["transform"].reshape(4, 4).astype(float)
            points = _moved(mesh["positions"].reshape(-1, 3), transform).reshape(-1, 3, 3)
            normals = mesh["normals"].reshape(-1, 3) @ np.linalg.inv(transform[:3, :3]).T
            faces = np.cross(points[:, 1] - points[:, 0], points[:, 2] - points[:, 0])
            middle = points.mean(1)
            near = np.array(list(inside.values()))
            centre = near[np.abs(middle[:, None, 0] - near[:, 0]).argmin(1)]
            self.assertGreater(np.einsum("ij,ij->i", middle - centre, faces).min(), 0)
            turned = np.einsum("ijk,ik->ij", normals.reshape(-1, 3, 3), faces)
            self.assertGreater(turned.min(), 0)

    def test_mirrored_objects(self):
        """Neither the renderer, by the order of corners, nor a merged mesh shows them inside out."""
        mesh = self.mesh("pyramid", [self.material("Red")])
        layer = mesh.uv_layers.new()
        for corner, loop in zip(layer.data, mesh.loops):
            corner.uv = mesh.vertices[loop.vertex_index].co.xy
        self.place("p", mesh)
        self.place("q", mesh, (5, 0, 0)).scale = (1, -1, 1)
        self.place("q2", mesh, (5, 0, 0)).scale = (-1, -1, 1)
        own = self.place("r", mesh.copy(), (20, 0, 0))
        own.scale = (-1, 2, 3)
        own.modifiers.new("", "TRIANGULATE")
        self.place("flat", self.mesh("flat"), (40, 0, 0)).scale = (0, 1, 1)
        bpy.context.view_layer.update()
        bpy.data.objects.remove(bpy.data.objects["flat"])
        for merged in (False, True):
            stream = self.exported(merged=merged)
            self.expect_placed(stream)
            self.expect_fronts_outside(stream)
        stream = self.exported(merged=False)
        # What is mirrored alike shares its geometry, and uvs stay with their corners.
        self.assertEqual(
            [instance["mesh"] for instance in stream.instances],
            ["p_Red", "q_Red", "p_Red", "r_Red"],
        )
        points, uvs = stream.corners("q_Red", "positions"), stream.corners("q_Red", "uvs", 2)
        np.testing.assert_allclose(uvs, points[:, :2] * (-1, 1))

    def test_instances_that_are_mirrored(self):
        inner = bpy.data.collections.new("inner")
        self.place("leaf", self.mesh("leaf"), (1, 0, 0), inner)
        self.points("points", inner)
        for name, scale in (("a", 1), ("b", -1)):
            tree = self.place(name, None, (0, 0, 0))
            tree.instance_type, tree.instance_collection = "COLLECTION", inner
            tree.scale.x = scale
        bpy.context.view_layer.update()
        stream = self.exported()
        self.expect_placed(stream)
        self.assertEqual(len(stream.meshes), 4)
        for instance in stream.instances:
            transform = instance["transform"].reshape(4, 4)
            self.assertGreater(np.linalg.det(transform[:3, :3]), 0)

    def hidden_scene(self):
        """Objects in pairs: one that is there, and one that is hidden in the way of its name."""
        scene = bpy.context.scene.collection
        mesh = self.mesh("pyramid")
        icon, monitor, excluded, both = (
            bpy.data.collections.new(name) for name in ("icon", "monitor", "excluded", "both")
        )
        for collection in (icon, monitor, excluded, both):
            scene.children.link(collection)
        icon.hide_render = monitor.hide_viewport = True
        layers = bpy.context.view_layer.layer_collection.children
        layers["excluded"].exclude = True
        self.place("shown", mesh)
        self.place("render", mesh).hide_render = True
        self.place("eye", mesh)
        self.place("screen", mesh).hide_viewport = True
        self.place("in icon", mesh, collection=icon)
        self.place("in monitor", mesh, collection=monitor)
        self.place("in excluded", mesh, collection=excluded)
        two = self.place("in icon and both", mesh, collection=icon)
        both.objects.link(two)
        light = bpy.data.lights.new("light", "POINT")
        self.place("light", light)
        self.place("dark", light).hide_render = True
        tree = bpy.data.collections.new("tree")
        below = bpy.data.collections.new("below")
        tree.children.link(below)
        below.hide_render = True
        self.place("leaf", mesh, collection=tree)
        self.place("leaf without render", mesh, collection=tree).hide_render = True
        self.place("leaf below", mesh, collection=below)
        dead = self.place("dead twig", None, collection=tree)
        dead.hide_render = True
        twig = bpy.data.collections.new("twig")
        self.place("needle", mesh, collection=twig)
        dead.instance_type, dead.instance_collection = "COLLECTION", twig
        for name in ("tree", "tree without render"):
            root = self.place(name, None)
            root.instance_type, root.instance_collection = "COLLECTION", tree
        root.hide_render = True
        instancer = self.place("not itself", mesh)
        instancer.instance_type = "VERTS"
        instancer.show_instancer_for_render = False
        camera = bpy.context.scene.camera = self.place("camera", bpy.data.cameras.new("c"))
        camera.location.x = 7
        bpy.context.view_layer.update()
        for thing in ("eye", "camera"):
            bpy.data.objects[thing].hide_set(True)
        camera.hide_render = True

    def test_hidden_objects(self):
        self.hidden_scene()
        scene = scene_reader.SceneReader().read(bpy.context)
        self.assertEqual(
            sorted(placement.path for placement in scene.placements),
            ["/in icon and both", "/shown", "/tree/leaf"],
        )
        self.assertEqual([light.name for light in scene.lights], ["light"])
        # Blender renders with the scene's camera, hidden or not.
        self.assertEqual([camera.pose.position for camera in scene.cameras], [(7, 0, 0)])
        self.assertEqual(scene.left_out, ["eye", "in monitor", "screen"])
        self.exported()
        self.assertEqual(
            live.status.warnings,
            [
                "Left out, since hidden in the viewport (Blender renders them): "
                "eye, in monitor, screen"
            ],
        )
        self.exported(selected=True)
        self.assertEqual(live.status.warnings, [])

    def test_instances_of_what_is_not_rendered_itself(self):
        """Geometry nodes place an object whatever its camera icon says."""
        source = self.place("source", self.mesh("source"))
        source.hide_render = True
        points = self.place("points", self.mesh("points"))
        tree = self.cubes_on_points()
        info = tree.nodes.new("GeometryNodeObjectInfo")
        info.inputs["Object"].default_value = source
        info.inputs["As Instance"].default_value = True
        instance = next(n for n in tree.nodes if n.type == "INSTANCE_ON_POINTS")
        tree.links.new(info.outputs["Geometry"], instance.inputs["Instance"])
        points.modifiers.new("", "NODES").node_group = tree
        bpy.context.view_layer.update()
        paths = [p.path for p in scene_reader.SceneReader().read(bpy.context).placements]
        self.assertEqual(
            [path.rpartition("/")[0] for path in paths if path != "/points"], ["/points"] * 5
        )
        points.hide_render = True
        bpy.context.view_layer.update()
        self.assertEqual(scene_reader.SceneReader().read(bpy.context).placements, [])

    def test_selected_objects(self):
        for name in "ab":
            self.place(name, self.mesh(name))
        bpy.data.objects["b"].select_set(True)
        self.assertEqual(list(self.exported(selected=True).meshes), ["b_"])


class Identities(HostTest):
    """Names and paths by which the renderer knows what was sent before."""

    def names(self):
        """Of the scene as an export has it: mesh and path of each instance, materials, lights, scenes."""
        file = self.folder / "scene.q7a"
        self.assertEqual(bpy.ops.q7.export_archive(filepath=str(file)), {"FINISHED"})
        with zipfile.ZipFile(file) as archive:
            paths = json.loads(archive.read("info.json"))["instanceIdArray"]
            stream = Stream(archive.read("1.q7mesh"))
            textures = [name for name in archive.namelist() if name.startswith("textures/")]
        places = [tuple(i["transform"].round(4).tolist()) for i in stream.instances]
        meshes = [instance["mesh"] for instance in stream.instances]
        folder = re.compile(r"(?<=/)q7-[^/]+(?=/texture)")  # of this export alone
        return (
            sorted(zip(paths, meshes, places)),
            {name: folder.sub("", text) for name, text in sorted(stream.materials.items())},
            sorted(textures),
            sorted(light.name for light in self.records().lights),
        )

    def records(self):
        return scene_reader.SceneReader().read(bpy.context)

    def held(self):
        """The same of what the live link's session holds."""
        model = live.current().link.model
        return sorted(
            (placed.path, model._geometries[placed.geometry].name)
            for placed in model._placed.values()
        )

    def library(self):
        """Another file with an object Twin, its material Red with a texture, and a collection Tree of a
        Leaf and a lamp."""
        red = self.material("Red", Base_Color=(1, 0, 0, 1))
        image = self.image("texture")
        image.pack()
        self.wire(red, self.image_node(red, image).outputs["Color"], "Base Color")
        self.place("Twin", self.mesh("Twin", [red]), (5, 0, 0))
        tree = bpy.data.collections.new("Tree")
        bpy.context.scene.collection.children.link(tree)
        self.place("Leaf", self.mesh("Leaf"), (0, 5, 0), tree)
        self.place("Lamp", bpy.data.lights.new("Lamp", "POINT"), (0, 6, 0), tree)
        self.points("Points", tree)
        bpy.ops.wm.save_as_mainfile(filepath=str(self.folder / "lib.blend"))
        bpy.ops.wm.read_factory_settings(use_empty=True)

    def scene(self, is_turned=False):
        """Twins of this file and of the library, trees in trees, and points.

        is_turned: with everything made in the other order
        """
        self.library()
        makers = [self.link_twin, self.make_twin, self.make_trees, self.make_points]
        for maker in reversed(makers) if is_turned else makers:
            maker()
        bpy.context.view_layer.update()

    def link_twin(self):
        with bpy.data.libraries.load(str(self.folder / "lib.blend"), link=True) as (_, wanted):
            wanted.objects = ["Twin"]
        bpy.context.scene.collection.objects.link(wanted.objects[0])

    def make_twin(self):
        red = self.material("Red", Base_Color=(0.5, 0, 0, 1))
        image = self.image("texture")
        image.pack()
        self.wire(red, self.image_node(red, image).outputs["Color"], "Base Color")
        twin = self.place("Twin", self.mesh("Twin", [red]))
        other = self.place("Tw@in", self.mesh("Tw@in"), (0, 20, 0))
        self.place("Tw/in", self.mesh("Tw/in"), (0, 21, 0)).parent = twin
        self.place("Tw_in", other.data, (0, 22, 0))
        self.place("Tw/in2", self.mesh("Tw_in2"), (0, 23, 0))

    def make_trees(self):
        with bpy.data.libraries.load(str(self.folder / "lib.blend"), link=True) as (_, wanted):
            wanted.collections = ["Tree"]
        wood = bpy.data.collections.new("Wood")
        for x in (0, 10):
            twig = self.place(f"twig{x}", None, (x, 0, 10), wood)
            twig.instance_type, twig.instance_collection = "COLLECTION", wanted.collections[0]
        for y in (0, 100):
            tree = self.place(f"tree{y}", None, (0, y, 0))
            tree.instance_type, tree.instance_collection = "COLLECTION", wood

    def make_points(self):
        self.points("points")

    def test_paths(self):
        self.scene()
        (instances, materials, textures, lights) = self.names()
        paths = [path.rpartition("/")[0] for path, _, _ in instances]
        leaves = [f"/tree{y}/twig{x}" for y in (0, 100) for x in (0, 10)]
        self.assertEqual(len(set(paths)), len(paths))
        for path in (
            ["/Twin", "/Twin [lib.blend]", "/Twin/Tw@in", "/Tw@in", "/Tw_in", "/points/#0.0"]
            + [f"{leaf}/Leaf [lib.blend]" for leaf in leaves]
            + [f"{leaf}/Points [lib.blend]/#4.0" for leaf in leaves]
        ):
            self.assertEqual(paths.count(path), 1, (path, paths))
        self.assertEqual(set(materials), {"Red", "Red [lib.blend]", "No Material"})
        self.assertIn("#FFFFFF", materials["Red"])
        self.assertEqual(lights, sorted(f"{leaf[1:]}/Lamp [lib.blend]" for leaf in leaves))
        self.assertEqual(
            [name for name in textures if name != "textures/"],
            ["textures/texture (2).png", "textures/texture.png"],
        )
        meshes = {mesh for _, mesh, _ in instances}
        for mesh in ("Twin_Red", "Twin [lib.blend]_Red [lib.blend]", "points (2)_"):
            self.assertIn(mesh, meshes)

    def test_the_order_does_not_matter(self):
        self.scene()
        before = self.names()
        bpy.ops.wm.read_factory_settings(use_empty=True)
        self.scene(is_turned=True)
        self.assertEqual(self.names(), before)

    def test_reload_and_another_session(self):
        self.scene()
        file = self.folder / "main.blend"
        bpy.ops.wm.save_as_mainfile(filepath=str(file))
        before = self.names()
        bpy.ops.wm.open_mainfile(filepath=str(file))
        self.assertEqual(self.names(), before)
        script = self.folder / "script.py"
        target = self.folder / "other.q7a"
        script.write_text(
            f"import sys, bpy\nsys.path.insert(0, {str(HERE.parent)!r})\nimport q7_link\n"
            f"q7_link.register()\nbpy.ops.q7.export_archive(filepath={str(target)!r})\n"
        )
        command = [bpy.app.binary_path, "-b", "--factory-startup", str(file)]
        result = subprocess.run(
            [*command, "--python-exit-code", "1", "-P", str(script)],
            capture_output=True,
            text=True,
            timeout=LIMIT,
        )
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        with zipfile.ZipFile(target) as archive:
            paths = json.loads(archive.read("info.json"))["instanceIdArray"]
            meshes = [i["mesh"] for i in Stream(archive.read("1.q7mesh")).instances]
        self.assertEqual(
            sorted(zip(paths, meshes)), [(path, mesh) for path, mesh, _ in before[0]]
        )

    def flush(self):
        bpy.context.view_layer.update()
        live.current().flush(bpy.context)
        return self.held()

    def test_undo_and_redo(self):
        self.scene()
        bpy.ops.ed.undo_push(message="made")
        self.standin()
        self.assertEqual(bpy.ops.q7.live_start(), {"FINISHED"})
        made = self.held()
        textures = dict(live.current().link.textures._written)
        bpy.data.objects["Twin"].location.x = 3
        bpy.data.objects["points"].location.x = 50
        bpy.data.objects.remove(bpy.data.objects["Tw/in"])
        bpy.data.materials["Red"].name = "Pink"
        bpy.data.objects["Tw@in"].name = "Renamed"
        changed = self.flush()
        self.assertNotEqual(changed, made)
        bpy.ops.ed.undo_push(message="changed")
        fresh = []
        for _ in range(3):
            bpy.ops.ed.undo()
            self.assertEqual(self.flush(), made)
            self.assertEqual(live.current().link.textures._written, textures)
            bpy.ops.ed.redo()
            self.assertEqual([path for path, _ in self.flush()], [path for path, _ in changed])
            fresh.append(self.held())
        self.assertEqual(fresh[1:], fresh[:-1])

    def test_renamed_there_and_back(self):
        self.scene()
        self.standin()
        self.assertEqual(bpy.ops.q7.live_start(), {"FINISHED"})
        made = self.held()
        twin = bpy.data.objects["Twin"]
        for _ in range(2):
            twin.name = "Other"
            paths = {path for path, _ in self.flush()}
            self.assertLessEqual({"/Other", "/Other/Tw@in", "/Twin [lib.blend]"}, paths)
            twin.name = "Twin"
            self.assertEqual(self.flush(), made)

    def test_names_that_are_exchanged(self):
        first = self.place("first", self.mesh("a"))
        second = self.place("second", self.mesh("b", faces=[(0, 1, 2)]), (5, 0, 0))
        self.standin()
        self.assertEqual(bpy.ops.q7.live_start(), {"FINISHED"})
        first.name, second.name = "x", "first"
        first.name = "second"
        bpy.data.meshes["a"].name = "c"
        bpy.data.meshes["b"].name, bpy.data.meshes["c"].name = "a", "b"
        self.flush()
        model = live.current().link.model
        triangles = {
            placed.path: model._geometries[placed.geometry].triangles
            for placed in model._placed.values()
        }
        self.assertEqual(triangles, {"/second": 6, "/first": 1})

    def test_numbers_of_a_newer_version(self):
        thing = types.SimpleNamespace(session_uid=5, session_uuid=6, as_pointer=lambda: 7)
        cases = ({"name", "session_uid"}, 5), ({"session_uuid"}, 6), ({"name"}, 7)
        for properties, number in cases:
            self.assertEqual(identity._identity_by(properties)(thing), number)


class Materials(HostTest):
    def xml(self, stream, name):
        root = ET.fromstring(stream.materials[name])
        return {child.tag: child.text for child in root if child.tag not in ("id", "Type")}

    def test_slots(self):
        red, blue = self.material("Red"), self.material("Blue")
        mesh = self.mesh("pyramid", [red, None, blue, red])
        self.place("p", mesh)
        other = self.place("q", mesh)
        other.material_slots[1].link = "OBJECT"
        other.material_slots[1].material = blue
        stream = self.exported()
        placed = [(i["mesh"], i["material"]) for i in stream.instances]
        self.assertEqual(
            placed,
            [("p_Red", "Red"), ("p_", "No Material"), ("p_Blue", "Blue")]
            + [("q_Red", "Red"), ("q_Blue", "Blue")],
        )
        counts = {name: len(mesh["positions"]) // 9 for name, mesh in stream.meshes.items()}
        # The square is two triangles of the first slot; the fifth face is of the first slot again.
        self.assertEqual(counts, {"p_Red": 4, "p_": 1, "p_Blue": 1, "q_Red": 4, "q_Blue": 2})

    def test_properties(self):
        material = self.material(
            "M/1", Base_Color=(1, 0.5, 0, 1), Metallic=0.25, Roughness=0.75, Alpha=0.5
        )
        inputs = self.principled(material).inputs
        (inputs.get("Emission Color") or inputs["Emission"]).default_value = (0, 0, 0.5, 1)
        inputs["Emission Strength"].default_value = 1
        self.place("p", self.mesh("pyramid", [material]))
        self.assertEqual(
            self.xml(self.exported(), "M@1"),
            {
                "BaseColor": "#FF8000",
                "Emission": "#000080",
                "Metalness": "0.25",
                "Roughness": "0.75",
                "Opacity": "0.5",
            },
        )

    def test_materials_without_nodes_and_of_other_shaders(self):
        plain = bpy.data.materials.new("plain")
        plain.diffuse_color = (0, 1, 0, 0.5)
        glossy = self.material("glossy")
        tree = glossy.node_tree
        node = tree.nodes.new("ShaderNodeBsdfGlossy")
        node.inputs["Color"].default_value = (0, 0, 1, 1)
        tree.links.new(node.outputs[0], tree.nodes["Material Output"].inputs["Surface"])
        self.place("p", self.mesh("pyramid", [plain, glossy]))
        stream = self.exported()
        self.assertEqual(self.xml(stream, "plain")["BaseColor"], "#00FF00")
        self.assertEqual(self.xml(stream, "plain")["Opacity"], "0.5")
        self.assertEqual(self.xml(stream, "glossy")["BaseColor"], "#0000FF")
        self.assertEqual(self.xml(stream, "glossy")["Metalness"], "1")

    def textured(self, missing=True):
        """A texture in each place, of four kinds: relative, packed, made by Blender, and not there."""
        bpy.ops.wm.save_as_mainfile(filepath=str(self.folder / "scene.blend"))
        material = self.material("M")
        relative, packed, made = (
            self.image("relative"),
            self.image("packed"),
            self.image("made", False),
        )
        relative.filepath = "//relative.png"
        packed.pack()
        (self.folder / "packed.png").unlink()
        height = self.image("height")
        if missing:
            (self.folder / "height.png").unlink()
        nodes, links = material.node_tree.nodes, material.node_tree.links
        self.wire(material, self.image_node(material, relative).outputs["Color"], "Base Color")
        split = nodes.new("ShaderNodeSeparateColor")
        links.new(self.image_node(material, packed).outputs["Color"], split.inputs[0])
        self.wire(material, split.outputs["Blue"], "Metallic")
        self.wire(material, split.outputs["Green"], "Roughness")
        bump = nodes.new("ShaderNodeBump")
        normal_map = nodes.new("ShaderNodeNormalMap")
        links.new(self.image_node(material, made).outputs["Color"], normal_map.inputs["Color"])
        links.new(self.image_node(material, height).outputs["Color"], bump.inputs["Height"])
        links.new(normal_map.outputs[0], bump.inputs["Normal"])
        self.wire(material, bump.outputs[0], "Normal")
        self.place("p", self.mesh("pyramid", [material]))

    def test_textures(self):
        self.textured()
        xml = self.xml(self.exported(), "M")
        self.assertEqual(xml["BaseColor"], "#FFFFFF")
        self.assertEqual(xml["BaseColorTexture"], str(self.folder / "relative.png"))
        self.assertEqual(xml["BumpTexture"], str(self.folder / "height.png"))
        beside = self.folder / "scene_textures"
        self.assertEqual(xml["MetallicRoughnessTexture"], str(beside / "packed.png"))
        self.assertEqual(xml["NormalTexture"], str(beside / "made.png"))
        for name in ("packed.png", "made.png"):
            image = bpy.data.images.load(str(beside / name))
            self.assertEqual(tuple(image.size), (4, 4))
        self.assertEqual(live.status.warnings, ["Textures without a file: height.png"])

    def test_an_archive_holds_the_textures(self):
        self.textured(missing=False)
        file = self.folder / "scene.q7a"
        self.assertEqual(bpy.ops.q7.export_archive(filepath=str(file)), {"FINISHED"})
        code, out = inspect("--validate", file)
        self.assertEqual(code, 0, out)
        with zipfile.ZipFile(file) as archive:
            textures = sorted(name for name in archive.namelist() if name.startswith("textures/"))
        self.assertEqual(
            [t for t in textures if t != "textures/"],
            [f"textures/{n}.png" for n in ("height", "made", "packed", "relative")],
        )
        self.assertFalse([f for f in self.folder.iterdir() if f.name.startswith(("q7-", "__q7"))])


class Views(HostTest):
    def camera(self, name="camera", **values):
        camera = bpy.data.cameras.new(name)
        for key, value in values.items():
            setattr(camera, key, value)
        return self.place(name, camera)

    def messages(self):
        self.place("p", self.mesh("pyramid"))
        bpy.context.view_layer.update()
        return self.sent()[1]

    def test_cameras(self):
        first = self.camera("first", lens=30, sensor_width=36)
        first.location = (1, 2, 3)
        first.rotation_euler = Euler((math.pi / 2, 0, math.pi / 2))
        second = self.camera("second", type="ORTHO", ortho_scale=7, clip_start=0.5)
        bpy.context.scene.camera = second
        bpy.context.scene.render.resolution_x, bpy.context.scene.render.resolution_y = 1000, 500
        texts = self.messages()
        self.assertEqual([s["Name"] for s in texts["scenes"]["scenes"]], ["second", "first"])
        camera, view = texts["camera"], texts["scenes"]["scenes"][1]
        self.assertEqual(
            (camera["Name"], camera["OrthographicWidth"], camera["NearPlane"]), ("second", 7, 0.5)
        )
        self.assertNotIn("FieldOfView", camera)
        self.assertAlmostEqual(view["FieldOfView"], math.degrees(first.data.angle_x), 4)
        self.assertEqual(view["AspectRatio"], 2)
        np.testing.assert_allclose(view["Position"], (1, 2, 3))
        # Turned so that it looks along -X.
        np.testing.assert_allclose(view["Direction"], (-1, 0, 0), atol=1e-6)
        np.testing.assert_allclose(view["Up"], (0, 0, 1), atol=1e-6)

    def test_field_of_view_of_upright_pictures(self):
        camera = self.camera(lens=30, sensor_width=36, sensor_height=20)
        render = bpy.context.scene.render
        render.resolution_x, render.resolution_y = 500, 1000
        self.place("p", self.mesh("pyramid"))
        for fit in ("AUTO", "HORIZONTAL", "VERTICAL"):
            camera.data.sensor_fit = fit
            bpy.context.view_layer.update()
            # The frame in front of the camera, as Blender itself draws it.
            frame = camera.data.view_frame(scene=bpy.context.scene)
            width = max(corner.x for corner in frame) / -frame[0].z
            view = self.sent()[1]["camera"]
            self.assertAlmostEqual(view["FieldOfView"], math.degrees(2 * math.atan(width)), 3, fit)

    def test_lights(self):
        parent = self.place("lamp", None, (0, 0, 5))
        for kind in ("POINT", "SUN", "SPOT", "AREA"):
            light = bpy.data.lights.new(kind, kind)
            light.energy, light.color = 10, (0.5, 0.25, 0)
            self.place(kind, light, (1, 0, 0)).parent = parent
        bpy.data.lights["SPOT"].spot_size = math.radians(60)
        bpy.data.lights["SPOT"].spot_blend = 0.5
        area = bpy.data.lights["AREA"]
        area.shape, area.size, area.size_y = "RECTANGLE", 2, 3
        bpy.data.objects["AREA"].scale = (10, 1, 1)
        texts = self.messages()
        lights = {light["Name"]: light for light in texts["lights"]["lights"]}
        types_ = {name: light["Type"] for name, light in lights.items()}
        self.assertEqual(
            types_, {"POINT": "Point", "SUN": "Directional", "SPOT": "Spot", "AREA": "Area"}
        )
        self.assertEqual(lights["POINT"]["Position"], [1, 0, 5])
        self.assertEqual(lights["SUN"]["Direction"], [0, 0, -1])
        self.assertEqual((lights["SUN"]["Color"], lights["SUN"]["Intensity"]), ([1, 0.5, 0], 5))
        self.assertAlmostEqual(lights["SPOT"]["OuterAngle"], 60, 4)
        self.assertAlmostEqual(lights["SPOT"]["InnerAngle"], 30, 4)
        np.testing.assert_allclose(lights["AREA"]["Size"], [20, 3], rtol=1e-6)
        self.assertEqual(texts["lights"]["groups"], [{"id": "lamp", "name": "lamp"}])

    def expect_path(self, camera, texts, frames):
        animation = texts["camera-animations"]["CameraAnimations"][0]
        self.assertEqual(animation["Camera"], camera.name)
        scene = bpy.context.scene
        per_second = scene.render.fps / scene.render.fps_base
        times = [frame["T"] for frame in animation["FrameData"]]
        np.testing.assert_allclose(times, [(f - scene.frame_start) / per_second for f in frames])
        for number, frame in zip(frames, animation["FrameData"]):
            scene.frame_set(number)
            matrix = camera.matrix_world
            for what, axis, sign in (("Direction", 2, -1), ("Up", 1, 1)):
                value = [point["V"] for point in frame[what]]
                np.testing.assert_allclose(
                    value, sign * matrix.col[axis].xyz.normalized(), atol=1e-5
                )
            value = [point["V"] for point in frame["Position"]]
            np.testing.assert_allclose(value, matrix.translation, atol=1e-4)

    def animated(self, **values):
        camera = self.camera(**values)
        for frame, place in ((1, (0, 0, 0)), (11, (3, 4, 5)), (21, (9, 0, 1))):
            camera.location = place
            camera.rotation_euler = Euler((0.1 * frame, 0.2, -0.05 * frame))
            camera.keyframe_insert("location", frame=frame)
            camera.keyframe_insert("rotation_euler", frame=frame)
        bpy.context.scene.frame_end = 30
        return camera

    def test_a_path_by_curves(self):
        camera = self.animated()
        parent = self.place("parent", None, (0, 5, 0))
        parent.rotation_euler.z = 1
        camera.parent = parent
        self.expect_path(camera, self.messages(), range(1, 22))

    def test_a_path_with_quaternions(self):
        camera = self.camera()
        camera.rotation_mode = "QUATERNION"
        for frame, turn in ((1, (1, 0, 0, 0)), (9, (1, 1, 0, 0))):
            camera.rotation_quaternion = turn
            camera.keyframe_insert("rotation_quaternion", frame=frame)
        self.expect_path(camera, self.messages(), range(1, 10))

    def test_a_path_that_only_the_scene_tells(self):
        scene = bpy.context.scene
        scene.frame_end, scene.render.fps = 12, 12
        carrier = self.place("carrier", None)
        for frame, x in ((1, 0), (12, 5)):
            carrier.location.x = x
            carrier.keyframe_insert("location", frame=frame)
        camera = self.camera()
        camera.parent = carrier
        track = camera.constraints.new("TRACK_TO")
        track.target = self.place("target", None, (0, 3, -4))
        scene.frame_set(5)
        texts = self.messages()
        self.assertEqual(scene.frame_current, 5)
        self.expect_path(camera, texts, range(1, 13))

    def test_metadata(self):
        self.camera()
        data = self.messages()["metadata"]
        self.assertEqual(
            {key: data[key] for key in ("Nodes", "Materials", "Triangles", "Cameras", "Lights")},
            {"Nodes": 1, "Materials": 1, "Triangles": 6, "Cameras": 1, "Lights": 0},
        )
        self.assertRegex(data["Generator"], r"^Q7 Link .* \(Blender ")


class Live(HostTest):
    def begin(self, read=("a", "c")):
        """A red pyramid in two places and a blue one, a light and a camera."""
        self.red, self.blue = self.material("Red"), self.material("Blue")
        self.shared = self.mesh("shared", [self.red])
        self.a = self.place("a", self.shared)
        self.b = self.place("b", self.shared, (5, 0, 0))
        self.c = self.place("c", self.mesh("other", [self.blue]), (10, 0, 0))
        self.light = self.place("light", bpy.data.lights.new("light", "POINT"))
        self.camera = self.place("camera", bpy.data.cameras.new("camera"))
        bpy.context.view_layer.update()
        self.renderer = self.standin()
        self.assertEqual(bpy.ops.q7.live_start(), {"FINISHED"})
        self.reader = live.current().link.reader
        self.assertEqual(sorted(self.reader.read_names), list(read))
        self.forget()

    def forget(self):
        self.reader.read_names.clear()
        self.sends = live.current().sends
        self.arrived = self.received()

    def received(self):
        """How much arrived, but for the questions of `settle`."""
        self.settle()
        return len([file for file in self.renderer.received() if "metadata" not in file.name])

    def flush(self):
        """Sends what changed. Gives what went, and whose geometry was read for it."""
        bpy.context.view_layer.update()
        went = live.current().flush(bpy.context)
        read = list(self.reader.read_names)
        self.reader.read_names.clear()
        if "model" in went:
            self.expect_placed(self.stream(self.renderer))
        return went, read

    def places(self):
        stream = self.stream(self.renderer)
        return sorted(
            (i["mesh"], i["material"], round(float(i["transform"][12]), 3))
            for i in stream.instances
        )

    def end(self):
        self.assertEqual(bpy.ops.q7.live_stop(), {"FINISHED"})
        code, out = self.ended(self.renderer)
        self.assertEqual(code, 0, out)

    def test_a_moved_object(self):
        self.begin()
        self.c.location.x = 11
        self.assertEqual(self.flush(), (["model"], []))
        self.assertEqual(
            self.places(), [("a_Red", "Red", 0), ("a_Red", "Red", 5), ("c_Blue", "Blue", 11)]
        )
        self.a.location.x = -1
        self.assertEqual(self.flush(), (["model"], []))
        self.assertEqual(self.places()[0], ("a_Red", "Red", -1))
        # One send of the model each, which the renderer gets in its two forms.
        self.assertEqual(live.current().sends, self.sends + 2)
        self.end()

    def test_a_moved_parent(self):
        self.begin()
        parent = self.place("parent", None)
        self.b.parent = parent
        self.flush()
        parent.location.x = 100
        self.assertEqual(self.flush(), (["model"], []))
        self.assertIn(("a_Red", "Red", 105), self.places())

    def test_nothing_changed(self):
        self.begin()
        self.a.select_set(True)
        self.assertEqual(self.flush(), ([], []))
        self.assertEqual(self.received(), self.arrived)

    def test_edited_geometry(self):
        self.begin()
        self.shared.vertices[4].co.z = 30
        self.shared.update()
        went, read = self.flush()
        self.assertEqual((went, read), (["model"], ["a"]))
        stream = self.stream(self.renderer)
        self.assertEqual(stream.corners("a_Red", "positions")[:, 2].max(), 30)
        self.assertEqual(len(stream.instances), 3)
        self.end()

    def test_a_modifier_of_one_of_two(self):
        self.begin()
        self.b.modifiers.new("", "ARRAY")
        # Blender evaluates the mesh itself anew, too.
        self.assertEqual(self.flush(), (["model"], ["a", "b"]))
        self.assertEqual(
            self.places(), [("a_Red", "Red", 0), ("b_Red", "Red", 5), ("c_Blue", "Blue", 10)]
        )
        self.b.modifiers[0].count = 4
        self.assertEqual(self.flush(), (["model"], ["a", "b"]))
        self.b.modifiers.clear()
        self.assertEqual(self.flush(), (["model"], ["a"]))
        self.assertEqual([mesh for mesh, _, _ in self.places()], ["a_Red", "a_Red", "c_Blue"])
        self.end()

    def test_deleted_hidden_and_shown_again(self):
        self.begin()
        bpy.data.objects.remove(self.a)
        self.assertEqual(self.flush(), (["model"], []))
        self.assertEqual(self.places(), [("a_Red", "Red", 5), ("c_Blue", "Blue", 10)])
        self.c.hide_viewport = True
        self.assertEqual(self.flush(), (["model"], []))
        self.assertEqual(self.places(), [("a_Red", "Red", 5)])
        self.c.hide_viewport = False
        self.assertEqual(self.flush(), (["model"], ["c"]))
        self.end()

    def test_what_is_not_rendered(self):
        self.begin()
        live.current().tick(bpy.context)
        self.c.hide_render = True
        bpy.context.view_layer.update()
        self.assertTrue(live.current()._is_dirty)
        live.current().flush(bpy.context)
        self.assertEqual(self.places(), [("a_Red", "Red", 0), ("a_Red", "Red", 5)])
        self.c.hide_render = False
        self.assertEqual(self.flush(), (["model"], ["c"]))
        self.end()

    def test_an_object_that_is_mirrored_and_back(self):
        self.begin()
        self.c.scale.x = -1
        self.assertEqual(self.flush(), (["model"], ["c"]))
        self.c.scale.x = 1
        self.assertEqual(self.flush(), (["model"], ["c"]))
        self.assertEqual(self.places()[-1], ("c_Blue", "Blue", 10))
        self.end()

    def test_counts_are_of_what_was_sent(self):
        self.begin()
        self.place("bare", self.mesh("bare"), (20, 0, 0))
        self.material("Never used")
        for name in ("Blue", "Pink", "Grey"):
            self.blue.name = name
            self.flush()
            stream, model = self.stream(self.renderer), live.current().link.model
            self.assertEqual(model.material_count(), len(stream.materials))
            data = self.texts(self.renderer)["metadata"]
            self.assertEqual(data["Materials"], len(stream.materials))
            self.assertEqual(data["Triangles"], stream.header["triangleCount"])
        self.assertEqual(data["Nodes"], 4)
        self.end()

    def test_a_renamed_object(self):
        self.begin()
        self.b.name = "renamed"
        self.assertEqual(self.flush(), (["model"], []))
        paths = [placed.path for placed in live.current().link.model._placed.values()]
        self.assertEqual(sorted(paths), ["/a", "/c", "/renamed"])

    def test_added_objects(self):
        self.begin()
        self.place("d", self.shared, (20, 0, 0))
        # Blender evaluates a mesh anew that gets another user; it is read once for all of them.
        self.assertEqual(self.flush(), (["model"], ["a"]))
        self.place("e", self.mesh("new", [self.blue]), (30, 0, 0))
        self.assertEqual(self.flush(), (["model"], ["e"]))
        self.assertEqual(self.places()[-1], ("e_Blue", "Blue", 30))
        self.end()

    def test_a_changed_material(self):
        self.begin()
        self.principled(self.red).inputs["Base Color"].default_value = (0, 1, 0, 1)
        self.assertEqual(self.flush(), (["model"], []))
        self.assertIn("<BaseColor>#00FF00<", self.stream(self.renderer).materials["Red"])

    def test_another_material(self):
        self.begin()
        self.c.material_slots[0].material = self.red
        self.assertEqual(self.flush(), (["model"], ["c"]))
        self.assertEqual(self.places()[-1][1:], ("Red", 10))
        self.red.name = "Pink"
        went, read = self.flush()
        self.assertEqual((went, sorted(read)), (["model"], ["a", "c"]))
        self.assertEqual({material for _, material, _ in self.places()}, {"Pink"})
        self.end()

    def test_lights_and_cameras_alone(self):
        self.begin()
        self.light.data.energy = 77
        self.assertEqual(self.flush(), (["lights"], []))
        self.camera.location.z = 8
        self.assertEqual(self.flush(), (["cameras"], []))
        self.assertEqual(live.current().sends, self.sends)
        texts = self.texts(self.renderer)
        self.assertEqual(texts["lights"]["lights"][0]["Intensity"], 77)
        self.assertEqual(texts["camera"]["Position"], [0, 0, 8])
        self.camera.keyframe_insert("location", frame=1)
        self.assertEqual(self.flush(), (["animations"], []))
        bpy.data.objects.remove(self.light)
        self.assertEqual(self.flush(), (["lights"], []))
        self.assertNotIn("lights", self.texts(self.renderer)["lights"])
        self.end()

    def test_the_last_object_goes(self):
        self.begin()
        for thing in (self.a, self.b, self.c):
            bpy.data.objects.remove(thing)
        self.assertEqual(self.flush(), ([], []))
        self.assertRegex(live.current().link.warnings[-1], "no geometry")

    def test_a_collection_instance_that_moves(self):
        self.begin()
        collection = bpy.data.collections.new("inner")
        self.place("leaf", self.shared, (0, 0, 0), collection)
        tree = self.place("tree", None, (50, 0, 0))
        tree.instance_type, tree.instance_collection = "COLLECTION", collection
        self.assertEqual(self.flush(), (["model"], ["a"]))
        tree.location.x = 60
        self.assertEqual(self.flush(), (["model"], []))
        self.assertIn(("a_Red", "Red", 60), self.places())
        self.end()

    def test_changes_wait_for_quiet(self):
        """As the timer does it: nothing at once, one send for all, and none while one is under way."""
        self.begin()
        followed = live.current()
        self.a.location.x = 1
        bpy.context.view_layer.update()
        followed.tick(bpy.context)
        self.assertIsNone(followed._job)
        self.b.location.x = 2
        bpy.context.view_layer.update()
        followed._last -= live.QUIET
        end = time.monotonic() + LIMIT
        while followed.sends == self.sends and time.monotonic() < end:
            followed.tick(bpy.context)
        self.assertEqual(followed.sends, self.sends + 1)
        self.assertEqual([x for _, _, x in self.places()], [1, 2, 10])
        self.assertEqual(live.status.text, "Live: model sent")
        self.end()

    def skin(self):
        """A mesh that an armature deforms: 5 m along x at frame 2."""
        armature = bpy.data.armatures.new("armature")
        rig = self.place("rig", armature)
        bpy.context.view_layer.objects.active = rig
        bpy.ops.object.mode_set(mode="EDIT")
        armature.edit_bones.new("bone").tail = (1, 0, 0)
        bpy.ops.object.mode_set(mode="OBJECT")
        skin = self.place("skin", self.mesh("skin"))
        skin.vertex_groups.new(name="bone").add(range(5), 1, "REPLACE")
        skin.modifiers.new("", "ARMATURE").object = rig
        bone = rig.pose.bones["bone"]
        for frame, y in ((1, 0), (2, 5)):
            bone.location = (0, y, 0)
            bone.keyframe_insert("location", frame=frame)

    def expect_fresh(self):
        """What arrived last is what an export of the scene has now."""
        last = self.models(self.renderer)[-1]
        fresh = self.folder / "fresh.q7mesh"
        self.assertEqual(bpy.ops.q7.export_stream(filepath=str(fresh)), {"FINISHED"})
        code, out = inspect("--compare", "--link", fresh, last)
        self.assertEqual(code, 0, out)

    def test_a_frame_that_a_script_sets(self):
        self.skin()
        self.begin(read=["a", "c", "skin"])
        for frame in (2, 1):
            bpy.context.scene.frame_set(frame)
            self.assertTrue(live.current()._is_dirty)
            self.assertEqual(self.flush(), (["model"], ["skin"]))
            self.expect_fresh()
        bpy.context.scene.frame_set(2)
        self.a.location.x = 1
        self.assertEqual(self.flush(), (["model"], ["skin"]))
        self.expect_fresh()
        self.end()

    def test_a_frame_that_moves_an_object(self):
        self.begin()
        for frame, x in ((1, 10), (2, 12)):
            self.c.location.x = x
            self.c.keyframe_insert("location", frame=frame)
        bpy.context.scene.frame_set(1)
        self.flush()
        bpy.context.scene.frame_set(2)
        self.assertTrue(live.current()._is_dirty)
        self.assertEqual(self.flush(), (["model"], []))
        self.assertEqual(self.places()[-1], ("c_Blue", "Blue", 12))
        self.end()

    def test_frames_leave_the_ways_of_cameras(self):
        """A camera's way is read by setting frames, which is neither told as a change nor repeated."""
        self.begin()
        bpy.context.scene.frame_end = 3
        self.camera.parent = self.a
        self.a.keyframe_insert("location", frame=1)
        self.assertIn("animations", self.flush()[0])
        self.assertFalse(live.current()._is_dirty)
        slow = self.reader.camera_paths._slow
        self.assertTrue(slow)
        bpy.context.scene.frame_set(2)
        self.flush()
        self.assertIs(self.reader.camera_paths._slow, slow)

    def test_frames_of_a_render_are_not_the_scene(self):
        self.begin()
        live._on_frame(None, types.SimpleNamespace(mode="RENDER", updates=()))
        self.assertFalse(live.current()._is_dirty)

    def test_handlers_end_with_the_link(self):
        self.begin()
        self.assertIn(live._on_frame, bpy.app.handlers.frame_change_post)
        for handlers, handler in live._HANDLERS:
            self.assertEqual(handlers.count(handler), 1)
            self.assertTrue(hasattr(handler, "_bpy_persistent"))
        q7_link.unregister()
        self.addCleanup(q7_link.register)
        for handlers, handler in live._HANDLERS:
            self.assertNotIn(handler, handlers)

    def test_undo_may_have_changed_anything(self):
        self.begin()
        live._on_undo()
        went, read = self.flush()
        self.assertEqual((went, sorted(read)), (["model"], ["a", "c"]))
        self.end()

    def test_another_file_ends_the_link(self):
        self.begin()
        session = live.current().link
        bpy.ops.wm.read_factory_settings(use_empty=True)
        self.assertFalse(live.is_on())
        self.assertTrue(session.closed)
        self.assertFalse(
            [h for h in bpy.app.handlers.depsgraph_update_post if h is live._on_update]
        )

    def test_a_renderer_that_goes_away(self):
        self.begin()
        session = live.current().link
        self.ended(self.renderer)
        self.a.location.x = 1
        bpy.context.view_layer.update()
        live.current()._last -= live.QUIET
        end = time.monotonic() + LIMIT
        while live.is_on() and time.monotonic() < end:
            live._tick()
        self.assertFalse(live.is_on())
        self.assertRegex(live.status.error, "no installation of it was found")
        self.assertTrue(session.closed)


class FaultTest(HostTest):
    """A pyramid, and a note of each link that is made."""

    def setUp(self):
        super().setUp()
        self.place("p", self.mesh("pyramid"))
        bpy.context.view_layer.update()
        self.links = []
        original = link.SceneLink.__init__

        def noted(scene_link, *arguments):
            original(scene_link, *arguments)
            self.links.append(scene_link)

        link.SceneLink.__init__ = noted
        self.addCleanup(setattr, link.SceneLink, "__init__", original)

    def expect_closed(self):
        self.assertTrue(self.links)
        self.assertTrue(all(made.closed for made in self.links))


class Faults(FaultTest):
    def test_a_scene_without_a_folder_has_no_files_beside_it(self):
        self.assertEqual(bpy.data.filepath, "")
        self.fails(lambda: bpy.ops.q7.export_stream(filepath="//scene.q7mesh"), "no folder yet")

    def test_no_renderer(self):
        self.fails(bpy.ops.q7.send, "Q7 Render does not run, and no installation of it was found")
        self.expect_closed()
        self.fails(bpy.ops.q7.live_start, "no installation")
        self.expect_closed()
        self.assertFalse(live.is_on())

    def test_a_renderer_that_takes_no_link(self):
        with self.renderer("--status", "2"):
            self.fails(bpy.ops.q7.send, "takes no link")
        self.expect_closed()

    def test_refusals(self):
        for reply, text in (("1", "its reply 1"), ("3", "its reply 3"), ("none", "gave no answer")):
            with self.renderer("--reply", reply):
                self.fails(bpy.ops.q7.send, text)
        self.expect_closed()

    def test_a_renderer_that_ends(self):
        standin = self.standin()
        session = sys.modules["q7plugin"].Session
        original = session.send_raw

        def send_and_end(sender):
            original(sender)
            standin.process.terminate()
            standin.process.wait(LIMIT)

        session.send_raw = send_and_end
        self.addCleanup(setattr, session, "send_raw", original)
        self.fails(bpy.ops.q7.send, "Q7 Render was gone after the scene went")
        self.expect_closed()

    def test_a_connection_that_breaks(self):
        with self.renderer("--close-at-ack", "3"):
            self.fails(bpy.ops.q7.send, "could not be reached, or the connection to it broke")
        self.expect_closed()

    def test_a_renderer_that_dies(self):
        for options in (["--die-at-ack", "3"], ["--die-at-ack", "17"], ["--die-at-word", "15"]):
            with self.renderer(*options):
                gone = "was gone|does not answer|could not be reached|gave no answer"
                self.fails(bpy.ops.q7.send, gone)
        self.expect_closed()

    def test_a_renderer_that_cannot_be_asked(self):
        with self.renderer("--metadata", "own"):
            self.assertEqual(bpy.ops.q7.send(), {"FINISHED"})
        [made] = self.links
        self.assertIn("Q7 Render cannot be asked whether all of it arrived", made.warnings)
        with self.renderer():
            self.assertEqual(bpy.ops.q7.send(), {"FINISHED"})
        self.assertEqual(self.links[-1].warnings, [])

    def test_an_error_while_reading(self):
        original = link.SceneReader.parts_of_object

        def failing(*_):
            raise MemoryError

        link.SceneReader.parts_of_object = failing
        self.addCleanup(setattr, link.SceneReader, "parts_of_object", original)
        with self.renderer():
            self.fails(bpy.ops.q7.send, "There is not enough memory")
            self.fails(bpy.ops.q7.live_start, "There is not enough memory")
        self.fails(
            lambda: bpy.ops.q7.export_stream(filepath=str(self.folder / "a.q7mesh")), "memory"
        )
        self.expect_closed()
        self.assertFalse(live.is_on())
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_files_that_cannot_be_written(self):
        nowhere = self.folder / "none"
        for operator, name in (
            (bpy.ops.q7.export_stream, "a.q7mesh"),
            (bpy.ops.q7.export_archive, "a.q7a"),
        ):
            path = str(nowhere / name)
            self.fails(lambda: operator(filepath=path), re.escape(f"{path}: No such file"))
        (self.folder / "a.q7mesh").mkdir()
        path = str(self.folder / "a.q7mesh")
        self.fails(lambda: bpy.ops.q7.export_stream(filepath=path), re.escape(path))
        self.expect_closed()

    def test_a_file_takes_the_place_of_the_one_before(self):
        file = self.folder / "a.q7mesh"
        file.write_text("before")
        bpy.ops.q7.export_stream(filepath=str(file))
        self.assertEqual(list(Stream(file.read_bytes()).meshes), ["p_"])
        self.assertEqual(list(self.folder.iterdir()), [file])

    def test_a_success_takes_the_error_away(self):
        self.fails(bpy.ops.q7.send, "no installation")
        self.sent()
        self.assertEqual(live.status.error, "")
        self.assertEqual(live.status.text, "1 objects, 6 triangles, 1 materials sent")


class Window:
    """What of Blender's window the operators use when there is one."""

    def __init__(self):
        self.calls = []
        self.window = self
        self.window_manager = self
        self.workspace = self

    def __getattr__(self, name):
        return lambda *arguments, **_: self.calls.append((name, *arguments))


class InPieces(FaultTest):
    """An operator as a window runs it. In the background there is none, so its context is made up."""

    def begin(self, operator, steps):
        self.window = Window()
        self.reports = []
        made = types.SimpleNamespace(
            steps=lambda _: steps,
            cancelled=lambda: None,
            report=lambda kind, text: self.reports.append((kind, text)),
        )
        for name in ("_begin", "modal", "stop", "cancel", "_end", "_finish", "_fail"):
            setattr(made, name, types.MethodType(getattr(operator, name), made))
        self.assertEqual(made._begin(self.window), {"RUNNING_MODAL"})
        return made

    def event(self, kind="TIMER"):
        return types.SimpleNamespace(type=kind, value="PRESS")

    def steps(self):
        return link.send_once(bpy.context, link.Options())

    def run_modal(self, made):
        end = time.monotonic() + LIMIT
        result = {"RUNNING_MODAL"}
        while result == {"RUNNING_MODAL"} and time.monotonic() < end:
            result = made.modal(self.window, self.event())
        return result

    def test_to_its_end(self):
        with self.renderer():
            made = self.begin(operators.Q7_OT_send, self.steps())
            self.assertEqual(made.modal(self.window, self.event("MOUSEMOVE")), {"RUNNING_MODAL"})
            self.assertEqual(self.run_modal(made), {"FINISHED"})
        self.assertEqual(self.reports, [({"INFO"}, "1 objects, 6 triangles, 1 materials sent")])
        names = [call[0] for call in self.window.calls]
        for name in ("progress_begin", "progress_end", "event_timer_remove"):
            self.assertEqual(names.count(name), 1, name)
        self.expect_closed()

    def test_escape_while_reading(self):
        for x in range(20):
            self.place(f"p{x}", self.mesh(f"m{x}"))
        bpy.context.view_layer.update()
        made = self.begin(operators.Q7_OT_send, self.steps())
        for _ in range(5):
            made._job.advance(0)
        self.assertGreater(made._job.fraction, 0)
        self.assertLess(made._job.fraction, 0.5)
        self.assertEqual(made.modal(self.window, self.event("ESC")), {"CANCELLED"})
        self.assertEqual(self.reports, [({"WARNING"}, "Cancelled")])
        self.assertEqual(live.status.text, "Cancelled")
        self.expect_closed()

    def test_escape_while_the_renderer_does_not_answer(self):
        """The artist goes on; the session ends when the renderer has answered, and till then no send goes."""
        with self.renderer("--delay-ack", "300") as standin:
            made = self.begin(operators.Q7_OT_send, self.steps())
            end = time.monotonic() + LIMIT
            while made._job._call is None and time.monotonic() < end:
                made.modal(self.window, self.event())
            self.assertEqual(made.modal(self.window, self.event("ESC")), {"CANCELLED"})
            self.assertFalse(self.links[0].closed)
            self.fails(bpy.ops.q7.send, "has not answered to what was sent last")
            link._sending.join(LIMIT)
            self.assertTrue(self.links[0].closed)
            self.expect_closed()
            self.assertEqual(self.ended(standin)[0], 0)

    def test_an_error(self):
        made = self.begin(operators.Q7_OT_send, self.steps())
        self.assertEqual(self.run_modal(made), {"CANCELLED"})
        self.assertEqual([kind for kind, _ in self.reports], [{"ERROR"}])
        self.assertRegex(live.status.error, "no installation")
        self.assertIn("progress_end", [call[0] for call in self.window.calls])
        self.expect_closed()

    def test_an_export_from_the_file_browser(self):
        file = self.folder / "a.q7mesh"
        made = types.SimpleNamespace(
            in_pieces=True,
            steps=lambda _: link.export_stream(bpy.context, link.Options(), str(file)),
        )
        with unittest.mock.patch.object(operators, "bpy") as blender:
            result = operators.Q7_OT_export_stream.execute(made, bpy.context)
        self.assertEqual(result, {"FINISHED"})
        blender.ops.q7.run_job.assert_called_once_with("INVOKE_DEFAULT")
        runner = self.begin(operators.Q7_OT_run_job, operators.Q7_OT_run_job.steps(None, None))
        self.assertIsNone(operators.Q7_OT_run_job.pending)
        self.assertEqual(self.run_modal(runner), {"FINISHED"})
        self.assertEqual(list(Stream(file.read_bytes()).meshes), ["p_"])

    def test_blender_ends_it(self):
        made = self.begin(operators.Q7_OT_send, self.steps())
        made.cancel(self.window)
        self.assertIn("event_timer_remove", [call[0] for call in self.window.calls])


class Layout:
    """Notes what a panel draws."""

    def __init__(self, drawn):
        self.drawn = drawn
        self.enabled = True

    def label(self, text="", **_):
        self.drawn.append(text)

    def operator(self, name, **_):
        self.drawn.append(name)

    def prop(self, _owner, name):
        self.drawn.append(name)

    def _part(self, **_):
        return Layout(self.drawn)

    row = column = box = _part


class Panel(HostTest):
    def drawn(self):
        lines = []
        made = types.SimpleNamespace(layout=Layout(lines))
        context = types.SimpleNamespace(region=None, scene=bpy.context.scene)
        panel.Q7_PT_panel.draw(made, context)
        return lines

    def test_what_is_drawn(self):
        live.status.show("All is well", ["A warning"])
        lines = self.drawn()
        for text in ("q7.send", "q7.live_start", "All is well", "A warning", "axes", "merged"):
            self.assertIn(text, lines)

    def test_an_error_in_lines(self):
        live.status.fail("word " * 30 + "\nnext")
        lines = [line for line in self.drawn() if line.startswith(("word", "next"))]
        self.assertGreater(len(lines), 3)
        self.assertTrue(all(len(line) <= 40 for line in lines))


class Installed(HostTest):
    """The zip file in a Blender of its own, which knows nothing of this project."""

    def run_blender(self, code, library_file):
        file = self.folder / "q7_link.zip"
        self.assertEqual(package.main([str(library_file), str(file)]), 0)
        script = self.folder / "script.py"
        script.write_text(
            "import bpy, sys\n"
            f"bpy.ops.preferences.addon_install(filepath={str(file)!r})\n"
            "bpy.ops.preferences.addon_enable(module='q7_link')\n" + code
        )
        environment = {k: v for k, v in os.environ.items() if not k.startswith("Q7")}
        for name in ("CONFIG", "SCRIPTS", "DATAFILES"):
            environment[f"BLENDER_USER_{name}"] = str(self.folder / name.lower())
            (self.folder / name.lower()).mkdir(exist_ok=True)
        command = [bpy.app.binary_path, "-b", "--python-exit-code", "1", "-P", str(script)]
        return subprocess.run(
            command, env=environment, cwd=self.folder, capture_output=True, text=True, timeout=LIMIT
        )

    def test_it_exports(self):
        target = self.folder / "cube.q7mesh"
        code = f"bpy.ops.q7.export_stream(filepath={str(target)!r})\n"
        result = self.run_blender(code, needed("Q7PLUGIN_LIBRARY"))
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertEqual(inspect("--validate", target)[0], 0)
        self.assertEqual(list(Stream(target.read_bytes()).meshes), ["Cube_Material"])

    def test_it_can_be_taken_away(self):
        code = (
            "bpy.ops.preferences.addon_disable(module='q7_link')\n"
            "assert not hasattr(bpy.types.Scene, 'q7_link')\n"
            "bpy.ops.preferences.addon_enable(module='q7_link')\n"
        )
        result = self.run_blender(code, needed("Q7PLUGIN_LIBRARY"))
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_a_library_that_is_none(self):
        fake = self.folder / "libQ7Plugin.so"
        fake.write_text("no library")
        code = (
            "try:\n    bpy.ops.q7.export_stream(filepath='a.q7mesh')\n"
            "except RuntimeError as error:\n    print('told:', error)\n"
            "from q7_link import live\nprint('shown:', live.status.error)\n"
        )
        result = self.run_blender(code, fake)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        for word in ("told", "shown"):
            self.assertRegex(result.stdout, f"{word}: .*the Q7Plugin library could not be loaded")
        self.assertIn("can be set in the add-on's preferences", result.stdout)

    def test_a_library_that_the_artist_named(self):
        code = (
            "bpy.context.preferences.addons['q7_link'].preferences.library = '/no such folder/a.so'\n"
            "try:\n    bpy.ops.q7.export_stream(filepath='a.q7mesh')\n"
            "except RuntimeError as error:\n    print('told:', error)\n"
        )
        result = self.run_blender(code, needed("Q7PLUGIN_LIBRARY"))
        self.assertRegex(result.stdout, "/no such folder/a.so: there is no such file")


class Report(unittest.TextTestResult):
    """Notes the tests for a report as GoogleTest writes it."""

    def startTestRun(self):
        self.cases = []

    def addSuccess(self, test):
        super().addSuccess(test)
        self.cases.append((test, None))

    def addFailure(self, test, error):
        super().addFailure(test, error)
        self.cases.append((test, self.failures[-1][1]))

    def addError(self, test, error):
        super().addError(test, error)
        self.cases.append((test, self.errors[-1][1]))

    def addSubTest(self, test, subtest, error):
        super().addSubTest(test, subtest, error)
        if error is not None:
            self.cases.append((test, self._exc_info_to_string(error, test)))

    def write(self, file):
        root = ET.Element("testsuites")
        suite = ET.SubElement(root, "testsuite")
        for test, failure in self.cases:
            classname, _, name = test.id().rpartition(".")
            case = ET.SubElement(suite, "testcase", classname=classname, name=name, status="run")
            if failure is not None:
                text = "".join(c if c >= " " or c == "\n" else "?" for c in failure)
                ET.SubElement(case, "failure", message=text.strip().splitlines()[-1]).text = text
        ET.ElementTree(root).write(file)


def main(names):
    q7_link.register()
    loader = unittest.defaultTestLoader
    module = sys.modules[__name__]
    suite = (
        loader.loadTestsFromNames(names, module) if names else loader.loadTestsFromModule(module)
    )
    runner = unittest.TextTestRunner(verbosity=2, resultclass=Report)
    result = runner.run(suite)
    output = os.environ.get("GTEST_OUTPUT", "")
    if output.startswith("xml:"):
        result.write(Path(output[4:]) / f"{Path(__file__).name}.xml")
    sys.stdout.flush()
    if not result.wasSuccessful() or not result.testsRun:
        raise SystemExit(1)


if __name__ == "__main__":
    main(sys.argv[sys.argv.index("--") + 1 :] if "--" in sys.argv else [])
