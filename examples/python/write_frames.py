"""One's own solver writes its frames into a model: heat that spreads along a beam."""

import sys

import numpy as np
from store_a_mesh import beam

import coregeometry as cg


def main(file: str) -> None:
    mesh = beam(20)
    layer = mesh.nodes[:, 0].astype(int)
    heat = np.zeros(21)
    heat[0] = 100
    with cg.open(file, "x") as model:
        model["meshes/Beam"] = mesh
        with model.add_run("Beam", "heating", program="write_frames.py", units="mm, s, K") as run:
            run.add_variable("T", "SCALAR", unit="K")
            step = run.step("Heat", kind="TRANSIENT")
            for i in range(5):
                with step.frame(0.1 * i, increment=40 * i) as frame:  # stored as a whole when the block ends
                    frame.put("T", heat[layer], position="NODAL")
                for _ in range(40):
                    heat[1:-1] += 0.4 * (heat[2:] - 2 * heat[1:-1] + heat[:-2])
        run_again = model.results["Beam/heating"]
        tip = run_again.history("T", node=50)
        print("T of node 50:", np.round(tip.values[:, 0, 0], 2), "at", tip.domain)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "heating.cgdb")
