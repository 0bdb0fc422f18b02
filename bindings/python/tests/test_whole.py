"""Saves that fail: the file is whole, or what was there before is. See support.py for the environment."""

import array
import io
import os
import resource
import struct
import unittest
import zipfile

from support import LibraryTest

import q7plugin
from q7plugin import _whole

CORNERS = array.array("f", range(9))


class WholeTest(LibraryTest):
    def setUp(self):
        super().setUp()
        self.fill(1)

    def fill(self, count):
        triangles = array.array("f", [i % 97 for i in range(9 * count)])
        for name in ("A", "B"):
            with self.session.node(f"{name}{count}") as node:
                node.add_triangles("Red", triangles)

    def saves(self):
        """Each save with the name of its file."""
        s = self.session
        external = self.folder / "external.obj"
        external.write_bytes(os.urandom(5000))
        return {
            "raw.q7mesh": s.save_raw_to_file,
            "processed.q7mesh": s.save_processed_to_file,
            "materials.xml": s.save_material_to_file,
            "raw.q7a": s.save_raw_to_q7a,
            "processed.q7a": s.save_processed_to_q7a,
            "external.q7a": lambda path: s.save_ext_to_q7a(external, path),
        }

    def limited(self, size, save, path):
        """A save on a disk that takes no longer file: the system then refuses writes as it does on a full one."""
        before = resource.getrlimit(resource.RLIMIT_FSIZE)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, before[1]))
        try:
            save(path)
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, before)

    def listing(self):
        return sorted(path.name for path in self.folder.iterdir())


class FullDisks(WholeTest):
    def expect_failures(self, path, save):
        """Fails with each limit below the length of the file, and leaves what was there before."""
        save(path)
        length = path.stat().st_size
        error = q7plugin.ArchiveError if path.suffix == ".q7a" else OSError
        for before in (b"before", None):
            path.unlink()
            if before is not None:
                path.write_bytes(before)
            listing = self.listing()
            for size in (0, 1, length // 3, length // 2, length - 1):
                with self.subTest(path.name, size=size):
                    with self.assertRaisesRegex(error, "is the disk full|not made|[Ll]arge") as caught:
                        self.limited(size, save, path)
                    self.assertIn(str(path), str(caught.exception))
                    self.assertEqual(self.listing(), listing)
                    if before is not None:
                        self.assertEqual(path.read_bytes(), before)
            save(path)
            self.assertEqual(path.stat().st_size, length)

    def test_a_small_model(self):
        for name, save in self.saves().items():
            if not name.endswith("q7a"):
                self.expect_failures(self.folder / name, save)

    def test_a_model_beyond_the_buffers(self):
        self.fill(20_000)
        self.session.set_material_version(1)
        for name, save in self.saves().items():
            if not name.endswith("q7a"):
                self.expect_failures(self.folder / name, save)

    def test_archives(self):
        for name, save in self.saves().items():
            if name.endswith("q7a"):
                save(self.folder / name)
                listing = self.listing()
                before = (self.folder / name).read_bytes()
                for size in (0, 1, 100, 300):
                    with self.subTest(name, size=size):
                        with self.assertRaises(q7plugin.ArchiveError) as caught:
                            self.limited(size, save, self.folder / name)
                        self.assertEqual(caught.exception.path, str(self.folder / name))
                        self.assertEqual(self.listing(), listing)
                        self.assertEqual((self.folder / name).read_bytes(), before)

    def test_archives_of_cut_parts(self):
        """The archive itself is within the limit, what is packed is not."""
        self.session.set_material_version(1)
        texture = self.folder / "texture.png"
        texture.write_bytes(bytes(200_000))
        self.session.add_material("Wood")
        self.session.set_material_property("Wood", "Texture", str(texture))
        path = self.folder / "a.q7a"
        with self.assertRaisesRegex(q7plugin.ArchiveError, "textures/texture.png is not as long"):
            self.limited(100_000, self.session.save_raw_to_q7a, path)
        texture.write_bytes(b"small")
        self.fill(5_000)
        for save in (self.session.save_raw_to_q7a, self.session.save_processed_to_q7a):
            with self.assertRaisesRegex(q7plugin.ArchiveError, "1.q7mesh: it ends too early"):
                self.limited(100_000, save, path)
        self.assertEqual(self.listing(), ["texture.png"])


class Places(WholeTest):
    def test_the_bytes_are_those_of_the_library(self):
        direct = self.folder / "direct"
        raw, handle = self.session._raw, self.session._session
        for name, function in (
            ("raw.q7mesh", raw.Q7SaveRawToFile),
            ("processed.q7mesh", raw.Q7SaveProcessedToFile),
            ("materials.xml", raw.Q7SaveMaterialToFile),
        ):
            function(handle, str(direct))
            self.saves()[name](self.folder / name)
            self.assertEqual((self.folder / name).read_bytes(), direct.read_bytes())
        raw.Q7SaveRawToQ7a(handle, str(direct))
        self.session.save_raw_to_q7a(self.folder / "a.q7a")
        parts = [
            {name: archive.read(name) for name in archive.namelist() if name != "info.json"}
            for archive in map(zipfile.ZipFile, (direct, self.folder / "a.q7a"))
        ]
        self.assertEqual(parts[0], parts[1])

    def test_a_link_stays_one(self):
        for name, save in self.saves().items():
            real, link = self.folder / f"real-{name}", self.folder / name
            real.write_bytes(b"before")
            link.symlink_to(real.name)
            save(link)
            self.assertTrue(link.is_symlink())
            self.assertGreater(real.stat().st_size, 50)

    def test_permissions(self):
        before = os.umask(0o027)
        self.addCleanup(os.umask, before)
        for name, save in self.saves().items():
            path = self.folder / name
            save(path)
            self.assertEqual(path.stat().st_mode & 0o777, 0o640)
            path.chmod(0o604)
            save(path)
            self.assertEqual(path.stat().st_mode & 0o777, 0o604)

    def test_bits_beyond_the_permissions_go(self):
        for name, save in self.saves().items():
            path = self.folder / name
            save(path)
            path.chmod(0o7664)
            save(path)
            self.assertEqual(path.stat().st_mode & 0o7777, 0o664)

    def save_over(self, path, save, owner):
        """Saves over a file of an owner. Owner, group and mode after that."""
        path.write_bytes(b"before")
        os.chown(path, *owner)
        path.chmod(0o4666)
        save(path)
        after = path.stat()
        self.assertGreater(after.st_size, 50)
        return after.st_uid, after.st_gid, after.st_mode & 0o7777

    @unittest.skipUnless(os.geteuid() == 0, "only root may give a file to another user")
    def test_the_owner(self):
        for name, save in self.saves().items():
            for owner in ((1, 2), (0, 2), (1, 0)):
                self.assertEqual(self.save_over(self.folder / name, save, owner), (*owner, 0o666))

    @unittest.skipUnless(os.geteuid() == 0, "only root may become another user")
    def test_an_owner_that_cannot_be_kept(self):
        self.folder.chmod(0o777)

        def as_another(save, path):
            os.seteuid(1)
            try:
                save(path)
            finally:
                os.seteuid(0)

        for name, save in self.saves().items():
            owner, _, mode = self.save_over(self.folder / name, lambda path: as_another(save, path), (0, 0))
            self.assertEqual((owner, mode), (1, 0o666))

    def test_a_link_in_the_place_of_what_was_written(self):
        """Another user who may change the folder cannot have the permissions of a third file changed."""
        other, target, made = (self.folder / name for name in ("other", "target", "made"))
        target.write_bytes(b"before")
        target.chmod(0o666)
        other.write_bytes(b"secret")
        other.chmod(0o600)
        made.symlink_to(other)
        with self.assertRaises(OSError):
            _whole._replace(str(made), str(target))
        self.assertEqual(other.stat().st_mode & 0o777, 0o600)
        self.assertEqual(target.read_bytes(), b"before")

    @unittest.skipUnless(os.geteuid() == 0, "only root may give a file to another user")
    def test_a_second_name_in_the_place_of_what_was_written(self):
        other, target, made = (self.folder / name for name in ("other", "target", "made"))
        target.write_bytes(b"before")
        os.chown(target, 1, 2)
        other.write_bytes(b"secret")
        os.link(other, made)
        with self.assertRaises(OSError):
            _whole._replace(str(made), str(target))
        self.assertEqual((other.stat().st_uid, other.stat().st_gid), (0, 0))

    def test_another_name_of_the_file_keeps_what_it_had(self):
        for name, save in self.saves().items():
            path, other = self.folder / name, self.folder / f"other-{name}"
            path.write_bytes(b"before")
            os.link(path, other)
            save(path)
            self.assertEqual(other.read_bytes(), b"before")

    def expect_refused(self, place):
        """Each save raises what open raises, and changes nothing. place: from the folder on"""
        path = f"{self.folder}/{place}"
        saves = self.saves()
        with self.assertRaises(OSError) as opened:
            open(path, "wb").close()
        listing = self.listing()
        for name, save in saves.items():
            with self.subTest(name, place=place):
                with self.assertRaises(OSError) as caught:
                    save(path)
                if name.endswith("q7a"):
                    self.assertIsInstance(caught.exception, q7plugin.ArchiveError)
                    text = f"{path}: the archive was not made: {opened.exception.strerror}"
                    self.assertEqual(str(caught.exception), text)
                else:
                    self.assertIs(type(caught.exception), type(opened.exception))
                    self.assertEqual(str(caught.exception), str(opened.exception))
                self.assertEqual(self.listing(), listing)

    def test_a_file_is_not_a_folder(self):
        file, real = self.folder / "x", self.folder / "real"
        file.write_bytes(b"before")
        os.mkfifo(self.folder / "fifo")
        (self.folder / "link").symlink_to("x")
        real.mkdir()
        for name in ("new", "x", "link", "fifo", "real", "missing/new"):
            for end in ("/", "/."):
                self.expect_refused(name + end)
        self.expect_refused("")
        self.assertEqual(file.read_bytes(), b"before")
        self.assertEqual(list(real.iterdir()), [])
        with self.assertRaisesRegex(OSError, f"Not a directory: '{file}/'"):
            self.session.save_ext_to_q7a(f"{file}/", self.folder / "a.q7a")

    def test_a_link_to_itself(self):
        (self.folder / "loop").symlink_to("loop")
        (self.folder / "a").symlink_to("b")
        (self.folder / "b").symlink_to("a")
        (self.folder / "c").symlink_to("loop")
        for name in ("loop", "a", "c"):
            self.expect_refused(name)
            self.assertTrue((self.folder / name).is_symlink())

    def test_texts_of_errors(self):
        for name, save in self.saves().items():
            if not name.endswith("q7a"):
                missing = self.folder / "missing" / name
                with self.assertRaises(FileNotFoundError) as caught:
                    save(missing)
                text = f"[Errno 2] No such file or directory: '{missing}'"
                self.assertEqual(str(caught.exception), text)
                self.assertIsNone(caught.exception.filename2)
        path = self.folder / "a.q7mesh"
        with self.assertRaises(OSError) as caught:
            self.limited(30, self.session.save_raw_to_file, path)
        text = f"[Errno 5] the file was not written whole; is the disk full?: '{path}'"
        self.assertEqual(str(caught.exception), text)
        self.assertIsInstance(caught.exception.__cause__, _whole.NotWhole)

    def test_what_lies_in_the_way(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for name, save in self.saves().items():
            if name.endswith("q7a"):
                for path, text in ((self.folder, "directory"), (fifo, "can be replaced")):
                    with self.assertRaisesRegex(q7plugin.ArchiveError, text):
                        save(path)
                made = self.folder / "new" / name / "a.q7a"
                save(made)
                self.assertTrue(zipfile.is_zipfile(made))
            else:
                save("/dev/null")
        self.assertTrue(fifo.is_fifo())

    def test_an_older_temporary_folder_is_not_packed(self):
        foreign = self.folder / "__q7_export_temp" / "textures" / "foreign.png"
        foreign.parent.mkdir(parents=True)
        foreign.write_bytes(b"x")
        self.session.save_raw_to_q7a(self.folder / "a.q7a")
        self.assertNotIn("textures/foreign.png", zipfile.ZipFile(self.folder / "a.q7a").namelist())
        self.assertTrue(foreign.exists())


class Streams(WholeTest):
    def is_whole(self, path):
        try:
            _whole.check_stream(str(path))
        except _whole.NotWhole:
            return False
        return True

    def test_each_length(self):
        path = self.folder / "a.q7mesh"
        self.session.save_raw_to_file(path)
        data = path.read_bytes()
        for size in range(len(data)):
            path.write_bytes(data[:size])
            self.assertFalse(self.is_whole(path), size)
        path.write_bytes(data + b"x")
        self.assertFalse(self.is_whole(path))
        path.write_bytes(data)
        self.assertTrue(self.is_whole(path))

    def test_arrays_are_not_read(self):
        """A hole of 2 GiB is one array."""
        path = self.folder / "large.q7mesh"
        words = (11, 0, 0, 0, 1, 0, 2**29)
        with open(path, "wb") as file:
            file.write(struct.pack("<7I", *words))
            file.seek(2**31, os.SEEK_CUR)
            file.write(bytes(16))
        read = []

        class Counting(io.FileIO):
            def readinto(self, buffer):
                count = super().readinto(buffer)
                read.append(count)
                return count

        with Counting(path) as file:
            _whole._Walk(file, path.stat().st_size).walk()
        self.assertTrue(self.is_whole(path))
        self.assertLess(sum(read), 100_000)
        os.truncate(path, path.stat().st_size - 17)
        self.assertFalse(self.is_whole(path))

    def test_many_instances(self):
        for i in range(3000):
            self.session.duplicate_node("A1", f"copy{i}")
        path = self.folder / "a.q7mesh"
        self.session.save_raw_to_file(path)
        with open(path, "rb") as file:
            walk = _whole._Walk(file, path.stat().st_size)
            walk.walk()
        self.assertEqual(walk.instances, 3002)


class Archives(WholeTest):
    def setUp(self):
        super().setUp()
        self.session.set_material_version(1)
        self.texture = self.folder / "wood & oak.png"
        self.texture.write_bytes(b"pixels")
        self.session.add_material("Wood")
        self.session.set_material_property("Wood", "Texture", str(self.texture))
        self.path = self.folder / "a.q7a"
        self.session.save_raw_to_q7a(self.path)
        with zipfile.ZipFile(self.path) as archive:
            self.parts = {name: archive.read(name) for name in archive.namelist()}

    def rewrite(self, **changes):
        """The archive with other content of its parts; None leaves one out."""
        with zipfile.ZipFile(self.path, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, data in {**self.parts, **changes}.items():
                if data is not None:
                    archive.writestr(name, data)

    def expect(self, text, **changes):
        self.rewrite(**changes)
        with self.assertRaisesRegex(_whole.NotWhole, text):
            _whole.check_archive(str(self.path))

    def test_parts(self):
        self.rewrite()
        _whole.check_archive(str(self.path))
        for name in ("1.q7mesh", "info.json", "q7material.xml"):
            self.expect(f"{name} is missing", **{name: None})
            cut = {name: self.parts[name][:-3]}
            self.expect({"1.q7mesh": "ends too early"}.get(name, ""), **cut)
        self.expect("textures/wood & oak.png", **{f"textures/{self.texture.name}": b"pix"})
        self.expect("productID", **{"info.json": b"{}"})

    def test_a_list_without_a_root(self):
        self.session.set_material_version(0)
        self.session.add_text_material("odd", "<Odd>\ud800 \U0001f600</Odd>")
        self.session.save_raw_to_q7a(self.path)
        with zipfile.ZipFile(self.path) as archive:
            self.parts = {name: archive.read(name) for name in archive.namelist()}
        self.assertNotIn(b"Q7Materials", self.parts["q7material.xml"])
        self.expect("not the list", **{"q7material.xml": self.parts["q7material.xml"][:-1]})
        self.expect("not the list", **{"q7material.xml": b""})

    def test_each_byte_counts(self):
        data = self.path.read_bytes()
        for cut in range(0, len(data), 7):
            self.path.write_bytes(data[:cut])
            with self.assertRaises(_whole.NotWhole):
                _whole.check_archive(str(self.path))
        self.path.write_bytes(data)
        with zipfile.ZipFile(self.path) as archive:
            offset = archive.getinfo("1.q7mesh").header_offset
        broken = bytearray(data)
        broken[offset + 120] ^= 4
        self.path.write_bytes(broken)
        with self.assertRaises(_whole.NotWhole):
            _whole.check_archive(str(self.path))


if __name__ == "__main__":
    unittest.main()
