"""What Blender would render of a scene."""

_VISIBLE_TYPES = {"MESH", "CURVE", "SURFACE", "META", "FONT", "LIGHT"}


class Rendered:
    """The objects of a view layer that Blender renders. It leaves out what has "Disable in Renders", as an
    object or by a collection above it.
    """

    def __init__(self, view_layer):
        self._objects = set()
        self._by_collection = {}
        self._walk(view_layer.layer_collection)

    def _walk(self, layer):
        if layer.collection.hide_render:
            return
        if not layer.exclude:
            self._objects.update(o for o in layer.collection.objects if not o.hide_render)
        for child in layer.children:
            self._walk(child)

    def has(self, thing):
        """thing: as in the file, and not what a collection's instance makes of it"""
        return thing in self._objects

    def has_in(self, collection, thing):
        """Whether an instance of the collection has the object."""
        found = self._by_collection.get(collection)
        if found is None:
            found = self._by_collection[collection] = set(_rendered_in(collection))
        return thing in found

    def hidden_in_viewport(self, view_layer):
        """The names of those that the viewport does not show."""
        return sorted(
            thing.name_full
            for thing in self._objects
            if (thing.type in _VISIBLE_TYPES or thing.instance_type == "COLLECTION")
            and not thing.visible_get(view_layer=view_layer)
        )


def _rendered_in(collection):
    if collection.hide_render:
        return
    for thing in collection.objects:
        if not thing.hide_render:
            yield thing
    for child in collection.children:
        yield from _rendered_in(child)
