"""Finite-element meshes and models from NumPy arrays."""

from ._core import Block, Controls, Mesh, __version__
from ._errors import (
    BusyError,
    CallError,
    Cancelled,
    ClosedError,
    DataError,
    EnumTextError,
    Error,
    LossWarning,
    MissingLibraryError,
    OutOfRangeError,
    UnknownLabelError,
    UnknownTypeError,
)
from ._tables import Difference, Finding, Loss
from ._work import progress

__all__ = [
    "Block",
    "BusyError",
    "CallError",
    "Cancelled",
    "ClosedError",
    "Controls",
    "DataError",
    "Difference",
    "EnumTextError",
    "Error",
    "Finding",
    "Loss",
    "LossWarning",
    "Mesh",
    "MissingLibraryError",
    "OutOfRangeError",
    "UnknownLabelError",
    "UnknownTypeError",
    "__version__",
    "progress",
]
