"""Which elements hold points, and nodal values there."""

import numpy as np
from store_a_mesh import beam

import coregeometry as cg


def main() -> None:
    mesh = beam(20)
    temperature = 20 + 3 * mesh.nodes[:, 0].astype(float)
    points = np.array([[0.25, 0.5, 0.5], [12.5, 0.1, 0.9], [30.0, 0.5, 0.5]])
    hits = mesh.locate(points)
    for point, element, location, value in zip(
        points, hits.labels, hits.location, hits.interpolate(temperature), strict=True
    ):
        print(point, cg.Location(location).name, f"element {element}: {value:g}" if element > 0 else "")


if __name__ == "__main__":
    main()
