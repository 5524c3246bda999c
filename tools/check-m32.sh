#!/usr/bin/env bash
# Checks a 32-bit ELF build of libqvngenz3: it is i386 code and every export
# removes its own arguments on return (stdcall: "ret $<bytes>"), the bytes
# read from the export list with its stdcall decorations (name@bytes), which
# cmake/QvnDefFile.cmake writes.
#
#   check-m32.sh <libqvngenz3.so> <exports .def file> [objdump]
set -euo pipefail
lib=${1:?usage: check-m32.sh <libqvngenz3.so> <exports .def file> [objdump]}
def=${2:?usage: check-m32.sh <libqvngenz3.so> <exports .def file> [objdump]}
objdump=${3:-objdump}

file -L "$lib" | grep -q "ELF 32-bit" || { echo "not a 32-bit library: $lib"; exit 1; }

# One pass over the disassembly: for every function of the export list, each
# of its ret instructions must pop exactly the listed bytes, and it must have
# at least one.
"$objdump" -d --no-show-raw-insn "$lib" | awk -v def="$def" '
  function hex(text,   value, i) {
    value = 0
    for (i = 1; i <= length(text); i++) value = 16 * value + index("0123456789abcdef", substr(text, i, 1)) - 1
    return value
  }
  BEGIN {
    while ((getline line < def) > 0) {
      if (line ~ /^  qvn[A-Za-z0-9_]+@[0-9]+$/) {
        split(substr(line, 3), part, "@")
        want[part[1]] = part[2]; listed++
      }
    }
  }
  /^[0-9a-f]+ <[^>]+>:$/ {
    fn = $2; gsub(/[<>:]/, "", fn)
    # Local labels (a switch'"'"'s jump targets) lie inside the function.
    if (fn !~ /^\.L/) current = (fn in want) ? fn : ""
    next
  }
  current != "" && $2 ~ /^ret/ {
    pops = ($3 ~ /^\$0x/) ? hex(substr($3, 4)) : 0
    rets[current]++
    if (pops != want[current]) { wrong[current] = pops }
  }
  END {
    bad = 0
    for (fn in want) {
      if (!(fn in rets)) { print "no ret found: " fn; bad++ }
      else if (fn in wrong) { print "not stdcall: " fn " pops " wrong[fn] ", takes " want[fn]; bad++ }
    }
    print "32-bit exports checked: " listed ", not stdcall: " bad
    exit (listed > 0 && bad == 0) ? 0 : 1
  }'
