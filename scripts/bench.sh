#!/usr/bin/env bash
# Builds the release preset and runs every measurement. What they print becomes docs/performance.md, unless a figure is
# worse than the one that stands there by more than its noise; `bench.sh --accept` takes it all the same. Exit 0 only
# when nothing is worse and all targets are met.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake --preset release "${launcher[@]}" >/dev/null
cmake --build --preset release -j "$(nproc)"

load() { cut -d' ' -f1 /proc/loadavg; }
version_of() { dpkg-query --show --showformat='${Version}' "$1"; }

# section TITLE: the output of a measurement as a table of its figures and a list of its other lines.
section() {
  printf '\n## %s\n\n| figure | measured | spread | target | |\n|---|---:|---:|---:|---|\n' "$1"
  awk '
    function trimmed(text) { gsub(/^ +| +$/, "", text); return text }
    match($0, / +[-0-9.]+ +spread [-0-9.]+ +target [<>]= /) {
      split(trimmed(substr($0, RSTART)), word, " +")
      printf "| %s | %s | %s | %s %s | %s |\n",
        trimmed(substr($0, 1, RSTART - 1)), word[1], word[3], word[5], word[6], word[7]
      next
    }
    { notes = notes "- " $0 "\n" }
    END { if (notes != "") printf "\n%s", notes }'
}

started=$(load)
sections=
page=build/performance.md
# write_page: all that has been measured so far, so that a run that is interrupted leaves what it has.
write_page() {
  cat >"$page" <<END
# Performance

\`scripts/bench.sh\` measures this and writes this page. Ratios are of medians, from runs that take turns on one
machine; they say more than the times beside them. The spread is half the interquartile range of the rounds' ratios:
the next run must not be worse by more. Other work on the machine shows in the load average.

| | |
|---|---|
| date | $(date -u +%F) |
| processor | $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) processors |
| memory | $(awk '/^MemTotal/ { printf "%.0f GB", $2 / 1e6 }' /proc/meminfo) |
| system | $(. /etc/os-release && echo "$PRETTY_NAME") |
| load average before and after | $started, $(load) |
| compiler | $(g++ --version | head -n 1) |
| version | $(sed -n 's/^project(vlx_fmp4 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) |
| compared with | ffmpeg $(version_of ffmpeg), faad $(version_of faad), a52dec $(version_of liba52-0.7.4-dev) |
$sections
END
}

missed=0
# measure PROGRAM TITLE
measure() {
  local output
  echo "== $1"
  output=$(FMP4=$PWD/build/release/bin/fmp4 PATH=$PWD/build/release/bin:$PWD/bench:$PATH "$1") || missed=1
  echo "$output"
  sections+=$(section "$2" <<<"$output")
  sections+=$'\n'
  write_page
}
measure bench_load "Starting"
measure bench_open_day "Opening a recording of a day"
measure bench_open_manifest "Opening a day through its manifest"
measure bench_random_frames "Reading frames at random"
measure bench_read_frames "Reading every frame"
measure bench_decode_audio "Decoding AAC"
measure bench_decode_surround "Decoding AC-3"
measure bench_random_audio "Audio at random positions"
measure bench_record "Recording"
measure bench_package_day "Packaging a day"
measure bench_overview_day "The time line of a day"
measure page_day.mjs "A day on the served page"

# Figures of another machine are no measure for this one.
processor() { grep '^| processor' "$1"; }
if [[ ${1:-} != --accept && $(processor "$page") == "$(processor docs/performance.md)" ]] &&
  ! scripts/compare_performance.sh docs/performance.md "$page"; then
  echo "bench: FAILED: the figures above are worse than in docs/performance.md; see $page" >&2
  exit 1
fi
cp "$page" docs/performance.md
exit "$missed"
