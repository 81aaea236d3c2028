#!/usr/bin/env python3
"""Splits by this program beside mpmetis (Debian package metis), and what works on a split beside the same on the whole.

    python3 benchmarks/peers/split_goals.py [--cubes 100] [--turns 3] [--only partition memory ...]
        [--build build/release] [--folder FOLDER]

Prints a table: the work, the ratio, the wanted ratio, and the figures it comes from. Times are processor time, the best of
all turns, which take turns with what they are compared with."""
import argparse
import json
import math
import multiprocessing
import os
import random
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
    moved: float  # megabytes that it read and wrote itself
    out: str
    errors: str

    def or_better(self, other):
        return self if other is None or self.processor < other.processor else other


def run(*command, may_end_with=()):
    with tempfile.TemporaryFile("w+") as out, tempfile.TemporaryFile("w+") as errors:
        began = time.monotonic()
        process = subprocess.Popen([str(word) for word in command], stdout=out, stderr=errors)
        os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
        seconds = time.monotonic() - began
        counts = dict(line.split(": ") for line in Path(f"/proc/{process.pid}/io").read_text().splitlines())
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        out.seek(0)
        errors.seek(0)
        if process.returncode not in (0, *may_end_with):
            raise SystemExit(f"{' '.join(map(str, command))}: ended with {process.returncode}: {errors.read()}")
        return Used(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024,
                    (int(counts["rchar"]) + int(counts["wchar"])) / 1e6, out.read(), errors.read())


def write_cubes(folder, name, n, keep=lambda i, j, k: True, shuffled=False):
    """Cubes of a grid of n x n x n, as a Gmsh file and for mpmetis; shuffled: nodes and elements numbered at random."""
    width = n + 1
    corners = (0, 1, 1 + width, width)
    offsets = [*corners, *(one + width * width for one in corners)]
    first = [i + width * (j + width * k) for k in range(n) for j in range(n) for i in range(n) if keep(i, j, k)]
    points = sorted({p + o for p in first for o in offsets})
    if shuffled:
        random.Random(1).shuffle(first)
        random.Random(2).shuffle(points)
    number = {p: 1 + at for at, p in enumerate(points)}
    rows = [" ".join(str(number[p + o]) for o in offsets) for p in first]
    (folder / f"{name}.mesh").write_text(f"{len(rows)}\n" + "\n".join(rows) + "\n")
    with open(folder / f"{name}.msh", "w") as file:
        file.write(f"$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n{len(points)}\n")
        file.writelines(f"{1 + at} {p % width} {p // width % width} {p // width**2}\n" for at, p in enumerate(points))
        file.write(f"$EndNodes\n$Elements\n{len(rows)}\n")
        file.writelines(f"{1 + e} 5 2 1 1 {row}\n" for e, row in enumerate(rows))
        file.write("$EndElements\n")


def gyroid(n):
    """Where the cubes of a thin curved wall are: two cells of the surface along each side."""
    def keep(i, j, k):
        x, y, z = (4 * math.pi * (at + 0.5) / n for at in (i, j, k))
        return abs(math.sin(x) * math.cos(y) + math.sin(y) * math.cos(z) + math.sin(z) * math.cos(x)) < 0.3
    return keep


class Goals:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.tool = options.build / "tools/coregeometry/coregeometry"
        self.mpi = options.build / "tools/coregeometry-mpi/coregeometry-mpi"

    def row(self, work, ratio, wanted, measured):
        print(f"| {work} | {ratio:.2f} | {wanted} | {measured} |", flush=True)

    def model(self, name, n, **how):
        file = self.folder / f"{name}.cgdb"
        if not file.exists():
            writer = multiprocessing.get_context("fork").Process(target=write_cubes, args=(self.folder, name, n), kwargs=how)
            writer.start()  # a process of its own: what this one has taken would count as the peak of its children
            writer.join()
            run(self.tool, "-q", "import", self.folder / f"{name}.msh", "-o", file)
        return file

    def block(self):
        return self.model("block", self.options.cubes)

    def split(self, model, parts, method, *more):
        """What it used, and its report."""
        folder = model.with_suffix(".split")
        subprocess.run(["rm", "-rf", folder], check=True)
        used = run(self.tool, "--threads", 1, "split", model, "-n", parts, "--method", method, "-o", folder, "--json", *more)
        return used, json.loads(used.out)

    def cut(self, model, n):
        """Sides of cubes between two parts: those outside a part and not outside the block."""
        parts = sorted((model.with_suffix(".split") / "parts").glob("**/*.cgdb"))
        skin = [run(self.tool, "-q", "skin", part, "-o", self.folder / "skin.exo", "--force", "--json") for part in parts]
        return (sum(json.loads(one.out)["faces"] for one in skin) - 6 * n**2) / 2

    def partition(self):
        """METIS with its graph, cut and memory; the whole split."""
        model = self.block()
        for parts in (64, 2000):
            ours = theirs = written = whole = cuts = their_cuts = 0
            methods = ("curve", "auto") if parts == 64 else ()
            best = {}
            for seed in range(self.options.turns):  # the same for both
                peer = run("mpmetis", "-gtype=dual", "-ncommon=4", f"-seed={seed}", model.with_suffix(".mesh"), parts)
                used, report = self.split(model, parts, "metis", "--seed", seed)
                own = report["seconds"]["graph"] + report["seconds"]["metis"]
                peers = float(re.search(r"Partitioning:\s+([\d.]+)", peer.out)[1])
                ours, theirs = min(ours or own, own), min(theirs or peers, peers)
                written, whole = used.or_better(written or None), peer.or_better(whole or None)
                their_cuts += int(re.search(r"Edgecut: +(\d+)", peer.out)[1])
                cuts += self.cut(model, self.options.cubes)
                for method in methods:
                    best[method] = self.split(model, parts, method)[0].or_better(best.get(method))
            self.row(f"{parts} parts, `metis`: graph and METIS, against the partitioning of mpmetis", ours / theirs, 1.25,
                     f"{ours:.2f}, {theirs:.2f} s")
            self.row(f"{parts} parts, `metis`: cut sides, sums of {self.options.turns} seeds", cuts / their_cuts, 1.02,
                     f"{cuts:.0f}, {their_cuts}")
            self.row(f"{parts} parts, `metis`: peak memory", written.megabytes / whole.megabytes, 1.3,
                     f"{written.megabytes:.0f}, {whole.megabytes:.0f} MB")
            for method in methods:
                self.row(f"{parts} parts written, `{method}`, against all of mpmetis", best[method].processor / whole.processor,
                         {"curve": 3, "auto": 4.5}[method], f"{best[method].processor:.1f}, {whole.processor:.1f} s")

    def chunks(self):
        """The curve with METIS in chunks against METIS on all."""
        n = self.options.cubes
        wall = self.model("wall", int(n * 1.5), keep=gyroid(int(n * 1.5)))
        self.model("small", n // 2)
        tetrahedra = self.folder / "tetrahedra.cgdb"
        if not tetrahedra.exists():
            run(self.tool, "-q", "split-elements", self.folder / "small.cgdb", "-o", tetrahedra)
        for model in (self.block(), wall, tetrahedra):
            for parts in (64, 1000):
                copies, times = {}, {}
                for _ in range(self.options.turns):
                    for method, more in (("auto", ("--chunks", 8)), ("metis", ())):
                        report = self.split(model, parts, method, *more)[1]
                        copies[method] = 1 + report["copies"]
                        spent = report["seconds"]["graph"] + report["seconds"]["metis"]
                        times[method] = min(times.get(method, spent), spent)
                where = f"{model.stem}, {report['elements']} elements, {parts} parts, 8 chunks against METIS on all"
                beyond = [100 * (copies[method] - 1) for method in ("auto", "metis")]
                self.row(f"{where}: copies of nodes beyond one", beyond[0] / beyond[1], 1.03,
                         f"{beyond[0]:.1f}, {beyond[1]:.1f} %")
                self.row(f"{where}: graph and METIS", times["auto"] / times["metis"], 0.8,
                         f"{times['auto']:.2f}, {times['metis']:.2f} s")

    def traffic(self):
        """Out of memory: bytes that are read and written."""
        for name, wanted in (("block", 4.5), ("random", 7)):
            model = self.model(name, self.options.cubes, shuffled=name == "random")
            for method, more in (("curve", ()), ("auto", ("--chunks", 8))):
                used, _ = self.split(model, 64, method, "--memory", "48M", *more)
                ends = (model.stat().st_size + sum(file.stat().st_size for file in model.with_suffix(".split").rglob("*.cgdb"))) / 1e6
                self.row(f"{name}, 64 parts, `{method}` in 48 MiB: bytes read and written against input and output",
                         used.moved / ends, wanted, f"{used.moved:.0f}, {ends:.0f} MB; peak {used.megabytes:.0f} MB")

    def ranks(self):
        """Skin on 4 ranks."""
        model = self.model("two_million", round(self.options.cubes * 1.26))
        self.split(model, 4, "auto")
        split = model.with_suffix(".split")
        mpirun = ["mpirun", "--oversubscribe", "--bind-to", "none", "--mca", "mpi_yield_when_idle", 1, "-n", 4, self.mpi]
        one = start = four = parts = None
        for _ in range(self.options.turns):
            one = run(self.tool, "--threads", 1, "skin", model, "-o", self.folder / "skin.exo", "--force").or_better(one)
            parts = run(self.tool, "--threads", 1, "skin", split, "-o", self.folder / "one.exo", "--force").or_better(parts)
            start = run(*mpirun, "--version").or_better(start)
            four = run(*mpirun, "-v", "skin", split, "-o", self.folder / "parts.exo", "--force").or_better(four)
        all_ranks, messages, waiting = (float(x) for x in re.search(
            r"ranks: (\S+) s, of it messages (\S+) s, waiting for other ranks (\S+) s", four.errors).groups())
        work = four.processor - start.processor
        self.row("skin on 4 ranks without their start, against one process with the whole", work / one.processor, 1.15,
                 f"{four.processor:.2f} - {start.processor:.2f}, {one.processor:.2f} s; waiting for other ranks {waiting:.2f} s of it")
        self.row("the same without waiting", (work - waiting) / one.processor, "", "")
        self.row("the same 4 parts in one process", parts.processor / one.processor, "", f"{parts.processor:.2f} s")
        self.row("the messages of the same against all of it", messages / work, 0.03, f"{messages:.3f}, {work:.2f} s")

    def check(self):
        model = self.block()
        self.split(model, 4, "auto")
        split = model.with_suffix(".split")
        whole = files = None
        for _ in range(self.options.turns):
            check = [self.tool, "--threads", 1, "check"]
            whole = run(*check, split, may_end_with=(1,)).or_better(whole)  # 1: a finding
            each = sum(run(*check, file, may_end_with=(1,)).processor
                       for file in [split / "index.cgdb", *sorted((split / "parts").glob("*.cgdb"))])
            files = min(files or each, each)
        self.row("`check` of the split against the sum of `check` over its files", whole.processor / files, 1.5,
                 f"{whole.processor:.2f}, {files:.2f} s")

    def memory(self):
        """Of a rank at rest, with one part open."""
        model = self.model("two_million", round(self.options.cubes * 1.26))
        self.split(model, 2, "auto")
        facts = json.loads(run(self.options.build / "tests/split/resting_memory", model.with_suffix(".split"), 0).out)
        allowed = 70 * facts["elements"] + 24 * facts["shared"]
        self.row("a rank at rest against 70 bytes an element and 24 a shared node", facts["bytes"] / allowed, 1,
                 f"{facts['bytes'] / 1e6:.0f} MB; {facts['elements']} elements, {facts['shared']} shared nodes")


def main():
    works = ("partition", "chunks", "traffic", "ranks", "check", "memory")
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--cubes", type=int, default=100, help="along each side of the block")
    parser.add_argument("--turns", type=int, default=3)
    parser.add_argument("--only", nargs="+", choices=works, default=works)
    parser.add_argument("--build", type=Path, default=Path("build/release"))
    parser.add_argument("--folder", help="on the disk to measure")
    options = parser.parse_args()
    os.environ |= {"OMPI_ALLOW_RUN_AS_ROOT": "1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1"}
    print("| work | ratio | wanted | measured |\n|---|---|---|---|")
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        goals = Goals(options, Path(name))
        for work in options.only:
            getattr(goals, work)()


if __name__ == "__main__":
    main()
