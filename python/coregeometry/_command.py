"""The program ``coregeometry`` of the package."""

from __future__ import annotations

import os
import sys
import warnings
from pathlib import Path
from typing import NoReturn


def main() -> NoReturn:
    """Becomes the program: same output, exit code and signals. Only ``convert IN OUT`` is of the package itself."""
    if sys.argv[1:2] == ["convert"]:
        sys.exit(convert(sys.argv[2:]))
    program = str(Path(__file__).parent / "bin" / "coregeometry")
    os.execv(program, ["coregeometry", *sys.argv[1:]])


def convert(words: list[str]) -> int:
    """``convert IN OUT [--force]``: any format that the library or meshio reads becomes any other, or a model."""
    from . import _files
    from ._errors import Error

    files = [word for word in words if word != "--force"]
    if len(files) != 2 or any(word.startswith("-") for word in files):
        print("usage: coregeometry convert IN OUT [--force]", file=sys.stderr)
        return 2
    try:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            losses = _files.convert(files[0], files[1], overwrite="--force" in words)
    except (Error, OSError) as error:
        print(f"coregeometry: {error}", file=sys.stderr)
        return 1
    for loss in losses:
        print(f"not kept: {loss.count} {loss.what}" if loss.count >= 0 else f"not kept: {loss.what}", file=sys.stderr)
    return 0
