"""Where the artist looks: the sidebar of the 3D view, and the File menu."""

import textwrap

import bpy
from bpy.props import BoolProperty, EnumProperty, FloatProperty, PointerProperty, StringProperty

from . import live, operators


class Q7_Settings(bpy.types.PropertyGroup):
    axes: EnumProperty(
        name="Up",
        description="Which axis points up in what is sent",
        items=(
            ("Z", "Z", "Axes as they are in Blender"),
            ("Y", "Y", "The whole scene turned, so that Y is up and Blender's Y is -Z"),
        ),
        default="Z",
    )
    scale: FloatProperty(
        name="Scale",
        description="By how much all is enlarged; 1 leaves metres metres",
        default=1.0,
        min=0.001,
        max=1000.0,
    )
    selected: BoolProperty(
        name="Selected Only",
        description="Leave out objects that are not selected",
    )
    merged: BoolProperty(
        name="Merge",
        description="Join, for each material, the meshes that stand in one place only: quicker with "
        "thousands of small objects, which the renderer then does not know one by one",
    )


class Q7_Preferences(bpy.types.AddonPreferences):
    bl_idname = __package__

    library: StringProperty(
        name="Library",
        description="The Q7Plugin library or its folder. Empty: that of the add-on",
        subtype="FILE_PATH",
    )

    def draw(self, _context):
        self.layout.prop(self, "library")


class Q7_PT_panel(bpy.types.Panel):
    bl_label = "Q7 Link"
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"
    bl_category = "Q7"

    def draw(self, context):
        layout = self.layout
        width = max(20, int(context.region.width / 8)) if context.region is not None else 40
        if live.is_on():
            layout.operator("q7.live_stop", icon="PAUSE")
        else:
            layout.operator("q7.live_start", icon="PLAY")
            layout.operator("q7.send", icon="EXPORT")
        row = layout.row(align=True)
        row.operator("q7.export_stream", text="Stream")
        row.operator("q7.export_archive", text="Archive")
        for text, icon in messages(live.status, live.is_on()):
            show_text(layout, text, icon, width)
        column = layout.column()
        column.enabled = not live.is_on()
        for name in ("axes", "scale", "selected", "merged"):
            column.prop(context.scene.q7_link, name)


def messages(status, is_on):
    """What the panel says, with an icon for each."""
    if status.error:
        yield status.error, "ERROR"
    text = status.text or ("The live link is on" if is_on else "")
    if text and not status.error:
        yield text, "LINKED" if is_on else "INFO"
    for warning in status.warnings:
        yield warning, "ERROR"


def show_text(layout, text, icon, width):
    column = layout.box().column(align=True)
    for line in text.splitlines():
        for piece in textwrap.wrap(line, width) or [""]:
            column.label(text=piece, icon=icon)
            icon = "BLANK1"


def _menu(self, _context):
    self.layout.operator(operators.Q7_OT_export_stream.bl_idname, text="Q7 Model Stream (.q7mesh)")
    self.layout.operator(operators.Q7_OT_export_archive.bl_idname, text="Q7 Archive (.q7a)")


CLASSES = (Q7_Settings, Q7_Preferences, Q7_PT_panel)


def register():
    bpy.types.Scene.q7_link = PointerProperty(type=Q7_Settings)
    bpy.types.TOPBAR_MT_file_export.append(_menu)


def unregister():
    bpy.types.TOPBAR_MT_file_export.remove(_menu)
    del bpy.types.Scene.q7_link
