#!/usr/bin/env bash
# Copies the operation census the last release build wrote into the source
# tree, where the census tests compare against it.
set -euo pipefail
cd "$(dirname "$0")/.."
cp build/release/generated/dft_complex/census.txt generator/census.txt
cp build/release/generated/wht/census.txt generator/census_wht.txt
cp build/release/generated/dct4/census.txt generator/census_dct4.txt
cp build/release/generated/dft_real/census.txt generator/census_dft_real.txt
cp build/release/generated/hartley/census.txt generator/census_hartley.txt
git --no-pager diff --stat -- generator/census*.txt
