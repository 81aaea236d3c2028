"""Writing of runs, frame by frame, by a solver while it runs."""

from __future__ import annotations

from types import TracebackType
from typing import TYPE_CHECKING, Any

import numpy.typing as npt

from . import _core

if TYPE_CHECKING:
    from ._model import Model


class RunWriter:
    """Writes steps and frames of a new run; see `Model.add_run`.

    Each frame is committed when its ``with`` block ends: who is stopped leaves a run that ends with a whole frame.
    """

    def __init__(self, model: Model, core: _core.RunWriter, mesh: _core.Mesh) -> None:
        self._model, self._core, self.mesh = model, core, mesh
        self._categories: dict[str, tuple[int, tuple[str, ...]]] = {}
        self._point_sets: dict[str, tuple[int, int]] = {}

    def __enter__(self) -> RunWriter:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self._model._forget_runs()

    def add_variable(
        self,
        name: str,
        type: str = "SCALAR",
        *,
        unit: str = "",
        description: str = "",
        components: tuple[str, ...] | list[str] = (),
        system: str = "",
        complex: str = "NONE",
    ) -> None:
        """A variable of a type: ``"SCALAR"``, ``"VECTOR"``, ``"TENSOR_3D_FULL"`` (xx yy zz xy xz yz) ...

        The rows of complex variables (``"REAL_AND_IMAGINARY"``, ``"MAGNITUDE_AND_PHASE"``, degrees) come twice: first all
        first numbers, then all second ones.
        """
        self._model._check_writable()
        self._core.add_variable(name, type, unit, description, list(components), system, complex)

    def add_category(
        self, name: str, *, element_categories: list[str], section_points: list[str], offsets: list[float]
    ) -> None:
        """Section points of the blocks with these category labels; offsets from -1, the bottom, to 1."""
        self._model._check_writable()
        at = self._core.add_category(name, element_categories, section_points, offsets)
        self._categories[name] = (at, tuple(section_points))

    def add_points(self, name: str, type: str, iso: npt.ArrayLike) -> None:
        """Points of elements of a type that are not its integration points: iso coordinates (p, 3)."""
        self._model._check_writable()
        at = self._core.add_point_set(name, type, iso)
        self._point_sets[name] = (at, len(iso))  # type: ignore[arg-type]

    def step(self, name: str, *, kind: str = "UNDEFINED", domain: str = "TIME", start_time: float = 0.0) -> StepWriter:
        """Begins a step: kind ``"STATIC"``, ``"TRANSIENT"`` ..., domain ``"TIME"``, ``"FREQUENCY"``, ``"MODE"`` ..."""
        self._model._check_writable()
        self._core.begin_step(name, kind, domain, start_time)
        return StepWriter(self)


class StepWriter:
    """The step that is being written."""

    def __init__(self, run: RunWriter) -> None:
        self._run = run

    def frame(self, value: float = 0.0, *, increment: int = 0, mode: int = 0, description: str = "") -> FrameWriter:
        """Begins a frame, whose values do not fall; use it in a ``with`` statement."""
        return FrameWriter(self._run, (value, increment, mode, description))

    def add_history(
        self,
        name: str,
        domain: npt.ArrayLike,
        values: npt.ArrayLike,
        *,
        variable: str = "",
        position: str = "WHOLE_MODEL",
        label: int = 0,
        region: str = "",
    ) -> None:
        """One quantity over the step: ``domain`` and ``values`` (f,)."""
        self._run._model._check_writable()
        self._run._core.add_history(name, variable, label, position, region, domain, values)


class FrameWriter:
    """The frame that is being written: all of it is stored, or with an exception nothing."""

    def __init__(self, run: RunWriter, frame: tuple[float, int, int, str]) -> None:
        self._run, self._frame = run, frame
        self._puts: list[dict[str, Any]] = []

    def __enter__(self) -> FrameWriter:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        if kind is None:
            self._run._model._check_writable()
            self._run._core.add_frame(*self._frame, self._puts)

    def put(
        self,
        variable: str,
        values: npt.ArrayLike,
        *,
        position: str,
        block: int = -1,
        nodes: npt.ArrayLike | None = None,
        elements: npt.ArrayLike | None = None,
        category: str = "",
        section_point: str = "",
        points: str = "",
    ) -> None:
        """Values of a variable at all places of a position, or at those of one block, some nodes or elements.

        Rows in mesh order: ``"NODAL"`` (num_nodes[, c]), ``"INTEGRATION_POINT"`` (elements, points[, c]),
        ``"ELEMENT_NODAL"``, ``"WHOLE_ELEMENT"`` ... float32 and float64 are stored as they come. ``nodes`` and
        ``elements`` are ascending indices. `ValueError` for another number of rows, when the frame ends.
        """
        at, points_of = self._run._categories.get(category, (-1, ())) if category else (-1, ())
        if category and at < 0:
            raise KeyError(f'there is no category "{category}"')
        if section_point and section_point not in points_of:
            raise KeyError(f'category "{category}" has no section point "{section_point}"')
        if points and points not in self._run._point_sets:
            raise KeyError(f'there are no points "{points}"')
        point_set, each = self._run._point_sets[points] if points else (-1, 0)
        self._puts.append(
            {
                "variable": variable,
                "values": values,
                "position": position,
                "block": block,
                "entities": nodes if nodes is not None else elements,
                "category": at,
                "section_point": points_of.index(section_point) if section_point else -1,
                "point_set": point_set,
                "points_each": each,
            }
        )
