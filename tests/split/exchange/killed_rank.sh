#!/bin/bash
# killed_rank.sh SPLIT_IN_RANGES COREGEOMETRY COREGEOMETRY_MPI MPIRUN...: a rank is killed at several moments. The job ends,
# every file that has its name is complete, and the command can be given again.
set -euo pipefail
make=$1 serial=$2 mpi=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$make" 60 50 40 12 curve 64 block.split >/dev/null
numKilled=0
for moment in 0.02 0.05 0.1 0.2 0.3 0.5 0.8; do
  "$@" -n 4 "$mpi" skin block.split -o skin.exo --force >job.out 2>job.err &
  job=$!
  ranks=()
  for ((i = 0; i < 400 && ${#ranks[@]} < 4; ++i)); do # until all are there, or the job has ended
    mapfile -t ranks < <(pgrep -P $job || true)
    kill -0 $job 2>/dev/null || break
    sleep 0.01
  done
  sleep $moment
  [[ ${#ranks[@]} == 4 ]] && kill -9 "${ranks[2]}" 2>/dev/null || true
  code=0
  for ((i = 0; i < 1000; ++i)); do kill -0 $job 2>/dev/null && sleep 0.01 || break; done
  if kill -0 $job 2>/dev/null; then
    kill -9 "${ranks[@]}" $job
    echo "the job does not end"
    exit 1
  fi
  wait $job || code=$?
  [[ $code == 0 ]] || numKilled=$((numKilled + 1))
  for file in skin.exo.12.*; do
    [[ ! -e $file ]] || "$serial" compare "$file" "$file" >/dev/null || { echo "$file is not whole"; exit 1; }
  done
  rm -f skin.exo.12.*
done
((numKilled > 0)) || { echo "every job was done before its rank was killed"; exit 1; }
"$@" -n 4 "$mpi" skin block.split -o skin.exo >/dev/null
[[ $(ls skin.exo.12.* | wc -l) == 12 ]]
"$mpi" check block.split >check.txt || { cat check.txt; exit 1; }
