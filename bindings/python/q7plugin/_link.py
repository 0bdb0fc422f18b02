from __future__ import annotations

from types import TracebackType
from typing import Callable, Optional, Type

from ._base import SessionBase
from ._text import encode
from .enums import ConnectRet
from .errors import ConnectError
from .renderer import check_version


class Connection:
    """An open connection for models, which the end of its `with` block closes.

    Session.connect_raw, connect_processed and connect_group make it.
    """

    __slots__ = ("session", "_send")

    def __init__(self, session: "LinkMethods", send: Callable[[], None]) -> None:
        self.session = session
        self._send = send

    def send(self) -> None:
        """Sends the session's model in the form that the connection is for; may be repeated."""
        self._send()

    def close(self) -> None:
        """Closes the connection. Nothing happens when it is closed."""
        if not self.session.closed:
            self.session.disconnect()

    def __enter__(self) -> "Connection":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()


class LinkMethods(SessionBase):
    """The connection for models. There is one for the process, shared by all sessions.

    A renderer that cannot be reached counts as connected: the send that follows goes nowhere. What
    blocks while the renderer does not answer cannot be interrupted by Ctrl+C; other threads of Python
    run meanwhile.
    """

    __slots__ = ()

    def connect_raw(self) -> Connection:
        """Opens the connection for send_raw.

            with session.connect_raw() as connection:
                connection.send()

        It goes to the port that the library read last: start_link_render reads it, and each connect or
        send that fails. A connection that is still open is closed first. Blocks until the renderer
        answers.
        Raises ConnectError, whose `result` is a ConnectRet, when the renderer did not accept, and
        VersionError when the installed version is no version.
        """
        check_version()
        self._require(self._raw.Q7RawSyncConnect(self._session))
        return Connection(self, self.send_raw)

    def connect_processed(self) -> Connection:
        """Opens the connection for send_processed; otherwise as connect_raw.

        For a path of set_relevant_model_file_path it also names the main model, the path last given to
        set_model_file_path.
        """
        self._require(self._raw.Q7ProcessedSyncConnect(self._session))
        return Connection(self, self.send_processed)

    def connect_group(self) -> Connection:
        """Opens the connection for a group of models, which send_processed sends.

        Otherwise as connect_raw.
        """
        self._require(self._raw.Q7GroupSyncConnect(self._session))
        return Connection(self, self.send_processed)

    @staticmethod
    def _require(result: int) -> None:
        if result != ConnectRet.ACCEPTED:
            raise ConnectError(ConnectRet(result))

    def disconnect(self) -> None:
        """Closes the connection that a connect method opened. Nothing happens without one."""
        self._raw.DisConnect(self._session)

    def has_connected(self) -> bool:
        """Whether a connect method succeeded since the last disconnect, without probing the connection."""
        return bool(self._raw.HasConnected(self._session))

    def get_send_model_type(self, name: Optional[str]) -> int:
        """Asks the renderer, on a connection of its own, how it wants a model.

        name: handed to the renderer, or None

        Returns the renderer's answer, and 0 for a negative or no answer, for None, and while a
        connection is open. Blocks until the renderer answers or closes.
        """
        text = None if name is None else encode(name, "name")
        answer: int = self._raw.GetSendModelType(self._session, text)
        return answer

    def send_raw(self) -> None:
        """Sends the model as it stands over the open connection, which is one of connect_raw.

        Instances of deleted nodes leave the model first; afterwards all meshes without an instance
        leave it, those of add_mesh too. Instances whose transform is sheared or scales beyond 0.001 to
        100 travel as meshes of their own, already transformed. A renderer of version 2.4 or later, or
        of a version that cannot be read, gets the model twice in a row, first with the instance paths.
        On a connection that connect_raw did not open the renderer may wait for something else and block
        the caller for good. Nothing is sent of a model without instances.

        Raises VersionError when the installed version is no version.
        Cost: each mesh takes five round trips to the renderer; a renderer that does not answer blocks
        the caller.
        """
        session = self._session
        check_version()
        self._raw.Q7SendRaw(session)

    def send_processed(self) -> None:
        """Sends a merged copy of the model, as save_processed_to_file describes it, once and without paths.

        Otherwise as send_raw.
        """
        self._raw.Q7SendProcessed(self._session)
