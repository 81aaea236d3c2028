"""Lists of nodes, elements, faces and edges against counts of a box of n x n x n hexahedra."""

import operator

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


@pytest.mark.parametrize("n", [1, 2, 3])
def test_faces_and_edges_of_a_box(n):
    mesh = box(n)
    elements = mesh.select_elements()
    sets = elements.face_sets()
    assert (len(sets.external), len(sets.interior)) == (6 * n * n, 6 * n**3 - 6 * n * n)
    assert len(sets.shared) == len(sets.collapsed) == 0 and sets.external == elements.external_faces()
    edges = sets.external.edge_sets(angle=80)
    assert (len(edges.unique), len(edges.feature), len(edges.free)) == (12 * n * n, 12 * n, 0)
    chains = edges.feature.chains()
    assert sum(len(chain.nodes) - 1 for chain in chains) == 12 * n and not any(chain.closed for chain in chains)
    triangles = sets.external.triangles()
    corners = mesh.nodes[triangles.nodes].astype(float)
    cross = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    assert np.linalg.norm(cross, axis=1).sum() / 2 == pytest.approx(6 * n * n)
    normals = sets.external.normals()
    np.testing.assert_allclose(cross / np.linalg.norm(cross, axis=1)[:, None], normals[triangles.faces], atol=1e-6)
    table = sets.external.table()
    np.testing.assert_array_equal(np.unique(table), sets.external.nodes().indices)
    bottom = mesh.select_faces(indices=[[0, 0]])
    assert len(bottom.grow(sets.external, 10)) == n * n


@pytest.mark.parametrize("select", ["select_nodes", "select_elements", "select_faces", "select_edges"])
def test_lists_are_sets_in_mesh_order(cube, select):
    everything = getattr(cube, select)()
    corner = getattr(cube, select)(box=([0, 0, 0], [0.5, 0.5, 0.5]))
    other = getattr(cube, select)(block=0) - corner
    assert len(corner) and corner | other == everything and not len(corner & other)
    assert ~corner == everything ^ corner == other
    items = list(everything)
    assert len(items) == len(everything) and items == sorted(items) and items[-1] in everything
    assert items[0] in corner and items[0] not in ~corner
    for operation in (operator.or_, operator.and_, operator.sub, operator.xor):
        with pytest.raises(ValueError, match="mesh"):
            operation(everything, getattr(box(2), select)())
    assert everything.within([5, 5, 5], [6, 6, 6]) == getattr(cube, select)(box=([5, 5, 5], [6, 6, 6]))


def test_selections(cube):
    np.testing.assert_array_equal(cube.select_nodes(labels=[1003, 1001, 1003]).indices, [0, 2])
    np.testing.assert_array_equal(cube.select_elements(indices=[3, 1]).labels(), [502, 504])
    corner = cube.select_nodes(indices=0)
    assert list(corner.elements()) == [0] and len(corner.elements("all")) == 0
    assert list(cube.select_elements(set=corner)) == [0]
    both = cube.select_elements(labels=[501, 502], box=([1.5, 0, 0], [2, 2, 2]))
    assert list(both) == [1]
    assert len(cube.select_nodes(labels=[1001, 7], unknown="skip")) == 1
    assert len(cube.select_elements(indices=[0]).nodes()) == 8
    for call, error, words in [
        (lambda: cube.select_nodes(labels=[1001, 7]), cg.UnknownLabelError, "7"),
        (lambda: cube.select_nodes(indices=[27]), IndexError, "node 27 of 27"),
        (lambda: cube.select_faces(indices=[[8, 0]]), IndexError, "element 8"),
        (lambda: cube.select_nodes(touching="some"), ValueError, "none of any, all"),
        (lambda: cube.select_nodes(box=[0, 1]), ValueError, "shape (2,) is not (2, 3)"),
        (lambda: cube.select_nodes(set=box(2).select_nodes()), ValueError, "another mesh"),
        (lambda: cg.NamedSet("x", [corner, both]), TypeError, "nodes and others"),
        (lambda: cg.NamedSet("x", []), ValueError, "at least one list"),
    ]:
        with pytest.raises(error) as raised:
            call()
        assert words in str(raised.value)


def test_named_sets(cube):
    faces = cube.select_elements().external_faces()
    mixed = cg.NamedSet("skin", (faces, cube.select_elements(indices=[2])))
    assert (mixed.kind, len(mixed), len(mixed.faces())) == ("surface", 25, 24)
    assert len(mixed.elements()) == 8 and len(mixed.nodes()) == 27  # element 2 has the node in the middle
    nodes = cg.NamedSet("fixed", faces.nodes())
    assert (nodes.kind, nodes.nodes(), len(nodes.elements())) == ("node", faces.nodes(), 0)
    assert repr(nodes) == "<NamedSet fixed: 26 of kind node>"


def test_unsupported_elements_are_an_error_unless_left_out():
    mesh = cg.Mesh(np.eye(3), {"XYZ": [[0, 1]], "S3": [[0, 1, 2]]}, unknown_types="keep")
    with pytest.raises(cg.DataError, match="XYZ"):
        mesh.select_elements().external_faces()
    assert len(mesh.select_elements().external_faces(leave_out=["unsupported"])) == 1
