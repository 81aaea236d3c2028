"""A mesh file becomes a PyVista grid, without copying its elements."""

import sys

import coregeometry as cg


def main(file: str) -> None:
    imported = cg.read_mesh(file)
    for loss in imported.losses:
        print("not kept:", loss.what)
    nodes_and_elements = [one for one in imported.sets.values() if one.kind != "surface"]
    grid = imported.mesh.to_pyvista(sets=nodes_and_elements)
    print(imported.mesh)
    print(f"{grid.n_points} points, {grid.n_cells} cells, volume {grid.volume:.6g}")
    print("arrays:", ", ".join(sorted(grid.cell_data.keys())))


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "examples/bracket.exo")
