#!/usr/bin/env python3
"""Quality of a million hexahedra, and cleaning, appending and making quadratic, by VTK on one thread: the peer of
edit_bench. Needs the vtk package of PyPI and numpy; prints milliseconds of wall clock and of the processor, the best of
five."""
from vtk_block import block, measure
from vtkmodules.vtkCommonCore import vtkSMPTools
from vtkmodules.vtkFiltersCore import vtkAppendFilter, vtkStaticCleanUnstructuredGrid
from vtkmodules.vtkFiltersGeometry import vtkLinearToQuadraticCellsFilter
from vtkmodules.vtkFiltersVerdict import vtkMeshQuality

TURNS, MOVED = 5, 0.12


def quality(mesh, what):
    work = vtkMeshQuality()
    work.SetInputData(mesh)
    work.SaveCellQualityOn()
    getattr(work, f"SetHexQualityMeasureTo{what}")()
    return work


def of(kind, *meshes):
    work = kind()
    work.SetInputData(meshes[0])
    for mesh in meshes[1:]:
        work.AddInputData(mesh)
    return work


vtkSMPTools.Initialize(1)
million = block(100, moved=MOVED)
for ours, theirs in {
    "size": "Volume",
    "edge_ratio": "EdgeRatio",
    "aspect_ratio": "MaxEdgeRatio",
    "scaled_jacobian": "ScaledJacobian",
    "skew": "Skew",
    "taper": "Taper",
}.items():
    measure(ours, lambda theirs=theirs: quality(million, theirs), TURNS)
measure("clean", lambda: of(vtkStaticCleanUnstructuredGrid, million), TURNS)
smaller = block(80, moved=MOVED)
measure("append", lambda: of(vtkAppendFilter, smaller, smaller), TURNS)
small = block(60, moved=MOVED)
measure("order", lambda: of(vtkLinearToQuadraticCellsFilter, small), TURNS)
