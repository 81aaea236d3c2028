#!/usr/bin/env bash
# What an include path cannot see: no include climbs out of its folder, SQLite is called in one place only, and no file
# outside the shape module switches on a shape.    check.sh ROOT
set -u
cd "$1" || exit 2
bad=0
find_in() { # message pattern paths...
  local message=$1 pattern=$2
  shift 2
  if grep -rnE --include='*.h' --include='*.cpp' --include='*.inl' "$pattern" "$@"; then
    echo "^ $message"
    bad=1
  fi
}
find_in "an include leaves its folder" '#include "(\.\./|/)' include platform frame module exchange picture tools
find_in "SQLite is called outside platform/basic_utils/impl/db" '#include <sqlite3\.h>' include frame module exchange picture tools \
  platform/core_utils platform/cae_utils platform/rom platform/diagnostic_extractor platform/basic_utils/include
find_in "a shape code is switched on outside module/shp" 'switch \(.*([sS]hapeCode|Family)\(' include frame exchange picture tools \
  module/gsl module/mesh module/datum module/rgn module/reference module/output module/evaluate
find_in "something includes the composition root" '#include <CoreGeometry/DDB_CoreGeometry\.h>' include platform module exchange picture
for source in tools/coregeometry/cmd/cmd_*.cpp; do
  command=$(basename "$source" .cpp)
  for readme in README.md tools/coregeometry/README.md; do
    grep -qE "^\\| (.*, )?\`${command#cmd_} " "$readme" && continue
    echo "$readme has no row for the sub-command ${command#cmd_}"
    bad=1
  done
done
exit $bad
