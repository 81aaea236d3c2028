"""Long work stops when it is asked to, and leaves everything as it was."""

import time

import numpy as np
import pytest
from conftest import box

import coregeometry as cg

MESH = box(12)
POINTS = np.random.default_rng(1).random((5000, 3)) * 12
FAR = MESH.with_nodes(MESH.nodes + np.float32([40, 0, 0]))


def fresh():
    """Without what was derived before."""
    return MESH.transformed(np.eye(4))


def save():
    with cg.open("m.cgdb", "a") as model:
        model["meshes/M"] = fresh()


LONG = {
    "connectivity": lambda: fresh().neighbours("face"),
    "external faces": lambda: fresh().select_elements().external_faces(),
    "edges": lambda: fresh().select_elements().external_faces().edge_sets(),
    "coincident nodes": lambda: fresh().coincident_nodes(1e-6),
    "locator": lambda: cg.Locator(fresh()),
    "locate": lambda: MESH.locate(POINTS),
    "find all": lambda: cg.Locator(MESH).find_all(POINTS),
    "nearest": lambda: cg.Locator(MESH).nearest(POINTS[:100] + 30),
    "measure": lambda: fresh().measure(density=1.0),
    "check": lambda: fresh().check(),
    "extrapolate": lambda: MESH.blocks[0].extrapolate(np.zeros((MESH.num_elements, 1))),
    "average": lambda: MESH.average([np.zeros((MESH.num_elements, 8))]),
    "quality": lambda: MESH.quality(["size", "aspect_ratio"]),
    "travel": lambda: cg.travel(MESH, FAR, [-1, 0, 0]),
    "merge": lambda: fresh().merge_nodes(1e-6),
    "editor": lambda: fresh().edit().merge_nodes(1e-6),
    "refine": lambda: MESH.refine(),
    "shape functions": lambda: cg.shapes["C3D20"].shape_functions(POINTS),
    "picture": lambda: cg.picture(MESH, size=(300, 200)),
    "write": lambda: cg.write_mesh("m.stl", MESH, overwrite=True),
    "save": save,
}


@pytest.mark.filterwarnings("ignore")
@pytest.mark.parametrize("work", LONG)
def test_work_asks_whether_to_stop(work, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    asked = []

    def stop(fraction, text):
        asked.append(fraction)
        return False

    end = time.monotonic() + 30
    with pytest.raises(cg.Cancelled), cg.progress(stop):
        while time.monotonic() < end:
            LONG[work]()
    assert len(asked) == 1 and 0 <= asked[0] <= 1
    monkeypatch.undo()
    assert not list(tmp_path.glob("*.tmp*")) and MESH == box(12)
