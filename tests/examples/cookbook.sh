#!/usr/bin/env bash
# The programs of the cookbook are those that are built, and print what it says.    cookbook.sh PAGE SOURCES PROGRAMS WORK MESH
set -euo pipefail
page=$1 sources=$2 programs=$3 work=$4 mesh=$5
rm -rf "$work" && mkdir -p "$work" && cd "$work"
cp "$mesh" bracket.exo
mapfile -t tasks < <(sed -n 's/^<!-- \(.*\) -->$/\1/p' "$page")
((${#tasks[@]} == $(find "$sources" -name '*.cpp' | wc -l)))
# the fenced text of a kind that follows the mark of a task
block() {
  awk -v mark="<!-- $1 -->" -v fence="\`\`\`$2" '$0 == mark {on = 1} on && $0 == fence {print_it = 1; next}
    print_it && /^```$/ {exit} print_it' "$page"
}
failed=0
for task in "${tasks[@]}"; do
  diff <(block "$task" cpp) "$sources/$task.cpp" || { echo "docs/cookbook.md shows another $task"; failed=1; }
  diff <(block "$task" text) <("$programs/$task") || { echo "$task prints something else"; failed=1; }
done
exit $failed
