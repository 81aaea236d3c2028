"""Tables for other packages: pandas, Arrow, SciPy, notebooks."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import fields, is_dataclass
from typing import Any

import numpy as np

from . import _core
from ._bridges.cells import require
from ._result_tables import FieldArray

_MOST_DRAWN = 2_000_000


def columns(what: Any, kind: str = "nodes") -> dict[str, Any]:
    """The columns of a mesh's nodes or elements, of values with their places, of measures, or of a list of findings."""
    if isinstance(what, _core.Mesh):
        return _of_mesh(what, kind)
    if isinstance(what, FieldArray):
        section = np.array([block.section_point for block in what.blocks] or [""])[what.block]
        places = {"label": what.label, "index": what.index, "point": what.point, "section_point": section}
        return places | {name or "value": what.values[:, i] for i, name in enumerate(what.components)}
    if isinstance(what, _core.Measures):
        return _of_measures(what)
    if isinstance(what, Sequence) and all(is_dataclass(one) for one in what):
        names = [field.name for field in fields(what[0])] if what else []
        return {name: [getattr(one, name) for one in what] for name in names}
    raise TypeError(f"there is no table of {type(what).__name__}")


def _of_mesh(mesh: _core.Mesh, kind: str) -> dict[str, Any]:
    if kind == "nodes":
        count = mesh.num_nodes
        label = np.arange(1, count + 1, dtype=np.int32) if mesh.node_labels is None else mesh.node_labels
        axes = {name: mesh.nodes[:, i] for i, name in enumerate("xyz")}
        return {"label": label, "index": np.arange(count, dtype=np.int32)} | axes
    if kind != "elements":
        raise ValueError(f'kind "{kind}" is none of nodes, elements')
    most = max((block.connectivity.shape[1] for block in mesh.blocks), default=0)
    rows = np.full((mesh.num_elements, most), -1, np.int32)
    for block in mesh.blocks:
        first = block.first_element
        rows[first : first + block.num_elements, : block.connectivity.shape[1]] = block.connectivity
    counts = [block.num_elements for block in mesh.blocks]
    table: dict[str, Any] = {"label": mesh.element_labels, "index": np.arange(mesh.num_elements, dtype=np.int32)}
    table["block"] = np.repeat(np.arange(len(counts), dtype=np.int32), counts)
    table["type"] = np.repeat([block.type for block in mesh.blocks], counts)
    return table | {f"node_{i}": rows[:, i] for i in range(most)}


def _of_measures(measures: _core.Measures) -> dict[str, Any]:
    names = ("length", "area", "volume", "mass")
    moments = [getattr(measures, name) for name in names]
    centres = np.array([np.full(3, np.nan) if one.centre is None else one.centre for one in moments])
    table: dict[str, Any] = {"measure": names, "total": [one.total for one in moments]}
    table["signed_total"] = [one.signed_total for one in moments]
    return table | {axis: centres[:, i] for i, axis in enumerate("xyz")}


def to_pandas(what: Any, kind: str = "nodes") -> Any:
    """A pandas.DataFrame of a mesh (``kind`` "nodes" or "elements"), a `FieldArray`, or a list such as of findings."""
    return require("pandas", "to_pandas").DataFrame(columns(what, kind))


def to_arrow(what: Any, kind: str = "nodes") -> Any:
    """A pyarrow.Table with the columns of `to_pandas`."""
    return require("pyarrow", "to_arrow").table(columns(what, kind))


def to_scipy(rows: _core.Rows, shape: tuple[int, int] | None) -> Any:
    sparse = require("scipy.sparse", "to_scipy")
    if shape is None:
        shape = (len(rows), int(rows.items.max(initial=-1)) + 1)
    return sparse.csr_array((np.ones(len(rows.items), np.int8), rows.items, rows.first), shape=shape)


def _facts(mesh: _core.Mesh) -> list[tuple[str, str]]:
    """What a text and a page say of a mesh."""

    def labels(own: Any) -> str:
        return "no labels" if own is None else f"labels {own.min()} to {own.max()}" if len(own) else "labels"

    own = mesh.element_labels if any(block.labels is not None for block in mesh.blocks) else None
    axes = ", ".join(f"{name} {low:g} to {high:g}" for name, (low, high) in zip("xyz", mesh.bounds.T, strict=True))
    return [
        ("nodes", f"{mesh.num_nodes}, {labels(mesh.node_labels)}"),
        ("elements", f"{mesh.num_elements}, {labels(own)}"),
        ("bounds", axes if mesh.num_nodes else "none"),
    ]


def text_of(mesh: _core.Mesh) -> str:
    """Counts, ranges of labels, bounds, and a line for each block."""
    rows = _facts(mesh) + [
        (f"block {i}", f"{block.type} ×{block.num_elements} {block.category}".rstrip()) for i, block in enumerate(mesh.blocks)
    ]
    return "\n".join([repr(mesh), *(f"  {name:<9}{text}" for name, text in rows)])


def html_of(mesh: _core.Mesh) -> str:
    """A table of the blocks and, of meshes that are not too large, a small picture; for notebooks."""
    import base64
    import html

    cells = [
        f"<tr><td>{i}</td><td>{html.escape(block.type)}</td><td>{block.num_elements}</td>"
        f"<td>{html.escape(block.category)}</td></tr>"
        for i, block in enumerate(mesh.blocks)
    ]
    head = "<tr><th>block</th><th>type</th><th>elements</th><th>category</th></tr>"
    facts = "<br>".join(html.escape(f"{name}: {text}") for name, text in _facts(mesh))
    text = f"<p>{html.escape(repr(mesh))}</p><p>{facts}</p><table>{head}{''.join(cells)}</table>"
    if 0 < mesh.num_elements <= _MOST_DRAWN:
        from ._errors import Error
        from ._pictures import picture

        try:
            drawn = base64.b64encode(picture(mesh, size=(320, 240), plain=True).png).decode()
        except Error:  # nothing to see
            return text
        text += f'<img width="320" height="240" src="data:image/png;base64,{drawn}">'
    return text
