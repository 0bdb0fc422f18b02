"""Writes PNG files: Blender itself writes an image only by changing it."""

import struct
import zlib

import numpy as np


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png_bytes(pixels, width, height):
    """A file of 8 bits a channel. pixels: floats from 0 to 1, red, green, blue and alpha, the lowest
    row first, as Blender has them."""
    levels = np.nan_to_num(np.asarray(pixels, np.float32), nan=0.0)
    rows = (np.clip(levels, 0, 1) * 255 + 0.5).astype(np.uint8).reshape(height, 4 * width)[::-1]
    filtered = np.zeros((height, 1 + 4 * width), np.uint8)
    filtered[:, 1:] = rows
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + _chunk(b"IHDR", header)
        + _chunk(b"IDAT", zlib.compress(filtered.tobytes(), 1))
        + _chunk(b"IEND", b"")
    )
