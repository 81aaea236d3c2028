"""Runs of results: written, read, computed and refused."""

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


@pytest.fixture
def model(tmp_path):
    """A cube with a run of three frames: T = i x, U = i (x, y, z), S of hydrostatic and uniaxial stress."""
    mesh = box(2)
    with cg.open(tmp_path / "cube.cgdb", "x") as model:
        with model.transaction() as change:
            change.meshes["Cube"] = mesh
            change.sets["Cube/low"] = mesh.select_nodes(box=([0, 0, 0], [9, 9, 0]))
            change.sets["Cube/top"] = mesh.select_faces(box=([0, 0, 2], [9, 9, 2]), touching="all")
        with model.add_run("Cube", "run1", program="solver") as run:
            run.add_variable("T", "SCALAR", unit="K")
            run.add_variable("U", "VECTOR")
            run.add_variable("S", "TENSOR_3D_FULL", unit="MPa")
            heat = run.step("Heat", kind="TRANSIENT")
            for i in range(3):
                with heat.frame(0.1 * i, increment=i) as frame:
                    frame.put("T", mesh.nodes[:, 0] * i, position="NODAL")
                    frame.put("U", mesh.nodes.astype(float) * i, position="NODAL")
                    frame.put("S", np.arange(8)[:, None, None] * [[[i, 0, 0, 0, 0, 0]]], position="INTEGRATION_POINT")
            heat.add_history("energy", [0, 1, 2], [3.0, 4.0, 5.0])
        yield model


def test_values_and_their_places(model):
    run = model.results["Cube/run1"]
    assert (run.program, list(run.steps), run.variables["S"].unit) == ("solver", ["Heat"], "MPa")
    assert run.steps["Heat"].values.tolist() == pytest.approx([0, 0.1, 0.2]) and run.mesh == model.meshes["Cube"]
    mesh = run.mesh
    t = run.field("T", step="Heat", frame=-1).array()
    assert t.values.dtype == np.float32 and np.array_equal(t.values[:, 0], mesh.nodes[:, 0] * 2)
    assert np.array_equal(t.label, mesh.node_labels) and np.array_equal(t.index, np.arange(27)) and not t.point.any()
    u = run.field("U", frame=2, region="low").array()
    assert u.values.dtype == np.float64 and len(u) == 9 and u.components == ("x", "y", "z")
    s = run.field("S", frame=2).component("xx").array()
    assert s.label.tolist() == list(range(501, 509)) and s.blocks[0].type == "C3D8R" and set(s.point) == {1}
    assert np.array_equal(run.field("S", frame=1).by_element()[:, 0], np.arange(8))
    assert np.isnan(run.field("T", frame=1, nodes=[3]).by_node()).sum() == 26
    assert run.field("T", value=0.15, interpolate="linear").array().values.max() == pytest.approx(3)


def test_what_is_computed(model):
    run = model.results["Cube/run1"]
    x = run.mesh.nodes[:, 0].astype(float)
    t1, t2 = run.field("T", frame=1), run.field("T", frame=2)
    worst = run.field("S").invariant("mises").max()
    assert (worst.value, worst.label, worst.point, worst.step, worst.frame) == (14, 508, 1, "Heat", 2)
    # a node of one element has its value, the one in the middle their mean
    at_nodes = run.field("S", frame=2).component("xx").at_nodes("none").by_node()[:, 0]
    assert at_nodes[[0, 13, 26]].tolist() == [0, 7, 14]
    made = cg.where(2 * t2 - t1 > 2, 2 * t2 - t1, -1.0).array().values[:, 0]
    assert np.array_equal(made, np.where(3 * x > 2, 3 * x, -1))
    assert np.array_equal((run.field("U", frame=2) - run.field("U", frame=1)).by_node(), run.mesh.nodes)
    assert np.array_equal((run.field("T") * t2).array(1).values[:, 0], 2 * x * x)
    assert run.field("U", frame=1).probe([[0.25, 0.5, 0.75], [9, 9, 9]]).values[0, 0].tolist() == [0.25, 0.5, 0.75]
    line = t2.line([0, 0, 0], [2, 2, 2], 3)
    assert line.values[0, :, 0].tolist() == [0, 2, 4] and np.isnan(t2.probe([9, 9, 9]).values).all()
    assert t2.integral()[0].values == pytest.approx([16]) and t2.integral("top")[0].measure == pytest.approx(4)
    assert run.field("U", frame=1).resultant([1, 0, 0])[0].force.tolist() == [27, 27, 27]
    assert run.history("T", node=1003).values[:, 0, 0].tolist() == [0, 2, 4]
    energy = run.histories[0]
    assert (energy.name, energy.place, energy.values.tolist()) == ("energy", "the whole model", [3, 4, 5])
    top = run.envelope("T", "max")
    assert np.array_equal(top.values[:, 0], 2 * x) and np.array_equal(top.frame, np.where(x > 0, 2, 0))
    target = box(3).transform(np.diag([2 / 3, 2 / 3, 2 / 3, 1])).mesh
    for at, where in (("nodes", target.nodes[:, 0]), ("elements", np.tile([1 / 3, 1, 5 / 3], 9))):
        assert t2.map_to(target, at=at).values[0, :, 0] == pytest.approx(2 * where, abs=1e-5)
    assert len(t2.map_to(target.transform(np.diag([2, 1, 1, 1])).mesh).unmapped) == 32
    wet, faces = (mesh.select_elements().external_faces() for mesh in (run.mesh, target))
    loads = t2.transfer(target, wet, faces, distance=0.1, sides="same")[0]  # minus the gradient times the volume
    assert loads.force_after == pytest.approx([-16, 0, 0], abs=1e-9)
    assert loads.moment_after == pytest.approx(loads.moment_before, abs=1e-9)
    assert loads.forces.sum(axis=0) == pytest.approx(loads.force_before, abs=1e-9)
    one = t2.reduce()[0]
    assert (one.sum, one.mean, one.count) == (54, 2, 27) and t2.histogram(2)[2].tolist() == [9, 18]


def test_blocks_of_rows_are_the_whole(model):
    run = model.results["Cube/run1"]
    for field in (run.field("S", frame=2), run.field("S", frame=1).invariant("mises").at_nodes(), run.field("T", frame=1, region="low")):
        whole = field.array()
        for rows in (1, 5, 1000):
            parts = list(field.blocks(rows))
            assert len(parts) == -(-len(whole) // rows) and max(len(part) for part in parts) <= rows
            for name in ("values", "label", "index", "point"):
                assert np.array_equal(np.concatenate([getattr(part, name) for part in parts]), getattr(whole, name))
            assert parts[0].values.dtype == whole.values.dtype
    blocks = field.blocks(1)
    next(blocks)
    model.close()
    with pytest.raises(cg.ClosedError):
        next(blocks)


def test_a_run_goes_on_when_mesh_and_datums_are_replaced(model):
    mesh = model.meshes["Cube"]
    hub = {at: cg.CoordinateSystem("cylindrical", [at] * 3, [1, 0, 0], [0, 1, 0]) for at in (0, 1)}
    model["datums/Cube/hub"] = hub[0]
    with model.add_run("Cube", "run2") as run:
        run.add_variable("U", "VECTOR")
        step = run.step("Load")
        with step.frame(1.0) as frame:
            frame.put("U", mesh.nodes, position="NODAL")
        with model.transaction() as change:
            change.meshes["Cube"] = mesh.with_nodes(mesh.nodes + 1)
            change.datums["Cube/hub"] = hub[1]
        with step.frame(2.0) as frame:
            frame.put("U", mesh.nodes * 2, position="NODAL")
    run = model.results["Cube/run2"]
    assert run.steps["Load"].values.tolist() == [1, 2] and np.array_equal(run.mesh.nodes, mesh.nodes + 1)
    # vectors along the radius from the axis, which has moved with the nodes
    radial = run.field("U", frame=1).system("datums/Cube/hub").by_node()
    wanted = np.hypot(*mesh.nodes.T[:2]) * 2
    assert radial[:, 0] == pytest.approx(wanted) and radial[:, 1] == pytest.approx(np.zeros(27), abs=1e-6)
    assert model.check() == []


def test_derived_variables_are_stored(model):
    assert model.results["Cube/run1"].derive("V", "T * 2 + X", dtype="float64") == 81
    run = model.results["Cube/run1"]
    assert run.variables["V"].description == "T * 2 + X"
    assert np.array_equal(run.field("V", frame=1).by_node()[:, 0], run.mesh.nodes[:, 0] * 3)
    with pytest.raises(cg.DataError, match="has V already"):
        run.derive("V", "T")
    assert model.check() == []


@pytest.mark.parametrize(
    "ask, error, words",
    [
        (lambda run: run.field("X"), KeyError, 'no variable "X"; there is T, U, S'),
        (lambda run: run.field("T", step="No").array(), cg.DataError, 'no step "No"; there is Heat'),
        (lambda run: run.field("T").array(), ValueError, "3 frames are meant"),
        (lambda run: run.field("T", frame=1, regoin="low"), TypeError, 'no argument "regoin"'),
        (lambda run: run.field("T", frame=1).invariant("MISES").array(), cg.DataError, "there is MAGNITUDE"),
        (lambda run: run.field("U").max(), cg.DataError, "component"),
        (lambda run: run.field("T", frame=0, position="NODES"), ValueError, "NODES"),
        (lambda run: (run.field("T") + 1).component("x"), TypeError, "choose it of the variables"),
        (lambda run: (run.field("S", frame=0) + run.field("U", frame=0)).array(), ValueError, "3 and of 6 components"),
        (lambda run: run.field("S", frame=1).by_node(), ValueError, "not at nodes"),
        (lambda run: run.expression("T / (").array(), cg.DataError, r"\^"),
    ],
)
def test_wrong_questions(model, ask, error, words):
    with pytest.raises(error, match=words):
        ask(model.results["Cube/run1"])


def test_a_frame_is_stored_whole_or_not_at_all(model):
    mesh = model.meshes["Cube"]
    with pytest.raises(FileExistsError):
        model.add_run("Cube", "run1")
    with model.add_run("Cube", "run2") as run:
        run.add_variable("T")
        run.add_variable("N", "INTEGER")
        step = run.step("Load")
        for values, error, words in (
            (np.zeros(26), ValueError, "T: 26 rows of values for 27 places"),
            (np.zeros(27, complex), TypeError, "two arrays"),
            (np.zeros((27, 2)), ValueError, "54 rows|not rows of 1"),
        ):
            with pytest.raises(error, match=words), step.frame(1.0) as frame:
                frame.put("T", values, position="NODAL")
        with pytest.raises(RuntimeError), step.frame(1.0) as frame:
            frame.put("T", np.zeros(27), position="NODAL")
            raise RuntimeError
        with step.frame(2.0) as frame:
            frame.put("T", [7.5, 8.5], position="NODAL", nodes=[4, 6])
            frame.put("N", np.arange(8), position="WHOLE_ELEMENT")
    run = model.results["Cube/run2"]
    assert run.steps["Load"].values.tolist() == [2]
    assert run.field("T").array().label.tolist() == [1005, 1007] and run.field("N").array().values.sum() == 28
    # a mesh of the same sizes keeps its runs, another one loses them
    model["meshes/Cube"] = mesh.with_nodes(mesh.nodes + 1)
    assert set(model.results) == {"Cube/run1", "Cube/run2"}
    del model["results/Cube/run2"]
    with pytest.warns(cg.LossWarning, match="run1 is removed"), model.transaction() as change:
        del change.sets["Cube/low"], change.sets["Cube/top"]
        change.meshes["Cube"] = box(1)
    assert list(model.results) == [] and model.check() == []
    model.close()
    with pytest.raises(cg.ClosedError):
        run.field("T").array()
