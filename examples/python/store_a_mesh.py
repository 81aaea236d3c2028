"""From NumPy arrays to a stored model: nodes, elements, a set, and what the mesh weighs."""

import sys

import numpy as np

import coregeometry as cg


def beam(count: int) -> cg.Mesh:
    """Hexahedra in a row, with labels as a user would give them."""
    x, yz = np.arange(count + 1), np.array([[0, 0], [1, 0], [1, 1], [0, 1]])
    nodes = np.column_stack([np.repeat(x, 4), np.tile(yz, (count + 1, 1))])
    first = 4 * np.arange(count)[:, None]
    return cg.Mesh(nodes, {"C3D8": first + [0, 4, 5, 1, 3, 7, 6, 2]}, node_labels=np.arange(1, len(nodes) + 1) * 10)


def main(file: str) -> None:
    mesh = beam(20)
    with cg.open(file, "x") as model, model.transaction() as change:
        change.meshes["Beam"] = mesh
        change.sets["Beam/clamped"] = mesh.select_nodes(box=([0, 0, 0], [0, 1, 1]))
    with cg.open(file) as model:
        mass = model.meshes["Beam"].measure(density=7.85e-9).mass
        print(f"mass {mass.total:.4g} t at x = {mass.centre[0]:g}" if mass.centre is not None else "no mass")
        print("clamped nodes:", model.sets["Beam/clamped"].nodes().labels())


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "beam.cgdb")
