#!/usr/bin/env bash
# The core uses neither MPI nor METIS and starts no thread.    core_stays_free.sh DISTRIBUTED CORE...
set -euo pipefail
distributed=$1
shift
symbols() { nm --undefined-only $([[ $1 == *.a ]] || echo -D) "$1" 2>/dev/null; }
symbols "$distributed" | grep 'METIS_' >/dev/null || { echo "$distributed: METIS is not found where it is used"; exit 1; }
for library in "$@"; do
  [[ $(symbols "$library" | wc -l) -gt 100 ]] || { echo "$library: its symbols cannot be read"; exit 1; }
  if symbols "$library" | grep -E '\b(MPI_|METIS_|pthread_create|thrd_create|_ZNSt6thread)'; then
    echo "$library: these do not belong into the core"
    exit 1
  fi
done
