from __future__ import annotations

from numbers import Integral, Real as AnyReal
from typing import SupportsIndex, Union

from ._base import SessionBase
from ._numbers import Real, int32, real, uint32
from ._text import encode


class MaterialMethods(SessionBase):
    """Materials: typed ones with properties, and texts of the host's own.

    In all of these, every "/" in a material name becomes "@". Property names are free and differ by
    case. They become the names of XML elements, with each blank turned into "--" and nothing else
    changed or escaped: choose names that XML allows. In values "&", "<" and ">" become entities.

    Nothing happens when the name is unknown or belongs to a text material.
    """

    __slots__ = ()

    def add_material(self, name: str) -> None:
        """Adds a typed material of type 0 without properties.

        Nothing happens when a material of that name exists.
        """
        self._raw.Q7AddMaterial(self._session, encode(name, "name"))

    def add_text_material(self, name: str, xml: str) -> None:
        """Adds a text material, or replaces the text of the text material of that name.

        xml: the finished text, stored and sent as it stands, never parsed

        Nothing happens when the name belongs to a typed material.
        """
        self._raw.AddMaterial(self._session, encode(name, "name"), encode(xml, "xml"))

    def reset_material(self, name: str) -> None:
        """Removes all properties of a typed material; its type stays."""
        self._raw.Q7ResetMaterial(self._session, encode(name, "name"))

    def set_material_type(self, name: str, type: SupportsIndex) -> None:
        """Chooses the base material by its index in the renderer's catalogue.

        type: a MaterialType, 0 to 9. A larger value is stored too, and written as type 0.
        """
        self._raw.Q7SetMaterialType(self._session, encode(name, "name"), uint32(type, "type"))

    def set_material_int_property(self, name: str, property: str, value: SupportsIndex) -> None:
        """Sets a property to an integer of 32 bits, replacing what it held, whatever its type."""
        self._raw.Q7SetMaterialIntProperty(
            self._session, encode(name, "name"), encode(property, "property"), int32(value, "value")
        )

    def set_material_float_property(self, name: str, property: str, value: Real) -> None:
        """Sets a property to a float32, replacing what it held; written with six significant digits."""
        self._raw.Q7SetMaterialFloatProperty(
            self._session, encode(name, "name"), encode(property, "property"), real(value, "value")
        )

    def set_material_string_property(self, name: str, property: str, value: str) -> None:
        """Sets a property to a text, replacing what it held.

        A texture is a text: the path of its file, which is written as it stands; the renderer looks for
        the file by its name alone. On Windows a texture that an archive is to hold has "\\" in its path,
        not "/".
        """
        self._raw.Q7SetMaterialStringProperty(
            self._session,
            encode(name, "name"),
            encode(property, "property"),
            encode(value, "value"),
        )

    def set_material_property(self, name: str, property: str, value: Union[str, Real]) -> None:
        """Sets a property to an integer, a float or a text, by the type of the value."""
        if isinstance(value, str):
            self.set_material_string_property(name, property, value)
        elif isinstance(value, Integral):
            self.set_material_int_property(name, property, value)
        elif isinstance(value, AnyReal):
            self.set_material_float_property(name, property, value)
        else:
            raise TypeError(f"value: str, int or float is wanted, not {type(value).__name__}")

    def remove_material_property(self, name: str, property: str) -> None:
        """Removes a property of a typed material. Nothing happens when it has none of that name."""
        self._raw.Q7RemoveMaterialProperty(
            self._session, encode(name, "name"), encode(property, "property")
        )
