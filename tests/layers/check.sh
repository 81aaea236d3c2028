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
mapfile -t others < <(find module -mindepth 1 -maxdepth 1 -not -name shp)
find_in "a shape code is switched on outside module/shp" 'switch \(.*([sS]hapeCode|Family)\(' include frame exchange picture tools \
  "${others[@]}"
find_in "something includes the composition root" '#include <CoreGeometry/DDB_CoreGeometry\.h>' include platform module exchange picture
require() { # message pattern file
  grep -qE -- "$2" "$3" && return
  echo "$3 has no $1"
  bad=1
}
for source in tools/coregeometry/cmd/cmd_*.cpp; do
  command=$(basename "$source" .cpp)
  command=${command#cmd_}
  for readme in README.md tools/coregeometry/README.md; do
    require "row for the sub-command $command" "^\\| (.*, )?\`$command " "$readme"
  done
  require "sub-command $command" "^set\(commands .*\b$command\b" tools/coregeometry/CMakeLists.txt
done
for source in tests/fuzz/*_fuzz.cpp; do
  target=$(basename "$source" .cpp)
  require "row for $target" "^\\| \`$target\` " docs/reliability.md
  require "$target" "\b${target%_fuzz}\b" tests/fuzz/CMakeLists.txt
done
while read -r format; do
  require "word of $format files" "\b$format\b" docs/formats.md
done < <(sed -nE 's/^ *\.title = "an? ((binary|legacy) )?(\w+).*/\3/p' exchange/formats/fmt_Formats.cpp)
exit $bad
