#!/usr/bin/env bash
# Does an operation to every item of an archive as an array of Slurm jobs, and then makes the summary in a job of its
# own. Submitting again does what is left. Archive and results are on a file system that all nodes share.
set -euo pipefail

usage() {
  cat <<END
usage: submit_slurm.sh [--tasks N] [--at-a-time N] [--wait] [--sbatch OPTION]... OPERATION ARCHIVE RESULTS [OPTION...]
  OPERATION        verify, repair, export or package
  ARCHIVE          the folder of recordings, or of MP4 files to package
  RESULTS          the folder for records and outputs, one for each operation
  OPTION           options handed to fmp4, for export and package
  --tasks N        jobs in the array, among which the items are dealt out (default: one an item, up to 1000)
  --at-a-time N    jobs that run at the same time (default: as many as the cluster has room for)
  --wait           return when the summary has been made; exit code 0 when every item is done
  --sbatch OPTION  an option for sbatch, such as --partition=archive
FMP4 names the program, by default fmp4. Prints the number of the array.
END
}

here=$(cd "$(dirname "$0")" && pwd)
tasks=1000 limit='' wait=() sbatch=()
while [[ ${1:-} == -* ]]; do
  case $1 in
    --tasks) tasks=${2:?--tasks takes a number} && shift 2 ;;
    --at-a-time) limit=%${2:?--at-a-time takes a number} && shift 2 ;;
    --wait) wait=(--wait) && shift ;;
    --sbatch) sbatch+=("${2:?--sbatch takes an option}") && shift 2 ;;
    -h | --help) usage && exit ;;
    *) usage >&2 && exit 2 ;;
  esac
done
if (($# < 3)); then usage >&2 && exit 2; fi
operation=$1
archive=$(realpath "$2")
results=$(realpath --canonicalize-missing "$3")
shift 3

# submit NAME OPTION... -- COMMAND...: prints the number of the job.
submit() {
  local options=(--parsable --job-name="$1" "${sbatch[@]}")
  shift
  while [[ $1 != -- ]]; do options+=("$1") && shift; done
  shift
  sbatch "${options[@]}" <<<"#!/bin/bash
exec$(printf ' %q' "$@")"
}

"$here/list_items.py" "$operation" "$archive" "$results"
items=$(wc -l <"$results/items.txt")
if ((items == 0)); then echo "submit_slurm: there are no items in '$archive'" >&2 && exit 1; fi
if ((tasks > items)); then tasks=$items; fi
# Jobs that wait keep their own list when the archive is listed again.
list=$(mktemp "$results/items.XXXXXX")
cp "$results/items.txt" "$list"
mkdir -p "$results/log"
# A node that is lost gives its jobs back to the queue.
array=$(submit "fmp4-$operation" --array="0-$((tasks - 1))$limit" --requeue --open-mode=append \
  --output="$results/log/%A_%a.jsonl" --error="$results/log/%A_%a.txt" -- \
  "$here/slurm_task.sh" "$list" "$tasks" "$operation" "$archive" "$results" "$@")
echo "$array"
submit "fmp4-summary" --dependency="afterany:$array" --requeue "${wait[@]}" --output="$results/log/summary_%j.txt" -- \
  "$here/summarise.py" -- "$operation" "$archive" "$results" "$@" >/dev/null
