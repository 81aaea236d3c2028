"""What a run says about its steps and variables, and what its questions answer."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

Floats = npt.NDArray[np.float64]
Ints = npt.NDArray[np.int32]


@dataclass(frozen=True)
class Variable:
    """A variable of a run: its unit as text, the components of a row, the invariants that it has."""

    name: str
    description: str
    unit: str
    type: str
    components: tuple[str, ...]
    invariants: tuple[str, ...]
    system: str
    is_complex: bool


@dataclass(frozen=True, eq=False)
class Step:
    """A step: ``values`` (f,) are the time, frequency ... of its frames."""

    name: str
    description: str
    kind: str
    domain: str
    start_time: float
    values: Floats
    increments: Ints
    modes: Ints
    descriptions: tuple[str, ...]


@dataclass(frozen=True)
class Category:
    """Section points, from -1 at the bottom to 1, of blocks with these category labels."""

    name: str
    element_categories: tuple[str, ...]
    section_points: tuple[str, ...]
    offsets: tuple[float, ...]


@dataclass(frozen=True)
class Frame:
    """A frame of a step, counted from 0, with its time or frequency."""

    step: str
    frame: int
    value: float


@dataclass(frozen=True)
class Extreme:
    """A value with its place: ``label`` of the node or element, ``point`` in it from 1 or 0."""

    value: float
    label: int
    point: int
    section_point: str
    region: str
    position: str
    step: str
    frame: int
    frame_value: float


@dataclass(frozen=True)
class Reduced:
    """One frame: extremes (None without numbers), exact sum, mean, number of values and of those left out as NaN."""

    step: str
    frame: int
    value: float
    max: Extreme | None
    min: Extreme | None
    absmax: Extreme | None
    sum: float
    mean: float
    count: int
    not_numbers: int


@dataclass(frozen=True)
class FieldBlock:
    """Rows of one position: block of the mesh (-1 for nodes), its type, section point and region."""

    position: str
    mesh_block: int
    type: str
    section_point: str
    region: str


@dataclass(frozen=True, eq=False)
class FieldArray:
    """Values of one frame, a row for each place that has one.

    ``values`` (n, c) are float32 as they are stored, float64 when something was computed. ``label`` (n,) are labels of
    nodes or elements, ``index`` their indices in the mesh, ``point`` counts from 1 (0 for none), ``block`` is the row's
    place in ``blocks``. Of an envelope ``frame`` (n,) is the position in ``frames``, -1 for none.
    """

    values: npt.NDArray[Any]
    components: tuple[str, ...]
    label: Ints
    index: Ints
    point: Ints
    block: Ints
    blocks: tuple[FieldBlock, ...]
    frame: Ints | None = None
    frames: tuple[Frame, ...] = ()

    def __len__(self) -> int:
        return len(self.values)

    def to_pandas(self) -> Any:
        """A pandas.DataFrame: label, index, point, section_point, and a column for each component."""
        from ._columns import to_pandas

        return to_pandas(self)

    def to_arrow(self) -> Any:
        """A pyarrow.Table with the columns of `to_pandas`."""
        from ._columns import to_arrow

        return to_arrow(self)


@dataclass(frozen=True, eq=False)
class Integral:
    """Integrals of a frame over volumes (``dimensions`` 3), areas or lengths; ``measure`` is their size."""

    step: str
    frame: int
    frame_value: float
    dimensions: int
    values: Floats
    measure: float
    count: int
    inverted: Ints
    not_numbers: int


@dataclass(frozen=True, eq=False)
class Resultant:
    """Sum of nodal vectors and of their moments, (3,) each."""

    step: str
    frame: int
    frame_value: float
    force: Floats
    moment: Floats
    not_numbers: int


@dataclass(frozen=True, eq=False)
class Probed:
    """Values at points: ``values`` (f, n, c), NaN outside; ``element`` (n,) is -1 there."""

    frames: tuple[Frame, ...]
    element: Ints
    values: Floats


@dataclass(frozen=True, eq=False)
class Mapped:
    """Values on another mesh: ``values`` (f, n, c), NaN where nothing was found; ``unmapped`` labels."""

    frames: tuple[Frame, ...]
    values: Floats
    unmapped: Ints
    largest_distance: float


@dataclass(frozen=True, eq=False)
class Loads:
    """``forces`` (n, 3) at all nodes of the target, and resultants about its origin before and after."""

    frame: Frame
    forces: Floats
    force_before: Floats
    force_after: Floats
    moment_before: Floats
    moment_after: Floats
    area_missing: float
    unmapped: Ints
    largest_distance: float


@dataclass(frozen=True, eq=False)
class History:
    """``values`` over ``domain`` (f,): (f,) of a stored history, (f, n, c) of a variable at ``places``."""

    name: str
    step: str
    domain: Floats
    values: Floats
    place: str = ""
    places: FieldArray | None = None
