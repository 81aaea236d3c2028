#!/usr/bin/env python3
"""The newest VTK and this library by turns, through the Python packages of both, on one thread and on all cores.

    PYTHONPATH=build/release/python build/peers/bin/python benchmarks/peers/vtk_filters.py [--cubes 100] [--turns 5]

Prints a table: milliseconds of each, best of all turns, and how many times as fast this library is. Says when other
work kept the machine busy."""
import argparse
import os
import tempfile
import time

import coregeometry as cg
import numpy as np
import vtk
from vtkmodules.util.numpy_support import numpy_to_vtk

CUBE = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0], [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]])
HEX_EDGES = [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4), (0, 4), (1, 5), (2, 6), (3, 7)]
TET_EDGES = [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)]
TETS = [(0, 1, 2, 6), (0, 2, 3, 6), (0, 3, 7, 6), (0, 7, 4, 6), (0, 4, 5, 6), (0, 5, 1, 6)]
TYPES = {"C3D8": ([tuple(range(8))], []), "C3D20": ([tuple(range(8))], HEX_EDGES), "C3D4": (TETS, []), "C3D10": (TETS, TET_EDGES)}


def place(x, n, graded):
    """Where x comes to lie, from 0 to n, when edges of length 1 grow in equal ratios from 1 to graded."""
    ratio = graded ** (1 / (n - 1))
    return x if graded == 1 else (ratio**x - 1) / (ratio - 1)


def block(kind, n, is_random, graded=1):
    """n x n x n cubes of one type, each node moved a little; at random nodes and elements in any order."""
    cells, edges = TYPES[kind]
    per_cube = 2 if edges else 1
    width = n * per_cube + 1
    places = []
    for cell in cells:
        corners = CUBE[list(cell)] * per_cube
        places += [*corners, *((corners[a] + corners[b]) // 2 for a, b in edges)]
    pattern = np.array(places) @ np.array([1, width, width * width])
    k, j, i = np.meshgrid(*3 * [np.arange(n) * per_cube], indexing="ij")
    rows = ((i + width * (j + width * k)).ravel()[:, None] + pattern).reshape(len(cells) * n**3, -1)
    used, rows = np.unique(rows, return_inverse=True)
    rows = rows.reshape(len(cells) * n**3, -1)
    xyz = np.stack([used % width, used // width % width, used // width**2], 1) / per_cube
    random = np.random.default_rng(1)
    if not edges:
        xyz += random.uniform(-0.1, 0.1, xyz.shape)
    xyz = place(xyz, n, graded)
    if is_random:
        order = random.permutation(len(xyz))
        moved = np.empty_like(xyz)
        moved[order] = xyz
        xyz, rows = moved, order[rows][random.permutation(len(rows))]
    return cg.Mesh(xyz.astype(np.float32), {kind: rows.astype(np.int32)})


def run(algorithm, source):
    made = algorithm()
    made.SetInputData(source)
    made.Update()
    return made.GetOutput()


def read(reader, file):
    made = reader()
    made.SetFileName(file)
    made.Update()
    return made.GetOutputDataObject(0)


class Table:
    def __init__(self, turns, threads):
        self.turns, self.threads, self.busy = turns, threads, 0.0

    def row(self, name, ours, *theirs):
        """The first of `theirs` that is fastest counts."""
        calls = [ours, *theirs]
        best = [float("inf")] * len(calls)
        for _ in range(self.turns):
            for which, call in enumerate(calls):
                wall, processor = time.perf_counter(), time.process_time()
                call()
                wall = time.perf_counter() - wall
                best[which] = min(best[which], wall)
                if self.threads == 1:
                    self.busy = max(self.busy, wall / max(time.process_time() - processor, 1e-9))
        theirs_best = min(best[1:])
        print(f"| {name} | {self.threads} | {1e3 * best[0]:.1f} | {1e3 * theirs_best:.1f} | {theirs_best / best[0]:.2f} |", flush=True)


def compare(table, n):
    for kind, size, graded in (("C3D8", n, 1), ("C3D8", n, 1000), ("C3D4", int(n * 0.55), 1), ("C3D20", n // 2, 1), ("C3D10", int(n * 0.35), 1)):
        for is_random in (False, True):
            if graded > 1 and is_random:
                continue
            mesh = block(kind, size, is_random, graded)
            grid = mesh.to_vtk()
            name = f"{kind}, {mesh.num_elements:,} elements{', at random' if is_random else ''}{f', edges from 1 to {graded}' if graded > 1 else ''}"
            if graded == 1:
                table.row(f"external faces: {name}", mesh.select_elements().external_faces,
                          lambda grid=grid: run(vtk.vtkDataSetSurfaceFilter, grid), lambda grid=grid: run(vtk.vtkGeometryFilter, grid))
            if is_random:
                continue

            def locator(grid=grid):
                made = vtk.vtkStaticCellLocator()
                made.SetDataSet(grid)
                made.BuildLocator()
                return made

            table.row(f"making a locator: {name}", lambda mesh=mesh: cg.Locator(mesh), locator)
            points = place(np.random.default_rng(2).uniform(0, size, (200_000, 3)), size, graded)
            probe = vtk.vtkProbeFilter()
            cloud = vtk.vtkPolyData()
            cloud.SetPoints(vtk.vtkPoints())
            cloud.GetPoints().SetData(numpy_to_vtk(points, deep=True))
            probe.SetInputData(cloud)
            probe.SetSourceData(grid)
            set_locator = getattr(probe, "SetCellLocator", None) or probe.SetCellLocatorPrototype
            set_locator(vtk.vtkStaticCellLocator())

            def probed(probe=probe):
                probe.Modified()
                probe.Update()

            table.row(f"locator and 200,000 points in it: {name}", lambda mesh=mesh, points=points: cg.Locator(mesh).find(points), probed)
            if graded > 1:
                continue
            table.row(f"volume, area, mass: {name}", mesh.measure, lambda grid=grid: run(vtk.vtkIntegrateAttributes, grid))
            few = block(kind, 16, False)  # it takes a millisecond a cell
            small = few.to_vtk()
            table.row(f"check of the elements: {kind}, {few.num_elements:,} elements", few.check,
                      lambda small=small: run(vtk.vtkCellValidator, small))
    mesh = block("C3D8", n, False)
    with tempfile.TemporaryDirectory() as folder:
        for file, reader in (("a.vtu", vtk.vtkXMLUnstructuredGridReader), ("a.exo", vtk.vtkExodusIIReader)):
            path = os.path.join(folder, file)
            cg.write_mesh(path, mesh)
            table.row(f"reading {file[1:]}: C3D8, {mesh.num_elements:,} elements", lambda path=path: cg.read_mesh(path),
                      lambda path=path, reader=reader: read(reader, path))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--cubes", type=int, default=100, help="along each edge of a block of C3D8")
    parser.add_argument("--turns", type=int, default=5)
    arguments = parser.parse_args()
    print(f"VTK {vtk.vtkVersion.GetVTKVersion()}, {os.cpu_count()} cores\n")
    print("| work | threads | ours, ms | VTK, ms | speed |\n|---|---|---|---|---|")
    vtk.vtkSMPTools.SetBackend("STDThread")
    for threads in sorted({1, len(os.sched_getaffinity(0))}):
        vtk.vtkSMPTools.Initialize(threads)
        cg.set_threads(threads)
        table = Table(arguments.turns, threads)
        compare(table, arguments.cubes)
        if table.busy > 1.1:
            print(f"\nOther work kept the machine busy: a call took {table.busy:.2f} times its processor time.\n")


if __name__ == "__main__":
    main()
