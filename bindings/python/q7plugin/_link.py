from __future__ import annotations

from types import TracebackType
from typing import Any, Callable, Optional, Type

from ._messages import NO_MESSAGE, MessageMethods
from ._text import encode
from .enums import ConnectRet, RenderStatus
from .errors import ConnectError, SendError
from .renderer import check_version, get_render_status


class Connection:
    """An open connection for models, which the end of its `with` block closes.

    Session.connect_raw, connect_processed and connect_group make it.

    verified: True when the connection was opened with verify=True, was closed, and the renderer still
        held the metadata from before the models that were sent. False otherwise, for one thing when it is a
        renderer that gives none back, of which it cannot be known whether they arrived.
    """

    __slots__ = ("session", "verified", "_send", "_verify", "_token", "_unverified")

    def __init__(
        self,
        session: "LinkMethods",
        send: Callable[[], None],
        verify: bool = False,
        token: Optional[str] = None,
    ) -> None:
        self.session = session
        self.verified = False
        self._send = send
        self._verify = verify
        self._token = token  # None of a renderer that gives none back
        self._unverified = False  # whether something went since the renderer was last asked

    def send(self) -> None:
        """Sends the session's model in the form that the connection is for; may be repeated.

        With verify=True it raises SendError when the renderer is not linked any more, could not be
        reached, or the connection broke. One that breaks at the last three acknowledgements of a model,
        when nothing is left to be sent, does not show.
        """
        self._send()
        if not self._verify:
            return
        self._unverified = True
        self._expect_linked()
        if not self.holds():
            raise SendError(
                "the renderer could not be reached, or the connection broke: the model may not have "
                "arrived, or only in part"
            )

    def holds(self) -> bool:
        """Whether the connection is open, as far as what was sent on it has shown.

        False when the renderer could not be reached, and when it ended or the connection broke before
        the last of what was sent. Sends nothing while the connection is open; of one that broke, it asks
        for metadata, and waits for the answer without a limit.
        """
        # No message may go while a connection is open, and no message goes without a renderer.
        answer = self.session._raw.Q7GetMetaData(self.session._session, None, 0)
        return answer == NO_MESSAGE and get_render_status() != RenderStatus.NOT_AVAILABLE

    def close(self) -> None:
        """Closes the connection. Nothing happens when it is closed.

        With verify=True, and after a send, it then asks the renderer for metadata, and raises SendError
        when they are not those from before the connection, though it gave these back then, or when the
        renderer is not linked any more.
        """
        self._disconnect()
        if self.session.closed or not self._unverified:
            return
        self._unverified = False
        self._expect_linked()
        if self._token is None:
            return
        if not self.session.holds_token(self._token):
            raise SendError(
                "the renderer does not answer any more, or was replaced: what was sent is lost"
            )
        self.verified = True

    def _disconnect(self) -> None:
        if not self.session.closed:
            self.session.disconnect()

    @staticmethod
    def _expect_linked() -> None:
        status = get_render_status()
        if status != RenderStatus.LINKED:
            raise SendError(f"the renderer is not linked any more (status {int(status)})")

    def __enter__(self) -> "Connection":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        if kind is None:
            self.close()
        else:
            # What went wrong already is told; nobody waits for the renderer on its account.
            self._disconnect()


class LinkMethods(MessageMethods):
    """The connection for models. There is one for the process, shared by all sessions.

    A renderer that cannot be reached counts as connected: the send that follows goes nowhere. What
    blocks while the renderer does not answer cannot be interrupted by Ctrl+C; other threads of Python
    run meanwhile.
    """

    __slots__ = ()

    def connect_raw(self, verify: bool = False) -> Connection:
        """Opens the connection for send_raw.

            with session.connect_raw(verify=True) as connection:
                connection.send()

        verify: also find out whether what is sent arrives, since neither a renderer that cannot be
            reached nor one that dies, nor a connection that breaks, shows by itself: Connection.send and
            the end of the `with` block then raise SendError. Before the connection the session's
            metadata are sent with a token (leave_token), and replace those that the renderer had for the
            model's path, also if the session has none; after it the renderer is asked for the token. So
            metadata and model path are set before, and a property "$q7SendToken" of the host's
            own is removed for good. Metadata of the same path that another host or session sends
            meanwhile make the send count as lost. Connection.verified says whether the renderer could
            be asked.

        It goes to the port that the library read last: start_link_render reads it, and each connect or
        send that fails. A connection that is still open is closed first. Blocks until the renderer
        answers.
        Raises ConnectError, whose `result` is a ConnectRet, when the renderer did not accept, and
        VersionError when the installed version is no version.
        """
        check_version()
        return self._connect(self._raw.Q7RawSyncConnect, self.send_raw, verify)

    def connect_processed(self, verify: bool = False) -> Connection:
        """Opens the connection for send_processed.

        Otherwise as connect_raw: with verify=True the session's metadata replace the renderer's.
        For a path of set_relevant_model_file_path it also names the main model, the path last given to
        set_model_file_path.
        """
        return self._connect(self._raw.Q7ProcessedSyncConnect, self.send_processed, verify)

    def connect_group(self, verify: bool = False) -> Connection:
        """Opens the connection for a group of models, which send_processed sends.

        Otherwise as connect_raw: with verify=True the session's metadata replace the renderer's.
        """
        return self._connect(self._raw.Q7GroupSyncConnect, self.send_processed, verify)

    def _connect(
        self, connect: Callable[..., Any], send: Callable[[], None], verify: bool
    ) -> Connection:
        # A connection that is still open would stop the question.
        if verify:
            self.disconnect()
        token = self.leave_token() if verify else None
        result = connect(self._session)
        if result != ConnectRet.ACCEPTED:
            raise ConnectError(ConnectRet(result))
        return Connection(self, send, verify, token)

    def disconnect(self) -> None:
        """Closes the connection that a connect method opened. Nothing happens without one."""
        self._raw.DisConnect(self._session)

    def has_connected(self) -> bool:
        """Whether a connect method succeeded since the last disconnect, without probing the connection.

        It stays so when the connection breaks: ask Connection.holds.
        """
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
