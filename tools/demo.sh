#!/usr/bin/env bash
# Installs what is missing, builds the release configuration and runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/install-deps.sh
cmake --preset release
cmake --build --preset release --target qvngen-demo
build/release/bin/qvngen-demo
