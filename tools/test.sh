#!/usr/bin/env bash
# Builds and runs every test: the release build, the sanitizer build, and the
# 32-bit library build with its calling-convention check.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/install-deps.sh

jobs=$(nproc)
start=$SECONDS

echo "== release build and tests"
cmake --preset release
cmake --build --preset release -j "$jobs"
ctest --preset release -j "$jobs"

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build and tests"
cmake --preset asan
cmake --build --preset asan -j "$jobs"
ctest --preset asan -j "$jobs"

echo "== 32-bit x86 libraries"
cmake --preset m32
cmake --build --preset m32 -j "$jobs"
tools/check-m32.sh build/m32/lib/libqvngenz3.so

echo "== all done in $((SECONDS - start)) s"
