#!/usr/bin/env bash
# The contracts of public headers: every label is one of CONTRIBUTING.md's list and begins a line, the text of a label
# stays in its column, and "Stored as" names the fields that the class stores.    contracts.sh ROOT
set -euo pipefail
cd "$1"
labels=$(sed -n 's/^Labels of contracts: \(.*\)\.$/\1/p' CONTRIBUTING.md)
[ -n "$labels" ] || { echo "CONTRIBUTING.md has no line \"Labels of contracts: ...\""; exit 2; }
mapfile -t headers < <(find include platform/*/include -name '*.h' | sort)
mapfile -t sources < <(grep -rlE --include='*.cpp' --include='*.h' '::Stored[A-Za-z]+\(\) \{' platform frame module | sort)
[ "${#headers[@]}" -gt 0 ] && [ "${#sources[@]}" -gt 0 ]

awk -v labels="$labels" -v sources="${#sources[@]}" '
  function report(text) { print FILENAME ":" FNR ": " text; bad = 1 }

  # the names in a list of fields, in order; a list of the same class stands for its names
  function Expand(list, class,    n, part, i, all) {
    n = split(list, part, "\n")
    for (i = 1; i < n; ++i)
      all = all (part[i] ~ /^=/ ? Expand(fields[class, substr(part[i], 2)], class) : part[i] "\n")
    return all
  }

  # "the fields of X, a, b; remarks", or "N fields, a to b (place)"
  function Compare(class, text,    stored, name, count, said, saidCount, i, word) {
    sub(/;.*/, "", text)
    sub(/ *\(.*/, "", text)
    stored = Expand(fields[class, "StoredFields"], class)
    count = split(stored, name, "\n") - 1
    if (text ~ /^[0-9]+ fields, /) {
      split(text, word, /[ ,]+/)
      if (word[1] != count || word[3] != name[1] || word[5] != name[count])
        report(class " says \"" text "\" and stores " count " fields, " name[1] " to " name[count])
      return
    }
    saidCount = split(text, said, /, */)
    for (i = 1; i <= count || i <= saidCount; ++i)
      if (name[i] != said[i]) {
        report(class " says \"" said[i] "\" where it stores \"" name[i] "\"")
        return
      }
  }

  BEGIN {
    count = split(labels, list, ", ")
    for (i = 1; i <= count; ++i) known[list[i]] = 1
  }

  FNR == 1 { ++file; inList = 0; label = ""; inside = 0; said = "" }

  # the lists in the sources
  file <= sources {
    line = $0
    if (match(line, /[A-Za-z0-9_]+(<[A-Za-z]>)?::Stored[A-Za-z]+\(\) \{/)) {
      head = substr(line, RSTART, RLENGTH)
      line = substr(line, RSTART + RLENGTH)
      class = head
      sub(/(<.*)?::.*/, "", class)
      which = head
      sub(/.*::/, "", which)
      sub(/\(.*/, "", which)
      inList = 1
    }
    if (!inList) next
    if (line ~ /^}/) { inList = 0; next }
    ended = line ~ /; }$/
    while (match(line, /cls_Field\{"[^"]*"|[A-Za-z0-9_]+::StoredFields\(\)|Stored[A-Za-z]+\(\)/)) {
      token = substr(line, RSTART, RLENGTH)
      line = substr(line, RSTART + RLENGTH)
      if (token ~ /"/) { sub(/.*\{"/, "", token); sub(/"/, "", token) }
      else if (token ~ /::/) { sub(/::.*/, "", token); token = "the fields of " token }
      else { sub(/\(.*/, "", token); token = "=" token }
      fields[class, which] = fields[class, which] token "\n"
    }
    if (ended) inList = 0
    next
  }

  # the contracts in the headers
  /^ *\/\/\// {
    text = $0
    sub(/^ *\/\/\/ ?/, "", text)
    indent = match(text, /[^ ]/) - 1
    if (text ~ /^[A-Z][a-z]+( as)?   *[^ ]/) {
      label = text
      sub(/   *.*/, "", label)
      if (!(label in known)) report("\"" label "\" is no label of CONTRIBUTING.md")
      if (substr(text, 1, 11) !~ / $/ || substr(text, 12, 1) == " ") report("the text of " label " is not in column 12")
      inside = 1
      text = substr(text, 12)
      if (label == "Stored as") said = text
      else if (label in known) ++seen
    } else if (indent < 0) {
      inside = 0
    } else if (inside) {
      if (indent != 11) report("a line of " label " broke out of its column")
      text = substr(text, indent + 1)
      if (label == "Stored as") said = said " " text
    }
    for (i = 1; i <= count; ++i)
      if (match(text, "[^ ]  ?" list[i] "  +[^ ]") && text !~ /^[^ ]*[-+|]/) report("the label " list[i] " stands in running text")
    next
  }
  {
    if (match($0, /(class|struct) ([A-Z_]+_API )?[a-z][A-Za-z0-9]*_[A-Za-z0-9]+( final)?( :.*)? \{/)) {
      class = substr($0, RSTART)
      sub(/^(class|struct) ([A-Z_]+_API )?/, "", class)
      sub(/[ :{].*/, "", class)
      if ((class, "StoredFields") in fields) {
        if (said == "") report(class " stores fields and has no line \"Stored as\"")
        else { Compare(class, said); ++compared }
      }
    }
    inside = 0
    label = ""
    if ($0 !~ /^template/) said = ""
  }
  END {
    if (!seen || !compared) { print "no contract was read"; exit 2 }
    print seen " labels, " compared " lists of fields"
    exit bad
  }' "${sources[@]}" "${headers[@]}"
