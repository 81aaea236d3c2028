#!/usr/bin/env bash
# What is easily forgotten, as nothing else fails without it: every module is started, every persistent class and every
# enumeration with texts is registered by a module, and every value of such an enumeration has its text.
#    registered.sh ROOT
set -euo pipefail
cd "$1"
bad=0
report() {
  echo "$*"
  bad=1
}
mapfile -t tables < <(find module -name '*_Module.cpp')
named() { # word files...
  grep -qwF -- "$1" "${@:2}"
}

# split models are a library of their own, which dst_Library starts
modules=$(sed -nE 's/^void (\w+)_initialize\(int& tally\).*/\1/p' "${tables[@]}")
for module in $modules; do
  [ "$module" = dst ] && continue
  for function in "${module}_initialize" "${module}_finalize"; do
    named "$function" frame/start_up/DDB_CoreGeometry.cpp || report "frame/start_up/DDB_CoreGeometry.cpp has no $function"
  done
done

classes=$(grep -rhoE --include='*.cpp' '^void \w+::InitializeMetadata|^template class odiC_Stored<\w+>' module |
  sed -E 's/^void (.*)::.*/\1/; s/.*<(.*)>/\1/')
for class in $classes; do
  named "$class::InitializeMetadata" "${tables[@]}" || report "no module registers the class $class"
done

kinds=$(grep -rhoE '^class CORE_GEOMETRY_API \w+ : public dtu_Datum(Csys)?\b' include | awk '{ print $3 }')
for kind in $kinds; do
  named "$kind::TypeId" tools/coregeometry/cli/cli_Datums.cpp || report "cli_Datums does not look for $kind"
  named "$kind" tests/datum/OneOfEachKind.h || report "tests/datum/OneOfEachKind.h has no $kind"
done

enumerations=$(grep -rhoE 'struct omu_EnumTable<[A-Za-z0-9_:]+>' include | sed -E 's/.*<(.*)>/\1/')
for enumeration in $enumerations; do
  named "$enumeration" "${tables[@]}" || report "no module registers the enumeration $enumeration"
done

for what in modules classes kinds enumerations; do
  [ "$(wc -w <<<"${!what}")" -ge 6 ] || report "hardly any $what were found"
done

mapfile -t headers < <(find include -name '*.h')
awk '
  { sub(/\/\/.*/, "") }
  match($0, /^ *enum (class )?[A-Za-z0-9_]+( : [a-z]+)? \{/) {
    split(substr($0, RSTART, RLENGTH), word, /enum (class )?|[ :{]+/)
    name = word[2] != "" ? word[2] : word[3]
    inside = 1
    $0 = substr($0, RSTART + RLENGTH)
  }
  inside {
    body = body $0
    if (!/}/) next
    sub(/}.*/, "", body)
    count = split(body, value, ",")
    for (i = 1; i <= count; ++i) {
      gsub(/=.*| /, "", value[i])
      if (value[i] != "") values[name] = values[name] " " value[i]
    }
    body = ""
    inside = 0
    next
  }
  match($0, /struct omu_EnumTable<[A-Za-z0-9_:]+>/) {
    table = substr($0, RSTART + 21, RLENGTH - 22)
    sub(/.*::/, "", table)
    tables[table] = 1
  }
  table != "" {
    while (match($0, /\{[A-Za-z0-9_:]+, /)) {
      row = substr($0, RSTART + 1, RLENGTH - 3)
      sub(/.*::/, "", row)
      hasText[table, row] = 1
      ++rows
      $0 = substr($0, RSTART + RLENGTH)
    }
    if (/^};/) table = ""
  }
  END {
    for (table in tables) {
      count = split(values[table], value, " ")
      if (count == 0) { print "the values of " table " were not found"; bad = 1 }
      for (i = 1; i <= count; ++i)
        if (!((table, value[i]) in hasText)) { print "the table of " table " has no row for " value[i]; bad = 1 }
    }
    if (rows < 100) { print "hardly any rows were found"; bad = 1 }
    exit bad
  }' "${headers[@]}" || bad=1
exit $bad
