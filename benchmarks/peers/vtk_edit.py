#!/usr/bin/env python3
"""Quality of a million hexahedra, and cleaning, appending and making quadratic, by VTK on one thread: the peer of
edit_bench. Needs the vtk package of PyPI and numpy; prints milliseconds of wall clock and of the processor, the best of
five."""
import time

import numpy
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
from vtkmodules.vtkCommonCore import vtkPoints, vtkSMPTools
from vtkmodules.vtkCommonDataModel import VTK_HEXAHEDRON, vtkCellArray, vtkUnstructuredGrid
from vtkmodules.vtkFiltersCore import vtkAppendFilter, vtkStaticCleanUnstructuredGrid
from vtkmodules.vtkFiltersGeometry import vtkLinearToQuadraticCellsFilter
from vtkmodules.vtkFiltersVerdict import vtkMeshQuality


def grid(n, moved=0.12):
    """n x n x n cubes, every node moved a little."""
    width = n + 1
    z, y, x = numpy.meshgrid(*3 * [numpy.arange(n)], indexing="ij")
    first = (x + width * (y + width * z)).ravel()
    layer = numpy.array([0, 1, 1 + width, width])
    nodes = first[:, None] + numpy.concatenate([layer, layer + width * width])
    lattice = numpy.stack([a.ravel() for a in numpy.meshgrid(*3 * [numpy.arange(width)], indexing="ij")][::-1], 1)
    xyz = (lattice + numpy.random.default_rng(2).uniform(-moved, moved, lattice.shape)).astype(numpy.float32)
    points = vtkPoints()
    points.SetData(numpy_to_vtk(xyz, deep=True))
    cells = vtkCellArray()
    cells.SetData(8, numpy_to_vtkIdTypeArray(numpy.ascontiguousarray(nodes.ravel()), deep=True))
    made = vtkUnstructuredGrid()
    made.SetPoints(points)
    made.SetCells(VTK_HEXAHEDRON, cells)
    return made


def run(name, make):
    wall, processor = [], []
    for _ in range(5):
        work = make()
        start, used = time.perf_counter(), time.process_time()
        work.Update()
        wall.append(time.perf_counter() - start)
        processor.append(time.process_time() - used)
    print(f"{name}: {1e3 * min(wall):.0f} ms, of the processor {1e3 * min(processor):.0f} ms")


def quality(mesh, measure):
    work = vtkMeshQuality()
    work.SetInputData(mesh)
    work.SaveCellQualityOn()
    getattr(work, f"SetHexQualityMeasureTo{measure}")()
    return work


def of(kind, *meshes):
    work = kind()
    work.SetInputData(meshes[0])
    for mesh in meshes[1:]:
        work.AddInputData(mesh)
    return work


vtkSMPTools.Initialize(1)
million = grid(100)
for ours, theirs in {
    "size": "Volume",
    "edge_ratio": "EdgeRatio",
    "aspect_ratio": "MaxEdgeRatio",
    "scaled_jacobian": "ScaledJacobian",
    "skew": "Skew",
    "taper": "Taper",
}.items():
    run(ours, lambda theirs=theirs: quality(million, theirs))
run("clean", lambda: of(vtkStaticCleanUnstructuredGrid, million))
smaller = grid(80)
run("append", lambda: of(vtkAppendFilter, smaller, smaller))
small = grid(60)
run("order", lambda: of(vtkLinearToQuadraticCellsFilter, small))
