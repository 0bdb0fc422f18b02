from __future__ import annotations

import ctypes
from numbers import Integral, Real as AnyReal
from typing import Any, Optional, SupportsIndex, Union

from ._arrays import Buffer, Floats, byte_values, few_floats
from ._base import SessionBase
from ._numbers import Real, int32, real, uint32
from ._text import encode
from .enums import EntityType

SCENE_DATA_SIZE = 36


def _name(name: Optional[str], type: int) -> Optional[bytes]:
    if name is not None:
        return encode(name, "name")
    if type in (EntityType.CAMERA, EntityType.METADATA):
        return None
    raise TypeError("name: str is wanted; only the camera and the metadata have no name")


class EntityMethods(SessionBase):
    """Scenes, lights, the camera, the metadata: free records with properties.

    What a property means is a matter between the host and the renderer. The property methods address a
    record by an EntityType and a name; for the camera and the metadata, of which a session has one
    each, the name is None. A property is known by its name, and two names differ by case. Setting one
    that is there replaces its value and its type. Values cannot be read back.

    Nothing happens when no record of that type has the name.
    """

    __slots__ = ()

    def add_scene(self, name: str) -> None:
        """Adds a scene without properties. A scene that has the name is emptied.

        The name only addresses the scene: a message does not hold it.
        """
        self._raw.Q7AddScene(self._session, encode(name, "name"))

    def delete_scene(self, name: str) -> None:
        """Removes a scene. Nothing happens when the name is unknown."""
        self._raw.Q7DeleteScene(self._session, encode(name, "name"))

    def clear_scenes(self) -> None:
        """Removes all scenes of add_scene."""
        self._raw.Q7ClearScenes(self._session)

    def add_light(self, name: str) -> None:
        """Adds a light without properties. A light that has the name is emptied.

        The name only addresses the light: a message does not hold it.
        """
        self._raw.Q7AddLight(self._session, encode(name, "name"))

    def delete_light(self, name: str) -> None:
        """Removes a light. Nothing happens when the name is unknown."""
        self._raw.Q7DeleteLight(self._session, encode(name, "name"))

    def clear_lights(self) -> None:
        """Removes all lights."""
        self._raw.Q7ClearLights(self._session)

    def set_path_element_name(self, id: str, name: str) -> None:
        """Gives an id a name, replacing the one it has.

        The lights message lists the pairs as its groups; a light refers to one by a property that host
        and renderer agree on.
        """
        self._raw.Q7SetPathElementName(self._session, encode(id, "id"), encode(name, "name"))

    def delete_path_element_name(self, id: str) -> None:
        """Takes an id's name away. Nothing happens when the id is unknown."""
        self._raw.Q7DeletePathElementName(self._session, encode(id, "id"))

    def clear_path_element_names(self) -> None:
        """Takes all names of ids away."""
        self._raw.Q7ClearPathElementNames(self._session)

    def set_entity_int_property(
        self, type: SupportsIndex, name: Optional[str], property: str, value: SupportsIndex
    ) -> None:
        """Sets a property to an integer of 32 bits."""
        kind = uint32(type, "type")
        self._raw.Q7SetEntityIntProperty(
            *(self._session, kind, _name(name, kind), encode(property, "property")),
            int32(value, "value"),
        )

    def set_entity_float_property(
        self, type: SupportsIndex, name: Optional[str], property: str, value: Real
    ) -> None:
        """Sets a property to a float32.

        Messages show it with all the digits that it has as a double: 0.1 is 0.10000000149011612; a
        value that is no finite number is null.
        """
        kind = uint32(type, "type")
        self._raw.Q7SetEntityFloatProperty(
            *(self._session, kind, _name(name, kind), encode(property, "property")),
            real(value, "value"),
        )

    def set_entity_float_array_property(
        self, type: SupportsIndex, name: Optional[str], property: str, values: Floats
    ) -> None:
        """Sets a property to several floats. Messages show one as a plain number, and leave none out.

        values: a flat buffer of float32, or a sequence of numbers; copied
        """
        kind = uint32(type, "type")
        copy = few_floats(values, "values")
        self._raw.Q7SetEntityFloatArrayProperty(
            *(self._session, kind, _name(name, kind), encode(property, "property")),
            *(copy, int32(len(copy), "values")),
        )

    def set_entity_string_property(
        self, type: SupportsIndex, name: Optional[str], property: str, value: str
    ) -> None:
        """Sets a property to a text."""
        kind = uint32(type, "type")
        self._raw.Q7SetEntityStringProperty(
            *(self._session, kind, _name(name, kind), encode(property, "property")),
            encode(value, "value"),
        )

    def set_entity_property(
        self,
        type: SupportsIndex,
        name: Optional[str],
        property: str,
        value: Union[str, Real, Floats],
    ) -> None:
        """Sets a property to an integer, a float, a text or several floats, by the type of the value."""
        if isinstance(value, str):
            self.set_entity_string_property(type, name, property, value)
        elif isinstance(value, Integral):
            self.set_entity_int_property(type, name, property, value)
        elif isinstance(value, AnyReal):
            self.set_entity_float_property(type, name, property, value)
        else:
            several: Any = value
            self.set_entity_float_array_property(type, name, property, several)

    def reset_entity_property(self, type: SupportsIndex, name: Optional[str] = None) -> None:
        """Removes all properties of a record. The model's path in camera and metadata stays.

        Nothing happens with a camera animation.
        """
        kind = uint32(type, "type")
        self._raw.Q7ResetEntityProperty(self._session, kind, _name(name, kind))

    def delete_entity_property(
        self, type: SupportsIndex, name: Optional[str], property: str
    ) -> None:
        """Removes a property of a record.

        Nothing happens with a camera animation, or when the record has no such property.
        """
        kind = uint32(type, "type")
        self._raw.Q7DeleteEntityProperty(
            self._session, kind, _name(name, kind), encode(property, "property")
        )

    def add_legacy_scene(
        self, name: str, label: str, scene_data: Buffer, value: SupportsIndex
    ) -> None:
        """Appends a record to the list of legacy scenes (AddScene); names may repeat.

        scene_data: 36 bytes, passed on as they are
        value: 0 to 4294967295, passed on as it is

        send_legacy_scenes sends the list and empties it.
        """
        data = byte_values(scene_data, "scene_data", SCENE_DATA_SIZE)
        number = uint32(value, "value")
        names = encode(name, "name"), encode(label, "label")
        self._raw.AddScene(self._session, *names, ctypes.c_void_p(data.address), number)
