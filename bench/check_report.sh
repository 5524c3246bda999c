#!/usr/bin/env bash
# Runs qvngen-bench --report on a few quick cases of every family and checks
# what it wrote: the CSV, both Markdown pages, and a PNG chart for every
# family and precision in the CSV, each linked from report.md, a summary row
# for every reference of each (and one against the faster of FFTW and KFR
# where both were timed, i.e. when the build has KFR), and every
# library timed (the baseline and the variants this processor runs) named in
# the summary's columns, and a census floor for every entry that has a census.
#   check_report.sh QVNGEN_BENCH OUT_DIR
set -euo pipefail
bench=${1:?usage: check_report.sh QVNGEN_BENCH OUT_DIR}
out=${2:?usage: check_report.sh QVNGEN_BENCH OUT_DIR}
rm -rf "$out"

"$bench" --quick --batches 3 --err-trials 1 --n 2,4,8 --report "$out" >/dev/null

for f in results.csv summary.md report.md; do
  [[ -s $out/$f ]] || { echo "missing or empty: $out/$f"; exit 1; }
done
groups=$(tail -n +2 "$out/results.csv" | cut -d, -f1,3 | sort -u | tr , -)
count=0
for g in $groups; do
  png=$out/$g.png
  [[ $(head -c 8 "$png" 2>/dev/null | od -An -tx1 | tr -d ' \n') == 89504e470d0a1a0a ]] ||
    { echo "not a PNG: $png"; exit 1; }
  grep -q "]($g.png)" "$out/report.md" || { echo "report.md does not show $g.png"; exit 1; }
  count=$((count + 1))
done
rows=$(grep -c '^| .* vs ' "$out/summary.md")
tables=$(tail -n +2 "$out/results.csv" | cut -d, -f1-3 | sort -u | wc -l)
# Family and precision pairs timed against both FFTW and KFR.
both=$(tail -n +2 "$out/results.csv" | awk -F, '$2 == "FFTW" || $2 == "KFR" { print $1 "," $3 "," $2 }' |
       sort -u | cut -d, -f1,2 | uniq -d | wc -l)
best=$(grep -c '^| .* vs the faster of FFTW/KFR |' "$out/summary.md" || true)
((count >= 12 && rows == tables + both && best == both)) ||
  { echo "expected a chart per family and precision and a summary row per reference of each:" \
         "$count charts, $rows rows for $tables tables and $best of $both against the faster of FFTW/KFR"; exit 1; }
# Every entry but DCT-IV's (whose census counts building blocks) has a floor.
unfloored=$(tail -n +2 "$out/results.csv" | awk -F, '$1 != "dct4" && $13 == ""' | cut -d, -f1,3,5,12 | head -3)
[[ -z $unfloored ]] || { echo "no census floor for: $unfloored"; exit 1; }
grep -q '^| .* | time over census floor' "$out/summary.md" ||
  { echo "summary.md has no census floor table"; exit 1; }
libraries=$(tail -n +2 "$out/results.csv" | cut -d, -f12 | awk '!seen[$0]++' | paste -sd/ | sed 's|/| / |g')
grep -q "geometric mean ratio $libraries |" "$out/summary.md" ||
  { echo "summary.md does not have a column for each of: $libraries"; exit 1; }
echo "report: $count charts, $rows summary rows ($both against the faster of FFTW/KFR), libraries $libraries"
