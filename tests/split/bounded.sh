#!/usr/bin/env bash
# A mesh three times as large as the address space of the process is split.    bounded.sh SPLIT_IN_RANGES WORK
set -euo pipefail
split=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
trap 'rm -rf "$work"' EXIT
# 5.7 million hexahedra: 5.7 million nodes of 12 bytes, rows of 32 bytes
((5700000 * 32 + 5700000 * 12 > 3 * 78000 * 1024)) || { echo "the mesh is too small for this test"; exit 1; }
(
  ulimit -v 78000
  "$split" 190 150 200 96 curve 32 "$work/curve.split"
  if "$split" 190 150 200 96 metis 32 "$work/metis.split" 2>"$work/refused"; then
    echo "METIS cut the mesh in memory that it cannot have had"
    exit 1
  fi
)
grep -q 'METIS needs [0-9]* MB for a chunk; use the method curve, or auto with [0-9]* chunks' "$work/refused" || {
  cat "$work/refused"
  exit 1
}
[ -s "$work/curve.split/index.cgdb" ] && [ "$(ls "$work/curve.split/parts" | wc -l)" = 96 ]
