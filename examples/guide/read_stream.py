"""Reads a model stream, as docs/formats/model_stream.md tells it, and says what is in it."""

import json
import struct
import sys


def read_stream(data):
    at = 0

    def take(size):
        nonlocal at
        if size > len(data) - at:
            raise ValueError(f"at byte {at}: {size} bytes are needed, {len(data) - at} are left")
        at += size
        return data[at - size : at]

    def word():
        return struct.unpack("<I", take(4))[0]

    def text():
        return take(2 * word()).decode("utf-16-le", "surrogatepass")

    def array(kind):  # "f": floats, "i": ints, "B": bytes
        count = word()
        return struct.unpack(f"<{count}{kind}", take(count * struct.calcsize(kind)))

    def material():
        return {"name": text(), "xml": text()}

    def instance():
        return {"mesh": text(), "material": text(), "transform": struct.unpack("<16f", take(64))}

    def mesh():
        return {
            "name": text(),
            "positions": array("f"),
            "normals": array("f"),
            "uvs": array("f"),
            "colors": array("B"),
            "indices": array("i"),
        }

    if word() != 11:
        raise ValueError("not a model stream of version 11")
    model = {"header": json.loads(text())}
    model["materials"] = [material() for _ in range(word())]
    model["instances"] = [instance() for _ in range(word())]
    model["meshes"] = [mesh() for _ in range(word())]
    if at != len(data):
        raise ValueError(f"at byte {at}: {len(data) - at} bytes too many")
    return model


if __name__ == "__main__":
    with open(sys.argv[1], "rb") as file:
        stream = read_stream(file.read())
    print(", ".join(f"{len(stream[part])} {part}" for part in ("materials", "instances", "meshes")))
