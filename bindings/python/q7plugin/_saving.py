from __future__ import annotations

import os
from typing import Any, Callable, Optional

from ._base import SessionBase
from ._text import Path, encode, path_text
from ._whole import (
    NotWhole,
    archive_for,
    check_archive,
    check_material_list,
    check_stream,
    file_for,
    not_whole,
)
from .errors import ArchiveError


def _whole_path(path: Path, what: str) -> str:
    # The archives' functions want a folder in front of the name, and Windows' own separator.
    # A separator at the end stays: such a path names no file.
    folder, name = os.path.split(path_text(path, what))
    return os.path.join(os.path.abspath(folder), name)


class SavingMethods(SessionBase):
    """Files: the model stream, the material list, archives.

    Paths are str or os.PathLike. Each file is written beside its place (".q7-" and random digits), looked at,
    and then put there, which needs a folder that can be written to. OSError is raised when a file cannot be
    written, or was not written whole, as on a full disk: what was there before stays as it was.
    A device or a pipe is written to as it is, and not looked at.
    A file that is replaced keeps its permissions and, where the system lets the process give files away, its
    owner and group; its other names (hard links) keep the old content.
    """

    __slots__ = ()

    def save_raw_to_file(self, path: Path) -> None:
        """Writes the model to a model stream file as it stands, replacing the file.

        That is every mesh, used or not, and every instance, those marked for removal included. The
        triangles of a node that is still open are no part of the model yet. The session stays as it is.
        Cost: one pass over the model; no copy of it is made. What was written is looked at by its counts,
        without its arrays.
        """
        self._file(self._raw.Q7SaveRawToFile, path, check_stream)

    def save_processed_to_file(self, path: Path) -> None:
        """Writes a merged copy of the model to a model stream file, replacing the file.

        Merging joins, for each material, the meshes that a single instance uses into one mesh in world
        space, named after the material with "_q7_merged" behind it, with one instance at the identity.
        Meshes with several instances, and a material's only such mesh, stay as they are. The meshes
        that were joined stay in the file, without instances. When the arrays of a material's meshes do
        not fit each other (some have normals and some have none), their instances are not in the file.
        The merged mesh takes its vertices by threes: do not merge what shares vertices by indices.
        Cost: memory for the merged geometry once.
        """
        self._file(self._raw.Q7SaveProcessedToFile, path, check_stream)

    def save_material_to_file(self, path: Path) -> None:
        """Writes all materials as XML text in UTF-8, in the order of adding, replacing the file.

        With material version 1 they stand inside of one root element, else there is none. There is no
        declaration and no byte-order mark; line ends are those of the platform's text files.
        """
        self._file(self._raw.Q7SaveMaterialToFile, path, check_material_list)

    def save_raw_to_q7a(self, path: Path) -> None:
        """Saves the model as it stands as an archive with its materials and textures, replacing the file.

        path: the archive; folders that are missing above it are made.

        The archive is made in a new folder beside its place (".q7-" and random characters), which is removed in
        any case. With material version 1 the archive holds a copy of every file that a text property of a
        typed material names; one that cannot be opened is left out.
        Raises ArchiveError when the archive was not made or is not whole: all of it is unpacked once, its stream
        is looked at by its counts, and textures have the sizes of their files.
        Cost: writes the model twice, and compresses it at the highest level, beside which unpacking is little.
        """
        self._archive(self._raw.Q7SaveRawToQ7a, path)

    def save_processed_to_q7a(self, path: Path) -> None:
        """Saves a merged copy of the model, as save_processed_to_file describes it, as an archive.

        Otherwise as save_raw_to_q7a.
        """
        self._archive(self._raw.Q7SaveProcessedToQ7a, path)

    def save_ext_to_q7a(self, external_file: Path, path: Path) -> None:
        """Saves a file of the host's own with the session's materials as an archive.

        external_file: copied byte by byte. What stands behind the last "." of its name is its extension;
            a name without one is its own extension. OSError when it cannot be read.
        path: the archive, as in save_raw_to_q7a

        The session's model plays no part.
        """
        external = _whole_path(external_file, "external_file")
        with open(external, "rb"):
            pass
        self._archive(self._raw.Q7SaveExtToQ7a, path, external)

    def _file(self, save: Any, path: Path, check: Callable[[str], None]) -> None:
        text, session = path_text(path, "path"), self._session
        encode(text, "path")
        if os.path.exists(text) and not os.path.isfile(text) and not os.path.isdir(text):
            save(session, encode(text, "path"))
            return
        with file_for(text) as part:
            save(session, encode(part, "path"))
            try:
                check(part)
            except NotWhole as error:
                raise not_whole(text) from error

    def _archive(self, save: Any, path: Path, external: Optional[str] = None) -> None:
        whole, session = _whole_path(path, "path"), self._session
        files = () if external is None else (encode(external, "external_file"),)
        encode(whole, "path")
        with archive_for(whole) as made:
            if not save(session, *files, encode(made, "path")):
                raise ArchiveError(whole)
            try:
                check_archive(made, external)
            except NotWhole as error:
                raise ArchiveError(whole, f"it is not whole ({error}); is the disk full?") from error
