"""Moving files to the desktop's trash, where the user finds them again."""

from __future__ import annotations

import contextlib
import errno
import os
import sys
import time
from collections.abc import Iterator

from . import files, paths
from .errors import explained


def move_to_trash(path: str) -> None:
    """Move a file, a folder or a symbolic link itself to the trash of the user. Raises `BackendError`."""
    with explained(f"Cannot move {path} to the trash"):
        if sys.platform == "darwin":
            _move_to_folder(path, os.path.join(paths.home(), ".Trash"))
        else:
            _move_to_desktop_trash(path, os.path.join(_data_folder(), "Trash"))


def _data_folder() -> str:
    chosen = os.environ.get("XDG_DATA_HOME", "")
    return chosen if os.path.isabs(chosen) else os.path.join(paths.home(), ".local", "share")


def _move_to_desktop_trash(path: str, trash: str) -> None:
    """Move a file or folder as https://specifications.freedesktop.org/trash-spec/latest/ says.

    The file with the information is made first. Whoever makes it owns the name.
    """
    from urllib.parse import quote

    original = quote(os.fsencode(os.path.abspath(path)))
    text = f"[Trash Info]\nPath={original}\nDeletionDate={time.strftime('%Y-%m-%dT%H:%M:%S')}\n"
    for folder in ("info", "files"):
        files.make_private_folder(os.path.join(trash, folder))
    for name in _names(path):
        info = os.path.join(trash, "info", f"{name}.trashinfo")
        try:
            descriptor = os.open(info, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o600)
        except FileExistsError:
            continue
        try:
            with open(descriptor, "w", encoding="ascii") as file:
                file.write(text)
            _move(path, os.path.join(trash, "files", name))
            return
        except FileExistsError:
            os.unlink(info)  # there is a file without its information
        except BaseException:
            with contextlib.suppress(OSError):
                os.unlink(info)
            raise


def _move_to_folder(path: str, folder: str) -> None:
    files.make_private_folder(folder)
    for name in _names(path):
        with contextlib.suppress(FileExistsError):
            _move(path, os.path.join(folder, name))
            return


def _names(path: str) -> Iterator[str]:
    """The names under which a file can lie in the trash, its own first."""
    stem, suffix = os.path.splitext(os.path.basename(path))
    yield stem + suffix
    number = 1
    while True:
        number += 1
        yield f"{stem}.{number}{suffix}"


def _move(path: str, target: str) -> None:
    """Rename a file or folder, or copy it where the trash is on another disk. Raises `FileExistsError`."""
    import shutil

    if os.path.lexists(target):
        raise FileExistsError(target)
    try:
        os.rename(path, target)
    except OSError as error:
        if error.errno != errno.EXDEV:
            raise
        is_folder = os.path.isdir(path) and not os.path.islink(path)

        def remove(it: str) -> None:
            shutil.rmtree(it) if is_folder else os.unlink(it)

        try:
            if is_folder:
                shutil.copytree(path, target, symlinks=True)
            else:
                shutil.copy2(path, target, follow_symlinks=False)
        except OSError:
            with contextlib.suppress(OSError):
                remove(target)  # the copy is incomplete
            raise
        remove(path)
