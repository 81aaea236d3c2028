"""Meshes that several tests use."""

import numpy as np
import pytest

import coregeometry as cg


def box(n, *, labels=True):
    """n x n x n unit hexahedra."""
    axis = np.arange(n + 1)
    z, y, x = np.meshgrid(axis, axis, axis, indexing="ij")
    nodes = np.stack([x.ravel(), y.ravel(), z.ravel()], axis=1).astype(np.float32)
    i, j, k = np.meshgrid(np.arange(n), np.arange(n), np.arange(n), indexing="ij")
    first = (i + (n + 1) * (j + (n + 1) * k)).ravel(order="F")
    row, layer = n + 1, (n + 1) ** 2
    hexes = first[:, None] + np.array([0, 1, 1 + row, row, layer, 1 + layer, 1 + row + layer, row + layer])
    named = np.arange(len(nodes)) + 1001 if labels else None
    block = cg.Block("C3D8R", hexes, labels=np.arange(len(hexes)) + 501 if labels else None, category="solid")
    return cg.Mesh(nodes, [block], node_labels=named)


@pytest.fixture
def cube():
    return box(2)
