#!/usr/bin/env bash
# Switches faults into the code, one at a time, and says which of them the tests catch: see scripts/mutate.py.
set -euo pipefail
cd "$(dirname "$0")/.."
export CCACHE_DEPEND=1
export CCACHE_SLOPPINESS=pch_defines,time_macros
exec python3 scripts/mutate.py "$@"
