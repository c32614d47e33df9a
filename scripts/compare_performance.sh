#!/usr/bin/env bash
# Compares two pages of scripts/bench.sh: prints the figures of the second that are worse than those of the first by
# more than their noise, and fails if there are any. A figure's noise is the spread of its rounds, in both
# runs together, or a tenth of its value where it has none, and half of the last digit printed. Figures of one
# page alone are not compared.
# Usage: compare_performance.sh BEFORE.md AFTER.md
set -euo pipefail
awk -F ' *[|] *' '
  # | figure | measured | spread | target | |
  NF < 7 || $5 !~ /^[<>]= / { next }
  FNR == NR { before[$2] = $3; spread[$2] = $4; next }
  $2 in before {
    noise = 0.005 + (spread[$2] == "-" || $4 == "-" ? before[$2] / 10 : spread[$2] + $4)
    worse = $5 ~ /^</ ? $3 - before[$2] : before[$2] - $3
    if (worse <= noise) next
    printf "%s: %s, was %s (noise %.3f)\n", $2, $3, before[$2], noise
    found = 1
  }
  END { exit found }' "$1" "$2"
