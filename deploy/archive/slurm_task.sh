#!/usr/bin/env bash
# One job of an array: does the items of a list whose line numbers leave its own number over when divided by the number
# of jobs. An item that fails does not keep the next from being done.
set -euo pipefail

if [[ ${1:-} == --help || $# -lt 5 ]]; then
  echo "usage: SLURM_ARRAY_TASK_ID=N slurm_task.sh LIST TASKS OPERATION ARCHIVE RESULTS [OPTION...]"
  [[ ${1:-} == --help ]] && exit 0 || exit 2
fi

here=$(cd "$(dirname "$0")" && pwd)
list=$1 tasks=$2 operation=$3 archive=$4 results=$5
shift 5
worst=0
while IFS= read -r item; do
  "$here/run_item.py" -- "$operation" "$archive" "$results" "$item" "$@" || worst=$?
done < <(awk -v tasks="$tasks" -v task="${SLURM_ARRAY_TASK_ID:?}" 'NR % tasks == task' "$list")
exit "$worst"
