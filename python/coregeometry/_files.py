"""Mesh files of other programs."""

from __future__ import annotations

import errno
import os
import warnings
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import Literal

from . import _core
from ._errors import LossWarning
from ._model import Model, Path, Transaction
from ._model import open as open_model
from ._tables import Loss


@dataclass(frozen=True, eq=False)
class Imported:
    """What was read: a mesh, its sets by name, and what could not be kept."""

    mesh: _core.Mesh
    sets: dict[str, _core.NamedSet]
    title: str
    losses: list[Loss]
    rounding: float

    def save(self, target: Path | Model | Transaction, name: str) -> None:
        """Stores mesh and sets under a name, in a model or in the file of one, which is made when it is missing."""
        if isinstance(target, Transaction):
            target.meshes[name] = self.mesh
            for set_name, one in self.sets.items():
                target.sets[f"{name}/{set_name}"] = one
        elif isinstance(target, Model):
            with target.transaction() as change:
                self.save(change, name)
        else:
            with open_model(target, "a") as model:
                self.save(model, name)


def read_mesh(
    path: Path,
    *,
    types: Mapping[str, str] | None = None,
    unknown: Literal["keep", "refuse"] = "keep",
    format: str | None = None,
) -> Imported:
    """Reads a mesh file, in the format that its content tells, else its suffix.

    ``types={"HEX8": "C3D8R"}`` gives other types than the default. Elements of unknown types are kept as such, or
    refused with `UnknownTypeError`. `DataError` names the file and the place in it.
    """
    file = os.fspath(path)
    if not os.path.exists(file):
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), file)
    return Imported(*_core.read_mesh_file(file, format or "", dict(types or {}), unknown))


def write_mesh(
    path: Path,
    mesh: _core.Mesh,
    sets: Sequence[_core.NamedSet] = (),
    *,
    format: str | None = None,
    overwrite: bool = False,
    vtk_wedges: Literal["plain", "linear-mirrored", "mirrored"] = "plain",
) -> list[Loss]:
    """Writes a mesh file in the format of its suffix, or in the one named, and returns what it has no place for.

    `FileExistsError` unless ``overwrite``; a model is never replaced. The file gets its name when it is complete.
    Losses also give a `LossWarning`.
    """
    losses = _core.write_mesh_file(os.fspath(path), mesh, list(sets), format or "", overwrite, vtk_wedges)
    if losses:
        lost = ", ".join(f"{loss.count} {loss.what}" if loss.count >= 0 else loss.what for loss in losses)
        warnings.warn(f"{os.fspath(path)} has no place for {lost}", LossWarning, stacklevel=2)
    return losses
