#!/bin/bash
# every_option.sh MAKE_SPLIT COREGEOMETRY: each option of a command on models answers on a split model what it answers on
# the whole one, whatever the number of parts: texts, documents, files, errors and exit codes. Or it names the remedy.
set -euo pipefail
make=$1 tool=$2
sample=$(realpath "$(dirname "$0")/../../../examples/bracket.exo")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
printf '0.5 0.5 0.5\n1 1 1\n-5 0.25 0\n' >points.txt
"$tool" import "$sample" -o bracket.cgdb >/dev/null
"$tool" csys bracket.cgdb --add hole --kind cylindrical --origin 0.01,0.02,0 --x 0,1,0 --y 0,0,1 >/dev/null
"$tool" import "$sample" -o placed.cgdb --offset 1.5,-2,0.25 >/dev/null

# each row: the exit code, the model, the command line; M is the model or the split, OUT.* a file that both write
same='
0 mixed   query M --node -50,10,40,217 --element 1,6,31
1 mixed   query M --node 3 --element 2 --name Mixed
0 mixed   sets M
0 mixed   sets M ascending
1 mixed   sets M nowhere
0 bracket sets M fixed
1 mixed   measure M --by class --density 7.8 --thickness 0.1 --section-area 0.2 --point-mass 3
1 mixed   measure M --by set --density 7.8 --thickness C3D8=1
1 mixed   measure M --density NONE=3
1 mixed   measure M --by set --csys nowhere
1 bracket measure M --csys hole --density 7850 --thickness 0.002
0 bracket measure M --csys hole --by set --name bracket
0 mixed   locate M 0.2,0.3,0.4 --points points.txt --name Mixed
0 mixed   locate M 0.2,0.3,0.4 9,9,9 0.5,0.5,1 --element 1
0 mixed   locate M 0.2,0.3,0.4 --element 31
1 mixed   locate M 0.2,0.3,0.4 --element 12345
0 bracket locate M 0.01,0.02,0.002 --element 3001
0 mixed   skin M -o OUT.exo
0 mixed   skin M -o OUT.exo --edges --name Mixed
0 mixed   skin M -o OUT.exo --sets elements
0 mixed   skin M -o OUT.exo --sets skin,elements --edges
1 mixed   skin M -o OUT.exo --sets ascending
1 mixed   skin M -o OUT.exo --sets nowhere
1 mixed   skin M -o OUT.exo --sets nothing
0 bracket skin M -o OUT --format exodus --edges --sets seat,boss
0 mixed   skin M -o - --edges
1 mixed   export M -o OUT.exo
0 bracket export M -o OUT.vtu --vtk-wedges mirrored --encoding ascii
0 mixed   export M -o OUT.stl --surface skin --name Mixed
1 mixed   export M -o OUT.stl --surface nowhere
0 bracket export M -o OUT.exo
0 bracket export M -o OUT.exo --at-nodes --run bracket
0 bracket export M -o OUT --format vtu --as-cells
0 bracket export M -o OUT.vtu --separate --encoding compressed
0 bracket export M -o OUT.vtu --no-results
1 bracket export M -o OUT.exo --run nowhere
0 bracket export M -o OUT.msh
0 bracket export M -o - --format gmsh
0 placed  query M --node 1010 --element 104,3001
0 placed  sets M fixed
1 placed  measure M --by set --density 7850 --thickness 0.002
0 placed  locate M 0.01,0.02,0.002 5,5,5
0 placed  skin M -o OUT.exo --edges
0 placed  skin M -o OUT.exo --sets seat,boss
0 placed  export M -o OUT.exo
0 placed  export M -o OUT.vtu --encoding ascii
0 placed  export M -o OUT.stl'
# wrong usage on a split model: the words that name the remedy, and the command line
refused='
--one-file|skin M -o OUT.exo --edges
--one-file|skin M -o OUT.exo --sets elements
--one-file|skin M -o -
--one-file|export M -o OUT.msh
--one-file|export M -o OUT --format stl
--one-file|export M -o -
--one-file|export M -o OUT.pvtu --as-cells
--one-file|export M -o OUT.exo --run bracket'

# run FOLDER MODEL WORDS...: prints, and what the command wrote; the model is called M, errors have no file before the mesh
run() {
  local folder=$1 model=$2 code=0 words=("${@:3}")
  words[1]=$model
  rm -f "$folder"/OUT*
  (cd "$folder" && "$tool" "${words[@]}") >"$folder/text" 2>"$folder/err" || code=$?
  echo "$code" >"$folder/code"
  sed -i "s|$model/index.cgdb|M|g; s|$model|M|g" "$folder/text" "$folder/err"
  rm -f "$folder"/*.files
  for file in "$folder"/OUT*; do [[ -e $file ]] && md5sum <"$file" >"$file.files"; done
  return 0
}
differ() { echo "$parts parts, $*: another answer"; exit 1; }

mkdir whole
"$make" . 2 >/dev/null
mv mixed.cgdb bracket.cgdb placed.cgdb whole
cp points.txt whole
for parts in 1 4 27; do
  mkdir $parts
  "$make" $parts $parts
  for model in bracket placed; do "$tool" split whole/$model.cgdb -n $parts -o $parts/$model.split >/dev/null; done
  cp points.txt $parts
done
while read -r expected model line; do
  [[ -n $line ]] || continue
  read -ra words <<<"$line"
  for form in "" --json; do
    run whole $model.cgdb "${words[@]}" $form
    [[ $(<whole/code) == "$expected" ]] || { echo "$line: ended with $(<whole/code)"; cat whole/err; exit 1; }
    more=()
    [[ ${words[0]} == skin || ${words[0]} == export ]] && more=(--one-file)
    for parts in 1 4 27; do
      run $parts $model.split "${words[@]}" "${more[@]}" $form
      for what in code text err; do diff whole/$what $parts/$what || differ "$line $form"; done
      diff <(cat whole/*.files 2>/dev/null) <(cat $parts/*.files 2>/dev/null) || differ "$line: the file"
    done
  done
done <<<"$same"

while IFS='|' read -r remedy line; do
  [[ -n $line ]] || continue
  read -ra words <<<"$line"
  parts=4
  run 4 mixed.split "${words[@]}"
  [[ $(<4/code) == 2 ]] && grep -q -e "$remedy" 4/err || { echo "$line: $(<4/code)"; cat 4/err; exit 1; }
done <<<"$refused"

# the folder of a process that was killed is removed, not that of one that works
mkdir -p temporary/coregeometry-joined-{killed,works}
touch temporary/coregeometry-joined-{killed,works}/joined.cgdb
(flock 9; exec sleep 100) 9<temporary/coregeometry-joined-works &
while flock -n temporary/coregeometry-joined-works true; do sleep 0.05; done
TMPDIR=$PWD/temporary "$tool" export 4/mixed.split -o left.stl --one-file >/dev/null
kill $!
[[ $(ls temporary) == coregeometry-joined-works ]] || { echo "left: $(ls temporary)"; exit 1; }

# info of a split is about its parts; the box is that of the whole
box() { "$tool" info "$@" --json | tr -d ' \n' | grep -oE '"box":\{[^}]*\}'; }
for parts in 1 4 27; do
  diff <(box whole/mixed.cgdb --name Mixed) <(box $parts/mixed.split --name Mixed)
  diff <(box whole/placed.cgdb) <(box $parts/placed.split)
done
for command in info "query --node 10" measure "locate 1,1,1" "skin -o x.exo" "export -o x.exo"; do
  read -ra words <<<"$command"
  for model in whole/mixed.cgdb 4/mixed.split; do
    code=0
    "$tool" "${words[0]}" $model "${words[@]:1}" --name Wing >name.txt 2>&1 || code=$?
    [[ $code == 1 ]] && grep -q Mixed name.txt || { echo "$command --name Wing: $code"; cat name.txt; exit 1; }
  done
done

# no option is forgotten: each of the help on models stands in a row above
for command in info sets query measure locate skin export; do
  for option in $("$tool" $command --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -e '--[a-z-]+'); do
    case $option in --help | --json | --force | --output) continue ;; esac
    [[ $command == info ]] || grep -q "$command M.* $option" <<<"$same" || { echo "$command $option: no row"; exit 1; }
  done
done
