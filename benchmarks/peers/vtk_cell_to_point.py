#!/usr/bin/env python3
"""Means at the nodes of a million hexahedra by VTK's cell-to-point filter on one thread, the peer of results_bench's
Means/OfWholeElements. Needs the vtk package of PyPI and numpy; prints milliseconds of wall clock and of the processor,
the best of seven."""
import time

import numpy
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
from vtkmodules.vtkCommonCore import vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import VTK_HEXAHEDRON, vtkCellArray, vtkUnstructuredGrid
from vtkmodules.vtkFiltersCore import vtkCellDataToPointData

N, WIDTH = 100, 101


def grid(order):
    """N x N x N cubes; node k is numbered order[k]."""
    z, y, x = numpy.meshgrid(*3 * [numpy.arange(N)], indexing="ij")
    first = (x + WIDTH * (y + WIDTH * z)).ravel()
    layer = numpy.array([0, 1, 1 + WIDTH, WIDTH])
    nodes = order[first[:, None] + numpy.concatenate([layer, layer + WIDTH * WIDTH])]
    lattice = numpy.stack([a.ravel() for a in numpy.meshgrid(*3 * [numpy.arange(WIDTH)], indexing="ij")][::-1], 1)
    xyz = numpy.empty((WIDTH**3, 3), numpy.float32)
    xyz[order] = lattice
    points = vtkPoints()
    points.SetData(numpy_to_vtk(xyz, deep=True))
    cells = vtkCellArray()
    cells.SetData(8, numpy_to_vtkIdTypeArray(numpy.ascontiguousarray(nodes.ravel()), deep=True))
    made = vtkUnstructuredGrid()
    made.SetPoints(points)
    made.SetCells(VTK_HEXAHEDRON, cells)
    values = numpy.random.default_rng(1).standard_normal((N**3, 6)).astype(numpy.float32)
    array = numpy_to_vtk(values, deep=True)
    array.SetName("S")
    made.GetCellData().AddArray(array)
    return made


vtkSMPTools.Initialize(1)
natural = numpy.arange(WIDTH**3)
for name, order in (("row by row", natural), ("at random", numpy.random.default_rng(2).permutation(natural))):
    mesh, wall, processor = grid(order), [], []
    for _ in range(7):
        means = vtkCellDataToPointData()
        means.SetInputData(mesh)
        start, used = time.perf_counter(), time.process_time()
        means.Update()
        wall.append(time.perf_counter() - start)
        processor.append(time.process_time() - used)
    print(f"numbered {name}: {1e3 * min(wall):.0f} ms, of the processor {1e3 * min(processor):.0f} ms")
