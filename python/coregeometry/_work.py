"""Progress and cancelling of long work."""

from __future__ import annotations

import contextlib
import contextvars
import importlib
import logging
import sys
from collections.abc import Callable, Iterator
from typing import Any

from . import _core

_callback: contextvars.ContextVar[Callable[[float, str], Any] | None] = contextvars.ContextVar(
    "coregeometry.progress", default=None
)
_logger = logging.getLogger("coregeometry")


@contextlib.contextmanager
def progress(callback: Callable[[float, str], Any]) -> Iterator[None]:
    """Calls ``callback(fraction, work)`` during long work of this thread, at most every 50 ms.

    The fraction runs from 0 to 1 within one call of the library. A callback that returns ``False`` stops the work,
    which raises `Cancelled`; what it raises passes through.

    >>> import coregeometry as cg
    >>> with cg.progress(lambda fraction, work: fraction < 0.9):
    ...     line = cg.Mesh([[0, 0], [1, 0]], {"B21": [[0, 1]]})  # too short to be asked
    """
    token = _callback.set(callback)
    _core.add_listener(1)
    try:
        yield
    finally:
        _core.add_listener(-1)
        _callback.reset(token)


@contextlib.contextmanager
def progress_bar() -> Iterator[None]:
    """Shows progress of long work: by tqdm when it is installed, else as text on a terminal."""
    try:
        tqdm: Any = importlib.import_module("tqdm.auto").tqdm
    except ImportError:
        with _text_bar():
            yield
        return
    with tqdm(total=100, unit="%") as bar:

        def show(fraction: float, work: str) -> None:
            bar.set_description(work)
            bar.update(max(0.0, 100 * fraction - bar.n))

        with progress(show):
            yield


@contextlib.contextmanager
def _text_bar() -> Iterator[None]:
    if not sys.stderr.isatty():
        yield
        return
    with progress(lambda fraction, work: print(f"\r{100 * fraction:3.0f} % {work:.60}", end="", file=sys.stderr)):
        yield
    print(file=sys.stderr)


def poll(fraction: float, work: bytes) -> bool:
    """Whether the work shall stop; called by the extension."""
    callback = _callback.get()
    return callback is not None and callback(fraction, work.decode("utf-8", "replace")) is False


def status(text: bytes) -> None:
    """Called by the extension when the work says what it does."""
    _logger.info("%s", text.decode("utf-8", "replace"))
