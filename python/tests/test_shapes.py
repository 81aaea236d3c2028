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
