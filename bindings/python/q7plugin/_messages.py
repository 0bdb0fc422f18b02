from __future__ import annotations

import ctypes
import secrets
from typing import Optional

from ._arrays import Buffer, byte_values
from ._base import SessionBase
from ._numbers import Real, real
from ._text import UNIT, decode, encode
from .enums import EntityType, RenderStatus
from .renderer import get_render_status

CAMERA_SIZE = 36
NO_MESSAGE = 0xFFFFFFFF
_FIRST_ROOM = 4096
# "$" sorts it before other names: an answer that does not arrive whole has it all the same.
_TOKEN_NAME = "$q7SendToken"


class MessageMethods(SessionBase):
    """Messages to a renderer that runs: camera, metadata, scenes, lights, camera animations.

    Each message takes a connection of its own, and goes only when the renderer shows a status other
    than 0 and no connection for a model is open, of whatever session: one that comes in the meantime is
    dropped, not queued. No failure is reported. A message waits for the renderer to take it, however
    long that lasts.

    It goes to the port that was read last: start_link_render reads it, and every connection or send
    that fails. So the first message of a process that did not call start_link_render, and the first one
    after the renderer moved, are lost.
    """

    __slots__ = ()

    def send_camera_transform_fov(self, transform: Buffer, fov: Real) -> None:
        """Sends the camera in its short form, with the path of the session's model.

        transform: 36 bytes, passed on unread
        fov: float32, passed on unread
        """
        data = byte_values(transform, "transform", CAMERA_SIZE)
        self._raw.SendCameraTransformFov(self._session, data.address, real(fov, "fov"))

    def send_camera(self) -> None:
        """Sends the properties of the session's camera, and the model's path if one is set. They stay."""
        self._raw.Q7SendCamera(self._session)

    def send_meta_data(self) -> None:
        """Sends the properties of the session's metadata, and the model's path if one is set. They stay."""
        self._raw.Q7SendMetaData(self._session)

    def get_meta_data(self) -> Optional[str]:
        """Asks the renderer for the metadata that it holds of the session's model.

        Waits for the answer without a limit. Returns the text, which is empty when there was no answer,
        also of a renderer that cannot be reached; None when no message may go. Asks a second time when
        the text is long.
        """
        room = _FIRST_ROOM
        while True:
            buffer = (ctypes.c_uint16 * room)()
            needed: int = self._raw.Q7GetMetaData(self._session, buffer, room)
            if needed == NO_MESSAGE:
                return None
            if needed <= room:
                return decode(bytes(buffer)[: (needed - 1) * UNIT])
            room = needed

    def gives_meta_data_back(self) -> bool:
        """Whether the renderer takes the session's metadata now and gives them back, so is alive.

        Does what leave_token does. It tells nothing about what was sent before: a renderer that was
        replaced since gives them back too, which holds_token tells apart.
        """
        return self.leave_token() is not None

    def leave_token(self) -> Optional[str]:
        """Sends the session's metadata with a new token, for which holds_token asks later.

        The token is one more property, "$q7SendToken". It leaves the session again, and takes a property
        of that name that the session had with it. The metadata, even when empty, replace those
        that the renderer had for the model's path. Sessions without a path share one entry, which a
        renderer need not keep.
        Returns the token, and None when the renderer does not give it back: one that cannot be reached
        or keeps no metadata, also when no message may go, and maybe for metadata of 64 KiB or more, of
        which the library can get a part. A linked renderer is asked a second time then: what fails first
        may have gone to a port that was not read yet, or is no longer the renderer's. Waits for each
        answer without a limit.
        """
        for _ in range(2):
            token = self._send_token()
            if self.holds_token(token):
                return token
            if get_render_status() != RenderStatus.LINKED:
                break
        return None

    def holds_token(self, token: str) -> bool:
        """Whether the renderer still holds a token of leave_token, so is the same one, and alive.

        token: what leave_token returned

        Sends nothing but the question. False also when other metadata of the model's path came after the
        token, from whatever host or session. Waits for the answer without a limit.
        """
        return token in (self.get_meta_data() or "")

    def _send_token(self) -> str:
        name, token = encode(_TOKEN_NAME, "name"), secrets.token_hex(16)
        raw, session = self._raw, self._session
        raw.Q7SetEntityStringProperty(
            session, EntityType.METADATA, None, name, encode(token, "token")
        )
        try:
            self.send_meta_data()
        finally:
            raw.Q7DeleteEntityProperty(session, EntityType.METADATA, None, name)
        return token

    def send_scenes(self) -> None:
        """Sends all scenes of add_scene with the model's path. They stay."""
        self._raw.Q7SendScenes(self._session)

    def send_lights(self) -> None:
        """Sends all lights and the names of set_path_element_name with the model's path. They stay."""
        self._raw.Q7SendLights(self._session)

    def send_legacy_scenes(self, text: str) -> None:
        """Sends the records of add_legacy_scene in the order of adding, and drops them (SendScenes).

        text: passed on unread. When it is empty nothing is sent, and the records stay.

        They are dropped also when the send fails; they stay when no message may go.
        """
        self._raw.SendScenes(self._session, encode(text, "text"))

    def send_lights_data_xml(self, first: str, second: str) -> None:
        """Sends two texts about the lights, passed on unread."""
        self._raw.SendLightsDataXml(self._session, encode(first, "first"), encode(second, "second"))

    def send_camera_anims(self) -> None:
        """Sends all camera animations and removes them, also when the send fails.

        They stay when no message may go.
        """
        self._raw.Q7SendCameraAnims(self._session)
