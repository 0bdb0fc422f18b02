"""The live link: sends what changed, shortly after it changed."""

import math
import time

import bpy
from bpy.app.handlers import persistent

from . import library
from .calls import Job
from .identity import identity
from .link import SceneLink

QUIET = 0.2  # seconds without a change before changes are sent
LONGEST = 2.0  # seconds after which they are sent all the same
_POLL = 0.05


class Status:
    """What the panel shows."""

    def __init__(self):
        self.text = ""
        self.error = ""
        self.warnings = []

    def show(self, text, warnings=()):
        self.text, self.error, self.warnings = text, "", list(warnings)
        redraw()

    def fail(self, error):
        self.error = error
        redraw()


status = Status()


def redraw():
    """The panels of all windows; in the background there are none."""
    manager = bpy.context.window_manager
    for window in manager.windows if manager is not None else ():
        for area in window.screen.areas:
            if area.type == "VIEW_3D":
                area.tag_redraw()


class LiveLink:
    """A scene link that notes what changes, and sends it."""

    def __init__(self, options):
        self.link = SceneLink(options)
        self.sends = 0  # of models
        self._job = None
        self._first = self._last = 0.0
        self._is_dirty = True

    # -- noting ----------------------------------------------------------------------------------

    def note(self, depsgraph, is_edit=True):
        """What Blender evaluated anew.

        is_edit: False after a change of the frame, with which animations list themselves but stay the same.
        """
        if self.link.is_reading:
            return
        owners = set()
        for update in depsgraph.updates:
            original = update.id.original
            kind = type(original).__name__
            if update.is_updated_geometry:
                owners.add(identity(original))
            if kind == "Image":
                self.link.textures.forget()
            if kind == "Action" and is_edit:
                self.link.reader.camera_paths.forget()
        if owners:
            self.link.model.forget_geometry(owners)
        # Also with no more than the scene in the list: what left a collection is not told of.
        self._touch()

    def note_all(self):
        """Anything may be different."""
        self.link.textures.forget()
        self.link.reader.camera_paths.forget()
        self.link.model.forget_geometry()
        self._touch()

    def _touch(self):
        self._last = time.monotonic()
        if not self._is_dirty:
            self._first = self._last
        self._is_dirty = True

    # -- sending ---------------------------------------------------------------------------------

    def steps(self, context):
        """One update and its send. A generator of Progress; returns what went."""
        self._is_dirty = False
        scene = yield from self.link.update(context)
        went = yield from self.link.send(scene)
        self.sends += "model" in went
        return went

    def flush(self, context):
        """Sends what changed, at once."""
        return Job(self.steps(context)).run()

    def tick(self, context):
        """What is to be done now. Called again and again; never waits."""
        if self._job is None and self._is_due(context):
            self._job = Job(self.steps(context))
        if self._job is None:
            return
        # Reading is not interrupted, or the artist's next change could fall into it.
        if self._job.advance(math.inf):
            went, self._job = self._job.result, None
            if went:
                status.show(f"Live: {', '.join(went)} sent", self.link.warnings)

    def _is_due(self, context):
        if not self._is_dirty or (
            context.screen is not None and context.screen.is_animation_playing
        ):
            return False
        now = time.monotonic()
        return now - self._last >= QUIET or now - self._first >= LONGEST

    @staticmethod
    def begin():
        """Sends changes by itself from now on. In the background there are no timers: see flush."""
        if not bpy.app.background and not bpy.app.timers.is_registered(_tick):
            bpy.app.timers.register(_tick, persistent=True)

    def close(self):
        if self._job is not None:
            self._job.cancel()
        self.link.close()


_live = None


def current():
    return _live


def is_on():
    return _live is not None


def start(options, is_waiting=False):
    """Begins to follow the scene.

    is_waiting: the first send is up to the caller; what changes is sent after `LiveLink.begin`.
    """
    global _live
    stop()
    _live = LiveLink(options)
    for handlers, handler in _HANDLERS:
        if handler not in handlers:
            handlers.append(handler)
    if not is_waiting:
        _live.begin()
    return _live


def stop():
    global _live
    if _live is None:
        return
    live, _live = _live, None
    for handlers, handler in _HANDLERS:
        if handler in handlers:
            handlers.remove(handler)
    if bpy.app.timers.is_registered(_tick):
        bpy.app.timers.unregister(_tick)
    live.close()


def fail(error):
    """Ends the link, and shows why."""
    stop()
    status.fail(library.text_of(error))


def _tick():
    if _live is None:
        return None
    try:
        _live.tick(bpy.context)
    except Exception as error:
        fail(error)
        return None
    return _POLL


def _note(depsgraph, is_edit):
    if _live is None:
        return
    try:
        _live.note(depsgraph, is_edit)
    except Exception as error:
        fail(error)


@persistent
def _on_update(_scene, depsgraph):
    _note(depsgraph, is_edit=True)


@persistent
def _on_frame(_scene, depsgraph):
    """A new frame, for which Blender does not call `depsgraph_update_post`."""
    # A render sets frames of its own evaluated scene, in a thread of its own.
    if depsgraph.mode == "VIEWPORT":
        _note(depsgraph, is_edit=False)


@persistent
def _on_undo(*_):
    if _live is not None:
        _live.note_all()


@persistent
def _on_load(*_):
    stop()
    status.show("The live link ended with the file")


_HANDLERS = (
    (bpy.app.handlers.depsgraph_update_post, _on_update),
    (bpy.app.handlers.frame_change_post, _on_frame),
    (bpy.app.handlers.undo_post, _on_undo),
    (bpy.app.handlers.redo_post, _on_undo),
    (bpy.app.handlers.load_pre, _on_load),
)
