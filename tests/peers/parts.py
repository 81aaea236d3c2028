"""What VTK and netCDF4 make of the files of split models, one for each part.

Arguments: the coregeometry program. Needs the packages netCDF4 and vtk, as .ci/run installs them.
"""
import os, subprocess, sys, tempfile

import netCDF4
import numpy as np
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOExodus import vtkExodusIIReader
from vtkmodules.vtkIOParallelExodus import vtkPExodusIIReader
from vtkmodules.vtkIOXML import vtkXMLPUnstructuredGridReader
from vtkmodules.vtkParallelCore import vtkDummyController, vtkMultiProcessController

TOOL = os.path.abspath(sys.argv[1])
PARTS = 11  # two digits
HEXAHEDRON = np.array([[0, 1, 5, 4], [1, 2, 6, 5], [2, 3, 7, 6], [0, 4, 7, 3], [0, 3, 2, 1], [4, 5, 6, 7]])
controller = vtkDummyController()
vtkMultiProcessController.SetGlobalController(controller)

def run(*words):
    subprocess.run([TOOL, "-q", *words], check=True)

def blocks_of(reader):
    """Global numbers and coordinates of the nodes, and global numbers of the elements, of all blocks."""
    reader.SetGenerateGlobalNodeIdArray(1)
    reader.SetGenerateGlobalElementIdArray(1)
    reader.UpdateInformation()
    for kind in (vtkExodusIIReader.ELEM_BLOCK, vtkExodusIIReader.NODE_SET, vtkExodusIIReader.SIDE_SET, vtkExodusIIReader.ELEM_SET):
        for i in range(reader.GetNumberOfObjects(kind)):
            reader.SetObjectStatus(kind, i, int(kind == vtkExodusIIReader.ELEM_BLOCK))
    reader.Update()
    places, elements = {}, []
    at = reader.GetOutput().NewIterator()
    while not at.IsDoneWithTraversal():
        grid = at.GetCurrentDataObject()
        nodes = vtk_to_numpy(grid.GetPointData().GetArray("GlobalNodeId"))
        places.update(zip(nodes.tolist(), map(tuple, vtk_to_numpy(grid.GetPoints().GetData()).tolist())))
        elements += vtk_to_numpy(grid.GetCellData().GetArray("GlobalElementId")).tolist()
        at.GoToNextItem()
    return places, sorted(elements)

def maps_of(file):
    """For each neighbour global numbers of the nodes, and of the corners of each face of a hexahedron, in the order of the file."""
    with netCDF4.Dataset(file) as part:
        part.set_auto_mask(False)
        numbers = part.variables["node_num_map"][:]
        rows = part.variables["connect1"][:] if "connect1" in part.variables else np.empty((0, 8), int)
        made = {}

        def lists(kind, *names):
            if f"{kind}_comm_ids" not in part.variables:
                return
            ends = part.variables[f"{kind}_comm_data_idx"][:]
            for number, begin, end in zip(part.variables[f"{kind}_comm_ids"][:], [0, *ends[:-1]], ends):
                yield number - 1, [part.variables[name][begin:end] for name in names]

        for other, (nodes, parts) in lists("n", "n_comm_nids", "n_comm_proc"):
            assert (parts == other).all()
            made[other] = [numbers[nodes - 1].tolist(), []]
        for other, (elements, sides, parts) in lists("e", "e_comm_eids", "e_comm_sids", "e_comm_proc"):
            assert (parts == other).all()
            made[other][1] = [sorted(numbers[rows[element - 1][HEXAHEDRON[side - 1]] - 1].tolist())
                              if element <= len(rows) else None for element, side in zip(elements, sides)]
    return made

with tempfile.TemporaryDirectory() as work:
    os.chdir(work)
    sample = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../examples/bracket.exo")
    run("import", sample, "-o", "whole.cgdb")

    run("split", "whole.cgdb", "-n", str(PARTS), "-o", "whole.split")
    run("export", "whole.cgdb", "-o", "whole.exo", "--no-results")
    run("export", "whole.split", "-o", "parts.exo")
    run("export", "whole.split", "-o", "parts.pvtu")

    with netCDF4.Dataset("whole.exo") as whole:
        labels = whole.variables["node_num_map"][:].tolist()
        num_elements = len(whole.dimensions["num_elem"])
    reader = vtkExodusIIReader()
    reader.SetFileName("whole.exo")
    expected = {labels.index(label) + 1: place for label, place in blocks_of(reader)[0].items()}
    reader = vtkPExodusIIReader()
    reader.SetController(controller)
    reader.SetFileName(f"parts.exo.{PARTS}.00")
    reader.SetFilePrefix("parts.exo")
    reader.SetFilePattern(f"%s.{PARTS}.%02i")
    reader.SetFileRange(0, PARTS - 1)
    places, elements = blocks_of(reader)
    wrong = [(n, places.get(n), expected.get(n)) for n in sorted({*places, *expected}) if places.get(n) != expected.get(n)]
    assert not wrong, f"nodes are elsewhere: {len(wrong)}, as {wrong[:4]}"
    assert elements == list(range(1, num_elements + 1)), "elements are missing or there twice"

    maps = [maps_of(f"parts.exo.{PARTS}.{part:02}") for part in range(PARTS)]
    num_faces = 0
    for part, neighbours in enumerate(maps):
        for other, (nodes, faces) in neighbours.items():
            assert nodes == maps[other][part][0] == sorted(nodes), f"nodes of {part} and {other}"
            back = maps[other][part][1]
            assert len(faces) == len(back), f"faces of {part} and {other}"
            for ours, theirs in zip(faces, back):
                assert ours == theirs or None in (ours, theirs), f"a face of {part} and {other}: {ours}, {theirs}"
                num_faces += ours is not None and ours == theirs
    assert num_faces > 100

    reader = vtkXMLPUnstructuredGridReader()
    reader.SetFileName("parts.pvtu")
    reader.Update()
    grid = reader.GetOutput()
    assert grid.GetNumberOfCells() == num_elements == len(np.unique(vtk_to_numpy(grid.GetCellData().GetArray("ElementLabel"))))
print(f"files of {PARTS} parts read by VTK: {len(places)} nodes, {num_elements} elements, {num_faces} faces in communication maps")
