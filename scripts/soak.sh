#!/usr/bin/env bash
# Records a week of media in fast motion, or the hours given, while two readers scrub it and a player follows; prints
# processor time, memory and descriptors after each hour, and verifies the result.
set -euo pipefail
cd "$(dirname "$0")/.."

hours=${1:-168}
[[ $hours =~ ^[1-9][0-9]*$ ]] || { echo "usage: soak.sh [HOURS]" >&2; exit 2; }
cmake --preset dev >/dev/null
cmake --build --preset dev --target soak_test vlx_fmp4 >/dev/null
FMP4_SOAK_HOURS=$hours exec build/dev/bin/soak_test
