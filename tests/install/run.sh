#!/usr/bin/env bash
# Builds programs outside the project against an installed copy of it, with CMake and with pkg-config, and runs them.
#    run.sh TREE WORK COMPILER FLAGS [COMPONENT...]
# TREE is a build folder, which is installed first, or the prefix of an installed copy; shared or static libraries.
set -euo pipefail
tree=$1 work=$2 compiler=$3 flags=$4
components=("${@:5}")
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work" && mkdir -p "$work"
if [ -f "$tree/CMakeCache.txt" ]; then
  # the manifest in the build folder belongs to who installed from it
  manifest=$tree/install_manifest.txt
  [ -f "$manifest" ] && cp "$manifest" "$work/manifest_before"
  cmake --install "$tree" --prefix "$work/installed" >"$work/install.log"
  mv "$manifest" "$work/manifest"
  [ -f "$work/manifest_before" ] && mv "$work/manifest_before" "$manifest"
  tree=$work/installed
fi
pc=$(dirname "$(find "$tree" -name coregeometry.pc)")
lib=$(dirname "$pc")
export PKG_CONFIG_PATH=$pc
read -ra flags <<<"$flags"

fail() {
  echo "$*" >&2
  exit 1
}

# programs of CMake
cmake -S "$here/consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="${flags[*]}" -DCOMPONENTS="$(IFS=';' && echo "${components[*]}")" >"$work/configure.log"
cmake --build "$work/cmake" >"$work/build.log"
for program in store "${components[@],,}"; do
  "$work/cmake/$program"
  echo "find_package: $program ran"
done
# a component that is not installed is refused by name
for missing in Exchange Picture Distributed Mpi; do
  compgen -G "$lib/libCoreGeometry$missing.*" >/dev/null && continue # installed, whether tried here or not
  cmake -S "$here/consumer" -B "$work/missing" -G Ninja -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCOMPONENTS="$missing" >"$work/missing.log" 2>&1 && fail "find_package found $missing, which is not installed"
  grep -q "$missing" "$work/missing.log" || fail "find_package does not name $missing"
  [ -e "$pc/coregeometry-${missing,,}.pc" ] && fail "pkg-config file of $missing, which is not installed"
done

# programs of pkg-config
with_pkg_config() { # program package
  local options
  read -ra options <<<"$(pkg-config --cflags --libs "$2")"
  [[ " ${options[*]} " != *" -std="* ]] || fail "$2 chooses the language standard"
  "$compiler" -std=c++20 "${flags[@]}" "$here/consumer/$1.cpp" -o "$work/$1" "${options[@]}" -Wl,-rpath,"$lib"
  "$work/$1"
  echo "pkg-config $2: $1 ran"
}
with_pkg_config store coregeometry
for component in "${components[@],,}"; do
  with_pkg_config "$component" "coregeometry-$component"
done

# Of shared libraries each finds its neighbours by its own run path: in a program that needs only one of them, and
# opened by a program that knows none.
if compgen -G "$lib/libCoreGeometry*.so" >/dev/null; then
  read -ra include <<<"$(pkg-config --cflags coregeometry)"
  "$compiler" -std=c++20 "${flags[@]}" "${include[@]}" "$here/consumer/least.cpp" -o "$work/least" \
    -L"$lib" -Wl,--as-needed -lCoreGeometry -Wl,-rpath,"$lib"
  needed=$(readelf -d "$work/least" | grep -o 'libCoreGeometry[^]]*')
  [ "$(wc -l <<<"$needed")" = 1 ] || fail "the smallest program needs more than one of the libraries: $needed"
  "$work/least"
  echo "the smallest program ran"
  "$compiler" -std=c++20 "${flags[@]}" "$here/consumer/open.cpp" -o "$work/open" -ldl
  (unset LD_LIBRARY_PATH && "$work/open" "$lib"/libCoreGeometry*.so)
fi

# what is for many machines stays in the libraries that are called so
needs() { # library pattern
  [ ! -f "$lib/libCoreGeometry$1.so" ] || readelf -d "$lib/libCoreGeometry$1.so" | grep 'NEEDED' | grep -qE "$2"
}
if compgen -G "$lib/libCoreGeometry*.so" >/dev/null; then
  for library in "" Platform Exchange Picture; do
    [ -f "$lib/libCoreGeometry$library.so" ] && needs "$library" 'libmpi|libmetis|Distributed|Mpi' &&
      fail "libCoreGeometry$library.so needs what split models need"
  done
  needs Distributed 'libmetis' || fail "libCoreGeometryDistributed.so does not use METIS"
  [ -f "$lib/libCoreGeometryDistributed.so" ] && needs Distributed 'libmpi|Mpi' && fail "libCoreGeometryDistributed.so needs MPI"
  needs Mpi 'libmpi' || fail "libCoreGeometryMpi.so does not use MPI"
fi

# without the plug-in a file that needs it is an error that says what to install
plugin=$lib/libCoreGeometryExodus.so
if [ -f "$plugin" ] && [ -x "$work/exchange" ]; then
  mv "$plugin" "$work/plugin"
  "$work/exchange" 2>"$work/without_plugin.log" && fail "Exodus II files are written without the plug-in"
  mv "$work/plugin" "$plugin"
  grep -q "$plugin, which is not there; install the package coregeometry-exodus" "$work/without_plugin.log" ||
    fail "without the plug-in: $(cat "$work/without_plugin.log")"
  echo "the plug-in is asked for"
fi

for file in LICENSE README.md; do
  find "$tree" -path "*/share/doc/*/$file" | grep -q . || fail "$file is not installed"
done
if [ -f "$work/manifest" ]; then
  cmake -DMANIFEST="$work/manifest" -P "$here/../../cmake/Uninstall.cmake" >"$work/uninstall.log" 2>&1
  left=$(find "$tree" ! -type d -o -iname 'coregeometry*')
  [ -z "$left" ] || fail "uninstall leaves $left"
  echo "uninstalled"
fi
