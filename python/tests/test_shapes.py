"""Properties of every shape."""

import pickle

import numpy as np
import pytest

import coregeometry as cg

MAPPED = [label for label, shape in cg.shapes.items() if len(shape.node_coordinates) > 1]


def test_functions_derivatives_and_jacobians_of_every_shape():
    assert len(MAPPED) > 600
    seen, step = set(), 1e-6
    rng = np.random.default_rng(2)
    for label in MAPPED:
        shape = cg.shapes[label]
        nodes = shape.node_coordinates
        if (key := (shape.geometry_dimensions, nodes.tobytes())) in seen:
            continue
        seen.add(key)
        np.testing.assert_allclose(shape.shape_functions(nodes), np.eye(len(nodes)), atol=1e-12, err_msg=label)
        iso = rng.uniform(0.1, 0.3, (4, 3)) * (np.arange(3) < shape.geometry_dimensions)
        places = nodes + rng.uniform(-0.05, 0.05, nodes.shape)
        jacobian = shape.jacobian(places, iso)
        for axis in range(shape.geometry_dimensions):
            shift = step * np.eye(3)[axis]
            slope = (shape.map(places, iso + shift) - shape.map(places, iso - shift)) / (2 * step)
            np.testing.assert_allclose(jacobian[:, :, axis], slope, atol=1e-6, err_msg=label)
        np.testing.assert_allclose(shape.shape_derivatives(iso).sum(axis=1), 0, atol=1e-12, err_msg=label)
    assert len(seen) > 15


def test_a_hexahedron():
    shape = cg.shapes["c3d20r"]
    assert (shape.label, shape.num_nodes, shape.num_faces, len(shape.edges), shape.vtk_type) == ("C3D20R", 20, 6, 12, 25)
    assert shape == pickle.loads(pickle.dumps(shape)) and len({shape, cg.shapes["C3D20R"]}) == 1
    assert [len(face) for face in shape.faces] == [8] * 6 and shape.face_table.shape == (6, 8)
    np.testing.assert_array_equal(shape.vtk_order, np.arange(20))
    np.testing.assert_array_equal(cg.shapes["C3D27"].vtk_order[20:], [24, 25, 22, 21, 23, 20, 26])
    assert "C3D20R" in cg.shapes and "C3D21" not in cg.shapes and len(cg.shapes) == len(list(cg.shapes))
    with pytest.raises(cg.UnknownTypeError, match="did you mean"):
        cg.shapes["C3D8X"]
    with pytest.raises(ValueError, match="no map"):
        cg.shapes["MASS"].shape_functions([[0, 0, 0]])
    with pytest.raises(ValueError, match="nodes"):
        shape.map(np.zeros((8, 3)), [[0, 0, 0]])


def test_tables_of_every_shape_fit_each_other():
    for label, shape in cg.shapes.items():
        base, faces, points = shape.num_base_nodes, shape.num_faces, max(len(shape.integration_points), 1)
        assert shape.edge_table.shape[0] == faces and set(map(tuple, shape.edges)) <= {
            tuple(row[row >= 0]) for edges in shape.edge_table for row in edges
        }, label
        for table, rows, columns in (
            (shape.integration_to_nodes, base, points),
            (shape.integration_to_faces, faces, points),
            (shape.nodes_to_faces, faces, base),
        ):
            assert table.size == 0 or (table.shape == (rows, columns) and np.allclose(table.sum(axis=1), 1, atol=1e-5)), label
        for order, kind in ((shape.meshio_order, shape.meshio_type), (shape.exodus_order, shape.exodus_type)):
            assert (order is None) == (kind is None), label
            assert order is None or len(order) in (0, 1) or sorted(set(order)) == list(range(len(set(order)))), label
    assert (cg.shapes["C3D20"].meshio_type, cg.shapes["C3D20"].exodus_type) == ("hexahedron20", "HEX20")
    assert cg.shapes["MASS"].vtk_type is None


def test_points_in_one_element():
    shape = cg.shapes["C3D10"]
    nodes = shape.node_coordinates * [2, 3, 4] + [1, 0, 0]
    isos = np.array([[0.1, 0.2, 0.3], [0.5, 0.5, 0.5]])
    hits = shape.locate(nodes, shape.map(nodes, isos))
    assert hits.element.tolist() == [0, -1] and hits.iso[0] == pytest.approx(isos[0], abs=1e-6)
    assert hits.interpolate(nodes[:, 0])[0] == pytest.approx(1.2)
