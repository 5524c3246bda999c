#!/usr/bin/env bash
# Installs a build into a scratch prefix and builds examples/consumer against
# it twice, as a user would: with CMake (find_package) and with make
# (pkg-config). Both programs must run, and must load the installed
# libraries, not the build tree's. Each ISA named must have its library in
# lib/glibc-hwcaps/<ISA>/: the file and its SONAME link, no development link.
#   tools/check-install.sh BUILD_DIR SCRATCH_DIR [ISA...]
set -euo pipefail
usage="usage: check-install.sh BUILD_DIR SCRATCH_DIR [ISA...]"
build=$(realpath "${1:?$usage}")
scratch=${2:?$usage}
shift 2
src=$(realpath "$(dirname "$0")/../examples/consumer")

rm -rf "$scratch"
mkdir -p "$scratch"
scratch=$(realpath "$scratch")
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

libdir=$(dirname "$(find "$prefix" -name libqvngenz3.so -print -quit)")
for isa in "$@"; do
  dir=$libdir/glibc-hwcaps/$isa
  [[ -f $dir/libqvngenz3.so.7.0 && $(readlink "$dir/libqvngenz3.so.7") == libqvngenz3.so.7.0 ]] ||
    { echo "$isa: no libqvngenz3.so.7.0 with its SONAME link in $dir"; ls -l "$dir" 2>&1; exit 1; }
  [[ ! -e $dir/libqvngenz3.so ]] || { echo "$isa: development link in $dir"; exit 1; }
  echo "$isa build installed in ${dir#"$prefix"/}"
done

# The loader must find the installed copies through the program's own run
# path, so nothing may point it anywhere else.
unset LD_LIBRARY_PATH

# Runs a consumer and checks that both libraries came from the prefix.
run_consumer() {
  local exe=$1 how=$2 found=0
  "$exe"
  while read -r lib path; do
    if [[ $(realpath -s "$path") != "$prefix"/* ]]; then
      echo "$how consumer loads $lib from '$path', not from $prefix"; exit 1
    fi
    found=$((found + 1))
  done < <(ldd "$exe" | awk '/libqvn/ {print $1, $3}')
  ((found == 2)) || { echo "$how consumer: expected libqvngenz3 and libqvncore"; ldd "$exe"; exit 1; }
  echo "$how consumer: ok"
}

cmake -S "$src" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
run_consumer "$scratch/cmake-build/qvngen-consumer" find_package

mkdir -p "$scratch/make-build"
pcdir=$(dirname "$(find "$prefix" -name qvngen.pc)")
make -s -C "$scratch/make-build" -f "$src/Makefile" PKG_CONFIG_PATH="$pcdir"
run_consumer "$scratch/make-build/qvngen-consumer" pkg-config
