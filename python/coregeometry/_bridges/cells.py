"""What both bridges need: cells of other programs, and the blocks that they become."""

from __future__ import annotations

import importlib
import warnings
from collections.abc import Iterable, Mapping, Sequence
from typing import Any, Literal, NamedTuple

import numpy as np
import numpy.typing as npt

from .. import _core
from .._errors import LossWarning, MissingLibraryError, UnknownTypeError
from .._files import Imported
from .._shapes import shapes
from .._tables import Loss

Unknown = Literal["keep", "refuse", "skip"]
Ints = npt.NDArray[np.int32]

# meshio's names of cells with a fixed number of nodes, which are numbered as VTK's cells of that number are
VTK_TYPES = {
    "vertex": 1,
    "line": 3,
    "triangle": 5,
    "quad": 9,
    "tetra": 10,
    "hexahedron": 12,
    "wedge": 13,
    "pyramid": 14,
    "line3": 21,
    "triangle6": 22,
    "quad8": 23,
    "tetra10": 24,
    "hexahedron20": 25,
    "wedge15": 26,
    "pyramid13": 27,
    "quad9": 28,
    "hexahedron27": 29,
    "wedge12": 31,
    "wedge18": 32,
    "hexahedron24": 33,
}
NAMES = {number: name for name, number in VTK_TYPES.items()}


def number_of(name: str) -> int | None:
    """VTK's number of a cell by meshio's name, or by the one that kept cells without such a name get."""
    own = name.lower()
    return int(own[4:]) if own.startswith("vtk_") and own[4:].isdigit() else VTK_TYPES.get(own)


def require(name: str, what: str) -> Any:
    """The module, or `MissingLibraryError` that says what needs it."""
    try:
        return importlib.import_module(name)
    except ImportError as error:
        package = name.split(".")[0].replace("vtkmodules", "vtk")
        raise MissingLibraryError(f"{what} needs the package {package}: pip install {package} ({error})") from error


def order_of(label: str) -> tuple[int, Ints] | None:
    """VTK's type of a label, and the place in its cell of each of our nodes."""
    if label not in shapes:
        return None
    shape = shapes[label]
    if shape.num_nodes == 1:
        return VTK_TYPES["vertex"], np.zeros(1, np.int32)
    if shape.vtk_type is None or shape.vtk_order is None:
        return None
    return shape.vtk_type, shape.vtk_order


def rows_for(block: _core.Block) -> tuple[int, npt.NDArray[np.int32]] | None:
    """VTK's cell type and the rows in its order; shared when the two orders are the same."""
    found = order_of(block.type)
    if found is None:
        number = number_of(block.type)
        return None if number is None else (number, block.connectivity)
    number, order = found
    if len(order) != block.connectivity.shape[1]:
        return None
    if np.array_equal(order, np.arange(len(order))):
        return number, block.connectivity
    rows = np.empty_like(block.connectivity)
    rows[:, order] = block.connectivity
    return number, rows


class Blocks:
    """Blocks of a mesh, gathered from cells of another program."""

    def __init__(self, dimension: int, types: Mapping[str, str] | None, unknown: str) -> None:
        if unknown not in ("keep", "refuse", "skip"):
            raise ValueError(f'unknown "{unknown}" is none of keep, refuse, skip')
        self._dimension, self._types, self._unknown = dimension, dict(types or {}), unknown
        self.made: list[_core.Block] = []
        self.losses: list[Loss] = []

    def add(self, name: str, rows: npt.ArrayLike, exact: str = "", labels: Any = None, category: str = "") -> bool:
        """Cells of one type; whether they became a block. ``exact`` is used when it is a type of that cell."""
        number, array = number_of(name), np.asarray(rows)
        label = self._types.get(name, "")
        if not label and exact:
            found = order_of(exact)
            label = exact if (found is not None and found[0] == number) or exact.lower() == name else ""
        if not label and number is not None:
            label = _core.vtk_default_type(number, self._dimension)
        found = order_of(label) if label else None
        if found is not None and len(found[1]) == array.shape[1]:
            array = array if np.array_equal(found[1], np.arange(len(found[1]))) else array[:, found[1]]
            self.made.append(_core.Block(label, array, labels=labels, category=category))
            return True
        if self._unknown == "skip":
            self.losses.append(Loss(f"cells of type {name}", len(array)))
            return False
        if self._unknown == "refuse" or array.ndim != 2:
            raise UnknownTypeError(f"{len(array)} cells of type {name}, which has no element type")
        self.made.append(_core.restore_block(name, array, labels, category, {}))
        self.losses.append(Loss(f"cells of type {name} are kept without a shape", len(array)))
        return True


def finish(
    points: npt.ArrayLike,
    blocks: Blocks,
    node_labels: Any,
    node_sets: Iterable[tuple[str, Any]],
    element_sets: Iterable[tuple[str, Any]],
    surfaces: Mapping[str, npt.NDArray[Any]],
    cell_order: npt.NDArray[np.int64] | None,
    dimension: int,
) -> Imported:
    """The mesh of the blocks with its sets."""
    mesh = _core.Mesh(points, blocks.made, node_labels=node_labels, dimension=dimension, unknown_types="keep")
    sets = {name: _core.NamedSet(name, mesh.select_nodes(indices=np.asarray(one))) for name, one in node_sets}
    for name, one in element_sets:
        sets[name] = _core.NamedSet(name, mesh.select_elements(indices=np.asarray(one)))
    for name, bits in surfaces.items():
        sets[name] = _core.NamedSet(name, mesh.select_faces(indices=_faces_of(bits)))
    return Imported(mesh, sets, "", blocks.losses, mesh.rounding, cell_order)


SURFACE = "Surface "  # what names of data arrays of cells begin with
_BACK = 8  # the first bit of the backs of shells


def _bits_of(faces: _core.FaceList) -> Ints:
    """Of each element of the mesh its faces in the list: bit i for face i, bit i + 8 for its back."""
    bits = np.zeros(faces.mesh.num_elements, np.int32)
    np.bitwise_or.at(bits, faces.element_indices, 1 << (faces.face_numbers + _BACK * faces.is_back))
    return bits


def _faces_of(bits: npt.NDArray[Any]) -> Ints:
    """Rows of element, face and side, as of `_bits_of`."""
    whole = bits.astype(np.int64)
    rows = []
    for bit in range(2 * _BACK):
        elements = np.flatnonzero(whole >> bit & 1)
        rows.append(np.stack([elements, np.full_like(elements, bit % _BACK), np.full_like(elements, bit // _BACK)], axis=1))
    return np.concatenate(rows).astype(np.int32)


class Sets(NamedTuple):
    """Sets by kind: indices of nodes and of elements, and the faces of each element that are in a surface."""

    nodes: dict[str, Ints]
    elements: dict[str, Ints]
    surfaces: dict[str, Ints]
    losses: list[Loss]


def split_sets(mesh: _core.Mesh, sets: Sequence[_core.NamedSet]) -> Sets:
    """The sets of the mesh; edges in surfaces, and elements there without a face, are losses."""
    nodes, elements, surfaces, losses = Sets({}, {}, {}, [])
    for one in sets:
        if one.mesh != mesh:
            raise ValueError(f"the set {one.name} is of another mesh")
        if one.kind == "surface":
            for part in one.items:
                if isinstance(part, _core.FaceList):
                    surfaces[one.name] = _bits_of(part)
                elif len(part):
                    what = "edges" if isinstance(part, _core.EdgeList) else "elements without a face"
                    losses.append(Loss(f"{what} of the surface {one.name}", len(part)))
        elif one.kind == "node":
            nodes[one.name] = one.nodes().indices
        else:
            elements[one.name] = one.elements().indices
    return Sets(nodes, elements, surfaces, losses)


def warn(what: str, losses: Sequence[Loss]) -> None:
    """A `LossWarning` for what has no place."""
    if losses:
        warnings.warn(f"{what} has no place for {', '.join(loss.what for loss in losses)}", LossWarning, stacklevel=4)
