#!/usr/bin/env bash
# Looks for inputs that crash, hang or exhaust memory, with every fuzz target or those named, in turns, until
# interrupted or for the hours given. What was learnt is kept and minimised after each turn, so that the next run goes
# on from there. Prints executions, findings and edge coverage of each target; exit 0 only without findings.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
  cat <<END
usage: fuzz.sh [--hours H] [--turn SECONDS] [--corpus FOLDER] [--no-build] [TARGET...]
       fuzz.sh --unreached SOURCES [--corpus FOLDER] [--no-build] TARGET
  --hours H         end after so many hours, such as 0.5 (default: never)
  --turn SECONDS    time of a target before the next one's (default: 600, less where the hours do not give that)
  --corpus FOLDER   where all is kept (default: build/fuzz-corpus): of each target, in a folder of its name,
                    corpus/    inputs that reach what the seeds in fuzz/seeds do not
                    findings/  inputs that failed
                    log        the last turn's output
                    turns      executions and seconds of every turn
  --no-build        use the targets in build/asan/bin as they are
  --unreached SOURCES  instead of fuzzing, print which functions and lines below that folder neither the seeds nor
                    what was learnt reach
Targets are those of fuzz/targets.txt.
END
}

fail() {
  echo "fuzz: $*" >&2
  exit 2
}

hours='' turn=600 build=true unreached=''
export kept=build/fuzz-corpus
while [[ ${1:-} == -* ]]; do
  case $1 in
    --hours) hours=${2:?--hours takes a number} && shift ;;
    --turn) turn=${2:?--turn takes seconds} && shift ;;
    --corpus) kept=${2:?--corpus takes a folder} && shift ;;
    --no-build) build=false ;;
    --unreached) unreached=${2:?--unreached takes a folder} && shift ;;
    -h | --help) usage && exit ;;
    *) usage >&2 && exit 2 ;;
  esac
  shift
done
mapfile -t targets < <(awk '{ print $1 }' fuzz/targets.txt)
for target in "$@"; do
  [[ " ${targets[*]} " == *" $target "* ]] || fail "there is no target '$target'; there are ${targets[*]}"
done
if (($# > 0)); then targets=("$@"); fi
export processors
processors=$(nproc)

# What fuzz/targets.txt says of a target after its name and number of runs: options, then folders of seeds.
words_of() {
  awk -v target="$1" '$1 == target { $1 = $2 = ""; print }' fuzz/targets.txt
}

# run TARGET LOG OPTION...: with the limits that all targets have.
run() {
  "build/asan/bin/fuzz_$1" -timeout=60 -rss_limit_mb=1024 "${@:3}" >"$2" 2>&1
}

# minimise TARGET SEEDS...: of the kept inputs, leaves those that reach more than the seeds, and the smallest of these.
minimise() {
  local target=$1 folder=$kept/$1
  rm -rf "$folder/merged" "$folder/seeds"
  mkdir "$folder/merged" "$folder/seeds"
  find "${@:2}" -type f -exec cp --target-directory="$folder/seeds" {} +
  cp "$folder/seeds"/* "$folder/merged"
  run "$target" "$folder/merge.log" -merge=1 "$folder/merged" "$folder/corpus" || return 0  # nothing is lost
  (cd "$folder/seeds" && printf '%s\0' *) | (cd "$folder/merged" && xargs -0 rm -f)
  rm -rf "$folder/corpus" "$folder/seeds"
  mv "$folder/merged" "$folder/corpus"
}

# turn TARGET SECONDS: fuzzes, minimises, measures.
take_turn() {
  local target=$1 seconds=$2 folder=$kept/$1 words options=() seeds=() word
  mkdir -p "$folder/corpus" "$folder/findings"
  read -ra words < <(words_of "$target")
  for word in "${words[@]}"; do
    if [[ $word == -* ]]; then options+=("$word"); else seeds+=("$word"); fi
  done
  local start=$SECONDS
  run "$target" "$folder/log" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$folder/findings/" \
    "${options[@]}" "$folder/corpus" "${seeds[@]}" || true  # what it found is in its folder
  awk -v seconds="$((SECONDS - start))" '/^stat::number_of_executed_units:/ { print $2, seconds }' \
    "$folder/log" >>"$folder/turns"
  minimise "$target" "${seeds[@]}"
  run "$target" "$folder/coverage.log" "${options[@]}" -runs=0 "$folder/corpus" "${seeds[@]}" || true
}

# unreached_in SOURCES TARGET: as file:line, once each.
unreached_in() {
  local folder=$kept/$2 words corpora=() word
  mkdir -p "$folder/corpus"
  read -ra words < <(words_of "$2")
  for word in "${words[@]}"; do if [[ $word != -* ]]; then corpora+=("$word"); fi; done
  run "$2" "$folder/coverage.log" -runs=0 -print_coverage=1 "$folder/corpus" "${corpora[@]}"
  # Only whole functions have their names beside them. Compilers' caches may have other paths before the folder's.
  # Line 0 is what the compiler adds.
  sed -nE "s,^UNCOVERED_FUNC: hits: 0 edges: [0-9/]+ (.*) .*/(${1%/}/[^ ]*:[0-9]+)\$,\2 \1,p
    s,^  UNCOVERED_PC: .*/(${1%/}/[^ :]*:[0-9]+).*\$,\1,p" "$folder/coverage.log" | grep -v ":0\$" | sort --unique --version-sort
}

# row TARGET: of the table.
row() {
  local folder=$kept/$1
  local edges all
  edges=$(sed -n 's/^#.* cov: \([0-9]*\).*/\1/p' "$folder/coverage.log" | tail -n 1)
  all=$(sed -n 's/^INFO: Loaded .*(\([0-9]*\) inline 8-bit counters).*/\1/p' "$folder/coverage.log" | head -n 1)
  awk -v target="$1" -v edges="${edges:-0}" -v all="${all:-0}" -v inputs="$(find "$folder/corpus" -type f | wc -l)" \
    -v findings="$(find "$folder/findings" -type f | wc -l)" '
    { executions += $1; seconds += $2 }
    END {
      printf "%-14s %14d %8.2f %10.0f %8d %8d %16s %8d\n", target, executions, seconds / 3600,
        seconds ? executions / seconds : 0, findings, edges, all ? sprintf("of %d", all) : "", inputs
    }' "$folder/turns"
}

table() {
  printf '%-14s %14s %8s %10s %8s %8s %16s %8s\n' target executions hours 'a second' findings edges '' inputs
  for target in "${targets[@]}"; do row "$target"; done
}

if $build; then
  scripts/setup.sh
  cmake --preset asan -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
  cmake --build --preset asan -j "$processors" --target "${targets[@]/#/fuzz_}"
fi

if [[ -n $unreached ]]; then
  ((${#targets[@]} == 1)) || fail "--unreached takes one target"
  unreached_in "$unreached" "${targets[0]}"
  exit
fi

export -f words_of run minimise take_turn
end=''
if [[ -n $hours ]]; then
  total=$(awk -v hours="$hours" 'BEGIN { printf "%d", hours * 3600 }')
  end=$((SECONDS + total))
  share=$((total * processors / ${#targets[@]}))
  if ((share < turn)); then turn=$((share > 0 ? share : 1)); fi
fi
while true; do
  printf '%s\n' "${targets[@]}" | xargs -P "$processors" -I TARGET bash -euo pipefail -c "take_turn TARGET $turn"
  echo
  table
  if [[ -n $end ]] && ((SECONDS >= end)); then break; fi
done
[[ -z $(cd "$kept" && find "${targets[@]}" -path '*/findings/*' -type f) ]] ||
  { echo "fuzz: there are findings: $kept/*/findings" >&2 && exit 1; }
