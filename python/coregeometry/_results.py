"""Runs of results: variables, steps, and values that are computed when they are asked for."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from dataclasses import fields
from typing import TYPE_CHECKING, Any, Literal

import numpy as np
import numpy.typing as npt

from . import _core
from ._result_tables import (
    Category,
    Extreme,
    FieldArray,
    FieldBlock,
    Floats,
    Frame,
    History,
    Integral,
    Loads,
    Mapped,
    Probed,
    Reduced,
    Resultant,
    Step,
    Variable,
)

if TYPE_CHECKING:
    from ._model import Model

Borders = Literal["none", "class", "category"] | Sequence[str]
Envelope = Literal["max", "min", "absmax", "range", "mean", "rms"]


def _array(rows: dict[str, Any]) -> FieldArray:
    rows["blocks"] = tuple(FieldBlock(**one) for one in rows["blocks"])
    if "frames" in rows:
        rows["frames"] = tuple(Frame(**one) for one in rows["frames"])
    return FieldArray(**rows)


class Field:
    """Values of a variable or formula over frames and places; nothing is read until it is asked for.

    Each choice makes another field. Arithmetic between fields and numbers makes fields, too: ``1.35 * a + 1.5 * b``.
    Operands with one frame go with every frame of the others; places that all of them have remain.
    """

    __array_ufunc__ = None

    def __init__(self, run: Run, choice: _core.FieldChoice, name: str) -> None:
        self._run, self._choice, self._name = run, choice, name

    def _with(self, choice: _core.FieldChoice, name: str) -> Field:
        return Field(self._run, choice, name)

    # choose
    def component(self, name: str) -> Field:
        """One component: ``"xx"``, ``"y"``, or the name that the variable gives it."""
        return self._with(self._choice.component(name), f"{self._name}.{name}")

    def invariant(self, name: str) -> Field:
        """One number of a tensor or vector: ``"MISES"``, ``"MAX_PRINCIPAL"``, ``"MAGNITUDE"`` ..."""
        return self._with(self._choice.invariant(name), f"{self._name}.{name}")

    def system(self, name: str) -> Field:
        """In axes ``"global"``, ``"local"``, or those of a stored coordinate system, by its root."""
        return self._with(self._choice.system(name), self._name)

    def display(self, what: float | Literal["real", "imaginary", "magnitude", "phase", "peak"]) -> Field:
        """What is shown of complex values; a number is the angle in degrees."""
        return self._with(self._choice.display(what), self._name)

    def at_nodes(
        self,
        borders: Borders = "category",
        *,
        weights: Literal["equal", "measure"] = "equal",
        threshold: float = 100.0,
        order: Literal["before", "after", "points"] = "before",
        normals: float = 30.0,
    ) -> Field:
        """Extrapolated to the nodes of each element and averaged there, never across ``borders``.

        ``threshold`` in percent of the range, ``normals`` in degrees between surface elements. Of arithmetic the
        operands are carried.
        """
        choice = self._choice.at_nodes(borders, weights, threshold, order, normals)
        return self._with(choice, f"{self._name} at nodes")

    def at_element_nodes(self) -> Field:
        """Extrapolated to the nodes of each element."""
        return self._with(self._choice.carried("element_nodes"), self._name)

    def at_centroids(self) -> Field:
        """Mean of each element."""
        return self._with(self._choice.carried("centroids"), self._name)

    def at_faces(self) -> Field:
        """Mean on each face of the elements."""
        return self._with(self._choice.carried("faces"), self._name)

    # ask
    @property
    def name(self) -> str:
        """The variable or formula, with what was chosen of it."""
        return self._name

    @property
    def run(self) -> Run:
        """The run whose values these are."""
        return self._run

    @property
    def is_at_nodes(self) -> bool:
        """Whether all values of the first frame are at nodes of the mesh."""
        return all(block.mesh_block < 0 for block in self.array(0).blocks)

    @property
    def frames(self) -> list[Frame]:
        """The frames that are meant."""
        return [Frame(**one) for one in self._run._opened().frames(self._choice)]

    @property
    def components(self) -> list[str]:
        """Names of what a row has; one empty name for a single number."""
        return self._run._opened().components(self._choice)

    def _frame(self, frame: int | None) -> int:
        if frame is not None:
            return frame
        count = len(self.frames)
        if count != 1:
            raise ValueError(f"{count} frames are meant: choose one by step=, frame= or value=, or give its position")
        return 0

    def array(self, frame: int | None = None) -> FieldArray:
        """The values of its frame; of several that are meant, ``frame`` is the position."""
        return _array(self._run._opened().gather(self._choice, self._frame(frame)))

    def blocks(self, rows: int = 1 << 20, *, frame: int | None = None) -> Iterator[FieldArray]:
        """The values of `array`, at most ``rows`` of them at a time, so that memory stays bounded.

        Values at nodes are averaged once, when the first block is asked for.
        """
        if rows < 1:
            raise ValueError(f"blocks of {rows} rows")
        reader = self._run._opened().read(self._choice, self._frame(frame))
        while (found := reader.next(rows)) is not None:
            yield _array(found)
            self._run._opened()

    def arrays(self) -> Iterator[tuple[Frame, FieldArray]]:
        """Frame by frame."""
        for i, one in enumerate(self.frames):
            yield one, self.array(i)

    def by_node(self, frame: int | None = None) -> Floats:
        """(num_nodes, c), NaN where there is no value; `ValueError` when a node has several."""
        return self._run._opened().dense(self._choice, self._frame(frame), "node")

    def by_element(self, frame: int | None = None) -> Floats:
        """(num_elements, c), NaN where there is no value; `ValueError` when an element has several."""
        return self._run._opened().dense(self._choice, self._frame(frame), "element")

    def _extreme(self, which: Literal["max", "min", "absmax"]) -> Extreme | None:
        best: Extreme | None = None
        sign = {"max": lambda v: v, "min": lambda v: -v, "absmax": abs}[which]
        for one in self._run._opened().reduce(self._choice, True):
            if one[which] is not None:
                found = Extreme(**one[which])
                if best is None or sign(found.value) > sign(best.value):
                    best = found
        return best

    def max(self) -> Extreme | None:
        """The largest value of all frames with its place; None without numbers."""
        return self._extreme("max")

    def min(self) -> Extreme | None:
        """The least value of all frames with its place."""
        return self._extreme("min")

    def absmax(self) -> Extreme | None:
        """The value farthest from 0, with its sign."""
        return self._extreme("absmax")

    def reduce(self) -> list[Reduced]:
        """Extremes, exact sum and mean, frame by frame."""
        made = []
        for one in self._run._opened().reduce(self._choice, False):
            for which in ("max", "min", "absmax"):
                one[which] = None if one[which] is None else Extreme(**one[which])
            made.append(Reduced(**one))
        return made

    def probe(self, points: npt.ArrayLike, *, nearest: bool = False) -> Probed:
        """Values at (n, 3) points of the mesh as it is stored; outside NaN, or those of the closest place."""
        frames, element, values = self._run._opened().probe(self._choice, points, nearest)
        return Probed(tuple(Frame(**one) for one in frames), element, values)

    def line(self, a: npt.ArrayLike, b: npt.ArrayLike, count: int, *, nearest: bool = False) -> Probed:
        """Values at ``count`` points from ``a`` to ``b`` at equal distances."""
        return self.probe(_core.line_points(a, b, count), nearest=nearest)

    def map_to(
        self,
        target: _core.Mesh,
        *,
        at: Literal["nodes", "points", "elements"] = "nodes",
        distance: float = 0.0,
        donor_faces: _core.FaceList | None = None,
        faces: _core.FaceList | None = None,
        sides: Literal["any", "same", "opposite"] = "any",
    ) -> Mapped:
        """Values at nodes, integration points or elements of another mesh; outside within ``distance`` or NaN.

        With faces of both meshes those of the closest point of ``donor_faces``.
        """
        rows = self._run._opened().map_to(self._choice, target, at, distance, donor_faces, faces, sides)
        frames, values, unmapped, largest = rows
        return Mapped(tuple(Frame(**one) for one in frames), values, unmapped, largest)

    def transfer(
        self,
        target: _core.Mesh,
        donor_faces: _core.FaceList,
        faces: _core.FaceList,
        *,
        distance: float,
        sides: Literal["any", "same", "opposite"] = "any",
    ) -> list[Loads]:
        """A pressure or traction as forces at nodes, frame by frame, with the same resultant force and moment."""
        loads = []
        for one in self._run._opened().transfer(self._choice, target, donor_faces, faces, distance, sides):
            names = [field.name for field in fields(Loads) if field.name != "frame"]
            values = {name: one.pop(name) for name in names}
            loads.append(Loads(frame=Frame(**one), **values))
        return loads

    def integral(self, surface: str | None = None, *, flux: bool = False) -> list[Integral]:
        """Over the elements, frame by frame; or over a surface by its name, with ``flux`` of vectors through it."""
        core = self._run._opened()
        rows = core.integrals(self._choice) if surface is None else core.face_integrals(self._choice, surface, flux)
        return [Integral(**{k: v for k, v in one.items() if k != "value"}) for one in rows]

    def resultant(self, about: npt.ArrayLike = (0.0, 0.0, 0.0)) -> list[Resultant]:
        """Sum of vectors at nodes, and of their moments about a point, frame by frame."""
        rows = self._run._opened().resultants(self._choice, about)
        return [Resultant(**{k: v for k, v in one.items() if k != "value"}) for one in rows]

    def histogram(self, intervals: int = 10) -> tuple[float, float, npt.NDArray[np.int64]]:
        """Least and largest value, and the counts in equal intervals between them."""
        return self._run._opened().histogram(self._choice, intervals)

    def envelope(self, kind: Envelope) -> FieldArray:
        """Over the frames, place by place, with the frame of each value."""
        return _array(self._run._opened().over(self._choice, kind))

    def history(self) -> History:
        """Frame by frame at the places of the first frame."""
        frames, values, places = self._run._opened().series(self._choice)
        domain = np.array([one["value"] for one in frames])
        step = frames[0]["step"] if frames else ""
        return History(self._name, step, domain, values, places=_array(places))

    # compute
    def _arithmetic(self, formula: str, *others: Field | float) -> Field:
        operands: list[_core.FieldChoice] = []
        texts = []
        names = []
        for one in (self, *others):
            if isinstance(one, Field):
                if one._run._key != self._run._key:
                    raise ValueError("fields of two runs cannot be computed together")
                texts.append(f"a{len(operands)}")
                names.append(one._name)
                operands.append(one._choice)
            else:
                texts.append(f"({float(one)!r})")
                names.append(repr(one))
        return self._with(_core.arithmetic(formula.format(*texts), operands), "(" + formula.format(*names) + ")")

    def __add__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} + {1}", other)

    def __radd__(self, other: float) -> Field:
        return self._arithmetic("{1} + {0}", other)

    def __sub__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} - {1}", other)

    def __rsub__(self, other: float) -> Field:
        return self._arithmetic("{1} - {0}", other)

    def __mul__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} * {1}", other)

    def __rmul__(self, other: float) -> Field:
        return self._arithmetic("{1} * {0}", other)

    def __truediv__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} / {1}", other)

    def __rtruediv__(self, other: float) -> Field:
        return self._arithmetic("{1} / {0}", other)

    def __pow__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} ^ {1}", other)

    def __neg__(self) -> Field:
        return self._arithmetic("0 - {0}")

    def __abs__(self) -> Field:
        return self._arithmetic("abs({0})")

    def __lt__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} < {1}", other)

    def __le__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} <= {1}", other)

    def __gt__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} > {1}", other)

    def __ge__(self, other: Field | float) -> Field:
        return self._arithmetic("{0} >= {1}", other)

    def __repr__(self) -> str:
        return f"<Field {self._name} of {self._run._key}>"


def where(condition: Field, then: Field | float, otherwise: Field | float) -> Field:
    """A field with ``then`` where the condition is not 0, else ``otherwise``."""
    return condition._arithmetic("if({0}, {1}, {2})", then, otherwise)


class Run:
    """Results of one analysis of a mesh, as they are stored in a model: `Model.results`.

    A run reads what it is asked for; it needs its model open.
    """

    def __init__(self, model: Model, root: str) -> None:
        self._model, self._key = model, root
        header = self._opened().header()
        self.name: str = header["name"] or root.rsplit("/", 1)[1]
        self._mesh_root: str = header["mesh_root"]
        self.description: str = header["description"]
        self.program: str = header["program"]
        self.units: str = header["units"]
        self.variables = {one["name"]: Variable(**one) for one in header["variables"]}
        self.steps = {one["name"]: Step(**one) for one in header["steps"]}
        self.categories = {one["name"]: Category(**one) for one in header["categories"]}

    def _opened(self) -> _core.Run:
        return self._model._run(self._key)

    @property
    def mesh(self) -> _core.Mesh:
        """The mesh of the results, read when it is first needed; the same object as `Model.meshes` gives."""
        self._opened().mesh()  # raises when the stored mesh is not the one of the run
        return self._model._mesh(self._mesh_root)

    def field(
        self,
        variable: str,
        *,
        step: str | int | None = None,
        frame: int | None = None,
        frames: tuple[int, int] | tuple[int, int, int] | None = None,
        value: float | None = None,
        interpolate: Literal["nearest", "exact", "linear"] = "nearest",
        mode: int | None = None,
        **places: Any,
    ) -> Field:
        """Values of a variable, narrowed by what is given; nothing given means all frames and places.

        Frames: ``step`` by name or number from 1, ``frame`` from 0 (-1: the last), ``frames=(first, last[, stride])``,
        ``value`` of time or frequency, ``mode``. Places: ``position``, ``block``, ``category``, ``region`` (a set),
        ``nodes``, ``elements`` (indices), ``node_labels``, ``element_labels``, ``box``, ``section`` (``"top"``,
        ``"bottom"``, ``"both"``, ``"envelope"`` or a label) and ``points`` from 1.
        """
        if variable not in self.variables:
            raise KeyError(f'there is no variable "{variable}"{_core.alternatives(variable, list(self.variables))}')
        return Field(self, self._choice(variable, False, step, frame, frames, value, interpolate, mode, places), variable)

    def expression(
        self,
        formula: str,
        *,
        step: str | int | None = None,
        frame: int | None = None,
        frames: tuple[int, int] | tuple[int, int, int] | None = None,
        **places: Any,
    ) -> Field:
        """One number for each place by a formula in text: ``"S.mises / 235 * (T > 0.1)"``; angles are radians."""
        return Field(self, self._choice(formula, True, step, frame, frames, None, "nearest", None, places), formula)

    @staticmethod
    def _choice(
        text: str,
        is_formula: bool,
        step: str | int | None,
        frame: int | None,
        frames: Any,
        value: float | None,
        interpolate: str,
        mode: int | None,
        places: dict[str, Any],
    ) -> _core.FieldChoice:
        chosen: dict[str, Any] = {"step": step, "frame": frame, "frames": frames, "mode": mode, **places}
        if value is not None:
            chosen["value"] = (value, interpolate)
        return _core.FieldChoice(text, is_formula, {key: one for key, one in chosen.items() if one is not None})

    @property
    def histories(self) -> list[History]:
        """The histories that were stored as such."""
        return [History(n, step, domain, values, place) for n, step, place, domain, values in self._opened().histories()]

    def history(self, variable: str, *, node: int | None = None, element: int | None = None, **choices: Any) -> History:
        """A variable over the frames at a node or element, by label, or at other places as in `field`."""
        if node is not None:
            choices["node_labels"] = [node]
        if element is not None:
            choices["element_labels"] = [element]
        return self.field(variable, **choices).history()

    def envelope(
        self, variable: str, kind: Envelope, *, invariant: str | None = None, component: str | None = None, **choices: Any
    ) -> FieldArray:
        """The worst or mean of several frames, place by place; the invariant is taken in each frame first."""
        field = self.field(variable, **choices)
        field = field if invariant is None else field.invariant(invariant)
        return (field if component is None else field.component(component)).envelope(kind)

    def derive(
        self, name: str, formula: str, *, unit: str = "", dtype: Literal["float32", "float64"] = "float32", **choices: Any
    ) -> int:
        """Stores a new variable by a formula, in every frame that has what it needs; the number of values.

        `DataError`, before anything is stored, when a frame has the variable already.
        """
        self._model._check_writable()
        where = self.expression(formula, **choices)._choice
        count = self._opened().derive(name, formula, unit, dtype == "float64", where)[1]
        self._model._forget_runs()
        self.__init__(self._model, self._key)  # type: ignore[misc]
        return count

    def __repr__(self) -> str:
        frames = sum(len(step.values) for step in self.steps.values())
        return f"<Run {self._key} {frames} frames: {', '.join(self.variables)}>"
