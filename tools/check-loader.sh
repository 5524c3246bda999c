#!/usr/bin/env bash
# Installs a build into a scratch prefix, links a small program against the
# installed lib/libqvngenz3.so and checks which library the loader gives it,
# by the processor-target code of the version record:
#   - the best installed variant this processor runs (glibc-hwcaps/<isa>/);
#   - each installed variant when the loader may search its directory alone
#     (ld.so --glibc-hwcaps-mask <isa>), and the baseline when it may search
#     none (--glibc-hwcaps-mask '');
#   - with AVX512F hidden from it (GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F)
#     the x86-64-v3 build, and with AVX2 hidden the baseline.
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

# The code the loader should give the probe when it may pick among the
# instruction sets named: the highest installed one this processor has
# (x86-64-v4 before x86-64-v3), else the baseline.
declare -A code_of
for pair in "$@"; do
  isa=${pair%%=*}
  [[ -f $libdir/glibc-hwcaps/$isa/libqvngenz3.so.7 ]] ||
    { echo "not installed: $libdir/glibc-hwcaps/$isa/libqvngenz3.so.7"; exit 1; }
  code_of[$isa]=${pair#*=}
done
expect() {
  local isa
  for isa in x86-64-v4 x86-64-v3; do
    if [[ " $* " == *" $isa "* && -n ${code_of[$isa]:-} && " $features " == *" $isa=1 "* ]]; then
      echo "${code_of[$isa]}"; return
    fi
  done
  echo "$base_code"
}

best=$(expect x86-64-v4 x86-64-v3)
if [[ $best == "$base_code" ]]; then
  [[ $code == "$base_code" ]] || { echo "expected the baseline ($base_code) here, got $code"; exit 1; }
  echo "this processor runs none of the variants ($features): skipped"
  exit 77
fi

interp=$(readelf -l "$scratch/probe" | sed -n 's/.*Requesting program interpreter: \(.*\)]/\1/p')
failed=0
# check WHAT EXPECTED GOT
check() {
  if [[ $3 == "$2" ]]; then
    printf '  %-44s %s\n' "$1" "$3"
  else
    printf '  %-44s %s, expected %s\n' "$1" "$3" "$2"; failed=1
  fi
}
check "default" "$best" "$code"
# Each installed variant as the only hwcaps directory searched.
for isa in "${!code_of[@]}"; do
  check "--glibc-hwcaps-mask $isa" "$(expect "$isa")" \
    "$("$interp" --glibc-hwcaps-mask "$isa" "$scratch/probe" | cut -d' ' -f1)"
done
check "--glibc-hwcaps-mask ''" "$base_code" \
  "$("$interp" --glibc-hwcaps-mask '' "$scratch/probe" | cut -d' ' -f1)"
# The tunable hides a feature from the loader's level check: without
# AVX512F the processor is x86-64-v3 at most, without AVX2 it is neither.
check "GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F" "$(expect x86-64-v3)" \
  "$(GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F "$scratch/probe" | cut -d' ' -f1)"
check "GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2" "$base_code" \
  "$(GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2 "$scratch/probe" | cut -d' ' -f1)"
exit $failed
