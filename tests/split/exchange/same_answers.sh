#!/bin/bash
# same_answers.sh MAKE_SPLIT COREGEOMETRY COREGEOMETRY_MPI MPIRUN...: the program for split models, alone and on four
# ranks, answers what the other one answers about the whole model; and what ends it ends all ranks with one message.
set -euo pipefail
make=$1 serial=$2 mpi=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$make" "$work" 9
cd "$work"

groups() { sed -n '/"groups"/,$p' "$1"; }
measure=(measure --by class --density 7.8 --thickness 0.1 --json)
for by in class set; do
  measure[2]=$by
  "$serial" "${measure[@]}" mixed.cgdb >whole.json 2>whole.err || [[ $? == 1 ]] # some elements have no section
  for ranks in 1 4; do
    code=0
    "$@" -n $ranks "$mpi" "${measure[@]}" mixed.split >split.json 2>split.err || code=$?
    [[ $code == 1 ]] || { echo "measure ended with $code"; cat split.err; exit 1; }
    diff <(groups whole.json) <(groups split.json)
    [[ $(grep -c 'the totals lack' split.err) == 1 ]]
  done
done

"$serial" skin mixed.cgdb -o whole.exo --json >whole.json
faces=$(sed -n 's/.*"faces": \([0-9]*\).*/\1/p' whole.json)
"$@" -n 4 "$mpi" skin mixed.split -o skin.exo --json >split.json
external=$(sed -n 's/.*"external": \([0-9]*\).*/\1/p' split.json) shared=$(sed -n 's/.*"shared": \([0-9]*\).*/\1/p' split.json)
[[ $((external + shared)) == "$faces" ]] || { echo "$external and $shared faces, $faces in the whole"; exit 1; }
[[ $(ls skin.exo.9.* | wc -l) == 9 ]]
if "$@" -n 4 "$mpi" skin mixed.split -o skin.exo >/dev/null 2>again.err; then echo "files were replaced"; exit 1; fi
[[ $(grep -c '^coregeometry-mpi: part 0: ' again.err) == 1 ]]
"$@" -n 4 "$mpi" info mixed.split | grep -q ' in 9 parts on 4 ranks'

rm mixed.split/parts/00005.cgdb
for command in info measure skin; do
  if timeout 10 "$@" -n 4 "$mpi" $command mixed.split >/dev/null 2>missing.err; then echo "$command: no part is missed"; exit 1; fi
  [[ $(grep -c '^coregeometry-mpi: part 5: .*00005.cgdb' missing.err) == 1 ]] || { cat missing.err; exit 1; }
done
