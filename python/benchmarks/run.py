"""Ratios of the package to what users would do otherwise, each best of five within one run.

Not a test: figures depend on the machine. README.md has those of the last run.
"""

import os
import subprocess
import sys
import tempfile
import time

import numpy as np

import coregeometry as cg


def best(call, times=5):
    """Seconds of the fastest call."""
    taken = []
    for _ in range(times):
        began = time.perf_counter()
        call()
        taken.append(time.perf_counter() - began)
    return min(taken)


def row(work, ours, against, theirs):
    print(f"| {work} | {1e3 * ours:.3g} ms | {against} | {1e3 * theirs:.3g} ms | {ours / theirs:.2g} |")


def hexes(n):
    """n x n x n unit hexahedra: nodes and rows."""
    axis = np.arange(n + 1, dtype=np.float32)
    z, y, x = np.meshgrid(axis, axis, axis, indexing="ij")
    nodes = np.stack([x.ravel(), y.ravel(), z.ravel()], axis=1)
    k, j, i = np.meshgrid(np.arange(n), np.arange(n), np.arange(n), indexing="ij")
    side, layer = n + 1, (n + 1) ** 2
    first = (i + side * j + layer * k).ravel()
    rows = first[:, None] + np.array([0, 1, 1 + side, side, layer, 1 + layer, 1 + side + layer, side + layer])
    return nodes, rows.astype(np.int32)


def serendipity(iso, corners, mids):
    """The functions of a hexahedron of 20 nodes by NumPy (Zienkiewicz and Taylor, The Finite Element Method, vol. 1)."""
    parts = []
    products = iso[:, None, :] * corners
    parts.append((1 + products).prod(axis=2) * (products.sum(axis=2) - 2) / 8)
    along = mids == 0
    factors = np.where(along, 1 - iso[:, None, :] ** 2, 1 + iso[:, None, :] * mids)
    parts.append(factors.prod(axis=2) / 4)
    return np.concatenate(parts, axis=1)


def files(mesh, nodes, rows, folder):
    """Reading of nodes and connectivity, checksums verified, against arrays and mesh files of others."""
    model, arrays, vtu = (os.path.join(folder, name) for name in ("m.cgdb", "m.npz", "m.vtu"))
    with cg.open(model, "x") as one:
        one["meshes/m"] = mesh

    def read():
        with cg.open(model) as one:
            made = one.meshes["m"]
            return made.nodes, made.blocks[0].connectivity

    def load():
        with np.load(arrays) as one:
            return one["nodes"], one["rows"]

    np.savez(arrays, nodes=nodes, rows=rows)
    ours = best(read)
    row("open a model, read nodes and rows, 44 MB", ours, "`np.load` of an npz file", best(load))
    try:
        import meshio

        meshio.Mesh(nodes, [("hexahedron", rows)]).write(vtu)
        row("the same", ours, "meshio, VTU", best(lambda: meshio.read(vtu), 2))
        import pyvista

        row("the same", ours, "PyVista, VTU", best(lambda: pyvista.read(vtu), 2))
    except ImportError:
        pass


def main():
    print("| work | coregeometry | against | theirs | ratio |\n|---|---|---|---|---|")
    many = np.random.default_rng(1).random((10_000_000, 3), dtype=np.float32)
    big = cg.Mesh(many, {})
    row("`mesh.nodes` of 10 M nodes", best(lambda: big.nodes), "10 us", 1e-5)
    row("`Mesh(...)` of 10 M float32 nodes", best(lambda: cg.Mesh(many, {})), "`ndarray.copy`", best(many.copy))
    del big, many
    nodes, rows = hexes(100)
    labels = np.random.default_rng(2).permutation(len(nodes)).astype(np.int32) + 1
    mesh = cg.Mesh(nodes, {"C3D8": rows}, node_labels=labels)
    asked = np.random.default_rng(3).choice(labels, 1_000_000)
    order = np.argsort(labels)
    ordered = labels[order]
    mesh.node_index(asked[:1])
    theirs = best(lambda: order[np.searchsorted(ordered, asked)])
    row("1 M labels to indices", best(lambda: mesh.node_index(asked)), "`np.searchsorted` on sorted labels", theirs)
    points = np.random.default_rng(4).random((1_000_000, 3)) * 100
    locator = cg.Locator(mesh)
    cg.set_threads(1)
    one = best(lambda: locator.find(points), 3)
    cg.set_threads()
    row("`locate` 1 M points in 1 M hexahedra", best(lambda: locator.find(points), 3), "one thread", one)
    iso = np.random.default_rng(5).random((1_000_000, 3)) * 2 - 1
    brick = cg.shapes["C3D20"]
    places = brick.node_coordinates
    theirs = best(lambda: serendipity(iso, places[:8], places[8:]), 2)
    assert np.allclose(brick.shape_functions(iso[:9]), serendipity(iso[:9], places[:8], places[8:]))
    row("`shape_functions` at 1 M points, C3D20", best(lambda: brick.shape_functions(iso), 3), "NumPy", theirs)
    with tempfile.TemporaryDirectory() as folder:
        files(mesh, nodes, rows, folder)
    try:
        import pyvista

        wide = rows.astype(np.int64)
        theirs = best(lambda: pyvista.UnstructuredGrid({12: wide}, nodes), 3)
        for share in ("cells", "all"):
            ours = best(lambda share=share: mesh.to_pyvista(share=share), 3)
            row(f'`to_pyvista` of 1 M hexahedra, "{share}"', ours, "`pv.UnstructuredGrid({12: cells}, points)`", theirs)
    except ImportError:
        pass

    def imported(code):
        return best(lambda: subprocess.run([sys.executable, "-c", code], check=True))

    row("`import numpy, coregeometry`", imported("import numpy, coregeometry"), "`import numpy`", imported("import numpy"))


if __name__ == "__main__":
    main()
