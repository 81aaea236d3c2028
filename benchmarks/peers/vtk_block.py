"""Blocks of hexahedra as VTK grids, and the time of a filter: what the programs beside this one share."""
import time

import numpy
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
from vtkmodules.vtkCommonCore import vtkPoints
from vtkmodules.vtkCommonDataModel import VTK_HEXAHEDRON, vtkCellArray, vtkUnstructuredGrid


def block(n, order=None, moved=0.0):
    """n x n x n cubes, every node moved by up to `moved`; node k is numbered order[k]."""
    width = n + 1
    order = numpy.arange(width**3) if order is None else order
    z, y, x = numpy.meshgrid(*3 * [numpy.arange(n)], indexing="ij")
    first = (x + width * (y + width * z)).ravel()
    layer = numpy.array([0, 1, 1 + width, width])
    nodes = order[first[:, None] + numpy.concatenate([layer, layer + width * width])]
    lattice = numpy.stack([a.ravel() for a in numpy.meshgrid(*3 * [numpy.arange(width)], indexing="ij")][::-1], 1)
    xyz = numpy.empty((width**3, 3), numpy.float32)
    xyz[order] = lattice + numpy.random.default_rng(2).uniform(-moved, moved, lattice.shape)
    points = vtkPoints()
    points.SetData(numpy_to_vtk(xyz, deep=True))
    cells = vtkCellArray()
    cells.SetData(8, numpy_to_vtkIdTypeArray(numpy.ascontiguousarray(nodes.ravel()), deep=True))
    made = vtkUnstructuredGrid()
    made.SetPoints(points)
    made.SetCells(VTK_HEXAHEDRON, cells)
    return made


def measure(name, make, turns):
    """Updates a filter that `make` gives, and prints the best of so many times."""
    wall, processor = [], []
    for _ in range(turns):
        work = make()
        start, used = time.perf_counter(), time.process_time()
        work.Update()
        wall.append(time.perf_counter() - start)
        processor.append(time.process_time() - used)
    print(f"{name}: {1e3 * min(wall):.0f} ms, of the processor {1e3 * min(processor):.0f} ms")
