"""Pictures, travel and threads."""

import os
import subprocess

import numpy as np
import pytest
from conftest import box

import coregeometry as cg


def test_pictures(tmp_path, cube):
    drawn = cg.picture(cube, size=(160, 120), edges=True)
    assert drawn.rgba.shape == (120, 160, 4) and len(np.unique(drawn.rgba[..., :3].reshape(-1, 3), axis=0)) > 10
    drawn.save(tmp_path / "cube.png")
    assert (tmp_path / "cube.png").read_bytes() == drawn.png and drawn.png.startswith(b"\x89PNG")
    with pytest.raises(FileExistsError):
        drawn.save(tmp_path / "cube.png")
    clear = cg.picture(cube, size=(160, 120), background="transparent", plain=True).rgba
    assert clear[0, 0, 3] == 0 and clear[60, 80, 3] == 255
    x = cube.nodes[:, 0].astype(float)
    coloured = cg.picture(cube, values=x, size=(160, 120)).png
    assert len({drawn.png, coloured, cg.picture(cube, values=x[::-1], size=(160, 120)).png}) == 3
    moved = cg.picture(cube, deform=np.stack([x, 0 * x, 0 * x], axis=1), factor=1.0, size=(160, 120), plain=True)
    stretched = cube.with_nodes(cube.nodes * [2, 1, 1])
    assert np.array_equal(moved.rgba, cg.picture(stretched, size=(160, 120), plain=True).rgba)
    top = cube.select_faces(box=([0, 0, 2], [9, 9, 2]), touching="all")
    assert cg.picture(top, size=(160, 120)).png != drawn.png


def test_the_same_bytes_as_the_program(tmp_path, cube):
    model = tmp_path / "cube.cgdb"
    with cg.open(model, "x") as opened:
        opened["meshes/Cube"] = cube
    command = ["coregeometry", "render", str(model), "-o", str(tmp_path / "a.png"), "--size", "160x120", "--plain"]
    subprocess.run([os.path.join(os.path.dirname(cg.__file__), "bin", "coregeometry"), *command[1:]], check=True)
    assert (tmp_path / "a.png").read_bytes() == cg.picture(cube, size=(160, 120), plain=True).png


def test_travel(cube):
    above = cube.with_nodes(cube.nodes + [0.5, 0.5, 5])
    found = cg.travel(cube, above, [0, 0, -1])
    assert found.distance == pytest.approx(3) and found.fixed_point[2] == 2 and found.movable_point[2] == 5
    assert cube.element_block(found.fixed_element) == 0
    assert cg.travel(cube, above, [0, 0, 1]) is None and cg.travel(cube, above, [0, 0, -1], limit=2) is None
    square = ([[0, 0, 9], [1, 0, 9], [0, 1, 9]], [[0, 1, 2]])
    tree = cg.TriangleTree(*square, [0, 0, 1])
    assert len(tree) == 1 and cg.travel(tree, above.select_elements().external_faces(), [0, 0, 1]).distance == 2
    with pytest.raises(IndexError, match="triangle 0: point 3 of 3"):
        cg.TriangleTree(square[0], [[0, 1, 3]], [0, 0, 1])


def test_threads_do_not_change_results():
    mesh = box(12)
    answers = []
    try:
        for count in (1, 3):
            cg.set_threads(count)
            assert cg.num_threads() == count
            answers.append((mesh.measure().volume.total, mesh.quality(["size"])["size"].tobytes()))
        pid = os.fork()
        if pid == 0:
            os._exit(0 if cg.num_threads() == 1 and mesh.measure().volume.total == answers[0][0] else 1)
        assert os.waitpid(pid, 0)[1] == 0 and answers[0] == answers[1]
    finally:
        cg.set_threads()
    with pytest.raises(ValueError, match="-1 threads"):
        cg.set_threads(-1)


@pytest.mark.parametrize(
    "arguments, error, words",
    [
        ({"size": (8, 100)}, ValueError, "8 is not in 16 to 4096"),
        ({"view": (0, 0, 0)}, ValueError, "no length"),
        ({"values": np.zeros(5)}, ValueError, "5 numbers for 27 nodes and 8 elements"),
        ({"background": "red"}, ValueError, "shaded, white, transparent"),
        ({"deform": np.zeros((3, 3))}, ValueError, "deform: shape"),
    ],
)
def test_wrong_pictures(cube, arguments, error, words):
    with pytest.raises(error, match=words):
        cg.picture(cube, **arguments)
