"""What pickles name; functions of an extension cannot be pickled."""

from __future__ import annotations

from typing import Any

from . import _core


def mesh(*state: Any) -> _core.Mesh:
    return _core.restore_mesh(*state)


def block(*state: Any) -> _core.Block:
    return _core.restore_block(*state)
