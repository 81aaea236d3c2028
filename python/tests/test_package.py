"""What holds for the package as a whole."""

import doctest
import re
import subprocess
import sys
from pathlib import Path

import pytest

import coregeometry as cg

ROOT = Path(__file__).parents[2]


def test_one_version_everywhere():
    shown = subprocess.run([sys.executable, "-m", "coregeometry", "--version"], capture_output=True, text=True, check=True)
    assert cg.__version__ == (ROOT / "VERSION").read_text().strip()
    assert shown.stdout.split()[-1] == cg.__version__


def test_import_is_cheap_and_loads_each_library_once():
    code = (
        "import sys, coregeometry\n"
        "print(sorted({'meshio', 'vtkmodules', 'pyvista', 'pandas', 'coregeometry._model', 'tempfile'} & set(sys.modules)))\n"
        "maps = {line.split()[-1] for line in open('/proc/self/maps') if 'CoreGeometry' in line}\n"
        "print(sorted(name.rsplit('/', 1)[1].split('.')[0] for name in maps))"
    )
    ran = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    packages, libraries = (eval(line) for line in ran.stdout.splitlines())
    assert packages == []
    assert len(set(libraries)) == len(libraries) and {"libCoreGeometry", "libCoreGeometryPlatform"} <= set(libraries)
    assert ran.stderr == ""


MISSING = [
    ("meshio", "cube.to_meshio()"),
    ("meshio", "cg.read_mesh('unknown.xyz')"),
    ("vtkmodules", "cube.to_vtk()"),
    ("pyvista", "cube.to_pyvista()"),
    ("pandas", "cube.to_pandas('nodes')"),
    ("pyarrow", "cg.to_arrow(cube)"),
    ("scipy", "cube.neighbours('face').to_scipy()"),
]


@pytest.mark.parametrize(("package", "call"), MISSING)
def test_a_package_that_is_missing_is_named(package, call, cube, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "unknown.xyz").write_text("?")
    for name in [name for name in sys.modules if name.split(".")[0] == package]:
        monkeypatch.delitem(sys.modules, name)
    monkeypatch.setitem(sys.modules, package, None)
    install = package.replace("vtkmodules", "vtk")
    with pytest.raises(cg.MissingLibraryError, match=f"pip install {install}") as raised:
        eval(call, {"cg": cg, "cube": cube})
    assert isinstance(raised.value, ImportError)


def test_public_names_are_documented_and_exist():
    for name in cg.__all__:
        assert name == "__version__" or getattr(cg, name).__doc__, name


@pytest.mark.parametrize("page", ["README.md", "python/README.md"])
def test_examples_of_pages(page, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    ran = doctest.testfile(str(ROOT / page), module_relative=False)
    assert ran.attempted > 0 and ran.failed == 0


def test_the_index_names_everything():
    page = (ROOT / "docs" / "python.md").read_text()
    columns = [line.split("|")[1] for line in page.splitlines() if line.startswith("| `")]
    from coregeometry import split

    of_module = [f"split.{name}" for name in split.__all__]
    assert sorted(re.findall(r"`([\w.]+)`", " ".join(columns))) == sorted([*cg.__all__, *of_module])


def documented():
    """The public names, and what their classes have under their own names."""
    for name in cg.__all__:
        one = getattr(cg, name)
        yield name, one
        if isinstance(one, type):
            for member, its in vars(one).items():
                if not member.startswith("_"):
                    yield f"{name}.{member}", its


@pytest.mark.filterwarnings("ignore")
def test_examples_of_docstrings(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    parser, runner = doctest.DocTestParser(), doctest.DocTestRunner()
    tests = [parser.get_doctest(one.__doc__ or "", {}, name, None, 0) for name, one in documented() if name != "__version__"]
    for test in tests:
        runner.run(test)
    assert sum(len(test.examples) > 0 for test in tests) >= 18 and runner.summarize().failed == 0


def test_the_stub_names_python_types_only():
    stub = (Path(cg.__file__).parent / "_core.pyi").read_text()
    assert "class Mesh" in stub and "std::" not in stub
