"""Meshes of meshio, VTK and PyVista, there and back."""

import subprocess
import sys

import numpy as np
import pytest
from conftest import box

import coregeometry as cg
from coregeometry import _core

meshio = pytest.importorskip("meshio")
pytest.importorskip("vtkmodules.vtkCommonDataModel")

DEFAULTS = {  # in space and in a plane
    "vertex": ("MASS", "MASS"),
    "line": ("B31", "B21"),
    "line3": ("B32", "B22"),
    "triangle": ("S3", "CPS3"),
    "triangle6": ("STRI65", "CPS6"),
    "quad": ("S4", "CPS4"),
    "quad8": ("S8R", "CPS8"),
    "quad9": ("S9R5", ""),
    "tetra": ("C3D4", "C3D4"),
    "tetra10": ("C3D10", "C3D10"),
    "wedge": ("C3D6", "C3D6"),
    "wedge15": ("C3D15", "C3D15"),
    "wedge18": ("C3D15V", "C3D15V"),
    "hexahedron": ("C3D8", "C3D8"),
    "hexahedron20": ("C3D20", "C3D20"),
    "hexahedron27": ("C3D27", "C3D27"),
    "pyramid": ("", ""),
    "pyramid13": ("", ""),
    "hexahedron24": ("", ""),
}


def patterns():
    """One label of each different cell and order, and its nodes."""
    found = {}
    for label, shape in cg.shapes.items():
        if shape.vtk_type is not None and shape.num_base_nodes > 1:
            found.setdefault((shape.vtk_type, shape.num_base_nodes, tuple(shape.vtk_order)), label)
    return list(found.values())


def cell(label):
    """One element whose nodes stand at those of its shape."""
    nodes = cg.shapes[label].node_coordinates
    return cg.Mesh(nodes, {label: np.arange(len(nodes))[None]})


def several():
    """A mesh of all default types, with labels, categories and sets."""
    blocks, nodes, first, label = [], [], 0, 100
    for kind, _ in DEFAULTS.values():
        if not kind:
            continue
        places = cg.shapes[kind].node_coordinates if kind != "MASS" else np.zeros((1, 3))
        rows = np.arange(first, first + 2 * len(places)).reshape(2, -1)
        nodes += [places, places + 5]
        blocks.append(cg.Block(kind, rows, labels=[label, label + 1], category=f"c{label}"))
        first, label = first + 2 * len(places), label + 2
    mesh = cg.Mesh(np.concatenate(nodes), blocks, node_labels=np.arange(first) + 7)
    return mesh, [
        cg.NamedSet("some nodes", mesh.select_nodes(indices=[0, 3, 9])),
        cg.NamedSet("some", mesh.select_elements(indices=[1, 2, 11])),
        cg.NamedSet("outside", mesh.select_elements().external_faces() | mesh.select_faces(indices=[[10, 0, 1]])),
    ]


def test_default_types():
    from coregeometry._bridges.cells import VTK_TYPES

    for name, wanted in DEFAULTS.items():
        assert tuple(_core.vtk_default_type(VTK_TYPES[name], n) for n in (3, 2)) == wanted, name


@pytest.mark.parametrize("label", patterns())
def test_vtk_sees_cells_as_we_do(label):
    from vtkmodules.vtkFiltersGeneral import vtkCellValidator
    from vtkmodules.vtkFiltersVerdict import vtkCellSizeFilter

    mesh = cell(label)
    grid = mesh.to_vtk()
    size, validator = vtkCellSizeFilter(), vtkCellValidator()
    for one in (size, validator):
        one.SetInputData(grid)
        one.Update()
    data = size.GetOutput().GetCellData()
    measures = mesh.measure(thickness=1.0, section_area=1.0)
    ours = (measures.length, measures.area, measures.volume)[cg.shapes[label].geometry_dimensions - 1].total
    theirs = [data.GetArray(name).GetTuple1(0) for name in ("Length", "Area", "Volume")]
    assert theirs[cg.shapes[label].geometry_dimensions - 1] == pytest.approx(ours, rel=1e-4)
    assert validator.GetOutput().GetCellData().GetArray("ValidityState").GetTuple1(0) == 0
    back = cg.from_pyvista(grid)
    assert back.mesh == mesh and back.mesh.blocks[0].type == label
    assert cg.from_meshio(mesh.to_meshio()).mesh == mesh if cg.shapes[label].vtk_type != 30 else True


@pytest.mark.parametrize("share", ["cells", "all", "none"])
def test_all_at_once_there_and_back(share):
    mesh, sets = several()
    for back in (
        cg.from_pyvista(mesh.to_pyvista(sets=sets, share=share)),
        cg.from_meshio(mesh.to_meshio(sets=sets)),
    ):
        assert back.mesh == mesh and back.losses == [] and np.array_equal(back.cell_order, np.arange(mesh.num_elements))
        assert [block.category for block in back.mesh.blocks] == [block.category for block in mesh.blocks]
        assert back.sets["some"].elements().indices.tolist() == [1, 2, 11]
        assert back.sets["some nodes"].nodes().indices.tolist() == [0, 3, 9]
        assert list(back.sets["outside"].faces()) == list(sets[2].faces()) and back.sets["outside"].kind == "surface"
    grid = mesh.to_vtk(share=share)
    from vtkmodules.util.numpy_support import vtk_to_numpy

    assert np.shares_memory(vtk_to_numpy(grid.GetPoints().GetData()), mesh.nodes) == (share == "all")
    with pytest.warns(cg.LossWarning, match="edges of the surface rim"):
        mesh.to_meshio(sets=[cg.NamedSet("rim", mesh.select_edges(indices=[[10, 0, 0]]))])


def test_surfaces_follow_cells_that_a_filter_leaves(tmp_path):
    mesh = box(2)
    top = cg.NamedSet("top", mesh.select_elements().external_faces().within([0, 0, 2], [2, 2, 2]))
    grid = mesh.to_pyvista(sets=[top])
    part = cg.from_pyvista(grid.extract_cells([5, 7, 0]))
    kept = part.sets["top"].faces()
    assert sorted(part.mesh.element_labels) == [501, 506, 508]
    wanted = [row for row in top.faces().labels().tolist() if row[0] in (501, 506, 508)]
    assert sorted(kept.labels().tolist()) == wanted
    mesh.to_meshio(sets=[top]).write(tmp_path / "box.vtu")
    assert list(cg.from_meshio(meshio.read(tmp_path / "box.vtu")).sets["top"].faces()) == list(top.faces())


def test_what_has_no_type_is_kept_refused_or_skipped():
    points = np.random.default_rng(1).random((9, 3))
    given = meshio.Mesh(
        points,
        [("pyramid", [[0, 1, 2, 3, 4]]), ("triangle", [[0, 1, 2], [2, 3, 4]]), ("hexahedron", [[0, 1, 2, 3, 4, 5, 6, 7]])],
        cell_sets={"a": [np.array([0]), np.array([1]), None]},
    )
    kept = cg.from_meshio(given, types={"hexahedron": "C3D8R"})
    assert [block.type.lower() for block in kept.mesh.blocks] == ["pyramid", "s3", "c3d8r"] and kept.losses[0].count == 1
    assert kept.sets["a"].elements().indices.tolist() == [0, 2]
    again = kept.mesh.to_meshio()
    assert again.cells[0].type == "pyramid" and np.array_equal(again.cells[0].data, given.cells[0].data)
    skipped = cg.from_meshio(given, unknown="skip")
    assert skipped.cell_order.tolist() == [1, 2, 3] and skipped.sets["a"].elements().indices.tolist() == [1]
    with pytest.raises(cg.UnknownTypeError, match="1 cells of type pyramid"):
        cg.from_meshio(given, unknown="refuse")
    with pytest.raises(cg.UnknownTypeError, match="polygon"):
        cg.from_meshio(meshio.Mesh(points, [("polygon", [[0, 1, 2, 3, 4]])]))


def test_a_grid_of_mixed_order_is_grouped():
    pyvista = pytest.importorskip("pyvista")
    cells = [3, 0, 1, 2, 4, 0, 1, 2, 3, 3, 1, 2, 3]
    made = cg.from_pyvista(pyvista.UnstructuredGrid(cells, [5, 9, 5], np.eye(4, 3)))
    assert [(block.type, block.num_elements) for block in made.mesh.blocks] == [("S3", 2), ("S4", 1)]
    assert made.cell_order.tolist() == [0, 2, 1]


def test_convert_on_the_command_line(tmp_path):
    def run(*words):
        done = subprocess.run([sys.executable, "-m", "coregeometry", "convert", *words], capture_output=True, text=True, cwd=tmp_path)
        return done.returncode, done.stderr

    box(2).to_meshio().write(tmp_path / "box.mesh")
    assert run("box.mesh", "box.cgdb") == (0, "")
    with cg.open(tmp_path / "box.cgdb") as model:
        assert model.meshes["box"].num_elements == 8
    assert run("box.mesh", "box.vtu")[0] == 0 and cg.read_mesh(tmp_path / "box.vtu").mesh.num_elements == 8
    assert run("box.vtu", "again.mesh")[0] == 0 and len(meshio.read(tmp_path / "again.mesh").points) == 27
    assert run("box.mesh", "box.cgdb")[0] == 1 and run("box.mesh")[0] == 2
    assert "nothing.xyz" in run("nothing.xyz", "out.vtu")[1]


def test_fields_become_data_of_points_and_cells(tmp_path):
    mesh = box(2)
    with cg.open(tmp_path / "m.cgdb", "a") as model:
        with model.transaction() as change:
            change.meshes["cube"] = mesh
        with model.add_run("cube", "load") as run:
            run.add_variable("T", "SCALAR")
            run.add_variable("N", "SCALAR")
            with run.step("one").frame(1.0) as frame:
                frame.put("T", mesh.nodes[:, 0], position="NODAL")
                frame.put("N", np.arange(8), position="WHOLE_ELEMENT")
        found = model.results["cube/load"]
        grid = found.mesh.to_vtk(fields={"heat": found.field("T"), "number": found.field("N")})
        listed = found.mesh.to_vtk(fields=[found.field("T")])
        with pytest.raises(ValueError, match="another mesh"):
            box(1).to_vtk(fields=[found.field("T")])
    assert grid.GetPointData().HasArray("heat") and listed.GetPointData().HasArray("T")
    from vtkmodules.util.numpy_support import vtk_to_numpy

    assert np.array_equal(vtk_to_numpy(grid.GetPointData().GetArray("heat")).ravel(), mesh.nodes[:, 0])
    assert np.array_equal(vtk_to_numpy(grid.GetCellData().GetArray("number")).ravel(), np.arange(8))
