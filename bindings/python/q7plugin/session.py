from __future__ import annotations

from types import TracebackType
from typing import Optional, Type

from ._animations import AnimationMethods
from ._entities import EntityMethods
from ._link import LinkMethods
from ._materials import MaterialMethods
from ._messages import MessageMethods
from ._nodes import NodeMethods
from ._saving import SavingMethods
from ._settings import SettingMethods


class Session(
    SettingMethods,
    NodeMethods,
    MaterialMethods,
    EntityMethods,
    AnimationMethods,
    SavingMethods,
    LinkMethods,
    MessageMethods,
):
    """A model and all that belongs to it, from its making to its end.

        with q7plugin.Session() as session:
            with session.node("Node", path="/Node") as node:
                node.add_triangles("Red", positions)
            session.save_raw_to_file("triangle.q7mesh")

    Sessions are independent, but for the texts and the connection that belong to the process. A session
    belongs to one thread at a time; other threads of Python run while the library works.

    Text is str: any but the zero character, unpaired surrogates included; where it becomes UTF-8 each
    of those is written as U+FFFD. Arrays and texts are copied by the library before a method returns.

    Bad input that the library alone would pass over in silence stays silent only where a name is
    unknown; arguments that cannot be right raise TypeError or ValueError. After close every method
    raises SessionClosedError.
    """

    __slots__ = ()

    @property
    def handle(self) -> int:
        """The session as the functions of q7plugin.raw take it."""
        return self._session

    def close(self) -> None:
        """Ends the session and frees all that it holds; a connection of it is closed first.

        Nothing happens when it is closed already. A node that is still open is lost.
        """
        if self.closed:
            return
        session = self._session
        del self._session
        if self._raw.HasConnected(session):
            self._raw.DisConnect(session)
        self._raw.DestroySession(session)
        self._transform = None

    def __enter__(self) -> "Session":
        self._session
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        # A session whose making failed has no handle either.
        self.close()

    def __repr__(self) -> str:
        return (
            "<q7plugin.Session, closed>"
            if self.closed
            else f"<q7plugin.Session {self._session:#x}>"
        )
