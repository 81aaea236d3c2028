#!/bin/bash
# same_answers.sh MAKE_SPLIT COREGEOMETRY COREGEOMETRY_MPI MPIRUN...: commands on a split model answer in one process, and
# on one and four ranks, what they answer about the whole model; what ends a command ends all ranks with one message.
set -euo pipefail
make=$1 serial=$2 mpi=$3
shift 3
sample=$(realpath "$(dirname "$0")/../../../examples/bracket.exo")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$make" . 9
mkdir other
printf '0.5 0.5 0.5\n1 1 1\n0 0 0\n3 3 2\n9,9,9\n-5 0.25 0\n' >points.txt

# same CODE COMMAND...: the exit code, and the same document but for the name of the file
same() {
  local expected=$1 code=0 way
  shift
  "$serial" "${@/MODEL/mixed.cgdb}" --json >whole.json 2>whole.err || code=$?
  [[ $code == "$expected" ]] || { echo "$*: ended with $code"; cat whole.err; exit 1; }
  for way in "$serial" "$mpi" "${mpirun[*]} -n 4 $mpi"; do # without mpirun it is one rank
    code=0
    $way "${@/MODEL/mixed.split}" --json >split.json 2>split.err || code=$?
    [[ $code == "$expected" ]] || { echo "$way: ended with $code, not $expected"; cat split.err; exit 1; }
    diff <(sed 's/mixed.cgdb/mixed.split/' whole.json) split.json || { echo "$way: another answer"; exit 1; }
    diff <(sed 's/mixed.cgdb/mixed.split/' whole.err) <(grep '^coregeometry: ' split.err)
  done
}
mpirun=("$@")
same 1 measure MODEL --by class --density 7.8 --thickness 0.1 # some elements have no section
same 1 measure MODEL --by set --density 7.8 --thickness 0.1
same 0 locate MODEL 0.2,0.3,0.4 --points points.txt
same 0 locate MODEL 0.2,0.3,0.4 0,0,0 --element 31
same 0 query MODEL --node -50,10,40,217 --element 1,6,31
same 1 query MODEL --node 3 --element 2
same 0 sets MODEL
for name in ascending "any order" elements skin nothing none; do same 0 sets MODEL "$name"; done

"$serial" skin mixed.cgdb -o whole.exo --json | sed 's/mixed.cgdb/mixed.split/; s/whole.exo/one.exo/' >whole.json
for way in "$serial" "${mpirun[*]} -n 4 $mpi"; do
  $way skin mixed.split -o one.exo --one-file --force --json >split.json
  diff whole.json split.json
  cmp whole.exo one.exo
done
"$serial" skin mixed.cgdb -o whole.exo --force --edges --sets skin,elements >/dev/null
"$serial" export mixed.cgdb -o whole.stl >/dev/null
"$@" -n 4 "$mpi" skin mixed.split -o one.exo --one-file --force --edges --sets skin,elements >/dev/null
"$@" -n 4 "$mpi" export mixed.split -o one.stl --one-file >/dev/null
cmp whole.exo one.exo
cmp whole.stl one.stl
"$@" -n 12 "$mpi" skin mixed.split -o edges.exo --one-file --edges >/dev/null
"$serial" skin mixed.cgdb -o edges.cgdb.exo --edges >/dev/null
cmp edges.exo edges.cgdb.exo
faces=$(sed -n 's/.*"faces": \([0-9]*\).*/\1/p' whole.json)
"$@" -n 4 "$mpi" skin mixed.split -o skin.exo --json >split.json
external=$(sed -n 's/.*"external": \([0-9]*\).*/\1/p' split.json) shared=$(sed -n 's/.*"shared": \([0-9]*\).*/\1/p' split.json)
[[ $((external + shared)) == "$faces" ]] || { echo "$external and $shared faces, $faces in the whole"; exit 1; }
[[ $(ls skin.exo.9.* | wc -l) == 9 ]]
if "$@" -n 4 "$mpi" skin mixed.split -o skin.exo >/dev/null 2>again.err; then echo "files were replaced"; exit 1; fi
[[ $(grep -c '^coregeometry-mpi: part 0: ' again.err) == 1 ]]

"$serial" info mixed.split --json >info.json
"$@" -n 4 "$mpi" info mixed.split --json | diff info.json -
"$serial" info mixed.cgdb --json | tr -d ' \n' | grep -o '"box":{[^}]*}' >box
tr -d ' \n' <info.json | grep -o '"box":{[^}]*}' | diff box -
"$@" -n 12 "$mpi" info mixed.split 2>&1 >/dev/null | grep '12 ranks, 9 parts: 3 ranks have nothing to do' >/dev/null
code=0 && "$serial" check mixed.split --json >check.json || code=$?
"$@" -n 4 "$mpi" check mixed.split --json >split.json || [[ $? == $code ]]
diff check.json split.json
"$@" -n 4 "$mpi" join mixed.split -o again.cgdb
"$serial" diff mixed.cgdb again.cgdb

# files for other programs, the same from one process and from four
"$serial" import "$sample" -o sample.cgdb >/dev/null
"$serial" split sample.cgdb -n 11 >/dev/null
for file in sample.split/index.cgdb sample.split/parts/00003.cgdb; do # model files as any other
  "$serial" check $file >check.txt || { cat check.txt; exit 1; }
done
"$serial" export sample.split -o sample.exo >/dev/null
"$@" -n 4 "$mpi" export sample.split -o again.exo >/dev/null
for part in 00 01 02 03 04 05 06 07 08 09 10; do
  cmp sample.exo.11.$part again.exo.11.$part
done
"$serial" export sample.split -o sample.pvtu >/dev/null
[[ $(grep -c '<Piece Source="sample_[01][0-9].vtu"/>' sample.pvtu) == 11 && $(ls sample_??.vtu | wc -l) == 11 ]]

# wrong usage names what is wrong
refused() { # TEXT COMMAND...
  local text=$1 code=0
  shift
  "$@" >/dev/null 2>usage.err || code=$?
  [[ $code == 2 ]] && grep -q -e "$text" usage.err || { echo "$*: $code"; cat usage.err; exit 1; }
}
refused '--one-file' "$mpi" skin mixed.split -o x.exo --edges
refused 'works on one model' "$serial" quality mixed.split
refused '--as-cells' "$serial" export mixed.split -o x.exo --as-cells
refused '.msh' "$mpi" export mixed.split -o x.msh
refused 'give a point' "$mpi" locate mixed.split

# each fault ends all ranks with one message, in time
ends() { # TEXT COMMAND...
  local text=$1 code=0
  shift
  timeout 10 "${mpirun[@]}" -n 4 "$mpi" "$@" >/dev/null 2>fault.err || code=$?
  [[ $code == 1 && $(grep -c '^coregeometry' fault.err) == 1 ]] && grep -q -e "$text" fault.err ||
    { echo "$*: ended with $code"; cat fault.err; exit 1; }
}
commands=(measure "skin -o faults.exo" "locate 0.5,0.5,0.5" "query --node 10")
checked() { # NAME: four ranks find in part 5, in time, what one process finds
  "$serial" check mixed.split --json >check.json && { echo "check finds nothing: $1"; exit 1; }
  grep -q '00005.cgdb' check.json || { echo "check does not name the part: $1"; cat check.json; exit 1; }
  local code=0
  timeout 10 "${mpirun[@]}" -n 4 "$mpi" check mixed.split --json >split.json 2>/dev/null || code=$?
  [[ $code == 1 ]] && diff check.json split.json || { echo "four ranks find something else: $1, $code"; exit 1; }
}
fault() { # NAME TEXT: what was done to part 5, and what is said
  for command in "${commands[@]}"; do
    read -ra words <<<"$command"
    ends "part 5: .*$2" "${words[0]}" mixed.split "${words[@]:1}"
  done
  checked "$1"
  cp kept.cgdb $part
}
part=mixed.split/parts/00005.cgdb
cp $part kept.cgdb
rm $part
ends "part 5: .*00005.cgdb" info mixed.split # of other parts it opens the file alone
fault missing '00005.cgdb'
truncate -s 20000 $part
fault truncated '00005.cgdb'
cp mixed.split/parts/00006.cgdb $part
fault swapped 'part 6'
"$make" other 9 7
cp other/mixed.split/parts/00005.cgdb $part
fault 'of another split' 'another split'
# what only check sees, and no command waits for
for what in coordinate holders sharing; do
  rm -r other/*
  "$make" other 9 1 $what
  cp other/mixed.split/parts/00005.cgdb $part
  checked $what
  grep -q "node [0-9]* \(has other coordinates in\|is held by the parts\).*part 5" check.json || { echo "not told: $what"; exit 1; }
  [[ $what == coordinate ]] && continue
  ends 'shares with it; check the split' skin mixed.split -o faults.exo
  for command in "${commands[@]}"; do
    read -ra words <<<"$command"
    code=0
    rm -f faults.exo*
    timeout 10 "${mpirun[@]}" -n 4 "$mpi" "${words[0]}" mixed.split "${words[@]:1}" >/dev/null 2>fault.err || code=$?
    [[ $code -le 1 && $(grep -c '^coregeometry' fault.err) == "$code" ]] || { echo "$what, $command: $code"; cat fault.err; exit 1; }
  done
done
cp kept.cgdb $part
rm -r mixed.split/index.cgdb
for command in info join "${commands[@]}"; do
  read -ra words <<<"$command"
  ends 'split was not finished' "${words[0]}" mixed.split "${words[@]:1}"
done
