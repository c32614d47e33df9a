#!/usr/bin/env bash
# Does an operation to every item of an archive on this machine, several at a time, with GNU parallel; then makes the
# summary. Repeating it does what is left.
set -euo pipefail

usage() {
  cat <<END
usage: run_parallel.sh [--jobs N] OPERATION ARCHIVE RESULTS [OPTION...]
  OPERATION   verify, repair, export or package
  ARCHIVE     the folder of recordings, or of MP4 files to package
  RESULTS     the folder for records and outputs, one for each operation
  OPTION      options handed to fmp4, for export and package
  --jobs N    items at a time (default: as many as there are processors)
FMP4 names the program, by default fmp4. Exit code 0 when every item is done.
END
}

here=$(cd "$(dirname "$0")" && pwd)
jobs=$(nproc)
while [[ ${1:-} == -* ]]; do
  case $1 in
    --jobs) jobs=${2:?--jobs takes a number} && shift 2 ;;
    -h | --help) usage && exit ;;
    *) usage >&2 && exit 2 ;;
  esac
done
if (($# < 3)); then usage >&2 && exit 2; fi
operation=$1 archive=$2 results=$3
shift 3

"$here/list_items.py" "$operation" "$archive" "$results"
# Items that fail, or are in use, do not keep the others from being done: the summary names them.
parallel --will-cite --quote --jobs "$jobs" --joblog "$results/jobs.log" --arg-file "$results/items.txt" \
  "$here/run_item.py" -- "$operation" "$archive" "$results" {} "$@" >>"$results/log.jsonl" || true
"$here/summarise.py" -- "$operation" "$archive" "$results" "$@"
