"""Meshes that are too large for one process: split into parts, and asked part by part.

>>> from coregeometry import split
>>> split.split("wing.cgdb", "wing.split", parts=64)
>>> wing = split.open("wing.split")
>>> wing.measure(density=2700).mass.total

Answers are those of the whole mesh: nodes and elements have the numbers that they have there, from 0.
"""

from __future__ import annotations

import os
from collections.abc import Iterator
from typing import Any, Literal, NamedTuple

import numpy as np
import numpy.typing as npt

from . import _core
from ._errors import MissingLibraryError
from ._model import Model, Path
from ._model import open as open_model

if not hasattr(_core, "Split"):
    raise MissingLibraryError("this build of coregeometry has no split models, which need METIS")

__all__ = [
    "Faces",
    "Finding",
    "Hits",
    "Nearest",
    "Part",
    "PartFacts",
    "Places",
    "SplitModel",
    "check",
    "open",
    "split",
    "split_mesh",
]


class Places(NamedTuple):
    """(n,) each: ``number`` in the whole, a ``part`` that has it, and its index there, ``local``; -1 for what is nowhere."""

    number: npt.NDArray[np.int64]
    part: npt.NDArray[np.int32]
    local: npt.NDArray[np.int32]


class Hits(NamedTuple):
    """Of each point the element that contains it: ``location`` of `Location`, ``iso`` (n, 3), NaN where there is none."""

    element: Places
    location: npt.NDArray[np.uint8]
    iso: npt.NDArray[np.float64]


class Nearest(NamedTuple):
    """Of each point the closest element, its ``distance``, and ``iso`` (n, 3) of the closest point."""

    element: Places
    distance: npt.NDArray[np.float64]
    iso: npt.NDArray[np.float64]


class Faces(NamedTuple):
    """(n, 2) each: number of the element in the whole, and its face. The kinds of `FaceSets`."""

    external: npt.NDArray[np.int64]
    interior: npt.NDArray[np.int64]
    shared: npt.NDArray[np.int64]
    collapsed: npt.NDArray[np.int64]


class PartFacts(NamedTuple):
    """What the index says about a part."""

    elements: int
    nodes: int
    owned_nodes: int
    shared_nodes: int
    neighbours: list[int]


class Finding(NamedTuple):
    """One result of `check`: ``weight`` is "fault" or "note"; ``file`` is empty when it is about several."""

    weight: str
    file: str
    root: str
    what: str
    advice: str


class Part(NamedTuple):
    """A part: its mesh, numbers in the whole of its nodes and elements, indices of nodes that other parts hold, too."""

    mesh: _core.Mesh
    node_numbers: npt.NDArray[np.uint32]
    element_numbers: npt.NDArray[np.uint32]
    shared_nodes: npt.NDArray[np.uint32]
    file: str

    def model(self) -> Model:
        """The model file of the part, with its sets."""
        return open_model(self.file)


class SplitModel:
    """A folder with a split model; a sequence of its parts, each read when it is asked for and not kept.

    Questions about the whole read one part after the other. OSError and `Error` name the file. With a communicator of
    mpi4py every rank has some of the parts: all ranks ask the same questions with the same arguments, and have the same
    answers, but for those that say otherwise; what a part runs into is raised on all of them.
    """

    def __init__(self, folder: Path, comm: Any = None) -> None:
        self._comm = comm
        self._split = _core.Split(os.fspath(folder), comm)
        self.folder = self._split.folder
        self.mesh_name = self._split.mesh_name
        self.num_nodes = self._split.num_nodes
        self.num_elements = self._split.num_elements

    def __repr__(self) -> str:
        return f"<SplitModel {self.folder}: {self.num_nodes} nodes, {self.num_elements} elements, {len(self)} parts>"

    def __len__(self) -> int:
        return self._split.num_parts

    def __getitem__(self, part: int) -> Part:
        return Part(*self._split.open_part(self._number(part)))

    def __iter__(self) -> Iterator[Part]:
        """With a communicator over `my_parts`."""
        return (self[part] for part in self.my_parts)

    @property
    def my_parts(self) -> range:
        """Numbers of the parts of this rank; all of them without a communicator."""
        return range(*self._split.my_parts)

    def facts(self, part: int) -> PartFacts:
        """Sizes and neighbours of a part, which is not opened."""
        return PartFacts(**self._split.part_facts(self._number(part)))

    def _number(self, part: int) -> int:
        if not -len(self) <= part < len(self):
            raise IndexError(f"part {part} of {len(self)}")
        return part % len(self)

    @property
    def sets(self) -> list[str]:
        """Names of the sets of the mesh."""
        folder = f"sets/{self.mesh_name}/"
        return [root.removeprefix(folder) for root in self._split.sets]

    def measure(
        self,
        set: str | None = None,
        *,
        thickness: float | None = None,
        section_area: float | None = None,
        density: float | None = None,
        point_mass: float | None = None,
    ) -> _core.Measures:
        """Measures of all elements or of those of a set, with the bits that `Mesh.measure` of the whole has."""
        if set is not None and set not in self.sets:
            raise KeyError(f'no set "{set}"; there are {", ".join(self.sets)}')
        root = None if set is None else self._split.sets[self.sets.index(set)]
        return self._split.measure(thickness, section_area, density, point_mass, root)

    def box(self) -> npt.NDArray[np.float64] | None:
        """(2, 3) minimum and maximum of the nodes, None without nodes."""
        return self._split.box()

    def external_faces(self) -> Faces:
        """Faces of the whole, by kind; elements of types without a shape have none. On each rank those of its parts."""
        return Faces(*self._split.faces())

    def locate(self, points: npt.ArrayLike) -> Hits:
        """The first element that contains each of (n, 3) points."""
        element, location, iso = self._split.locate(points)
        return Hits(Places(*element), location, iso)

    def nearest(self, points: npt.ArrayLike) -> Nearest:
        """The closest element of each of (n, 3) points."""
        element, distance, iso = self._split.nearest(points)
        return Nearest(Places(*element), distance, iso)

    def find_nodes(self, labels: npt.ArrayLike) -> Places:
        """Nodes by user label."""
        return Places(*self._split.find_labels(labels, True))

    def find_elements(self, labels: npt.ArrayLike) -> Places:
        """Elements by user label."""
        return Places(*self._split.find_labels(labels, False))

    def coincident_nodes(self, tolerance: float) -> list[npt.NDArray[np.int64]]:
        """Groups of the numbers of nodes that are no further apart than the tolerance, by chains of such nodes."""
        return self._split.coincident_nodes(tolerance)

    def join(self, file: Path) -> Model:
        """Writes the model that was split as a new file and opens it; the first rank writes. FileExistsError."""
        name = os.fspath(file)
        exists = os.path.exists(name)
        if self._comm.bcast(exists, root=0) if self._comm is not None else exists:
            raise FileExistsError(f"{name} exists already")
        self._split.join(name)
        return open_model(name)

    def check(self) -> list[Finding]:
        """`check` of the folder."""
        return check(self.folder, self._comm)


def split(
    source: Path,
    folder: Path,
    parts: int = 0,
    *,
    mesh: str | None = None,
    method: Literal["auto", "metis", "curve"] = "auto",
    chunks: int = 0,
    weight_nodes: bool = False,
    memory: int = 0,
    force: bool = False,
) -> SplitModel:
    """Splits a mesh of a model file in bounded memory and opens the result.

    ``parts`` 0 makes parts of up to 4 million elements; ``memory`` is in bytes, 0 for a quarter of the machine's. A
    split that was stopped goes on; ``force`` replaces another one. ``mesh`` is needed when the model has several.
    """
    with open_model(source) as model:
        names = list(model.meshes)
    if mesh is None and len(names) != 1:
        raise ValueError(f"{os.fspath(source)}: mesh is one of {', '.join(names)}")
    name = names[0] if mesh is None else mesh
    if name not in names:
        raise KeyError(f'{os.fspath(source)}: no mesh "{name}"; there are {", ".join(names)}')
    if parts < 0:
        raise ValueError(f"parts: {parts} is negative")
    options = (parts, method, chunks, weight_nodes, memory, f"meshes/{name}", force)
    _core.split_model(os.fspath(source), os.fspath(folder), *options)
    return SplitModel(folder)


def split_mesh(mesh: _core.Mesh, folder: Path, parts: npt.ArrayLike, *, name: str = "mesh") -> SplitModel:
    """Writes a mesh as a split model by the part number of each element, (e,); no part may be empty."""
    _core.split_mesh(mesh, name, os.fspath(folder), parts)
    return SplitModel(folder)


def open(folder: Path, comm: Any = None) -> SplitModel:  # as coregeometry.open
    """Opens the folder of a split model, on all ranks of an mpi4py communicator if one is given.

    Of the communicator its methods ``Get_rank``, ``Get_size``, ``alltoall``, ``allgather`` and ``bcast`` are used.
    """
    return SplitModel(folder, comm)


def check(folder: Path, comm: Any = None) -> list[Finding]:
    """Everything that is wrong with the files of a split model, and across them; all ranks have the findings."""
    return [Finding(*one) for one in _core.check_split(os.fspath(folder), comm)]
