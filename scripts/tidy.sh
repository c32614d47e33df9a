#!/usr/bin/env bash
# Holds the sources to .clang-tidy, names included: all of the libraries and the program, or the files given. Exit 0
# only without a warning.
set -euo pipefail
cd "$(dirname "$0")/.."

modules=(base os host mp4box streaming recording captions plugin support tool audio dsp)
if [[ $# -gt 0 ]]; then
  files=("$@")
else
  # Those of another system do not compile here; the kernels are included again for each instruction set.
  mapfile -t files < <(find "${modules[@]}" -name '*.cpp' -not -path '*/win32/*' -not -path '*/node_modules/*' 2>/dev/null |
    sort)
fi

printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -I FILE sh -c '
  output=$(clang-tidy --quiet "$1" -- -std=c++20 -I. -Ihost/include -Ihost/reference/include -DFMP4_VERSION=\"\" \
    2>/dev/null) || { printf "%s\n" "$output"; exit 1; }' sh FILE
