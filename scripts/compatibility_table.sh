#!/usr/bin/env bash
# Runs the tests with players and writes their results as the table of docs/compatibility.md.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target fmp4 -j "$(nproc)"
table=$(mktemp)
trap 'rm -f "$table"' EXIT
FMP4=$PWD/build/dev/bin/fmp4 node --test --test-concurrency=2 \
  --test-reporter=spec --test-reporter-destination=build/dev/players.log \
  --test-reporter=./tests/players/compatibility_table.mjs --test-reporter-destination="$table" \
  tests/players/*.test.mjs || echo "some tests failed: build/dev/players.log says which, and the table counts less"
sed -i -e "/<!-- table -->/r $table" -e '/<!-- table -->/,/<!-- end of table -->/{/<!-- /!d}' docs/compatibility.md
