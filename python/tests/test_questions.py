"""Measures, places, relations and files, against formulas and NumPy."""

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


def test_measures_of_a_box(cube):
    found = cube.measure(density=2.0)
    assert (found.num_elements, found.volume.total, found.mass.total) == pytest.approx((8, 8, 16))
    np.testing.assert_allclose(found.mass.centre, [1, 1, 1])
    np.testing.assert_allclose(found.mass.inertia, np.eye(3) * 16 * (4 + 4) / 12, atol=1e-12)
    np.testing.assert_allclose(found.mass.inertia_about([0, 1, 1])[1, 1], 16 * (8 / 12 + 1))
    np.testing.assert_allclose(found.mass.principal[0], [16 * 8 / 12] * 3)
    moved = found.mass.in_frame(cg.CoordinateSystem("cartesian", [1, 0, 0], [0, 1, 0], [-1, 0, 0]))
    np.testing.assert_allclose(moved.centre, [1, 0, 1], atol=1e-12)
    for density in ({"c3d8r": 3}, {0: 3}, np.full(8, 3.0)):
        assert cube.measure(density=density).mass.total == pytest.approx(24)
    some = cube.measure(cube.select_elements(indices=[1, 2]), density=np.where(np.arange(8) == 1, np.nan, 1.0))
    assert (some.num_elements, some.mass.total, list(some.no_density)) == (2, pytest.approx(1), [502])
    assert list(cube.inverted([3]).measure().inverted) == [504]
    assert box(1).measure().mass.centre is None
    with pytest.raises(ValueError, match="shape"):
        cube.measure(density=[1, 2])
    with pytest.raises(KeyError, match="S4"):
        cube.measure(density={"S4": 1})


def test_locating_and_interpolation(cube):
    rng = np.random.default_rng(1)
    points = rng.uniform(-0.2, 2.2, (500, 3))
    inside = (points > 0).all(axis=1) & (points < 2).all(axis=1)
    hits = cube.locate(points)
    np.testing.assert_array_equal(hits.held, inside)
    cells = np.floor(points[inside]).astype(int)
    np.testing.assert_array_equal(hits.element[inside], cells @ [1, 2, 4])
    np.testing.assert_array_equal(hits.labels, np.where(inside, hits.element + 501, -1))
    assert (hits.location[~inside] == cg.Location.OUTSIDE).all() and np.isnan(hits.iso[~inside]).all()
    values = hits.interpolate(cube.nodes @ np.array([[1.0, 2], [3, 4], [5, 6]]) + 7)
    np.testing.assert_allclose(values[inside], points[inside] @ [[1, 2], [3, 4], [5, 6]] + 7, atol=1e-6)
    assert np.isnan(values[~inside]).all()
    locator = cg.Locator(cube, blocks=[0])
    rows, all_hits = locator.find_all([[1, 1, 1], [9, 9, 9], [np.nan, 0, 0]])
    np.testing.assert_array_equal(rows.counts(), [8, 0, 0])
    np.testing.assert_array_equal(all_hits.element, np.arange(8))
    nearest = locator.nearest([3, 0.5, 0.5])
    assert (nearest.element[0], nearest.distance[0]) == (1, pytest.approx(1))
    assert cube.locate([0.5, 0.5, 0.5]).element.tolist() == [0]
    for call, error in [
        (lambda: cube.locate([1, 2]), ValueError),
        (lambda: cube.locate(np.zeros((3, 3), bool)), TypeError),
        (lambda: hits.interpolate([1, 2]), ValueError),
        (lambda: cg.Locator(cube, blocks=[1]), IndexError),
        (lambda: __import__("pickle").dumps(locator), TypeError),
    ]:
        with pytest.raises(error):
            call()


def test_relations_against_a_brute_force_pairing(cube):
    rows = cube.blocks[0].connectivity
    common = np.array([[len(np.intersect1d(a, b)) for b in rows] for a in rows])
    for across, least in (("face", 4), ("edge", 2), ("node", 1)):
        found = cube.neighbours(across)
        for e in range(8):
            np.testing.assert_array_equal(found[e], np.flatnonzero((common[e] >= least) & (np.arange(8) != e)))
    of_nodes = cube.elements_of_nodes()
    np.testing.assert_array_equal(of_nodes.counts(), np.bincount(rows.ravel()))
    np.testing.assert_array_equal(of_nodes.items[of_nodes.first[13] : of_nodes.first[14]], np.arange(8))
    assert np.shares_memory(of_nodes.items, cube.elements_of_nodes().items)
    assert [list(ring) for ring in cube.rings([0], 2)] == [[0], [1, 2, 4], [3, 5, 6]]
    count, part = cube.components()
    assert count == 1 and not part.any() and len(cube.free_nodes()) == 0
    twice = cg.Mesh(np.vstack([cube.nodes, cube.nodes[:2]]), [])
    np.testing.assert_array_equal([twice.coincident_nodes(1e-6)[i] for i in (0, 1)], [[0, 27], [1, 28]])
    assert len(twice.free_nodes()) == 29
    with pytest.raises(IndexError, match="row -1 of 8"):
        cube.neighbours()[-1]


@pytest.mark.filterwarnings("ignore::coregeometry.LossWarning")
@pytest.mark.parametrize("suffix", [".vtu", ".msh", ".exo"])
def test_files_are_read_as_they_were_written(cube, tmp_path, suffix):
    path = tmp_path / ("box" + suffix)
    skin = cg.NamedSet("top", cube.select_nodes(box=([0, 0, 2], [2, 2, 2])))
    cg.write_mesh(path, cube, [skin])
    with pytest.raises(FileExistsError):
        cg.write_mesh(path, cube)
    read = cg.read_mesh(path, types={"HEX8": "C3D8R"})
    np.testing.assert_array_equal(read.mesh.nodes, cube.nodes)
    np.testing.assert_array_equal(read.mesh.blocks[0].connectivity, cube.blocks[0].connectivity)
    np.testing.assert_array_equal(read.mesh.node_labels, cube.node_labels)
    np.testing.assert_array_equal(read.sets["top"].nodes().indices, skin.nodes().indices)
    read.save(tmp_path / "box.cgdb", "Box")
    with cg.open(tmp_path / "box.cgdb") as model:
        assert model.meshes["Box"].nodes.tolist() == cube.nodes.tolist() and "Box/top" in model.sets


def test_files_that_lose_something_or_are_none(cube, tmp_path):
    with pytest.warns(cg.LossWarning, match="no place"):
        losses = cg.write_mesh(tmp_path / "box.stl", cube)
    assert losses and losses[0].count != 0
    for call, error in [
        (lambda: cg.read_mesh(tmp_path / "none.vtu"), FileNotFoundError),
        (lambda: cg.write_mesh(tmp_path / "box.xyz", cube), ValueError),
        (lambda: cg.write_mesh(tmp_path / "a.vtu", cube, [cg.NamedSet("x", box(2).select_nodes())]), ValueError),
        (lambda: cg.write_mesh(tmp_path / "a.vtu", cube, vtk_wedges="odd"), ValueError),
    ]:
        with pytest.raises(error):
            call()


def test_measures_by_block_and_set(cube):
    rows = cube.blocks[0].connectivity
    mesh = cg.Mesh(cube.nodes, [cg.Block("C3D8R", rows), cg.Block("C3D8", rows[:3])])
    by_block = mesh.measure_by("block", density={0: 2.0, 1: 3.0})
    assert [one.mass.total for one in by_block.values()] == [pytest.approx(16), pytest.approx(9)]
    sets = [cg.NamedSet("some", mesh.select_elements(indices=[0, 9])), cg.NamedSet("corner", mesh.select_nodes(indices=[0]))]
    assert {name: one.num_elements for name, one in mesh.measure_by("set", sets).items()}["some"] == 2
    table = pytest.importorskip("pandas") and mesh.measure().to_pandas()
    assert table["total"][2] == pytest.approx(11) and list(table["measure"]) == ["length", "area", "volume", "mass"]
    with pytest.raises(ValueError, match="blocks"):
        mesh.measure_by("blocks")


def test_values_of_elements_at_nodes_and_faces(cube):
    block, shape = cube.blocks[0], cg.Shape("C3D8")
    mesh = cg.Mesh(cube.nodes, [cg.Block("C3D8", block.connectivity)])
    corners = cube.nodes[block.connectivity].astype(float)  # a linear function is carried without error
    points = np.einsum("pn,enx->epx", shape.shape_functions(shape.integration_points), corners)
    at_nodes = mesh.blocks[0].extrapolate(points)
    assert at_nodes.shape == (8, 8, 3) and np.allclose(at_nodes, corners, atol=1e-5)
    faces = mesh.blocks[0].extrapolate(points[:, :, 0], to="faces")
    assert faces.shape == (8, 6) and np.allclose(np.sort(faces[0])[[0, -1]], [corners[0, :, 0].min(), corners[0, :, 0].max()])
    assert np.array_equal(mesh.blocks[0].extrapolate(np.ones((8, 1)), "centroid"), np.ones((8, 8), np.float32))
    with pytest.raises(ValueError, match=r"\(8, 8\)"):
        mesh.blocks[0].extrapolate(points[:, :4])


def test_means_at_nodes():
    mesh = box(2)
    values = np.arange(8.0)
    at_nodes = np.repeat(values[:, None], 8, axis=1)
    rows = mesh.blocks[0].connectivity
    wanted = np.bincount(rows.ravel(), at_nodes.ravel()) / np.bincount(rows.ravel())
    means = mesh.average([at_nodes])
    assert means.dtype == np.float32 and means == pytest.approx(wanted)
    both = mesh.average([np.stack([at_nodes, -at_nodes], axis=2)])
    assert both.shape == (27, 2) and both[:, 1] == pytest.approx(-wanted)
    groups = np.array([0, 0, 0, 0, 1, 1, 1, -1])
    lower, upper = mesh.average([at_nodes], across=groups)
    assert (lower[13], upper[13]) == (1.5, 5) and np.isnan(lower[26]) and np.isnan(upper[26]) and lower[0] == 0
    shells = cg.Mesh(mesh.nodes, [*mesh.blocks, cg.Block("S4", rows[:, :4], labels=np.arange(8) + 1)])
    ones = np.ones((8, 4))
    by_block = shells.average([at_nodes, ones], across="block")
    assert by_block[0] == pytest.approx(wanted) and set(by_block[1][~np.isnan(by_block[1])]) == {1}
    assert shells.average([None, ones])[0] == 1 and np.isnan(shells.average([None, None])).all()
    for parts, across, words in (
        ([at_nodes], "all", "1 for 2 blocks"),
        ([at_nodes, ones], "all", "different dimensions"),
        ([at_nodes[:, :7], None], "all", "block 0"),
        ([at_nodes, ones[..., None]], "block", "other components"),
        ([at_nodes, None], [0], "1 numbers for 16 elements"),
        ([at_nodes, None], "some", "none of all, block"),
    ):
        with pytest.raises(ValueError, match=words):
            shells.average(parts, across=across)
