"""Editing: the new mesh, its sets, and the way from the old one."""

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


def torn():
    """Two cubes side by side with nodes of their own, one element twice, and a node that no element has."""
    one = box(1)
    nodes = np.concatenate([one.nodes, one.nodes + [1, 0, 0], [[9, 9, 9]]])
    rows = np.concatenate([one.blocks[0].connectivity, one.blocks[0].connectivity + 8, one.blocks[0].connectivity])
    return cg.Mesh(nodes, {"C3D8": rows}, node_labels=np.arange(17) + 1)


def test_merging_and_cleaning():
    mesh = torn()
    low = cg.NamedSet("right", mesh.select_nodes(box=([1.5, -1, -1], [2.5, 9, 9])))
    merged = mesh.merge_nodes(1e-6, sets=[low])
    assert (mesh.num_nodes, merged.mesh.num_nodes, len(merged.nodes)) == (17, 13, 4)
    assert merged.sets["right"].nodes().labels().tolist() == low.nodes().labels().tolist()
    assert np.array_equal(merged.mesh.nodes, mesh.nodes[merged.node_origin])
    clean = merged.mesh.clean()
    assert clean.elements.tolist() == [2] and clean.nodes.tolist() == [12]
    assert (clean.mesh.num_nodes, clean.mesh.num_elements, clean.element_map.tolist()) == (12, 2, [0, 1, -1])
    assert clean.mesh.measure().volume.total == pytest.approx(2)
    only = mesh.merge_nodes(1e-6, nodes=[1], others=[8, 9])
    assert only.nodes.tolist() == [8]


def test_parts_and_lists_that_are_sent():
    mesh = box(2)
    part = mesh.extract(mesh.select_elements(indices=[0, 3]))
    assert part.mesh.element_labels.tolist() == [501, 504] and part.element_origin.tolist() == [0, 3]
    sent = part.send(mesh.select_elements(indices=[3, 5]))
    assert sent.mesh == part.mesh and sent.labels().tolist() == [504]
    skin = mesh.extract(mesh.select_elements().external_faces())
    assert skin.mesh.num_elements == 24 and skin.mesh.blocks[0].type == "S4"
    assert mesh.remove(elements=[0]).mesh.num_elements == 7


def test_moving_and_numbering():
    mesh = box(2)
    mirrored = mesh.transform(np.diag([-1.0, 1, 1, 1])).mesh
    assert mirrored.measure().volume.signed_total == pytest.approx(8)
    assert mesh.renumber(nodes=(10, 10)).mesh.node_labels[:3].tolist() == [10, 20, 30]
    shuffled = mesh.reorder("curve")
    assert np.array_equal(shuffled.mesh.node_labels, mesh.node_labels[shuffled.node_origin])
    rows = mesh.reorder("bandwidth").mesh.blocks[0].connectivity
    assert shuffled.mesh.reorder("label").mesh == mesh
    assert mesh.reorder("bandwidth").mesh.bandwidth == (rows.max(axis=1) - rows.min(axis=1)).max()
    both = cg.combine({"a": mesh, "b": mirrored}, labels="offset")
    assert both.first_elements == [0, 8] and both.mesh.num_nodes == 54
    assert both.mesh.node_labels[27] == 1001 + 1027


def test_quality():
    mesh = box(2)
    found = mesh.quality(["scaled_jacobian", "size"])
    assert found["scaled_jacobian"] == pytest.approx(np.ones(8)) and mesh.element_sizes() == pytest.approx(np.ones(8))


@pytest.mark.parametrize(
    "edit, error, words",
    [
        (lambda m: m.merge_nodes(-1.0), cg.DataError, "tolerance"),
        (lambda m: m.remove(nodes=[0]), cg.DataError, "1001"),
        (lambda m: m.extract([99]), IndexError, "99 of 8"),
        (lambda m: m.extract(box(1).select_elements()), ValueError, "another mesh"),
        (lambda m: m.transform(np.zeros((3, 4))), cg.DataError, "flat"),
        (lambda m: m.renumber(nodes=(1, 0)), cg.DataError, "step"),
        (lambda m: m.reorder("size"), ValueError, "bandwidth, curve, label"),
        (lambda m: m.quality(["beauty"]), ValueError, "beauty"),
        (lambda m: cg.combine([m, m]), cg.DataError, "1001"),
        (lambda m: m.clean(sets=[cg.NamedSet("x", box(1).select_nodes())]), ValueError, "another mesh"),
    ],
)
def test_wrong_edits(edit, error, words):
    with pytest.raises(error, match=words):
        edit(box(2))
