"""A scene on its way to the renderer or to a file: what the operators and the live link share."""

import errno
import os
import tempfile
from dataclasses import dataclass

import bpy

from . import library
from .calls import Call, Progress
from .library import LinkFault
from .identity import identity
from .material_reader import read_material
from .names import clean, distinct
from .scene_reader import SceneReader, model_file
from .sender import Model
from .textures import Textures

VERSION = (1, 0, 0)
_PLUGIN_FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "__init__.py")

# The library has one connection for the process.
_sending = None


@dataclass(frozen=True)
class Options:
    axes: str = "Z"
    scale: float = 1.0
    selected: bool = False
    merged: bool = False
    library: str = ""


def program():
    version = ".".join(map(str, VERSION))
    return f"Q7 Link {version} (Blender {bpy.app.version_string})"


def _materials():
    return {identity(material): material for material in bpy.data.materials}


def _names_of(materials):
    """The name of each material by its id; the library makes "/" to "@"."""
    names = distinct({material.name_full: clean(material.name_full) for material in materials.values()})
    return {id: names[material.name_full] for id, material in materials.items()}


class SceneLink:
    """A session of the library that follows the scene. Closing it gives up the session."""

    def __init__(self, options, texture_folder=None):
        self.options = options
        q7plugin = library.load(options.library)
        self._q7 = q7plugin
        folder = texture_folder or os.path.join(bpy.app.tempdir, "q7_textures")
        self.textures = Textures(folder)
        self.reader = SceneReader(options.axes, options.scale, options.selected)
        self.model = Model(q7plugin, self._read_material)
        self.warnings = []
        self._materials = {}
        self._sent = {}
        self._call = None
        self.is_reading = False  # when what Blender tells of changes is our own doing

    def close(self):
        """The session ends, at the latest when the renderer lets it."""
        if self._call is not None:
            self._call.at_end(self.model.close)
        else:
            self.model.close()

    @property
    def closed(self):
        return self.model.closed

    def _read_material(self, id):
        return read_material(self._materials[id], self.textures)

    def update(self, context):
        """Makes the session hold the scene as it is. A generator of Progress; returns the scene."""
        self._materials = _materials()
        names = _names_of(self._materials)
        self.model.update_materials(names)
        scene = self._read(context)
        yield Progress(0.0, "Reading the scene")
        for fraction in self.model.update(scene, names):
            yield Progress(fraction, "Reading the scene")
        self._warn(scene)
        self._set_header(scene)
        return scene

    def _read(self, context):
        # Cameras may need the scene set to each of its frames, which is told of as changes.
        self.is_reading = True
        try:
            return self.reader.read(context, self.model.known_geometries())
        finally:
            self.is_reading = False

    def _warn(self, scene):
        warnings = {
            "Textures without a file": sorted(self.textures.missing),
            "Left out, since hidden in the viewport (Blender renders them)": scene.left_out,
        }
        self.warnings = []
        for text, names in warnings.items():
            more = f" and {len(names) - 3} more" if len(names) > 3 else ""
            if names:
                self.warnings.append(f"{text}: {', '.join(names[:3])}{more}")

    def _set_header(self, scene):
        path = model_file()
        self.model.set_header(path, os.path.dirname(path), program())
        self.model.set_metadata(os.path.basename(path), program(), scene)

    # -- to the renderer -------------------------------------------------------------------------

    def send(self, scene):
        """Sends what changed since the last time. A generator of Progress; returns what went."""
        global _sending
        if _sending is not None and not _sending.is_over():
            raise LinkFault("Q7 Render has not answered to what was sent last")
        records = {
            "cameras": scene.cameras,
            "lights": scene.lights,
            "animations": scene.camera_paths,
        }
        # What was never there need not be told.
        changed = {
            what: record for what, record in records.items() if record != self._sent.get(what, [])
        }
        self._set_records(changed)
        has_model = self.model.changed and self.model.node_count() > 0
        if self.model.changed and not has_model:
            self.warnings.append("The scene has no geometry: Q7 Render keeps what it had")
        if not has_model and not changed:
            return []
        _sending = self._call = Call(lambda: self._deliver(has_model, changed))
        self._call.start()
        while not self._call.is_over():
            yield Progress(1.0, "Sending to Q7 Render", self._call)
        call, self._call = self._call, None
        if not call.result():
            self.warnings.append("Q7 Render cannot be asked whether all of it arrived")
        self.model.changed = False
        self._sent.update(changed)
        return (["model"] if has_model else []) + list(changed)

    def _set_records(self, changed):
        if "cameras" in changed:
            self.model.set_cameras(changed["cameras"])
        if "lights" in changed:
            self.model.set_lights(changed["lights"])
        if "animations" in changed:
            self.model.set_camera_paths(changed["animations"])

    def _deliver(self, has_model, changed):
        """In the order of q7-send. What of it may wait for the renderer is all that a thread does.

        Returns whether the renderer still had the token after all of it. One that does not give the token
        back before cannot be asked afterwards.
        """
        session = self.model.session
        self._q7.start_link_render(_PLUGIN_FILE)
        self._expect_linked("before the scene went")
        token = session.leave_token()
        if has_model:
            connect = session.connect_processed if self.options.merged else session.connect_raw
            with connect() as connection:
                connection.send()
                self._expect_linked("after the scene went")
                if not connection.holds():
                    raise LinkFault(
                        "Q7 Render could not be reached, or the connection to it broke: it may have got a "
                        "part of the scene or nothing"
                    )
        if "cameras" in changed:
            session.send_camera()
        if "lights" in changed:
            session.send_lights()
        if "cameras" in changed:
            session.send_scenes()
        if "animations" in changed:
            session.send_camera_anims()
        self._expect_linked("after the scene went")
        if token is not None and not session.holds_token(token):
            raise LinkFault("Q7 Render does not answer any more, or was replaced: what was sent is lost")
        return token is not None

    def _expect_linked(self, when):
        # The library tells nothing of what went nowhere.
        status = self._q7.get_render_status()
        if status != self._q7.RenderStatus.LINKED:
            how = "gone" if status == 0 else f"no longer linked (status {int(status)})"
            raise LinkFault(f"Q7 Render was {how} {when}: it may have got a part or nothing")

    # -- to files --------------------------------------------------------------------------------

    def save_stream(self, path):
        session = self.model.session
        save = session.save_processed_to_file if self.options.merged else session.save_raw_to_file
        save(path)

    def save_archive(self, path):
        session = self.model.session
        # The library would make the folder, which is most likely a mistake in typing.
        if not os.path.isdir(os.path.dirname(path) or "."):
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), path)
        save = session.save_processed_to_q7a if self.options.merged else session.save_raw_to_q7a
        save(path)


def _summary(link, where):
    model = link.model
    return (
        f"{model.node_count()} objects, {model.triangle_count()} triangles, "
        f"{model.material_count()} materials {where}"
    )


def send_once(context, options):
    """Sends the scene. A generator of Progress; returns what to tell and a list of warnings."""
    link = SceneLink(options)
    try:
        scene = yield from link.update(context)
        yield from link.send(scene)
        return _summary(link, "sent"), link.warnings
    finally:
        link.close()


def export_stream(context, options, path):
    """Writes a model stream, and the textures of the .blend file into a folder beside it."""
    link = SceneLink(options, os.path.splitext(path)[0] + "_textures")
    try:
        yield from link.update(context)
        yield Progress(1.0, "Writing the file")
        link.save_stream(path)
        return _summary(link, f"written to {path}"), link.warnings
    finally:
        link.close()


def export_archive(context, options, path):
    """Writes an archive, which holds the textures."""
    with tempfile.TemporaryDirectory(prefix="q7-") as folder:
        link = SceneLink(options, folder)
        try:
            yield from link.update(context)
            yield Progress(1.0, "Packing the archive")
            link.save_archive(path)
            return _summary(link, f"written to {path}"), link.warnings
        finally:
            link.close()
