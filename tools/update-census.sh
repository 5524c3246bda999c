#!/usr/bin/env bash
# Writes the committed operation census of every family and instruction set
# into generator/, where the census tests compare against it:
#   census[_<family>].txt           the baseline (x86-64) kernels
#   census[_<family>].<isa>.txt     x86-64-v3 and x86-64-v4, only where the
#                                   kernels differ from those of the next
#                                   lower instruction set (the tests fall back
#                                   to that one's file); a file that has become
#                                   the same as the lower one is removed
# Runs the generator of a release build (default build/release) for each
# instruction set into a scratch directory.
#   tools/update-census.sh [GENERATOR]
set -euo pipefail
cd "$(dirname "$0")/.."
gen=${1:-build/release/bin/qvngen-gen}
[[ -x $gen ]] || { echo "no generator at $gen (build the release tree first)"; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# generator family : committed file stem
families="complex-dft:census dft-real:census_dft_real hartley:census_hartley wht:census_wht dct4:census_dct4"
isas="x86-64 x86-64-v3 x86-64-v4"
for isa in $isas; do
  for pair in $families; do
    "$gen" --isa "$isa" "${pair%%:*}" "$scratch/$isa/${pair%%:*}" >/dev/null
  done
done

for pair in $families; do
  family=${pair%%:*} stem=${pair#*:}
  cp "$scratch/x86-64/$family/census.txt" "generator/$stem.txt"
  lower=x86-64
  for isa in x86-64-v3 x86-64-v4; do
    if cmp -s "$scratch/$isa/$family/census.txt" "$scratch/$lower/$family/census.txt"; then
      rm -f "generator/$stem.$isa.txt"
    else
      cp "$scratch/$isa/$family/census.txt" "generator/$stem.$isa.txt"
    fi
    lower=$isa
  done
done
git --no-pager status --short -- 'generator/census*.txt'
git --no-pager diff --stat -- 'generator/census*.txt'
