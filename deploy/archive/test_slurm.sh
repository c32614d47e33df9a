#!/usr/bin/env bash
# Runs an archive of twenty recordings through a Slurm of two nodes on this machine. A node is lost in the middle of an
# item and comes back, and a job is killed: every item counts once, and the outputs are those of plain runs.
# usage: FMP4=PROGRAM test_slurm.sh
set -euo pipefail
if [[ ${1:-} == --help ]]; then sed -n '2,4s/^# //p' "$0" && exit; fi
here=$(cd "$(dirname "$0")" && pwd)
FMP4=$(realpath "${FMP4:-$here/../../build/dev/bin/fmp4}")
export FMP4 PYTHONDONTWRITEBYTECODE=1
scratch=$(mktemp --directory)
source "$here/sample_archive.sh"
source "$here/held_program.sh"
source "$here/private_slurm.sh"
trap 'stop_slurm; rm -rf "$scratch"' EXIT

# lines RESULTS: what all jobs said.
lines() {
  cat "$1"/log/*.jsonl
}

make_archive
export_plainly
start_slurm

# A node is lost while it works on an item.
results=$scratch/exported
held="late films/film 12.m4v"
hold "$held"
"$here/submit_slurm.sh" --tasks 10 --wait export "$archive" "$results" >"$scratch/array.txt" 2>"$scratch/submit.txt" &
submission=$!
node=$(wait_until_held)
lose_node "$node"
wait_for_node "$node" down
[[ ! -e $results/records/$held.json && ! -e $results/output/$held ]] || fail "a partial output was taken for finished"
[[ -e $results/work/$held ]] || fail "there is no partial output"
release
start_node "$node"
wait_for_node "$node" idle
wait "$submission" && fail "a file that is no recording was exported"
expect_counts "$results" exported=18 failed=2
expect_plain_outputs "$results"
restarts=$(scontrol show job "$(cat "$scratch/array.txt")" | grep --count 'Restarts=1 ')
((restarts > 0)) || fail "no job was restarted"
# Items whose job was repeated were not done again.
[[ $(lines "$results" | jq -s 'map(select(.status == "done" and (.skipped | not)).item) | length') == 18 ]] ||
  fail "items were done again"

# A job is killed, which does not bring it back; submitting again does what is left.
results=$scratch/again
hold "$held"
"$here/submit_slurm.sh" --tasks 10 --at-a-time 3 --wait export "$archive" "$results" \
  >"$scratch/array.txt" 2>"$scratch/submit.txt" &
submission=$!
wait_until_held >/dev/null
scancel --signal=KILL --full "$(cat "$scratch/hold/job")"
wait "$submission" && fail "a killed job counted as finished"
release
missing=$(count "$results" notDone)
((missing > 0)) || fail "nothing was left"
[[ ! -e $results/records/$held.json && ! -e $results/output/$held ]] || fail "a partial output was taken for finished"
"$here/submit_slurm.sh" --tasks 10 --wait export "$archive" "$results" >/dev/null && fail "a damaged file was exported"
expect_counts "$results" exported=18 failed=2
expect_plain_outputs "$results"
done_again=$(lines "$results" | jq -s 'map(select(.status == "done" and (.skipped | not)).item) | length')
((done_again == 18)) || fail "$done_again items were done, 18 expected"
echo "test_slurm: passed"
