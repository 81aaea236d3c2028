"""Rows that checks, comparisons and conversions answer."""

from __future__ import annotations

from dataclasses import dataclass
from enum import IntEnum
from typing import TYPE_CHECKING, NamedTuple

if TYPE_CHECKING:
    import numpy as np
    import numpy.typing as npt

    from ._core import EdgeList, FaceList


@dataclass(frozen=True)
class Finding:
    """One result of a check.

    ``weight`` is ``"fault"`` or ``"note"``; ``labels`` are the first twenty of ``count``.
    """

    weight: str
    root: str
    class_name: str
    object: int
    field: str
    what: str
    advice: str
    labels: tuple[int, ...]
    count: int


@dataclass(frozen=True)
class Difference:
    """A place at which two models or files differ.

    Of an array ``numbers`` is how many numbers differ, ``largest`` the largest absolute difference.
    """

    place: str
    first: str
    second: str
    numbers: int
    largest: float


@dataclass(frozen=True)
class Loss:
    """Contents that a conversion did not keep; ``count`` is -1 when it is not known."""

    what: str
    count: int


class FaceSets(NamedTuple):
    """Faces of elements: ``external``, ``interior`` (of two solids), ``shared`` (of more), ``collapsed``."""

    external: FaceList
    interior: FaceList
    shared: FaceList
    collapsed: FaceList


class EdgeSets(NamedTuple):
    """Edges of faces, each once, and some kinds of them."""

    unique: EdgeList
    feature: EdgeList
    free: EdgeList
    non_manifold: EdgeList
    inconsistent: EdgeList


class Triangles(NamedTuple):
    """``nodes`` (t, 3) int32, and of each triangle the position of its face in the list."""

    nodes: npt.NDArray[np.int32]
    faces: npt.NDArray[np.int32]


class Chain(NamedTuple):
    """``nodes`` of a chain of edges; a closed one ends with its first node."""

    nodes: npt.NDArray[np.int32]
    closed: bool


@dataclass(frozen=True)
class StoredClass:
    """A class of stored objects in a model."""

    name: str
    type_id: int
    version: int
    objects: int
    outdated: bool


@dataclass(frozen=True)
class StoredObject:
    """An object of a class without a form in Python: its class, and its contents as text."""

    class_name: str
    text: str


class Location(IntEnum):
    """Where a point is in an element; ``Hits.location`` holds these numbers."""

    OUTSIDE = 0
    INSIDE = 1
    ON_BOUNDARY = 2
    DEGENERATE = 3
