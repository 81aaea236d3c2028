"""Rows that checks, comparisons and conversions answer."""

from __future__ import annotations

from dataclasses import dataclass


@dataclass(frozen=True)
class Finding:
    """One result of a check.

    ``weight`` is ``"fault"`` or ``"note"``; ``labels`` are the first twenty of ``count``.
    """

    weight: str
    root: str
    class_name: str
    object: int
    field: str
    what: str
    advice: str
    labels: tuple[int, ...]
    count: int


@dataclass(frozen=True)
class Difference:
    """A place at which two models or files differ.

    Of an array ``numbers`` is how many numbers differ, ``largest`` the largest absolute difference.
    """

    place: str
    first: str
    second: str
    numbers: int
    largest: float


@dataclass(frozen=True)
class Loss:
    """Contents that a conversion did not keep; ``count`` is -1 when it is not known."""

    what: str
    count: int
