"""Ratios of the package to what users would do otherwise, each best of five within one run.

Not a test: figures depend on the machine. README.md has those of the last run.
"""

import subprocess
import sys
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
