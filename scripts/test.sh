#!/usr/bin/env bash
# Installs what is missing, builds and runs every test, plain (GCC) and under the sanitizers (Clang), and
# checks format and headers. Ends with one line; exit 0 only when everything passed.
set -euo pipefail
cd "$(dirname "$0")/.."

timings=()
# step NAME COMMAND...: runs a command and notes how long it took; a failure ends the run.
step() {
  local name=$1 start=$SECONDS
  shift
  echo "== $name"
  if ! "$@"; then
    echo "test: FAILED at: $name, after $SECONDS s" >&2
    exit 1
  fi
  timings+=("$(printf '%5d s  %s' $((SECONDS - start)) "$name")")
}

configure() {
  local launcher=()
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake --preset "$1" "${launcher[@]}" >/dev/null
}

check_format() {
  git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
}

# Every header of a room compiles as the only one of a source file.
check_headers() {
  local rooms=(host/include dsp mp4box streaming audio audio/umc audio/umc/aac audio/umc/ac3 plugin tool)
  git ls-files -z -- "${rooms[@]/%//*.h}" | xargs -0 -P "$(nproc)" -I HEADER sh -c '
    header=$1; shift
    echo "#include \"$header\"" | g++ -std=c++20 -I. "$@" -fsyntax-only -x c++ - ||
      { echo "$header does not compile alone" >&2; exit 1; }' sh HEADER "${rooms[@]/#/-I}"
}

run_tests() {
  ctest --test-dir "build/$1" -j "$(nproc)" --output-on-failure --output-log "build/$1/tests.log"
}

# The served page in Chromium, and ffmpeg over HTTP.
run_players() {
  FMP4=$PWD/build/dev/bin/fmp4 node --test --test-reporter=spec tests/players/players.test.mjs >build/dev/players.log ||
    { sed -n '/failing tests/,$p' build/dev/players.log; return 1; }
}

# fuzz TARGET [OPTION...] CORPUS...: a short look for inputs that crash, hang or eat memory; what it finds new is
# left under build/asan/fuzz.
fuzz() {
  local target=$1 folder=build/asan/fuzz/$1
  shift
  rm -rf "$folder"
  mkdir -p "$folder/new"
  "build/asan/bin/fuzz_$target" -seed=1 -max_total_time=20 -timeout=10 -rss_limit_mb=1024 -verbosity=0 \
    -print_final_stats=1 -artifact_prefix="$folder/" "$folder/new" "$@"
}

step "packages" scripts/setup.sh
step "format" check_format
step "headers" check_headers
for preset in dev asan; do
  step "configure $preset" configure "$preset"
  step "build $preset" cmake --build --preset "$preset" -j "$(nproc)"
  step "tests $preset" run_tests "$preset"
done
step "players" run_players
# What the demo builds, whose optimiser sees more.
step "configure release" configure release
step "build release" cmake --build --preset release -j "$(nproc)"
step "fuzz boxes" fuzz box -dict=fuzz/boxes.dict fuzz/seeds/box
step "fuzz manifests" fuzz manifest -dict=fuzz/manifest.dict fuzz/seeds/manifest
step "fuzz files" fuzz file -dict=fuzz/boxes.dict fuzz/seeds/file tests/corrupt
step "fuzz recordings" fuzz recording -dict=fuzz/boxes.dict fuzz/seeds/recording
step "fuzz the AAC decoder" fuzz aac_decoder fuzz/seeds/aac_decoder
step "fuzz the AC-3 decoder" fuzz ac3_decoder fuzz/seeds/ac3_decoder
step "fuzz the decode wrapper with AAC" fuzz aac_wrapper fuzz/seeds/aac_wrapper
step "fuzz the decode wrapper with AC-3" fuzz ac3_wrapper fuzz/seeds/ac3_wrapper
step "fuzz band replication" fuzz sbr fuzz/seeds/sbr
step "fuzz parametric stereo" fuzz ps fuzz/seeds/ps

printf '%s\n' "${timings[@]}"
passed=$(awk '/tests passed, 0 tests failed out of/ || /^ℹ pass/ { sum += $NF } END { print sum }' \
  build/{dev,asan}/tests.log build/dev/players.log)
echo "test: all passed: $passed test runs, format and headers, in $SECONDS s"
