"""Models: transactions are all or nothing, and what is read is what was written."""

import os
import signal
import threading
import time

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


@pytest.fixture
def path(tmp_path):
    return tmp_path / "wing.cgdb"


CYLINDER = cg.CoordinateSystem("cylindrical", [1, 2, 3], [1, 0, 0], [0, 1, 0])


def test_what_is_written_is_read(path, cube):
    skin = cube.select_elements().external_faces()
    with cg.open(path, "x") as model:
        assert len(model) == 0 and not path.exists()
        with model.transaction() as change:
            change.meshes["Other"] = box(1)
            change.meshes["Wing"] = cube
            change.sets["Wing/root"] = skin.nodes()
            change.sets["Wing/skin"] = cg.NamedSet("skin", [skin])
            change.datums["Wing/hub"] = CYLINDER
            assert list(change.sets) == ["Wing/root", "Wing/skin"] and not path.exists()
        assert list(model.meshes) == ["Other", "Wing"] and model.check() == []
    with pytest.raises(cg.ClosedError, match="is closed"):
        model.roots
    with cg.open(path) as model:
        wing = model.meshes["Wing"]
        assert wing == cube and wing.id == 1 and model["meshes/Wing"] is wing
        assert model.datums["Wing/hub"] == CYLINDER and list(model.datums) == ["Wing/hub"]
        sets = model.sets
        assert sets["Wing/root"].nodes() & sets["Wing/skin"].nodes() == sets["Wing/root"].nodes()
        np.testing.assert_array_equal(sets["Wing/skin"].faces().table(), skin.table())
        assert model["regions/Wing/root"].kind == "node"
        assert model["datums/Wing"].text.startswith("datums/Wing: dtu_DatumContainer")
        np.testing.assert_array_equal(model.read_range("meshes/Wing.nodeData.coordinates", 3, 3), cube.nodes[1])
        with pytest.raises(KeyError, match="did you mean Wing"):
            model.meshes["Wign"]
        with pytest.raises(PermissionError):
            model.transaction()
    assert len(model.path) and wing == cube  # outlives the model


def test_changes_are_all_or_nothing(path, cube):
    with cg.open(path, "a") as model:
        model["meshes/Wing"] = cube
        with pytest.raises(ZeroDivisionError), model.transaction() as change:
            change.meshes["New"] = cube
            del change.meshes["Wing"]
            assert list(change.meshes) == ["New"] and list(model.meshes) == ["Wing"]
            1 / 0
        with model.transaction() as change:
            change.meshes["New"] = cube
            with pytest.raises(RuntimeError, match="open already"), model.transaction():
                pass
            change.rollback()
            with pytest.raises(RuntimeError, match="ended"):
                change.meshes["New"] = cube
        assert model.roots == ["meshes/Wing"]
        model["meshes/Wing"] = box(3)
        model["regions/Wing/all"] = model.meshes["Wing"].select_elements()
        assert model.meshes["Wing"].id == 0 and len(model.sets["Wing/all"]) == 27
        for change, error, words in [
            (lambda t: t.sets.update({"Wing/x": cube.select_nodes()}), ValueError, "another mesh"),
            (lambda t: t.sets.update({"Tail/x": cube.select_nodes()}), KeyError, "Tail"),
            (lambda t: t.meshes.update({"x": 3}), TypeError, "int"),
            (lambda t: t.meshes.pop("Tail"), KeyError, "Tail"),
            (lambda t: t.__setitem__("other/x", cube), ValueError, "folders"),
        ]:
            with pytest.raises(error, match=words), model.transaction() as t:
                change(t)
        del model["regions/Wing/all"]
        assert list(model.sets) == [] and model.roots == ["meshes/Wing"]


def test_files_that_cannot_be_opened(path, cube, tmp_path):
    with pytest.raises(FileNotFoundError) as raised:
        cg.open(path)
    assert raised.value.filename == str(path)
    with pytest.raises(ValueError, match="none of"):
        cg.open(path, "w")
    with pytest.raises(IsADirectoryError):
        cg.open(tmp_path)
    path.write_text("no model at all\n" * 100)
    with pytest.raises(FileExistsError):
        cg.open(path, "x")
    with pytest.raises(cg.DataError, match="wing.cgdb"):
        cg.open(path)


def test_busy_forked_and_compared(path, cube, tmp_path):
    with cg.open(path, "x") as model:
        model["meshes/Wing"] = cube
        model.backup(tmp_path / "copy.cgdb")
        with pytest.raises(FileExistsError):
            model.backup(tmp_path / "copy.cgdb")
        assert cg.diff(model, tmp_path / "copy.cgdb") == []
        with cg.open(tmp_path / "copy.cgdb", "r+") as copy:
            copy["meshes/Wing"] = cube.with_nodes(cube.nodes + np.float32(0.5))
        found = cg.diff(path, tmp_path / "copy.cgdb")
        assert [one.place for one in found] == ["meshes/Wing.nodeData.coordinates[0]"]
        assert (found[0].numbers, found[0].largest) == (81, 0.5)
        child = os.fork()
        if child == 0:
            try:
                model.roots
            except cg.ClosedError:
                os._exit(0)
            os._exit(1)
        assert os.waitpid(child, 0)[1] == 0


def test_ctrl_c_and_callbacks_leave_the_file_as_it_was(path):
    mesh = box(60, labels=False)
    timer = threading.Timer(0.05, os.kill, (os.getpid(), signal.SIGINT))
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        while True:
            with cg.open(path, "a") as model, model.transaction() as change:
                change.meshes["Wing"] = mesh
            path.unlink()
    seen = []

    def stop(fraction, work):
        seen.append(fraction)
        raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"), cg.progress(stop):
        end = time.monotonic() + 30
        while time.monotonic() < end:
            mesh.select_elements().external_faces()
    with pytest.raises(cg.Cancelled), cg.progress(lambda fraction, work: False):
        while time.monotonic() < end:
            mesh.select_elements().external_faces()
    assert len(seen) == 1 and 0 <= seen[0] <= 1


def test_threads_get_the_answers_of_one(cube):
    mesh, answers = box(20), []

    def ask():
        answers.append((mesh.node_index(mesh.node_labels[::7]).sum(), len(mesh.select_elements().external_faces())))

    threads = [threading.Thread(target=ask) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(answers) == 8 and len(set(answers)) == 1


def test_coordinate_systems():
    points = np.array([[2, 2, 5], [1, 3, 3]], np.float32)
    local = CYLINDER.to_local(points)
    assert local.dtype == np.float32
    np.testing.assert_allclose(local, [[1, 0, 2], [1, 90, 0]], atol=1e-6)
    for degrees in (True, False):
        back = CYLINDER.to_global(CYLINDER.to_local(points.astype(float), degrees), degrees)
        np.testing.assert_allclose(back, points, atol=1e-9)
    np.testing.assert_allclose(CYLINDER.directions(points)[1], [[0, 1, 0], [-1, 0, 0], [0, 0, 1]], atol=1e-9)
    np.testing.assert_allclose(CYLINDER.rotate_vectors(points, np.eye(3)[:2]), [[1, 0, 0], [1, 0, 0]], atol=1e-9)
    tensor = CYLINDER.rotate_tensors(points[1:], [[1, 2, 3, 4, 5, 6]])
    np.testing.assert_allclose(tensor, [[2, 1, 3, -4, 6, -5]], atol=1e-9)
    flat = cg.CoordinateSystem("cartesian", [0, 0, 0], [1, 0, 0], [1, 0, 0])
    with pytest.raises(ValueError, match="orthonormal"):
        flat.directions(points)
    with pytest.raises(cg.EnumTextError):
        cg.CoordinateSystem("conical", [0, 0, 0], [1, 0, 0], [0, 1, 0])
