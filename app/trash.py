"""Moving files to the desktop's trash, where the user finds them again."""

from __future__ import annotations

import os
import sys
import time

from . import files, paths
from .errors import explained


def move_to_trash(path: str) -> None:
    """Move a file or folder to the trash. Of a symbolic link only the link goes. Raises `BackendError`."""
    with explained(f"Cannot move {path} to the trash"):
        if sys.platform == "darwin":
            _move(path, os.path.join(paths.home(), ".Trash"))
            return
        # https://specifications.freedesktop.org/trash-spec/
        data = os.environ.get("XDG_DATA_HOME", "")
        trash = os.path.join(data if os.path.isabs(data) else os.path.join(paths.home(), ".local/share"), "Trash")
        info = os.path.join(trash, "info")
        files.make_private_folder(info)
        name = _move(path, os.path.join(trash, "files"))
        _write_info(os.path.join(info, f"{name}.trashinfo"), path)


def _write_info(path: str, origin: str) -> None:
    from urllib.parse import quote

    text = f"[Trash Info]\nPath={quote(origin)}\nDeletionDate={time.strftime('%Y-%m-%dT%H:%M:%S')}\n"
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def _move(path: str, folder: str) -> str:
    """Move into a folder under a name that nothing there has, and answer the name."""
    import shutil

    files.make_private_folder(folder)
    name = os.path.basename(path)
    number = 1
    while os.path.lexists(os.path.join(folder, name)):
        number += 1
        name = f"{os.path.basename(path)}.{number}"
    shutil.move(path, os.path.join(folder, name))
    return name
