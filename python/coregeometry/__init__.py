"""Finite-element meshes and models from NumPy arrays."""

import importlib
from typing import TYPE_CHECKING, Any

from ._core import (
    Block,
    Controls,
    CoordinateSystem,
    EdgeList,
    Edited,
    ElementList,
    FaceList,
    Hits,
    Locator,
    Measures,
    Mesh,
    MeshEditor,
    Moments,
    NamedSet,
    Nearest,
    NodeList,
    Rows,
    Shape,
    TriangleTree,
    num_threads,
    set_threads,
)
from ._core import version as __version__
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

if TYPE_CHECKING:
    from ._columns import to_arrow, to_pandas
    from ._files import Combined, Imported, combine, compare, convert, from_meshio, from_pyvista, read_mesh, write_mesh
    from ._model import Model, Transaction, diff, open
    from ._pictures import Picture, Travel, picture, travel
    from ._result_tables import (
        Category,
        Extreme,
        FieldArray,
        FieldBlock,
        Frame,
        History,
        Integral,
        Loads,
        Mapped,
        Probed,
        Reduced,
        Resultant,
        Step,
        Variable,
    )
    from ._results import Field, Run, where
    from ._shapes import shapes
    from ._tables import (
        Chain,
        Difference,
        EdgeSets,
        FaceSets,
        Finding,
        Location,
        Loss,
        StoredClass,
        StoredObject,
        Triangles,
    )
    from ._work import progress, progress_bar
    from ._writer import FrameWriter, RunWriter, StepWriter

__all__ = [
    "Block",
    "BusyError",
    "CallError",
    "Cancelled",
    "Category",
    "Chain",
    "ClosedError",
    "Combined",
    "Controls",
    "CoordinateSystem",
    "DataError",
    "Difference",
    "EdgeList",
    "EdgeSets",
    "Edited",
    "ElementList",
    "EnumTextError",
    "Error",
    "Extreme",
    "FaceList",
    "FaceSets",
    "Field",
    "FieldArray",
    "FieldBlock",
    "Finding",
    "Frame",
    "FrameWriter",
    "History",
    "Hits",
    "Imported",
    "Integral",
    "Location",
    "Loads",
    "Locator",
    "Loss",
    "LossWarning",
    "Mapped",
    "Measures",
    "Mesh",
    "MeshEditor",
    "MissingLibraryError",
    "Model",
    "Moments",
    "NamedSet",
    "Nearest",
    "NodeList",
    "OutOfRangeError",
    "Picture",
    "Probed",
    "Reduced",
    "Resultant",
    "Rows",
    "Run",
    "RunWriter",
    "Shape",
    "Step",
    "StepWriter",
    "StoredClass",
    "StoredObject",
    "Transaction",
    "Travel",
    "TriangleTree",
    "Triangles",
    "UnknownLabelError",
    "UnknownTypeError",
    "Variable",
    "__version__",
    "combine",
    "compare",
    "convert",
    "diff",
    "from_meshio",
    "from_pyvista",
    "num_threads",
    "open",
    "picture",
    "progress",
    "progress_bar",
    "read_mesh",
    "set_threads",
    "shapes",
    "to_arrow",
    "to_pandas",
    "travel",
    "where",
    "write_mesh",
]

# what has the other public names; each is imported when one of its names is first asked for, the cheap ones first
_LATER = ("_tables", "_shapes", "_work", "_model", "_result_tables", "_results", "_writer", "_files", "_columns", "_pictures")


def __getattr__(name: str) -> Any:
    if name in __all__:
        for module in _LATER:
            found = importlib.import_module(f"{__name__}.{module}")
            if name in vars(found):
                return globals().setdefault(name, vars(found)[name])
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})
