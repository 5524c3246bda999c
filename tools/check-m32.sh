#!/usr/bin/env bash
# Checks the 32-bit library: it is i386 code and every export removes its own
# 32-bit arguments (stdcall: "ret $0x<4 * count>").
set -euo pipefail
lib=${1:?usage: check-m32.sh path/to/libqvngenz3.so}

file -L "$lib" | grep -q "ELF 32-bit" || { echo "not a 32-bit library: $lib"; exit 1; }

exports=$(nm -D --defined-only "$lib" | awk '$2 == "T" && $3 ~ /^qvng/ {print $3}')
count=0
bad=0
for name in $exports; do
  [[ $name == qvngenGetLibVersion ]] && continue
  count=$((count + 1))
  case $name in
    qvngWHTGetBufferSize_*) pop=0x8 ;;   # order, size
    qvngWHT_32f | qvngWHT_64f) pop=0x14 ;;  # src, dst, order, flag, buffer
    qvngWHT_*) pop=0x10 ;;               # src, dst, flag, buffer
    qvngDCT4GetSize_*) pop=0x8 ;;        # length, size
    qvngDCT4Init_*) pop=0xc ;;           # spec, length, block
    qvngDCT4InitAlloc_*) pop=0x8 ;;      # spec, length
    qvngDCT4Free_*) pop=0x4 ;;           # spec
    qvngDCT4_32f | qvngDCT4_64f) pop=0xc ;;  # src, dst, spec
    qvngDFT* | qvngHartley_*)
      if [[ $name =~ _[0-9]+_ ]]; then pop=0xc; else pop=0x10; fi ;;  # generic: + length
    *) pop=0xc ;;                        # src, dst, flag
  esac
  if ! objdump -d --no-show-raw-insn "$lib" --disassemble="$name" | grep -q "ret *\\\$$pop *$"; then
    echo "not stdcall: $name"
    bad=$((bad + 1))
  fi
done
echo "32-bit exports checked: $count, not stdcall: $bad"
((count > 0 && bad == 0))
