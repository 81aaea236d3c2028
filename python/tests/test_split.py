"""Split models: the same answers as the whole mesh."""

import threading

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


class ThreadComm:
    """A rank of a communicator whose ranks are threads, with the methods of mpi4py that are used."""

    def __init__(self, size):
        self.barrier, self.slots, self.local = threading.Barrier(size, timeout=60), [None] * size, threading.local()

    def Get_rank(self):
        return self.local.rank

    def Get_size(self):
        return len(self.slots)

    def allgather(self, item):
        self.slots[self.local.rank] = item
        self.barrier.wait()
        everything = list(self.slots)
        self.barrier.wait()
        return everything

    def alltoall(self, items):
        assert len(items) == len(self.slots)
        return [row[self.local.rank] for row in self.allgather(items)]

    def bcast(self, item, root):
        return self.allgather(item)[root]


def on_ranks(size, work):
    """What work(comm) gives, or raises, on each rank."""
    comm, outcomes = ThreadComm(size), [None] * size

    def run(rank):
        comm.local.rank = rank
        try:
            outcomes[rank] = work(comm)
        except Exception as error:
            outcomes[rank] = error

    threads = [threading.Thread(target=run, args=(rank,)) for rank in range(size)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return outcomes


def answers(made):
    """Of a split model, as one process and each rank gives them."""
    points = np.random.default_rng(2).uniform(-1, 5, (50, 3))
    measures, hits, nearest = made.measure("low", density=2.5), made.locate(points), made.nearest(points)
    arrays = [made.box(), *hits.element, hits.iso, nearest.distance, *made.find_nodes([1001, 5, 1125])]
    arrays += made.coincident_nodes(1.0)
    return [measures.mass.total, [array.tobytes() for array in arrays], made.check()]


@pytest.mark.parametrize("ranks, parts", [(1, 5), (4, 5), (5, 3)])
def test_ranks_have_the_answers_of_one_process(whole, tmp_path, ranks, parts):
    made = split.split(whole[0], tmp_path / "box.split", parts)
    faces = sorted(made.external_faces().external.tolist())
    expected = answers(made)

    def ask(comm):
        mine = split.open(tmp_path / "box.split", comm)
        elements = [part.element_numbers for part in mine]
        assert len(elements) == len(mine.my_parts)
        return answers(mine), mine.external_faces().external.tolist(), np.concatenate([[], *elements]).tolist()

    outcomes = on_ranks(ranks, ask)
    assert [outcome[0] for outcome in outcomes] == [expected] * ranks
    assert sorted(face for outcome in outcomes for face in outcome[1]) == faces
    assert sorted(number for outcome in outcomes for number in outcome[2]) == list(range(64))

    joined = on_ranks(ranks, lambda comm: split.open(tmp_path / "box.split", comm).join(tmp_path / "again.cgdb"))
    assert all(list(model.meshes) == ["Box"] for model in joined)
    assert cg.diff(whole[0], tmp_path / "again.cgdb") == []


def test_what_a_part_runs_into_is_raised_on_all_ranks(whole, tmp_path):
    made = split.split(whole[0], tmp_path / "box.split", 5)
    (tmp_path / "box.split/parts/00003.cgdb").unlink()
    for ask in (split.SplitModel.measure, split.SplitModel.external_faces):
        errors = on_ranks(4, lambda comm: ask(split.open(made.folder, comm)))
        assert all(isinstance(error, cg.Error) for error in errors)
        assert len({str(error) for error in errors}) == 1 and str(errors[0]).startswith("part 3: ")
    nowhere = on_ranks(3, lambda comm: split.open(tmp_path / "nowhere", comm))
    assert len({str(error) for error in nowhere}) == 1 and "nowhere" in str(nowhere[0])
