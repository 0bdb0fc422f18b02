from __future__ import annotations

import ctypes
from types import TracebackType
from typing import NoReturn, Optional, SupportsIndex, Tuple, Type

from ._arrays import (
    Array,
    Buffer,
    Floats,
    byte_values,
    corners,
    few_floats,
    matching,
    triangle_vertices,
    vertices,
)
from ._base import SessionBase
from ._numbers import uint32
from ._text import encode
from .enums import CoordOrder
from .errors import NodeError

_XYZ = CoordOrder.XYZ
_TRANSFORM = ((4, 4), (16,))
_CORNERS = ((3, 3), (9,))
_UVS = ((3, 2), (6,))


def _order(order: int) -> int:
    return order if type(order) is CoordOrder else CoordOrder(order)


def _of_triangles(
    positions: Buffer, normals: Optional[Buffer], uvs: Optional[Buffer]
) -> Tuple[Array, Optional[Array], Optional[Array]]:
    first = triangle_vertices(positions)
    return (
        first,
        None if normals is None else matching(normals, "normals", 3, first.count),
        None if uvs is None else matching(uvs, "uvs", 2, first.count // 3 * 2),
    )


def _address(array: Optional[Array]) -> Optional[int]:
    return None if array is None else array.address


class Node:
    """A node that is open for as long as its `with` block runs. `Session.node` makes it."""

    __slots__ = ("session", "name", "_transform", "_path", "_hint")

    def __init__(
        self,
        session: "NodeMethods",
        name: str,
        transform: Optional[Floats],
        path: Optional[str],
        hint: SupportsIndex,
    ) -> None:
        self.session = session
        self.name = name
        self._transform = transform
        self._path = path
        self._hint = hint

    def __enter__(self) -> "Node":
        if self.session._node is not None:
            raise RuntimeError(f"node {self.name!r}: the session has another node open")
        self.session.begin_node(self.name, self._transform, self._path, self._hint)
        self.session._node = self
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.session._node = None
        # A session that was closed inside the block has taken the node with it.
        if not self.session.closed:
            self.session.end_node()

    def _require_open(self) -> None:
        if self.session._node is not self:
            raise RuntimeError(
                f"node {self.name!r}: not open; add triangles inside of its with block"
            )

    def add_triangle(
        self,
        material: str,
        positions: Floats,
        normals: Optional[Floats] = None,
        uvs: Optional[Floats] = None,
    ) -> None:
        """See Session.add_triangle. Raises RuntimeError outside of the node's `with` block."""
        self._require_open()
        self.session.add_triangle(material, positions, normals, uvs)

    def add_triangles(
        self,
        material: str,
        positions: Buffer,
        normals: Optional[Buffer] = None,
        uvs: Optional[Buffer] = None,
        order: CoordOrder = _XYZ,
    ) -> None:
        """See Session.add_triangles. Raises RuntimeError outside of the node's `with` block."""
        self._require_open()
        self.session.add_triangles(material, positions, normals, uvs, order)

    def add_index_triangles(
        self,
        material: str,
        positions: Buffer,
        normals: Optional[Buffer] = None,
        uvs: Optional[Buffer] = None,
        indices: Optional[Buffer] = None,
        order: CoordOrder = _XYZ,
    ) -> None:
        """See Session.add_index_triangles. Raises RuntimeError outside of the node's `with` block."""
        self._require_open()
        self.session.add_index_triangles(material, positions, normals, uvs, indices, order)


class NodeMethods(SessionBase):
    """Geometry: nodes with triangles, their duplicates, whole meshes.

    Transforms are 16 floats, four rows of four; points are row vectors, so that the translation stands
    in elements 12, 13 and 14, `matrix[3][:3]`. A matrix for column vectors must be transposed. None is
    the identity. A transform is a buffer of float32 of shape (4, 4) or (16,), or numbers in a sequence
    of one of these shapes; its 64 bytes are copied.
    """

    __slots__ = ()

    def node(
        self,
        name: str,
        transform: Optional[Floats] = None,
        path: Optional[str] = None,
        hint: SupportsIndex = 0,
    ) -> Node:
        """A node as a context: begun at the start of its `with` block, ended at its end.

            with session.node("Table", matrix, "/room/table") as node:
                node.add_triangles("Wood", positions, normals, uvs)

        The arguments are those of begin_node. The node also ends when the block is left by an exception:
        the library cannot drop an open one, so what was added till then is part of the model.
        Raises RuntimeError on entering while the session has a node of another `with` block open.
        """
        return Node(self, name, transform, path, hint)

    def begin_node(
        self,
        name: str,
        transform: Optional[Floats] = None,
        path: Optional[str] = None,
        hint: SupportsIndex = 0,
    ) -> None:
        """Opens a node: triangles that follow belong to it, until end_node.

        name: the node, not empty. Ending a node under a name that was used before updates its meshes
            in place and adds instances again; delete the node first to replace it.
        transform: 16 floats, (4, 4) or (16,), rows; None is the identity. They are read here.
        path: path of every instance of this node; None is the empty path
        hint: triangles to expect. Memory for all of them is reserved for each material of the node, and
            what is left over goes back when the node ends. 0 reserves nothing. A hint beyond the memory
            there is ends the process at the first triangles.

        A node that is open is renamed: what its triangles become belongs to the new name, but the
        meshes that were begun keep the old one in theirs.
        """
        if not name:
            raise ValueError("name: the library ignores a node without a name")
        block = None if transform is None else few_floats(transform, "transform", _TRANSFORM)
        node, raw, session = encode(name, "name"), self._raw, self._session
        triangles = uint32(hint, "hint") if hint else 0
        address = None if block is None else ctypes.addressof(block)
        if path is None:
            if triangles:
                raw.MaxBeginNodeHint(session, node, address, triangles)
            else:
                raw.MaxBeginNode(session, node, address)
        elif triangles:
            raw.Q7BeginNodeHint(session, node, address, triangles, encode(path, "path"))
        else:
            raw.Q7BeginNode(session, node, address, encode(path, "path"))
        # Until the next node begins: triangles without a node are placed with it, too.
        self._transform = block
        self._nodes.add(node)
        self._open = node

    def end_node(self) -> None:
        """Ends the open node: one mesh and one instance come of each material that its triangles named.

        The mesh of a material is named after the node, with each "_" turned into "@", then "_", then the
        material as the triangle calls named it; the model's mesh of that name is updated or made.
        Normals that are not one for each vertex are dropped, and a mesh without indices gets 0, 1, 2 and
        so on. A material that is unknown is made as set_material_version tells.
        With no node open, triangles given since the last end become instances all the same, at the
        transform of the last begin_node.
        Cost: independent of the number of triangles.
        """
        self._raw.Q7EndNode(self._session)
        # Again, since a node may be deleted while it is open.
        if self._open is not None:
            self._nodes.add(self._open)
        self._open = None

    def add_triangle(
        self,
        material: str,
        positions: Floats,
        normals: Optional[Floats] = None,
        uvs: Optional[Floats] = None,
    ) -> None:
        """Adds one triangle to the open node, with its axes as they stand.

        material: as in add_index_triangles
        positions: 9 floats, (3, 3) or (9,); normals: the same or None; uvs: 6 floats, (3, 2) or (6,),
            or None for zeroes. All are copied, and may be numbers in any sequence.
        """
        self._raw.MaxAddTriangle(
            self._session,
            encode(material, "material"),
            few_floats(positions, "positions", _CORNERS),
            None if normals is None else few_floats(normals, "normals", _CORNERS),
            None if uvs is None else few_floats(uvs, "uvs", _UVS),
        )

    def add_triangles(
        self,
        material: str,
        positions: Buffer,
        normals: Optional[Buffer] = None,
        uvs: Optional[Buffer] = None,
        order: CoordOrder = _XYZ,
    ) -> None:
        """Adds n triangles without indices to the open node: add_index_triangles with no indices.

        Where the material also gets triangles with indices in this node, vertices without any belong to
        no triangle: do not mix the two.

        positions: float32, 3 a vertex, 9 a triangle: (n, 9), (n, 3, 3), (3 n, 3) or flat
        normals: float32, of as many values, or None for none
        uvs: float32, 2 a vertex, 6 a triangle: (n, 6), (n, 3, 2), (3 n, 2) or flat; None for zeroes
        """
        first, second, third = _of_triangles(positions, normals, uvs)
        self._raw.MaxAddTriangles(
            self._session,
            encode(material, "material"),
            first.count // 9,
            first.address,
            _address(second),
            _address(third),
            _order(order),
        )

    def add_index_triangles(
        self,
        material: str,
        positions: Buffer,
        normals: Optional[Buffer] = None,
        uvs: Optional[Buffer] = None,
        indices: Optional[Buffer] = None,
        order: CoordOrder = _XYZ,
    ) -> None:
        """Adds v vertices, and indices if there are any, to the open node.

        material: the material. Empty means "No Material". In the material's name every "/" becomes
            "@"; the mesh name keeps it.
        positions: float32, 3 a vertex: (v, 3) or flat, or by threes as in add_triangles. v is a multiple
            of three: pad shared vertices to one.
        normals: float32, 3 a vertex, or None for none
        uvs: float32, 2 a vertex, or None for zeroes
        indices: int32 or uint32, 3 a triangle: (n, 3) or flat, in any number; None for none. Appended as
            they are. They count from the first vertex of this material in this node, also in later
            calls. Whether there is such a vertex is not tested.
        order: axis order of positions and normals

        Works with no node open as well (see end_node). The arrays are read where they are and are free
        again when the call returns: no other thread may change them meanwhile.
        Raises TypeError for an array of another type of number and ValueError for one of another shape
        or size, or that is not C-contiguous, before the library is called.
        """
        first, second, third = _of_triangles(positions, normals, uvs)
        last = None if indices is None else corners(indices)
        self._raw.MaxAddIndexTriangles(
            self._session,
            encode(material, "material"),
            first.count // 9,
            first.address,
            _address(second),
            _address(third),
            0 if last is None else last.count,
            _address(last),
            _order(order),
        )

    def duplicate_node(
        self,
        existing: str,
        new: str,
        transform: Optional[Floats] = None,
        path: Optional[str] = None,
    ) -> None:
        """Places the geometry of one node again as another node.

        existing: a node that was ended. Its own transform plays no part.
        new: gets one instance for each that the existing node has at the time of the call; they join
            those it has. They share mesh and material: an update of the mesh shows in all.
        transform: 16 floats, (4, 4) or (16,), read at once; None is the identity
        path: path of the new instances; None is "/"

        When the existing node is unknown, the new one becomes known and gets no instances.
        Cost: constant for each instance.
        """
        block = None if transform is None else few_floats(transform, "transform", _TRANSFORM)
        names = encode(existing, "existing"), encode(new, "new")
        if path is None:
            self._raw.MaxDuplicateNode(self._session, *names, block)
        else:
            self._raw.Q7DuplicateNode(self._session, *names, block, encode(path, "path"))
        self._nodes.add(names[1])

    def delete_node(self, name: str) -> None:
        """Forgets a node and marks its instances for removal; they leave the model at the next live send.

        Until then they are counted and saved. Nothing happens when the node is unknown.
        """
        node = encode(name, "name")
        self._raw.Q7DeleteNode(self._session, node)
        self._nodes.discard(node)

    def move_node(self, name: str, transform: Optional[Floats], path: str) -> None:
        """Places a node elsewhere, with the same name, meshes and materials.

        name: a node of this session that was ended or made by duplicate_node
        transform: the new place: 16 floats, (4, 4) or (16,), read at once; None is the identity
        path: path of the node's instances, which is not taken over from the old ones. Both have no
            default: the library hands out neither the transform nor the path of a node.

        The library has no such call: the node is duplicated aside, deleted, duplicated back, and the
        aside node is deleted. So each instance of the node leaves two behind that the next live send
        takes out, and that are counted and saved until then. All instances of the node, which has
        several when it was ended or duplicated more than once, get the one transform and path. Other
        nodes that share its meshes stay where they are.
        Raises NodeError, with nothing changed, when the session has no node of this name (the empty name
        included, and nodes that were made by q7plugin.raw), or when the node is open.
        Cost: constant for each instance; no geometry is copied.
        """
        block = self._placing(name, transform, path)
        aside = "q7plugin.move_node"
        while encode(aside, "aside") in self._nodes:
            aside += "+"
        self.duplicate_node(name, aside, block, path)
        self.delete_node(name)
        self.duplicate_node(aside, name, block, path)
        self.delete_node(aside)

    def rename_node(self, name: str, new: str, transform: Optional[Floats], path: str) -> None:
        """Gives a node another name, by which it is duplicated, moved and deleted from now on.

        name: a node of this session that was ended or made by duplicate_node
        new: a name that no node of the session has, not empty, of any length
        transform, path: as in move_node; those that the node has, unless it is to move as well

        The node is duplicated under the new name and deleted under the old one: each of its instances
        leaves one behind that the next live send takes out, and that is counted and saved until then.
        The meshes keep the names that they have. So a node that is built later under the old name, with
        a material that this one has, replaces the geometry of this one as well: to use the old name
        again, delete the node and build it under its new name instead of renaming it.
        Raises NodeError, with nothing changed, as move_node does, and when a node has the new name, also
        one that is open and when it is the old name.
        Cost: constant for each instance; no geometry is copied.
        """
        block = self._placing(name, transform, path)
        if encode(new, "new") in self._nodes:
            raise NodeError(f"new: there is a node {new!r} already; delete it first")
        if not new:
            raise NodeError("new: the library ignores a node without a name")
        self.duplicate_node(name, new, block, path)
        self.delete_node(name)

    def _placing(self, name: str, transform: Optional[Floats], path: str) -> Optional[Floats]:
        """The transform, read; raises for all that is wrong with placing a node again."""
        self._session
        node = encode(name, "name")
        encode(path, "path")
        if node not in self._nodes:
            raise NodeError(f"name: the session has no node {name!r}")
        if node == self._open:
            raise NodeError(f"name: node {name!r} is open; end it first")
        return None if transform is None else few_floats(transform, "transform", _TRANSFORM)

    def instance_count(self) -> int:
        """Counts the instances of the model, those marked for removal included."""
        count: int = self._raw.Q7InstanceCount(self._session)
        return count

    def delete_instance(self, id: SupportsIndex) -> NoReturn:
        """Raises IndexError: no function hands out ids of instances yet, so that each is unknown.

        Delete nodes with delete_node.
        """
        raise IndexError(f"no instance has the id {id}; nodes are deleted with delete_node")

    def add_mesh(
        self,
        name: str,
        positions: Optional[Buffer] = None,
        normals: Optional[Buffer] = None,
        uvs: Optional[Buffer] = None,
        colors: Optional[Buffer] = None,
        indices: Optional[Buffer] = None,
    ) -> None:
        """Adds a mesh, or replaces the arrays of the mesh of that name. Makes no instance.

        name: the identity of the mesh. Instances that use it see the new arrays. end_node tells the
            names of the meshes of nodes: one of those is updated here, and a mesh that has such a name
            is updated when the node ends.
        positions: float32, 3 a vertex: (v, 3) or flat
        normals: float32, 3 a vertex, or None for none
        uvs: float32, 2 a vertex: (v, 2) or flat; always there when there are positions
        colors: bytes, passed on as they are, or None
        indices: int32 or uint32, 3 a triangle: (n, 3) or flat, passed on as they are; whether there is
            such a vertex is not tested

        Raises ValueError when the arrays do not fit each other, which the library would ignore in a new
        mesh and take in an old one.
        """
        first = None if positions is None else vertices(positions, "positions", 3)
        floats = first.count if first is not None else 0
        second = None if normals is None else matching(normals, "normals", 3, floats)
        third = None if uvs is None else matching(uvs, "uvs", 2, floats // 3 * 2)
        if third is None and floats:
            raise ValueError("uvs: a mesh has them always; give zeroes for none")
        arrays = (
            first,
            second,
            third,
            None if colors is None else byte_values(colors, "colors"),
            None if indices is None else corners(indices),
        )
        pairs = [(a.address, a.count) if a is not None else (None, 0) for a in arrays]
        flat = [number for pair in pairs for number in pair]
        self._raw.AddMesh(self._session, encode(name, "name"), *flat)
