#!/usr/bin/env bash
# Runs an archive of twenty recordings through GNU parallel, kills it in the middle, and runs it again: every item
# counts once, what was done is not done again, and the outputs are those of plain runs.
# usage: FMP4=PROGRAM test_parallel.sh
set -euo pipefail
if [[ ${1:-} == --help ]]; then sed -n '2,4s/^# //p' "$0" && exit; fi
here=$(cd "$(dirname "$0")" && pwd)
FMP4=$(realpath "${FMP4:-$here/../../build/dev/bin/fmp4}")
export FMP4 PYTHONDONTWRITEBYTECODE=1
scratch=$(mktemp --directory)
trap 'rm -rf "$scratch"' EXIT
source "$here/sample_archive.sh"
source "$here/held_program.sh"

# expect_tried RESULTS ITEMS: the log has just these that were not skipped, with commas between them.
expect_tried() {
  local tried
  tried=$(jq -rs 'map(select(.skipped | not).item) | sort | join(",")' "$1/log.jsonl")
  [[ $tried == "$2" ]] || fail "tried were $tried, expected $2"
}

make_archive
export_plainly

results=$scratch/exported
held=news/05.m4v
hold "$held"

# A job is killed and its program lives on: the item is left to it.
"$here/run_item.py" export "$archive" "$scratch/claimed" "$held" >/dev/null &
job=$!
wait_until_held >/dev/null
kill -KILL "$job"
wait "$job" 2>/dev/null || true
status=0
"$here/run_item.py" export "$archive" "$scratch/claimed" "$held" >"$scratch/claimed.json" || status=$?
[[ $status == 75 && $(jq -r .why "$scratch/claimed.json") == "another job works on it" ]] || fail "a claim was lost"
release
until ((status != 75)); do  # the program ends
  status=0
  "$here/run_item.py" export "$archive" "$scratch/claimed" "$held" >/dev/null || status=$?
done
((status == 0)) || fail "an item that was left was not done"

# A run is killed as a whole.
hold "$held"
setsid "$here/run_parallel.sh" --jobs 2 export "$archive" "$results" >"$scratch/first.txt" 2>&1 &
run=$!
wait_until_held >/dev/null
# All its processes at once, as when the power goes.
# shellcheck disable=SC2046
kill -KILL $(ps -o pid= --sid "$run")
wait "$run" 2>/dev/null || true
release
[[ ! -e $results/records/$held.json && ! -e $results/output/$held ]] || fail "a partial output was taken for finished"
done_before=$(find "$results/records" -name '*.json' | wc -l)
((done_before > 0 && done_before < 20)) || fail "$done_before items were done when the run was killed"

: >"$results/log.jsonl"
"$here/run_parallel.sh" --jobs 2 export "$archive" "$results" >/dev/null &&
  fail "a file that is no recording was exported"
expect_counts "$results" exported=18 failed=2
expect_plain_outputs "$results"
skipped=$(jq -s 'map(select(.skipped)) | length' "$results/log.jsonl")
((skipped == done_before)) || fail "$skipped items were skipped, $done_before had been done"

# Once more: only what failed is tried.
: >"$results/log.jsonl"
"$here/run_parallel.sh" export "$archive" "$results" >/dev/null || true
expect_tried "$results" news/07.m4v,news/notes.m4v
# A file that changed, and an output that is gone.
rm "$archive/news/notes.m4v"
touch "$archive/news/01.m4v"
rm "$results/output/news/02.m4v/02.wav"
: >"$results/log.jsonl"
"$here/run_parallel.sh" export "$archive" "$results" >/dev/null || true
expect_tried "$results" news/01.m4v,news/02.m4v,news/07.m4v

"$here/run_parallel.sh" verify "$archive" "$archive/results" 2>/dev/null && fail "outputs would become items"

# Checked, repaired, checked again.
echo "no recording" >"$archive/news/notes.m4v"
"$here/run_parallel.sh" verify "$archive" "$scratch/verified" >/dev/null || true
expect_counts "$scratch/verified" intact=17 damaged=2 failed=1
"$here/run_parallel.sh" repair "$archive" "$scratch/repaired" >/dev/null || true
expect_counts "$scratch/repaired" intact=17 repaired=1 damaged=1 failed=1
"$here/run_parallel.sh" verify "$archive" "$scratch/verified" >/dev/null || true
expect_counts "$scratch/verified" intact=18 damaged=1 failed=1

# A recording of a recorder that is at work is left for later.
mkdir "$scratch/live"
mkfifo "$scratch/feed"
"$FMP4" --quiet package - --output "$scratch/live/now.mp4" <"$scratch/feed" >/dev/null 2>&1 &
recorder=$!
exec 4>"$scratch/feed"
ffmpeg -nostdin -v error -i "$scratch/source.mp4" -c copy -f mp4 \
  -movflags frag_keyframe+empty_moov+default_base_moof - >&4
until [[ -s $scratch/live/now.m3u8 ]]; do sleep 0.1; done
"$here/run_parallel.sh" repair "$scratch/live" "$scratch/live-results" >/dev/null &&
  fail "a recording in progress was done"
[[ $(count "$scratch/live-results" notDone) == 1 ]] || fail "a recording in progress was counted"
[[ $(jq -r .why "$scratch/live-results/log.jsonl") == "it is being written" ]] || fail "it was not left for later"
exec 4>&-
wait "$recorder"
"$here/run_parallel.sh" verify "$scratch/live" "$scratch/live-results" >/dev/null || fail "it was not done afterwards"

mkdir "$scratch/sources"
cp "$scratch/source.mp4" "$scratch/sources"
"$here/run_parallel.sh" package "$scratch/sources" "$scratch/packaged" --gop 10 >/dev/null
"$FMP4" --quiet verify "$scratch/packaged/output/source.mp4/source.mpd" >/dev/null ||
  fail "what was packaged is not intact"
echo "test_parallel: passed"
