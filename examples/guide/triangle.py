import array

import q7plugin

corners = array.array("f", [0, 0, 0, 1, 0, 0, 0, 1, 0])
with q7plugin.Session() as session:
    with session.node("Node", path="/Node") as node:
        node.add_triangles("Red", corners)
    session.save_raw_to_file("triangle.q7mesh")
