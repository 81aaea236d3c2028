"""A mesh in parts: split, worked on part by part, asked as a whole, and joined again."""

import sys

import numpy as np

import coregeometry as cg
from coregeometry import split


def main(file: str) -> None:
    imported = cg.read_mesh(file)
    with cg.open("whole.cgdb", "x") as model:
        imported.save(model, "Part")
    parts = split.split("whole.cgdb", "parts.split", 8)
    print(f"{len(parts)} parts of {parts.num_elements} elements")

    # one part in memory at a time
    highest = max(float(np.max(part.mesh.nodes[:, 2])) for part in parts)
    print(f"highest node at z = {highest:g}")

    # questions about the whole, with every digit that one process finds
    volume = parts.measure(thickness=0.002).volume
    print("the same volume:", volume.total == imported.mesh.measure(thickness=0.002).volume.total)
    print("outer faces:", len(parts.external_faces().external))
    hit = parts.locate([[0.03, 0.015, 0.002]]).element
    print(f"the point is in element {hit.number[0]}, part {hit.part[0]}")

    with parts.join("again.cgdb") as joined:
        print("the same mesh:", joined.meshes["Part"] == imported.mesh)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "bracket.exo")
