"""How the add-on distinguishes Blender's data-blocks."""

from operator import attrgetter, methodcaller

import bpy


def _identity_by(properties):
    """`properties`: the names of a data-block's properties in Blender."""
    # Newer versions number data-blocks, and undo keeps the number. An address may change by undo.
    for name in ("session_uid", "session_uuid"):
        if name in properties:
            return attrgetter(name)
    return methodcaller("as_pointer")


identity = _identity_by(bpy.types.ID.bl_rna.properties.keys())
"""A number that no other data-block has at the same time. Valid until undo, or until the file is loaded anew.

What has to be the same after undo and in another session goes by `name_full`, which holds the name of the
library too: no two data-blocks of a type share it.
"""
