"""Models: files of named meshes, sets and coordinate systems."""

from __future__ import annotations

import errno
import os
import threading
import warnings
import weakref
from collections.abc import Iterator, Mapping, MutableMapping
from types import TracebackType
from typing import Any, Generic, TypeVar

import numpy.typing as npt

from . import _core
from ._errors import ClosedError, LossWarning
from ._results import Run
from ._tables import Difference, Finding, StoredClass, StoredObject
from ._writer import RunWriter

Path = str | os.PathLike[str]
Value = TypeVar("Value")
MESHES, DATUMS, REGIONS, RESULTS = "meshes/", "datums/", "regions/", "results/"
_LISTS = (_core.NodeList, _core.ElementList, _core.FaceList, _core.EdgeList)


def open(
    path: Path, mode: str = "r", *, timeout: float = 5.0, memory_map: bool = False, page_size: int = 16384
) -> Model:
    """Opens a model file.

    Modes are ``"r"``, ``"r+"`` (to change a file that exists), ``"x"`` (a new one, `FileExistsError`) and ``"a"``
    (``"r+"`` or ``"x"``). A new file appears with the first transaction. ``timeout`` is in seconds; after it a file
    in use raises `BusyError`. A file must not be open in Python's ``sqlite3`` at the same time.

    >>> import numpy as np, coregeometry as cg
    >>> mesh = cg.Mesh(np.eye(4, 3, -1), {"C3D4": [[0, 1, 2, 3]]})
    >>> with cg.open("opened.cgdb", "x") as model, model.transaction() as change:
    ...     change.meshes["Wing"] = mesh
    ...     change.sets["Wing/base"] = mesh.select_nodes(indices=[0, 1, 2])
    >>> with cg.open("opened.cgdb") as model:
    ...     model.roots, model.meshes["Wing"] == mesh, len(model.sets["Wing/base"])
    (['meshes/Wing', 'regions/Wing/base', 'sets/Wing/base'], True, 3)
    """
    return Model(path, mode, timeout=timeout, memory_map=memory_map, page_size=page_size)


class Model:
    """An open model: a mapping from the names of its roots to what they hold.

    What was read lives on after `close`. While somebody holds a mesh, reading it again gives the same object.
    """

    def __init__(
        self, path: Path, mode: str = "r", *, timeout: float = 5.0, memory_map: bool = False, page_size: int = 16384
    ) -> None:
        self._database: _core.Database | None = None
        self._open = False
        if mode not in ("r", "r+", "x", "a"):
            raise ValueError(f'mode "{mode}" is none of r, r+, x, a')
        self.path = os.fspath(path)
        self.mode = mode
        self._options = (round(timeout * 1000), memory_map)
        self._page_size = page_size
        self._process = os.getpid()
        self._meshes: weakref.WeakValueDictionary[str, _core.Mesh] = weakref.WeakValueDictionary()
        self._runs: dict[str, _core.Run] = {}
        self._transaction: Transaction | None = None
        exists = os.path.exists(self.path)
        if mode == "x" and exists:
            raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), self.path)
        if mode in ("r", "r+") and not exists:
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), self.path)
        if exists:
            for kind, code, refused in (
                (IsADirectoryError, errno.EISDIR, os.path.isdir(self.path)),
                (PermissionError, errno.EACCES, not os.access(self.path, os.R_OK if mode == "r" else os.R_OK | os.W_OK)),
            ):
                if refused:
                    raise kind(code, os.strerror(code), self.path)
            self._database = _core.open_database(self.path, mode != "r", *self._options)
        self._open = True

    def __enter__(self) -> Model:
        self._check_open()
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    def close(self) -> None:
        """Closes the file; further calls do nothing."""
        self._open = False
        self._database = None
        self._forget_runs()

    @property
    def closed(self) -> bool:
        return not self._open

    def _check_open(self) -> None:
        if not self._open:
            raise ClosedError(f"{self.path} is closed")
        if os.getpid() != self._process:
            raise ClosedError(f"{self.path} was opened by another process: open it again after a fork")

    def _opened(self) -> _core.Database:
        self._check_open()
        if self._database is None:
            raise ClosedError(f"{self.path} has no contents yet: nothing was committed")
        return self._database

    @property
    def file_size(self) -> int:
        """Bytes."""
        self._check_open()
        return self._database.file_size if self._database else 0

    @property
    def roots(self) -> list[str]:
        """Names of all stored objects, sorted."""
        self._check_open()
        return self._database.roots() if self._database else []

    def _roots_of(self, kind: str) -> list[str]:
        self._check_open()
        return self._database.roots_of(kind) if self._database else []

    def __len__(self) -> int:
        return len(self.roots)

    def __iter__(self) -> Iterator[str]:
        return iter(self.roots)

    def __contains__(self, root: object) -> bool:
        return root in self.roots

    def __getitem__(self, root: str) -> Any:
        roots = self.roots
        if root not in roots:
            raise _missing(root, roots)
        database = self._opened()
        name = database.class_name(root)
        if name == "bme_Mesh":
            return self._mesh(root)
        if name == "dtu_DatumCsys":
            return database.csys(root)
        if name == "odiC_Results":
            return Run(self, root)
        if name == "rgnC_Region" and (short := root.removeprefix(REGIONS)) in self.sets:
            return self.sets[short]
        return StoredObject(name, _text_of(root, self.dump()))

    def __setitem__(self, root: str, value: Any) -> None:
        with self.transaction() as change:
            change[root] = value

    def __delitem__(self, root: str) -> None:
        with self.transaction() as change:
            del change[root]

    def _mesh(self, root: str) -> _core.Mesh:
        mesh = self._meshes.get(root)
        if mesh is None:
            mesh = self._meshes[root] = self._opened().mesh(root)
        return mesh

    @property
    def meshes(self) -> Mapping[str, _core.Mesh]:
        """The meshes by name."""
        return _Named(self, {name.removeprefix(MESHES): (name,) for name in self._roots_of("mesh")}, self._mesh)

    @property
    def sets(self) -> Mapping[str, _core.NamedSet]:
        """The sets and surfaces, by ``"<mesh>/<name>"``; a mesh is read when a set of it is asked for."""
        self._check_open()
        found = self._database.set_roots() if self._database else []
        return _Named(self, {f"{mesh.removeprefix(MESHES)}/{name}": (mesh, name) for mesh, name in found}, self._set)

    def _set(self, mesh: str, name: str) -> _core.NamedSet:
        return dict(self._opened().sets(mesh, self._mesh(mesh)))[name]

    @property
    def datums(self) -> Mapping[str, _core.CoordinateSystem]:
        """The coordinate systems, by ``"<mesh>/<name>"``."""
        found: dict[str, tuple[_core.CoordinateSystem]] = {}
        for root in self._roots_of("datums"):
            for name, one in self._opened().datums(root).items():
                found[f"{root.removeprefix(DATUMS)}/{name}"] = (one,)
        return _Named(self, found, lambda one: one)

    @property
    def results(self) -> Mapping[str, Run]:
        """The runs of results, by ``"<mesh>/<run>"``."""
        self._check_open()
        roots = self._database.runs() if self._database else []
        return _Named(self, {root.removeprefix(RESULTS): (root,) for root in roots}, lambda root: Run(self, root))

    def add_run(self, mesh: str, name: str, *, description: str = "", program: str = "", units: str = "") -> RunWriter:
        """A new run of a stored mesh, written frame by frame: ``with model.add_run("Wing", "run1") as w: ...``.

        `FileExistsError` when there is one of that name.

        >>> import numpy as np, coregeometry as cg
        >>> mesh = cg.Mesh(np.eye(4, 3, -1), {"C3D4": [[0, 1, 2, 3]]})
        >>> with cg.open("run.cgdb", "x") as model:
        ...     model["meshes/Wing"] = mesh
        ...     with model.add_run("Wing", "heat") as run:
        ...         run.add_variable("T", unit="K")
        ...         with run.step("Warm up").frame(0.1) as frame:
        ...             frame.put("T", [20, 21, 22, 25], position="NODAL")
        ...     warm = model.results["Wing/heat"].field("T", frame=-1)
        ...     warm.max().value, (warm - 20).by_node()[:, 0].tolist()
        (25.0, [0.0, 1.0, 2.0, 5.0])
        """
        self._check_writable()
        if mesh not in self.meshes:
            raise _missing(mesh, list(self.meshes))
        root = f"{RESULTS}{mesh}/{name}"
        if root in self.roots:
            raise FileExistsError(errno.EEXIST, f"there is a run {root} already", self.path)
        of = self.meshes[mesh]
        self._forget_runs()
        return RunWriter(self, _core.write_run(self._opened(), root, of, description, program, units), of)

    def _import_results(self, mesh: str, run: str, file: str, format: str) -> None:
        _core.import_results(self._opened(), MESHES + mesh, run, file, format)
        self._forget_runs()

    def _hold(self, folder: object, meshes: Mapping[str, _core.Mesh]) -> None:
        """Keeps the folder of its file as long as itself; these meshes are what reading them gives."""
        self._folder = folder
        for name, mesh in meshes.items():
            self._meshes[MESHES + name] = mesh

    def _run(self, root: str) -> _core.Run:
        self._check_open()
        if root not in self._runs:
            self._runs[root] = _core.open_run(self._opened(), root)
        return self._runs[root]

    def _forget_runs(self) -> None:
        self._runs.clear()

    def transaction(self) -> Transaction:
        """All changes of a ``with`` block, or none of them.

        `PermissionError` for a model that is open for reading, `RuntimeError` for one within another. Changes are
        written when the block ends without an exception.
        """
        self._check_open()
        if self.mode == "r":
            raise PermissionError(errno.EACCES, "the model is open for reading", self.path)
        return Transaction(self)

    def _commit(self, changes: list[tuple[Any, ...]]) -> None:
        self._check_open()
        if self._database is not None:
            for remark in self._database.commit(changes):
                warnings.warn(f"{self.path}: {remark}", LossWarning, stacklevel=4)
        else:
            _core.create_database(self.path, self._page_size, changes)
            self._database = _core.open_database(self.path, True, *self._options)
        self._meshes.clear()
        self._forget_runs()

    def classes(self) -> list[StoredClass]:
        """The classes of the stored objects."""
        return self._opened().classes()

    @property
    def outdated(self) -> bool:
        """Whether it holds objects in superseded layouts."""
        return self._opened().is_outdated

    def upgrade(self, backup: bool = True) -> int:
        """Rewrites objects of superseded layouts, and returns their number; the file is first copied to ``.bak``."""
        self._check_writable()
        return self._opened().upgrade(f"{self.path}.bak" if backup else None)

    def compact(self) -> None:
        """Deletes what no root reaches, and gives the space back."""
        self._check_writable()
        self._opened().compact()

    def _check_writable(self) -> None:
        self._check_open()
        if self.mode == "r":
            raise PermissionError(errno.EACCES, "the model is open for reading", self.path)

    def backup(self, path: Path) -> None:
        """Copies the present state into a new file; `FileExistsError`."""
        self._opened().backup(os.fspath(path))

    def dump(self) -> str:
        """Everything in it as text."""
        return self._opened().dump().decode("utf-8", "replace")

    def check(self) -> list[Finding]:
        """Damage of the file, and faults and notes about meshes, sets and runs; an empty list when all is well."""
        return self._opened().check()

    def read_range(self, path: str, first: int, count: int, dtype: str = "float32") -> npt.NDArray[Any]:
        """Numbers of a stored array, such as ``"meshes/Wing.nodeData.coordinates"``, without reading the rest."""
        return self._opened().read_range(path, first, count, dtype)

    def __repr__(self) -> str:
        return f"<Model {self.path!r} mode {self.mode!r}{' closed' if self.closed else ''}>"

    def __reduce__(self) -> Any:
        raise TypeError("a Model cannot be pickled: pickle its path, or the meshes that were read")


class Transaction:
    """Changes of a model that become visible together; see `Model.transaction`."""

    def __init__(self, model: Model) -> None:
        self._model = model
        self._thread = threading.get_ident()
        self._active = False
        self._changes: dict[str, tuple[Any, ...]] = {}

    def __enter__(self) -> Transaction:
        if self._model._transaction is not None:
            raise RuntimeError("a transaction of this model is open already")
        self._model._transaction = self
        self._active = True
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        active, self._active = self._active, False
        if self._model._transaction is self:
            self._model._transaction = None
        if kind is None and active:
            self._model._commit(list(self._changes.values()))

    def __reduce__(self) -> Any:
        raise TypeError("a Transaction cannot be pickled: pickle what it shall change")

    def rollback(self) -> None:
        """Forgets the changes, and ends the transaction."""
        self._active = False
        self._changes.clear()

    def _check(self) -> None:
        if not self._active:
            raise RuntimeError("the transaction has ended, or was not entered")
        if threading.get_ident() != self._thread:
            raise RuntimeError("the transaction belongs to another thread")

    def _put(self, key: str, change: tuple[Any, ...]) -> None:
        self._check()
        self._changes.pop(key, None)
        self._changes[key] = change

    @property
    def meshes(self) -> MutableMapping[str, _core.Mesh]:
        return _Changing(self, MESHES, self._model.meshes)

    @property
    def sets(self) -> MutableMapping[str, Any]:
        """By ``"<mesh>/<name>"``; a list of nodes, elements, faces or edges is stored under that name."""
        return _Changing(self, REGIONS, self._model.sets)

    @property
    def datums(self) -> MutableMapping[str, _core.CoordinateSystem]:
        """By ``"<mesh>/<name>"``."""
        return _Changing(self, DATUMS, self._model.datums)

    def __setitem__(self, root: str, value: Any) -> None:
        for folder, mapping in ((MESHES, self.meshes), (REGIONS, self.sets), (DATUMS, self.datums)):
            if root.startswith(folder):
                mapping[root.removeprefix(folder)] = value
                return
        raise ValueError(f'"{root}" is in none of the folders {MESHES}, {REGIONS} and {DATUMS}')

    def __delitem__(self, root: str) -> None:
        for folder, mapping in ((MESHES, self.meshes), (REGIONS, self.sets), (DATUMS, self.datums)):
            if root.startswith(folder) and root.removeprefix(folder) in mapping:
                del mapping[root.removeprefix(folder)]
                return
        if root not in self._model.roots:
            raise _missing(root, self._model.roots)
        is_run = root.removeprefix(RESULTS) in self._model.results
        self._put(root, ("remove run" if is_run else "remove", root))

    def _set(self, folder: str, name: str, value: Any) -> None:
        key = folder + name
        if folder == MESHES:
            if not isinstance(value, _core.Mesh):
                raise TypeError(f"a Mesh is needed, not {type(value).__name__}")
            self._put(key, ("mesh", name, value))
            return
        mesh, slash, own = name.partition("/")
        if not slash or not own:
            raise ValueError(f'"{name}" must be "<mesh>/<name>"')
        if folder == DATUMS:
            if not isinstance(value, _core.CoordinateSystem):
                raise TypeError(f"a CoordinateSystem is needed, not {type(value).__name__}")
            self._put(key, ("datum", mesh, own, value))
            return
        if isinstance(value, _LISTS):
            value = _core.NamedSet(own, value)
        if not isinstance(value, _core.NamedSet):
            raise TypeError(f"a NamedSet or a list is needed, not {type(value).__name__}")
        if mesh not in self.meshes:
            raise _missing(mesh, list(self.meshes))
        if self.meshes[mesh] != value.mesh:
            raise ValueError(f'the set is of another mesh than "{mesh}"')
        self._put(key, ("set", mesh, own, value))

    def _delete(self, folder: str, name: str) -> None:
        key = folder + name
        if folder == DATUMS:
            mesh, _, own = name.partition("/")
            self._put(key, ("datum", mesh, own, None))
            return
        self._put(key, ("remove", key))
        if folder == REGIONS and f"sets/{name}" in self._model.roots:
            self._put(f"sets/{name}", ("remove", f"sets/{name}"))


class _Named(Mapping[str, Value], Generic[Value]):
    """A mapping whose values are read when they are asked for."""

    def __init__(self, model: Model, names: Mapping[str, tuple[Any, ...]], read: Any) -> None:
        self._model, self._names, self._read = model, names, read

    def __len__(self) -> int:
        return len(self._names)

    def __iter__(self) -> Iterator[str]:
        return iter(sorted(self._names))

    def __getitem__(self, name: str) -> Value:
        if name not in self._names:
            raise _missing(name, list(self._names))
        value: Value = self._read(*self._names[name])
        return value

    def __repr__(self) -> str:
        return f"<{len(self)} of {self._model!r}: {', '.join(list(self)[:8])}>"


class _Changing(MutableMapping[str, Value], Generic[Value]):
    """What the model will hold after the transaction."""

    def __init__(self, transaction: Transaction, folder: str, stored: Mapping[str, Any]) -> None:
        self._transaction, self._folder, self._stored = transaction, folder, stored

    def _pending(self) -> dict[str, tuple[Any, ...]]:
        changes = self._transaction._changes
        return {key.removeprefix(self._folder): c for key, c in changes.items() if key.startswith(self._folder)}

    @staticmethod
    def _is_gone(change: tuple[Any, ...]) -> bool:
        return change[0] == "remove" or change[-1] is None

    def __iter__(self) -> Iterator[str]:
        pending = self._pending()
        names = {*self._stored, *pending} - {name for name, change in pending.items() if self._is_gone(change)}
        return iter(sorted(names))

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __getitem__(self, name: str) -> Value:
        change = self._pending().get(name)
        if change is not None and self._is_gone(change):
            raise _missing(name, list(self))
        value: Value = self._stored[name] if change is None else change[-1]
        return value

    def __setitem__(self, name: str, value: Value) -> None:
        self._transaction._set(self._folder, name, value)

    def __delitem__(self, name: str) -> None:
        if name not in self:
            raise _missing(name, list(self))
        if name in self._stored:
            self._transaction._delete(self._folder, name)
        else:
            self._transaction._check()
            del self._transaction._changes[self._folder + name]


def _missing(name: str, names: list[str]) -> KeyError:
    return KeyError(f'there is no "{name}"{_core.alternatives(name, names)}')


def _text_of(root: str, dump: str) -> str:
    """The lines of a dump that are about one root."""
    lines = dump.splitlines(keepends=True)
    first = next(i for i, line in enumerate(lines) if line.startswith(f"{root}: "))
    end = next((i for i in range(first + 1, len(lines)) if not lines[i].startswith(" ")), len(lines))
    return "".join(lines[first:end])


def diff(a: Path | Model, b: Path | Model, tolerance: float = 0.0) -> list[Difference]:
    """Where the contents of two models differ; an empty list when they are equal.

    Numbers are equal within ``tolerance * max(1, |a|, |b|)``.

    >>> import coregeometry as cg
    >>> for name, x in (("one.cgdb", 1.0), ("two.cgdb", 1.5)):
    ...     with cg.open(name, "x") as model:
    ...         model["meshes/Line"] = cg.Mesh([[0, 0], [x, 0]], {"B21": [[0, 1]]})
    >>> [(one.place, one.largest) for one in cg.diff("one.cgdb", "two.cgdb")]
    [('meshes/Line.nodeData.coordinates[3]', 0.5)]
    """
    with _borrowed(a) as first, _borrowed(b) as second:
        return _core.diff_databases(first._opened(), second._opened(), tolerance)


class _borrowed:
    """A model that is open, or one that is opened for a while."""

    def __init__(self, model: Path | Model) -> None:
        self._own = None if isinstance(model, Model) else open(model)
        self._model = model if isinstance(model, Model) else self._own

    def __enter__(self) -> Model:
        assert self._model is not None
        return self._model

    def __exit__(self, *_: object) -> None:
        if self._own is not None:
            self._own.close()
