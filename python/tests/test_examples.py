"""The example programs, and the notebook, run as they stand."""

import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import coregeometry as cg

EXAMPLES = Path(__file__).parents[2] / "examples"
pytestmark = pytest.mark.skipif(not (EXAMPLES / "python").is_dir(), reason="away from the sources")


@pytest.mark.parametrize(
    "name, arguments, words",
    [
        ("store_a_mesh", ["model.cgdb"], ["mass 1.57e-07 t at x = 10", "[10 20 30 40]"]),
        ("show_in_pyvista", [str(EXAMPLES / "bracket.exo")], ["1441 points, 945 cells, volume 1.2125e-05"]),
        ("locate_and_interpolate", [], ["element 13: 57.5", "OUTSIDE"]),
        ("write_frames", ["model.cgdb"], ["86.08"]),
        ("split_a_mesh", [str(EXAMPLES / "bracket.exo")], ["8 parts of 945", "the same volume: True", "the same mesh: True"]),
        ("stress_at_nodes", ["model.cgdb"], ["largest 120.0 MPa at node 30"]),
    ],
)
def test_programs(name, arguments, words, tmp_path):
    if name == "show_in_pyvista":
        pytest.importorskip("pyvista")
    if name == "split_a_mesh":
        pytest.importorskip("coregeometry.split", exc_type=cg.MissingLibraryError)
    program = EXAMPLES / "python" / f"{name}.py"
    ran = subprocess.run([sys.executable, program, *arguments], capture_output=True, text=True, cwd=tmp_path)
    assert ran.returncode == 0, ran.stderr
    assert all(word in ran.stdout for word in words), ran.stdout


def test_program_on_ranks(tmp_path):
    pytest.importorskip("coregeometry.split", exc_type=cg.MissingLibraryError)
    loads = subprocess.run([sys.executable, "-c", "import mpi4py.MPI"], capture_output=True, cwd=tmp_path)
    mpirun = shutil.which("mpirun")
    if loads.returncode != 0 or mpirun is None:
        pytest.skip("no MPI")
    command = [mpirun, "--oversubscribe", "--bind-to", "none", "--mca", "btl_vader_single_copy_mechanism", "none"]
    program = [sys.executable, "-m", "mpi4py", EXAMPLES / "python/split_on_ranks.py", EXAMPLES / "bracket.exo"]
    root = {"OMPI_ALLOW_RUN_AS_ROOT": "1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1"}
    ran = subprocess.run(
        [*command, "-n", "4", *program], capture_output=True, text=True, cwd=tmp_path, env=os.environ | root, timeout=100
    )
    assert ran.returncode == 0, ran.stderr
    with cg.open(tmp_path / "whole.cgdb") as model:
        mesh = model.meshes["Part"]
    volume, faces = mesh.measure(thickness=0.002).volume.total, len(mesh.select_elements().external_faces())
    assert "8 parts on 4 ranks" in ran.stdout
    assert f"volume {volume:.6g}, {faces} outer faces" in ran.stdout, ran.stdout


def test_notebook(tmp_path, monkeypatch):
    """Its cells one after the other; each last expression can be shown."""
    monkeypatch.chdir(tmp_path)
    (tmp_path / "bracket.exo").symlink_to(EXAMPLES / "bracket.exo")
    book = json.loads((EXAMPLES / "python" / "results.ipynb").read_text())
    names = {}
    for cell in book["cells"]:
        if cell["cell_type"] == "code":
            exec("".join(cell["source"]), names)
    assert names["worst"].value == names["stress"].reduce()[0].max.value
    assert names["shown"].png.startswith(b"\x89PNG")
