#!/usr/bin/env bash
# Runs the examples in an empty folder and looks at what they print and store.    run.sh PROGRAMS WORK MESH TOOL
set -euo pipefail
programs=$1 work=$2 mesh=$3 tool=$4
rm -rf "$work" && mkdir -p "$work" && cd "$work"
cp "$mesh" bracket.exo

for run in first second; do # the second one finds the model
  "$programs/first_model" | tee out
  grep -qE "^[0-9]+ faces and [0-9]+ of [0-9]+ nodes are outside$" out
  grep -qE "^volume [0-9.e-]+$" out
  grep -qE "^the point lies in element [0-9]+$" out
  "$tool" sets first.cgdb | grep -qE "^bracket/outside: surface, [0-9]+ facets$"
done

"$programs/cookbook/mesh_from_arrays" | tee out
grep -q "Element type label:          C3D8R" out
grep -q "the base has the nodes 100:103" out
"$tool" sets two_bricks.cgdb base | grep -q "100:103"
"$tool" check two_bricks.cgdb
if "$programs/cookbook/mesh_from_arrays" 2>err; then exit 1; fi
grep -q two_bricks.cgdb err # it is told, not overwritten

"$programs/executors" | tee out
(($(wc -l <out) >= 3 && $(sed 's/.*: //' out | sort -u | wc -l) == 1)) # the same answer from each

if [ -x "$programs/split_model" ]; then # a build without METIS has none
  "$tool" import bracket.exo -o whole.cgdb >out
  "$programs/split_model" whole.cgdb | tee out
  grep -q "^8 parts of 945 elements$" out
  volume=$("$tool" measure whole.cgdb --json | sed -n '/"all elements"/,$p' | grep -A1 '"volume"' | sed -n 's/.*"total": \([0-9.e-]*\),/\1/p')
  [ "$(printf '%.6g' "$volume")" = "$(printf '%.6g' "$(sed -n 's/^volume //p' out)")" ]
  "$tool" check parts.split
fi
