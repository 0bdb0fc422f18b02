"""Changes of a linked scene: move, rename, other geometry, another material, delete; and a file of it.

    changes.py PLUGIN_FILE OUT.q7mesh
"""

import array
import sys

import q7plugin


def at(x):
    return [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 0, 0, 1]


def build(session, name, place, path, size):
    corners = array.array("f", [0, 0, 0, size, 0, 0, 0, size, 0])
    with session.node(name, place, path) as node:
        node.add_triangles("Oak", corners)


def set_color(session, color):
    session.reset_material("Oak")
    session.set_material_property("Oak", "BaseColor", color)


def fill(session, scene, color):
    session.set_material_version(1)
    session.add_material("Oak")
    set_color(session, color)
    for name, (place, path, size) in scene.items():
        build(session, name, place, path, size)


def change(session, scene):
    _, path, size = scene["Chair"]
    scene["Chair"] = at(5), path, size
    session.move_node("Chair", at(5), path)

    place, _, size = scene.pop("Table")
    scene["Desk"] = place, "/Room/Desk", size
    session.rename_node("Table", "Desk", place, "/Room/Desk")

    place, path, _ = scene["Shelf"]
    scene["Shelf"] = place, path, 3
    session.delete_node("Shelf")  # or the old instance would stay beside the new one
    build(session, "Shelf", *scene["Shelf"])

    session.delete_node("Lamp")
    del scene["Lamp"]


def main(plugin_file, out):
    # What the host knows of its objects: the library hands out neither transform nor path of a node.
    scene = {
        "Chair": (at(0), "/Room/Chair", 1),
        "Lamp": (at(1), "/Room/Lamp", 1),
        "Shelf": (at(2), "/Room/Shelf", 1),
        "Table": (at(3), "/Room/Table", 1),
    }
    q7plugin.start_link_render(plugin_file)
    with q7plugin.Session() as session:
        session.set_model_file_path("room.model")
        fill(session, scene, "#808080")
        with session.connect_raw() as connection:
            print("four objects:", session.instance_count(), "instances")
            connection.send()
            change(session, scene)
            set_color(session, "#803000")
            print("changed:", session.instance_count(), "instances")
            connection.send()
            print("sent again:", session.instance_count(), "instances")

    # A save keeps what was deleted since the last send. A session of its own never has any of that.
    with q7plugin.Session() as for_file:
        fill(for_file, scene, "#803000")
        for_file.save_raw_to_file(out)


if __name__ == "__main__":
    main(*sys.argv[1:])
