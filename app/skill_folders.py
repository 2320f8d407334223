"""Putting an unpacked skill in its place, so that a failure or a killed process leaves the earlier version."""

from __future__ import annotations

import contextlib
import os
import re

from . import arguments, files, packages
from .errors import BackendError, explained

_STAGING = ".installing"
_ASIDE = ".replaced"
_LEFT_BEHIND = re.compile(rf"({re.escape(_STAGING)}|{re.escape(_ASIDE)})-[0-9a-f]{{16}}")
"""What we call our hidden folders, told from a hidden folder of the user's own by its random part."""


def recover(skills_folder: str) -> None:
    """Bring back what an install that was killed had put aside, and remove what it had begun.

    Whatever is there while we hold the lock was left by the dead. A folder that cannot be mended stays as it is, and so
    does one that a living process works with: nobody waits for it.
    """
    with contextlib.suppress(OSError, ValueError, BackendError):
        if any(map(_LEFT_BEHIND.fullmatch, os.listdir(skills_folder))):
            with files.exclusive(seconds=0):
                _recover_locked(skills_folder)


def install_package(package: bytes, workspace: str, fallback_name: str) -> dict[str, object]:
    """Install a package into a workspace and answer "targetDir" and "name".

    It is unpacked beside its target and checked, and only then takes the target's place. The skill's own name, or that
    of the package's single folder, is the target's; otherwise the fallback. Raises `BackendError`.
    """
    skills = os.path.join(workspace, "skills")
    with files.exclusive(), explained(f"Cannot install into {skills}"):
        files.make_private_folder(skills)
        _recover_locked(skills)
        staging = files.unused_name(skills, _STAGING)
        os.mkdir(staging, 0o700)
        try:
            packages.unpack(package, staging)
            _sync_folders(staging)
            root = packages.skill_root(staging)
            name = _skill_name(root, fallback_name if root == staging else os.path.basename(root))
            target = os.path.join(skills, name)
            _swap(root, target)
        except packages.PackageRefused as error:
            raise BackendError(f"The package was not installed: {error}.") from error
        finally:
            _remove(staging)
    return {"targetDir": target, "name": name}


def _swap(new: str, target: str) -> None:
    """Put a folder in the target's place. The earlier one is aside meanwhile, and comes back when that fails.

    It lies aside in a folder of ours under its own name, which may be as long as a name can be.
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
    with contextlib.suppress(OSError):  # the new version is in place: this is no longer the moment to fail
        files.sync_folder(skills_folder)
    _remove(aside)


def _sync_folders(top: str) -> None:
    """Have what was unpacked reach the disk whole: a power cut after the swap must not leave a skill of empty files."""
    for folder, _, _ in os.walk(top):
        files.sync_folder(folder)


def _bring_back(aside: str) -> None:
    """Give what lies aside its place again unless something newer has it, and remove what is left."""
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
    """Remove a folder of ours with all that is in it; what cannot be removed stays hidden."""
    import shutil

    shutil.rmtree(path, ignore_errors=True)


def _skill_name(root: str, fallback: str) -> str:
    """The name under which a skill is installed: its own, if that can be a folder's name."""
    from . import manuals

    manual = manuals.read(root)
    own = manual.own_name if manual else ""
    name = fallback if arguments.folder_name_problem(own) else own
    if arguments.folder_name_problem(name):
        raise packages.PackageRefused(f"{arguments.quoted(name)} cannot be the name of a folder")
    return name
