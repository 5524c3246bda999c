#!/usr/bin/env bash
# Installs a build into a scratch prefix, links a small program against the
# installed lib/libqvngenz3.so and checks which library the loader gives it,
# by the processor-target code of the version record:
#   - the best installed variant this processor runs (glibc-hwcaps/<isa>/);
#   - the same when the loader may search that directory alone
#     (ld.so --glibc-hwcaps-mask <isa>), and the baseline when it may search
#     none (--glibc-hwcaps-mask '') and when the processor's AVX2 is hidden
#     from it (GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2).
# Exits 77 (a skipped test) when the processor runs none of the variants.
#   tools/check-loader.sh BUILD_DIR SCRATCH_DIR CC BASE_CODE ISA=CODE...
set -euo pipefail
usage="usage: check-loader.sh BUILD_DIR SCRATCH_DIR CC BASE_CODE ISA=CODE..."
build=$(realpath "${1:?$usage}")
scratch=${2:?$usage}
cc=${3:?$usage}
base_code=${4:?$usage}
shift 4
(($# > 0)) || { echo "$usage"; exit 2; }

rm -rf "$scratch"
mkdir -p "$scratch"
scratch=$(realpath "$scratch")
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name libqvngenz3.so -print -quit)")

# The probe prints the code of the library it got and which instruction
# sets this processor has, as the compiler's run-time check sees them.
cat >"$scratch/probe.c" <<'EOF'
#include <stdio.h>
#include <qvngen.h>
int main(void) {
    __builtin_cpu_init();
    printf("%s x86-64-v3=%d x86-64-v4=%d\n", qvngenGetLibVersion()->targetCpu,
           __builtin_cpu_supports("x86-64-v3") != 0, __builtin_cpu_supports("x86-64-v4") != 0);
    return 0;
}
EOF
"$cc" -I"$prefix/include" "$scratch/probe.c" -o "$scratch/probe" \
  -L"$libdir" -lqvngenz3 -Wl,-rpath,"$libdir"
unset LD_LIBRARY_PATH GLIBC_TUNABLES

read -r code features < <("$scratch/probe")
echo "loaded: $code ($features)"

# The variant the loader should prefer: the highest instruction set that is
# installed and that this processor has (x86-64-v4 before x86-64-v3).
expected="" expected_isa=""
for pair in $(printf '%s\n' "$@" | sort -r); do
  isa=${pair%%=*}
  [[ -f $libdir/glibc-hwcaps/$isa/libqvngenz3.so.7 ]] ||
    { echo "not installed: $libdir/glibc-hwcaps/$isa/libqvngenz3.so.7"; exit 1; }
  if [[ -z $expected && " $features " == *" $isa=1 "* ]]; then
    expected=${pair#*=} expected_isa=$isa
  fi
done
if [[ -z $expected ]]; then
  [[ $code == "$base_code" ]] || { echo "expected the baseline ($base_code) here, got $code"; exit 1; }
  echo "this processor runs none of the variants ($features): skipped"
  exit 77
fi
[[ $code == "$expected" ]] || { echo "the loader gave $code, expected $expected"; exit 1; }

interp=$(readelf -l "$scratch/probe" | sed -n 's/.*Requesting program interpreter: \(.*\)]/\1/p')
alone=$("$interp" --glibc-hwcaps-mask "$expected_isa" "$scratch/probe" | cut -d' ' -f1)
[[ $alone == "$expected" ]] || { echo "with $expected_isa alone unmasked: $alone, expected $expected"; exit 1; }
masked=$("$interp" --glibc-hwcaps-mask '' "$scratch/probe" | cut -d' ' -f1)
[[ $masked == "$base_code" ]] || { echo "with every hwcaps directory masked: $masked, expected $base_code"; exit 1; }
no_avx2=$(GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2 "$scratch/probe" | cut -d' ' -f1)
[[ $no_avx2 == "$base_code" ]] || { echo "with AVX2 hidden: $no_avx2, expected $base_code"; exit 1; }
echo "the loader picks $code; $expected_isa alone: $alone; all masked: $masked; without AVX2: $no_avx2"
