"""Files and folders that only their owner may read. A file is replaced as a whole or not at all."""

from __future__ import annotations

import contextlib
import errno
import fcntl
import os
import re
import stat
import time
from collections.abc import Iterator

from . import paths
from .errors import BackendError, explained, reason

LOCK_SECONDS = 5.0
"""How long a change waits for the lock; the windows wait as long."""

FOLDER_LIMIT = 2000
"""How many folders are searched below one. A link can lead to the whole disk, or back to a folder above it."""

OTHERS = 0o007
"""The permission bits of those who are neither the owner nor in the group."""

GROUP_AND_OTHERS = 0o077
"""The permission bits of everybody but the owner."""

_LOCK_INTERVAL = 0.01

_WRITING = ".writing"
_LEFT_BEHIND = re.compile(rf"{re.escape(_WRITING)}-[0-9a-f]{{16}}")
"""What we call the files that we have not given their names yet."""


def read_file(path: str, limit: int = -1) -> bytes | None:
    """The first `limit` bytes of a file, or all of it. None when there is no file. Raises `OSError`.

    Only a regular file is read: a pipe in its place would block for ever.
    """
    try:
        descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC)
    except FileNotFoundError:
        return None
    try:
        if not stat.S_ISREG(os.fstat(descriptor).st_mode):
            raise OSError(errno.EINVAL, "it is not a regular file")
        with open(descriptor, "rb", closefd=False) as file:  # it would leave the descriptor open when it raises
            return file.read(limit)
    finally:
        os.close(descriptor)


def replace_file(path: str, content: bytes, forbidden: int = 0) -> None:
    """Give a file new content: a reader sees the old or the new, and a failure leaves the old.

    Call it under the lock. The file keeps its mode, without the bits of `forbidden`, and its owner and its group where
    the system allows it. When its group changes, nobody gets a right that he did not have. A symbolic link stays a
    link. A new file is readable by its owner only, and so are the folders made for it. Raises `OSError`.
    """
    target = os.path.realpath(path)
    folder = os.path.dirname(target)
    make_private_folder(folder)
    with _written(folder, content, _status(target), forbidden) as temporary:
        os.replace(temporary, target)


def refuse_changed(path: str, before: bytes | None) -> None:
    """Raise `BackendError` when a file does not have the content `before` any more. Raises `OSError`, too."""
    if read_file(path) != before:
        raise BackendError(f"The file {path} was changed by another program meanwhile. Load it again.")


def keep_copy(path: str, content: bytes, label: str, forbidden: int = 0) -> str:
    """Keep `content`, which was read from `path`, beside it under a stamped name. Returns the copy's path.

    The name is the path, the label and the local time, for example "config.json.bak.20250101-093000". The copy is no
    more readable than the file. Call it under the lock. Raises `OSError`.
    """
    name = f"{path}.{label}.{time.strftime('%Y%m%d-%H%M%S')}"
    copy = name
    number = 1
    with _written(os.path.dirname(path), content, _status(path), forbidden) as temporary:
        while True:
            try:
                _give_name(temporary, copy)
                return copy
            except FileExistsError:
                number += 1
                copy = f"{name}-{number}"


@contextlib.contextmanager
def private_copy(path: str, content: bytes) -> Iterator[str]:
    """A hidden file with `content` beside `path`, for a program to check. It exists during the block only.

    Call it under the lock. Raises `OSError`.
    """
    folder = os.path.dirname(os.path.realpath(path))
    make_private_folder(folder)
    with _written(folder, content, None, 0) as temporary:
        yield temporary


def make_private_folder(path: str) -> bool:
    """Make a folder and those above it, for the owner only. Returns whether the folder was made now."""
    if os.path.isdir(path):
        return False
    parent = os.path.dirname(path)
    if parent != path:
        make_private_folder(parent)
    try:
        os.mkdir(path, 0o700)
    except FileExistsError:
        if os.path.isdir(path):
            return False  # another process was faster
        raise
    return True


def sync_file_system(folder: str) -> None:
    """Write all files of a folder to the disk, in one call for all of them. Raises `OSError`.

    The call writes the whole file system of the folder, or all file systems where the system has no such call (macOS).
    """
    import ctypes

    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY | os.O_CLOEXEC)
    try:
        library = ctypes.CDLL(None, use_errno=True)
        if not hasattr(library, "syncfs"):
            os.sync()
        elif library.syncfs(descriptor) != 0:
            number = ctypes.get_errno()
            raise OSError(number, os.strerror(number))
    finally:
        os.close(descriptor)


def unused_name(folder: str, prefix: str) -> str:
    """A path in `folder` that nobody else uses. `prefix` must begin with a dot, so that listings hide the path."""
    return os.path.join(folder, f"{prefix}-{os.urandom(8).hex()}")


@contextlib.contextmanager
def exclusive(seconds: float | None = None) -> Iterator[None]:
    """Hold the lock under which all our files are changed. It excludes other threads and other processes.

    The system releases the lock when the process ends. A thread must not take it twice. Raises `BackendError` when
    somebody else holds it for `seconds`, which is `LOCK_SECONDS` where it is not given.
    """
    path = paths.nelo_file("backend.lock")
    with explained(f"Cannot write in {os.path.dirname(path)}"):
        make_private_folder(os.path.dirname(path))
        descriptor = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600)
    try:
        _lock(descriptor, path, LOCK_SECONDS if seconds is None else seconds)
        yield
    finally:
        os.close(descriptor)


def identity(path: str) -> tuple[int, int]:
    """The device and the inode, which identify a file or folder under all its names. Raises `OSError`."""
    status = os.stat(path)
    return status.st_dev, status.st_ino


def iso_time(seconds: float) -> str:
    """A moment as ISO 8601 in UTC, to the second."""
    return time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds))


def _lock(descriptor: int, path: str, seconds: float) -> None:
    """Take the lock by trying again and again: the system call that waits has no time limit."""
    deadline = time.monotonic() + seconds
    while True:
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
            return
        except BlockingIOError:
            if time.monotonic() >= deadline:
                raise BackendError(
                    f"Another program has locked {path} for {seconds:g} seconds. "
                    "Wait until it has finished, or end it, and try again."
                ) from None
        except OSError as error:
            raise BackendError(f"Cannot lock {path}: {reason(error)}.") from error
        time.sleep(_LOCK_INTERVAL)


def _status(path: str) -> os.stat_result | None:
    try:
        return os.stat(path)
    except FileNotFoundError:
        return None


@contextlib.contextmanager
def _written(folder: str, content: bytes, model: os.stat_result | None, forbidden: int) -> Iterator[str]:
    """Write a hidden file with the mode and the owner of `model`. The block gives it its name; after the block the
    hidden name is removed.

    Hidden files that are in the folder before were left by killed processes and are removed: this process holds the
    lock.
    """
    with contextlib.suppress(OSError):
        for name in filter(_LEFT_BEHIND.fullmatch, os.listdir(folder)):
            os.unlink(os.path.join(folder, name))
    path = unused_name(folder, _WRITING)
    try:
        _write_new(path, content, model, forbidden)
        yield path
    finally:
        with contextlib.suppress(OSError):
            os.unlink(path)


def _give_name(written: str, path: str) -> None:
    """Give a file its name, in addition to the hidden one. Raises `FileExistsError` when something else has it."""
    try:
        os.link(written, path)  # renaming would replace a file that has the name
    except FileExistsError:
        raise
    except OSError:  # some file systems have no hard links
        if os.path.lexists(path):
            raise FileExistsError(path) from None
        os.rename(written, path)


def _write_new(path: str, content: bytes, model: os.stat_result | None, forbidden: int) -> None:
    """Write a file that does not exist yet, with the mode and owner of `model`."""
    descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o600)
    with open(descriptor, "wb") as file:
        file.write(content)
        file.flush()
        if model is not None:
            _take_over(descriptor, model, forbidden)
        os.fsync(descriptor)


def _take_over(descriptor: int, model: os.stat_result, forbidden: int) -> None:
    """Take over the owner, the group and the mode. The mode comes last: changing the owner clears bits of it."""
    mode = stat.S_IMODE(model.st_mode)
    if not _take_owner(descriptor, model):
        # No one gets a new right: neither the new group nor the members of the former one, who are "others" now.
        shared = mode & mode >> 3 & 0o7
        mode = mode & 0o700 | shared << 3 | shared
    os.fchmod(descriptor, mode & ~forbidden)


def _take_owner(descriptor: int, model: os.stat_result) -> bool:
    """Take over the owner and the group, or the group alone. False when the system allows neither."""
    own = os.fstat(descriptor)
    if (own.st_uid, own.st_gid) == (model.st_uid, model.st_gid):
        return True
    for owner in (model.st_uid, -1):
        with contextlib.suppress(PermissionError):
            os.fchown(descriptor, owner, model.st_gid)
            return True
    return False
