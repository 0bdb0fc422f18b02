"""Files for Blender's images: the renderer reads textures from files alone."""

import os

import bpy
import numpy as np

from .names import UniqueNames, clean
from .png import png_bytes

_SIGNATURES = (
    (b"\x89PNG", ".png"),
    (b"\xff\xd8\xff", ".jpg"),
    (b"BM", ".bmp"),
    (b"II*\0", ".tif"),
    (b"MM\0*", ".tif"),
    (b"\x76\x2f\x31\x01", ".exr"),
    (b"#?RADIANCE", ".hdr"),
)


def _extension(data):
    for signature, extension in _SIGNATURES:
        if data.startswith(signature):
            return extension
    return ".tga"


def _plain(name):
    """A name that every file system takes."""
    kept = "".join(c if c.isalnum() or c in "-_. " else "-" for c in clean(name))
    return os.path.splitext(kept)[0].strip(" .") or "texture"


def _is_inside(image):
    """Whether the .blend file alone has it."""
    return image.packed_file is not None or image.source in ("GENERATED", "VIEWER")


class Textures:
    """Tells the file of each image, and writes those that are in the .blend file alone."""

    def __init__(self, folder):
        self.folder = folder  # made when it is needed
        self.missing = set()  # names of images without a file
        self._names = UniqueNames("\0", "\0")
        self._name_of = {}
        self._written = {}

    def path_of(self, image):
        """The whole path of an image's file, or None when there is nothing to write."""
        return self._write(image) if _is_inside(image) else self._file_of(image)

    def forget(self):
        """Images may have changed: what is packed is written anew."""
        self._written = {key: (None, path) for key, (_, path) in self._written.items()}

    def _file_of(self, image):
        if not image.filepath:
            self.missing.add(image.name)
            return None
        path = bpy.path.abspath(image.filepath, library=image.library)
        if image.source == "TILED" and image.tiles:
            number = image.tiles[0].number
            path = path.replace("<UDIM>", str(number)).replace(
                "<UVTILE>", f"u{(number - 1001) % 10 + 1}_v{(number - 1001) // 10 + 1}"
            )
        path = os.path.normpath(path)
        if not os.path.isfile(path):
            self.missing.add(image.name)
        return path

    def _write(self, image):
        key = image.name_full
        done, path = self._written.get(key, (None, None))
        if done:
            return path
        data, extension = self._content(image)
        if not data:
            self.missing.add(image.name)
            return None
        if path is None:
            path = os.path.join(self.folder, self._file_name(image) + extension)
        os.makedirs(self.folder, exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        self._written[key] = (True, path)
        return path

    def _file_name(self, image):
        """Without an extension. Images get theirs in the order of their names, whichever is needed first."""
        images = {other.name_full: other for other in bpy.data.images if _is_inside(other)}
        for gone in self._name_of.keys() - images.keys():
            self._names.release(self._name_of.pop(gone))
        for key in sorted(images.keys() - self._name_of.keys()):
            wanted = _plain(os.path.basename(images[key].filepath) or images[key].name)
            self._name_of[key] = self._names.claim(wanted, "texture")
        return self._name_of[image.name_full]

    @staticmethod
    def _content(image):
        if image.packed_file is not None and not image.is_dirty:
            data = bytes(image.packed_file.data)
            return data, _extension(data)
        width, height = image.size
        if not width or not height:
            return b"", ""
        pixels = np.empty(4 * width * height, np.float32)
        if len(image.pixels) != len(pixels):
            return b"", ""
        image.pixels.foreach_get(pixels)
        return png_bytes(pixels, width, height), ".png"
