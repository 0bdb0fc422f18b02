"""Against q7-standin in the renderer's place. A machine has one renderer at a time."""

import array
import contextlib
import ctypes
import json
import socket
import struct
import threading
import unittest
from pathlib import Path

from support import (
    HOME,
    LIMIT,
    NO_CORE,
    LibraryTest,
    Recorder,
    Standin,
    inspect,
    inspected,
    needed,
    run_python,
)

import q7plugin
from q7plugin import AnimProperty, ConnectRet, EntityType, LinkResult, RenderStatus, _library, raw
from q7plugin._exports import EXPORTS
from q7plugin.renderer import version_fault

CORNERS = array.array("f", [0, 0, 0, 1, 0, 0, 0, 1, 0])


@contextlib.contextmanager
def installed(version):
    """A registered installation of the renderer, as the library reads it."""
    record = HOME / "q7_render" / "install.ini"
    settings = HOME / "config.ini"
    record.parent.mkdir(exist_ok=True)
    record.write_text(f"[Q7 Render]\nDisplayIcon={HOME}/q7_launcher.exe\n")
    settings.write_text(f"[Version]\nInstallerVersion={version}\n")
    try:
        yield
    finally:
        record.unlink()
        settings.unlink()


@contextlib.contextmanager
def published(status, port):
    """The blocks of a renderer that this process itself is."""
    files = {
        "E35404FC215ED0F65A4EC1CCBB898CC8": struct.pack("<HH", status, 0),
        "BD7A725E37C60EEFD473703CF7EC26DD": struct.pack("<H", port),
    }
    for name, content in files.items():
        block = Path("/dev/shm") / name
        # A block of a stand-in that was killed would count as missing.
        block.unlink(missing_ok=True)
        block.write_bytes(content)
    try:
        yield
    finally:
        for name in files:
            (Path("/dev/shm") / name).unlink()


class Live(LibraryTest):
    def describe(self):
        for name in ("A", "B"):
            with self.session.node(name, path=f"/{name}") as node:
                node.add_triangles("Red", CORNERS)

    def link(self, *options):
        standin = Standin("--status", "4", *options)
        self.addCleanup(standin.close)
        q7plugin.start_link_render("plug-in.ini")
        return standin

    def expect_same(self, saved, received):
        code, out = inspect("--compare", "--link", saved, received)
        self.assertEqual(code, 0, out)


class Sending(Live):
    def test_raw_and_processed(self):
        self.describe()
        raw_file, processed_file = self.folder / "raw.q7mesh", self.folder / "processed.q7mesh"
        self.session.save_raw_to_file(raw_file)
        self.session.save_processed_to_file(processed_file)
        standin = self.link("--connections", "3")
        with self.session.connect_raw() as connection:
            self.assertTrue(self.session.has_connected())
            connection.send()
        self.assertFalse(self.session.has_connected())
        with self.session.connect_processed() as connection:
            connection.send()
        with self.session.connect_group() as connection:
            connection.send()
            connection.send()
        code, out = standin.finish()
        self.assertEqual(code, 0, out)
        models = [file for file in standin.received() if file.suffix == ".q7mesh"]
        self.assertEqual(len(models), 5)
        for file, received in zip([raw_file] * 2 + [processed_file] * 3, models):
            self.expect_same(file, received)

    def test_what_was_moved_renamed_and_deleted(self):
        """Each send shows every object once, where it is now."""
        place = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1]
        self.describe()
        standin = self.link("--connections", "1")
        with self.session.connect_raw() as connection:
            self.session.move_node("A", place, "/A")
            self.session.move_node("A", place, "/moved")
            connection.send()
            self.assertEqual(self.session.instance_count(), 2)
            self.session.rename_node("B", "C", None, "/C")
            connection.send()
            self.assertEqual(self.session.instance_count(), 2)
            self.session.delete_node("C")
            connection.send()
            self.assertEqual(self.session.instance_count(), 1)
        code, out = standin.finish()
        self.assertEqual(code, 0, out)
        models = [inspected(file) for file in standin.received() if file.suffix == ".q7mesh"]
        origin, moved = ("B_Red", [0, 0, 0]), ("A_Red", [5, 6, 7])
        self.assertEqual(
            [
                [(i["mesh"], i["transform"][12:15]) for i in model["instances"]]
                for model in models[::2]
            ],
            [[origin, moved], [moved, origin], [moved]],
        )

    def test_the_connection_is_closed_after_an_exception(self):
        standin = self.link("--connections", "1")
        with self.assertRaises(ZeroDivisionError):
            with self.session.connect_raw():
                1 / 0
        self.assertFalse(self.session.has_connected())
        self.assertEqual(standin.finish()[0], 0)

    def test_a_session_closes_its_connection(self):
        standin = self.link("--connections", "1")
        connection = self.session.connect_raw()
        self.session.close()
        connection.close()
        self.assertEqual(standin.finish()[0], 0)

    def test_refusals(self):
        for reply, result in (
            ("1", ConnectRet.REFUSED_BY_REPLY_1),
            ("2", ConnectRet.REFUSED_BY_REPLY_2),
            ("3", ConnectRet.REFUSED_BY_REPLY_3),
            ("none", ConnectRet.FAILED),
        ):
            with self.link("--reply", reply):
                for connect in (
                    self.session.connect_raw,
                    self.session.connect_processed,
                    self.session.connect_group,
                ):
                    with self.assertRaisesRegex(q7plugin.ConnectError, result.name) as caught:
                        connect()
                    self.assertEqual(caught.exception.result, result)
                    self.assertIsInstance(caught.exception, ConnectionError)
                self.assertFalse(self.session.has_connected())

    def test_without_a_renderer(self):
        self.describe()
        self.assertEqual(q7plugin.get_render_status(), RenderStatus.NOT_AVAILABLE)
        with self.session.connect_raw() as connection:
            connection.send()
        self.session.send_camera()
        self.assertIsNone(self.session.get_meta_data())
        self.assertEqual(self.session.get_send_model_type("a"), 0)

    def test_links_that_do_not_come_about(self):
        with self.assertRaises(q7plugin.LinkError) as caught:
            q7plugin.start_link_render("plug-in.ini")
        self.assertEqual(caught.exception.result, LinkResult.NO_INSTALLATION)
        with installed("1.0"), Standin("--status", "2"):
            with self.assertRaises(q7plugin.LinkError) as caught:
                q7plugin.start_link_render("plug-in.ini")
        self.assertEqual(caught.exception.result, LinkResult.TAKES_NO_LINK)

    def test_other_threads_run_meanwhile(self):
        """The renderer is a thread of this process: with the interpreter's lock held, none could answer."""
        server = socket.create_server(("127.0.0.1", 0))
        server.settimeout(LIMIT)
        asked = []

        def serve():
            while True:
                peer = server.accept()[0]
                with peer:
                    peer.settimeout(LIMIT)
                    data = peer.recv(4, socket.MSG_WAITALL)
                    if data:
                        asked.append(peer.recv(8, socket.MSG_WAITALL))
                        peer.sendall(struct.pack("<I", 7))
                        return

        thread = threading.Thread(target=serve, daemon=True)
        with server, published(4, server.getsockname()[1]):
            q7plugin.start_link_render("plug-in.ini")
            thread.start()
            self.assertEqual(self.session.get_send_model_type("ab"), 7)
            thread.join(LIMIT)
        self.assertEqual(asked, [struct.pack("<I", 2) + b"a\0b\0"])


class Verifying(Live):
    """A model of two nodes: 12 acknowledgements of the materials, instances and arrays in each pass, one
    of the paths in the first, and the final one of each."""

    ACKNOWLEDGEMENTS = 2 * (2 + 2 * 5 + 1) + 1

    def setUp(self):
        super().setUp()
        self.describe()
        self.session.set_model_file_path("/model")
        self.session.set_entity_property(EntityType.METADATA, None, "Author", "A. N. Other")

    def send(self, *options):
        """The connection, after it was closed."""
        with self.link("--send-type", "1", *options):
            with self.session.connect_raw(verify=True) as connection:
                connection.send()
                self.assertTrue(connection.holds())
        return connection

    def refused(self, text, *options):
        with self.link(*options):
            with self.assertRaisesRegex(ConnectionError, text) as caught:
                with self.session.connect_raw(verify=True) as connection:
                    connection.send()
        self.assertFalse(self.session.has_connected())
        return caught.exception

    def test_a_scene_that_arrives(self):
        standin = self.link()
        connects = (
            self.session.connect_raw,
            self.session.connect_processed,
            self.session.connect_group,
        )
        for connect in connects:
            with connect(verify=True) as connection:
                connection.send()
                connection.send()
                self.assertFalse(connection.verified)
            self.assertTrue(connection.verified)
        texts = [
            json.loads(file.read_text()) for file in standin.received() if "metadata." in file.name
        ]
        tokens = {text.pop("$q7SendToken") for text in texts}
        self.assertEqual((len(texts), len(tokens)), (3, 3))
        # What the host itself has set goes with each, and the token stays in none of its own.
        own = {"Author": "A. N. Other", "model_file_path": "/model"}
        self.assertEqual(texts, [own] * 3)
        self.session.send_meta_data()
        self.assertEqual(json.loads(self.session.get_meta_data()), own)

    def test_without_the_option_nothing_is_asked(self):
        with self.link() as standin:
            with self.session.connect_raw() as connection:
                connection.send()
            self.assertFalse(connection.verified)
            self.assertTrue(self.session.gives_meta_data_back())
            self.assertEqual(len([f for f in standin.received() if "metadata" in f.name]), 2)

    def test_a_renderer_that_was_replaced(self):
        first = self.link()
        connection = self.session.connect_raw(verify=True)
        connection.send()
        self.session.disconnect()
        first.close()
        with Standin("--status", "4"):
            # It fails, and so leads to the port of the second one.
            self.session.send_camera()
            with self.assertRaisesRegex(q7plugin.SendError, "or was replaced"):
                connection.close()
        self.assertFalse(connection.verified)

    def test_a_token_is_asked_for_alone(self):
        with self.link() as standin:
            token = self.session.leave_token()
            self.assertTrue(self.session.holds_token(token))
            self.assertTrue(self.session.holds_token(token))
            self.assertEqual(len([f for f in standin.received() if "metadata." in f.name]), 1)
            self.session.send_meta_data()
            self.assertFalse(self.session.holds_token(token))
        self.assertIsNone(self.session.leave_token())

    def test_a_first_send_without_a_link(self):
        code = NO_CORE + (
            "import array\n"
            "with q7plugin.Session() as session:\n"
            "    session.set_model_file_path('/model')\n"
            "    with session.node('A') as node:\n"
            "        node.add_triangles('Red', array.array('f', range(9)))\n"
            "    with session.connect_raw(verify=True) as connection:\n"
            "        connection.send()\n"
            "    print(connection.verified)\n"
        )
        with Standin("--status", "4"):
            result = run_python(code, self.folder, needed("Q7PLUGIN_LIBRARY"))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout.splitlines()[-1], "True")

    def test_a_renderer_that_moved_to_another_port(self):
        self.link().close()
        with Standin("--status", "4"):
            with self.session.connect_raw(verify=True) as connection:
                connection.send()
        self.assertTrue(connection.verified)

    def test_what_the_metadata_are_replaced_by(self):
        for path in ("/model", ""):
            self.session.set_model_file_path(path)
            with self.link(), q7plugin.Session() as other:
                other.set_model_file_path(path)
                other.set_entity_property(EntityType.METADATA, None, "Author", "Another")
                other.send_meta_data()
                self.session.reset_entity_property(EntityType.METADATA)
                self.session.set_entity_property(EntityType.METADATA, None, "$q7SendToken", "own")
                with self.session.connect_raw(verify=True) as connection:
                    connection.send()
                self.assertTrue(connection.verified)
                self.assertNotIn("Another", other.get_meta_data())
                self.session.send_meta_data()
                self.assertNotIn("$q7SendToken", other.get_meta_data())

    def test_renderers_that_cannot_be_asked(self):
        for options in (
            ["--metadata", "own"],
            ["--metadata-count", "0"],
            ["--close-at-word", "10"],
            ["--close-at-word", "15"],
        ):
            with self.subTest(options):
                self.assertFalse(self.send(*options).verified)

    def test_a_connection_that_breaks(self):
        broken = "could not be reached, or the connection broke"
        for options in (
            ["--close-at-ack", "3"],
            ["--close-at-ack", "3", "--abort"],
            ["--port", "65535"],
        ):
            self.assertIsInstance(self.refused(broken, *options), q7plugin.SendError)

    def test_what_does_not_show(self):
        for at in range(self.ACKNOWLEDGEMENTS - 2, self.ACKNOWLEDGEMENTS + 1):
            self.assertTrue(self.send("--close-at-ack", str(at)).verified)

    def test_a_renderer_that_dies(self):
        # Which of them it is depends on what the system takes away first of a process that ends.
        gone = "not linked any more|does not answer|could not be reached, or|did not accept the model"
        for options in (
            ["--die-at-word", "15"],
            ["--die-at-word", "10"],
            ["--die-at-ack", "1"],
            ["--die-at-ack", "7"],
            ["--die-at-ack", str(self.ACKNOWLEDGEMENTS)],
        ):
            with self.subTest(options):
                self.refused(gone, *options)

    def test_a_renderer_that_is_not_linked(self):
        standin = self.link()
        with self.assertRaisesRegex(q7plugin.SendError, r"not linked any more \(status 0\)"):
            with self.session.connect_raw(verify=True) as connection:
                standin.process.terminate()
                standin.process.wait()
                connection.send()

    def test_an_exception_is_not_replaced(self):
        with self.link() as standin:
            with self.assertRaises(ZeroDivisionError):
                with self.session.connect_raw(verify=True) as connection:
                    connection.send()
                    1 / 0
            self.assertFalse(connection.verified)
            self.assertEqual(len([f for f in standin.received() if "metadata" in f.name]), 2)

    def test_a_session_that_is_closed(self):
        with self.link():
            with self.session.connect_raw(verify=True) as connection:
                connection.send()
                self.session.close()
        self.assertFalse(connection.verified)


class Status(Live):
    def test_status_and_flag(self):
        with Standin("--status", "4", "--flag", "1"):
            self.assertIs(q7plugin.get_render_status(), RenderStatus.LINKED)
            self.assertEqual(q7plugin.take_render_flag(), (RenderStatus.LINKED, 1))
            self.assertEqual(q7plugin.take_render_flag(), (RenderStatus.LINKED, 0))
        with Standin("--status", "9"):
            self.assertEqual(q7plugin.get_render_status(), 9)

    def test_installation(self):
        self.assertEqual(q7plugin.get_render_version(), "")
        self.assertFalse(q7plugin.set_render_path("/no such folder"))
        with installed("2.5.0"):
            self.assertEqual(q7plugin.get_render_version(), "2.5.0")
            self.assertTrue(q7plugin.set_render_path(Path("/no such folder")))
        q7plugin.set_render_path("")

    def test_versions_that_would_end_the_process(self):
        self.describe()
        for version in ("none", "2.x", "99999999999.0", "2."):
            with installed(version):
                with self.assertRaisesRegex(q7plugin.VersionError, "^the version of the installed"):
                    self.session.connect_raw()
                with self.assertRaises(q7plugin.VersionError):
                    self.session.send_raw()
                code = NO_CORE + "q7plugin.raw.Connect(q7plugin.Session().handle)"
                result = run_python(code, self.folder, needed("Q7PLUGIN_LIBRARY"))
                self.assertEqual(result.returncode, -6, version)
                self.assertIn("stoi argument", result.stderr)

    def test_versions_that_would_not(self):
        for version in ("2.5.0", "1.x", "3.x", "2", " 2.+5x", "2147483647.1", "-1.x", ".", "x"):
            fault = version_fault(version)
            self.assertEqual(fault is None, version not in (".", "x"), version)
            if fault is None:
                # The library itself agrees.
                with installed(version), self.session.connect_raw():
                    pass


class Messages(Live):
    def texts(self, standin):
        self.assertEqual(standin.finish()[0], 0)
        return {
            "-".join(file.stem.split("-")[1:]): json.loads(file.read_text())
            for file in standin.received()
            if file.suffix == ".json"
        }

    def test_records_arrive(self):
        s = self.session
        s.set_model_file_path("C:\\model")
        s.set_entity_property(EntityType.CAMERA, None, "Name", "Kamera \u00e4")
        s.set_entity_property(EntityType.CAMERA, None, "Fov", 0.5)
        s.set_entity_property(EntityType.CAMERA, None, "Count", 3)
        s.set_entity_property(EntityType.CAMERA, None, "Place", [1, 2, 3])
        s.set_entity_property(EntityType.CAMERA, None, "Gone", 1)
        s.delete_entity_property(EntityType.CAMERA, None, "Gone")
        s.add_camera_anims("walk")
        s.add_anim_entity_frame("walk", 0.25)
        s.set_anim_property("walk", "X", 0, AnimProperty(1, 2, 3, 4, 5))
        s.set_anim_array_property("walk", "Y", 0, [AnimProperty(1), AnimProperty(2)])
        standin = self.link("--connections", "2")
        s.send_camera()
        s.send_camera_anims()
        texts = self.texts(standin)
        camera = {"Name": "Kamera \u00e4", "Fov": 0.5, "Count": 3, "Place": [1.0, 2.0, 3.0]}
        self.assertEqual(texts["camera"], {**camera, "model_file_path": "C:\\model"})
        zero = {"LT": 0.0, "LV": 0.0, "RT": 0.0, "RV": 0.0}
        frame = {"T": 0.25, "X": [{"V": 1, "LT": 2, "LV": 3, "RT": 4, "RV": 5}]}
        frame["Y"] = [{"V": 1, **zero}, {"V": 2, **zero}]
        animation = {"FrameData": [frame], "Name": "walk"}
        self.assertEqual(texts["camera-animations"], {"CameraAnimations": [animation]})

    def test_metadata_of_any_length(self):
        for text in ("", '{"a":"\u4e2d"}', "x" * 4095, "x" * 4096, "y" * 50_000):
            with self.link("--metadata", text):
                self.assertEqual(self.session.get_meta_data(), text)


class EveryExport(Live):
    def test_each_is_called(self):
        """All but the one that always throws, which test_library.py calls in a process of its own."""
        functions = _library.functions()
        recorder = Recorder(functions)
        self.addCleanup(setattr, _library, "_functions", functions)
        _library._functions = recorder
        standin = self.link("--metadata", "text")
        with q7plugin.Session() as session:
            self.call_methods(session)
            self.call_raw(session.handle, recorder)
        standin.close()
        called = set(recorder.names())
        self.assertEqual({export.name for export in EXPORTS} - called, {"Q7DeleteInstance"})

    def call_methods(self, s):
        q7plugin.get_plugin_version()
        q7plugin.set_dcc_plugin_info("")
        q7plugin.set_render_path("")
        q7plugin.get_render_status()
        q7plugin.get_cid()
        q7plugin.get_log_dir()
        q7plugin.render_window_size()
        for path in (s.set_relevant_model_file_path, s.set_model_file_path, s.set_texture_folder):
            path("C:\\model")
        s.set_gen_mat_instances(True)
        s.set_material_version(1)
        self.call_nodes(s)
        self.call_materials(s)
        self.call_records(s)
        self.call_animations(s)
        for number, save in enumerate(
            (s.save_raw_to_file, s.save_processed_to_file, s.save_material_to_file)
        ):
            save(self.folder / str(number))
        s.save_raw_to_q7a(self.folder / "a.q7a")
        s.save_processed_to_q7a(self.folder / "b.q7a")
        s.save_ext_to_q7a(self.folder / "0", self.folder / "c.q7a")
        for connect in (s.connect_raw, s.connect_processed, s.connect_group):
            with connect() as connection:
                connection.send()
        s.get_send_model_type("name")

    def call_nodes(self, s):
        for path, hint in ((None, 0), (None, 1), ("/", 0), ("/", 1)):
            with s.node("Node", None, path, hint) as node:
                node.add_triangle("Red", CORNERS)
                node.add_triangles("Red", CORNERS)
                node.add_index_triangles("Red", CORNERS)
        s.duplicate_node("Node", "Copy")
        s.duplicate_node("Node", "Copy", None, "/")
        s.delete_node("Copy")
        s.add_mesh("mesh")
        self.assertEqual(s.instance_count(), 12)

    def call_materials(self, s):
        s.add_material("Red")
        s.add_text_material("Text", "<a/>")
        s.set_material_type("Red", 1)
        for value in (1, 0.5, "text"):
            s.set_material_property("Red", "a", value)
        s.remove_material_property("Red", "a")
        s.reset_material("Red")

    def call_records(self, s):
        for add, delete, clear in (
            (s.add_scene, s.delete_scene, s.clear_scenes),
            (s.add_light, s.delete_light, s.clear_lights),
        ):
            add("a")
            delete("a")
            clear()
        s.set_path_element_name("id", "name")
        s.delete_path_element_name("id")
        s.clear_path_element_names()
        for value in (1, 0.5, "text", [1, 2]):
            s.set_entity_property(EntityType.METADATA, None, "a", value)
        s.delete_entity_property(EntityType.METADATA, None, "a")
        s.reset_entity_property(EntityType.METADATA)
        s.add_legacy_scene("a", "b", bytes(36), 1)
        s.send_camera_transform_fov(bytes(36), 0.5)
        for send in (s.send_camera, s.send_meta_data, s.send_scenes, s.send_lights):
            send()
        s.send_legacy_scenes("text")
        s.send_lights_data_xml("a", "b")
        self.assertEqual(s.get_meta_data(), "text")

    def call_animations(self, s):
        for name in "ab":
            s.add_camera_anims(name)
        s.delete_camera_anims("b")
        s.add_anim_entity_frame("a", 0)
        s.find_anim_entity_frame("a", 0)
        s.set_anim_property("a", "X", 0, AnimProperty(1))
        s.set_anim_array_property("a", "X", 0, [])
        s.delete_anim_property("a", "X", 0)
        s.reset_anim_property("a", 0)
        s.delete_all_anim_property("a", "X")
        s.reset_all_anim_property("a")
        s.delete_anim_entity_frame("a", 0)
        s.clear_anim_entity_frames("a")
        s.send_camera_anims()
        s.clear_camera_anims()

    def call_raw(self, handle, functions):
        """What has no method of its own: twins of other functions, and the members of the record."""
        f = functions
        f.MaxBeginNode(handle, "Twin", None)
        f.MaxEndNode(handle)
        f.MaxDeleteNode(handle, "Twin")
        f.SaveToFile(handle, str(self.folder / "twin"))
        self.assertTrue((self.folder / "twin").exists())
        self.assertEqual(f.Connect(handle), 0)
        f.SendModel(handle)
        f.DisConnect(handle)
        point, copy = raw.Q7AnimProperty(), raw.Q7AnimProperty()
        f.Q7AnimProperty_construct(point, 1, 2, 3, 4, 5)
        self.assertEqual((point.V, point.LT, point.LV, point.RT, point.RV), (1, 2, 3, 4, 5))
        result = f.Q7AnimProperty_copy(copy, point)
        self.assertEqual(ctypes.addressof(result.contents), ctypes.addressof(copy))
        self.assertEqual(bytes(copy), bytes(point))
        copy = raw.Q7AnimProperty()
        f.Q7AnimProperty_move(copy, point)
        self.assertEqual(bytes(copy), bytes(point))


if __name__ == "__main__":
    unittest.main()
