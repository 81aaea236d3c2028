"""What pickles name; functions of an extension cannot be pickled."""

from __future__ import annotations

import weakref
from typing import Any

from . import _core

# the object of a mesh, by its state, that lists and sets are pickled with, so that a pickle holds it once
_meshes: weakref.WeakValueDictionary[int, _core.Mesh] = weakref.WeakValueDictionary()


def the(state: int, mesh: _core.Mesh) -> _core.Mesh:
    return _meshes.setdefault(state, mesh)


def same(mesh: _core.Mesh) -> _core.Mesh:
    return mesh


def one_of(kind: str, mesh: _core.Mesh, words: Any) -> Any:
    return getattr(_core, f"restore_{kind}")(mesh, words)


def named_set(*state: Any) -> _core.NamedSet:
    return _core.restore_set(*state)


def mesh(*state: Any) -> _core.Mesh:
    return _core.restore_mesh(*state)


def block(*state: Any) -> _core.Block:
    return _core.restore_block(*state)
