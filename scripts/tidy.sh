#!/usr/bin/env bash
# Holds the sources to .clang-tidy, names included. Exit 0 only without a warning.
#   tidy.sh            all of the libraries and the program
#   tidy.sh --changed  the sources that differ from those of the last commit but one; none without git
#   tidy.sh FILE...    these
set -euo pipefail
cd "$(dirname "$0")/.."

modules=(base os host mp4box streaming recording captions plugin support tool audio dsp)
options=(-std=c++20 -I. -Ihost/include -Ihost/reference/include '-DFMP4_VERSION=""' -DVL_SIMD -Wno-pragma-once-outside-header)

# Sources that compile here. The kernels are included again for each instruction set.
sources() {
  find "${modules[@]}" \( -name node_modules -o -name win32 \) -prune -o -name '*.cpp' -print | sort
}

# tidy FILE: says what is wrong with a file.
tidy() {
  local output
  output=$(clang-tidy --quiet "$1" -- "${options[@]}" 2>/dev/null) && return
  printf '%s\n' "$output"
  return 1
}

# tidy_batch LIST: the sources listed in a file, as one, which reads the headers that they share once. Those whose local
# names clash are taken one by one.
tidy_batch() {
  local batch=${1%.list}.cpp output source bad=0
  sed 's/.*/#include "&"/' "$1" >"$batch"
  output=$(clang-tidy --quiet --checks=-bugprone-suspicious-include "$batch" -- "${options[@]}" 2>/dev/null) && return
  if [[ $output != *clang-diagnostic-error* ]]; then
    printf '%s\n' "$output"
    return 1
  fi
  while IFS= read -r source; do tidy "$source" || bad=1; done <"$1"
  return "$bad"
}

# A folder of batches for each folder with rules of its own, which a copy of them continues.
make_batches() {
  local rules source folder
  rm -rf build/tidy
  mapfile -t rules < <(find "${modules[@]}" -name .clang-tidy -printf '%h\n' | sort -r)  # audio/umc before audio
  while IFS= read -r source; do
    folder=build/tidy/${source%%/*}
    for rule in "${rules[@]}"; do
      if [[ $source == "$rule"/* ]]; then
        folder=build/tidy/rules/$rule
        mkdir -p "$folder"
        cp "$rule/.clang-tidy" "$folder"
        break
      fi
    done
    mkdir -p "$folder"
    printf '%s\n' "$source" >>"$folder/sources"
  done < <(sources)
  find build/tidy -name sources -execdir split --lines=10 --numeric-suffixes --additional-suffix=.list sources batch. \;
}

if [[ $# -gt 0 && $1 == --changed ]]; then
  mapfile -t files < <({ git diff --name-only --relative --diff-filter=d HEAD~1 2>/dev/null || true; } | sort |
    comm -12 - <(sources))
elif [[ $# -gt 0 ]]; then
  files=("$@")
else
  files=()
  make_batches
  mapfile -t batches < <(find build/tidy -name '*.list' | sort)
fi

# In a shell of its own, which takes no arrays from this one.
in_parallel() {
  export -f tidy tidy_batch
  OPTIONS=$(declare -p options) xargs -0 -r -P "$(nproc)" -I ITEM bash -c 'eval "$OPTIONS"; "$@"' bash "$1" ITEM
}
if [[ -v batches ]]; then
  printf '%s\0' "${batches[@]}" | in_parallel tidy_batch
elif [[ ${#files[@]} -gt 0 ]]; then
  printf '%s\0' "${files[@]}" | in_parallel tidy
fi
