"""The program ``coregeometry`` of the package."""

from __future__ import annotations

import os
import sys
from pathlib import Path
from typing import NoReturn


def main() -> NoReturn:
    """Becomes the program: same output, exit code and signals."""
    program = str(Path(__file__).parent / "bin" / "coregeometry")
    os.execv(program, ["coregeometry", *sys.argv[1:]])
