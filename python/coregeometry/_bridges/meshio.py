"""Meshes of the package meshio."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from typing import Any

import numpy as np

from .. import _core
from .._files import Imported
from .._tables import Loss
from .cells import NAMES, SURFACE, Blocks, Unknown, finish, require, rows_for, split_sets, warn


def to_meshio(mesh: _core.Mesh, sets: Sequence[_core.NamedSet] = ()) -> Any:
    """A meshio.Mesh with labels, block numbers and sets; exact types are in ``info["coregeometry"]``."""
    meshio = require("meshio", "to_meshio")

    class Cells(meshio.CellBlock):  # type: ignore[misc, name-defined]
        """Cells that meshio has a name for but no dimension: its own writers still refuse them."""

        def __init__(self, cell_type: str, data: Any) -> None:
            tags: list[str] = []
            self.type, self.data, self.tags, self.dim = cell_type, data, tags, 3

    cells, starts, kept, losses = [], [], [], []
    for i, block in enumerate(mesh.blocks):
        made = rows_for(block)
        if made is None or made[0] not in NAMES:
            losses.append(Loss(f"block {i} of type {block.type}", block.num_elements))
            continue
        name = NAMES[made[0]]
        try:
            cells.append(meshio.CellBlock(name, made[1]))
        except KeyError:
            cells.append(Cells(name, made[1]))
        starts.append((block.first_element, block.num_elements))
        kept.append(i)
    labels = mesh.element_labels
    cell_data: dict[str, list[Any]] = {
        "ElementLabel": [labels[first : first + count] for first, count in starts],
        "ElementClass": [np.full(count, i, np.int32) for i, (_, count) in zip(kept, starts, strict=True)],
    }
    point_data = {} if mesh.node_labels is None else {"NodeLabel": mesh.node_labels}
    own = split_sets(mesh, sets)
    cell_sets = {
        name: [one[(one >= first) & (one < first + count)] - first for first, count in starts]
        for name, one in own.elements.items()
    }
    for name, bits in own.surfaces.items():
        cell_data[SURFACE + name] = [bits[first : first + count] for first, count in starts]
    warn("meshio", losses + own.losses)
    exact = {
        "types": [mesh.blocks[i].type for i in kept],
        "categories": [mesh.blocks[i].category for i in kept],
        "labels": any(block.labels is not None for block in mesh.blocks),
        "dimension": mesh.dimension,
    }
    return meshio.Mesh(
        mesh.nodes[:, : mesh.dimension] if mesh.dimension == 2 else mesh.nodes,
        cells,
        point_data=point_data,
        cell_data=cell_data,
        point_sets=own.nodes,
        cell_sets=cell_sets,
        info={"coregeometry": exact},
    )


def from_meshio(m: Any, types: Mapping[str, str] | None = None, unknown: Unknown = "keep") -> Imported:
    """The mesh and sets of a meshio.Mesh; see `coregeometry.from_meshio`."""
    points = np.asarray(m.points)
    dimension = 2 if points.shape[1] == 2 else 3
    exact = (m.info or {}).get("coregeometry", {}) if isinstance(getattr(m, "info", None), dict) else {}
    names, categories = exact.get("types", []), exact.get("categories", [])
    fits = len(names) == len(m.cells)
    labels = m.cell_data.get("ElementLabel") if exact.get("labels", True) else None
    blocks = Blocks(dimension, types, unknown)
    firsts: list[int] = []
    order = []
    first = own = 0
    for i, block in enumerate(m.cells):
        count = len(block.data)
        name = block.type
        if name.startswith(("polygon", "polyhedron")) and unknown != "skip":
            blocks.add(name, np.empty(count), "")
        made = blocks.add(
            name,
            block.data,
            names[i] if fits else "",
            None if labels is None else np.asarray(labels[i]),
            categories[i] if fits else "",
        )
        firsts.append(own if made else -1)
        if made:
            order.append(np.arange(first, first + count))
            own += count
        first += count
    element_sets = []
    for name, parts in (m.cell_sets or {}).items():
        chosen = [
            np.asarray(part, np.int64) + at
            for part, at in zip(parts, firsts, strict=True)
            if part is not None and at >= 0
        ]
        element_sets.append((name, np.concatenate(chosen) if chosen else np.empty(0, np.int64)))
    cell_order = np.concatenate(order) if order else np.empty(0, np.int64)
    surfaces = {
        name[len(SURFACE) :]: np.concatenate([np.asarray(part) for part in parts])[cell_order]
        for name, parts in m.cell_data.items()
        if name.startswith(SURFACE) and parts
    }
    node_labels = m.point_data.get("NodeLabel")
    node_sets = (m.point_sets or {}).items()
    return finish(points, blocks, node_labels, node_sets, element_sets, surfaces, cell_order, dimension)
