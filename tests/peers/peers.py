"""What other programs make of our files, and we of theirs: meshio, netCDF4 and VTK as judges.

Arguments: the coregeometry program. Needs the packages meshio, netCDF4 and vtk, as .ci/run installs them.
"""
import json, os, struct, subprocess, sys, tempfile

import meshio
import netCDF4
import numpy as np
from vtkmodules.vtkCommonCore import vtkVersion  # these need no graphics library
from vtkmodules.vtkFiltersGeneral import vtkCellValidator
from vtkmodules.vtkFiltersVerdict import vtkCellSizeFilter
from vtkmodules.vtkIOExodus import vtkExodusIIReader
from vtkmodules.vtkIOLegacy import vtkUnstructuredGridWriter
from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader, vtkXMLUnstructuredGridWriter

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


def sheared_cell(label, cell):
    """A mesh of meshio's of one element; meshio counts nodes as VTK does."""
    sheet = pyramid(label) if label in COLLAPSED else facts("shapes", "--label", label)
    points = np.zeros((sheet["nodes"], 3))
    column = "vtk" if label not in COLLAPSED else "exodus"
    for row in sheet["nodeTable"] or [{"iso": [0, 0, 0], column: 0}]:
        points[row[column]] = row["iso"]
    points = points @ np.array([[2, 0, 0], [0.3, 3, 0], [0.2, 0.1, 4]])
    return meshio.Mesh(points, [(cell, np.arange(len(points))[None, :])])


def places(mesh):
    """Where the nodes of each element stand, in the order of the element."""
    return [(block.type, mesh.points[block.data].round(5).tolist()) for block in mesh.cells]


def judge_gmsh(folder, label, cell):
    """meshio writes, we read; we write, meshio and VTK read. Wrong orders cannot cancel, since VTU files are judged above."""
    mesh = sheared_cell(label, cell)
    place = os.path.join(folder, label)
    for version in ("gmsh22", "gmsh"):
        for binary in (False, True):
            what = f"{label} by {version}{', binary' if binary else ''}"
            options = {} if binary else {"float_fmt": ".17g"}
            meshio.write(place + ".msh", mesh, file_format=version, binary=binary, **options)
            got = facts("import", place + ".msh", "-o", place + ".msh.cgdb", "--force")
            check((got["nodes"], got["elements"]) == (len(mesh.points), 1), f"{what}: {got['nodes']} nodes")
            run("export", place + ".msh.cgdb", "--name", label, "-o", place + ".vtu", "--force")
            reader = vtkXMLUnstructuredGridReader()
            reader.SetFileName(place + ".vtu")
            grid = next(iter(cells_of_vtk(reader)))
            ids = grid.GetCell(0).GetPointIds()
            found = np.array([grid.GetPoint(ids.GetId(i)) for i in range(ids.GetNumberOfIds())])
            check(found.shape == mesh.points.shape and np.allclose(found, mesh.points, atol=1e-5), f"{what}: nodes of VTU")
            for ours in ("gmsh", "gmsh22"):
                run("export", place + ".msh.cgdb", "--name", label, "-o", place + ".out.msh", "--format", ours, "--force")
                check(places(meshio.read(place + ".out.msh")) == places(mesh), f"{what}: meshio reads another from {ours}")


def box(n):
    """Cubes, and the triangles of their outside as meshio's STL writer wants them."""
    ticks = np.arange(n + 1) / n
    points = np.array(np.meshgrid(ticks, ticks, ticks, indexing="ij")).reshape(3, -1).T.copy()
    index = np.arange((n + 1) ** 3).reshape(n + 1, n + 1, n + 1)
    i, j, k = (a.ravel() for a in np.meshgrid(*[np.arange(n)] * 3, indexing="ij"))
    corners = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 0, 1), (1, 0, 1), (1, 1, 1), (0, 1, 1)]
    return meshio.Mesh(points, [("hexahedron", np.stack([index[i + a, j + b, k + c] for a, b, c in corners], 1))])


def volume_in(points, triangles):
    a, b, c = (points[triangles[:, k]].astype(float) for k in range(3))
    return float(np.einsum("ij,ij->i", a, np.cross(b, c)).sum() / 6)


def as_triangles(mesh):
    parts = []
    for block in mesh.cells:
        parts.append(block.data[:, [0, 1, 2]])
        if block.data.shape[1] == 4:
            parts.append(block.data[:, [0, 2, 3]])
    return np.concatenate(parts)


def judge_surfaces(folder):
    place = os.path.join(folder, "box")
    n = 3
    meshio.write(place + ".msh", box(n), file_format="gmsh22", binary=True)
    run("import", place + ".msh", "-o", place + ".cgdb")
    quads = 6 * n * n
    for suffix, faces in (("stl", 2 * quads), ("obj", quads), ("ply", quads)):
        run("export", place + ".cgdb", "-o", f"{place}.{suffix}")
        mesh = meshio.read(f"{place}.{suffix}")
        count = sum(len(block.data) for block in mesh.cells)
        inside = volume_in(mesh.points, as_triangles(mesh))
        check(count == faces and abs(inside - 1) < 1e-5, f"{suffix}: meshio reads {count} faces around {inside}")
    mesh = meshio.read(place + ".ply")
    for binary in (False, True):
        meshio.write(place + ".theirs.stl", meshio.Mesh(mesh.points, [("triangle", as_triangles(mesh))]), binary=binary)
        got = facts("import", place + ".theirs.stl", "-o", place + ".theirs.cgdb", "--force")
        check((got["nodes"], got["elements"]) == (len(mesh.points), 2 * quads), f"STL of meshio's: {got['nodes']} nodes")
    run("export", place + ".cgdb", "-o", place + ".glb")
    judge_glb(place + ".glb")


def judge_glb(file):
    content = open(file, "rb").read()
    magic, version, length, json_length, kind = struct.unpack_from("<4sIII4s", content)
    check((magic, version, length, kind) == (b"glTF", 2, len(content), b"JSON"), "glb: header")
    facts_in = json.loads(content[20:20 + json_length])
    data = content[28 + json_length:]

    def numbers(index):
        accessor = facts_in["accessors"][index]
        view = facts_in["bufferViews"][accessor["bufferView"]]
        kind, width = {5126: "<f4", 5125: "<u4"}[accessor["componentType"]], {"VEC3": 3, "SCALAR": 1}[accessor["type"]]
        return np.frombuffer(data, kind, accessor["count"] * width, view["byteOffset"]).reshape(-1, width)

    part = facts_in["meshes"][0]["primitives"][0]
    points, corners = numbers(part["attributes"]["POSITION"]), numbers(part["indices"]).reshape(-1, 3)
    inside = volume_in(points, corners)
    check(abs(inside - 1) < 1e-5, f"glb: {inside} inside")
    try:
        from vtkmodules.vtkIOGeometry import vtkGLTFReader
    except ImportError:
        return
    reader = vtkGLTFReader()
    reader.SetFileName(file)
    count = sum(part.GetNumberOfCells() for part in cells_of_vtk(reader))
    check(count == len(corners), f"glb: VTK reads {count} triangles of {len(corners)}")


def writings(grid, mesh, folder):
    """The file of each way in which VTK and meshio write a grid."""
    for mode in ("Ascii", "Binary", "Appended"):
        for bits in range(16):
            writer = vtkXMLUnstructuredGridWriter()
            writer.SetInputData(grid)
            getattr(writer, "SetDataModeTo" + mode)()
            if bits & 1:
                writer.SetCompressor(None)
            writer.SetEncodeAppendedData(bits >> 1 & 1)
            writer.SetByteOrder(bits >> 2 & 1)
            writer.SetHeaderType(64 if bits & 8 else 32)
            yield f"VTK {mode} {bits}", folder + f"/{mode}{bits}.vtu", writer
    for version in (42, 51):
        for form in (1, 2):
            writer = vtkUnstructuredGridWriter()
            writer.SetInputData(grid)
            writer.SetFileVersion(version)
            writer.SetFileType(form)
            yield f"VTK legacy {version} {form}", folder + f"/{version}_{form}.vtk", writer
    for name, write_as in (("zlib.vtu", {}), ("plain.vtu", {"compression": None}), ("ascii.vtu", {"binary": False})):
        yield "meshio " + name, folder + "/m_" + name, lambda file, options=write_as: meshio.vtu.write(file, mesh, **options)
    for name, write_as in (("51.vtk", {}), ("42.vtk", {"fmt_version": "4.2"}), ("ascii.vtk", {"binary": False})):
        yield "meshio " + name, folder + "/m_" + name, lambda file, options=write_as: meshio.vtk.write(file, mesh, **options)


def judge_grids(folder):
    """A model of several types with labels and sets comes back from whatever others make of our VTU files."""
    sample = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../examples/bracket.exo")
    run("import", sample, "-o", folder + "/first.cgdb", "--name", "m")

    def seen(model):
        whole = facts("measure", model)["groups"]
        sets = {one["region"]: one["items"] for one in facts("sets", model)["regions"] if one["kind"] != "surface"}
        return whole, sets, facts("query", model, "--node", "1010", "--element", "104,3001")

    expected, count = seen(folder + "/first.cgdb"), 0
    for encoding in ("default", "compressed", "ascii"):
        ours = folder + f"/{encoding}.vtu"
        run("export", folder + "/first.cgdb", "-o", ours, "--encoding", encoding)
        reader = vtkXMLUnstructuredGridReader()
        reader.SetFileName(ours)
        reader.Update()
        mesh = meshio.read(ours)
        for name, file, writer in [("ours", ours, None), *(writings(reader.GetOutput(), mesh, folder) if encoding == "default" else ())]:
            if hasattr(writer, "SetFileName"):
                writer.SetFileName(file)
                writer.Write()
            elif writer:
                writer(file)
            run("import", file, "-o", folder + "/next.cgdb", "--name", "m", "--force")
            got = seen(folder + "/next.cgdb")
            check(differences(expected, got) == [], f"{encoding}, {name}: {differences(expected, got)}")
            count += 1
    return count


def differences(a, b, place=""):
    if isinstance(a, dict) and isinstance(b, dict) and a.keys() == b.keys():
        return [one for key in a if key not in ("file", "mesh", "category") for one in differences(a[key], b[key], f"{place}/{key}")]
    if isinstance(a, (list, tuple)) and isinstance(b, (list, tuple)) and len(a) == len(b):
        return [one for i, (x, y) in enumerate(zip(a, b)) for one in differences(x, y, f"{place}/{i}")]
    if isinstance(a, (int, float)) and isinstance(b, (int, float)):
        return [] if np.isclose(a, b, rtol=1e-6, atol=1e-9) else [place]
    return [] if a == b else [place]


with tempfile.TemporaryDirectory() as work:
    for one in TYPES:
        judge(work, *one)
    for label, dims, cell in TYPES:
        if dims == 3 and label != "MASS" and cell in meshio._mesh.topological_dimension:  # it has no wedge of 15 nodes
            judge_gmsh(work, label, cell)
    judge_surfaces(work)
    numFiles = judge_grids(work)
print(f"{len(TYPES)} types and {numFiles} files judged by meshio {meshio.__version__}, netCDF4 {netCDF4.__version__}, "
      f"VTK {vtkVersion.GetVTKVersion()}: {len(failures)} failures")
sys.exit(1 if failures else 0)
