"""Blender's materials as the properties that q7-send gives its materials: type 0, the same names."""

import math

_SHADERS = {
    "BSDF_PRINCIPLED",
    "BSDF_DIFFUSE",
    "BSDF_GLOSSY",
    "BSDF_GLASS",
    "BSDF_TRANSPARENT",
    "EMISSION",
}
_SEPARATORS = {"SEPARATE_COLOR", "SEPRGB"}
_GREEN = {"Green", "G"}
_BLUE = {"Blue", "B"}


def color_text(color):
    """Red, green and blue from 0 to 1 as "#RRGGBB", as they stand."""
    parts = [0.0 if math.isnan(value) else min(max(value, 0.0), 1.0) for value in color[:3]]
    return "#" + "".join(f"{int(value * 255 + 0.5):02X}" for value in parts)


def _fraction(value):
    return min(max(value, 0.0), 1.0)


def _upstream(node, seen):
    """The nodes that a node gets its inputs from, the nearer ones first, and each once."""
    pending = [node]
    while pending:
        current = pending.pop(0)
        if current in seen:
            continue
        seen.add(current)
        yield current
        if current.type == "GROUP" and current.node_tree is not None:
            inner = [n for n in current.node_tree.nodes if n.type == "GROUP_OUTPUT"]
            pending.extend(inner)
        for socket in current.inputs:
            pending.extend(link.from_node for link in socket.links if not link.is_muted)


def _shader_of(tree):
    output = tree.get_output_node("EEVEE") or tree.get_output_node("CYCLES")
    if output is None:
        return None
    surface = output.inputs["Surface"]
    if not surface.is_linked:
        return None
    nodes = list(_upstream(surface.links[0].from_node, set()))
    found = [node for node in nodes if node.type in _SHADERS]
    principled = [node for node in found if node.type == "BSDF_PRINCIPLED"]
    return (principled or found or [None])[0]


def _source(socket):
    """What is linked to a socket: the socket at the other end, behind reroutes; or None."""
    while socket is not None and socket.is_linked:
        link = socket.links[0]
        if link.is_muted or not link.is_valid:
            return None
        if link.from_node.type != "REROUTE":
            return link.from_socket
        socket = link.from_node.inputs[0]
    return None


def _image_behind(socket):
    """The image that comes nearest to a socket, through whatever stands between."""
    source = _source(socket)
    if source is None:
        return None
    for node in _upstream(source.node, set()):
        if node.type == "TEX_IMAGE" and node.image is not None:
            return node.image
    return None


def _channel_of(socket, channels):
    """The image of which one channel is linked to the socket."""
    source = _source(socket)
    if source is None or source.node.type not in _SEPARATORS or source.name not in channels:
        return None
    return _image_behind(source.node.inputs[0])


class _Reader:
    def __init__(self, textures):
        self.textures = textures
        self.properties = {}

    def add_texture(self, name, image):
        path = self.textures.path_of(image) if image is not None else None
        if path:
            self.properties[name] = path

    def add_color(self, name, socket, factor=1.0):
        """A texture takes the place of the color, which is then white."""
        image = _image_behind(socket)
        if image is not None:
            self.properties[name] = color_text((1, 1, 1))
            self.add_texture(name + "Texture", image)
        else:
            self.properties[name] = color_text([factor * part for part in socket.default_value])

    def add_number(self, name, socket):
        image = _image_behind(socket)
        if image is not None:
            self.properties[name] = 1.0
            self.add_texture(name + "Texture", image)
        else:
            self.properties[name] = _fraction(socket.default_value)

    def add_emission(self, socket, strength):
        if socket is None or strength <= 0:
            return
        image = _image_behind(socket)
        if image is None and not any(socket.default_value[:3]):
            return
        self.add_color("Emission", socket, strength)

    def add_metallic_roughness(self, metallic, roughness):
        metal, rough = _channel_of(metallic, _BLUE), _channel_of(roughness, _GREEN)
        if metal is not None and metal == rough:
            self.properties["Metalness"] = 1.0
            self.properties["Roughness"] = 1.0
            self.add_texture("MetallicRoughnessTexture", metal)
            return
        self.add_number("Metalness", metallic)
        self.add_number("Roughness", roughness)

    def add_normals(self, socket):
        source = _source(socket)
        if source is None:
            return
        node = source.node
        if node.type == "BUMP":
            self.add_texture("BumpTexture", _image_behind(node.inputs["Height"]))
            self.add_normals(node.inputs["Normal"])
        else:
            self.add_texture("NormalTexture", _image_behind(socket))

    def principled(self, node):
        inputs = node.inputs
        # Sockets were renamed in 4.0.
        emission = inputs.get("Emission Color") or inputs.get("Emission")
        specular = inputs.get("Specular IOR Level") or inputs.get("Specular")
        self.add_color("BaseColor", inputs["Base Color"])
        self.add_emission(emission, inputs["Emission Strength"].default_value)
        self.add_metallic_roughness(inputs["Metallic"], inputs["Roughness"])
        self.add_number("Opacity", inputs["Alpha"])
        self.add_normals(inputs["Normal"])
        self.add_texture("SpecularTexture", _image_behind(specular))

    def simple(self, node):
        inputs = node.inputs
        if node.type == "EMISSION":
            self.add_emission(inputs["Color"], inputs["Strength"].default_value)
            return
        self.add_color("BaseColor", inputs["Color"])
        self.properties["Metalness"] = 1.0 if node.type == "BSDF_GLOSSY" else 0.0
        if "Roughness" in inputs:
            self.add_number("Roughness", inputs["Roughness"])
        if node.type in ("BSDF_GLASS", "BSDF_TRANSPARENT"):
            self.properties["Opacity"] = 0.0
        if "Normal" in inputs:
            self.add_normals(inputs["Normal"])

    def of_viewport(self, material):
        self.properties["BaseColor"] = color_text(material.diffuse_color)
        self.properties["Metalness"] = _fraction(material.metallic)
        self.properties["Roughness"] = _fraction(material.roughness)
        self.properties["Opacity"] = _fraction(material.diffuse_color[3])


def read_material(material, textures):
    """The properties of a material: numbers and texts by their names."""
    reader = _Reader(textures)
    shader = _shader_of(material.node_tree) if material.use_nodes and material.node_tree else None
    if shader is None:
        reader.of_viewport(material)
    elif shader.type == "BSDF_PRINCIPLED":
        reader.principled(shader)
    else:
        reader.simple(shader)
    return reader.properties
