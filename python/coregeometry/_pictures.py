"""Pictures of meshes and results, and travel until two meshes meet."""

from __future__ import annotations

import os
from collections.abc import Sequence
from dataclasses import dataclass
from math import inf
from typing import Literal

import numpy as np
import numpy.typing as npt

from . import _core
from ._files import Imported
from ._model import Path
from ._results import Field


class Picture:
    """A picture that was drawn: pixels, and a PNG file as ``coregeometry render`` writes it."""

    def __init__(self, canvas: _core.Canvas) -> None:
        self._canvas = canvas

    @property
    def rgba(self) -> npt.NDArray[np.uint8]:
        """(height, width, 4), rows from above."""
        pixels = self._canvas.pixels()
        if pixels.shape[2] == 4:
            return pixels
        return np.concatenate([pixels, np.full((*pixels.shape[:2], 1), 255, np.uint8)], axis=2)

    @property
    def png(self) -> bytes:
        """The contents of a PNG file."""
        import tempfile

        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "picture.png")
            self._canvas.write(file, False)
            with open(file, "rb") as stream:
                return stream.read()

    def save(self, path: Path, *, overwrite: bool = False) -> None:
        """Writes a PNG file; `FileExistsError` unless ``overwrite``."""
        self._canvas.write(os.fspath(path), overwrite)

    def _repr_png_(self) -> bytes:
        return self.png


def picture(
    what: _core.Mesh | _core.FaceList | Imported | Field,
    *,
    sets: Sequence[_core.NamedSet] = (),
    view: npt.ArrayLike = (1.0, -1.5, 1.0),
    size: tuple[int, int] = (1200, 900),
    edges: bool = False,
    values: npt.ArrayLike | None = None,
    deform: npt.ArrayLike | Field | None = None,
    factor: float | None = None,
    title: str = "",
    plain: bool = False,
    background: Literal["shaded", "white", "transparent"] = "shaded",
) -> Picture:
    """Draws the outside of a mesh, of some sets or faces, or a field of one frame in colours.

    ``view`` points from the mesh to the viewer, ``size`` is in pixels. ``values`` are (num_nodes,) or (num_elements,),
    NaN where there is none. ``deform`` (num_nodes, 3), or a field of vectors at nodes, is added ``factor`` times;
    without one a tenth of the mesh is aimed at. Fields must have one number at each node, or at each element.

    >>> import numpy as np, coregeometry as cg
    >>> mesh = cg.Mesh(np.eye(4, 3, -1), {"C3D4": [[0, 1, 2, 3]]})
    >>> drawn = cg.picture(mesh, size=(160, 120), values=mesh.nodes[:, 2])
    >>> drawn.rgba.shape, drawn.png[1:4]
    ((120, 160, 4), b'PNG')
    """
    name = unit = ""
    shown = list(sets)
    if isinstance(what, Field):
        mesh = what._run.mesh
        name = what._name
        variable = what._run.variables.get(name.split(".")[0].split(" ")[0])
        unit = variable.unit if variable is not None else ""
        try:
            drawn = what.by_node()
        except ValueError:
            drawn = what.by_element()
        if drawn.shape[1] != 1:
            raise ValueError(f"{name} has {drawn.shape[1]} components: choose one, or an invariant")
        values = drawn[:, 0]
    elif isinstance(what, Imported):
        mesh = what.mesh
    elif isinstance(what, _core.FaceList):
        mesh = what.mesh
        shown.append(_core.NamedSet("faces", what))
    else:
        mesh = what
    moved = deform.by_node() if isinstance(deform, Field) else deform
    return Picture(
        _core.draw(mesh, shown, view, size, edges, plain, title, background, values, name, unit, moved, factor)
    )


@dataclass(frozen=True, eq=False)
class Travel:
    """The distance to contact and where two sides touch; the movable point is the one before the travel."""

    distance: float
    fixed_point: npt.NDArray[np.float64]
    movable_point: npt.NDArray[np.float64]
    fixed_triangle: int
    movable_triangle: int
    fixed_element: int = -1
    movable_element: int = -1


Side = _core.Mesh | _core.FaceList | tuple[npt.ArrayLike, npt.ArrayLike] | _core.TriangleTree


def travel(fixed: Side, movable: Side, direction: npt.ArrayLike, *, limit: float = inf) -> Travel | None:
    """How far ``movable`` moves along the direction until it meets ``fixed``; None when it never does before ``limit``.

    A side is a mesh (its outside), a list of faces, ``(points, triangles)``, or a `TriangleTree` for many searches.

    >>> import numpy as np, coregeometry as cg
    >>> wall = cg.Mesh([[0, -9, -9], [0, 9, -9], [0, 9, 9], [0, -9, 9]], {"S4": [[0, 1, 2, 3]]})
    >>> tet = cg.Mesh(np.eye(4, 3, -1) + 3, {"C3D4": [[0, 1, 2, 3]]})
    >>> cg.travel(wall, tet, [-1, 0, 0]).distance
    3.0
    """
    first, of_first = _tree(fixed, direction)
    second, of_second = _tree(movable, direction)
    found = _core.find_travel(first, second, direction, limit)
    if found is None:
        return None
    return Travel(*found, _element(of_first, found[3]), _element(of_second, found[4]))


def _tree(side: Side, direction: npt.ArrayLike) -> tuple[_core.TriangleTree, npt.NDArray[np.int32] | None]:
    if isinstance(side, _core.TriangleTree):
        return side, None
    if isinstance(side, tuple):
        return _core.TriangleTree(*side, direction), None
    faces = side.select_elements().external_faces() if isinstance(side, _core.Mesh) else side
    triangles = faces.triangles()
    return _core.TriangleTree(faces.mesh.nodes, triangles.nodes, direction), faces.element_indices[triangles.faces]


def _element(elements: npt.NDArray[np.int32] | None, triangle: int) -> int:
    return -1 if elements is None else int(elements[triangle])
