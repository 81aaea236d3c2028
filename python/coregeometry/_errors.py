"""The exceptions of the package."""

from __future__ import annotations

import builtins
import errno
import os
from collections.abc import Mapping
from typing import Any


class Error(Exception):
    """Base of all errors of the library.

    ``source`` and ``line`` tell where the library raised it, when it says so.
    """

    source: str = ""
    line: int = 0

    def __str__(self) -> str:
        # a KeyError would show the quoted repr of its message
        return Exception.__str__(self)


class DataError(Error, ValueError):
    """Wrong data, or a file that cannot be used."""


class BusyError(DataError, TimeoutError):
    """Another process holds the file; the operation can be repeated."""


class EnumTextError(DataError):
    """A text that its enumeration does not have."""


class CallError(Error, ValueError):
    """A call whose precondition does not hold."""


class OutOfRangeError(Error, IndexError):
    """``index`` is not in [0, ``count``)."""

    index: int = 0
    count: int = 0


class UnknownLabelError(Error, KeyError):
    """Labels that the mesh does not have; ``labels`` are the first twenty of them."""

    labels: tuple[int, ...] = ()


class UnknownTypeError(Error, KeyError):
    """An element type that is not known."""


class Cancelled(Error):
    """The work was asked to stop; everything is as it was before."""


class ClosedError(Error, ValueError):
    """The model is closed, or belongs to another process."""


class MissingLibraryError(Error, ImportError):
    """A library or package that is needed is not installed."""


class LossWarning(UserWarning):
    """A file has no place for a part of what was to be written."""


def make(name: str, message: bytes, attributes: Mapping[str, Any]) -> BaseException:
    """The exception of that name, of this module or of Python; called by the extension."""
    text = message.decode("utf-8", "replace")
    if name == "FileExistsError":
        return FileExistsError(errno.EEXIST, text)
    kind = globals().get(name) or getattr(builtins, name)
    made: BaseException = kind(text)
    for key, value in attributes.items():
        if isinstance(value, bytes):
            value = os.fsdecode(value)
        setattr(made, key, tuple(value) if isinstance(value, list) else value)
    return made
