"""Tables for other packages, files with results, comparisons and progress."""

import gc
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import box

import coregeometry as cg

BRACKET = Path(__file__).parents[2] / "examples" / "bracket.exo"


def test_tables(cube):
    pandas = pytest.importorskip("pandas")
    nodes, elements = cube.to_pandas("nodes"), cg.to_pandas(cube, "elements")
    assert list(nodes.columns) == ["label", "index", "x", "y", "z"] and nodes["label"][0] == 1001
    assert elements["type"].unique() == ["C3D8R"] and np.array_equal(
        elements[[f"node_{i}" for i in range(8)]], cube.blocks[0].connectivity
    )
    findings = cg.to_pandas(cube.check())
    assert isinstance(findings, pandas.DataFrame)
    for wrong, error in ((lambda: cube.to_pandas("edges"), ValueError), (lambda: cg.to_pandas(3), TypeError)):
        with pytest.raises(error):
            wrong()


def test_arrow_and_scipy(cube):
    pytest.importorskip("pyarrow")
    pytest.importorskip("scipy.sparse")
    assert cube.to_arrow("nodes").column_names == ["label", "index", "x", "y", "z"]
    rows = cube.elements_of_nodes()
    matrix = rows.to_scipy((27, 8))
    assert np.shares_memory(matrix.indices, rows.items) and matrix.sum(axis=0).tolist() == [8] * 8


def test_notebooks_show_a_table_and_a_picture(cube):
    text = cube._repr_html_()
    assert "<td>C3D8R</td><td>8</td><td>solid</td>" in text and "data:image/png;base64," in text


@pytest.mark.skipif(not BRACKET.exists(), reason="away from the sources")
def test_results_of_files(tmp_path):
    with cg.open(tmp_path / "b.cgdb", "a") as model:
        cg.read_mesh(BRACKET).save(model, "bracket", run="load")
        run = model.results["bracket/load"]
        assert list(run.variables) == ["disp", "stress"] and len(run.steps["Step-1"].values) == 3
        losses = cg.write_mesh(tmp_path / "out.exo", run.mesh, list(model.sets.values()), run=run)
        with pytest.raises(ValueError, match="another mesh"):
            cg.write_mesh(tmp_path / "no.exo", box(1), run=run)
    assert losses == [] and cg.compare(BRACKET, BRACKET) == []
    cg.read_mesh(tmp_path / "out.exo").save(tmp_path / "again.cgdb", "bracket", run="load")
    with cg.open(tmp_path / "again.cgdb") as model, cg.open(tmp_path / "b.cgdb") as first:
        again, before = (one.results["bracket/load"].field("disp", frame=-1).by_node() for one in (model, first))
        assert np.array_equal(again, before)


def test_progress_bar_shows_nothing_away_from_terminals(cube, capsys, monkeypatch):
    monkeypatch.setitem(sys.modules, "tqdm.auto", None)
    with cg.progress_bar():
        cube.measure()
    assert capsys.readouterr().err == ""


@pytest.mark.skipif(not BRACKET.exists(), reason="away from the sources")
def test_results_of_a_file_are_at_hand(tmp_path):
    imported = cg.read_mesh(BRACKET)
    run = imported.run
    assert run is imported.run and run.mesh is imported.mesh and run.variables
    folder = Path(run._model.path).parent
    with cg.open(tmp_path / "m.cgdb", "x") as model:
        imported.save(model, "bracket", run="load")
        for name in run.variables:
            assert np.array_equal(run.field(name, frame=-1).array(0).values, model.results["bracket/load"].field(name, frame=-1).array(0).values, equal_nan=True)
    assert folder.exists()
    del imported, run
    gc.collect()
    assert not folder.exists()
    with pytest.warns(cg.LossWarning):
        cg.write_mesh(tmp_path / "plain.stl", cg.Mesh(np.eye(3), {"S3": [[0, 1, 2]]}))
    assert cg.read_mesh(tmp_path / "plain.stl").run is None
