#!/usr/bin/env python3
"""Means at the nodes of a million hexahedra by VTK's cell-to-point filter on one thread, the peer of results_bench's
Means/OfWholeElements. Needs the vtk package of PyPI and numpy; prints milliseconds of wall clock and of the processor,
the best of seven."""
import numpy
from vtk_block import block, measure
from vtkmodules.util.numpy_support import numpy_to_vtk
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkFiltersCore import vtkCellDataToPointData

N = 100


def means(mesh):
    work = vtkCellDataToPointData()
    work.SetInputData(mesh)
    return work


vtkSMPTools.Initialize(1)
natural = numpy.arange((N + 1) ** 3)
for name, order in (("row by row", natural), ("at random", numpy.random.default_rng(2).permutation(natural))):
    mesh = block(N, order)
    array = numpy_to_vtk(numpy.random.default_rng(1).standard_normal((N**3, 6)).astype(numpy.float32), deep=True)
    array.SetName("S")
    mesh.GetCellData().AddArray(array)
    measure(f"numbered {name}", lambda mesh=mesh: means(mesh), 7)
