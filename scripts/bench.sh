#!/usr/bin/env bash
# Builds the release preset and runs every measurement. Exit 0 only when all targets are met.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
missed=0
for bench in build/release/bin/bench_*; do
  echo "== ${bench##*/}"
  "$bench" || missed=1
done
exit "$missed"
