#!/bin/bash
# part_files.sh MAKE_SPLIT COREGEOMETRY: the files that an export writes for the parts of a mesh are split like the file of
# the whole, and sets of files that do not fit each other are refused.
set -euo pipefail
make=$1 tool=$2
sample=$(realpath "$(dirname "$0")/../../examples/bracket.exo")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "$*"; exit 1; }

# round N: nothing differs but sets in another order, and these only when there are several parts
round() {
  local n=$1 last
  rm -rf set && mkdir set
  last=$(printf "%0${#n}d" $((n - 1)))
  "$make" set "$n" 3 none whole
  "$tool" export set/mixed.split -o set/mixed.exo >/dev/null
  "$tool" export set/mixed.split -o set/whole.exo --one-file >/dev/null
  "$tool" split set/whole.exo --name mixed -n 3 -o set/a.split --method curve >/dev/null
  "$tool" split "set/mixed.exo.$n.$last" -n 3 -o set/b.split --method curve >set/out.txt 2>set/err.txt
  for one in a b; do "$tool" join set/$one.split -o set/$one.cgdb >/dev/null; done
  "$tool" check set/b.split >set/check.txt || grep -q bme_ElementClass set/check.txt || { cat set/check.txt; fail "$n: check"; }
  "$tool" diff set/a.cgdb set/b.cgdb >set/diff.txt || [[ -s set/diff.txt ]] || fail "$n: diff"
  if grep -vE "^no differences|$2" set/diff.txt; then fail "$n parts: differences"; fi
  ! grep -qE '^not in the split: (other variables|further)' set/out.txt || { cat set/out.txt; fail "$n: left out"; }
}
round 1 'no filter'
[[ $(grep -c 'ascending' set/err.txt) == 0 ]]
for n in 4 27; do
  round $n 'sets/mixed/(any order|elements|skin)'
  grep -q 'set "any order" is in ascending order' set/err.txt || fail "no warning of the order"
done

# refused TEXT FILE: with an error that has the text
refused() {
  rm -rf no.split
  if "$tool" split "$2" -n 2 -o no.split >/dev/null 2>err.txt; then fail "$2: was taken, not refused with $1"; fi
  grep -q "$1" err.txt || { cat err.txt; fail "$2: not refused with $1"; }
}
"$tool" split "$sample" -n 9 -o bracket.split >/dev/null
mkdir good && "$make" good 9 1 none whole && "$tool" export good/mixed.split -o good/m.exo >/dev/null
mkdir bad && "$make" bad 9 1 coordinate whole && "$tool" export bad/mixed.split -o bad/m.exo >/dev/null
refused 'node [0-9]* of the whole has other coordinates than in .*m.exo.9.' bad/m.exo.9.0
cp -r good set2 && cp good/m.exo.9.2 set2/m.exo.9.3
refused 'm.exo.9.3: element [0-9]* of the whole is in set2/m.exo.9.2, too' set2/m.exo.9.0
rm set2/m.exo.9.3
refused 'm.exo.9.3: no such file' set2/m.exo.9.0
for i in 0 1 2 3 4 5 6 7; do cp good/m.exo.9.$i set2/m.exo.8.$i; done
refused 'm.exo.8.0: tells of 9 parts, not of the 8 of its name' set2/m.exo.8.1
"$tool" export bracket.split -o bracket.exo >/dev/null
cp bracket.exo.9.3 set2/m.exo.9.3
refused 'm.exo.9.3: tells of [0-9]* nodes of the whole, not of the' set2/m.exo.9.0
