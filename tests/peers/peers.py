"""What other programs make of our files, and we of theirs: meshio, netCDF4 and VTK as judges.

Arguments: the coregeometry program. Needs the packages meshio, netCDF4 and vtk, as .ci/run installs them.
"""
import json, os, subprocess, sys, tempfile

import meshio
import netCDF4
import numpy as np
from vtkmodules.vtkCommonCore import vtkVersion  # these need no graphics library
from vtkmodules.vtkFiltersGeneral import vtkCellValidator
from vtkmodules.vtkFiltersVerdict import vtkCellSizeFilter
from vtkmodules.vtkIOExodus import vtkExodusIIReader
from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader

TOOL = os.path.abspath(sys.argv[1])
# our type, spatial dimensions, meshio's cell
TYPES = [
    ("C3D8", 3, "hexahedron"), ("C3D20", 3, "hexahedron20"), ("C3D27", 3, "hexahedron27"), ("C3D4", 3, "tetra"),
    ("C3D10", 3, "tetra10"), ("C3D6", 3, "wedge"), ("C3D15", 3, "wedge15"), ("S4", 3, "quad"), ("S8R", 3, "quad8"),
    ("S9R5", 3, "quad9"), ("S3", 3, "triangle"), ("STRI65", 3, "triangle6"), ("CPS4", 2, "quad"), ("CPS3", 2, "triangle"),
    ("B31", 3, "line"), ("B32", 3, "line3"), ("B21", 2, "line"), ("MASS", 3, "vertex"),
    ("PYRAMID5", 3, "pyramid"), ("PYRAMID13", 3, "pyramid13"),
]
COLLAPSED = {"PYRAMID5": "C3D8", "PYRAMID13": "C3D20"}
# meshio has no wedge of 15 and no pyramid of 13 nodes in Exodus files; VTK leaves out the ninth node of a SHELL9, which has the name for its sides
KNOWN = {("meshio", "C3D15"), ("meshio", "PYRAMID13"), ("VTK", "S9R5")}
failures = []


def check(holds, what):
    if not holds:
        failures.append(what)
        print("FAILED:", what)


def run(*words):
    done = subprocess.run([TOOL, *words], capture_output=True, text=True)
    check(done.returncode == 0, f"{' '.join(words)}: {done.stderr}")
    return done.stdout


def facts(*words):
    return json.loads(run(*words, "--json"))


def write(file, points, dims, form):
    """An Exodus file of one element; the coordinates are its first variables."""
    with netCDF4.Dataset(file, "w", format=form) as out:
        count = len(points)
        for name, size in (("num_nodes", count), ("num_elem", 1), ("num_el_blk", 1), ("num_dim", dims),
                           ("num_el_in_blk1", 1), ("num_nod_per_el1", count), ("len_string", 33), ("time_step", None)):
            out.createDimension(name, size)
        for axis in range(dims):
            out.createVariable("coord" + "xyz"[axis], "f8", ("num_nodes",))[:] = points[:, axis]
        out.createVariable("time_whole", "f8", ("time_step",))
        out.createVariable("eb_status", "i4", ("num_el_blk",))[:] = 1
        ids = out.createVariable("eb_prop1", "i4", ("num_el_blk",))
        ids[:] = 1
        ids.setncattr("name", "ID")
        rows = out.createVariable("connect1", "i4", ("num_el_in_blk1", "num_nod_per_el1"))
        rows.elem_type = NAMES[len(points), dims] if (len(points), dims) in NAMES else "HEX"
        rows[:] = np.arange(1, count + 1)
        out.title = ""
        for name, value in (("api_version", 5.0), ("version", 5.0)):
            out.setncattr(name, np.float32(value))
        out.floating_point_word_size = np.int32(8)
        out.file_size = np.int32(1)


NAMES = {}


def cells_of_vtk(reader):
    reader.Update()
    output = reader.GetOutput()
    if output.IsA("vtkMultiBlockDataSet"):
        parts = output.NewIterator()
        while not parts.IsDoneWithTraversal():
            yield parts.GetCurrentDataObject()
            parts.GoToNextItem()
    else:
        yield output


def pyramid(label):
    """What the sheet of a shape would be: the base, the apex, middles of the base's edges and of the others."""
    corners = np.array([[-1, -1, 0], [1, -1, 0], [1, 1, 0], [-1, 1, 0], [0, 0, 1]], float)
    edges = [(0, 1), (1, 2), (2, 3), (3, 0), (0, 4), (1, 4), (2, 4), (3, 4)] if label == "PYRAMID13" else []
    places = [*corners, *((corners[a] + corners[b]) / 2 for a, b in edges)]
    return {"nodes": len(places), "exodus": label, "dimensions": 3,
            "nodeTable": [{"iso": place, "exodus": i} for i, place in enumerate(places)]}


def judge(folder, label, dims, cell):
    sheet = pyramid(label) if label in COLLAPSED else facts("shapes", "--label", label)
    points = np.zeros((sheet["nodes"], 3))
    table = sheet["nodeTable"] or [{"iso": [0, 0, 0], "exodus": 0}]
    for row in table:
        points[row["exodus"]] = row["iso"]
    # sheared, so that no two directions look alike
    points = points @ np.array([[2, 0, 0], [0.3, 3, 0], [0.2, 0.1, 4]] if dims == 3 else [[2, 0, 0], [0.3, 3, 0], [0, 0, 0]])
    NAMES[len(points), dims] = sheet["exodus"] or "SPHERE"
    place = os.path.join(folder, label)
    for form in ("NETCDF4", "NETCDF3_64BIT_OFFSET"):
        write(place + ".in.exo", points, dims, form)
        got = facts("import", place + ".in.exo", "-o", place + ".cgdb", "--force", "--map",
                    f"{sheet['exodus'] or 'SPHERE1'}={COLLAPSED.get(label, label)}")
        check(got["classes"][0]["type"] == COLLAPSED.get(label, label), f"{label}: read as {got['classes'][0]['type']}")
        nodes = facts("query", place + ".cgdb", "--node", f"1:{len(points)}")["nodes"]
        check(np.allclose([node["coordinates"] for node in nodes], points, atol=1e-6), f"{label}, {form}: coordinates")
    run("export", place + ".cgdb", "-o", place + ".exo", "--force")
    run("export", place + ".cgdb", "-o", place + ".vtu", "--force")

    try:
        blocks = meshio.read(place + ".exo").cells
        found = [(block.type, block.data.shape) for block in blocks]
    except BaseException as error:  # it ends the process at names it does not know
        found = [(str(error), ())]
    if ("meshio", label) not in KNOWN:
        check(found == [(cell, (1, len(points)))], f"{label}: meshio reads {found}")

    reader = vtkExodusIIReader()
    reader.SetFileName(place + ".exo")
    read = [(part.GetNumberOfCells(), part.GetCell(0).GetNumberOfPoints()) for part in cells_of_vtk(reader)
            if part.GetNumberOfCells()]
    if ("VTK", label) not in KNOWN:
        check(read == [(1, len(points))], f"{label}: VTK reads {read} from Exodus II")

    reader = vtkXMLUnstructuredGridReader()
    reader.SetFileName(place + ".vtu")
    grid = next(iter(cells_of_vtk(reader)))
    check(grid.GetCell(0).GetNumberOfPoints() == len(points), f"{label}: VTU")
    size = vtkCellSizeFilter()
    size.SetInputData(grid)
    size.Update()
    if sheet["dimensions"] == 3:
        volume = size.GetOutput().GetCellData().GetArray("Volume").GetValue(0)
        check(volume > 0, f"{label}: VTK's volume is {volume}")
    if label != "MASS":
        validator = vtkCellValidator()
        validator.SetInputData(grid)
        validator.Update()
        state = validator.GetOutput().GetCellData().GetArray("ValidityState").GetTuple1(0)
        check(state == 0, f"{label}: vtkCellValidator says {state:g}")


with tempfile.TemporaryDirectory() as work:
    for one in TYPES:
        judge(work, *one)
print(f"{len(TYPES)} types judged by meshio {meshio.__version__}, netCDF4 {netCDF4.__version__}, "
      f"VTK {vtkVersion.GetVTKVersion()}: {len(failures)} failures")
sys.exit(1 if failures else 0)
