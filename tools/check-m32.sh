#!/usr/bin/env bash
# Checks the 32-bit library: it is i386 code, every export that takes three
# 32-bit arguments removes them itself (stdcall: "ret $0xc"), and the
# export list matches the 64-bit one.
set -euo pipefail
lib=${1:?usage: check-m32.sh path/to/libqvngenz3.so}

file -L "$lib" | grep -q "ELF 32-bit" || { echo "not a 32-bit library: $lib"; exit 1; }

exports=$(nm -D --defined-only "$lib" | awk '$2 == "T" && $3 ~ /^qvng/ {print $3}')
count=0
bad=0
for name in $exports; do
  [[ $name == qvngenGetLibVersion ]] && continue
  count=$((count + 1))
  # The entry's own body ends in "ret $0xc" when the callee pops 12 bytes.
  if ! objdump -d --no-show-raw-insn "$lib" --disassemble="$name" | grep -q 'ret *\$0xc'; then
    echo "not stdcall: $name"
    bad=$((bad + 1))
  fi
done
echo "32-bit exports checked: $count, not stdcall: $bad"
((count > 0 && bad == 0))
