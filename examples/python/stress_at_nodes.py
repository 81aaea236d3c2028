"""Stress from integration points to nodes, its largest value, and a contour."""

import sys
from pathlib import Path

import numpy as np
from store_a_mesh import beam

import coregeometry as cg


def store_bending(file: str) -> None:
    """A bent beam: xx falls along it and changes its sign over the height."""
    mesh = beam(20)
    block = mesh.blocks[0]
    points = cg.shapes["C3D8"].shape_functions(cg.shapes["C3D8"].integration_points)
    places = np.einsum("pn,enk->epk", points, mesh.nodes[block.connectivity].astype(float))
    stress = np.zeros((*places.shape[:2], 6))
    stress[..., 0] = 12 * (20 - places[..., 0]) * (places[..., 2] - 0.5)
    with cg.open(file, "x") as model:
        model["meshes/Beam"] = mesh
        with model.add_run("Beam", "bending") as run:
            run.add_variable("S", "TENSOR_3D_FULL", unit="MPa")
            with run.step("Bend", kind="STATIC").frame(1.0) as frame:
                frame.put("S", stress, position="INTEGRATION_POINT")


def main(file: str) -> None:
    store_bending(file)
    with cg.open(file) as model:
        mises = model.results["Beam/bending"].field("S", frame=-1).invariant("MISES").at_nodes()
        worst = mises.max()
        assert worst is not None
        print(f"largest {worst.value:.1f} MPa at node {worst.label}")
        cg.picture(mises, title="Bent beam", size=(800, 500)).save(Path(file).with_suffix(".png"), overwrite=True)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "bending.cgdb")
