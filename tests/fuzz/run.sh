#!/bin/bash
# Runs every fuzz target for some seconds each: tests/fuzz/run.sh SECONDS [TARGET...], with the random numbers
# of FUZZ_SEED or the same ones each time, so that a gate does not fail by chance. They start from the stored
# files of the tests; what they find stands in build/fuzz/found and fails the run.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../.."
seconds=${1:?seconds}
shift
targets=("$@")
((${#targets[@]})) || for source in tests/fuzz/*_fuzz.cpp; do targets+=("$(basename "$source" .cpp)"); done

found=build/fuzz/found
mkdir -p "$found"
for target in "${targets[@]}"; do
  seeds=build/fuzz/seeds/$target corpus=build/fuzz/corpus/$target
  rm -rf "$seeds"
  mkdir -p "$seeds" "$corpus"
  case $target in
    database_fuzz)
      for model in tests/files/*/model.cgdb; do cp "$model" "$seeds/$(basename "$(dirname "$model")")"; done ;;
    exodus_fuzz) cp tests/files/small_exodus/*.exo "$seeds" ;;
    gmsh_fuzz | stl_fuzz) cp tests/files/small_"${target%_fuzz}"/* "$seeds" ;;
    vtu_fuzz | vtk_fuzz) cp tests/files/small_vtk/*."${target%_fuzz}" "$seeds" ;;
    path_fuzz) printf 'm.elemData.classes[0].elemCtrlParams' > "$seeds/path"; printf 's.subsetList[0]' > "$seeds/map" ;;
    formula_fuzz) printf 'if(S.mises >= 2, -X^2 * max(1e3, "a b".xx), sqrt(T))' > "$seeds/text" ;;
    layout_fuzz) printf '\014\001\377\377\377\377\377\377\377\377\001' > "$seeds/nodes" ;;
    split_fuzz) for how in {0..12}; do printf "\\$(printf %o $how)"'\001\005\000\001\004' > "$seeds/$how"; done; printf '\000\000\000\012\000\000\377\377\377\377\377' > "$seeds/index" ;;
    format_fuzz) printf '\x6c%%s %%d %%u %%lf %%08x %%2$s %%%%' > "$seeds/text" ;;
  esac
  for bad in tests/files/bad_"${target%_fuzz}"/*; do [ -e "$bad" ] && cp "$bad" "$seeds"; done
  echo "$corpus $seeds $target"
done | ASAN_OPTIONS=detect_leaks=0 xargs -P "$(nproc)" -L 1 bash -c '
  build/fuzz/tests/fuzz/"$2" "$0" "$1" -max_total_time='"$seconds"' -seed=${FUZZ_SEED:-1} -timeout=60 -rss_limit_mb=2048 -malloc_limit_mb=256 -max_len=65536 \
    -artifact_prefix='"$found"'/"$2"- -print_final_stats=1 -print_funcs=0 -verbosity=0 2>&1 | grep -E "ERROR|SUMMARY|stat::|^ *#[0-9]|terminate|what" \
    | sed "s/^/$2: /"; exit "${PIPESTATUS[0]}"'
