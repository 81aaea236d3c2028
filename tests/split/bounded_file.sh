#!/usr/bin/env bash
# An Exodus II file whose mesh does not fit into the address space of the process is split.    bounded_file.sh TOOL WRITE_BLOCK WORK
set -euo pipefail
tool=$1 write=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
trap 'rm -rf "$work"' EXIT
"$write" 160 150 200 "$work/block.exo" # 4.8 million hexahedra: 250 MB as a mesh with labels
(
  ulimit -v 200000
  if "$tool" import "$work/block.exo" -q --threads 1 -o "$work/block.cgdb" 2>"$work/refused"; then
    echo "the mesh is too small for this test"
    exit 1
  fi
  "$tool" split "$work/block.exo" -n 96 --method curve --memory 32M --threads 1 -o "$work/block.split"
)
[ -s "$work/block.split/index.cgdb" ] && [ "$(ls "$work/block.split/parts" | wc -l)" = 96 ] && [ ! -e "$work/block.split.source" ]
"$tool" info "$work/block.split" | grep -q 4800000
