#!/usr/bin/env bash
# Builds and runs every test: the release build, the sanitizer build, the
# i686 Linux build (its tests under qemu) and the Win32 DLL build (its
# export and import tables; its test programs are built, and run only with
# wine, see the README).
#
# The release tree also builds the x86-64-v3 and x86-64-v4 libraries
# (QVNGEN_VARIANTS) and runs every test program against each, compares them
# with the baseline bit for bit, and checks the loader's choice: the v3 and
# v4 presets would only build the same libraries again, so they are not run
# here. The sanitizer tree builds the x86-64-v4 library alone: its text holds
# the 512-bit kernels and, where 512 bits did not pay, the 256-bit ones, so
# most wide kernel code runs under AddressSanitizer and UBSan there; a second
# sanitized variant cost about ten more minutes of CI for little more code.
#
# The trees after the first run the release tree's generator: its output is
# the same, and an instrumented generator writing every kernel again made
# the sanitizer tree the longest part of CI. The generator's unit tests
# still run sanitized there.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/install-deps.sh

jobs=$(nproc)
# The variant sub-builds run their own build tool; this gives them the same
# job count as the tree around them.
export CMAKE_BUILD_PARALLEL_LEVEL=$jobs
start=$SECONDS

for preset in release asan m32 win32; do
  echo "== $preset: build and tests"
  case $preset in
    # The trees after the release one run the generator it has made.
    asan | m32 | win32) cmake --preset "$preset" -DQVNGEN_HOST_GENERATOR="$PWD/build/release/bin/qvngen-gen" ;;
    *) cmake --preset "$preset" ;;
  esac
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
  echo "== $preset done at $((SECONDS - start)) s"
done

echo "== all done in $((SECONDS - start)) s"
