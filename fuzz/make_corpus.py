#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets anew.

    make_corpus.py

The seeds are small on purpose: each is tried with every one of its bits turned over. What a
change of a format makes of them stands in version control.
"""

import json
import shutil
import struct
import zipfile
from base64 import b64encode
from io import BytesIO
from pathlib import Path

CORPUS = Path(__file__).parent / "corpus"

TYPED = """<Material_2>
    <id>Lamp</id>
    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>
    <Mode>3</Mode>
    <Base--Map>C:\\t\\a.png</Base--Map>
    <Note>a &amp; b</Note>
    <Nothing/>
</Material_2>
"""
FREE = "<Material/>"
IDENTITY = (1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)
MIRRORED = (-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1)
CORNERS = (0, 0, 0, 1, 0, 0, 0, 1, 0)
UVS = (0, 0, 1, 0, 0, 1)


def word(value: int) -> bytes:
    return struct.pack("<I", value)


def text(value: str) -> bytes:
    units = value.encode("utf-16-le", "surrogatepass")
    return word(len(units) // 2) + units


def bare(kind: str, values: tuple) -> bytes:
    return struct.pack(f"<{len(values)}{kind}", *values)


def array(kind: str, values: tuple) -> bytes:
    return word(len(values)) + bare(kind, values)


def header(triangles: int, version: int = 2) -> str:
    members = {
        "dccPluginInfo": "",
        "materialVersion": version,
        "textureFolder": "",
        "triangleCount": triangles,
    }
    return json.dumps(members, separators=(",", ":"))


def mesh(name: str, positions=CORNERS, normals=(), uvs=UVS, colors=(), indices=(0, 1, 2)) -> bytes:
    arrays = array("f", positions) + array("f", normals) + array("f", uvs)
    return text(name) + arrays + array("B", colors) + array("i", indices)


def instance(mesh_name: str, material: str, transform=IDENTITY) -> bytes:
    return text(mesh_name) + text(material) + bare("f", transform)


def material(name: str, xml: str) -> bytes:
    return text(name) + text(xml)


def stream(head: str, materials: list, instances: list, meshes: list) -> bytes:
    lists = (word(len(part)) + b"".join(part) for part in (materials, instances, meshes))
    return word(11) + text(head) + b"".join(lists)


def triangle_stream() -> bytes:
    return stream(
        header(1), [material("Lamp", TYPED)], [instance("t", "Lamp")], [mesh("t")]
    )


def streams() -> dict[str, bytes]:
    meshes = [
        mesh("q", normals=(0, 0, 1) * 3, colors=(1, 2, 3)),
        mesh("\u4e2d\U0001f600", indices=()),
    ]
    placed = [instance("q", "a", MIRRORED), instance("\u4e2d\U0001f600", "b"), instance("q", "a")]
    merged = mesh("a_q7_merged", CORNERS, (), UVS, (), tuple(range(9)))
    return {
        "empty": stream(header(0), [], [], []),
        "triangle": triangle_stream(),
        "mixed": stream(header(2, 1), [material("a", FREE), material("b", "")], placed, meshes),
        "merged": stream(header(3), [material("a", FREE)], [instance("a_q7_merged", "a")], [merged]),
        "generator": stream(
            header(2),
            [material("a", FREE)],
            [instance("@g@m@q7_", "a"), instance("t", "a")],
            [mesh("t"), mesh("@g@m@q7_")],
        ),
    }


def info(ids: list[str]) -> bytes:
    members = {"instanceIdArray": ids, "productID": "0123456789ABCDEF" * 2}
    return json.dumps(members, separators=(",", ":")).encode()


def listed(xml: str) -> bytes:
    return f"<Q7Materials_2>\n{xml}</Q7Materials_2>\n".encode()


def zipped(entries: dict[str, bytes], method: int = zipfile.ZIP_DEFLATED) -> bytes:
    out = BytesIO()
    with zipfile.ZipFile(out, "w", method) as file:
        for name, data in entries.items():
            entry = zipfile.ZipInfo(name, (2020, 1, 1, 0, 0, 0))
            entry.compress_type = method if data else zipfile.ZIP_STORED
            file.writestr(entry, data)
    return out.getvalue()


def entries_of_model() -> dict[str, bytes]:
    return {
        "1.q7mesh": triangle_stream(),
        "q7material.xml": listed(TYPED),
        "info.json": info(["/t/Lamp"]),
        "textures/": b"",
        "textures/a.png": b"png",
    }


def part(number: int, data: bytes) -> bytes:
    return struct.pack("<BH", number, len(data)) + data


def telling(size: int, data: bytes) -> bytes:
    """An archive of one entry that tells a size of its own."""
    right, wrong = word(len(data)), word(size)
    file = zipped({"1.q7mesh": data})
    assert file.count(right) == 2
    return file.replace(right, wrong)


def archives() -> dict[str, bytes]:
    model = entries_of_model()
    external = {"1.external": b"any", "q7material.xml": listed(""), "textures/": b""}
    processed = {
        0: stream(
            header(3),
            [material("a", FREE)],
            [instance("a_q7_merged", "a")],
            [mesh("s"), mesh("t"), mesh("a_q7_merged", indices=tuple(range(9)))],
        ),
        1: listed(FREE),
        2: info(["/s/a", "/t/a"]),
        3: b"",
    }
    return {
        "model.zip": zipped(model),
        "telling-too-much.zip": telling(60 << 20, bytes(0x345)),
        "external.zip": zipped(external, zipfile.ZIP_STORED),
        "model.parts": b"".join(part(i, data) for i, data in enumerate(model.values())),
        "processed.parts": b"".join(part(i, data) for i, data in processed.items()),
        "external.parts": part(6, b"any") + part(1, TYPED.encode()),
    }


def material_texts() -> dict[str, bytes]:
    return {
        "list.xml": listed(TYPED + TYPED.replace("C:\\t\\a.png", "b.png")),
        "carriages.xml": listed(TYPED).replace(b"\n", b"\r\n"),
        "no-utf8.xml": listed(TYPED.replace("a &amp; b", "a & b")).replace(b"Lamp", b"\xff\xfe\xe4\xb8"),
        "free.xml": (FREE + TYPED + FREE).encode(),
        "typed.utf16": TYPED.encode("utf-16-le"),
        "info.json": info(["/Engine/Bolt/Steel", "/\u4e2d/Red"]),
    }


def sent(data: bytes) -> bytes:
    return struct.pack("<BH", 0, len(data)) + data


def block(data: bytes) -> bytes:
    # As in real ones, something lies behind what counts.
    data += b"\xee" * 40
    return struct.pack("<BH", 1, len(data)) + data


def answer(size: int = 4) -> bytes:
    return struct.pack("<BH", 2, size)


def sent_array(kind: str, values: tuple) -> bytes:
    return block(bare(kind, values)) + sent(word(len(values))) + answer()


def sent_model() -> bytes:
    return (
        sent(word(11) + text(header(1)))
        + block(material("Lamp", FREE))
        + sent(word(1))
        + answer()
        + block(instance("t", "Lamp"))
        + sent(word(1))
        + answer()
        + sent(word(1) + text("t"))
        + sent_array("f", CORNERS)
        + sent_array("f", ())
        + sent_array("f", UVS)
        + sent(word(0))
        + answer()
        + sent_array("i", (0, 1, 2))
    )


def connect(number: int) -> bytes:
    parent = text("proxyparent=p") if number == 17 else b""
    return sent(word(number) + text("a.skp") + parent) + answer()


def message(number: int, body: bytes) -> bytes:
    return b"\0" + sent(word(number) + body)


def connections() -> dict[str, bytes]:
    point = {"LT": 0, "LV": 1, "RT": 2, "RV": 3, "V": 4}
    animation = {"FrameData": [{"Position": [point] * 3, "T": 0.5}], "name": "c"}
    texts = {
        12: {"fov": 45, "model_file_path": "a", "position": [1, 2, 3]},
        13: {"model_file_path": "a", "scenes": [None, {"name": "s"}]},
        14: {"groups": [{"id": "1", "name": "g"}], "lights": [{"x": 1}], "model_file_path": "a"},
        15: {"b": 1, "a": [1, 2]},
        18: {"CameraAnimations": [animation]},
    }
    paths = block(text('{"instance_paths":["/t/Lamp"]}')) + sent(word(1)) + answer() + answer()
    seeds = {
        f"word-{number}": message(number, text(json.dumps(value, separators=(",", ":"))))
        for number, value in texts.items()
    }
    seeds |= {
        "word-3": message(3, text("p.dll")),
        "word-4": message(4, text("t") + word(1) + text("n") + text("l") + bytes(36) + word(7)),
        "word-5": message(5, bytes(36) + bare("f", (45,)) + text("a")),
        "word-6": message(6, text("a") + text("b")),
        "word-9": message(9, text("n")) + answer(),
        "word-10": b"\x20" + sent(word(10) + text("a")) + answer(6),
        "refused": b"\x01" + connect(7),
        "pieces": b"\x08" + connect(17) + sent_model() + answer(),
        "plain": b"\0" + connect(7) + sent_model() + answer() + sent_model() + answer(),
        "paths": b"\0" + connect(11) + sent_model() + paths,
        "broken": b"\x04" + connect(11) + sent_model() + answer(),
    }
    return seeds


OBJ = """o a
v 0 0 0
v 1 0 0
v 0 1 0
vt 0 1
vn 0 0 1
usemtl m
f 1/1/1 2/1/1 3/1/1
g b
f -1 -2 -3
l 1 2
"""

def gltf() -> bytes:
    data = bare("f", CORNERS) + bare("H", (0, 1, 2)) + bytes(2) + bare("f", (0, 1))
    uri = "data:application/octet-stream;base64," + b64encode(data).decode()
    views = [(0, 36), (36, 6), (44, 8), (0, 24)]
    kinds = [(5126, 3, "VEC3"), (5123, 3, "SCALAR"), (5126, 2, "SCALAR"), (5126, 2, "VEC3")]
    perspective = {"yfov": 1, "znear": 0.1}
    file = {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"nodes": [0, 1]}],
        "nodes": [{"mesh": 0, "name": "a", "scale": [2, 1, 1]}, {"camera": 0, "name": "c"}],
        "cameras": [{"type": "perspective", "perspective": perspective}],
        "materials": [{"name": "m", "pbrMetallicRoughness": {"roughnessFactor": 0.5}}],
        "meshes": [
            {"primitives": [{"attributes": {"POSITION": 0}, "indices": 1, "material": 0}]}
        ],
        "animations": [
            {
                "channels": [{"sampler": 0, "target": {"node": 1, "path": "translation"}}],
                "samplers": [{"input": 2, "output": 3}],
            }
        ],
        "buffers": [{"byteLength": len(data), "uri": uri}],
        "bufferViews": [
            {"buffer": 0, "byteOffset": at, "byteLength": size} for at, size in views
        ],
        "accessors": [
            {"bufferView": i, "componentType": kind, "count": count, "type": shape}
            for i, (kind, count, shape) in enumerate(kinds)
        ],
    }
    return json.dumps(file, separators=(",", ":")).encode()


def models() -> dict[str, bytes]:
    binary_stl = bytes(80) + word(1) + bare("f", (0, 0, 1) + CORNERS) + bytes(2)
    files = {"obj": OBJ.encode(), "stl": binary_stl, "gltf": gltf()}
    return {ending: ending.encode() + b"\n" + data for ending, data in files.items()}


def main() -> None:
    made = {
        "stream_file": streams(),
        "archive_file": archives(),
        "material_file": material_texts(),
        "standin_connection": connections(),
        "model_file": models(),
    }
    for target, seeds in made.items():
        folder = CORPUS / target
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        for name, data in seeds.items():
            (folder / name).write_bytes(data)


if __name__ == "__main__":
    main()
