#!/usr/bin/env bash
# Builds and runs every test: the release build, the sanitizer build, the
# i686 Linux build (its tests under qemu) and the Win32 DLL build (its
# export and import tables; its test programs are built, and run only with
# wine, see the README).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/install-deps.sh

jobs=$(nproc)
start=$SECONDS

for preset in release asan m32 win32; do
  echo "== $preset: build and tests"
  case $preset in
    # The cross builds run the generator the release build has made.
    m32 | win32) cmake --preset "$preset" -DQVNGEN_HOST_GENERATOR="$PWD/build/release/bin/qvngen-gen" ;;
    *) cmake --preset "$preset" ;;
  esac
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
  echo "== $preset done at $((SECONDS - start)) s"
done

echo "== all done in $((SECONDS - start)) s"
