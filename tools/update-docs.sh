#!/usr/bin/env bash
# Rewrites the API reference in docs/api/ from the release build (building
# what is needed first) and shows what changed.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
cmake --build --preset release --target qvngen-apidoc-pages
mkdir -p docs/api
rm -f docs/api/*.md
cp build/release/docs/api/*.md docs/api/
git --no-pager diff --stat -- docs/api
