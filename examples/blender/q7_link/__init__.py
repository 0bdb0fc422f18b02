"""Q7 Link: sends Blender's scene to Q7 Render, once or as it changes, and exports it to files."""

bl_info = {
    "name": "Q7 Link",
    "author": "Q7Plugin",
    "version": (1, 0, 0),
    "blender": (3, 4, 0),
    "location": "3D View > Sidebar > Q7, File > Export",
    "description": "Sends the scene to Q7 Render, live or to files",
    "category": "Import-Export",
}


def _modules():
    from . import live, operators, panel

    return live, operators, panel


def register():
    import bpy

    _, operators, panel = _modules()
    for added in panel.CLASSES + operators.CLASSES:
        bpy.utils.register_class(added)
    panel.register()


def unregister():
    import bpy

    live, operators, panel = _modules()
    live.stop()
    panel.unregister()
    for added in reversed(panel.CLASSES + operators.CLASSES):
        bpy.utils.unregister_class(added)
