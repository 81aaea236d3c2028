"""All element types by label."""

from __future__ import annotations

from collections.abc import Iterator, Mapping

from . import _core


class _Shapes(Mapping[str, _core.Shape]):
    """The shapes of all element types, by label in upper or lower case; `UnknownTypeError`.

    >>> import coregeometry as cg
    >>> len(cg.shapes), cg.shapes["c3d20r"].num_nodes, "C3D9" in cg.shapes
    (695, 20, False)
    """

    def __init__(self) -> None:
        self._labels = _core.shape_labels()

    def __len__(self) -> int:
        return len(self._labels)

    def __iter__(self) -> Iterator[str]:
        return iter(self._labels)

    def __getitem__(self, label: str) -> _core.Shape:
        return _core.Shape(label)


shapes = _Shapes()
