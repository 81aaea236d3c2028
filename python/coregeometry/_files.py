"""Mesh files of other programs."""

from __future__ import annotations

import errno
import os
import warnings
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from functools import cached_property
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from . import _core
from ._errors import DataError, LossWarning, MissingLibraryError
from ._model import Model, Path, Transaction
from ._model import open as open_model
from ._results import Run
from ._tables import Difference, Loss


@dataclass(frozen=True, eq=False)
class Imported:
    """What was read: a mesh, its sets by name, and what could not be kept.

    ``cell_order`` (e,), of bridges, is the other mesh's cell of each element, to carry values of cells. ``run`` are
    the results of the file.
    """

    mesh: _core.Mesh
    sets: dict[str, _core.NamedSet]
    title: str
    losses: list[Loss]
    rounding: float
    cell_order: npt.NDArray[np.int64] | None = None
    _source: tuple[str, str] | None = None

    @cached_property
    def run(self) -> Run | None:
        """The results that the file has, or None.

        They are read when they are first asked for, into a model in a folder for temporary files, which goes with the
        last of them.
        """
        import tempfile

        if self._source is None:
            return None
        folder = tempfile.TemporaryDirectory(prefix="coregeometry-")
        model = open_model(os.path.join(folder.name, "results.cgdb"), "x")
        self.save(model, "mesh", run="results")
        model._hold(folder, {"mesh": self.mesh})
        return model.results.get("mesh/results")

    def save(self, target: Path | Model | Transaction, name: str, *, run: str | None = None) -> None:
        """Stores mesh and sets under a name, in a model or in the file of one, which is made when it is missing.

        With ``run`` the results of the file are stored, too, as the run ``"<name>/<run>"``; not in a transaction,
        since each of their frames is committed. A file without results makes no run.
        """
        if run is not None and isinstance(target, Transaction):
            raise ValueError("results are stored frame by frame: save into the model, not into a transaction")
        if isinstance(target, Transaction):
            target.meshes[name] = self.mesh
            for set_name, one in self.sets.items():
                target.sets[f"{name}/{set_name}"] = one
        elif isinstance(target, Model):
            with target.transaction() as change:
                self.save(change, name)
            if run is not None and self._source is not None:
                target._import_results(name, run, *self._source)
        else:
            with open_model(target, "a") as model:
                self.save(model, name, run=run)


def read_mesh(
    path: Path,
    *,
    types: Mapping[str, str] | None = None,
    unknown: Literal["keep", "refuse"] = "keep",
    format: str | None = None,
) -> Imported:
    """Reads a mesh file, in the format that its content tells, else its suffix; others by meshio, when it is installed.

    ``types={"HEX8": "C3D8R"}`` gives other types than the default. Elements of unknown types are kept as such, or
    refused with `UnknownTypeError`. `DataError` names the file and the place in it.
    """
    file = os.fspath(path)
    if not os.path.exists(file):
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), file)
    if not format and not _core.format_of(file):
        from ._bridges import cells

        meshio = cells.require("meshio", f"{file}: the library reads no such file; to read it with meshio")
        try:
            found = meshio.read(file)
        except ImportError as error:
            raise MissingLibraryError(f"{file}: to read it meshio needs another package: {error}") from error
        except (Exception, SystemExit) as error:
            raise DataError(f"{file}: {error}") from error
        return from_meshio(found, types=types, unknown=unknown)
    return Imported(*_core.read_mesh_file(file, format or "", dict(types or {}), unknown), None, (file, format or ""))


def write_mesh(
    path: Path,
    mesh: _core.Mesh,
    sets: Sequence[_core.NamedSet] = (),
    *,
    format: str | None = None,
    overwrite: bool = False,
    vtk_wedges: Literal["plain", "linear-mirrored", "mirrored"] = "plain",
    run: Run | None = None,
) -> list[Loss]:
    """Writes a mesh file in the format of its suffix, or in the one named, and returns what it has no place for.

    ``run`` are results of the mesh, for formats that hold them. `FileExistsError` unless ``overwrite``; a model is
    never replaced. The file gets its name when it is complete.
    Losses also give a `LossWarning`.

    >>> import numpy as np, coregeometry as cg
    >>> mesh = cg.Mesh(np.eye(4, 3, -1), {"C3D4": [[0, 1, 2, 3]]}, node_labels=[1, 2, 3, 9])
    >>> tip = cg.NamedSet("tip", mesh.select_nodes(labels=[9]))
    >>> [loss.what for loss in cg.write_mesh("tet.vtu", mesh, [tip])]
    ['element types and categories of classes']
    >>> imported = cg.read_mesh("tet.vtu")
    >>> imported.mesh.node_labels, imported.sets["tip"].nodes().labels()
    (array([1, 2, 3, 9], dtype=int32), array([9], dtype=int32))
    """
    results = None if run is None else run._opened()
    losses = _core.write_mesh_file(os.fspath(path), mesh, list(sets), format or "", overwrite, vtk_wedges, results)
    if losses:
        lost = ", ".join(f"{loss.count} {loss.what}" if loss.count >= 0 else loss.what for loss in losses)
        warnings.warn(f"{os.fspath(path)} has no place for {lost}", LossWarning, stacklevel=2)
    return losses


def from_meshio(
    mesh: Any, *, types: Mapping[str, str] | None = None, unknown: Literal["keep", "refuse", "skip"] = "keep"
) -> Imported:
    """The mesh and sets of a meshio.Mesh.

    ``types={"hexahedron": "C3D8R"}`` gives other types than the default. Cells without an element type are kept under
    their own names, refused with `UnknownTypeError`, or left out; polygons and polyhedra are never kept.
    """
    from ._bridges import meshio

    return meshio.from_meshio(mesh, types, unknown)


def from_pyvista(
    grid: Any, *, types: Mapping[str, str] | None = None, unknown: Literal["keep", "refuse", "skip"] = "keep"
) -> Imported:
    """The mesh and sets of a pyvista.UnstructuredGrid or vtkUnstructuredGrid; arguments as of `from_meshio`.

    Cells of mixed order are grouped: by ``ElementClass`` when there is one, else by type.
    """
    from ._bridges import vtk

    return vtk.from_vtk(grid, types, unknown)


def convert(source: Path, target: Path, *, overwrite: bool = False) -> list[Loss]:
    """Reads any mesh file and writes another one, or a new model (``.cgdb``) with a mesh of the file's name."""
    imported = read_mesh(source)
    file = os.fspath(target)
    if os.path.exists(file) and not overwrite:
        raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), file)
    if file.endswith(".cgdb"):
        if os.path.exists(file):
            raise FileExistsError(errno.EEXIST, "a model is not replaced", file)
        imported.save(file, os.path.splitext(os.path.basename(os.fspath(source)))[0])
        return imported.losses
    sets = list(imported.sets.values())
    if file.endswith(tuple(_core.written_suffixes())):
        return imported.losses + write_mesh(file, imported.mesh, sets, overwrite=overwrite)
    try:
        imported.mesh.to_meshio(sets=sets).write(file)
    except ImportError as error:
        raise MissingLibraryError(f"{file}: to write it meshio needs another package: {error}") from error
    except (KeyError, ValueError, SystemExit) as error:
        raise DataError(f"{file}: meshio cannot write it: {error}") from error
    return imported.losses


@dataclass(frozen=True, eq=False)
class Combined:
    """Several meshes as one; ``first_nodes`` and ``first_elements`` are the indices at which each begins.

    ``sets`` are those that were given, of the new mesh; those of one name have the mesh's name in front.
    """

    mesh: _core.Mesh
    sets: dict[str, _core.NamedSet]
    first_nodes: list[int]
    first_elements: list[int]
    remarks: list[str]


def combine(
    meshes: Mapping[str, _core.Mesh] | Sequence[_core.Mesh],
    labels: Literal["keep", "offset"] = "keep",
    *,
    sets: Sequence[_core.NamedSet] = (),
) -> Combined:
    """Several meshes as one, at the placement of the first; nodes and elements of a later one follow those before.

    ``sets`` of any of the meshes follow. With ``"keep"`` a label that two meshes have is a `DataError`, with ``"offset"`` later labels are raised.

    >>> import coregeometry as cg
    >>> line = cg.Mesh([[0, 0], [1, 0]], {"B21": [[0, 1]]}, node_labels=[1, 2])
    >>> both = cg.combine([line, line.with_nodes([[2, 0], [3, 0]])], labels="offset")
    >>> both.mesh, both.mesh.node_labels, both.first_nodes
    (<Mesh 4 nodes, 2 elements: B21 ×1, B21 ×1>, array([1, 2, 3, 4], dtype=int32), [0, 2])
    """
    named = meshes if isinstance(meshes, Mapping) else {str(i + 1): mesh for i, mesh in enumerate(meshes)}
    mesh, own, firsts, remarks = _core.combine_meshes(list(named.values()), list(named), labels, list(sets))
    return Combined(mesh, own, [node for node, _ in firsts], [element for _, element in firsts], remarks)


def compare(a: Path, b: Path, tolerance: float = 1e-7) -> list[Difference]:
    """Where the contents of two mesh files differ; an empty list when they are equal.

    Coordinates are equal within ``tolerance`` of the largest one, other numbers within ``tolerance * max(|a|, |b|)``.
    """
    return _core.compare_files(os.fspath(a), os.fspath(b), tolerance)[0]
