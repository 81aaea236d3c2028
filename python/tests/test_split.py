"""Split models: the same answers as the whole mesh."""

import numpy as np
import pytest

import coregeometry as cg

from conftest import box

split = pytest.importorskip("coregeometry.split", exc_type=cg.MissingLibraryError)


@pytest.fixture
def whole(tmp_path):
    """A model of a box with two sets, and its mesh."""
    mesh = box(4)
    with cg.open(tmp_path / "box.cgdb", "x") as model, model.transaction() as change:
        change.meshes["Box"] = mesh
        change.sets["Box/low"] = mesh.select_elements(labels=np.arange(501, 517))
    return tmp_path / "box.cgdb", mesh


@pytest.mark.parametrize("method", ["auto", "curve", "random"])
def test_answers_are_those_of_the_whole(whole, tmp_path, method):
    file, mesh = whole
    if method == "random":
        parts = np.random.default_rng(1).permutation(np.arange(64) % 5)
        made = split.split_mesh(mesh, tmp_path / "box.split", parts, name="Box")
    else:
        made = split.split(file, tmp_path / "box.split", 5, method=method)
    assert len(made) == 5 and (made.num_nodes, made.num_elements) == (125, 64)
    assert made.check() == [] and "5 parts" in repr(made)
    np.testing.assert_array_equal(made.box(), [[0, 0, 0], [4, 4, 4]])

    ours, theirs = made.measure(density=2.5), mesh.measure(density=2.5)
    assert ours.mass.total == theirs.mass.total
    np.testing.assert_array_equal(ours.mass.inertia, theirs.mass.inertia)

    points = np.random.default_rng(2).uniform(-1, 5, (200, 3))
    hits, expected = made.locate(points), mesh.locate(points)
    np.testing.assert_array_equal(hits.element.number, expected.element)
    np.testing.assert_array_equal(hits.iso, expected.iso)
    np.testing.assert_array_equal(hits.location, expected.location)
    nearest, expected = made.nearest(points), cg.Locator(mesh).nearest(points)
    np.testing.assert_array_equal(nearest.distance, expected.distance)

    external = {tuple(face) for face in made.external_faces().external.tolist()}
    faces = mesh.select_elements().external_faces()
    assert len(external) == 6 * 16 == len(faces)
    assert {element for element, _ in external} == set(faces.elements().indices.tolist())

    found = made.find_nodes([1001, 5, 1125])
    assert found.number.tolist() == [0, -1, 124] and found.part[1] == -1
    for number, part, local in zip(*found, strict=True):
        if number >= 0:
            assert made[part].node_numbers[local] == number
    assert made.find_elements([501, 564]).number.tolist() == [0, 63]
    assert made.coincident_nodes(1e-3) == []
    assert [group.tolist() for group in made.coincident_nodes(1.0)] == [list(range(125))]


def test_parts_and_joining(whole, tmp_path):
    file, mesh = whole
    made = split.split(file, tmp_path / "box.split", 3)
    low = mesh.measure(mesh.select_elements(labels=np.arange(501, 517)))
    assert made.sets == ["low"] and made.measure("low").volume.total == low.volume.total
    numbers = np.concatenate([part.element_numbers for part in made])
    assert sorted(numbers.tolist()) == list(range(64))
    part = made[-1]
    np.testing.assert_array_equal(part.mesh.nodes, mesh.nodes[part.node_numbers])
    assert made.facts(-1).shared_nodes == len(part.shared_nodes) and made.facts(2).neighbours
    with part.model() as model:
        assert list(model.meshes) == ["Box"]
    with made.join(tmp_path / "again.cgdb") as joined:
        assert joined.meshes["Box"] == mesh
    assert cg.diff(file, tmp_path / "again.cgdb") == []


def test_errors_name_what_is_wrong(whole, tmp_path):
    file, mesh = whole
    with pytest.raises(cg.Error, match="nowhere"):
        split.open(tmp_path / "nowhere")
    with pytest.raises(KeyError, match="Wing"):
        split.split(file, tmp_path / "box.split", 2, mesh="Wing")
    with pytest.raises(cg.Error, match="64 elements"):
        split.split(file, tmp_path / "box.split", 65)
    with pytest.raises(ValueError, match="3 numbers for 64 elements"):
        split.split_mesh(mesh, tmp_path / "box.split", [0, 0, 1])
    made = split.split(file, tmp_path / "box.split", 4)
    with pytest.raises(IndexError, match="part 4 of 4"):
        made[4]
    with pytest.raises(KeyError, match="high"):
        made.measure("high")
    (tmp_path / "box.split/parts/00002.cgdb").unlink()
    with pytest.raises(cg.Error, match="00002.cgdb"):
        made.measure()
    assert any("00002.cgdb" in finding.file for finding in split.check(tmp_path / "box.split"))
