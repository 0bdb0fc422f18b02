from __future__ import annotations

import os
from typing import Any

from ._base import SessionBase
from ._text import Path, encode, path_text
from .errors import ArchiveError


def _writable(path: Path) -> bytes:
    """The path of a file that can be written, which the library itself would not tell."""
    text = path_text(path, "path")
    # Opening something else than a file could wait for its other end.
    if os.path.isfile(text) or not os.path.exists(text) or os.path.isdir(text):
        with open(text, "ab"):
            pass
    return encode(text, "path")


def _whole_path(path: Path, what: str) -> str:
    # The archives' functions want a folder in front of the name, and Windows' own separator.
    return os.path.abspath(path_text(path, what))


class SavingMethods(SessionBase):
    """Files: the model stream, the material list, archives.

    Paths are str or os.PathLike. OSError is raised when a file cannot be opened for writing. A disk
    that gets full leaves a short file; that is not noticed.
    """

    __slots__ = ()

    def save_raw_to_file(self, path: Path) -> None:
        """Writes the model to a model stream file as it stands, replacing the file.

        That is every mesh, used or not, and every instance, those marked for removal included. The
        triangles of a node that is still open are no part of the model yet. The session stays as it is.
        Cost: one pass over the model; no copy of it is made.
        """
        self._raw.Q7SaveRawToFile(self._session, _writable(path))

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
        self._raw.Q7SaveProcessedToFile(self._session, _writable(path))

    def save_material_to_file(self, path: Path) -> None:
        """Writes all materials as XML text in UTF-8, in the order of adding, replacing the file.

        With material version 1 they stand inside of one root element, else there is none. There is no
        declaration and no byte-order mark; line ends are those of the platform's text files.
        """
        self._raw.Q7SaveMaterialToFile(self._session, _writable(path))

    def save_raw_to_q7a(self, path: Path) -> None:
        """Saves the model as it stands as an archive with its materials and textures, replacing the file.

        path: the archive; folders that are missing above it are made.

        The folder "__q7_export_temp" beside the archive is used meanwhile: two archives beside each
        other cannot be made at the same time. With material version 1 the archive holds a copy of
        every file that a text property of a typed material names; one that cannot be opened is left out.
        Raises ArchiveError when the archive was not made.
        Cost: writes the model twice, and compresses it at the highest level.
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
        self._archive(self._raw.Q7SaveExtToQ7a, path, encode(external, "external_file"))

    def _archive(self, function: Any, path: Path, *files: bytes) -> None:
        whole = _whole_path(path, "path")
        if not function(self._session, *files, encode(whole, "path")):
            raise ArchiveError(whole)
