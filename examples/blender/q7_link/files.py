"""Files that are whole or not there. Needs no Blender."""

import os
import shutil
import struct
import tempfile


class _Walk:
    """Goes over a model stream, as docs/formats/model_stream.md describes it, without its arrays."""

    def __init__(self, file, size):
        self.file = file
        self.size = size

    def word(self):
        data = self.file.read(4)
        if len(data) < 4:
            raise EOFError
        return struct.unpack("<I", data)[0]

    def skip(self, size):
        self.file.seek(size, os.SEEK_CUR)
        if self.file.tell() > self.size:
            raise EOFError

    def text(self):
        self.skip(2 * self.word())

    def walk(self):
        self.word()
        self.text()
        for _ in range(self.word()):
            self.text()
            self.text()
        for _ in range(self.word()):
            self.text()
            self.text()
            self.skip(64)
        for _ in range(self.word()):
            self.text()
            for width in (4, 4, 4, 1, 4):
                self.skip(width * self.word())


def is_whole_stream(path):
    """Whether a model stream ends where it should: the library does not tell of a full disk."""
    size = os.path.getsize(path)
    with open(path, "rb") as file:
        try:
            _Walk(file, size).walk()
        except EOFError:
            return False
        return file.tell() == size


def save_stream(save, path):
    """Lets `save` write a model stream, which takes the place of `path` only when it is whole."""
    part = f"{path}.part"
    try:
        save(part)
        if not is_whole_stream(part):
            raise OSError(0, "the file could not be written whole: is the disk full?", path)
        os.replace(part, path)
    except OSError as error:
        if error.filename == part:
            error.filename = path
        raise
    finally:
        if os.path.isfile(part):
            os.unlink(part)


def save_archive(save, path):
    """Lets `save` make an archive in a folder of its own, and puts it to its place when it is made."""
    path = os.path.abspath(path)
    try:
        folder = tempfile.mkdtemp(prefix="q7-", dir=os.path.dirname(path))
    except OSError as error:
        error.filename = path
        raise
    try:
        made = os.path.join(folder, os.path.basename(path))
        save(made)
        os.replace(made, path)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
