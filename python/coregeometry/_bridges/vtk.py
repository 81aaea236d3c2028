"""Grids of VTK and PyVista."""

from __future__ import annotations

import functools
from collections.abc import Mapping, Sequence
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from .. import _core
from .._files import Imported
from .._results import Field
from .._tables import Loss
from .cells import NAMES, SURFACE, Blocks, Unknown, finish, require, rows_for, split_sets, warn

WEDGES = {13: "vtkWedge", 26: "vtkQuadraticWedge", 31: "vtkQuadraticLinearWedge", 32: "vtkBiQuadraticQuadraticWedge"}


@functools.cache
def wedge_order(number: int) -> tuple[int, ...] | None:
    """Which node of a plain wedge stands at each place of VTK's, or None when it is the same.

    The side that the base is seen from differs between releases and cells: VTK is asked for its first face.
    """
    model = require("vtkmodules.vtkCommonDataModel", "to_pyvista")
    cell = getattr(model, WEDGES[number])()
    places = np.array(cell.GetParametricCoords()[: 3 * cell.GetNumberOfPoints()]).reshape(-1, 3)
    for i, place in enumerate(places):
        cell.GetPointIds().SetId(i, i)
        cell.GetPoints().SetPoint(i, place)
    points = cell.GetFace(0).GetPoints()
    face = np.array([points.GetPoint(i) for i in range(3)])
    normal = np.cross(face[1] - face[0], face[2] - face[0])
    if normal @ (face.mean(axis=0) - places.mean(axis=0)) > 0:
        return None
    mirrored = places[:, [1, 0, 2]]
    return tuple(int(np.argmin(((places - one) ** 2).sum(axis=1))) for one in mirrored)


def _turned(number: int, rows: npt.NDArray[np.int32]) -> npt.NDArray[np.int32]:
    order = wedge_order(number) if number in WEDGES else None
    return rows if order is None else rows[:, list(order)]


def _spread(values: npt.NDArray[Any], counts: Sequence[int]) -> npt.NDArray[Any]:
    """np.repeat, which is slow for one value."""
    return np.full(counts[0], values[0]) if len(counts) == 1 else np.repeat(values, counts)


def _marks(count: int, indices: npt.NDArray[np.int32]) -> npt.NDArray[np.uint8]:
    marks = np.zeros(count, np.uint8)
    marks[indices] = 1
    return marks


def to_vtk(
    mesh: _core.Mesh,
    sets: Sequence[_core.NamedSet] = (),
    share: Literal["cells", "all", "none"] = "cells",
    fields: Sequence[Field] | Mapping[str, Field] = (),
) -> Any:
    """A vtkUnstructuredGrid; see `Mesh.to_pyvista`."""
    if share not in ("cells", "all", "none"):
        raise ValueError(f'share "{share}" is none of cells, all, none')
    core = require("vtkmodules.vtkCommonCore", "to_vtk")
    model = require("vtkmodules.vtkCommonDataModel", "to_vtk")
    support = require("vtkmodules.util.numpy_support", "to_vtk")

    def handed(array: npt.NDArray[Any], shared: bool) -> Any:
        """VTK has no read-only arrays: what it shall not write to is copied."""
        return support.numpy_to_vtk(np.ascontiguousarray(array) if shared else np.array(array))

    found, losses = [], []
    for i, block in enumerate(mesh.blocks):
        made = rows_for(block)
        if made is None:
            losses.append(Loss(f"block {i} of type {block.type}", block.num_elements))
        else:
            found.append((i, block, made[0], _turned(*made)))
    cells = model.vtkCellArray()
    if len(found) == 1:
        _, _, _, rows = found[0]
        cells.SetData(rows.shape[1], handed(rows.reshape(-1), share != "none"))
    else:
        widths = np.repeat([rows.shape[1] for *_, rows in found], [len(rows) for *_, rows in found])
        offsets = np.concatenate([[0], np.cumsum(widths)]).astype(np.int32)
        flat = np.concatenate([rows.reshape(-1) for *_, rows in found]) if found else np.empty(0, np.int32)
        cells.SetData(handed(offsets, True), handed(flat, True))
    counts = [len(rows) for *_, rows in found]
    types = _spread(np.array([number for _, _, number, _ in found], np.uint8), counts)
    grid = model.vtkUnstructuredGrid()
    points = core.vtkPoints()
    points.SetData(handed(mesh.nodes, share == "all"))
    grid.SetPoints(points)
    if hasattr(grid, "SetPolyhedralCells"):
        grid.SetPolyhedralCells(handed(types, True), cells, None, None)
    else:  # of older releases, and slower: it looks for polyhedra
        grid.SetCells(handed(types, True), cells)

    def put(data: Any, name: str, array: npt.NDArray[Any], shared: bool = True) -> None:
        made = handed(array, shared)
        made.SetName(name)
        data.AddArray(made)

    if mesh.node_labels is not None:
        put(grid.GetPointData(), "NodeLabel", mesh.node_labels, share == "all")
    chosen = [range(block.first_element, block.first_element + block.num_elements) for _, block, _, _ in found]
    # all elements, or without those of blocks that have no cell
    elements = slice(None) if len(found) == len(mesh.blocks) else np.concatenate([np.array([], int), *chosen])
    if any(block.labels is not None for block in mesh.blocks):
        put(grid.GetCellData(), "ElementLabel", mesh.element_labels[elements])
    put(grid.GetCellData(), "ElementClass", _spread(np.arange(len(found), dtype=np.int32), counts))
    own = split_sets(mesh, sets)
    for name, one in own.nodes.items():
        put(grid.GetPointData(), f"NodeSet {name}", _marks(mesh.num_nodes, one))
    for name, one in own.elements.items():
        put(grid.GetCellData(), f"ElementSet {name}", _marks(mesh.num_elements, one)[elements])
    for name, bits in own.surfaces.items():
        put(grid.GetCellData(), SURFACE + name, bits[elements])
    for name, field in fields.items() if isinstance(fields, Mapping) else ((one.name, one) for one in fields):
        if field.run.mesh != mesh:
            raise ValueError(f"field {name} is of another mesh")
        if field.is_at_nodes:
            put(grid.GetPointData(), name, field.by_node())
        else:
            put(grid.GetCellData(), name, field.by_element()[elements])
    for key, texts in (
        ("ElementTypes", [block.type for _, block, _, _ in found]),
        ("ElementCategories", [block.category for _, block, _, _ in found]),
    ):
        words = core.vtkStringArray()
        words.SetName(key)
        for text in texts:
            words.InsertNextValue(text)
        grid.GetFieldData().AddArray(words)
    put(grid.GetFieldData(), "Dimension", np.array([mesh.dimension], np.int32))
    warn("VTK", losses + own.losses)
    return grid


def to_pyvista(mesh: _core.Mesh, sets: Sequence[_core.NamedSet] = (), share: Any = "cells", fields: Any = ()) -> Any:
    """A pyvista.UnstructuredGrid of the same arrays."""
    return require("pyvista", "to_pyvista").UnstructuredGrid(to_vtk(mesh, sets, share, fields))


def from_vtk(grid: Any, types: Mapping[str, str] | None = None, unknown: Unknown = "keep") -> Imported:
    """The mesh and sets of a vtkUnstructuredGrid; see `coregeometry.from_pyvista`."""
    support = require("vtkmodules.util.numpy_support", "from_pyvista")
    try:
        cell_types = grid.GetCellTypes()
    except TypeError:  # of releases in which it wants a list to fill
        cell_types = grid.GetCellTypesArray()
    numbers = support.vtk_to_numpy(cell_types) if grid.GetNumberOfCells() else np.empty(0, np.uint8)
    points = support.vtk_to_numpy(grid.GetPoints().GetData()) if grid.GetPoints() else np.empty((0, 3), np.float32)
    connectivity = support.vtk_to_numpy(grid.GetCells().GetConnectivityArray())
    offsets = support.vtk_to_numpy(grid.GetCells().GetOffsetsArray())

    def arrays(data: Any) -> dict[str, Any]:
        return {
            data.GetArrayName(i): support.vtk_to_numpy(data.GetArray(i))
            for i in range(data.GetNumberOfArrays())
            if data.GetArray(i) is not None
        }

    def texts(name: str) -> list[str]:
        words = grid.GetFieldData().GetAbstractArray(name)
        return [] if words is None else [words.GetValue(i) for i in range(words.GetNumberOfValues())]

    point_data, cell_data = arrays(grid.GetPointData()), arrays(grid.GetCellData())
    exact, categories = texts("ElementTypes"), texts("ElementCategories")
    plane = arrays(grid.GetFieldData()).get("Dimension")
    dimension = 3 if plane is None else int(plane[0])
    groups = _groups(numbers, np.diff(offsets), cell_data.get("ElementClass"))
    blocks = Blocks(dimension, types, unknown)
    order = []
    labels = cell_data.get("ElementLabel")
    for number, group, cells in groups:
        width = int(offsets[cells[0] + 1] - offsets[cells[0]])
        name = NAMES.get(number, f"VTK_{number}")
        if number in (7, 42):
            made = blocks.add(name, np.empty(len(cells)), "") if unknown != "skip" else False
            if unknown == "skip":
                blocks.losses.append(Loss(f"cells of type {name}", len(cells)))
        else:
            rows = connectivity[offsets[cells][:, None] + np.arange(width)]
            turned = wedge_order(number) if number in WEDGES else None
            rows = rows if turned is None else rows[:, np.argsort(turned)]
            made = blocks.add(
                name,
                rows,
                exact[group] if 0 <= group < len(exact) else "",
                None if labels is None else labels[cells],
                categories[group] if 0 <= group < len(categories) else "",
            )
        if made:
            order.append(cells)
    cell_order = np.concatenate(order) if order else np.empty(0, np.int64)
    prefixes = (("NodeSet ", point_data), ("ElementSet ", cell_data))
    found = [
        [(key[len(prefix) :], np.nonzero(array)[0]) for key, array in data.items() if key.startswith(prefix)]
        for prefix, data in prefixes
    ]
    place = np.full(len(numbers), -1)
    place[cell_order] = np.arange(len(cell_order))
    element_sets = [(name, place[cells][place[cells] >= 0]) for name, cells in found[1]]
    surfaces = {key[len(SURFACE) :]: array[cell_order] for key, array in cell_data.items() if key.startswith(SURFACE)}
    node_labels = point_data.get("NodeLabel")
    return finish(points, blocks, node_labels, found[0], element_sets, surfaces, cell_order, dimension)


def _groups(
    numbers: npt.NDArray[Any], widths: npt.NDArray[Any], classes: npt.NDArray[Any] | None
) -> list[tuple[int, int, npt.NDArray[np.int64]]]:
    """Cells of one type, width and class: type, class or -1, and the cells in their order."""
    own = np.full(len(numbers), -1, np.int64) if classes is None else classes.astype(np.int64)
    keys = np.stack([own, numbers.astype(np.int64), widths.astype(np.int64)], axis=1)
    unique, first, inverse = np.unique(keys, axis=0, return_index=True, return_inverse=True)
    inverse = inverse.reshape(-1)
    ranks = range(len(unique)) if classes is not None else np.argsort(first)
    return [(int(unique[i, 1]), int(unique[i, 0]), np.nonzero(inverse == i)[0]) for i in ranks]
