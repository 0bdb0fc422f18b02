"""What the artist starts: sends, exports, and the live link."""

import bpy
from bpy.props import BoolProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import library, link, live
from .calls import Job

_SLICE = 0.1  # seconds of work between two looks at the keyboard


def options_of(context):
    """The artist's settings."""
    settings = context.scene.q7_link
    addon = context.preferences.addons.get(__package__)
    return link.Options(
        axes=settings.axes,
        scale=settings.scale,
        selected=settings.selected,
        merged=settings.merged,
        library=bpy.path.abspath(addon.preferences.library) if addon is not None else "",
    )


class JobOperator:
    """Runs a job: at once from a script or without a window, else in pieces, with progress and Esc."""

    def execute(self, context):
        try:
            self._job = Job(self.steps(context))
            self._job.run()
        except Exception as error:
            return self._fail(error)
        return self._finish()

    def invoke(self, context, _event):
        if bpy.app.background:
            return self.execute(context)
        return self._begin(context)

    def _begin(self, context):
        self._job = Job(self.steps(context))
        self._window = context.window
        manager = context.window_manager
        manager.progress_begin(0, 100)
        self._timer = manager.event_timer_add(0.01, window=context.window)
        manager.modal_handler_add(self)
        return {"RUNNING_MODAL"}

    def modal(self, context, event):
        if event.type == "ESC" and event.value == "PRESS":
            return self.stop(context)
        if event.type != "TIMER":
            return {"RUNNING_MODAL"}
        try:
            is_over = self._job.advance(_SLICE)
        except Exception as error:
            self._end(context)
            return self._fail(error)
        if is_over:
            self._end(context)
            return self._finish()
        context.window_manager.progress_update(100 * self._job.fraction)
        context.workspace.status_text_set(f"Q7: {self._job.text} (Esc to cancel)")
        live.status.text = f"{self._job.text}: {self._job.fraction:.0%}"
        live.redraw()
        return {"RUNNING_MODAL"}

    def stop(self, context):
        self._job.cancel()
        self._end(context)
        self.cancelled()
        live.status.show("Cancelled")
        self.report({"WARNING"}, "Cancelled")
        return {"CANCELLED"}

    def cancel(self, context):
        """Blender ends the operator, for instance to load a file."""
        self._job.cancel()
        self._end(context)
        self.cancelled()

    def _end(self, context):
        manager = context.window_manager
        manager.progress_end()
        manager.event_timer_remove(self._timer)
        context.workspace.status_text_set(None)

    def _finish(self):
        text, warnings = self._job.result
        live.status.show(text, warnings)
        for warning in warnings:
            self.report({"WARNING"}, warning)
        self.report({"INFO"}, text)
        return {"FINISHED"}

    def _fail(self, error):
        self.cancelled()
        text = library.text_of(error)
        live.status.fail(text)
        self.report({"ERROR"}, text)
        return {"CANCELLED"}

    def cancelled(self):
        """What is to be undone when the job did not come to its end."""


class Q7_OT_send(JobOperator, bpy.types.Operator):
    """Send the scene to Q7 Render, which is started when it does not run"""

    bl_idname = "q7.send"
    bl_label = "Send"

    @classmethod
    def poll(cls, _context):
        return not live.is_on()

    def steps(self, context):
        return link.send_once(context, options_of(context))


class Q7_OT_live_start(JobOperator, bpy.types.Operator):
    """Send the scene to Q7 Render, and what changes from now on"""

    bl_idname = "q7.live_start"
    bl_label = "Start Live Link"

    @classmethod
    def poll(cls, _context):
        return not live.is_on()

    def steps(self, context):
        started = live.start(options_of(context), is_waiting=True)
        yield from started.steps(context)
        started.begin()
        return "The live link is on", started.link.warnings

    def cancelled(self):
        live.stop()


class Q7_OT_live_stop(bpy.types.Operator):
    """Send no more changes to Q7 Render"""

    bl_idname = "q7.live_stop"
    bl_label = "Stop Live Link"

    @classmethod
    def poll(cls, _context):
        return live.is_on()

    def execute(self, _context):
        live.stop()
        live.status.show("The live link is off")
        return {"FINISHED"}


class Q7_OT_run_job(JobOperator, bpy.types.Operator):
    """Runs in pieces what another operator began: one that the file browser calls cannot go on by itself."""

    bl_idname = "q7.run_job"
    bl_label = "Q7 Link"
    bl_options = {"INTERNAL"}

    pending = None

    def steps(self, _context):
        steps, Q7_OT_run_job.pending = Q7_OT_run_job.pending, None
        return steps


def _file_of(path):
    """The whole path of a file that is told as Blender does, "//" being the folder of the scene."""
    if path.startswith("//") and not bpy.data.filepath:
        raise library.LinkFault(
            f"{path}: the scene has no folder yet; save it first, or give a whole path"
        )
    return bpy.path.abspath(path)


class _ExportOperator(JobOperator, ExportHelper):
    in_pieces: BoolProperty(options={"HIDDEN", "SKIP_SAVE"})

    def invoke(self, context, event):
        self.in_pieces = not bpy.app.background
        return ExportHelper.invoke(self, context, event)

    def execute(self, context):
        if not self.in_pieces:
            return JobOperator.execute(self, context)
        try:
            Q7_OT_run_job.pending = self.steps(context)
        except Exception as error:
            return self._fail(error)
        bpy.ops.q7.run_job("INVOKE_DEFAULT")
        return {"FINISHED"}


class Q7_OT_export_stream(_ExportOperator, bpy.types.Operator):
    """Write the scene to a model stream file of Q7 Render"""

    bl_idname = "q7.export_stream"
    bl_label = "Export Model Stream"
    filename_ext = ".q7mesh"
    filter_glob: StringProperty(default="*.q7mesh", options={"HIDDEN"})

    def steps(self, context):
        return link.export_stream(context, options_of(context), _file_of(self.filepath))


class Q7_OT_export_archive(_ExportOperator, bpy.types.Operator):
    """Write the scene with its textures to an archive of Q7 Render"""

    bl_idname = "q7.export_archive"
    bl_label = "Export Archive"
    filename_ext = ".q7a"
    filter_glob: StringProperty(default="*.q7a", options={"HIDDEN"})

    def steps(self, context):
        return link.export_archive(context, options_of(context), _file_of(self.filepath))


CLASSES = (
    Q7_OT_send,
    Q7_OT_live_start,
    Q7_OT_live_stop,
    Q7_OT_run_job,
    Q7_OT_export_stream,
    Q7_OT_export_archive,
)
