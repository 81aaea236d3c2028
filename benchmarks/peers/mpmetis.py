#!/usr/bin/env python3
"""Splits of a block of hexahedra by this program and its partition by mpmetis (Debian package metis), by turns, and what
works on the split against the same work on the whole.

    python3 benchmarks/peers/mpmetis.py [--cubes 100] [--parts 64 2000] [--turns 3] [--programs build/release/tools] [--folder FOLDER]

Prints a table: the work, the ratio, the wanted ratio, and the figures it comes from: best of all turns. Says when other
work kept the machine busy."""
import argparse
import json
import os
import re
import subprocess
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path


@dataclass
class Used:
    """What a command took; its children included, as those of mpirun."""
    seconds: float
    processor: float
    megabytes: float
    text: str
    assigned: float | None = None  # seconds until a split knew the part of each element

    def or_better(self, other):
        return self if other is None or self.seconds < other.seconds else other


def run(command, state=None, may_end_with=()):
    with tempfile.TemporaryFile("w+") as out:
        began = time.monotonic()
        process = subprocess.Popen([str(word) for word in command], stdout=out, stderr=subprocess.DEVNULL)
        assigned = None
        while True:
            pid, status, usage = os.wait4(process.pid, os.WNOHANG if state and not assigned else 0)
            if pid:
                break
            if state.exists() and "assigned " in state.read_text():
                assigned = time.monotonic() - began
            time.sleep(0.002)
        seconds = time.monotonic() - began
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, *may_end_with):
            raise SystemExit(f"{' '.join(map(str, command))}: ended with {process.returncode}")
        out.seek(0)
        return Used(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, out.read(), assigned)


def write_block(folder, n):
    """n x n x n cubes for mpmetis, and as a Gmsh file."""
    width = n + 1
    corners = (0, 1, 1 + width, width)
    offsets = [*corners, *(one + width * width for one in corners)]
    rows = [" ".join(str(1 + i + width * (j + width * k) + o) for o in offsets)
            for k in range(n) for j in range(n) for i in range(n)]
    (folder / "block.mesh").write_text(f"{len(rows)}\n" + "\n".join(rows) + "\n")
    with open(folder / "block.msh", "w") as file:
        file.write(f"$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n{width**3}\n")
        file.writelines(f"{1 + p} {p % width} {p // width % width} {p // width**2}\n" for p in range(width**3))
        file.write(f"$EndNodes\n$Elements\n{len(rows)}\n")
        file.writelines(f"{1 + e} 5 2 1 1 {row}\n" for e, row in enumerate(rows))
        file.write("$EndElements\n")


def number(pattern, text):
    return float(re.search(pattern, text).group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--cubes", type=int, default=100)
    parser.add_argument("--parts", type=int, nargs="+", default=[64, 2000])
    parser.add_argument("--turns", type=int, default=3)
    parser.add_argument("--programs", type=Path, default=Path("build/release/tools"))
    parser.add_argument("--folder", help="on the disk to measure")
    options = parser.parse_args()
    tool = options.programs / "coregeometry/coregeometry"
    mpi = options.programs / "coregeometry-mpi/coregeometry-mpi"
    os.environ |= {"OMPI_ALLOW_RUN_AS_ROOT": "1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1"}
    longest = 1.0  # elapsed against processor time of one process
    print("| work | ratio | wanted | measured |\n|---|---|---|---|")

    def row(work, ratio, wanted, measured):
        print(f"| {work} | {ratio:.2f} | {wanted} | {measured} |", flush=True)

    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = Path(name)
        write_block(folder, options.cubes)
        model, split = folder / "block.cgdb", folder / "block.split"
        run([tool, "--quiet", "import", folder / "block.msh", "-o", model])

        def split_by(method, parts):
            subprocess.run(["rm", "-rf", split], check=True)
            return run([tool, "--threads", 1, "split", model, "-n", parts, "--method", method, "-o", split, "--json"],
                       split / ".work/state")

        def cut():
            """Sides of elements between two parts: those outside a part and not outside the block."""
            words = [tool, "--quiet", "skin", "-o", folder / "skin.exo", "--force", "--json"]
            outside = sum(json.loads(run([*words[:3], part, *words[3:]]).text)["faces"]
                          for part in sorted((split / "parts").glob("**/*.cgdb")))
            return (outside - 6 * options.cubes**2) / 2

        for parts in options.parts:
            theirs, best = None, {}
            methods = ("curve", "auto", "metis") if parts == 64 else ("metis",)
            for _ in range(options.turns):
                theirs = run(["mpmetis", "-gtype=dual", "-ncommon=4", folder / "block.mesh", parts]).or_better(theirs)
                for method in methods:  # the last one stays
                    best[method] = split_by(method, parts).or_better(best.get(method))
            longest = max(longest, *(one.seconds / one.processor for one in (theirs, *best.values())))
            metis = best["metis"]
            partitioning = number(r"Partitioning:\s+([\d.]+)", theirs.text)
            row(f"{parts} parts, `metis`: until the parts are known, against the partitioning of mpmetis", metis.assigned / partitioning,
                1.25, f"{metis.assigned:.2f}, {partitioning:.2f} s; reading and hashing the model included")
            their_cut, own_cut = number(r"Edgecut: +(\d+)", theirs.text), cut()
            row(f"{parts} parts, `metis`: cut sides", own_cut / their_cut, 1.02, f"{own_cut:.0f}, {their_cut:.0f}")
            row(f"{parts} parts, `metis`: peak memory", metis.megabytes / theirs.megabytes, 1.3,
                f"{metis.megabytes:.0f}, {theirs.megabytes:.0f} MB")
            for method in methods[:-1]:
                row(f"{parts} parts written, `{method}`, against mpmetis from start to end", best[method].seconds / theirs.seconds,
                    {"curve": 3, "auto": 4.5}[method], f"{best[method].seconds:.1f}, {theirs.seconds:.1f} s; processor {best[method].processor:.1f}, {theirs.processor:.1f} s")

        split_by("auto", 4)
        one = ranks = whole = files = None
        files_of = sorted((split / "parts").glob("*.cgdb"))
        mpirun = ["mpirun", "--oversubscribe", "--bind-to", "none", "--mca", "mpi_yield_when_idle", 1, "-n", 4]
        for _ in range(options.turns):
            one = run([tool, "--threads", 1, "skin", model, "-o", folder / "whole.exo", "--force"]).or_better(one)
            if mpi.exists():
                ranks = run([*mpirun, mpi, "skin", split, "-o", folder / "parts.exo", "--force"]).or_better(ranks)
            check = [tool, "--threads", 1, "check"]
            whole = run([*check, split], may_end_with=(1,)).or_better(whole)  # 1: a finding
            each = [run([*check, file], may_end_with=(1,)) for file in [split / "index.cgdb", *files_of]]
            files = Used(sum(x.seconds for x in each), sum(x.processor for x in each), 0, "").or_better(files)
        if ranks:
            row("skin on 4 ranks against one process: sum of processor time", ranks.processor / one.processor, 1.15,
                f"{ranks.processor:.2f}, {one.processor:.2f} s; mpirun and waiting included")
        row("`check` of the split against the sum of `check` over its files", whole.seconds / files.seconds, 1.5,
            f"{whole.seconds:.2f}, {files.seconds:.2f} s; processor {whole.processor:.2f}, {files.processor:.2f} s")
    if longest > 1.1:
        print(f"Elapsed time was up to {longest:.1f} times the processor time: other work kept the machine busy.")


if __name__ == "__main__":
    main()
