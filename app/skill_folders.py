"""Putting an unpacked skill in its place. After a failure or a kill the earlier version is still there."""

from __future__ import annotations

import contextlib
import os
import re
from collections.abc import Mapping

from . import arguments, files, skill_packages
from .documents import format_json, parse_object
from .errors import BackendError, explained

ORIGIN_FILE = ".nelo-origin.json"
"""In the folder of an installed skill: where it came from, and under which name."""

_STAGING = ".installing"
_ASIDE = ".replaced"
_LEFT_BEHIND = re.compile(rf"({re.escape(_STAGING)}|{re.escape(_ASIDE)})-[0-9a-f]{{16}}")
"""The names of our hidden folders. The random part tells them from hidden folders of the user."""


def recover(skills_folder: str) -> None:
    """Restore the skills that a killed install had put aside, and remove the folders that it had begun.

    A folder that cannot be repaired stays as it is. While another process holds the lock, such folders may be in use:
    then this function does nothing, and does not wait.
    """
    with contextlib.suppress(OSError, ValueError, BackendError):
        if any(map(_LEFT_BEHIND.fullmatch, os.listdir(skills_folder))):
            with files.exclusive(seconds=0):
                _recover_locked(skills_folder)


def install_package(package: bytes, workspace: str, fallback_name: str, source: Mapping[str, str]) -> dict[str, object]:
    """Install a package into a workspace and return "targetDir" and "name".

    The package is unpacked beside its target and checked before it takes the target's place. The target has the name in
    the skill's front matter, or else that of the package's single folder, or else `fallback_name`. `source` says where
    the package came from; its "source" is part of a sentence. Only a skill with the same own name and source is
    replaced. Raises `BackendError`.
    """
    skills = os.path.join(workspace, "skills")
    with files.exclusive(), explained(f"Cannot install into {skills}"):
        files.make_private_folder(skills)
        _recover_locked(skills)
        staging = files.unused_name(skills, _STAGING)
        os.mkdir(staging, 0o700)
        try:
            skill_packages.unpack(package, staging)
            root = skill_packages.skill_root(staging)
            own_name = _own_name(root)
            name = _folder_name(own_name, fallback_name if root == staging else os.path.basename(root))
            target = os.path.join(skills, name)
            origin = {**source, "name": own_name}
            if os.path.lexists(target) and _origin(target) != origin:
                raise _another_skill(target, origin)
            _write_origin(root, origin)
            files.sync_file_system(staging)  # after a power cut the new skill must not have empty files
            _swap(root, target)
        except skill_packages.PackageRefused as error:
            raise BackendError(f"The package was not installed: {error}.") from error
        finally:
            _remove(staging)
    return {"targetDir": target, "name": name}


def _swap(new: str, target: str) -> None:
    """Put the folder `new` in the target's place. The earlier one is put aside before, and put back when that fails.

    It is put aside under its own name in a folder of ours: a longer name may not be possible.
    """
    skills_folder, name = os.path.split(target)
    aside = files.unused_name(skills_folder, _ASIDE)
    os.mkdir(aside, 0o700)
    try:
        if os.path.lexists(target):
            os.rename(target, os.path.join(aside, name))
        os.rename(new, target)
    except OSError:
        _bring_back(aside)
        raise
    _remove(aside)


def _origin(target: str) -> dict[str, object] | None:
    """Where the skill in a folder came from, or None when it did not come from a package."""
    if os.path.islink(target):
        return None  # the target of the link was installed elsewhere
    with contextlib.suppress(OSError):
        return parse_object(files.read_file(os.path.join(target, ORIGIN_FILE)))
    return None


def _write_origin(root: str, origin: Mapping[str, str]) -> None:
    flags = os.O_WRONLY | os.O_CREAT | os.O_TRUNC | os.O_CLOEXEC
    with open(os.open(os.path.join(root, ORIGIN_FILE), flags, 0o600), "wb") as file:
        file.write(format_json(origin))


def _another_skill(target: str, origin: Mapping[str, str]) -> BackendError:
    return BackendError(
        f"There is another {arguments.quoted(os.path.basename(target))} in {target}, which did not come from "
        f"{origin['source']} with a skill of this name. Move it away to install this one."
    )


def _bring_back(aside: str) -> None:
    """Restore the folder that was put aside, unless there is a newer one in its place, and remove the rest."""
    for name in os.listdir(aside):
        target = os.path.join(os.path.dirname(aside), name)
        if not os.path.lexists(target):
            os.rename(os.path.join(aside, name), target)
    _remove(aside)


def _recover_locked(skills_folder: str) -> None:
    for name in os.listdir(skills_folder):
        path = os.path.join(skills_folder, name)
        if not _LEFT_BEHIND.fullmatch(name) or os.path.islink(path) or not os.path.isdir(path):
            continue
        if name.startswith(_ASIDE):
            _bring_back(path)
        else:
            _remove(path)


def _remove(path: str) -> None:
    """Remove a folder of ours and everything in it. What cannot be removed stays hidden."""
    import shutil

    shutil.rmtree(path, ignore_errors=True)


def _own_name(root: str) -> str:
    """The name in the front matter of a skill. Empty when there is none. Raises `OSError` when it cannot be read."""
    from . import manuals

    content = files.read_file(os.path.join(root, "SKILL.md"), manuals.MANUAL_LIMIT) or b""
    return manuals.parse(root, content).own_name


def _folder_name(own: str, fallback: str) -> str:
    """The name under which a skill is installed: its own, if that can be a folder's name."""
    name = fallback if arguments.folder_name_problem(own) else own
    if arguments.folder_name_problem(name):
        raise skill_packages.PackageRefused(f"{arguments.quoted(name)} cannot be the name of a folder")
    return name
