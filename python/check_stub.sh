#!/bin/bash
# Compares the stub of the extension with the extension: check_stub.sh PYTHON FOLDER, where PYTHON has mypy and FOLDER
# holds the package. Ends with an error when one has a name, property or argument that the other lacks; and when two
# such faults, which it plants, are not found.
set -euo pipefail
python=$1 folder=$(realpath "$2")

# What stubtest says of every class and function of nanobind: its own types of classes and functions, and classes that
# only the library makes.
usual='metaclass differs$|is a disjoint base at runtime|is not a function$|__init__ is inconsistent, stub does not have \*args'

# faults STUBS: what is wrong with the stub in that folder
faults() {
  local found
  found=$(MYPYPATH=$1 PYTHONPATH=$folder "$python" -m mypy.stubtest --concise coregeometry._core 2>&1 || true)
  grep -q '^coregeometry\._core\.Mesh is' <<<"$found" || { echo "stubtest did not compare: $found" >&2; exit 1; }
  grep -vE "$usual|^Found|^\$" <<<"$found" || true
}

found=$(faults "$folder")
[ -z "$found" ] || { echo "$found" >&2; exit 1; }

planted=$(mktemp -d)
trap 'rm -rf "$planted"' EXIT
mkdir "$planted/coregeometry"
(cd "$folder/coregeometry" && cp -rL ./*.py ./*.pyi _bridges py.typed "$planted/coregeometry/")
sed -i 's/def find_all(/def find_most(/' "$planted/coregeometry/_core.pyi"
echo 'def no_such_function() -> None: ...' >>"$planted/coregeometry/_core.pyi"
found=$(faults "$planted")
for name in Locator.find_all Locator.find_most no_such_function; do
  grep -q "^coregeometry._core.$name is not present" <<<"$found" || { echo "a wrong stub passes: $name" >&2; exit 1; }
done
