"""Meshes and blocks: what they refuse, what they answer, and how long their views live."""

import copy
import gc
import pickle
import weakref

import numpy as np
import pytest
from conftest import box

import coregeometry as cg

NODES = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0], [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]], np.float32)
HEX = np.arange(8)[None, :]
SHELLS = [("S4", [[0, 1, 2, 3]]), ("S3", [[4, 5, 6]])]


def mesh_of(nodes=NODES, rows=HEX, type="C3D8R", **options):
    return cg.Mesh(nodes, {type: rows}, **options)


BAD = [
    (lambda: mesh_of(rows=HEX.astype(float)), TypeError, "integers are needed, not float64"),
    (lambda: mesh_of(rows=HEX > 0), TypeError, "not bool"),
    (lambda: mesh_of(rows=HEX + 0j), TypeError, "not complex128"),
    (lambda: mesh_of(rows=HEX.astype(object)), TypeError, "not object"),
    (lambda: mesh_of(rows=HEX[0]), ValueError, "shape (8,)"),
    (lambda: mesh_of(rows=[[0, 1, 2]]), ValueError, "C3D8R has 8 nodes, rows have 3"),
    (lambda: mesh_of(rows=[[0, 1], [2]]), ValueError, "different lengths"),
    (lambda: mesh_of(rows=HEX + 1), IndexError, "block 0 (C3D8R), element 0: node 8 of 8"),
    (lambda: mesh_of(rows=HEX + 2**32), IndexError, "node 4294967296 of 8"),
    (lambda: mesh_of(rows=HEX.astype(np.uint64) + np.uint64(2**63)), IndexError, "node 9223372036854775808 of 8"),
    (lambda: mesh_of(rows=HEX.astype(np.int8) - 1), IndexError, "node -1 of 8"),
    (lambda: cg.Mesh(NODES, [cg.Block("C3D8R", HEX + 1)]), IndexError, "node 8 of 8"),
    (lambda: cg.Block("C3D8R", HEX + 2**32), IndexError, "is no index"),
    (lambda: mesh_of(type="C3D8Q"), cg.UnknownTypeError, "block 0 (C3D8Q): unknown element type; did you mean"),
    (lambda: mesh_of(nodes=NODES[:, :1]), ValueError, "shape (8, 1) is not (n, 3) or (n, 2)"),
    (lambda: mesh_of(nodes=np.where(NODES == 1, 1e300, NODES.astype(float))), ValueError, "row 1 is too large"),
    (lambda: mesh_of(nodes=NODES + 0j), TypeError, "not complex64"),
    (lambda: mesh_of(node_labels=[1, 2]), ValueError, "2 labels for 8 nodes"),
    (lambda: mesh_of(node_labels=np.arange(8) + 2**31), OverflowError, "label 2147483648 at position 0"),
    (lambda: mesh_of(node_labels=[1, 1, 2, 2, 3, 3, 4, 4]), ValueError, "4 node labels are given twice: 1, 2, 3, 4"),
    (lambda: cg.Mesh(NODES, [cg.Block("S3", [[0, 1, 2]], labels=[1]), SHELLS[0]]), ValueError, "all or no blocks"),
    (lambda: cg.Block("C3D8R", HEX, labels=[1, 2]), ValueError, "2 labels for 1 elements"),
    (lambda: mesh_of(placement=np.ones((4, 4))), ValueError, "last row"),
    (lambda: mesh_of(type=3), TypeError, "pair (type, array)"),
    (lambda: cg.Mesh(NODES, {}, type="Other mesh"), cg.EnumTextError, "Other mesh"),
    (lambda: cg.Controls(colour="red"), TypeError, "no field"),
    (lambda: cg.Controls(stress_rate="Fast"), cg.EnumTextError, "Fast"),
    (lambda: mesh_of().node_index(5), cg.UnknownLabelError, "no node has the label 5"),
    (lambda: mesh_of().element_nodes(-1), IndexError, "element -1 of 1"),
    (lambda: mesh_of().element_nodes(2**32), IndexError, "of 1"),
    (lambda: mesh_of().with_nodes(NODES[1:]), ValueError, "7 rows for 8 nodes"),
    (lambda: mesh_of().transformed(np.eye(3)), ValueError, "(4, 4) or (3, 4)"),
]


@pytest.mark.parametrize(("call", "error", "words"), BAD, ids=range(len(BAD)))
def test_bad_input_is_refused_by_name(call, error, words):
    with pytest.raises(error) as raised:
        call()
    assert words in str(raised.value)


@pytest.mark.parametrize(
    "change",
    [
        np.asfortranarray,
        lambda a: np.repeat(a, 2, axis=0)[::2],
        lambda a: a.tolist(),
        lambda a: a.astype(a.dtype.newbyteorder()),
        lambda a: a.astype(np.float16 if a.dtype.kind == "f" else np.uint64),
        lambda a: a.astype(np.longdouble if a.dtype.kind == "f" else np.int16),
    ],
)
def test_any_layout_and_type_gives_the_same_numbers(change):
    nodes, rows = change(NODES), change(np.vstack([HEX, HEX[:, ::-1]]))
    if isinstance(nodes, np.ndarray):
        nodes.flags.writeable = False
    made = mesh_of(nodes=nodes, rows=rows, type="c3d8r")
    np.testing.assert_array_equal(made.nodes, NODES)
    np.testing.assert_array_equal(made.blocks[0].connectivity, np.vstack([HEX, HEX[:, ::-1]]))
    assert made.blocks[0].type == "C3D8R"


def test_views_share_memory_and_outlive_the_mesh(cube):
    views = [cube.nodes, cube.node_labels, cube.blocks[0].connectivity, cube.blocks[0].labels]
    again = [cube.nodes, cube.node_labels, cube.blocks[0].connectivity, cube.blocks[0].labels]
    kept = [view.copy() for view in views]
    for view, other in zip(views, again, strict=True):
        assert np.shares_memory(view, other)
        assert view.flags.c_contiguous and not view.flags.writeable
        assert view.ctypes.data % 64 == 0
        with pytest.raises(ValueError, match="writeable|WRITEABLE"):
            view.flags.writeable = True
    moved = cube.transformed(np.diag([2, 2, 2, 1]))
    assert not np.shares_memory(moved.nodes, cube.nodes)
    assert np.shares_memory(moved.blocks[0].connectivity, cube.blocks[0].connectivity)
    gone = weakref.ref(cube)
    mine = box(2)
    view, one = mine.nodes, mine.element_nodes(3)
    del mine
    gc.collect()
    np.testing.assert_array_equal(view, kept[0])
    np.testing.assert_array_equal(one, kept[2][3])
    assert gone() is cube


def test_properties_labels_and_equality(cube):
    assert (cube.num_nodes, cube.num_elements, cube.dimension, cube.type, cube.id) == (27, 8, 3, "Orphan mesh", 0)
    np.testing.assert_array_equal(cube.bounds, [[0, 0, 0], [2, 2, 2]])
    assert repr(cube) == "<Mesh 27 nodes, 8 elements: C3D8R ×8>"
    assert cube.node_index(1001) == 0 and type(cube.node_index(1001)) is int
    np.testing.assert_array_equal(cube.element_index([508, 501, 501]), [7, 0, 0])
    np.testing.assert_array_equal(cube.node_index([1027, 5], missing=-1), [26, -1])
    with pytest.raises(KeyError, match="2 labels are unknown") as raised:
        cube.node_index(np.array([1001, 7, 1002, 8]))
    assert raised.value.labels == (7, 8)
    with pytest.raises(TypeError):
        hash(cube)
    assert cube == box(2) and cube != box(2, labels=False) and cube != 3
    assert cube.with_labels(nodes=None, elements=np.arange(8)) != cube
    np.testing.assert_array_equal(box(2, labels=False).element_labels, np.arange(8) + 1)
    assert cube.inverted().inverted() == cube != cube.inverted([3])
    shells = cg.Mesh(NODES[:, :2].astype(float) + 0.1, SHELLS)
    assert shells.dimension == 2 and 0 < shells.rounding < 1e-7 and not shells.nodes[:, 2].any()
    assert [block.first_element for block in shells.blocks] == [0, 1]
    np.testing.assert_array_equal(shells.element_block([1, 0]), [1, 0])
    assert np.isnan(cg.Mesh([], {}).bounds).all()


@pytest.mark.parametrize("protocol", [2, 5])
def test_copies_and_pickles(cube, protocol):
    assert copy.deepcopy(cube) == cube
    assert np.shares_memory(copy.copy(cube).nodes, cube.nodes)
    controls = cg.Controls(stress_rate="Spin", weight_factor=0.25)
    assert controls != cg.Controls() and controls.weight_factor == 0.25
    assert eval(repr(controls), {"Controls": cg.Controls}) == controls
    block = cg.Block("XYZ9", [[0, 1]], labels=[7], category="odd", controls=controls, unknown_types="keep")
    mesh = cg.Mesh(NODES, [block], placement=np.eye(4)[:3], dimension=2, unknown_types="keep")
    back = pickle.loads(pickle.dumps(mesh, protocol))
    assert back == mesh and back.blocks[0].controls == controls and not back.blocks[0].is_supported
    np.testing.assert_array_equal(back.placement, np.eye(4))
    if protocol == 5:
        buffers = []
        data = pickle.dumps(cube, protocol, buffer_callback=buffers.append)
        assert len(buffers) == 4 and pickle.loads(data, buffers=buffers) == cube


def test_lists_and_sets_are_pickled_with_their_mesh_once(cube):
    elements = cube.select_elements(indices=[2, 5])
    lists = [cube.select_nodes(indices=[1, 9]), elements, elements.external_faces(), cube.select_edges(indices=[[3, 5, 2]])]
    sets = [cg.NamedSet("some", one, internal=True) for one in lists] + [cg.NamedSet("both", [elements, lists[2]])]
    data = pickle.dumps([sets, lists, cube, cube.transformed(np.eye(4))])
    own, listed, mesh, other = pickle.loads(data)
    assert len(data) < 3 * len(pickle.dumps(cube)) and mesh == cube and other == cube
    for made, one in zip(listed, lists, strict=True):
        assert list(made) == list(one) and made.mesh == mesh and not len(made & ~made)
        assert list(mesh.select_nodes(set=made)) == list(cube.select_nodes(set=one))
    for made, one in zip(own, sets, strict=True):
        assert (made.name, made.kind, made.internal, len(made)) == (one.name, one.kind, one.internal, len(one))
        assert [list(part) for part in made.items] == [list(part) for part in one.items]
    assert [type(part).__name__ for part in sets[-1].items] == ["ElementList", "FaceList"] and not sets[-1].internal
    assert copy.deepcopy(sets[2]) == sets[2] and copy.copy(elements) == elements and elements.nodes().nodes() == elements.nodes()
    with pytest.raises(TypeError, match="MeshEditor cannot be pickled"):
        pickle.dumps(cube.edit())


def test_texts_of_a_mesh(cube):
    lines = str(cube).splitlines()
    assert lines[0] == repr(cube) and lines[2].split() == ["elements", "8,", "labels", "501", "to", "508"]
    assert "x 0 to 2" in lines[3] and lines[4].endswith("C3D8R ×8 solid") and "x 0 to 2" in cube._repr_html_()
    assert "no labels" in str(box(1, labels=False)) and "none" in str(cg.Mesh([], {}))
    assert cube.blocks[0].shape == cg.shapes["C3D8R"]
    assert cg.Block("XYZ9", [[0, 1]], unknown_types="keep").shape is None


def test_check_names_faults_and_notes(cube):
    assert cube.check() == []
    found = cube.inverted([0]).check()
    assert (found[0].weight, found[0].labels, found[0].count) == ("fault", (501,), 1)


def test_views_do_not_leak(cube):
    def used():
        return int(open("/proc/self/statm").read().split()[1])

    big = box(20)
    for _ in range(1000):
        big.nodes, big.blocks[0].connectivity, big.element_labels
    before = used()
    for _ in range(10000):
        big.nodes, big.blocks[0].connectivity, big.element_labels
    assert used() - before < 1000
