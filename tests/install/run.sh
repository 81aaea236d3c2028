#!/usr/bin/env bash
# Installs a build into a folder of its own, builds the consumer against it with CMake and with pkg-config, and
# runs both.    run.sh BUILD WORK COMPILER FLAGS
set -euo pipefail
build=$1 work=$2 compiler=$3 flags=$4
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work" && mkdir -p "$work"
cmake --install "$build" --prefix "$work/installed" >"$work/install.log"

cmake -S "$here/consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/installed" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >"$work/configure.log"
cmake --build "$work/cmake" >"$work/build.log"
"$work/cmake/consumer"
echo "find_package: built and ran"

pc=$(dirname "$(find "$work/installed" -name coregeometry.pc)")
read -ra options <<<"$(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs coregeometry) -std=c++20 $flags"
"$compiler" "$here/consumer/main.cpp" -o "$work/consumer" "${options[@]}" -Wl,-rpath,"$(dirname "$pc")"
"$work/consumer"
echo "pkg-config: built and ran"
