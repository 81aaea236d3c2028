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
    left, right = (cg.NamedSet("face", one.select_faces(indices=[[3, 1]])) for one in (mesh, mirrored))
    again = cg.combine({"a": mesh, "b": mirrored}, labels="offset", sets=[left, right])
    assert sorted(again.sets) == ["a.face", "b.face"]
    assert {tuple(one.faces())[0][0] for one in again.sets.values()} == {3, 11}
    with pytest.raises(ValueError, match="none of the meshes"):
        cg.combine([mesh], sets=[right])


def test_quality():
    mesh = box(2)
    found = mesh.quality(["scaled_jacobian", "size"])
    assert found["scaled_jacobian"] == pytest.approx(np.ones(8)) and mesh.element_sizes() == pytest.approx(np.ones(8))


def plate():
    """4 x 3 unit quadrilaterals in the plane y = 0, the second one turned over, with a set of the nodes of z = 0."""
    nodes = np.array([[x, 0, z] for z in range(4) for x in range(5)], float)
    quads = np.array([[a, a + 1, a + 6, a + 5] for z in range(3) for a in range(5 * z, 5 * z + 4)])
    mesh = cg.Mesh(nodes, {"S4": quads}).reverse([1]).mesh
    return mesh, cg.NamedSet("low", mesh.select_nodes(indices=np.flatnonzero(nodes[:, 2] == 0)))


def test_surfaces_become_solids_of_known_volume():
    mesh, low = plate()
    oriented, branching, one_sided = mesh.orient(direction=[0, 1, 0])
    assert len(oriented.elements) in (1, 11) and not len(branching) and not len(one_sided)
    swept = mesh.extrude([0, 2, 1], 3, sets=[low])
    assert swept.mesh.measure().volume.total == pytest.approx(24) and set(swept.sets) == {"low", "bottom", "top"}
    assert len(swept.sets["low"].nodes()) == 5 * 4 and len(swept.sets["top"].faces()) == 12
    ring = mesh.revolve(2 * np.pi, [0, 0, 1], [-1, 0, 0], 16)
    assert ring.mesh.measure().volume.total == pytest.approx(16 * np.sin(np.pi / 8) * 12 * 3, rel=1e-6)
    for side in ("top", "bottom", "both"):
        assert oriented.mesh.offset(0.5, side, 2).mesh.measure().volume.total == pytest.approx(6)
    with pytest.raises(cg.DataError, match="without volume"):
        mesh.extrude([1, 0, 0])


def test_new_nodes_and_sections_have_values_between_the_old_ones():
    mesh = box(3)
    values = mesh.nodes @ [1, 2, 3] + 4
    for edited in (mesh.change_order(True), mesh.split(), mesh.refine(), mesh.section([0.3, 0.4, 0.5], [1, 2, -1])[0]):
        assert edited.interpolate(values) == pytest.approx(edited.mesh.nodes @ [1, 2, 3] + 4, abs=1e-5)
        assert edited.interpolate(mesh.nodes) == pytest.approx(edited.mesh.nodes, abs=1e-5)
    _, facts = mesh.section([0.5, 0, 0], [1, 0, 0])
    side = np.ptp(mesh.nodes[:, 0])
    assert facts["area"] == pytest.approx(side**2) and facts["largest"] == pytest.approx(side**4 / 12)
    assert mesh.change_order(True).mesh.num_elements == 27 and mesh.refine().mesh.num_elements == 8 * 27


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


def test_an_editor_changes_nothing_before_it_finishes():
    mesh, kept = box(2), box(2)
    view = mesh.nodes
    editor = mesh.edit()
    new = editor.append_nodes(mesh.nodes[18:] + np.float32([0, 0, 1]))
    first = editor.append_elements(0, [[18, 19, 22, 21, *(new[[0, 1, 4, 3]])]])
    shells = editor.add_block(cg.Block("S4", [new[[0, 1, 4, 3]]]))
    assert (new.tolist(), first.tolist(), shells) == (list(range(27, 36)), [8], 1)
    assert mesh == kept and np.array_equal(view, kept.nodes)
    editor.remove_elements([0])
    editor.remove_nodes([len(kept.nodes) + 8])
    made = editor.finish()
    assert (made.num_nodes, made.num_elements, mesh == kept, editor.mesh is not None) == (35, 9, True, True)
    assert made.node_labels.tolist() == list(range(1001, 1036)) and made.element_labels.tolist()[-2:] == [509, 510]
    assert made.measure().volume.total == pytest.approx(8)
    assert [one.weight for one in made.check()] == ["note", "note"]
    with pytest.raises(RuntimeError, match="has finished"):
        editor.append_nodes([[0, 0, 0]])

    with torn().edit() as again:
        assert again.merge_nodes(1e-6) == 4
        again.remove_elements([2])
        again.set_labels(elements=[7, 5])
    assert again.mesh.num_nodes == 13 and again.mesh.element_labels.tolist() == [7, 5]
    with again.mesh.edit() as last:
        last.remove_block(0)
    assert last.mesh.num_elements == 0 and last.mesh.num_nodes == 13
    with pytest.raises(ZeroDivisionError), mesh.edit() as dropped:
        dropped.remove_block(0)
        1 / 0
    with pytest.raises(RuntimeError, match="not finished"):
        dropped.mesh
    empty = cg.Mesh(np.zeros((8, 3)), [cg.Block("C3D8", [], category="a")]).edit()
    assert empty.append_elements(0, [range(8)], labels=[30]).tolist() == [0]
    assert empty.finish().blocks[0].category == "a"


EDITS = [
    (lambda e: e.append_nodes([[1, 2, 1e300]]), ValueError, "too large"),
    (lambda e: e.append_nodes([[1, 2, 3]], labels=[1, 2]), ValueError, "2 labels for 1 nodes"),
    (lambda e: e.append_elements(0, [[0, 1]]), ValueError, "C3D8R has 8 nodes, rows have 2"),
    (lambda e: e.append_elements(0, [[27] * 8]), IndexError, "node 27 of 27"),
    (lambda e: e.append_elements(1, [[0] * 8]), IndexError, "block 1 of 1"),
    (lambda e: e.add_block(cg.Block("S4", [[0, 1, 2, 27]])), IndexError, "block 1 (S4), element 0: node 27 of 27"),
    (lambda e: e.remove_nodes([0]), cg.DataError, "1001"),
    (lambda e: e.remove_elements([-1]), IndexError, "element -1 of 8"),
    (lambda e: e.merge_nodes(-1.0), cg.DataError, "tolerance"),
    (lambda e: e.set_labels(nodes=[1]), ValueError, "1 labels for 27 nodes"),
    (lambda e: (e.append_nodes([[9, 9, 9]], labels=[1001]), e.finish()), ValueError, "given twice: 1001"),
    (lambda e: box(1, labels=False).edit().append_nodes([[9, 9, 9]], labels=[1]), ValueError, "have no labels"),
]


@pytest.mark.parametrize("edit, error, words", EDITS, ids=range(len(EDITS)))
def test_wrong_steps_leave_an_editor_as_it_was(edit, error, words):
    editor = box(2).edit()
    with pytest.raises(error) as raised:
        edit(editor)
    assert words in str(raised.value)
    if "1001" not in words:
        assert editor.finish() == box(2)
