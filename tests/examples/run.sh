#!/usr/bin/env bash
# Runs the example in an empty folder and looks at what it prints.    run.sh PROGRAM WORK
set -euo pipefail
rm -rf "$2" && mkdir -p "$2" && cd "$2"
"$1" | tee out
grep -q "Element type label:          C3D8R" out
grep -q "node 105 has index 5" out
grep -q "the base has 4 nodes" out
test -s cube.cgdb
