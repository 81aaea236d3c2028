#!/usr/bin/env bash
# No object file runs code when it is loaded, except that <iostream> starts the standard streams.
#    initialisers.sh LIST, a file with the name of an object file in each line
set -euo pipefail
mapfile -t objects <"$1"
[ "${#objects[@]}" -gt 0 ]
# readelf prints the name of the file only when there are several
LC_ALL=C readelf -SrW "${objects[@]}" "${objects[0]}" | awk '
  /^File: / { file = $2; ++files; next }
  /^Relocation section / { section = $3; next }
  / \.(init_array|ctors)/ && $0 ~ /^ *\[/ { starts[file] = 1 }
  # what the start-up code calls and changes
  section ~ /\.rela\.text\.startup|\.rela\.text\._GLOBAL__sub_I/ && /R_[A-Z0-9_]+ / {
    symbol = $5
    if (symbol !~ /^(_ZNSt8ios_base4Init[CD]1Ev|_ZStL8__ioinit|__dso_handle|__cxa_atexit|\.bss|\.text.*|_GLOBAL_OFFSET_TABLE_)$/)
      other[file] = other[file] " " symbol
    else if (symbol ~ /ios_base4InitC1/) streams[file] = 1
  }
  END {
    if (!files) { print "no object file was read"; exit 2 }
    for (file in starts)
      if (other[file] != "" || !streams[file]) {
        print file ": has a static initialiser, which uses" other[file]
        bad = 1
      }
    exit bad
  }'
