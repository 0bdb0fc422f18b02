"""Files that are whole, or not there: the library reports no disk that is full."""

from __future__ import annotations

import contextlib
import errno
import html
import json
import os
import re
import secrets
import struct
import tempfile
import zipfile
import zlib
from typing import IO, Dict, Iterator, List, Optional, Set

from .errors import ArchiveError

_CHUNK = 1 << 14
_WORD = struct.Struct("<I")
_ARRAYS = (4, 4, 4, 1, 4)  # bytes of an item of each of a mesh's arrays
# What realpath drops from a path's end though it names a folder. Windows drops the dot itself.
_FOLDER_ENDS = ("",) if os.name == "nt" else ("", os.curdir)
_ROOT, _ROOT_END = b"<Q7Materials_2>", b"</Q7Materials_2>"


class NotWhole(Exception):
    """What was written ends too early, or does not fit itself. The text names the part."""


def not_whole(path: str) -> OSError:
    return OSError(errno.EIO, "the file was not written whole; is the disk full?", path)


# -- places -------------------------------------------------------------------------------------------


def _target_of(path: str) -> str:
    """The file that a save to the path makes or replaces. Raises OSError when there is something else than a
    file that may be changed, or when the path can name no file.
    """
    if os.path.basename(path) in _FOLDER_ENDS:
        with open(path, "ab"):  # The system has the error, and makes no file of such a name.
            pass
    target = os.path.realpath(path)
    if os.path.islink(target):
        raise OSError(errno.ELOOP, os.strerror(errno.ELOOP), target)
    if os.path.isdir(target):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), target)
    if os.path.exists(target):
        if not os.path.isfile(target):
            raise OSError(errno.EINVAL, "this is no file that can be replaced", target)
        with open(target, "r+b"):
            pass
    return target


def _new_file(folder: str) -> str:
    """An empty file of a name that was free, with the permissions that any new file has."""
    flags = os.O_CREAT | os.O_EXCL | os.O_WRONLY
    while True:
        path = os.path.join(folder, f".q7-{secrets.token_hex(8)}.part")
        try:
            os.close(os.open(path, flags, 0o666))
        except FileExistsError:
            continue
        return path


def _take_over(made: str, old: os.stat_result) -> None:
    """Gives a new file the permissions of the old one and, where that is allowed, its owner and group."""
    mode = old.st_mode & 0o777  # The bits beyond would let others run what this user wrote as this user.
    if os.name != "posix":
        os.chmod(made, mode)
        return
    # Who may change the folder could have put a link to another file there.
    file = os.open(made, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK)
    try:
        new = os.fstat(file)
        if new.st_nlink > 1:
            raise OSError(errno.EMLINK, os.strerror(errno.EMLINK), made)
        os.fchmod(file, mode)
        if (new.st_uid, new.st_gid) != (old.st_uid, old.st_gid):
            with contextlib.suppress(OSError):
                os.fchown(file, old.st_uid, old.st_gid)
    finally:
        os.close(file)


def _replace(made: str, target: str) -> None:
    if os.path.exists(target):
        _take_over(made, os.stat(target))
    os.replace(made, target)


@contextlib.contextmanager
def file_for(path: str) -> Iterator[str]:
    """A path to write to. The file there takes the place of `path` at the end of the block; an exception
    leaves what was there before. Any OSError names `path`.
    """
    part = ""
    try:
        target = _target_of(path)
        part = _new_file(os.path.dirname(target))
        yield part
        _replace(part, target)
    except OSError as error:
        # A new exception: once filename2 was set, even to None, the text ends with it.
        raise OSError(error.errno, error.strerror, path) from error.__cause__
    finally:
        if part:
            with contextlib.suppress(FileNotFoundError):
                os.unlink(part)


@contextlib.contextmanager
def archive_for(path: str) -> Iterator[str]:
    """The same for an archive, in a folder of its own: the library fills another folder beside an archive.
    Makes the folders that are missing above it. Raises ArchiveError.
    """
    try:
        target = _target_of(path)
        folder = os.path.dirname(target)
        os.makedirs(folder, exist_ok=True)
        with tempfile.TemporaryDirectory(prefix=".q7-", dir=folder) as scratch:
            made = os.path.join(scratch, "made.q7a")
            yield made
            _replace(made, target)
    except ArchiveError:
        raise
    except OSError as error:
        raise ArchiveError(path, error.strerror or str(error)) from error


# -- streams ------------------------------------------------------------------------------------------


class _Walk:
    """Goes over a model stream from count to count. Arrays are skipped, and the file is never sought
    backwards, since unpacking would begin anew.
    """

    def __init__(self, file: IO[bytes], size: int) -> None:
        self.materials: List[bytes] = []  # their texts
        self.instances = 0
        self._file = file
        self._size = size
        self._at = 0
        self._start = 0  # of the chunk
        self._chunk = b""

    def _need(self, size: int) -> int:
        """Where the next bytes begin in the chunk."""
        if size > self._size - self._at:
            raise NotWhole("it ends too early")
        begin = self._at - self._start
        if begin + size > len(self._chunk):
            kept = self._chunk[begin:]
            if not kept:
                self._file.seek(self._at)
            self._chunk = kept + self._file.read(max(size, _CHUNK))
            self._start, begin = self._at, 0
            if size > len(self._chunk):
                raise NotWhole("it ends too early")
        self._at += size
        return begin

    def _word(self) -> int:
        begin = self._at - self._start
        if begin + 4 <= len(self._chunk):
            self._at += 4
        else:
            begin = self._need(4)
        return int(_WORD.unpack_from(self._chunk, begin)[0])

    def _skip(self, size: int) -> None:
        self._at += size
        if self._at > self._size:
            raise NotWhole("it ends too early")

    def _text(self) -> bytes:
        size = 2 * self._word()
        begin = self._need(size)
        return self._chunk[begin : begin + size]

    def walk(self) -> None:
        self._word()  # the version
        self._skip(2 * self._word())
        for _ in range(self._word()):
            self._skip(2 * self._word())
            self.materials.append(self._text())
        self.instances = self._word()
        for _ in range(self.instances):
            self._skip(2 * self._word())
            self._skip(2 * self._word() + 64)
        for _ in range(self._word()):
            self._skip(2 * self._word())
            for width in _ARRAYS:
                self._skip(width * self._word())
        if self._at != self._size:
            raise NotWhole("there is more behind its end")


def check_stream(path: str) -> None:
    """Raises NotWhole unless the stream's counts lead to the file's end."""
    with open(path, "rb") as file:
        _Walk(file, os.fstat(file.fileno()).st_size).walk()


# -- materials ----------------------------------------------------------------------------------------


def _has_end(content: bytes) -> bool:
    return content.endswith((_ROOT_END + b"\n", _ROOT_END + b"\r\n"))


def check_material_list(path: str) -> None:
    """Raises NotWhole when the list lacks its end. Without a root there is no telling: then OSError when the
    disk takes no further byte.
    """
    with open(path, "r+b", buffering=0) as file:
        head = file.read(len(_ROOT))
        size = file.seek(0, os.SEEK_END)
        file.seek(max(size - 2 * len(_ROOT_END), 0))
        if head == _ROOT:
            if not _has_end(file.read()):
                raise NotWhole("its end is missing")
            return
        file.seek(size)
        try:
            if file.write(bytes(_CHUNK)) != _CHUNK:
                raise NotWhole("the disk is full")
        finally:
            file.truncate(size)


# -- archives -----------------------------------------------------------------------------------------


def _drain(file: IO[bytes]) -> None:
    # The sum of an entry is compared at its end.
    while file.read(1 << 20):
        pass


def _list_of(texts: List[bytes]) -> bytes:
    """The list without a root that holds these texts of a stream."""
    text = b"".join(texts).decode("utf-16-le", "surrogatepass")
    return re.sub("[\ud800-\udfff]", "\ufffd", text).encode()


def _texture_sizes(materials: bytes) -> Dict[str, Set[int]]:
    """Of the files that texts of the list name, by the last part of their paths."""
    sizes: Dict[str, Set[int]] = {}
    for found in set(re.findall(r">([^<>]+)</", materials.decode("utf-8", "replace"))):
        path = html.unescape(found)
        with contextlib.suppress(OSError, ValueError):
            if os.path.isfile(path):
                name = os.path.basename(path)
                sizes.setdefault(name, set()).add(os.path.getsize(path))
    return sizes


def _check_entries(archive: zipfile.ZipFile, external: Optional[str]) -> None:
    model = "1." + os.path.basename(external).rpartition(".")[2] if external else "1.q7mesh"
    needed = [model, "q7material.xml"] + ([] if external else ["info.json"])
    for name in needed:
        if name not in archive.namelist():
            raise NotWhole(f"{name} is missing")
    texts: List[bytes] = []
    for entry in archive.infolist():
        with archive.open(entry) as file:
            if entry.filename == model and not external:
                walk = _Walk(file, entry.file_size)
                try:
                    walk.walk()
                except NotWhole as error:
                    raise NotWhole(f"{model}: {error}") from error
                texts = walk.materials
            _drain(file)
    materials = archive.read("q7material.xml")
    if materials.startswith(_ROOT):
        if not _has_end(materials):
            raise NotWhole("the end of q7material.xml is missing")
    elif not external and materials.replace(b"\r", b"") != _list_of(texts).replace(b"\r", b""):
        raise NotWhole("q7material.xml is not the list of the stream's materials")
    if external:
        if archive.getinfo(model).file_size != os.path.getsize(external):
            raise NotWhole(f"{model} is not as long as the file")
    elif "productID" not in json.loads(archive.read("info.json")):
        raise NotWhole("info.json has no productID")
    sizes = _texture_sizes(materials)
    for entry in archive.infolist():
        name = entry.filename.partition("textures/")[2]
        if entry.file_size not in sizes.get(name, {entry.file_size}):
            raise NotWhole(f"{entry.filename} is not as long as its file")


def check_archive(path: str, external: Optional[str] = None) -> None:
    """Raises NotWhole unless the archive's directory has what was to be packed, and all of it unpacks.

    external: the file that was packed in the place of a model
    """
    try:
        with zipfile.ZipFile(path) as archive:
            _check_entries(archive, external)
    except (zipfile.BadZipFile, zlib.error, ValueError, EOFError) as error:
        raise NotWhole(str(error) or "it does not unpack") from error
