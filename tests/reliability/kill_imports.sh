#!/bin/bash
# Two imports at once, killed at random: into a new model under one name, and into one model under two names.
# What was reported as done is in the file, and what is in the file is sound.
#   kill_imports.sh TOOL MESH [ROUNDS]    KILLS=500 in the environment takes as many rounds, SEED other times
tool=$1 mesh=$2 rounds=${KILLS:-${3:-4}}
RANDOM=${SEED:-1}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
faults=0 kills=0 done=0

fault() {
  echo "round $round: $*"
  faults=$((faults + 1))
}

start=$(date +%s%N)
"$tool" import "$mesh" -o "$folder/first.cgdb" >/dev/null || exit 1
usual=$((($(date +%s%N) - start) / 1000)) # microseconds

# a few rounds may by chance see no kill or no success: then some more
more=$((rounds + 30))
for ((round = 1; round <= rounds || ((kills == 0 || done == 0) && round <= more); ++round)); do
  model=$folder/m$round.cgdb
  names=(one one)
  if ((round % 2 == 0)); then
    cp "$folder/first.cgdb" "$model"
    names=(one two)
  fi
  pids=()
  for name in "${names[@]}"; do
    "$tool" import "$mesh" -o "$model" --name $name >/dev/null 2>&1 &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do # one in three is left alone
    ((RANDOM % 3 == 0)) && continue
    (
      sleep "$(printf '0.%06d' $(((RANDOM * 32768 + RANDOM) % (3 * usual / 2 + 1) % 1000000)))"
      kill -KILL "$pid" 2>/dev/null
    ) &
  done
  codes=()
  for pid in "${pids[@]}"; do
    wait "$pid"
    codes+=($?)
  done 2>/dev/null
  wait
  successes=0
  for i in 0 1; do
    case ${codes[i]} in
      0)
        successes=$((successes + 1))
        "$tool" query "$model" --name "${names[i]}" --node 1010 >/dev/null 2>&1 \
          || fault "import of ${names[i]} reported success, and the mesh is not in the file"
        ;;
      137) kills=$((kills + 1)) ;;
      1) ;; # lost the race
      *) fault "exit code ${codes[i]}" ;;
    esac
  done
  done=$((done + successes))
  [[ ${codes[*]} == *137* ]] || ((successes == 1 + (round + 1) % 2)) || fault "$successes succeeded, none was killed"
  ((round % 2 == 1 && successes == 2)) && fault "two imports made one new model"
  if [ -e "$model" ]; then
    found=$("$tool" check "$model" 2>&1) || fault "check: $found"
    "$tool" info "$model" 2>&1 | grep -q '^Mesh ' || fault "a model without a mesh"
  fi
  rm -rf "$model" "$model"-journal "$folder"/.coregeometry-*
done 2>/dev/null
echo "$((round - 1)) rounds, $kills killed, $done done, $faults faults"
((faults == 0 && kills > 0 && done > 0))
