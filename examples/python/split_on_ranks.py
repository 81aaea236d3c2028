"""Questions about a split mesh, with its parts on the ranks of MPI.

mpirun -n 4 python -m mpi4py split_on_ranks.py bracket.exo
"""

import sys

import numpy as np
from mpi4py import MPI

import coregeometry as cg
from coregeometry import split


def main(file: str) -> None:
    comm = MPI.COMM_WORLD
    if comm.rank == 0:  # once: a split works on any number of ranks
        with cg.open("whole.cgdb", "x") as model:
            cg.read_mesh(file).save(model, "Part")
        split.split("whole.cgdb", "parts.split", 8)
    comm.Barrier()
    parts = split.open("parts.split", comm)

    # each rank opens its own parts
    highest = max((float(np.max(part.mesh.nodes[:, 2])) for part in parts), default=-np.inf)
    highest = comm.allreduce(highest, op=MPI.MAX)
    # all ranks ask the same questions, and have the answers of one process
    volume = parts.measure(thickness=0.002).volume.total
    hit = parts.locate([[0.03, 0.015, 0.002]]).element
    faces = comm.allreduce(len(parts.external_faces().external))  # each rank has those of its parts
    faults = [finding for finding in parts.check() if finding.weight == "fault"]
    if comm.rank == 0:
        print(f"{len(parts)} parts on {comm.size} ranks, highest node at z = {highest:g}")
        print(f"volume {volume:.6g}, {faces} outer faces, {len(faults)} faults")
        print(f"the point is in element {hit.number[0]}, part {hit.part[0]}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "bracket.exo")
