#!/usr/bin/env bash
# As a part of another project nothing is installed unless asked, and only what is built has headers, libraries and
# package files. Configures, builds nothing.    parts.sh SOURCE WORK COMPILER
set -euo pipefail
source=$1 work=$2 compiler=$3
rm -rf "$work" && mkdir -p "$work/host"
cat >"$work/host/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.24)
project(Host LANGUAGES C CXX)
add_subdirectory($source core_geometry)
END

configure() { # folder source options...
  cmake -S "$2" -B "$work/$1" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" "${@:3}" >"$work/$1.log" 2>&1 || {
    cat "$work/$1.log"
    exit 1
  }
}
installs() { # folder pattern: whether files of that name would be installed from it
  find "$work/$1" -name cmake_install.cmake -exec grep -qE "$2" {} +
}
check() { # "some" or "none" folder pattern
  local found=none
  installs "$2" "$3" && found=some
  [ "$found" = "$1" ] || { echo "$2 installs $found of $3, not $1"; exit 1; }
}

configure part "$work/host" -DCORE_GEOMETRY_EXCHANGE=ON
check none part 'file\(INSTALL'
configure asked "$work/host" -DCORE_GEOMETRY_INSTALL=ON
check some asked 'libCoreGeometry\.so'
check none asked '/(exo_|vtu_|pic_)[A-Za-z]*\.h|CoreGeometry(Exchange|Picture)|coregeometry-'
configure without "$source" -DCORE_GEOMETRY_EXODUS=OFF
grep -q 'Exodus II files: neither read nor written' "$work/without.log"
check some without 'libCoreGeometryExchange\.so'
check none without 'libCoreGeometryExodus'
configure drawing "$source" -DCORE_GEOMETRY_EXCHANGE=OFF
check some drawing '/pic_Scene\.h'
check some drawing 'libCoreGeometryPicture\.so'
check some drawing 'coregeometry-picture\.pc'
check some drawing '/LICENSE'
check none drawing '/(exo_|vtu_)[A-Za-z]*\.h|CoreGeometryExchange|coregeometry-exchange|bin/coregeometry'
# no test is left out in silence
configure least "$source" -DCORE_GEOMETRY_EXCHANGE=OFF -DCORE_GEOMETRY_PICTURE=OFF -DCORE_GEOMETRY_INSTALL=OFF
leaves_out() { # folder what is missing tests...
  local tests
  for tests in "${@:3}"; do
    ctest --test-dir "$work/$1" -N | grep "$tests.left_out_without_$2.*Disabled" >/dev/null && continue
    echo "ctest does not say that $1 leaves out $tests for want of $2"
    exit 1
  done
}
leaves_out without the_Exodus_II_library tools examples reliability.KilledImports
leaves_out drawing CORE_GEOMETRY_EXCHANGE tools examples reliability.KilledImports
leaves_out least CORE_GEOMETRY_INSTALL install
