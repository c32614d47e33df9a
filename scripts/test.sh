#!/usr/bin/env bash
# Installs what is missing, builds and tests. Ends with one line, which says what was not run; exit 0 only when
# everything else passed. Three gears:
#   test.sh        format, layers, headers, clang-tidy on what changed, the build as shipped (GCC) and all its native
#                  tests
#   test.sh all    also clang-tidy on everything, the sanitizers (Clang), the players, the fuzz targets, Windows (where
#                  the cross build and Wine can be installed) and the packages
#   test.sh quick  while working: format, layers, what changed is built, and the tests that take seconds
# With --times after the gear, the times of its steps are written to docs/testing.md.
set -euo pipefail
cd "$(dirname "$0")/.."

gear=native
keep_times=false
for word in "$@"; do
  case $word in
    native | all | quick) gear=$word ;;
    --times) keep_times=true ;;
    *)
      echo "test: give all, quick or nothing, and --times to write the steps' times down" >&2
      exit 2
      ;;
  esac
done

load_before=$(cut -d ' ' -f 1 /proc/loadavg)
timings=()
# step NAME COMMAND...: runs a command and notes how long it took; a failure ends the run.
step() {
  local name=$1 start=$SECONDS
  shift
  echo "== $name"
  # Not as a condition, within which a function goes on after its commands that fail.
  set +e
  (set -e; "$@")
  local status=$?
  set -e
  if ((status != 0)); then
    echo "test: FAILED at: $name, after $SECONDS s" >&2
    exit 1
  fi
  timings+=("$(printf '%5d s  %s' $((SECONDS - start)) "$name")")
}

# Without a separate preprocessor run before each compilation, which an empty cache would cost.
export CCACHE_DEPEND=1
export CCACHE_SLOPPINESS=pch_defines,time_macros  # for the tests' precompiled headers

configure() {
  local launcher=()
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake --preset "$1" "${launcher[@]}" >/dev/null
}

# sources PATTERN FOLDER...: our own files of such names, NUL-terminated.
sources() {
  find "${@:2}" \( -name node_modules -o -path ./build \) -prune -o -type f -name "$1" -print0
}

check_format() {
  { sources '*.cpp' . && sources '*.h' .; } | xargs -0 clang-format --dry-run --Werror
}

# Scripts that few tests run parse at least.
check_scripts() {
  sources '*.sh' . | xargs -0 -n 1 bash -n
  sources '*.py' . | xargs -0 python3 -c 'import ast, sys
for name in sys.argv[1:]: ast.parse(open(name).read(), name)'
}

# own_source HEADER: whether a source file of its name includes it first, and so compiles it alone.
own_source() {
  local source=${1%.h}.cpp
  [[ -f $source ]] && grep -m 1 '^#include' "$source" | grep -qF "\"$1\""
}

# Every header compiles as the only one of a source file.
check_headers() {
  local header headers=()
  while IFS= read -r -d '' header; do
    own_source "$header" || headers+=("$header")
  done < <(sources '*.h' base os host captions dsp mp4box streaming audio recording plugin support tool)
  printf '%s\0' "${headers[@]}" | xargs -0 -P "$(nproc)" -I HEADER sh -c '
    echo "#include \"$1\"" | g++ -std=c++20 -I. -Ihost/include -Ihost/reference/include -fsyntax-only -x c++ - ||
      { echo "$1 does not compile alone" >&2; exit 1; }' sh HEADER
}

# run_tests PRESET [OPTION...]: one more at a time than there are processors, as some wait. A program that fails
# prints its failures alone, without the plug-in's messages, which are hundreds.
run_tests() {
  GTEST_BRIEF=1 ctest --test-dir "build/$1" -j $(($(nproc) + 1)) --output-on-failure "${@:2}" |
    grep --line-buffered --text --invert-match -E '^(CAUTION|WARNING|ERROR)\(vlx_'
}

# The served page in Chromium, and ffmpeg over HTTP; in parallel the recording of a minute, which is mostly waiting.
run_players() {
  FMP4=$PWD/build/dev/bin/fmp4 node --test --test-concurrency=2 --test-reporter=spec tests/players/*.test.mjs \
    >build/dev/players.log ||
    { sed -n '/failing tests/,$p' build/dev/players.log; return 1; }
}

# fuzz TARGET RUNS [OPTION...] CORPUS...: looks for inputs that crash, hang or exhaust memory, the same search on every
# machine, however fast; new inputs are left under build/asan/fuzz, with the target's output.
fuzz() {
  local target=$1 runs=$2 folder=build/asan/fuzz/$1
  shift 2
  rm -rf "$folder"
  mkdir -p "$folder/new"
  "build/asan/bin/fuzz_$target" -seed=1 -runs="$runs" -timeout=60 -rss_limit_mb=1024 -verbosity=0 \
    -print_final_stats=1 -artifact_prefix="$folder/" "$folder/new" "$@" >"$folder/log" 2>&1 ||
    { tail -n 60 "$folder/log"; echo "fuzz_$target failed"; return 1; }
}

# Every target, as many at a time as there are processors.
fuzz_all() {
  export -f fuzz
  xargs -P "$(nproc)" -I LINE bash -c 'fuzz LINE' <fuzz/targets.txt
}

# compiled PRESET
compiled() {
  step "configure $1" configure "$1"
  step "build $1" cmake --build --preset "$1" -j "$(nproc)"
}

not_run=""
step "packages" scripts/setup.sh
step "format" check_format
step "layers" scripts/check_layers.sh
step "scripts" check_scripts
step "mutations" scripts/mutate.sh --check
if [[ $gear != quick ]]; then step "headers" check_headers; fi
if [[ $gear == native ]]; then step "tidy what changed" scripts/tidy.sh --changed; fi
if [[ $gear == all ]]; then step "tidy" scripts/tidy.sh; fi
compiled dev
if [[ $gear == quick ]]; then
  step "tests dev" run_tests dev --label-exclude slow
else
  step "tests dev" run_tests dev
fi
if [[ $gear == all ]]; then
  step "players" run_players
  compiled asan
  step "tests asan" run_tests asan --label-exclude matrix
  step "fuzz" fuzz_all
  compiled tsan
  step "tests tsan" run_tests tsan --tests-regex '^threads_test: '
  if ! scripts/setup.sh windows; then
    not_run="; NOT RUN, for its packages cannot be installed: everything for Windows"
  else
    compiled windows
    scripts/setup.sh wine || not_run="; NOT RUN, for Wine cannot be installed: the Windows build"
  fi
  if [[ -z $not_run ]]; then
    step "start Wine" scripts/wine.sh wineboot --init
    step "tests windows" run_tests windows
    step "install both packages" scripts/test_packages.sh
  else
    step "install the Debian package" scripts/test_packages.sh debian
  fi
fi

printf '%s\n' "${timings[@]}"
# tests_run PRESET: how many tests its programs ran.
tests_run() {
  awk '/\[  PASSED  \]/ { sum += $4 } END { print sum + 0 }' "build/$1/Testing/Temporary/LastTest.log"
}
passed=$(tests_run dev)
checks="format, layers"
if [[ $gear != quick ]]; then checks+=", headers"; fi
if [[ $gear == all ]]; then
  players=$(awk '/^ℹ pass/ { print $3 }' build/dev/players.log)
  passed=$((passed + $(tests_run asan) + $(tests_run tsan) + players))
  if [[ -z $not_run ]]; then checks="and $(tests_run windows) as Windows programs, $checks"; fi
  checks+=", clang-tidy, packages"
fi
# The part of docs/testing.md between this gear's comment and the next end.
write_times() {
  local table
  table=$(
    printf '%s, %s processors%s, load average %s before and %s after; %s s in all%s\n\n' \
      "$(date +%F)" "$(nproc)" "$(awk -F ': *' '/^model name/ { print " (" $2 ")"; exit }' /proc/cpuinfo)" \
      "$load_before" "$(cut -d ' ' -f 1 /proc/loadavg)" "$SECONDS" "${not_run,,}"
    printf '| step | seconds |\n|---|---:|\n'
    printf '%s\n' "${timings[@]}" | sed -E 's/^ *([0-9]+) s  (.*)$/| \2 | \1 |/'
  )
  TABLE=$table awk -v start="<!-- times: $gear -->" '
    $0 == "<!-- end -->" { inside = 0 }
    !inside { print }
    $0 == start { inside = 1; print ""; print ENVIRON["TABLE"]; print "" }' docs/testing.md >build/testing.md
  cp build/testing.md docs/testing.md
}
if $keep_times; then write_times; fi
echo "test: all passed: $passed tests, $checks, in $SECONDS s$not_run"
