from __future__ import annotations

from typing import Optional, SupportsIndex

from ._base import SessionBase
from ._numbers import Real, int32, real
from ._text import encode
from .animation import AnyPoint, AnyPoints, point, points
from .enums import EntityType

# The one type that the library knows for records with key frames.
_TYPE = int(EntityType.CAMERA_ANIMATION)


class AnimationMethods(SessionBase):
    """Camera animations: records with key frames in the order of adding.

    Their own properties are set by the methods for entities, with EntityType.CAMERA_ANIMATION. Key
    frames are addressed by their index, from 0. Nothing happens when there is no camera animation of
    the name, or no such key frame.
    """

    __slots__ = ()

    def add_camera_anims(self, name: str) -> None:
        """Adds a camera animation without key frames, whose text property "Name" is its name.

        One that has the name is replaced.
        """
        self._raw.Q7AddCameraAnims(self._session, encode(name, "name"))

    def delete_camera_anims(self, name: str) -> None:
        """Removes a camera animation. Nothing happens when the name is unknown."""
        self._raw.Q7DeleteCameraAnims(self._session, encode(name, "name"))

    def clear_camera_anims(self) -> None:
        """Removes all camera animations."""
        self._raw.Q7ClearCameraAnims(self._session)

    def add_anim_entity_frame(self, name: str, time: Real) -> int:
        """Adds a key frame without properties, also when one of that time exists. Returns its index.

        time: in the unit that host and renderer agree on

        Raises KeyError when there is no such camera animation.
        """
        index: int = self._raw.Q7AddAnimEntityFrame(
            self._session, _TYPE, encode(name, "name"), real(time, "time")
        )
        if index < 0:
            raise KeyError(f"there is no camera animation {name!r}")
        return index

    def find_anim_entity_frame(self, name: str, time: Real) -> Optional[int]:
        """The index of the first key frame of that time, or None.

        Times that differ by less than 2.220446049250313e-16 are the same.
        Cost: grows with the number of key frames.
        """
        index: int = self._raw.Q7FindAnimEntityFrame(
            self._session, _TYPE, encode(name, "name"), real(time, "time")
        )
        return index if index >= 0 else None

    def delete_anim_entity_frame(self, name: str, frame: SupportsIndex) -> None:
        """Removes a key frame; those behind it move down by one."""
        self._raw.Q7DeleteAnimEntityFrame(
            self._session, _TYPE, encode(name, "name"), int32(frame, "frame")
        )

    def clear_anim_entity_frames(self, name: str) -> None:
        """Removes all key frames."""
        self._raw.Q7ClearAnimEntityFrames(self._session, _TYPE, encode(name, "name"))

    def set_anim_property(
        self, name: str, property: str, frame: SupportsIndex, value: Optional[AnyPoint]
    ) -> None:
        """Sets a property of a key frame to one point of a curve, replacing what it held.

        value: an AnimProperty, or 5 numbers; None leaves the property without points
        """
        self._raw.Q7SetAnimProperty(
            *(self._session, _TYPE, encode(name, "name"), encode(property, "property")),
            *(int32(frame, "frame"), None if value is None else point(value, "value")),
        )

    def set_anim_array_property(
        self, name: str, property: str, frame: SupportsIndex, values: AnyPoints
    ) -> None:
        """Sets a property of a key frame to several points of curves, replacing what it held.

        values: a sequence of AnimProperty, or an array of float64 of shape (n, 5): v, lt, lv, rt, rv

        Messages leave a property without points out.
        """
        keep, address, count = points(values, "values")
        self._raw.Q7SetAnimArrayProperty(
            *(self._session, _TYPE, encode(name, "name"), encode(property, "property")),
            *(int32(frame, "frame"), address, count),
        )
        del keep

    def reset_anim_property(self, name: str, frame: SupportsIndex) -> None:
        """Removes all properties of a key frame; the key frame and its time stay."""
        self._raw.Q7ResetAnimProperty(
            self._session, _TYPE, encode(name, "name"), int32(frame, "frame")
        )

    def delete_anim_property(self, name: str, property: str, frame: SupportsIndex) -> None:
        """Removes a property of a key frame. Nothing happens when it has no such property."""
        self._raw.Q7DeleteAnimProperty(
            *(self._session, _TYPE, encode(name, "name"), encode(property, "property")),
            int32(frame, "frame"),
        )

    def reset_all_anim_property(self, name: str) -> None:
        """Removes all properties of all key frames."""
        self._raw.Q7ResetAllAnimProperty(self._session, _TYPE, encode(name, "name"))

    def delete_all_anim_property(self, name: str, property: str) -> None:
        """Removes a property of all key frames."""
        self._raw.Q7DeleteAllAnimProperty(
            self._session, _TYPE, encode(name, "name"), encode(property, "property")
        )
